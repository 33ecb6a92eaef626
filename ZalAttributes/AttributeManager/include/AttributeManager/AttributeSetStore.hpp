#pragma once

#include <cstddef>
#include <memory>

#include <Kest/ClassInfo.hpp>

#include <ODB/Object.hpp>
#include <ODB/Ref.hpp>

#include <ZalUtil/ICustomXMLRootObject.hpp>

#include <AttributeManager/AttributeSet.hpp>
#include <AttributeManager/Export.hpp>

namespace ADB {

/// A frozen copy of an attribute set, as one block of bytes: what Update writes is what Load reads. Kept in the object
/// database, as bytes or as a folder of documents (see AttributeSet for the folder; the store's has no fills).
class ADB_API AttributeSetStore : public ODB::Object, public ZalUtil::ICustomXMLRootObject {
public:
    /// A copy of the bytes.
    class ADB_API IsolatedState : public ODB::Object::IsolatedState {
    public:
        std::unique_ptr<char[]> data;   ///< null when the store is empty
        unsigned int dataSize = 0;      ///< in bytes
    };

    /// The id of the store of a document.
    static const ODB::Id AttributeSetStoreId;

    /// An empty store without an id.
    AttributeSetStore();
    /// An empty store, with the id AttributeSetStoreId in \p idSpace when there is one and the id is free there.
    explicit AttributeSetStore(ODB::IdSpace* idSpace);
    AttributeSetStore(const AttributeSetStore& other);
    /// \throws std::bad_alloc with nothing changed
    AttributeSetStore& operator=(const AttributeSetStore& other);
    ~AttributeSetStore() override;

    static const Kest::ClassInfo* GetClassInfoStatic();
    static Kest::Object* ConstructorFunction();
    const Kest::ClassInfo* GetClassInfo() const override;
    AttributeSetStore* Clone() const override;

    /// Keeps a copy of \p set, as a system of \p version reads it; 0 stands for today's.
    /// \returns 0; Error::WrongCall without a set; Error::MemoryFull; codes of AttributeSet::Write. After an error the
    /// store is empty
    int Update(ODB::ConstRef<AttributeSet> set, Kest::ClassInfo::SystemVersion version);

    /// Reads the copy into \p set, in place of its attributes. The fills of \p set stay.
    /// \returns 0; Error::WrongCall without a set; codes of the channel, also for an empty store; codes of
    /// AttributeSet::Read. A store that is damaged or empty changes nothing; after another error each container of the
    /// set is empty or whole
    int Load(ODB::Ref<AttributeSet> set) const;

    /// The bytes, null when the store is empty. They stay the store's until it changes.
    const char* GetData() const noexcept { return data.get(); }
    /// In bytes.
    unsigned int GetDataSize() const noexcept { return dataSize; }

    /// Reads the bytes; what they are shows when they are loaded. On an error nothing is changed.
    int ReadIsolatedState(Kest::IChannel& channel) override;
    IsolatedState* CreateIsolatedState() const override;
    int StoreIsolatedState(ODB::Object::IsolatedState* state) const override;
    int RestoreIsolatedState(const ODB::Object::IsolatedState* state) override;
    int WriteIsolatedState(Kest::OChannel& channel) const override;
    /// The size of the data and 40, in bytes.
    std::size_t GetIsolatedSize() const override;

    /// Writes the folder as a whole: whatever fails, it holds the old documents or the new ones. Types beyond the
    /// sixteenth are not written; \p messages name them.
    /// \param written receives the location of the main document for the store; may be null
    /// \returns 0; Error::WrongCall when a document cannot be made; codes of Load and of the channel. When there is no
    /// memory for a set to load into, the answer is 0: no type is written, and \p messages say that documents that were
    /// there before stand
    int CustomWriteXML(const IO::Location& folder, ODB::WrittenLocations* written,
                       Kest::Array<Kest::UniString>& messages) const override;
    /// Reads such a folder; the document may have another name, the types' documents stand beside it. Nobody is told.
    /// \param document the location of "Attribute.xml"
    /// \param database not used: the store keeps bytes, no objects; may be null
    /// \param messages receives what the user should know
    /// \returns 0; Error::WrongCall when a document cannot be opened or there is no memory for a set; codes of the
    /// channel and of the types' loader; then the store is as it was. Or as Update
    int CustomReadXML(const IO::Location& document, ODB::FileDatabase* database,
                      Kest::Array<Kest::UniString>& messages) override;

private:
    void Take(std::unique_ptr<char[]> newData, std::size_t newSize);

    std::unique_ptr<char[]> data;
    unsigned int dataSize = 0;
};

}   // namespace ADB
