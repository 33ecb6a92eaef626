#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include <Kest/Array.hpp>
#include <Kest/Hash.hpp>

#include <ODB/Export.hpp>
#include <ODB/Id.hpp>
#include <ODB/ObjectInfo.hpp>

namespace Kest {

class IChannel;
class OChannel;

}   // namespace Kest

namespace ODB {

class Object;

template <class Reference>
class Borrowed;

/// Whether a pointer to \p From can stand where one to \p To is asked for.
template <class From, class To>
concept PointerConvertibleTo = std::is_convertible_v<From*, To*>;

/// The type of NullRef.
struct NullRefType {};

/// A reference to no object, for any kind of reference.
inline constexpr NullRefType NullRef;

/// What all references have in common: one counted pointer to a record.
///
/// Testing, copying and comparing never mark the object as read or changed. References are equal when they name the
/// same record; all that name no record are equal.
class ODB_API RefBase {
public:
    RefBase() noexcept : info(&NullObjectInfo) {}
    RefBase(const RefBase& other) noexcept : info(other.info) { Count(); }
    RefBase(RefBase&& other) noexcept : info(std::exchange(other.info, &NullObjectInfo)) {}
    ~RefBase() { Release(); }
    RefBase& operator=(const RefBase& other) noexcept {
        RefBase copy(other);
        std::swap(info, copy.info);
        return *this;
    }
    RefBase& operator=(RefBase&& other) noexcept {
        std::swap(info, other.info);
        return *this;
    }

    /// Whether there is an object: false for the null reference and for a dead one.
    bool IsAlive() const noexcept { return info->IsAlive() || Follow(); }
    explicit operator bool() const noexcept { return IsAlive(); }

    /// The id, the null id when the reference names none.
    const Id& GetId() const noexcept { return GetInfo()->GetId(); }
    IdSpace* GetIdSpace() const noexcept { return GetInfo()->GetIdSpace(); }

    /// A count that grows with each change of the object; 0 without one.
    std::uint64_t GetModificationStamp() const noexcept { return GetInfo()->GetModificationStamp(); }

    /// The record that the reference names; NullObjectInfo for the null reference.
    ObjectInfo* GetInfo() const noexcept {
        if (!info->IsAlive())
            (void)Follow();
        return info;
    }

    /// Gives the object a fresh id in \p idSpace (null: the default space), or names a fresh identity that has no
    /// object yet when the reference is null. An id that the object has already is replaced.
    /// \throws std::bad_alloc with nothing changed
    void GenerateId(IdSpace* idSpace);

    /// On a reference to an object without an id: gives it the identity (\p id, \p idSpace). On any other: makes the
    /// reference name that identity, which may have no object yet and comes alive when one arrives. A null space means
    /// the default space, a null id a fresh one.
    /// \returns false, with nothing changed, when the object has no id and another object has that identity
    bool Init(const Id& id, IdSpace* idSpace);

    /// Reads an identity and names it: the object that the innermost IdReadingScope knows under that id, else the
    /// identity in \p idSpace (null: the input space), which may have no object yet; the null id gives the null
    /// reference. \returns the channel's status; when it is not 0, the reference is as it was
    int ReadRef(Kest::IChannel& channel, IdSpace* idSpace);

    /// Writes the id of the object; the null id when there is none. \returns the channel's status
    int WriteRef(Kest::OChannel& channel) const;

    friend bool operator==(const RefBase& left, const RefBase& right) noexcept {
        return left.info == right.info || left.GetInfo() == right.GetInfo();
    }

protected:
    template <class Reference>
    friend class Borrowed;

    // Names a record without counting; see Borrowed.
    struct Uncounted {};
    RefBase(Uncounted, ObjectInfo* record) noexcept : info(record) {}

    explicit RefBase(ObjectInfo* record) noexcept : info(record) { Count(); }
    explicit RefBase(const Object* object);

    void Count() const noexcept {
        if (info != &NullObjectInfo)
            info->AddReference();
    }
    void Release() noexcept {
        if (info != &NullObjectInfo)
            info->ReleaseObjectInfo();
    }
    // Moves on to the record that took the place of a dead one. Returns whether there is an object.
    bool Follow() const noexcept { return info->GetSuccessor() != nullptr && FollowSuccessor(); }
    bool FollowSuccessor() const noexcept;

    mutable ObjectInfo* info;
};

template <class T>
class Ref;

/// A counted reference that permits reading. One pointer wide; T need only be declared to name, copy and destroy it.
/// A null or dead reference gives null.
template <class T>
class ConstRef : public RefBase {
public:
    ConstRef() noexcept = default;
    ConstRef(NullRefType) noexcept {}
    /// The record of \p object, made on demand when no database has it; null for null.
    ConstRef(const T* object) : RefBase(static_cast<const Object*>(object)) {}
    template <PointerConvertibleTo<const T> U>
    ConstRef(const ConstRef<U>& other) noexcept : RefBase(other) {}
    template <PointerConvertibleTo<const T> U>
    ConstRef(const Ref<U>& other) noexcept : RefBase(other) {}
    explicit ConstRef(ObjectInfo* record) noexcept : RefBase(record) {}

    const T* operator->() const noexcept { return Get(); }
    const T& operator*() const noexcept { return *Get(); }
    const T* Get() const noexcept { return static_cast<const T*>(GetInfo()->GetObject()); }

    /// The object without loading it.
    const T* GetConstMemoryAddress() const noexcept { return Get(); }

private:
    friend class Borrowed<ConstRef>;
    ConstRef(Uncounted mark, ObjectInfo* record) noexcept : RefBase(mark, record) {}
};

/// A counted reference that permits modification: going through it marks the object as changed. Otherwise as ConstRef.
template <class T>
class Ref : public RefBase {
public:
    Ref() noexcept = default;
    Ref(NullRefType) noexcept {}
    /// The record of \p object, made on demand when no database has it; null for null.
    Ref(T* object) : RefBase(static_cast<const Object*>(object)) {}
    template <PointerConvertibleTo<T> U>
    Ref(const Ref<U>& other) noexcept : RefBase(other) {}
    /// The right to modify what could only be read; for those who own it.
    explicit Ref(const ConstRef<T>& other) noexcept : RefBase(other) {}
    explicit Ref(ObjectInfo* record) noexcept : RefBase(record) {}

    T* operator->() const noexcept { return Get(); }
    T& operator*() const noexcept { return *Get(); }
    T* Get() const noexcept {
        ObjectInfo* const record = GetInfo();
        if (record->IsAlive())
            record->ProcessModificationRequest();
        return static_cast<T*>(record->GetObject());
    }

    /// The object for reading.
    const T* GetConst() const noexcept { return static_cast<const T*>(GetInfo()->GetObject()); }
    const T* GetConstMemoryAddress() const noexcept { return GetConst(); }

    /// The object for a change that does not count as one: no stamp, no look of the indexes.
    T* GetLogicalConst() const noexcept {
        ObjectInfo* const record = GetInfo();
        record->ProcessLogicalConstModificationRequest();
        return static_cast<T*>(record->GetObject());
    }

private:
    friend class Borrowed<Ref>;
    Ref(Uncounted mark, ObjectInfo* record) noexcept : RefBase(mark, record) {}
};

/// A reference for reading to an interface that the object's class implements beside its object base.
template <class Interface>
class ConstIRef : public RefBase {
public:
    ConstIRef() noexcept = default;
    ConstIRef(NullRefType) noexcept {}
    template <PointerConvertibleTo<const Interface> T>
    ConstIRef(const ConstRef<T>& other) noexcept : RefBase(other) {}
    template <PointerConvertibleTo<const Interface> T>
    ConstIRef(const Ref<T>& other) noexcept : RefBase(other) {}
    explicit ConstIRef(ObjectInfo* record) noexcept : RefBase(record) {}

    /// Null also when the object does not implement the interface.
    const Interface* operator->() const noexcept { return Get(); }
    const Interface* Get() const noexcept { return dynamic_cast<const Interface*>(GetInfo()->GetObject()); }
};

/// The same for modification: going through it marks the object as changed.
template <class Interface>
class IRef : public RefBase {
public:
    IRef() noexcept = default;
    IRef(NullRefType) noexcept {}
    template <PointerConvertibleTo<Interface> T>
    IRef(const Ref<T>& other) noexcept : RefBase(other) {}
    explicit IRef(ObjectInfo* record) noexcept : RefBase(record) {}
    operator ConstIRef<Interface>() const noexcept { return ConstIRef<Interface>(GetInfo()); }

    Interface* operator->() const noexcept { return Get(); }
    Interface* Get() const noexcept {
        ObjectInfo* const record = GetInfo();
        if (record->IsAlive())
            record->ProcessModificationRequest();
        return dynamic_cast<Interface*>(record->GetObject());
    }
};

/// A reference for the length of a call that does not count itself, since counting costs more than most calls: for
/// callers that know that the record stays. Whoever keeps it copies it, and the copy counts.
template <class Reference>
class Borrowed {
public:
    explicit Borrowed(ObjectInfo& record) noexcept : reference(RefBase::Uncounted(), &record) {}
    ~Borrowed() {}
    Borrowed(const Borrowed&) = delete;
    Borrowed& operator=(const Borrowed&) = delete;

    operator const Reference&() const noexcept { return reference; }

private:
    union {
        const Reference reference;   // never destroyed: it counts nothing that it could give back
    };
};

/// The same object seen as a \p T; null when it is none.
template <class T, class U>
Ref<T> DynamicCast(const Ref<U>& other) {
    return dynamic_cast<const T*>(other.GetConst()) != nullptr ? Ref<T>(other.GetInfo()) : Ref<T>();
}
template <class T, class U>
ConstRef<T> DynamicCast(const ConstRef<U>& other) {
    return dynamic_cast<const T*>(other.Get()) != nullptr ? ConstRef<T>(other.GetInfo()) : ConstRef<T>();
}

template <class T>
using RefList = Kest::Array<Ref<T>>;
template <class T>
using ConstRefList = Kest::Array<ConstRef<T>>;

}   // namespace ODB

template <class T>
struct Kest::Hash<ODB::Ref<T>> {
    auto operator()(const ODB::Ref<T>& ref) const noexcept {
        return Kest::Hash<const void*>()(static_cast<const void*>(ref.GetInfo()));
    }
};
template <class T>
struct Kest::Hash<ODB::ConstRef<T>> {
    auto operator()(const ODB::ConstRef<T>& ref) const noexcept {
        return Kest::Hash<const void*>()(static_cast<const void*>(ref.GetInfo()));
    }
};
