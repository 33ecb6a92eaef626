#pragma once

#include <Kest/DenseHash.hpp>
#include <Kest/Hash.hpp>

#include <cstddef>
#include <functional>
#include <utility>

namespace Kest {

/// A set of unique keys: a HashTable without values, with the same order, costs and promises.
template <class Key, class Hash = Kest::Hash<Key>, class Equal = std::equal_to<>>
class HashSet {
public:
    /// Adds \p key. \returns false, with nothing changed, when it is there already.
    bool Add(Key key) { return content.Add(std::move(key)).second; }

    bool Contains(const Key& key) const { return content.Find(key) != content.None; }

    /// Deletes \p key. \returns false when it is not there.
    bool Delete(const Key& key) {
        const auto place = content.Find(key);
        if (place == content.None)
            return false;
        content.DeleteAt(place);
        return true;
    }

    /// Deletes the key at \p place, below GetSize(); the last key takes its place.
    void DeleteAt(std::size_t place) { content.DeleteAt(place); }

    void Clear() noexcept { content.Clear(); }

    std::size_t GetSize() const noexcept { return content.GetSize(); }
    bool IsEmpty() const noexcept { return content.GetSize() == 0; }

    /// Makes room for \p count keys in all: adding up to that number allocates nothing of the set's own.
    void Reserve(std::size_t count) { content.Reserve(count); }

    /// The key at \p place, below GetSize().
    const Key& GetEntry(std::size_t place) const noexcept { return content[place]; }

    const Key* begin() const noexcept { return content.GetData(); }
    const Key* end() const noexcept { return content.GetData() + content.GetSize(); }

private:
    struct KeyOf {
        const Key& operator()(const Key& key) const noexcept { return key; }
    };

    DenseHash<Key, KeyOf, Hash, Equal> content;
};

}   // namespace Kest
