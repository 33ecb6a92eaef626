#pragma once

#include <cstddef>

#include <Kest/HashTable.hpp>

#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeSet.hpp>

namespace ADB {

/// The list of attribute sets by set index. A set may be listed twice, and an entry may have no set.
class AttributeSetRegistry {
public:
    /// The smallest index from 1 that is free; 0 when none is.
    short GetFreeIndex() const;
    /// Makes room for \p count more entries: adding that many cannot fail then. \throws std::bad_alloc
    void ReserveMore(std::size_t count) { entries.Reserve(entries.GetSize() + count); }
    /// \returns false, with nothing changed, when \p index is taken
    bool Add(short index, const ODB::Ref<AttributeSet>& set) { return entries.Add(index, set); }

    /// The reference listed under \p index; null when the index is free.
    const ODB::Ref<AttributeSet>* Find(short index) const { return entries.Find(index); }
    /// The index of the first entry with \p set, a null reference too; 0 without one.
    short FindIndexOf(const ODB::RefBase& set) const;
    /// The first living set, null without one.
    ODB::Ref<AttributeSet> GetFirst() const;

    /// Removes the entry of \p index when it names \p set.
    void Remove(short index, const ODB::RefBase& set);
    /// Removes some entry. \returns what it named; the list must not be empty
    ODB::Ref<AttributeSet> TakeOne();
    bool IsEmpty() const noexcept { return entries.IsEmpty(); }
    void Clear() noexcept { entries.Clear(); }

private:
    Kest::HashTable<short, ODB::Ref<AttributeSet>> entries;
};

}   // namespace ADB
