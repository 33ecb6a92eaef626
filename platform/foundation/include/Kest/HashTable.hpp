#pragma once

#include <Kest/DenseHash.hpp>
#include <Kest/Hash.hpp>

#include <cstddef>
#include <functional>
#include <iterator>
#include <utility>

namespace Kest {

/// A map from unique keys to values. Finding, adding and deleting are amortised O(1).
///
/// Entries stand in one array in the order in which they were added; a removal moves the last entry into the gap.
/// Enumerations show that order, so that they are the same in every process. Entries move when the array grows and
/// when one is deleted: pointers, references and iterators hold until the next Add, Put of a new key, Reserve, Delete
/// or Clear. To delete while walking, walk places from the last to the first.
///
/// Whatever an operation throws, the table is as it was, provided that moving keys and values throws nothing (Delete
/// insists on it) or that they can be copied. Keys and values may be move-only. Room for 2^32 - 2 entries.
template <class Key, class Value, class Hash = Kest::Hash<Key>, class Equal = std::equal_to<>>
class HashTable {
public:
    struct Entry {
        Key key;
        Value value;
    };

    /// An entry of a table that may be changed: the value may, the key may not. Take it by value or by `auto&&`.
    struct EntryRef {
        const Key& key;
        Value& value;
    };

    class Iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = EntryRef;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = EntryRef;

        Iterator() = default;
        explicit Iterator(Entry* first) noexcept : entry(first) {}
        EntryRef operator*() const noexcept { return {entry->key, entry->value}; }
        Iterator& operator++() noexcept {
            ++entry;
            return *this;
        }
        Iterator operator++(int) noexcept { return Iterator(entry++); }
        bool operator==(const Iterator&) const = default;

    private:
        Entry* entry = nullptr;
    };

    /// Adds \p value under \p key. \returns false, with nothing changed, when the key is there already.
    bool Add(Key key, Value value) { return content.Add({std::move(key), std::move(value)}).second; }

    /// Stores \p value under \p key, in place of the value that may be there. \returns the stored value.
    Value& Put(Key key, Value value) {
        Entry entry{std::move(key), std::move(value)};
        const auto [place, added] = content.Add(std::move(entry));
        if (!added)
            content[place].value = std::move(entry.value);   // Add takes only what it keeps
        return content[place].value;
    }

    /// The value of \p key, or null.
    Value* Find(const Key& key) {
        const auto place = content.Find(key);
        return place == content.None ? nullptr : &content[place].value;
    }
    const Value* Find(const Key& key) const {
        const auto place = content.Find(key);
        return place == content.None ? nullptr : &content[place].value;
    }

    bool Contains(const Key& key) const { return content.Find(key) != content.None; }

    /// Deletes the entry of \p key. \returns false when there is none.
    bool Delete(const Key& key) {
        const auto place = content.Find(key);
        if (place == content.None)
            return false;
        content.DeleteAt(place);
        return true;
    }

    /// Deletes the entry at \p place, below GetSize(); the last entry takes its place.
    void DeleteAt(std::size_t place) { content.DeleteAt(place); }

    void Clear() noexcept { content.Clear(); }

    std::size_t GetSize() const noexcept { return content.GetSize(); }
    bool IsEmpty() const noexcept { return content.GetSize() == 0; }

    /// Makes room for \p count entries in all: adding up to that number allocates nothing of the table's own.
    void Reserve(std::size_t count) { content.Reserve(count); }

    /// The entry at \p place, below GetSize().
    EntryRef GetEntry(std::size_t place) noexcept { return {content[place].key, content[place].value}; }
    const Entry& GetEntry(std::size_t place) const noexcept { return content[place]; }

    Iterator begin() noexcept { return Iterator(content.GetData()); }
    Iterator end() noexcept { return Iterator(content.GetData() + content.GetSize()); }
    const Entry* begin() const noexcept { return content.GetData(); }
    const Entry* end() const noexcept { return content.GetData() + content.GetSize(); }

private:
    struct KeyOf {
        const Key& operator()(const Entry& entry) const noexcept { return entry.key; }
    };

    DenseHash<Entry, KeyOf, Hash, Equal> content;
};

}   // namespace Kest
