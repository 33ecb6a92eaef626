#include "Session.hpp"

#include "SortRules.hpp"
#include "kinds/KindTable.hpp"

#include <new>

#include <Kest/Guid.hpp>

#include <AttributeManager/AttributeManager.hpp>

namespace Host {

Session::Session() : kinds(CreateAttributeRegister()), sortRules(CreateSortRuleTable()) {
    try {
        if (kinds == nullptr || sortRules == nullptr)
            throw std::bad_alloc();
        RegisterKinds(*kinds);
        SetSortRules(*sortRules);
        InitAttributeManager(sortRules);
        set = InitAttributeSetContainer(kinds, nullptr);
        if (!set)
            throw std::bad_alloc();
    } catch (...) {
        Close();
        throw;
    }
}

Session::~Session() {
    Close();
}

void Session::Close() noexcept {
    FreeAttributeSetContainer();
    InitAttributeManager(nullptr);
    DisposeSortRuleTable(&sortRules);
    DisposeAttributeRegister(&kinds);
}

ScratchSet::ScratchSet(Space space)
    : ownSpace(space == OwnSpace ? std::make_unique<ODB::IdSpace>() : nullptr),
      set(CreateAttributeSet(ownSpace.get(), Kest::Guid(), false)) {
    if (!set)
        throw std::bad_alloc();
}

ScratchSet::~ScratchSet() {
    DisposeAttributeSet(set);
}

short TypeIdOf(unsigned int refId) {
    return GetAttributeRegister()->GetTypeIdByRefId(refId);
}

}   // namespace Host
