#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <Kest/HashTable.hpp>
#include <Kest/UniString.hpp>

#include <ODB/ObjectInfo.hpp>

#include <AttributeManager/GeneralAttribute.hpp>

#include "NumberedNameRuns.hpp"

namespace ADB {

/// The attribute whose record \p record is; it must be alive.
inline const GeneralAttribute& AttributeOf(const ODB::ObjectInfo& record) noexcept {
    return static_cast<const GeneralAttribute&>(*record.GetObject());
}

/// Who holds which index, and which indexes are borne at all.
///
/// A key has at most one holder, the attribute that is found; others that bear the same key are counted as shadowed.
/// Pages of 256 keys in the order of signed numbers, so that walking the pages walks the attributes sorted by index.
class IndexKeys {
public:
    ODB::ObjectInfo* Find(short key) const noexcept {
        const Page* const page = pages[SlotOf(key) / PageSize].get();
        return page != nullptr ? page->holders[SlotOf(key) % PageSize] : nullptr;
    }

    /// How many attributes bear \p key.
    std::uint32_t CountBearers(short key) const noexcept;

    /// Makes room for one bearer of \p key. \throws std::bad_alloc with nothing changed
    void Prepare(short key);
    /// Makes \p record, a bearer until now uncounted, the holder of \p key; an earlier holder is shadowed.
    void Add(short key, ODB::ObjectInfo& record) noexcept;
    /// Makes \p record, counted as a bearer, the holder.
    void Promote(short key, ODB::ObjectInfo& record) noexcept;
    /// \p record bears \p key no longer.
    void Remove(short key, const ODB::ObjectInfo& record) noexcept;
    /// Takes over the keys of \p model, each of which has a holder and no other bearer, with their holders' \p copies;
    /// there are no keys yet. \throws std::bad_alloc with nothing changed
    void CopyFrom(const IndexKeys& model, const std::vector<ODB::ObjectInfo*>& copies);
    void Clear() noexcept;

    /// The first key from \p start, then from 1, that nobody bears; 0 when all of 1 to 32766 are borne.
    short FindFree(short start) const noexcept;
    /// The largest key above 0 that is borne, 0 without one.
    short GetMaximum() const noexcept;

    bool HasShadows() const noexcept { return !shadowed.IsEmpty(); }
    /// The holder of the smallest key that has one, null without one.
    ODB::ObjectInfo* GetFirstHolder() const noexcept;
    /// Calls \p call with each holder, ascending by key.
    template <class Call>
    void ForEachHolder(Call&& call) const {
        for (const auto& page : pages)
            if (page != nullptr)
                for (ODB::ObjectInfo* const holder : page->holders)
                    if (holder != nullptr)
                        call(*holder);
    }

private:
    static constexpr std::size_t PageSize = 256;
    static constexpr std::size_t PageCount = 65536 / PageSize;
    static constexpr std::size_t WordBits = 64;

    struct Page {
        std::array<ODB::ObjectInfo*, PageSize> holders{};
        std::array<std::uint64_t, PageSize / WordBits> borne{};
    };

    static std::size_t SlotOf(short key) noexcept { return static_cast<std::uint16_t>(key) ^ 0x8000U; }
    static short KeyOf(std::size_t slot) noexcept {
        return static_cast<short>(static_cast<std::uint16_t>(slot ^ 0x8000U));
    }
    std::uint64_t& WordOf(short key) const noexcept;
    void Mark(short key) noexcept;
    void Unmark(short key) noexcept;
    short FindFreeBetween(int first, int last) const noexcept;

    std::array<std::unique_ptr<Page>, PageCount> pages;
    Kest::HashTable<short, std::uint32_t> shadowed;   // key to the number of its shadowed bearers
    mutable short lowestMaybeFree = 1;                // every key from 1 to before it is borne
    mutable short highestMaybeBorne = 0;              // no key above it is borne
};

/// Who holds which name, letter case ignored. Names are not copied: a slot keeps the hash of the upper-case form and
/// the record, and names are compared by mapping on the fly.
class NameKeys {
public:
    ODB::ObjectInfo* Find(std::u16string_view name, std::uint32_t hash) const noexcept {
        const std::size_t slot = FindSlot(name, hash);
        return slot != None ? slots[slot].holder->GetInfo() : nullptr;
    }

    /// The number of shadowed attributes whose names have \p hash: 0 means that nobody but a holder bears such a name.
    std::uint32_t CountShadowed(std::uint32_t hash) const noexcept;

    bool HasShadows() const noexcept { return !shadowed.IsEmpty(); }

    /// Makes room for \p count holders and one more shadowed one. \throws std::bad_alloc with nothing changed
    void Reserve(std::size_t count);
    std::size_t GetSize() const noexcept { return size; }
    /// Makes \p record, a bearer until now uncounted, the holder of its name; an earlier holder is shadowed.
    /// \returns the earlier holder, null without one
    ODB::ObjectInfo* Add(std::uint32_t hash, ODB::ObjectInfo& record) noexcept;
    /// Makes \p record, counted as a shadowed bearer, the holder.
    void Promote(std::uint32_t hash, ODB::ObjectInfo& record) noexcept;
    /// \p record bears its name, whose hash is given, no longer.
    void Remove(std::uint32_t hash, const ODB::ObjectInfo& record) noexcept;
    bool IsHolder(std::uint32_t hash, const ODB::ObjectInfo& record) const noexcept;
    /// Takes over the names of \p model; \p copyOf gives the holder here for the holder there, which has the same name.
    /// There is room for all, and nobody here has any of them.
    template <class CopyOf>
    void CopyFrom(const NameKeys& model, CopyOf&& copyOf) noexcept {
        for (const Slot& slot : model.slots)
            if (slot.holder != nullptr)
                Insert(slot.hash, copyOf(*slot.holder));
    }
    void Clear() noexcept;

private:
    static constexpr std::size_t None = static_cast<std::size_t>(-1);

    struct Slot {
        const GeneralAttribute* holder =
            nullptr;   // null where free; its name is looked at far more often than its record
        std::uint32_t hash = 0;
    };

    std::size_t FindSlot(std::u16string_view name, std::uint32_t hash) const noexcept;
    std::size_t FindRecord(std::uint32_t hash, const ODB::ObjectInfo& record) const noexcept;
    std::size_t Home(std::uint32_t hash) const noexcept {
        return static_cast<std::size_t>((std::uint64_t{hash} * slots.size()) >> 32);
    }
    std::size_t Next(std::size_t slot) const noexcept { return slot + 1 < slots.size() ? slot + 1 : 0; }
    void Insert(std::uint32_t hash, const GeneralAttribute& attribute) noexcept;
    void Erase(std::size_t slot) noexcept;

    std::vector<Slot> slots;
    std::size_t size = 0;
    Kest::HashTable<std::uint32_t, std::uint32_t> shadowed;
};

/// Everything that the index of one container knows.
class AttributeIndexTables {
public:
    IndexKeys indexes;
    NameKeys names;
    NumberedNameRuns numbers;   // what the generator of names has found taken

    /// Whether any attribute bears a key that it does not hold.
    bool HasShadows() const noexcept { return indexes.HasShadows() || names.HasShadows(); }

    ODB::ObjectInfo* FindByIndex(short index) const noexcept { return indexes.Find(index); }
    ODB::ObjectInfo* FindByName(std::u16string_view name) const noexcept {
        return names.Find(name, Kest::HashIgnoringCase(name));
    }

    /// Whether an attribute other than \p except bears the name or index; \p container is the container's record.
    /// \p hash is that of the name, letter case ignored.
    bool IsNameBorne(std::u16string_view name, std::uint32_t hash, const ODB::ObjectInfo* except,
                     const ODB::ObjectInfo* container) const;
    bool IsNameBorne(std::u16string_view name, const ODB::ObjectInfo* except, const ODB::ObjectInfo* container) const {
        return IsNameBorne(name, Kest::HashIgnoringCase(name), except, container);
    }
    bool IsIndexBorne(short index, const GeneralAttribute* except) const noexcept;

    /// Whether each of \p count attributes is known and holds the keys that it bears.
    bool HasOnlyHolders(std::size_t count) const noexcept { return !HasShadows() && names.GetSize() == count; }
    /// Files \p copies, the copies of all attributes of \p model, each of which holds the keys that it bears, in tables
    /// that are empty. \throws std::bad_alloc with nothing filed
    void CopyFrom(const AttributeIndexTables& model, const std::vector<ODB::ObjectInfo*>& copies);

    /// Lets the bearers of keys that nobody holds be found again: an attribute that moved away does not give back what
    /// it took from others.
    void ShowHidden() const;

    /// Makes \p record, counted as a bearer of its index, the holder, and logs whom it displaces.
    void TakeIndex(ODB::ObjectInfo& record) noexcept;

    /// Attributes sorted by upper-case name; kept until something changes.
    const std::vector<ODB::ObjectInfo*>& GetSortedByName(const ODB::ObjectInfo& scope);
    void ForgetOrder() noexcept;
    /// The order by name has to be put right for \p record: it came or got another name.
    void NoteMoved(ODB::ObjectInfo& record) noexcept;
    /// \p record goes.
    void NoteGone(ODB::ObjectInfo& record) noexcept;

    ODB::ObjectInfo* scope = nullptr;   // the container
    bool areLost = false;               // keys have changed unseen: nothing may be asked until all is filled anew

private:
    void RepairOrder();
    bool MayNote() noexcept;

    std::vector<ODB::ObjectInfo*> sortedByName;   // empty: not known
    // Changes since then, as far as there was room for them when the order was made; otherwise the order is forgotten.
    // Those gone are not looked into any more: their memory may be another record's.
    std::vector<ODB::ObjectInfo*> moved;
    std::vector<ODB::ObjectInfo*> gone;
};

}   // namespace ADB
