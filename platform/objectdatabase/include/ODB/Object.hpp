#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include <Kest/Object.hpp>

#include <ODB/Export.hpp>
#include <ODB/Ref.hpp>

namespace Kest {

class XMLIChannel;
class XMLOChannel;

}   // namespace Kest

namespace ODB {

class Association1NUntyped;

/// An object of the database.
///
/// Three forms of content: the object stream (Write, Read), which older systems may read too; the isolated state, which
/// travels between states of a document as an object (StoreIsolatedState), as bytes (WriteIsolatedState) or as XML
/// (WriteIsolatedStateXML); and the XML of documents (WriteXML). Each carries the object's id. Reading never changes
/// the identity of the object that reads: whoever makes objects from a stream gives them their ids, see IdReadingScope.
/// Readers tell no observer; reading counts as a change.
///
/// Made with `new`, it belongs to whoever made it until Database::AddObject or an owning association takes it over;
/// then the database destroys it, when its last owner link goes or when it is deleted. Destroying it in any way cuts
/// its links and kills its references. A copy starts without id, links and record; assigning keeps one's own.
class ODB_API Object : public Kest::Object {
public:
    /// The content of an object without its identity and links. Each class derives its state from its base's.
    class ODB_API IsolatedState {
    public:
        IsolatedState() = default;
        virtual ~IsolatedState();

        /// Gives the content back to \p object, from which it was stored, without taking memory: for whoever has to
        /// take a change back when there is none left. What remains in the state is worth nothing. Tells no observer;
        /// counts as a change. A class whose state has content of its own overrides it; without that nothing is done.
        /// \returns whether it was done
        virtual bool ReturnTo(Object& object) noexcept;

    protected:
        IsolatedState(const IsolatedState&) = default;
        IsolatedState& operator=(const IsolatedState&) = default;
    };

    ~Object() override;
    const Kest::ClassInfo* GetClassInfo() const override;
    static const Kest::ClassInfo* GetClassInfoStatic();

    /// Reads what Write wrote. \returns 0, or a code of the channel or of the class, with nothing changed unless the
    /// class says otherwise
    int Read(Kest::IChannel& channel) override;
    /// \returns 0, or a code of the channel or of the class
    int Write(Kest::OChannel& channel) const override;

    /// Writes what an id that follows from the content is made from: the class here; classes add their content.
    /// \returns 0, or a code of the channel
    virtual int WriteContentForIdGeneration(Kest::OChannel& channel) const;

    /// Events of associations that send them, told to the left object: \p right was linked.
    virtual void ObjectConnected(const Association1NUntyped& association, const ConstRef<Object>& right);
    /// The link to \p right was cut.
    virtual void ObjectDisconnected(const Association1NUntyped& association, const ConstRef<Object>& right);
    /// \p right is being deleted; its link is cut next.
    virtual void ObjectDeleted(const Association1NUntyped& association, const ConstRef<Object>& right);
    /// \p right was changed by one of its own operations.
    virtual void ObjectModified(const Association1NUntyped& association, const ConstRef<Object>& right);
    /// \p right got another place among the links.
    virtual void ObjectReordered(const Association1NUntyped& association, const ConstRef<Object>& right);

    /// Makes what the object makes on first use. Nothing in the base class.
    virtual void InitializeLazyData();

    /// Reads what WriteIsolatedState wrote. \returns as Read
    virtual int ReadIsolatedState(Kest::IChannel& channel);

    /// Writes the elements of the content into the open element. \returns 0, or a code of the channel or of the class
    virtual int WriteXML(Kest::XMLOChannel& channel) const;
    /// Reads what WriteXML wrote. \returns as Read
    virtual int ReadXML(Kest::XMLIChannel& channel);

    /// A new, empty state of the object's own state class. The caller owns it.
    virtual IsolatedState* CreateIsolatedState() const;

    /// Copies the content into \p state, which must come from CreateIsolatedState of the same class.
    /// \returns 0, or -7003 for a state of another class
    virtual int StoreIsolatedState(IsolatedState* state) const;

    /// Takes the content from \p state. Tells no observer; counts as a change.
    /// \returns 0, or -7003 for a state of another class, with nothing changed
    virtual int RestoreIsolatedState(const IsolatedState* state);

    /// Writes the isolated state. \returns 0, or a code of the channel or of the class
    virtual int WriteIsolatedState(Kest::OChannel& channel) const;
    /// The same as elements of the open element.
    virtual int WriteIsolatedStateXML(Kest::XMLOChannel& channel) const;
    /// Reads what WriteIsolatedStateXML wrote. \returns as Read
    virtual int ReadIsolatedStateXML(Kest::XMLIChannel& channel);

    /// Takes the content of \p other, which must be of the same class, through a state. \returns as the two above
    virtual int CopyIsolatedState(const Object& other);

    /// Size of the class's state object in bytes.
    virtual std::size_t GetIsolatedSize() const;

    /// Cuts all links of the object, without destroying what they linked.
    virtual int Isolate();

    /// An id that follows from the content: equal for equal content, whenever and wherever it is made.
    /// \returns the null id when the content cannot be written
    virtual Id GenerateIdFromContent() const;

    /// The record, made when there is none yet; NullObjectInfo for an object that was deleted during an announcement
    /// and only waits for its memory to be freed.
    /// \throws std::bad_alloc
    ObjectInfo* GetInfo() const;

    /// The id, the null id when the object has none.
    const Id& GetId() const noexcept { return FindInfo() != nullptr ? FindInfo()->GetId() : NullId; }
    IdSpace* GetIdSpace() const noexcept { return FindInfo() != nullptr ? FindInfo()->GetIdSpace() : nullptr; }
    std::uint64_t GetModificationStamp() const noexcept {
        return FindInfo() != nullptr ? FindInfo()->GetModificationStamp() : 0;
    }

protected:
    /// The base part of all binary forms: a frame of \p partClass with the id of the object.
    int WriteIdentity(Kest::OChannel& channel, const Kest::ClassInfo& partClass) const;
    /// Reads a base part and tells the innermost IdReadingScope of the id.
    int ReadIdentity(Kest::IChannel& channel, const Kest::ClassInfo& partClass);

    /// Cuts the links, deletes what the object alone owns and kills the references. A class that an index looks into
    /// calls this first in its destructor, while it is still whole.
    void LeaveDatabase() noexcept;

    Object() noexcept = default;
    Object(const Object& other) noexcept : Kest::Object(other) {}
    Object& operator=(const Object&) noexcept { return *this; }

private:
    friend class Database;
    friend class IdSpace;
    friend class MergeTarget;
    friend class ObjectInfo;
    friend class RefBase;
    friend class ModificationGate;

    static constexpr std::uintptr_t BuriedBit = 1;

    bool IsBuried() const noexcept { return (info & BuriedBit) != 0; }
    ObjectInfo* FindInfo() const noexcept { return IsBuried() ? nullptr : reinterpret_cast<ObjectInfo*>(info); }
    void SetInfo(ObjectInfo* record) const noexcept { info = reinterpret_cast<std::uintptr_t>(record); }

    // 0, the counted record, or (lowest bit set) the object to be freed next
    mutable std::uintptr_t info = 0;
};

/// An object that carries its class record, so that one C++ class can serve several records.
class ODB_API DynamicObject : public Object {
public:
    class ODB_API IsolatedState : public Object::IsolatedState {};

    const Kest::ClassInfo* GetClassInfo() const override { return classInfo; }
    static const Kest::ClassInfo* GetClassInfoStatic();
    IsolatedState* CreateIsolatedState() const override;
    std::size_t GetIsolatedSize() const override;

protected:
    explicit DynamicObject(const Kest::ClassInfo* objectClass) noexcept : classInfo(objectClass) {}
    DynamicObject(const DynamicObject&) noexcept = default;
    DynamicObject& operator=(const DynamicObject& other) noexcept {
        Object::operator=(other);
        return *this;
    }

private:
    const Kest::ClassInfo* classInfo;
};

/// The gate that an object's own mutators pass: opened before the first write, closed after the last one and before
/// anything is announced.
///
/// Opening stamps the object. Closing shows the changed object to the indexes above it; before that, everything that
/// was noted for them is looked at, in the order of the changes. The destructor closes a gate that is still open.
class ODB_API ModificationGate {
public:
    explicit ModificationGate(const Object& changing) noexcept : object(changing) { Open(); }
    ~ModificationGate() {
        if (open)
            Close();
    }
    ModificationGate(const ModificationGate&) = delete;
    ModificationGate& operator=(const ModificationGate&) = delete;

    void Close();

private:
    void Open() noexcept;
    static void SendModified(ObjectInfo& record);

    const Object& object;
    bool open = true;
};

}   // namespace ODB
