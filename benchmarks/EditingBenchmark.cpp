// What editors and shared projects do with whole types and sets - copy, edit and write back, replace, resolve, undo -
// beside copying a hand-written container of the same size, which is the least that anybody could do who changes a
// copy.
#include <memory>
#include <vector>

#include <ODB/ChangeRecorder.hpp>
#include <ODB/Delta.hpp>

#include <AttributeManager/AttributeTypeSet.hpp>

#include "Baseline.hpp"
#include "FilledSet.hpp"
#include "Measure.hpp"

namespace {

using namespace Bench;

using SetRef = ODB::Ref<ADB::AttributeSet>;
using AttributeRef = ODB::Ref<ADB::GeneralAttribute>;

constexpr short EditedType = 1;
constexpr std::size_t ChangedShare = 100;   // one in a hundred

struct Library;
struct Handwritten;

/// A set with the size of the state in each of the first types, without user data, since the hand-written container has
/// none; kept from one benchmark to the next of that size.
const SetRef& GetSet(const benchmark::State& state, std::size_t types = 1) {
    static std::unique_ptr<FilledSet> filled;
    static std::size_t size = 0;
    if (size != SizeOf(state) * types) {
        filled.reset();
        filled = std::make_unique<FilledSet>(SizeOf(state), types, UserData::None);
        size = SizeOf(state) * types;
    }
    return filled->Get();
}

std::unique_ptr<Baseline::Container> FillBaseline(std::size_t size) {
    auto container = std::make_unique<Baseline::Container>();
    for (const std::u16string& name : MakeNames(size))
        container->Add(Baseline::Item(name));
    return container;
}

template <class>
void CopyContainer(benchmark::State& state) {
    const std::unique_ptr<Baseline::Container> container = FillBaseline(SizeOf(state));
    for (auto _ : state) {
        std::unique_ptr<Baseline::Container> copy;
        TimeRound(state, [&] { copy = std::make_unique<Baseline::Container>(*container); });
    }
    CountItems(state, 1);
}

template <class>
void CopyContainers(benchmark::State& state) {
    std::vector<std::unique_ptr<Baseline::Container>> containers;
    for (std::size_t type = 0; type < TypeCount; ++type)
        containers.push_back(FillBaseline(SizeOf(state)));
    for (auto _ : state) {
        std::vector<std::unique_ptr<Baseline::Container>> copies;
        copies.reserve(TypeCount);
        TimeRound(state, [&] {
            for (const auto& container : containers)
                copies.push_back(std::make_unique<Baseline::Container>(*container));
        });
    }
    CountItems(state, 1);
}

/// Into another id space, under the same ids.
template <class>
void CloneSet(benchmark::State& state) {
    const SetRef& set = GetSet(state, TypeCount);
    for (auto _ : state) {
        ODB::IdSpace target;
        SetRef clone;
        TimeRound(state, [&] { clone = CloneAttributeSet(set, &target); });
        Require(static_cast<bool>(clone), "the set cannot be cloned");
        DisposeAttributeSet(clone);
    }
    CountItems(state, 1);
}

/// Into the set's own id space, under fresh ids.
template <class>
void CloneSetBeside(benchmark::State& state) {
    const SetRef& set = GetSet(state, TypeCount);
    for (auto _ : state) {
        SetRef clone;
        TimeRound(state, [&] { clone = CloneAttributeSet(set, nullptr); });
        Require(static_cast<bool>(clone), "the set cannot be cloned");
        DisposeAttributeSet(clone);
    }
    CountItems(state, 1);
}

class Editor : public ADB::AttributeTypeSet {
public:
    explicit Editor(const SetRef& set) : AttributeTypeSet(set, EditedType) {}
};

/// Changes one attribute in a hundred in the copy.
void EditSome(Editor& editor, std::size_t size, short newFlags) {
    FieldMaskT<ADB::GeneralAttribute> flags;
    flags.Set(ADB::GeneralAttribute::FlagsField);
    for (std::size_t place = 0; place < size; place += ChangedShare) {
        const std::unique_ptr<ADB::GeneralAttribute> attribute(
            editor.GetAttributeSet().GetConst()->Clone(EditedType, static_cast<short>(place + 1)));
        attribute->SetFlags(newFlags);
        Require(editor.Set(attribute.get(), flags, false) == 0, "the copy cannot be edited");
    }
}

/// From making the copy to its destruction.
template <class>
void EditWorkingCopy(benchmark::State& state) {
    const SetRef& set = GetSet(state);
    short flags = 0;
    for (auto _ : state) {
        flags = static_cast<short>(flags == 1 ? 2 : 1);
        TimeRound(state, [&] {
            Editor editor(set);
            EditSome(editor, SizeOf(state), flags);
            Require(editor.Synchronize(set, true) == 0, "the edits cannot be written back");
        });
    }
    CountItems(state, 1);
}

template <class>
void ReplaceChanged(benchmark::State& state) {
    const SetRef& set = GetSet(state);
    ODB::IdSpace space;
    const SetRef target = CloneAttributeSet(set, &space);
    short flags = set.GetConst()->GetConstAttribute(EditedType, short{1})->GetFlags();
    for (auto _ : state) {
        flags = static_cast<short>(flags == 1 ? 2 : 1);
        for (std::size_t place = 0; place < SizeOf(state); place += ChangedShare)
            set.GetConst()->GetAttribute(EditedType, static_cast<short>(place + 1))->SetFlags(flags);
        ODB::Delta delta(&space);
        TimeRound(state, [&] { Require(target->Replace(set, nullptr, &delta) == 0, "the set cannot be replaced"); });
        Require(delta.GetModifiedObjectCount() == SizeOf(state) / ChangedShare, "not what was changed was replaced");
    }
    DisposeAttributeSet(target);
    CountItems(state, 1);
}

/// Every name and index of the one is taken in the other.
template <class>
void ResolveConflicts(benchmark::State& state) {
    const SetRef& set = GetSet(state);
    const ODB::ConstRef<ADB::AttributeContainer> server = set.GetConst()->GetConstAttributeContainer(EditedType);
    for (auto _ : state) {
        ODB::IdSpace space;
        const ODB::Ref<ADB::AttributeContainer> client = server->CopyToIdSpace(&space);
        client.GetConst()->EnumerateAttributes(
            [](const AttributeRef& attribute) { attribute.GetLogicalConst()->SetClientCreated(true); });
        ADB::IAttributeNewIndexTable* table = CreateAttributeNewIndexTable();
        TimeRound(state, [&] { client->ResolveConflicts(server, table); });
        Require(table->GetMaxIndex(EditedType) == static_cast<short>(SizeOf(state)), "not all were moved");
        DisposeAttributeNewIndexTable(&table);
    }
    CountItems(state, 1);
}

/// Records a rename, undoes it and does it again.
template <class>
void UndoRename(benchmark::State& state) {
    const SetRef& set = GetSet(state);
    const AttributeRef attribute = set.GetConst()->GetAttribute(EditedType, static_cast<short>(SizeOf(state) / 2));
    const Kest::UniString name = attribute.GetConst()->GetName();
    for (auto _ : state) {
        ODB::Delta forward(nullptr);
        ODB::Delta back(nullptr);
        TimeRound(state, [&] {
            const ODB::ChangeRecorder recorder(nullptr);
            attribute.GetLogicalConst()->SetName(u"renamed to be undone");
            Require(recorder.CreateDeltas(&forward, &back) == 0, "the change cannot be recorded");
            Require(set.GetLogicalConst()->ApplyDelta(back) == 0, "the change cannot be undone");
            Require(set.GetLogicalConst()->ApplyDelta(forward) == 0, "the change cannot be redone");
        });
        attribute->SetName(name);
    }
    CountItems(state, 1);
}

/// The same for a deletion in the middle.
template <class>
void UndoDeletion(benchmark::State& state) {
    const SetRef& set = GetSet(state);
    for (auto _ : state) {
        ODB::Delta forward(nullptr);
        ODB::Delta back(nullptr);
        TimeRound(state, [&] {
            const ODB::ChangeRecorder recorder(nullptr);
            set->DeleteAttribute(EditedType, static_cast<short>(SizeOf(state) / 2), true);
            Require(recorder.CreateDeltas(&forward, &back) == 0, "the change cannot be recorded");
            Require(set.GetLogicalConst()->ApplyDelta(back) == 0, "the change cannot be undone");
        });
    }
    CountItems(state, 1);
}

void SizeOfSet(benchmark::internal::Benchmark* measured) {
    measured->Arg(2000)->UseManualTime();
}

void SizeOfType(benchmark::internal::Benchmark* measured) {
    measured->Arg(8000)->UseManualTime();
}

void SmallAndFull(benchmark::internal::Benchmark* measured) {
    measured->Arg(1000)->Arg(32766)->UseManualTime();
}

BENCHMARK_TEMPLATE(CopyContainers, Handwritten)->Apply(SizeOfSet);
BENCHMARK_TEMPLATE(CloneSet, Library)->Apply(SizeOfSet);
BENCHMARK_TEMPLATE(CloneSetBeside, Library)->Apply(SizeOfSet);
BENCHMARK_TEMPLATE(CopyContainer, Handwritten)->Apply(SizeOfType);
BENCHMARK_TEMPLATE(EditWorkingCopy, Library)->Apply(SizeOfType);
BENCHMARK_TEMPLATE(ReplaceChanged, Library)->Apply(SizeOfType);
BENCHMARK_TEMPLATE(ResolveConflicts, Library)->Apply(SizeOfType);
BENCHMARK_TEMPLATE(UndoRename, Library)->Apply(SmallAndFull);
BENCHMARK_TEMPLATE(UndoDeletion, Library)->Apply(SmallAndFull);

}   // namespace
