// Links and records of the object database beside what the standard library offers for the same: a list of counted
// objects that know their place in it, and a hash map from ids to objects.
#include <list>
#include <memory>
#include <unordered_map>
#include <vector>

#include <boost/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include <ODB/Association1N.hpp>
#include <ODB/Database.hpp>
#include <ODB/IdSpace.hpp>

#include "Measure.hpp"
#include "Names.hpp"

namespace {

using namespace Bench;

constexpr int PayloadWords = 8;   // about what an attribute has in fields

class Node : public ODB::Object {
public:
    Node* Clone() const override { return new Node(*this); }
    const Kest::ClassInfo* GetClassInfo() const override { return GetClassInfoStatic(); }
    static const Kest::ClassInfo* GetClassInfoStatic() {
        static const Kest::ClassInfo classInfo("Node", Kest::Guid("{7C0B2F5E-9E43-4C1B-8B5B-0E0C61D6A7F1}"),
                                               Kest::ClassVersion(1, 0), ODB::Object::GetClassInfoStatic());
        return &classInfo;
    }
    std::uint64_t payload[PayloadWords] = {};
};

const ODB::Association1N<Node, Node>& GetChildren() {
    static const ODB::Association1N<Node, Node> children(ODB::Id("{7C0B2F5E-9E43-4C1B-8B5B-0E0C61D6A7F2}"),
                                                         ODB::AssociationProperty::Ownership);
    return children;
}

/// A root that owns nodes, in an id space of its own.
class DatabaseTree {
public:
    DatabaseTree() : root(new Node) {
        root.GenerateId(&space);
        ODB::Database::AddObject(root, false);
    }
    explicit DatabaseTree(std::size_t count) : DatabaseTree() {
        while (nodes.size() < count)
            Add();
    }

    void Add() {
        const ODB::Ref<Node> node(new Node);
        GetChildren().Connect(root, node);
        nodes.push_back(node);
    }
    void Delete(std::size_t place) { ODB::Database::DeleteObject(nodes[place]); }
    void Cut(std::size_t place) { GetChildren().Disconnect(root, nodes[place]); }
    std::uint64_t Sum() const {
        std::uint64_t sum = 0;
        GetChildren().ForEachRight(ODB::ConstRef<Node>(root),
                                   [&](const ODB::ConstRef<Node>& node) { sum += node->payload[0]; });
        return sum;
    }
    bool Has(std::size_t place) const { return static_cast<bool>(space.FindConst(nodes[place].GetId())); }
    void ForgetReferences() { nodes = {}; }
    void ReserveReferences(std::size_t count) { nodes.reserve(count); }

private:
    ODB::IdSpace space;
    ODB::Ref<Node> root;
    std::vector<ODB::Ref<Node>> nodes;
};

/// The same by the means of the standard library.
class StandardTree {
public:
    StandardTree() = default;
    explicit StandardTree(std::size_t count) {
        while (nodes.size() < count)
            Add();
    }

    void Add() {
        const CountedRef node(new Counted);
        node->id = ODB::Id(Kest::Guid::Generate());
        node->place = children.insert(children.end(), node);
        byId.emplace(node->id, node.get());
        nodes.push_back(node);
    }
    void Delete(std::size_t place) {
        Counted& node = *nodes[place];
        byId.erase(node.id);
        children.erase(node.place);
        nodes[place].reset();
    }
    void Cut(std::size_t place) { Delete(place); }
    std::uint64_t Sum() const {
        std::uint64_t sum = 0;
        for (const CountedRef& child : children) {
            const CountedRef node = child;
            sum += node->payload[0];
        }
        return sum;
    }
    bool Has(std::size_t place) const {
        const auto found = byId.find(nodes[place]->id);
        return found != byId.end() && CountedRef(found->second) != nullptr;
    }
    void ForgetReferences() { nodes = {}; }
    void ReserveReferences(std::size_t count) { nodes.reserve(count); }

private:
    struct Counted;
    using CountedRef = boost::intrusive_ptr<Counted>;
    using Children = std::list<CountedRef>;
    struct Counted : boost::intrusive_ref_counter<Counted, boost::thread_safe_counter> {
        virtual ~Counted() = default;
        ODB::Id id;
        Children::iterator place;
        std::uint64_t payload[PayloadWords] = {};
    };
    struct HashOfId {
        std::size_t operator()(const ODB::Id& id) const { return Kest::Hash<ODB::Id>()(id); }
    };

    Children children;
    std::unordered_map<ODB::Id, Counted*, HashOfId> byId;
    std::vector<CountedRef> nodes;
};

template <class Tree>
void LinkNew(benchmark::State& state) {
    for (auto _ : state) {
        Tree tree;
        tree.ReserveReferences(SizeOf(state));
        TimeRound(state, [&] {
            for (std::size_t made = 0; made < SizeOf(state); ++made)
                tree.Add();
        });
    }
    CountItems(state, SizeOf(state));
}

template <class Tree>
void DeleteInRandomOrder(benchmark::State& state) {
    const std::vector<std::size_t> order = MakeRandomOrder(SizeOf(state));
    for (auto _ : state) {
        Tree tree(SizeOf(state));
        TimeRound(state, [&] {
            for (const std::size_t place : order)
                tree.Delete(place);
        });
    }
    CountItems(state, SizeOf(state));
}

template <class Tree>
void CutInRandomOrder(benchmark::State& state) {
    const std::vector<std::size_t> order = MakeRandomOrder(SizeOf(state));
    for (auto _ : state) {
        Tree tree(SizeOf(state));
        TimeRound(state, [&] {
            for (const std::size_t place : order)
                tree.Cut(place);
        });
    }
    CountItems(state, SizeOf(state));
}

template <class Tree>
void EnumerateLinks(benchmark::State& state) {
    const Tree tree(SizeOf(state));
    for (auto _ : state)
        benchmark::DoNotOptimize(tree.Sum());
    CountItems(state, SizeOf(state));
}

template <class Tree>
void FindById(benchmark::State& state) {
    const Tree tree(SizeOf(state));
    const std::vector<std::size_t> order = MakeRandomOrder(SizeOf(state));
    for (auto _ : state)
        for (const std::size_t place : order)
            benchmark::DoNotOptimize(tree.Has(place));
    CountItems(state, SizeOf(state));
}

template <class Tree>
void LinkMemory(benchmark::State& state) {
    ReportMemory(state, [&] {
        auto tree = std::make_unique<Tree>(SizeOf(state));
        tree->ForgetReferences();
        return tree;
    });
}

BENCHMARK_TEMPLATE(LinkNew, DatabaseTree)->Apply(AllSizesManually);
BENCHMARK_TEMPLATE(LinkNew, StandardTree)->Apply(AllSizesManually);
BENCHMARK_TEMPLATE(DeleteInRandomOrder, DatabaseTree)->Apply(AllSizesManually);
BENCHMARK_TEMPLATE(DeleteInRandomOrder, StandardTree)->Apply(AllSizesManually);
BENCHMARK_TEMPLATE(CutInRandomOrder, DatabaseTree)->Apply(AllSizesManually);
BENCHMARK_TEMPLATE(CutInRandomOrder, StandardTree)->Apply(AllSizesManually);
BENCHMARK_TEMPLATE(EnumerateLinks, DatabaseTree)->Apply(AllSizes);
BENCHMARK_TEMPLATE(EnumerateLinks, StandardTree)->Apply(AllSizes);
BENCHMARK_TEMPLATE(FindById, DatabaseTree)->Apply(AllSizes);
BENCHMARK_TEMPLATE(FindById, StandardTree)->Apply(AllSizes);
BENCHMARK_TEMPLATE(LinkMemory, DatabaseTree)->Apply(AllSizesOnce);
BENCHMARK_TEMPLATE(LinkMemory, StandardTree)->Apply(AllSizesOnce);

}   // namespace
