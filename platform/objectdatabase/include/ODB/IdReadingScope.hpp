#pragma once

#include <Kest/ClassVersion.hpp>
#include <Kest/HashTable.hpp>

#include <ODB/Export.hpp>
#include <ODB/Id.hpp>
#include <ODB/Ref.hpp>

namespace ODB {

class IdSpace;

/// While it lives, objects are being made from a stream or a document into an id space.
///
/// The base part of an object that is read tells its stored id to the innermost scope. Identify then gives the object
/// that id when it is free in the space, else a fresh one; references that are read later under the stored id name the
/// object all the same. So a stream that is read twice into one space makes two sets that never cross.
class ODB_API IdReadingScope {
public:
    /// \param targetSpace where the objects live; null means the input space
    explicit IdReadingScope(IdSpace* targetSpace) noexcept;
    ~IdReadingScope();
    IdReadingScope(const IdReadingScope&) = delete;
    IdReadingScope& operator=(const IdReadingScope&) = delete;

    /// Gives \p object, which was read last and has no id yet, its id. An object that reads others is identified before
    /// these are read. \throws std::bad_alloc with nothing changed
    void Identify(const Ref<Object>& object);

    /// Whether every object got the id that it was stored with.
    bool AreAllIdsKept() const noexcept { return renamed.IsEmpty() && !lostAny; }

    /// Whether a base part was of a later version than ours: what it has beyond ours was passed over.
    bool HasMetLaterParts() const noexcept { return laterVersion != Kest::ClassVersion(); }
    /// The latest such version; 0.0 without one.
    Kest::ClassVersion GetLaterVersion() const noexcept { return laterVersion; }

private:
    friend class Object;
    friend class RefBase;

    static void NoteStoredId(const Id& id) noexcept;
    static void NoteVersion(Kest::ClassVersion version, Kest::ClassVersion ours) noexcept;
    static ObjectInfo* FindKnown(const Id& id) noexcept;

    IdSpace* space;
    IdReadingScope* outer;
    Id lastStored;
    Kest::HashTable<Id, Ref<Object>> renamed;   // by stored id: only objects whose id is another one now
    Kest::ClassVersion laterVersion;
    bool lostAny = false;   // an object was stored without an id
};

}   // namespace ODB
