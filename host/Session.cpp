#include "Session.hpp"

#include "SortRules.hpp"
#include "kinds/KindTable.hpp"

#include <new>

#include <AttributeManager/AttributeManager.hpp>

namespace Host {

namespace {

// The set that the library begins with has an id that nobody chose: it is made where it takes no other id, and goes.
ODB::Ref<ADB::AttributeSet> MakeDocument(const ADB::IAttributeRegister& kinds, const Kest::Guid& setId) {
    ODB::IdSpace beside;
    const ODB::Ref<ADB::AttributeSet> first = InitAttributeSetContainer(&kinds, &beside);
    const ODB::Ref<ADB::AttributeSet> document = CreateAttributeSet(nullptr, setId, true);
    if (SetCurrentAttributeSet(document) != 0)
        throw std::bad_alloc();
    DisposeAttributeSet(first);
    return document;
}

}   // namespace

Session::Session(const Kest::Guid& setId) : kinds(CreateAttributeRegister()), sortRules(CreateSortRuleTable()) {
    try {
        if (kinds == nullptr || sortRules == nullptr)
            throw std::bad_alloc();
        RegisterKinds(*kinds);
        SetSortRules(*sortRules);
        InitAttributeManager(sortRules);
        set = MakeDocument(*kinds, setId);
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
