#pragma once

#include <Kest/HashIndex.hpp>

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>
#include <vector>

namespace Kest {

/// What HashTable and HashSet have in common: entries in one array, a HashIndex beside it.
///
/// `KeyOf` gives the key of an entry. Entries stand in the order in which they were added, except that a removal moves
/// the last one into the gap; that order is a function of the operations alone. An entry's address holds until the
/// next operation that adds or removes.
template <class Entry, class KeyOf, class Hash, class Equal>
class DenseHash {
public:
    static constexpr std::uint32_t None = HashIndex::None;

    DenseHash() noexcept = default;
    DenseHash(const DenseHash&) = default;
    DenseHash(DenseHash&& source) noexcept { Swap(source); }
    ~DenseHash() = default;
    DenseHash& operator=(const DenseHash& source) {
        DenseHash copy(source);
        Swap(copy);
        return *this;
    }
    DenseHash& operator=(DenseHash&& source) noexcept {
        DenseHash taken(std::move(source));
        Swap(taken);
        return *this;
    }

    /// The place of the entry with \p key, or None.
    template <class Key>
    std::uint32_t Find(const Key& key) const {
        return Find(key, HashOf(key));
    }

    /// Adds \p entry at the end unless its key is there; whatever is thrown leaves everything as it was.
    /// \returns the place of the entry with that key, and whether it is the new one.
    /// \p entry is moved from only when it was added.
    std::pair<std::uint32_t, bool> Add(Entry&& entry) {
        const std::uint32_t hash = HashOf(KeyOf()(entry));
        if (const std::uint32_t place = Find(KeyOf()(entry), hash); place != None)
            return {place, false};
        index.Reserve(entries.size() + 1);
        entries.push_back(std::move(entry));
        const auto place = static_cast<std::uint32_t>(entries.size() - 1);
        index.Insert(hash, place);
        return {place, true};
    }

    /// Removes the entry at \p place and moves the last one there.
    void DeleteAt(std::size_t place) {
        static_assert(std::is_nothrow_move_assignable_v<Entry>, "closing the gap must not fail");
        assert(place < entries.size());
        const auto gap = static_cast<std::uint32_t>(place);
        const auto last = static_cast<std::uint32_t>(entries.size() - 1);
        const std::uint32_t gapHash = HashOf(KeyOf()(entries[gap]));
        const std::uint32_t lastHash = HashOf(KeyOf()(entries[last]));
        index.Delete(gapHash, gap);
        if (gap != last) {
            index.Move(lastHash, last, gap);
            entries[gap] = std::move(entries[last]);
        }
        entries.pop_back();
    }

    void Clear() noexcept {
        entries.clear();
        index.Clear();
    }

    /// Makes room for \p count entries in all.
    void Reserve(std::size_t count) {
        index.Reserve(count);
        if (count > entries.capacity())   // grown geometrically, so that reserving one by one stays linear
            entries.reserve(std::max(count, entries.capacity() + entries.capacity() / 2));
    }

    std::size_t GetSize() const noexcept { return entries.size(); }
    Entry& operator[](std::size_t place) noexcept {
        assert(place < entries.size());
        return entries[place];
    }
    const Entry& operator[](std::size_t place) const noexcept {
        assert(place < entries.size());
        return entries[place];
    }
    Entry* GetData() noexcept { return entries.data(); }
    const Entry* GetData() const noexcept { return entries.data(); }

    void Swap(DenseHash& other) noexcept {
        entries.swap(other.entries);
        index.Swap(other.index);
    }

private:
    template <class Key>
    std::uint32_t HashOf(const Key& key) const {
        return index.Mix(Hash()(key));
    }
    template <class Key>
    std::uint32_t Find(const Key& key, std::uint32_t hash) const {
        return index.Find(hash, [&](std::uint32_t place) { return Equal()(KeyOf()(entries[place]), key); });
    }

    std::vector<Entry> entries;
    HashIndex index;
};

}   // namespace Kest
