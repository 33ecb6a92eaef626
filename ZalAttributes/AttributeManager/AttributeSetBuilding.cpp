#include "AttributeSetBuilding.hpp"

#include <utility>

#include <ODB/Database.hpp>

#include "ProcessState.hpp"

namespace ADB {
namespace {

void AddContainer(AttributeSet& set, const IAttributeRegister& types, short typeId, bool useRegisteredGuid) {
    auto container = MakeRegisteredContainer(types, typeId, set.GetIdSpace(), useRegisteredGuid);
    if (set.AddAttributeContainer(ODB::Ref<AttributeContainer>(container.get())) == 0)
        container.release();   // the set's now
}

}   // namespace

std::unique_ptr<AttributeContainer> MakeRegisteredContainer(const IAttributeRegister& types, short typeId,
                                                            ODB::IdSpace* idSpace, bool useRegisteredGuid) {
    const Kest::Guid guid = useRegisteredGuid ? types.GetContainerGuid(typeId) : Kest::Guid();
    return std::make_unique<AttributeContainer>(types.GetRefId(typeId), guid, idSpace, types.GetTypeName(typeId),
                                                types.GetCreatePermissionID(typeId),
                                                types.GetDeleteModifyPermissionID(typeId));
}

ODB::Ref<AttributeSet> BuildAttributeSet(const ODB::IdSpace* idSpace, const Kest::Guid& guid, bool useRegisteredGuids) {
    std::unique_ptr<AttributeSet> set;
    try {
        set = std::make_unique<AttributeSet>(idSpace, guid);
    } catch (...) {
        return ODB::NullRef;
    }
    if (const IAttributeRegister* const types = GetProcessState().attributeRegister)
        for (int typeId = 1; typeId <= types->GetAttributeTypeNumber(); ++typeId)
            try {
                AddContainer(*set, *types, static_cast<short>(typeId), useRegisteredGuids);
            } catch (...) {   // a container that cannot be had is left out
            }
    const ODB::Ref<AttributeSet> built(set.release());
    ODB::Database::AddObject(built, false);
    return built;
}

TemporarySet::TemporarySet() : space(u"TempIdSpace"), set(BuildAttributeSet(&space, Kest::Guid(), false)) {}

// What a missing container should have taken would be lost in silence.
bool TemporarySet::IsWhole() const {
    const IAttributeRegister* const types = GetProcessState().attributeRegister;
    if (!set)
        return false;
    for (int typeId = 1; types != nullptr && typeId <= types->GetAttributeTypeNumber(); ++typeId)
        if (!set.GetConst()->GetConstAttributeContainer(static_cast<short>(typeId)))
            return false;
    return true;
}

std::unique_ptr<TemporarySet> TemporarySet::Make() noexcept {
    try {
        std::unique_ptr<TemporarySet> made(new TemporarySet);
        return made->IsWhole() ? std::move(made) : nullptr;
    } catch (...) {
        return nullptr;
    }
}

}   // namespace ADB
