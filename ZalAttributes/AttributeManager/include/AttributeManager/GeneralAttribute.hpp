#pragma once

#include <cstddef>

#include <Kest/Array.hpp>
#include <Kest/ClassVersion.hpp>
#include <Kest/EventSource.hpp>
#include <Kest/Guid.hpp>
#include <Kest/UniString.hpp>

#include <ODB/Ref.hpp>

#include <Lum/IClientCreatableObject.hpp>
#include <Lum/ILumSpecificDataContainer.hpp>
#include <Lum/Object.hpp>

#include <ZalUtil/FieldMask.hpp>
#include <ZalUtil/Owner.hpp>

#include <AttributeManager/Export.hpp>
#include <AttributeManager/GeneralAttributeObserver.hpp>
#include <AttributeManager/RegTblData.hpp>

class IUsedAttrCollection;
class IUsedLibPartCollection;

namespace Kest {

class InputFrame;
class OutputFrame;

}   // namespace Kest

namespace KestXML {

template <class T>
class NamedEnumType;

}   // namespace KestXML

namespace ADB {

class AttributeContainer;
class AttributeSet;
class IAttributeNewIndexTable;
class IRegDataReader;
class IRegDataWriter;

/// The base of every attribute kind: a name, an index, 16 flags, a modification time and user data.
///
/// In a container, index and name are unique, letter case of names ignored; SetName and SetIndex see to it. Changes
/// made by the setters and by SetUserData are announced to the observers. All other operations that change an attribute
/// are silent; they count as changes of the object all the same, and look-ups see them at once.
///
/// A kind derives from this class, overrides GetAttributeTypeId and Clone, and extends Compare, IsEqual, Copy,
/// Synchronize, the collectors and the state operations by its own fields, calling the versions of this class first.
class ADB_API GeneralAttribute : public Lum::Object,
                                 public Kest::EventSource,
                                 public Lum::ILumSpecificDataContainer,
                                 public Lum::IClientCreatableObject {
public:
    /// The numbers of the general fields in a FieldMask, under the class id of GetFieldClassId.
    enum Field : int {
        NameField = 1,
        IndexField = 2,
        FlagsField = 3,
        ModificationTimeField = 4,
        UserDataField = 5,
    };

    /// The flags with a meaning of their own; all others belong to the kinds.
    enum Flag : int {
        FromPax = 0x0040,         ///< made by a library part's script
        ClientCreated = 0x0080,   ///< made by a client of a shared project
        FromMasterPax = 0x0100,   ///< made by a master library part's script
    };

    /// The content of an attribute without its identity and links.
    class ADB_API IsolatedState : public Lum::Object::IsolatedState {
    public:
        IsolatedState() = default;
        explicit IsolatedState(const GeneralAttribute& attribute);

        /// For states of this very class; the state of a kind calls ReturnGeneralPart, then returns its own content.
        bool ReturnTo(ODB::Object& object) noexcept override;

        Kest::UniString name;
        short index = 0;
        short flags = 0;
        int modificationTime = 0;
        RegTblData memo;

    protected:
        /// Gives name, index, flags, time and user data back to \p attribute, which had them before.
        void ReturnGeneralPart(GeneralAttribute& attribute) noexcept;
    };

    class NotifyDisableGuard;
    class UserDataConverter;

    GeneralAttribute();
    ~GeneralAttribute() override;

    static const Kest::ClassInfo* GetClassInfoStatic();

    /// \name Streams
    /// All readers are silent and return 0, a code of the channel (Kest::ChannelStatus), or Error::WrongCall for user
    /// data that cannot be taken or converted. On an error nothing is changed, but for version 1 as said at Read. A
    /// record without user data leaves those that the attribute has. XML is different: see ReadGenAttrXML.
    /// @{

    /// Reads the object stream, of any version up to today's. A later version is passed over and answered with 0. A
    /// record of version 1 that ends behind its numbers, as Write makes them, gives the code of the missing user data
    /// with name and numbers taken.
    int Read(Kest::IChannel& channel) override;
    /// Writes the object stream, in the version asked for by Kest::ClassManager::OutputVersionBlock, with user data as
    /// the converters make them when an output plan version is set. \returns the channel's status
    int Write(Kest::OChannel& channel) const override;

    /// As Write today; nothing is converted.
    int Store(Kest::ObjectState& state) const override;
    /// Unlike Read, a state without user data empties them.
    int Restore(const Kest::ObjectState& state) override;

    /// The class, the kind, the name, the index, the flags but for the client-created one, and the user data.
    int WriteContentForIdGeneration(Kest::OChannel& channel) const override;
    int ReadIsolatedState(Kest::IChannel& channel) override;

    /// Writes the general part as XML, see WriteGenAttrXML. A kind calls this version, then writes its own elements.
    int WriteXML(Kest::XMLOChannel& channel) const override;
    /// Reads the general part from XML, see ReadGenAttrXML.
    int ReadXML(Kest::XMLIChannel& channel) override;

    IsolatedState* CreateIsolatedState() const override;
    int StoreIsolatedState(ODB::Object::IsolatedState* state) const override;
    int RestoreIsolatedState(const ODB::Object::IsolatedState* state) override;
    int WriteIsolatedState(Kest::OChannel& channel) const override;
    std::size_t GetIsolatedSize() const override;
    int Isolate() override;

    /// As shared projects exchange it: without the client-created flag, which reading clears.
    int WriteLumIsolatedState(Kest::OChannel& channel) const override;
    int ReadLumIsolatedState(Kest::IChannel& channel) override;

    /// Writes a record of version 1 by its fields, whose name takes 32 bytes in the system code page: a longer one is
    /// cut and ends in "#" and the index. Unlike Write of an attribute in version 1 it carries user data.
    /// \param leading the number in front of the name; \p reserved1 and \p reserved2 follow the time
    static int WriteVersion1(Kest::OChannel& channel, int leading, const Kest::UniString& attributeName,
                             short attributeIndex, short attributeFlags, int time, short reserved1, short reserved2,
                             const RegTblData& userData);
    /// Reads what that wrote. All outputs must be there; on an error they are as they were.
    /// \returns as Read, or Error::NullArgument
    static int ReadVersion1(Kest::IChannel& channel, int* leading, Kest::UniString* attributeName,
                            short* attributeIndex, short* attributeFlags, int* time, short* reserved1, short* reserved2,
                            RegTblData* userData);
    /// @}

    /// The ref id of the kind: a four-character code, most significant character first. The register maps it to the
    /// short type id.
    virtual unsigned int GetAttributeTypeId() const = 0;

    /// The fields in which this attribute and \p other, of the same class, differ: names by exact comparison, all
    /// flags, user data byte by byte. Empty for a null reference.
    virtual FieldMask Compare(ODB::ConstRef<GeneralAttribute> other) const;

    /// Takes the fields of \p fields from \p other; and, whatever the mask says, its user data when it has any. Makes
    /// no uniqueness checks. With the name in the mask the observers hear NameChanged with the old name; nothing else
    /// is announced. Synchronising with itself does nothing. \throws std::bad_alloc with nothing changed
    virtual void Synchronize(ODB::ConstRef<GeneralAttribute> other, const FieldMask& fields);

    /// Reports the owners of the user data to \p callback, each once.
    virtual void LookupExternalDataHandlers(ZalUtil::ICBOwnerFound* callback) const;

    /// Removes the user data of \p owners. Silent.
    virtual void DeleteExternalDataHandlers(const ZalUtil::OwnerList& owners);

    /// Whether the content is complete. True here.
    virtual bool CheckAttribute() const;

    /// Completes the content. \returns 0 here
    virtual int CorrectAttribute();

    virtual bool HasMemoData() const;

    /// Whether the user data of both are one and the same storage. Equal data in separate storage are not the same.
    virtual bool HasSameMemoData(ODB::ConstRef<GeneralAttribute> other) const;

    /// Replaces the indexes of other attributes that this one refers to by those that \p table gives. Nothing here.
    virtual void ReindAttr(IAttributeNewIndexTable* table);

    /// Reports the attributes that this one refers to. None here.
    virtual void CollectUsedAttrs(IUsedAttrCollection& collection) const;

    /// Reports the library parts that this one uses. None here.
    virtual void CollectUsedLibPartNames(IUsedLibPartCollection& collection) const;

protected:
    /// Tells one observer of the fields in \p fields. A kind calls this version, then adds calls for its own fields.
    virtual void Notify(Kest::EventObserver* observer, const FieldMask* fields) const;

    /// Takes the content of \p other, its user data only when it has some. Silent; nothing for a null reference.
    virtual void Copy(ODB::ConstRef<GeneralAttribute> other);

public:
    /// Empties the user data. Silent. \returns 0
    virtual int Destruct();

    /// Whether the content is equal: the client-created flag left out, user data by identity of their storage.
    virtual bool IsEqual(ODB::ConstRef<GeneralAttribute> other) const;

    /// Whether the kind was made by the user rather than supplied. False here.
    virtual bool IsCustom() const;

    /// Removes the client-created flag, announcing the flags.
    void ClearLumSpecificData() override;
    bool IsClientCreated() const override;
    /// Silent.
    void SetClientCreated(bool clientCreated) override;

    /// \name Content
    /// @{
    const Kest::UniString& GetName() const noexcept { return name; }
    /// The name in the system code page, cut at a whole character, with a zero inside \p size bytes. A null buffer or a
    /// size below 1 writes nothing.
    void GetName(char* buffer, int size) const;
    /// At most \p size / 2 units of the name, \p size in bytes; a zero follows only when there is room.
    void GetName(unsigned short* buffer, int size) const;
    short GetIndex() const noexcept { return index; }
    short GetFlags() const noexcept { return flags; }
    /// In seconds since 2000-01-01 00:00 UTC.
    int GetModificationTime() const noexcept { return modificationTime; }
    /// The GUID of the object's id, the null GUID without one.
    Kest::Guid GetGuid() const;
    bool IsFromPax() const noexcept { return (flags & FromPax) != 0; }
    bool IsFromMasterPax() const noexcept { return (flags & FromMasterPax) != 0; }
    /// Whether the flags in common with \p mask make a positive 16-bit number: bit 15 alone, or with others, is none.
    bool IsSameFlags(short mask) const noexcept { return static_cast<short>(flags & mask) > 0; }
    /// A passing mark for the host's own use: never stored, compared or announced.
    bool IsDisabled() const noexcept { return disabledMark; }
    void MarkDisabled(bool disabled) const noexcept { disabledMark = disabled; }
    /// @}

    /// \name Setters
    /// Each does nothing when the value stays, else announces its one field.
    /// @{

    /// Renames. Before the announcement every observer hears NameChanged with the old name.
    /// \returns 0; Error::RenameClash, and a line in the log, when another attribute of the container has the name,
    /// letter case ignored; Error::MemoryFull. Then nothing is changed. Outside a container any name is accepted.
    int SetName(const Kest::UniString& newName);

    /// Renumbers. \returns 0; Error::ReindexClash, and a line in the log, when another attribute of the container has
    /// the index; Error::MemoryFull. Then nothing is changed. Outside a container any index is accepted.
    int SetIndex(short newIndex);

    void SetFlags(short newFlags);
    /// Sets \p bits when none of them is set; otherwise does nothing at all.
    void AddPropertyToFlags(short bits);
    /// Clears \p bits when any of them is set.
    void RemovePropertyFromFlags(short bits);
    /// \param newTime seconds since 2000-01-01 00:00 UTC
    void SetModificationTime(const int& newTime);
    /// Sets the modification time to now.
    void UpdateModificationTime();
    /// @}

    /// Empties the name and sets the index to 0. Silent.
    void Clear();

    /// \name Where the attribute lives
    /// Null for an attribute that is in no container.
    /// @{
    ODB::Ref<AttributeContainer> GetAttributeContainer() const;
    ODB::ConstRef<AttributeContainer> GetConstAttributeContainer() const;
    ODB::Ref<AttributeSet> GetAttributeSet() const;
    ODB::ConstRef<AttributeSet> GetConstAttributeSet() const;
    /// @}

    /// \name Observers
    /// The list keeps no observer alive. Attaching an attached observer does nothing.
    /// @{
    void Attach(GeneralAttributeObserver& observer);
    void Detach(GeneralAttributeObserver& observer);
    /// @}

    /// The class id of the general fields' numbers.
    static Kest::Guid GetFieldClassId();

    /// \name User data
    /// Records that other modules attach, one per owner pair.
    /// @{

    /// Stores the whole of \p data, which stays the caller's, as the record of the owner (\p id1, \p id2), replacing an
    /// earlier one. Announces field 5.
    /// \returns 0; Error::NullArgument for a null handle; Error::MemoryFull or Error::WrongCall with nothing changed
    int SetUserData(unsigned int id1, unsigned int id2, unsigned short platform, short version, unsigned int dataFlags,
                    char** data);

    /// Gives the record of the owner: \p *data is a new handle that the caller frees; null, with platform and version
    /// 0, when there is no such record. \p dataFlags may be null.
    /// \returns 0, also without a record; Error::NullArgument; Error::MemoryFull
    int GetUserData(unsigned int id1, unsigned int id2, unsigned short* platform, short* version,
                    unsigned int* dataFlags, char*** data) const;

    /// Removes the record of the owner, if there is one. Silent. \returns 0, or Error::MemoryFull with nothing changed
    int DeleteUserData(unsigned int id1, unsigned int id2);

    /// The owners of all records, each once, in the order of their first records.
    Kest::Array<ZalUtil::Owner> GetOwners() const;
    /// @}

protected:
    /// For kinds: an attribute with all fields zero or empty, and the record of the kind's class.
    explicit GeneralAttribute(const Kest::ClassInfo* kindInfo);

    /// Copies the content, the passing mark included; not identity, links, observers, or pending announcements.
    GeneralAttribute(const GeneralAttribute& other);

    /// Takes the content of \p other. Silent; the next announcement of field 5 tells which user data changed.
    GeneralAttribute& operator=(const GeneralAttribute& other);

    /// Writes the object's id, "Name", "Index", "Flags", "ModiTime" and the user data as elements of the open element.
    /// \param flagNames names for the kind's own flags, besides those known to all; may be null
    /// \param writer writes the user data that it knows how to express; may be null
    /// \returns 0, or the channel's status
    int WriteGenAttrXML(Kest::XMLOChannel& channel, const KestXML::NamedEnumType<short>* flagNames,
                        IRegDataWriter* writer) const;
    /// Reads those. Without an element "Flags" the flags stay; user data are replaced by what is there.
    /// \returns 0; Error::WrongCall for flags that make no sense (with a message of the channel) or user data that
    /// cannot be taken; the channel's status. After an error the user data are gone and nothing else is changed
    int ReadGenAttrXML(Kest::XMLIChannel& channel, const KestXML::NamedEnumType<short>* flagNames,
                       IRegDataReader* reader);

    /// Announces one field.
    void NotifyObservers(const FieldID& field) const;
    /// Announces the fields of \p fields; an empty mask reaches Notify alone. Suppressed while a NotifyDisableGuard
    /// lives: what is suppressed is lost.
    void NotifyObservers(const FieldMask* fields) const;

    /// Set or clear flags. Silent.
    void DirectAddFlags(short bits);
    void DirectRemoveFlags(short bits);

private:
    friend class AttributeContainer;
    friend class AttributeKeyChange;
    friend class AttributeSet;
    friend class AttributeTypeSet;
    friend struct GeneralAttributeTestAccess;

    void GenerateNewName();
    void TellOldName(const Kest::UniString& oldName);
    void AnnounceFlags(short newFlags);
    void ReplaceFlags(short newFlags);
    void NotifyUserDataChanged(GeneralAttributeObserver& observer) const;
    void TakeSnapshot(char** snapshot) noexcept;
    int ReplaceMemo(char** table);
    RegTblData ConvertRegMemo() const;
    void Take(IsolatedState&& content);
    void TakeFields(IsolatedState&& content) noexcept;
    IsolatedState BeginReading() const;
    void WriteNumbers(Kest::OChannel& channel) const;
    static void ReadNumbers(Kest::IChannel& channel, IsolatedState& content);
    int WriteMemo(Kest::OChannel& channel) const;
    int WriteStateVersion4(Kest::OChannel& channel, short writtenFlags) const;
    int ReadStateVersion4(Kest::IChannel& channel);
    int WriteVersion(Kest::OChannel& channel, Kest::ClassVersion version) const;
    int WriteVersion1(Kest::OChannel& channel) const;
    int WriteVersion2(Kest::OChannel& channel) const;
    int WriteVersion3(Kest::OChannel& channel) const;
    int WriteVersion4(Kest::OChannel& channel) const;
    int ReadVersion(Kest::IChannel& channel, Kest::ClassVersion version);
    int ReadVersion1(Kest::IChannel& channel);
    int ReadVersion2(Kest::IChannel& channel);
    int ReadVersion3(Kest::IChannel& channel);
    int ReadVersion4(Kest::IChannel& channel);
    int WriteLumIsolatedStateVersion3(Kest::OChannel& channel, const Kest::OutputFrame& frame) const;
    int ReadLumIsolatedStateVersion3(Kest::IChannel& channel, const Kest::InputFrame& frame);

    Kest::UniString name;
    short index = 0;
    short flags = 0;
    int modificationTime = 0;
    RegTblData memo;
    mutable char** previousMemo = nullptr;   // copy of the table before a change of user data, until it is announced
    short reservedShort = 0;                 // carried by old streams
    mutable bool disabledMark = false;
};

}   // namespace ADB
