#pragma once

#include <algorithm>
#include <cstddef>
#include <map>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "TestObjects.hpp"

/// What is in an id space, plainly: the numbers of its things and the links among them, by ids.
struct SpaceState {
    using List = std::pair<const ODB::Association1NUntyped*, Kest::Guid>;

    std::map<Kest::Guid, int> numbers;
    std::map<List, std::vector<Kest::Guid>> rights;   // no empty ones

    bool operator==(const SpaceState&) const = default;

    static SpaceState Of(const ODB::IdSpace& space) {
        SpaceState state;
        space.EnumerateObjects([&](const ODB::Ref<ODB::Object>& object) {
            state.numbers[object.GetId().GetGuid()] = NumberOf(object);
            for (const Things* const association :
                 {&Owning(), &OwningToo(), &Plain(), &Deleting(), &Sending(), &Indexed()})
                association->ForEachRight(ODB::ConstRef<Thing>(object.GetInfo()), [&](const auto& right) {
                    if (right.GetIdSpace() == &space)
                        state.rights[{association, object.GetId().GetGuid()}].push_back(right.GetId().GetGuid());
                });
        });
        return state;
    }

    /// Goes the way of \p delta, which must fit exactly.
    void Apply(const ODB::Delta& delta) {
        for (const auto& link : delta.GetDeletedLinks())
            Cut({link.association, link.left.GetGuid()}, link.right);
        for (const auto& link : delta.GetModifiedLinks())
            Cut({link.association, link.oldLeft.GetGuid()}, link.right);
        for (const auto& link : delta.GetReorderedLinks())
            Cut({link.association, link.left.GetGuid()}, link.right);
        for (const auto& object : delta.GetDeletedObjects())
            EXPECT_EQ(numbers.erase(object.id.GetGuid()), 1u);
        for (const auto& object : delta.GetNewObjects())
            EXPECT_TRUE(numbers.emplace(object.id.GetGuid(), NumberIn(object)).second);
        for (const auto& object : delta.GetModifiedObjects()) {
            EXPECT_NE(numbers.at(object.id.GetGuid()), NumberIn(object));
            numbers.at(object.id.GetGuid()) = NumberIn(object);
        }
        std::vector<ODB::Delta::PlacedLink> placed(delta.GetNewLinks());
        placed.insert(placed.end(), delta.GetReorderedLinks().begin(), delta.GetReorderedLinks().end());
        for (const auto& link : delta.GetModifiedLinks())
            placed.push_back({link.association, link.left, link.right, link.behind});
        Place(std::move(placed));
        std::erase_if(rights, [](const auto& list) { return list.second.empty(); });
    }

    /// The least number of links that must be moved on the way to \p other.
    std::size_t CountMoves(const SpaceState& other) const {
        std::size_t moves = 0;
        for (const auto& [list, order] : rights)
            if (const auto found = other.rights.find(list); found != other.rights.end())
                moves += CountMoves(order, found->second);
        return moves;
    }

private:
    static int NumberIn(const ODB::Delta::StoredObject& object) {
        return dynamic_cast<const Thing::IsolatedState&>(*object.state).number;
    }

    void Cut(const List& list, const ODB::Id& right) { EXPECT_EQ(std::erase(rights[list], right.GetGuid()), 1u); }

    // Whoever follows another comes after it.
    void Place(std::vector<ODB::Delta::PlacedLink> links) {
        const auto place = [this](const ODB::Delta::PlacedLink& link) {
            auto& order = rights[{link.association, link.left.GetGuid()}];
            auto at = order.begin();
            if (!link.behind.IsNull()) {
                at = std::find(order.begin(), order.end(), link.behind.GetGuid());
                if (at == order.end())
                    return false;
                ++at;
            }
            order.insert(at, link.right.GetGuid());
            return true;
        };
        while (std::erase_if(links, place) > 0)
            ;
        EXPECT_TRUE(links.empty());
    }

    // All common members but those of a longest common ascent.
    static std::size_t CountMoves(const std::vector<Kest::Guid>& order, const std::vector<Kest::Guid>& other) {
        std::vector<std::ptrdiff_t> common;
        for (const Kest::Guid& right : order)
            if (const auto at = std::find(other.begin(), other.end(), right); at != other.end())
                common.push_back(at - other.begin());
        std::vector<std::size_t> lengths(common.size(), 1);
        for (std::size_t place = 0; place < common.size(); ++place)
            for (std::size_t before = 0; before < place; ++before)
                if (common[before] < common[place])
                    lengths[place] = std::max(lengths[place], lengths[before] + 1);
        return common.empty() ? 0 : common.size() - *std::max_element(lengths.begin(), lengths.end());
    }
};

/// \p forward leads from \p then to \p now by the shortest way, \p back from \p now to \p then.
inline void ExpectWays(const SpaceState& then, const SpaceState& now, const ODB::Delta& forward,
                       const ODB::Delta& back) {
    SpaceState state = then;
    state.Apply(forward);
    EXPECT_EQ(state, now);
    state.Apply(back);
    EXPECT_EQ(state, then);
    EXPECT_EQ(forward.GetReorderedLinkCount(), then.CountMoves(now));
    EXPECT_EQ(back.GetReorderedLinkCount(), then.CountMoves(now));
    EXPECT_EQ(forward.GetModifiedLinkCount(), back.GetModifiedLinkCount());
    EXPECT_TRUE(then != now || (forward.IsEmpty() && back.IsEmpty()));
}
