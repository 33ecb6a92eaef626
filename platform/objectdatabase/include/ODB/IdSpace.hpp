#pragma once

#include <cstddef>
#include <functional>
#include <memory>

#include <Kest/HashTable.hpp>
#include <Kest/UniString.hpp>

#include <ODB/Export.hpp>
#include <ODB/Id.hpp>
#include <ODB/Ref.hpp>

namespace ODB {

class Association1NUntyped;
class RecordTable;

/// A space of object identities. Destroying it destroys the objects of the database in it; other objects lose their id.
class ODB_API IdSpace {
public:
    /// A space without a name.
    IdSpace();
    explicit IdSpace(const Kest::UniString& spaceName);
    ~IdSpace();
    IdSpace(const IdSpace&) = delete;
    IdSpace& operator=(const IdSpace&) = delete;

    const Kest::UniString& GetName() const noexcept { return name; }
    bool HasName() const noexcept { return !name.IsEmpty(); }

    /// Whether an object has \p id here; an identity whose object is gone or has not come yet does not count.
    bool Contains(const Id& id) const noexcept;

    /// The object with \p id, or a null reference.
    Ref<Object> Find(const Id& id) const noexcept;
    ConstRef<Object> FindConst(const Id& id) const noexcept;

    /// The number of objects.
    std::size_t GetObjectCount() const noexcept;

    /// Calls \p call with every object of the space, in no order; \p call must not make, delete or move objects.
    void EnumerateObjects(const std::function<void(const Ref<Object>&)>& call) const;

    /// Moves \p object here with its id, links and references.
    /// \returns false, with nothing changed, when there is no object, it has no id or an object has its id here
    /// \throws std::bad_alloc with nothing changed
    bool MoveObject(const Ref<Object>& object);

    /// Gives every object of the space a fresh id; references follow. \p oldToNew, when given, receives the pairs.
    /// \throws std::bad_alloc with nothing changed
    void ReidentifyAllObjects(Kest::HashTable<Id, Id>* oldToNew);

    /// Gives the object of \p record, which has no id yet, the id \p id here; the null id stands for a fresh one.
    /// \returns the record that the object has now, which is another one when the identity was known already; null,
    /// with nothing changed, when an object has that id. \throws std::bad_alloc with nothing changed
    ObjectInfo* Identify(ObjectInfo& record, const Id& id);

    /// Makes room for \p more identities. \throws std::bad_alloc with nothing changed
    void Reserve(std::size_t more);

    /// Checks both ends of every link of every object, and all counts; for debug builds and tests.
    bool CheckInvariants() const;

    /// Makes \p space the input space while the scope lives, then restores the one before.
    class ODB_API InputScope {
    public:
        explicit InputScope(IdSpace* space) noexcept;
        ~InputScope();
        InputScope(const InputScope&) = delete;
        InputScope& operator=(const InputScope&) = delete;

    private:
        IdSpace* previous;
    };

private:
    friend class Association1NUntyped;
    friend class Database;
    friend class MergeTarget;
    friend class Object;
    friend class ObjectInfo;
    friend class RefBase;

    // The record of `id`, made when there is none: alive, dead, or still without its object.
    ObjectInfo& GetRecord(const Id& id);
    ObjectInfo* FindRecord(const Id& id) const noexcept;
    // Gives a record without a space the identity; the caller has made sure that it is free and that there is room.
    void Enter(ObjectInfo& record, const Id& id) noexcept;
    void ReserveOne() { Reserve(1); }
    bool DeleteObjects(bool owned) noexcept;
    bool DeleteFirst(bool owned) noexcept;
    static bool IsDoomed(ObjectInfo* record, bool owned) noexcept;
    void Leave(ObjectInfo& record) noexcept;
    Id MakeFreeId() const;

    Kest::UniString name;
    std::unique_ptr<RecordTable> records;
};

/// The space that a null id space stands for. It lives as long as the process.
ODB_API IdSpace* GetDefaultIdSpace();

/// The space in which identities that are read are looked up: that of the innermost InputScope, else the default one.
ODB_API IdSpace* GetInputIdSpace();

}   // namespace ODB
