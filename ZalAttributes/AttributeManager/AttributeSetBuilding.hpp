#pragma once

#include <memory>

#include <Kest/Guid.hpp>

#include <ODB/IdSpace.hpp>
#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeSet.hpp>
#include <AttributeManager/IAttributeRegister.hpp>

namespace ADB {

/// A new container of the type \p typeId as \p types describes it, owned by the caller.
/// \param idSpace where it lives; null means the default space
/// \param useRegisteredGuid gives it the id that was registered for it, where that is free
/// \throws std::bad_alloc
std::unique_ptr<AttributeContainer> MakeRegisteredContainer(const IAttributeRegister& types, short typeId,
                                                            ODB::IdSpace* idSpace, bool useRegisteredGuid);

/// A set of the database with a container for each registered type, which nobody lists. A container that cannot be had
/// is left out. \returns a null reference when the set cannot be made
ODB::Ref<AttributeSet> BuildAttributeSet(const ODB::IdSpace* idSpace, const Kest::Guid& guid, bool useRegisteredGuids);

/// A set with all its containers, for a passing use: nobody lists it, it has a space of its own and dies with it.
class TemporarySet {
public:
    /// \returns null when there is no memory for all of it
    static std::unique_ptr<TemporarySet> Make() noexcept;

    const ODB::Ref<AttributeSet>& Get() const noexcept { return set; }

private:
    TemporarySet();
    bool IsWhole() const;

    ODB::IdSpace space;   // destroys what is in it
    ODB::Ref<AttributeSet> set;
};

}   // namespace ADB
