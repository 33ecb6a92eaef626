#include <AttributeManager/AttributeManager.hpp>

#include <cstddef>

#include <Kest/Logger.hpp>

#include <ODB/Database.hpp>

#include <AttributeManager/AttributeErrors.hpp>

#include "AttributeSetBuilding.hpp"
#include "LogCategory.hpp"
#include "ProcessState.hpp"
#include "SetCopy.hpp"

namespace {

using ADB::AttributeContainer;
using ADB::AttributeSet;
using ADB::GetProcessState;
using ADB::IAttributeRegister;
using ADB::ProcessState;

ODB::Ref<AttributeSet> AliveOrNull(const ODB::Ref<AttributeSet>& set) {
    return set ? set : ODB::Ref<AttributeSet>();
}

// Makes a set and lists it under the smallest free index, or not at all. Returns the index, 0 for none.
short BuildListedSet(const ODB::IdSpace* idSpace, const Kest::Guid& guid, bool useRegisteredGuids, std::size_t entries,
                     ODB::Ref<AttributeSet>& set) {
    ADB::AttributeSetRegistry& sets = GetProcessState().sets;
    const short index = sets.GetFreeIndex();
    if (index == 0)
        return 0;
    try {
        sets.ReserveMore(entries);
    } catch (...) {
        return 0;
    }
    set = ADB::BuildAttributeSet(idSpace, guid, useRegisteredGuids);
    if (!set)
        return 0;
    sets.Add(index, set);
    return index;
}

void LogKilledByFree() {
    static const Kest::ErrorLogLine line("FreeAttributeSet: attempt to kill currentAttributeSet", ADB::LogCategory);
    line.Write();
}

void LogKilledByDispose() {
    static const Kest::ErrorLogLine line("DisposeAttributeSet: attempt to kill currentAttributeSet", ADB::LogCategory);
    line.Write();
}

// Deletes `set`, listed under `index` unless that is 0. Whoever hears of it may change the list.
void KillSet(const ODB::Ref<AttributeSet>& set, short index, void (*logKilledCurrent)()) {
    ProcessState& state = GetProcessState();
    if (state.currentSet == set)
        state.currentSet = ODB::NullRef;
    ODB::Database::DeleteObject(set);
    if (index != 0)
        state.sets.Remove(index, set);
    if (state.currentSet)
        return;
    logKilledCurrent();
    state.currentSet = state.sets.GetFirst();
}

// Where it takes a delta, the objects of the copy get fresh ids in a space between, so that the copy can stand beside
// its source.
ODB::Ref<AttributeSet> CopyBeside(const AttributeSet& source) {
    if (source.GetIdSpace() == nullptr)
        return ODB::NullRef;
    if (const auto copy = ADB::CopySet(source, *source.GetIdSpace(), ADB::CopyIds::Fresh))
        return *copy;
    ODB::IdSpace between;
    const ODB::Ref<AttributeSet> copy = source.CopyToIdSpace(&between);
    if (!copy)
        return ODB::NullRef;
    between.ReidentifyAllObjects(nullptr);
    return copy.GetConst()->CopyToIdSpace(source.GetIdSpace());
}

ODB::Ref<AttributeSet> CopyWithin(const AttributeSet& source, ODB::IdSpace* target) {
    try {
        const bool beside = target == nullptr || target == source.GetIdSpace();
        const bool isThere = !beside && target->Contains(source.GetId());
        const ODB::Ref<AttributeSet> copy = beside ? CopyBeside(source) : source.CopyToIdSpace(target);
        if (copy && isThere)   // whoever made it may have left that out
            copy.GetConst()->EnumerateAttributeContainers([](const ODB::Ref<AttributeContainer>& container) {
                container.GetLogicalConst()->AttachAttributeObservers();
            });
        return copy;
    } catch (...) {
        return ODB::NullRef;
    }
}

class CurrentSetProvider : public ADB::IAttributeSetProvider {
public:
    ODB::Ref<AttributeSet> GetAttributeSet(int) const override { return GetCurrentAttributeSet(); }
};

}   // namespace

ODB::Ref<AttributeSet> InitAttributeSetContainer(const IAttributeRegister* attributeRegister,
                                                 const ODB::IdSpace* idSpace) {
    ProcessState& state = GetProcessState();
    state.attributeRegister = attributeRegister;
    state.sets.Clear();
    state.currentSet = CreateAttributeSet(idSpace, Kest::Guid(), true);
    return state.currentSet;
}

void InitAttributeManager(const ADB::ISortRuleTable* sortRules) {
    GetProcessState().sortRules = sortRules;
}

void FreeAttributeSetContainer() {
    ProcessState& state = GetProcessState();
    while (!state.sets.IsEmpty())   // whoever hears of a deletion may change the list
        ODB::Database::DeleteObject(state.sets.TakeOne());
    state.currentSet = ODB::NullRef;
    state.attributeRegister = nullptr;
}

ODB::Ref<AttributeSet> CreateAttributeSet(const ODB::IdSpace* idSpace, const Kest::Guid& guid,
                                          bool useRegisteredGuids) {
    ODB::Ref<AttributeSet> set;
    BuildListedSet(idSpace, guid, useRegisteredGuids, 1, set);
    return set;
}

short NewAttributeSet(const ODB::IdSpace* idSpace) {
    ODB::Ref<AttributeSet> set;
    const short index = BuildListedSet(idSpace, Kest::Guid(), false, 1, set);
    return index != 0 ? index : short{-1};
}

ODB::Ref<AttributeSet> CloneAttributeSet(ODB::ConstRef<AttributeSet> source, ODB::IdSpace* target) {
    ADB::AttributeSetRegistry& sets = GetProcessState().sets;
    if (!source)
        return ODB::NullRef;
    try {
        sets.ReserveMore(1);
    } catch (...) {
        return ODB::NullRef;
    }
    const short index = sets.GetFreeIndex();
    if (index == 0)
        return ODB::NullRef;
    const ODB::Ref<AttributeSet> clone = CopyWithin(*source, target);
    if (clone && sets.FindIndexOf(clone) == 0)
        sets.Add(index, clone);
    return clone;
}

short RegisterAttributeSet(ODB::Ref<AttributeSet> set) {
    ADB::AttributeSetRegistry& sets = GetProcessState().sets;
    const short index = sets.GetFreeIndex();
    if (index == 0)
        return -1;
    try {
        if (sets.FindIndexOf(set) == 0)
            sets.Add(index, set);
    } catch (...) {
        return -1;
    }
    return index;
}

int DeregisterAttributeSet(ODB::Ref<AttributeSet> set) {
    ADB::AttributeSetRegistry& sets = GetProcessState().sets;
    const short index = sets.FindIndexOf(set);
    if (index == 0)
        return ADB::Error::SetNotRegistered;
    sets.Remove(index, set);
    return ADB::Error::None;
}

bool IsValidAttributeSet(ODB::ConstRef<AttributeSet> set) {
    return set && GetProcessState().sets.FindIndexOf(set) != 0;
}

int FreeAttributeSet(short index) {
    const ODB::Ref<AttributeSet>* const listed = GetProcessState().sets.Find(index);
    if (listed == nullptr)
        return ADB::Error::NoSuchSet;
    const ODB::Ref<AttributeSet> set = *listed;
    if (!set)
        return ADB::Error::EmptySet;
    KillSet(set, index, &LogKilledByFree);
    return ADB::Error::None;
}

void DisposeAttributeSet(ODB::Ref<AttributeSet> set) {
    if (set)
        KillSet(set, GetProcessState().sets.FindIndexOf(set), &LogKilledByDispose);
}

ODB::Ref<AttributeSet> GetCurrentAttributeSet() {
    return GetProcessState().currentSet;
}

ODB::ConstRef<AttributeSet> GetCurrentConstAttributeSet() {
    return GetProcessState().currentSet;
}

short GetCurrentAttributeSetIndex() {
    const ProcessState& state = GetProcessState();
    return state.currentSet ? state.sets.FindIndexOf(state.currentSet) : short{0};
}

int SelectAttributeSet(short index) {
    if (index < 1)
        return ADB::Error::NoSuchSet;
    ProcessState& state = GetProcessState();
    if (state.sets.Find(index) == nullptr) {
        ODB::Ref<AttributeSet> made;
        if (BuildListedSet(nullptr, Kest::Guid(), false, 2, made) == 0)
            return ADB::Error::MemoryFull;
        state.sets.Add(index, made);   // lists it twice, unless its own index is the one asked for
    }
    const ODB::Ref<AttributeSet> set = *state.sets.Find(index);
    if (!set)
        return ADB::Error::EmptySet;
    state.currentSet = set;
    return ADB::Error::None;
}

int SwapAttributeSet(short index) {
    ProcessState& state = GetProcessState();
    const ODB::Ref<AttributeSet>* const listed = state.sets.Find(index);
    if (listed == nullptr)
        return ADB::Error::NoSuchSet;
    state.currentSet = AliveOrNull(*listed);
    return ADB::Error::None;
}

int SetCurrentAttributeSet(ODB::ConstRef<AttributeSet> set) {
    if (!set)
        return ADB::Error::NullArgument;
    if (!IsValidAttributeSet(set))
        return ADB::Error::SetNotRegistered;
    GetProcessState().currentSet = ODB::Ref<AttributeSet>(set);
    return ADB::Error::None;
}

ADB::IAttributeSetProvider* GetCurrentAttributeSetProvider() {
    static auto& provider = *new CurrentSetProvider;
    return &provider;
}
