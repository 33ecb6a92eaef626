// The attribute container beside the hand-written one: every operation through the public interface, in the same
// program, on the same names, in the same order.
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <ODB/Database.hpp>
#include <ODB/IdSpace.hpp>

#include <AttributeManager/AttributeContainer.hpp>
#include <AttributeManager/AttributeIterator.hpp>
#include <AttributeManager/GeneralAttribute.hpp>

#include "Baseline.hpp"
#include "Measure.hpp"
#include "Names.hpp"

namespace {

using namespace Bench;

/// The smallest kind that a host can have.
class Layer : public ADB::GeneralAttribute {
public:
    static constexpr unsigned int RefId = 0x4C415952;   // 'LAYR'

    explicit Layer(std::u16string_view layerName) : GeneralAttribute(GetClassInfoStatic()) { SetName(layerName); }
    static const Kest::ClassInfo* GetClassInfoStatic() {
        static const Kest::ClassInfo classInfo("Layer", Kest::Guid("{3E1F7D52-60C8-4B0F-A5C4-9D7E1B2A6F01}"),
                                               Kest::ClassVersion(1, 0), GeneralAttribute::GetClassInfoStatic(), {},
                                               [] { return static_cast<Kest::Object*>(new Layer({})); });
        return &classInfo;
    }
    unsigned int GetAttributeTypeId() const override { return RefId; }
    Layer* Clone() const override { return new Layer(*this); }
};

/// Our container, in an id space of its own, through the operations that a host calls.
class Library {
public:
    using Source = ODB::ConstRef<ADB::GeneralAttribute>;
    using Held = ODB::Ref<ADB::GeneralAttribute>;

    /// What clones are made from.
    class Sources {
    public:
        explicit Sources(const std::vector<std::u16string>& names) {
            for (const std::u16string& name : names) {
                layers.push_back(std::make_unique<Layer>(name));
                sources.emplace_back(layers.back().get());
            }
        }
        const Source& operator[](std::size_t place) const { return sources[place]; }
        std::size_t GetSize() const { return sources.size(); }

    private:
        std::vector<std::unique_ptr<Layer>> layers;
        std::vector<Source> sources;
    };

    Library()
        : container(new ADB::AttributeContainer(Layer::RefId, Kest::Guid(), &space, u"Layers",
                                                LumCB::PermissionID::None, LumCB::PermissionID::None)) {
        ODB::Database::AddObject(container, false);
        reader = container;
    }

    Held Add(const Source& source) { return container->NewAttribute(source, false, true); }
    auto Find(short index) const { return reader->GetConstAttribute(static_cast<unsigned int>(index)); }
    auto Find(const Kest::UniString& name) const { return reader->GetConstAttribute(name); }
    bool Delete(short index) { return container->DeleteAttribute(static_cast<unsigned int>(index)) == 0; }
    static bool Rename(const Held& attribute, const Kest::UniString& name) { return attribute->SetName(name) == 0; }
    bool Renumber(const Held& attribute, short index) { return attribute->SetIndex(index) == 0; }
    static short IndexOf(const Held& attribute) { return attribute.GetConst()->GetIndex(); }
    short FindFreeIndex() const { return reader->GenerateUniqueIndex(1, nullptr); }
    std::size_t GetSize() const { return reader->GetAttributeNumber(); }

    long Walk(ADB::SortMethod method) const {
        long sum = 0;
        reader->EnumerateConstAttributes(method, ADB::Ascending,
                                         [&sum](const Source& attribute) { sum += attribute->GetIndex(); });
        return sum;
    }
    long Iterate(ADB::SortMethod method) const {
        long sum = 0;
        ADB::AttributeContainer::AttributeConstIterator attribute(reader, method, ADB::Ascending);
        for (; attribute != ADB::AttributeEnd(); ++attribute)
            sum += (*attribute)->GetIndex();
        return sum;
    }

    /// A copy that lives as long as what is returned.
    std::unique_ptr<ODB::IdSpace> Copy() const {
        auto target = std::make_unique<ODB::IdSpace>();
        if (!reader->CopyToIdSpace(target.get()))
            throw std::runtime_error("the container cannot be copied");
        return target;
    }

private:
    ODB::IdSpace space;
    ODB::Ref<ADB::AttributeContainer> container;
    ODB::ConstRef<ADB::AttributeContainer> reader;
};

/// The hand-written container behind the same words.
class Handwritten {
public:
    using Source = Baseline::ConstItemRef;
    using Held = Baseline::ItemRef;

    class Sources {
    public:
        explicit Sources(const std::vector<std::u16string>& names) {
            for (const std::u16string& name : names)
                sources.emplace_back(new Baseline::Item(name));
        }
        const Source& operator[](std::size_t place) const { return sources[place]; }
        std::size_t GetSize() const { return sources.size(); }

    private:
        std::vector<Source> sources;
    };

    Held Add(const Source& source) { return container.Add(*source); }
    auto Find(short index) const { return container.Find(index); }
    auto Find(const Kest::UniString& name) const { return container.Find(name.GetView()); }
    bool Delete(short index) { return container.Delete(index); }
    bool Rename(const Held& item, const Kest::UniString& name) { return container.Rename(*item, name.GetView()); }
    bool Renumber(const Held& item, short index) { return container.Renumber(*item, index); }
    static short IndexOf(const Held& item) { return item->GetIndex(); }
    short FindFreeIndex() { return container.FindFreeIndex(); }
    std::size_t GetSize() const { return container.GetSize(); }

    long Walk(ADB::SortMethod method) const {
        long sum = 0;
        const auto add = [&sum](const Source& item) { sum += item->GetIndex(); };
        method == ADB::SortByName ? container.EnumerateByName(add) : container.EnumerateByIndex(add);
        return sum;
    }
    long Iterate(ADB::SortMethod method) const { return Walk(method); }
    std::unique_ptr<Baseline::Container> Copy() const { return std::make_unique<Baseline::Container>(container); }

private:
    Baseline::Container container;
};

/// A container filled from sources, and references to what is in it.
template <class Subject>
class Filled {
public:
    explicit Filled(const std::vector<std::u16string>& fillNames) : names(fillNames), sources(fillNames) {
        for (std::size_t place = 0; place < sources.GetSize(); ++place)
            held.push_back(subject.Add(sources[place]));
        if (subject.GetSize() != names.size())
            throw std::runtime_error("the container is not filled");
    }

    const std::vector<std::u16string>& names;
    typename Subject::Sources sources;
    Subject subject;
    std::vector<typename Subject::Held> held;
};

void Require(benchmark::State& state, bool holds) {
    if (!holds)
        state.SkipWithError("an operation gave a wrong answer");
}

template <class Subject>
void FindByIndex(benchmark::State& state) {
    const std::vector<std::u16string> names = MakeNames(SizeOf(state));
    const Filled<Subject> filled(names);
    std::vector<short> probes;
    for (const std::size_t place : MakeRandomOrder(names.size()))
        probes.push_back(static_cast<short>(place + 1));
    for (auto _ : state)
        for (const short probe : probes)
            benchmark::DoNotOptimize(filled.subject.Find(probe));
    for (const short probe : probes)
        Require(state, filled.subject.Find(probe)->GetIndex() == probe);
    CountItems(state, names.size());
}

template <class Subject>
void FindNames(benchmark::State& state, std::u16string (*makeProbe)(std::u16string_view), bool present) {
    const std::vector<std::u16string> names = MakeNames(SizeOf(state));
    const Filled<Subject> filled(names);
    std::vector<Kest::UniString> probes;
    for (const std::size_t place : MakeRandomOrder(names.size()))
        probes.emplace_back(makeProbe(names[place]));
    for (auto _ : state)
        for (const Kest::UniString& probe : probes)
            benchmark::DoNotOptimize(filled.subject.Find(probe));
    for (const Kest::UniString& probe : probes)
        Require(state, static_cast<bool>(filled.subject.Find(probe)) == present);
    CountItems(state, names.size());
}

template <class Subject>
void FindByNameInOtherCase(benchmark::State& state) {
    FindNames<Subject>(state, &InOtherCase, true);
}

template <class Subject>
void FindMissingName(benchmark::State& state) {
    FindNames<Subject>(state, &MakeAbsent, false);
}

template <class Subject>
void Add(benchmark::State& state) {
    const typename Subject::Sources sources(MakeNames(SizeOf(state)));
    for (auto _ : state) {
        Subject subject;
        TimeRound(state, [&] {
            for (std::size_t place = 0; place < sources.GetSize(); ++place)
                benchmark::DoNotOptimize(subject.Add(sources[place]));
        });
        Require(state, subject.GetSize() == sources.GetSize());
    }
    CountItems(state, sources.GetSize());
}

template <class Subject>
void AddEqualNames(benchmark::State& state) {
    const typename Subject::Sources sources({u"Exterior wall"});
    for (auto _ : state) {
        Subject subject;
        TimeRound(state, [&] {
            for (std::size_t made = 0; made < SizeOf(state); ++made)
                benchmark::DoNotOptimize(subject.Add(sources[0]));
        });
        Require(state, subject.GetSize() == SizeOf(state) && subject.Find(u"EXTERIOR WALL (7)"));
    }
    CountItems(state, SizeOf(state));
}

template <class Subject>
void Rename(benchmark::State& state) {
    std::vector<std::u16string> names = MakeNames(SizeOf(state) * 2);
    const std::vector<Kest::UniString> secondNames(names.begin() + state.range(0), names.end());
    names.resize(SizeOf(state));
    const std::vector<Kest::UniString> firstNames(names.begin(), names.end());
    Filled<Subject> filled(names);
    const std::vector<std::size_t> order = MakeRandomOrder(names.size());
    bool ok = true;
    bool renamed = false;
    for (auto _ : state) {
        const std::vector<Kest::UniString>& newNames = renamed ? firstNames : secondNames;
        renamed = !renamed;
        for (const std::size_t place : order)
            ok &= filled.subject.Rename(filled.held[place], newNames[place]);
    }
    Require(state, ok && filled.subject.Find(renamed ? secondNames[0] : firstNames[0]));
    CountItems(state, names.size());
}

template <class Subject>
void Renumber(benchmark::State& state) {
    const std::vector<std::u16string> names = MakeNames(SizeOf(state));
    Filled<Subject> filled(names);
    std::vector<std::size_t> order = MakeRandomOrder(names.size());
    short hole = filled.subject.IndexOf(filled.held[order.back()]);
    filled.held[order.back()] = {};
    bool ok = filled.subject.Delete(hole);
    order.pop_back();
    for (auto _ : state)
        for (const std::size_t place : order) {   // each moves to the index that the one before has left
            const short left = filled.subject.IndexOf(filled.held[place]);
            ok &= filled.subject.Renumber(filled.held[place], hole);
            hole = left;
        }
    Require(state, ok && !filled.subject.Find(hole));
    CountItems(state, order.size());
}

template <class Subject>
void RefillFreedIndexes(benchmark::State& state) {
    const std::vector<std::u16string> names = MakeNames(SizeOf(state));
    Filled<Subject> filled(names);
    std::vector<std::size_t> replaced = MakeRandomOrder(names.size());
    replaced.resize(names.size() / 3);
    for (auto _ : state) {
        for (const std::size_t place : replaced) {
            const short index = filled.subject.IndexOf(filled.held[place]);
            filled.held[place] = {};
            filled.subject.Delete(index);
        }
        TimeRound(state, [&] {
            for (const std::size_t place : replaced)
                filled.held[place] = filled.subject.Add(filled.sources[place]);
        });
    }
    Require(state, static_cast<bool>(filled.subject.Find(static_cast<short>(names.size()))));
    CountItems(state, replaced.size());
}

template <class Subject>
void DeleteInRandomOrder(benchmark::State& state) {
    const std::vector<std::u16string> names = MakeNames(SizeOf(state));
    const std::vector<std::size_t> order = MakeRandomOrder(names.size());
    for (auto _ : state) {
        Filled<Subject> filled(names);
        filled.held.clear();
        TimeRound(state, [&] {
            for (const std::size_t place : order)
                filled.subject.Delete(static_cast<short>(place + 1));
        });
        Require(state, filled.subject.GetSize() == 0);
    }
    CountItems(state, names.size());
}

template <class Subject>
void FindFreeIndex(benchmark::State& state) {
    const std::vector<std::u16string> names = MakeNames(SizeOf(state));
    Filled<Subject> filled(names);
    const short hole = static_cast<short>(names.size() - 7);
    filled.held.clear();
    filled.subject.Delete(hole);
    for (auto _ : state)
        benchmark::DoNotOptimize(filled.subject.FindFreeIndex());
    Require(state, filled.subject.FindFreeIndex() == hole);
    CountItems(state, 1);
}

enum class Means { Walk, Iterator };

template <class Subject, ADB::SortMethod Method, Means By>
long Visit(const Subject& subject) {
    return By == Means::Walk ? subject.Walk(Method) : subject.Iterate(Method);
}

/// Each round comes after renaming a share of the attributes: one in \p share, one alone for 0.
template <class Subject, Means By>
void VisitByNameAfterRenaming(benchmark::State& state, std::size_t share) {
    std::vector<std::u16string> names = MakeNames(SizeOf(state) * 2);
    const std::vector<Kest::UniString> otherNames(names.begin() + state.range(0), names.end());
    names.resize(SizeOf(state));
    const std::vector<Kest::UniString> ownNames(names.begin(), names.end());
    std::vector<std::size_t> renamed = MakeRandomOrder(names.size());
    renamed.resize(share == 0 ? 1 : names.size() / share);
    Filled<Subject> filled(names);
    benchmark::DoNotOptimize(Visit<Subject, ADB::SortByName, By>(filled.subject));
    bool away = false;
    for (auto _ : state) {
        away = !away;
        for (const std::size_t place : renamed)
            filled.subject.Rename(filled.held[place], away ? otherNames[place] : ownNames[place]);
        TimeRound(state, [&] { benchmark::DoNotOptimize(Visit<Subject, ADB::SortByName, By>(filled.subject)); });
    }
    CountItems(state, names.size());
}

template <class Subject, ADB::SortMethod Method, Means By>
void VisitUnchanged(benchmark::State& state) {
    const std::vector<std::u16string> names = MakeNames(SizeOf(state));
    const Filled<Subject> filled(names);
    const long count = state.range(0);
    Require(state, Visit<Subject, Method, By>(filled.subject) == count * (count + 1) / 2);
    for (auto _ : state)
        benchmark::DoNotOptimize(Visit<Subject, Method, By>(filled.subject));
    CountItems(state, names.size());
}

template <class Subject>
void WalkByNameAfterChange(benchmark::State& state) {
    VisitByNameAfterRenaming<Subject, Means::Walk>(state, 0);
}
template <class Subject>
void WalkByNameAfterManyChanges(benchmark::State& state) {
    VisitByNameAfterRenaming<Subject, Means::Walk>(state, 3);
}
template <class Subject>
void WalkByName(benchmark::State& state) {
    VisitUnchanged<Subject, ADB::SortByName, Means::Walk>(state);
}
template <class Subject>
void WalkByIndex(benchmark::State& state) {
    VisitUnchanged<Subject, ADB::SortByIndex, Means::Walk>(state);
}
template <class Subject>
void IterateByNameAfterChange(benchmark::State& state) {
    VisitByNameAfterRenaming<Subject, Means::Iterator>(state, 0);
}
template <class Subject>
void IterateByName(benchmark::State& state) {
    VisitUnchanged<Subject, ADB::SortByName, Means::Iterator>(state);
}
template <class Subject>
void IterateByIndex(benchmark::State& state) {
    VisitUnchanged<Subject, ADB::SortByIndex, Means::Iterator>(state);
}

template <class Subject>
void Copy(benchmark::State& state) {
    const std::vector<std::u16string> names = MakeNames(SizeOf(state));
    const Filled<Subject> filled(names);
    for (auto _ : state) {
        decltype(filled.subject.Copy()) copy;
        TimeRound(state, [&] { copy = filled.subject.Copy(); });
    }
    CountItems(state, names.size());
}

constexpr std::size_t MemoryNameLength = 23;

template <class Subject>
void Memory(benchmark::State& state) {
    const std::vector<std::u16string> names = MakeNames(SizeOf(state), MemoryNameLength, MemoryNameLength);
    ReportMemory(state, [&] {
        auto subject = std::make_unique<Subject>();
        for (const std::u16string& name : names) {
            const typename Subject::Sources source({name});
            subject->Add(source[0]);
        }
        Require(state, subject->GetSize() == names.size());
        return subject;
    });
}

#define BESIDE_BASELINE(operation, ...)                                                                                \
    BENCHMARK_TEMPLATE(operation, Library)->Apply(__VA_ARGS__);                                                        \
    BENCHMARK_TEMPLATE(operation, Handwritten)->Apply(__VA_ARGS__)

BESIDE_BASELINE(FindByIndex, AllSizes);
BESIDE_BASELINE(FindByNameInOtherCase, AllSizes);
BESIDE_BASELINE(FindMissingName, AllSizes);
BESIDE_BASELINE(Add, AllSizesManually);
BESIDE_BASELINE(AddEqualNames, AllSizesManually);
BESIDE_BASELINE(Rename, AllSizes);
BESIDE_BASELINE(Renumber, AllSizes);
BESIDE_BASELINE(RefillFreedIndexes, AllSizesManually);
BESIDE_BASELINE(DeleteInRandomOrder, AllSizesManually);
BESIDE_BASELINE(FindFreeIndex, AllSizes);
BESIDE_BASELINE(WalkByNameAfterChange, AllSizesManually);
BESIDE_BASELINE(WalkByNameAfterManyChanges, AllSizesManually);
BESIDE_BASELINE(WalkByName, AllSizes);
BESIDE_BASELINE(WalkByIndex, AllSizes);
BESIDE_BASELINE(IterateByNameAfterChange, AllSizesManually);
BESIDE_BASELINE(IterateByName, AllSizes);
BESIDE_BASELINE(IterateByIndex, AllSizes);
BESIDE_BASELINE(Copy, AllSizesManually);
BESIDE_BASELINE(Memory, AllSizesOnce);

}   // namespace
