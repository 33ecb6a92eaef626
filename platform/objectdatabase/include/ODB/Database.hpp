#pragma once

#include <ODB/Export.hpp>
#include <ODB/Object.hpp>
#include <ODB/Ref.hpp>

namespace ODB {

/// Puts objects under the control of the database and deletes them.
class ODB_API Database {
public:
    Database() = delete;

    /// Takes \p object over: from now on the database destroys it. With \p generateId an object without an id gets a
    /// fresh one in the default space.
    /// \returns 0, or -7001 for a null or dead reference
    static int AddObject(const Ref<Object>& object, bool generateId);

    /// The same for an object that is to stand alone: links that it has are cut first, destroying nothing.
    static int AddIsolatedObject(const Ref<Object>& object, bool generateId);

    /// Deletes \p object and what it alone owns, owned before owner: cuts the links, kills the references, frees the
    /// memory. While anything is announced, the memory waits for the end of the outermost announcement; observers of a
    /// deleted source hear SourceDestroyed at once and nothing after. Never fails, never recurses deeply; a null or
    /// dead reference is ignored. An object on its way out is neither linked nor unlinked nor moved by anybody else.
    static void DeleteObject(const Ref<Object>& object) noexcept;

private:
    friend class Association1NUntyped;
    friend class Object;

    static void SuspendIndexes(const ObjectInfo& record) noexcept;
    static ObjectInfo* FindDoomed(ObjectInfo& owner) noexcept;
    static LinkList* FindOtherOwner(ObjectInfo& right, const LinkList& list) noexcept;
    static ObjectInfo* FindDoomingOwner(ObjectInfo& record) noexcept;
    static void Detach(ObjectInfo& record) noexcept;
    static void DestroyOne(ObjectInfo& record) noexcept;
    static void DestroyIfUnowned(ObjectInfo& record) noexcept;
    static void Bury(Object* object) noexcept;
    static void EmptyGraveyard() noexcept;
};

}   // namespace ODB
