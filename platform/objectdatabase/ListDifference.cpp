#include "ListDifference.hpp"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <utility>

#include <Kest/HashTable.hpp>

#include "AssociationEnd.hpp"

namespace ODB {
namespace {

constexpr std::uint32_t Nowhere = static_cast<std::uint32_t>(-1);

// Marks the members of a longest ascending run of `values`, which may have others between them; all values differ.
std::vector<bool> FindAscent(const std::vector<std::uint32_t>& values) {
    std::vector<std::uint32_t> ends;   // per length: the place of the least value that ends a run of it
    std::vector<std::uint32_t> previous(values.size(), Nowhere);
    for (std::uint32_t place = 0; place < values.size(); ++place) {
        const auto end = std::lower_bound(ends.begin(), ends.end(), values[place],
                                          [&](std::uint32_t at, std::uint32_t value) { return values[at] < value; });
        if (end != ends.begin())
            previous[place] = *std::prev(end);
        if (end != ends.end())
            *end = place;
        else
            ends.push_back(place);
    }
    std::vector<bool> members(values.size());
    for (std::uint32_t place = ends.empty() ? Nowhere : ends.back(); place != Nowhere; place = previous[place])
        members[place] = true;
    return members;
}

// The part in which two orders differ.
class OrderComparison {
public:
    OrderComparison(const std::vector<Id>& oldOrder, const std::vector<Id>& newOrder, const Id& idBefore)
        : olds(oldOrder),
          news(newOrder),
          before(idBefore),
          oldEnd(oldOrder.size()),
          newEnd(newOrder.size()) {
        while (begin < oldEnd && begin < newEnd && olds[begin] == news[begin])
            ++begin;
        while (oldEnd > begin && newEnd > begin && olds[oldEnd - 1] == news[newEnd - 1]) {
            --oldEnd;
            --newEnd;
        }
    }

    ListDifference Compare() {
        if (begin < oldEnd && begin < newEnd)
            Match();
        for (std::size_t place = begin; place < oldEnd; ++place)
            if (FateOf(place) != Fate::Stays)
                (FateOf(place) == Fate::Cut ? difference.cut : difference.movedBack)
                    .push_back({olds[place], FindPrevious(olds, place)});
        for (std::size_t place = begin; place < newEnd; ++place) {
            const std::uint32_t origin = origins.empty() ? Nowhere : origins[place - begin];
            if (origin == Nowhere || FateOf(origin) != Fate::Stays)
                (origin == Nowhere ? difference.made : difference.moved)
                    .push_back({news[place], FindPrevious(news, place)});
        }
        return std::move(difference);
    }

private:
    enum class Fate : unsigned char { Cut, Moved, Stays };

    const Id& FindPrevious(const std::vector<Id>& order, std::size_t place) const {
        return place > 0 ? order[place - 1] : before;
    }

    Fate FateOf(std::size_t oldPlace) const { return fates.empty() ? Fate::Cut : fates[oldPlace - begin]; }

    void Match() {
        Kest::HashTable<Id, std::uint32_t> oldPlaces;
        oldPlaces.Reserve(oldEnd - begin);
        for (std::size_t place = begin; place < oldEnd; ++place)
            oldPlaces.Add(olds[place], static_cast<std::uint32_t>(place));
        std::vector<std::uint32_t> common;
        origins.reserve(newEnd - begin);
        for (std::size_t place = begin; place < newEnd; ++place) {
            const std::uint32_t* const origin = oldPlaces.Find(news[place]);
            origins.push_back(origin != nullptr ? *origin : Nowhere);
            if (origin != nullptr)
                common.push_back(*origin);
        }
        const std::vector<bool> stays = FindAscent(common);
        fates.resize(oldEnd - begin, Fate::Cut);
        for (std::size_t place = 0; place < common.size(); ++place)
            fates[common[place] - begin] = stays[place] ? Fate::Stays : Fate::Moved;
    }

    const std::vector<Id>& olds;
    const std::vector<Id>& news;
    const Id& before;
    std::size_t begin = 0;
    std::size_t oldEnd;
    std::size_t newEnd;
    std::vector<Fate> fates;              // of the old ones; none: all are cut
    std::vector<std::uint32_t> origins;   // old places of the new ones; none: all are made
    ListDifference difference;
};

}   // namespace

ListDifference CompareLists(const std::vector<Id>& oldOrder, const std::vector<Id>& newOrder, const Id& before) {
    return OrderComparison(oldOrder, newOrder, before).Compare();
}

void LinkDifference::Add(const Association1NUntyped& association, const Id& left, ListDifference difference) {
    if (!difference.IsEmpty())
        lists.push_back({&association, left, std::move(difference)});
}

void LinkDifference::Fill(Delta& delta) const {
    Fill(delta, &ListDifference::cut, &ListDifference::made, &ListDifference::moved);
}

void LinkDifference::FillBack(Delta& delta) const {
    Fill(delta, &ListDifference::made, &ListDifference::cut, &ListDifference::movedBack);
}

// A link that was cut here and made there has gone over.
void LinkDifference::Fill(Delta& delta, Links cut, Links made, Links moved) const {
    Kest::HashTable<AssociationEnd, Id> oldLefts;
    for (const List& list : lists)
        for (const auto& link : list.difference.*cut)
            oldLefts.Add({list.association, link.right}, list.left);
    for (const List& list : lists)
        for (const auto& link : list.difference.*made) {
            const AssociationEnd end{list.association, link.right};
            if (const Id* const oldLeft = oldLefts.Find(end)) {
                delta.AddModifiedLink(*list.association, *oldLeft, list.left, link.right, link.behind);
                oldLefts.Delete(end);
            } else {
                delta.AddNewLink(*list.association, list.left, link.right, link.behind);
            }
        }
    for (const List& list : lists) {
        for (const auto& link : list.difference.*cut)
            if (oldLefts.Contains({list.association, link.right}))
                delta.AddDeletedLink(*list.association, list.left, link.right);
        for (const auto& link : list.difference.*moved)
            delta.AddReorderedLink(*list.association, list.left, link.right, link.behind);
    }
}

}   // namespace ODB
