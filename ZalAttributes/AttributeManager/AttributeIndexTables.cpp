#include "AttributeIndexTables.hpp"

#include <algorithm>
#include <bit>

#include <Kest/CaseMapping.hpp>

#include <AttributeManager/AttributeContainer.hpp>

#include "IndexClashLog.hpp"
#include "NameOrder.hpp"

namespace ADB {
namespace {

constexpr int FirstIndex = 1;
constexpr int LastIndex = 32766;

}   // namespace

std::uint64_t& IndexKeys::WordOf(short key) const noexcept {
    return pages[SlotOf(key) / PageSize]->borne[SlotOf(key) % PageSize / WordBits];
}

std::uint32_t IndexKeys::CountBearers(short key) const noexcept {
    const std::uint32_t* const shadows = shadowed.Find(key);
    return (shadows != nullptr ? *shadows : 0) + (Find(key) != nullptr ? 1 : 0);
}

void IndexKeys::Prepare(short key) {
    auto& page = pages[SlotOf(key) / PageSize];
    if (page == nullptr)
        page = std::make_unique<Page>();
    if (page->holders[SlotOf(key) % PageSize] != nullptr)
        shadowed.Reserve(shadowed.GetSize() + 1);
}

void IndexKeys::Add(short key, ODB::ObjectInfo& record) noexcept {
    ODB::ObjectInfo*& holder = pages[SlotOf(key) / PageSize]->holders[SlotOf(key) % PageSize];
    if (holder != nullptr) {
        if (std::uint32_t* const shadows = shadowed.Find(key))
            ++*shadows;
        else
            shadowed.Add(key, 1);
    }
    holder = &record;
    Mark(key);
}

void IndexKeys::Promote(short key, ODB::ObjectInfo& record) noexcept {
    ODB::ObjectInfo*& holder = pages[SlotOf(key) / PageSize]->holders[SlotOf(key) % PageSize];
    if (holder == nullptr)   // one bearer less in the shadow; a displaced holder takes its place there
        if (std::uint32_t* const shadows = shadowed.Find(key); --*shadows == 0)
            shadowed.Delete(key);
    holder = &record;
}

void IndexKeys::Remove(short key, const ODB::ObjectInfo& record) noexcept {
    ODB::ObjectInfo*& holder = pages[SlotOf(key) / PageSize]->holders[SlotOf(key) % PageSize];
    if (holder == &record)
        holder = nullptr;
    else if (std::uint32_t* const shadows = shadowed.Find(key); --*shadows == 0)
        shadowed.Delete(key);
    if (CountBearers(key) == 0)
        Unmark(key);
}

void IndexKeys::Clear() noexcept {
    for (auto& page : pages)
        page.reset();
    shadowed.Clear();
    lowestMaybeFree = 1;
    highestMaybeBorne = 0;
}

void IndexKeys::Mark(short key) noexcept {
    WordOf(key) |= std::uint64_t{1} << (SlotOf(key) % WordBits);
    highestMaybeBorne = std::max(highestMaybeBorne, key);
}

void IndexKeys::Unmark(short key) noexcept {
    WordOf(key) &= ~(std::uint64_t{1} << (SlotOf(key) % WordBits));
    if (key >= 1)
        lowestMaybeFree = std::min(lowestMaybeFree, key);
}

short IndexKeys::FindFreeBetween(int first, int last) const noexcept {
    for (int key = first; key <= last;) {
        const std::size_t slot = SlotOf(static_cast<short>(key));
        const Page* const page = pages[slot / PageSize].get();
        if (page == nullptr)
            return static_cast<short>(key);
        const std::uint64_t free = ~page->borne[slot % PageSize / WordBits] >> (slot % WordBits);
        if (free != 0) {
            const int found = key + std::countr_zero(free);
            return static_cast<short>(found <= last ? found : 0);
        }
        key += static_cast<int>(WordBits - slot % WordBits);
    }
    return 0;
}

short IndexKeys::FindFree(short start) const noexcept {
    if (start > lowestMaybeFree) {
        if (const short above = FindFreeBetween(start, LastIndex); above != 0)
            return above;
        return FindFreeBetween(lowestMaybeFree, start - 1);
    }
    const short lowest = FindFreeBetween(lowestMaybeFree, LastIndex);
    lowestMaybeFree = lowest != 0 ? lowest : static_cast<short>(LastIndex + 1);
    return lowest;
}

short IndexKeys::GetMaximum() const noexcept {
    int key = highestMaybeBorne;
    while (key >= FirstIndex) {
        const std::size_t slot = SlotOf(static_cast<short>(key));
        const Page* const page = pages[slot / PageSize].get();
        const std::uint64_t borne =
            page != nullptr ? page->borne[slot % PageSize / WordBits] << (WordBits - 1 - slot % WordBits) : 0;
        if (borne != 0) {
            key -= std::countl_zero(borne);
            break;
        }
        key -= static_cast<int>(slot % WordBits) + 1;
    }
    highestMaybeBorne = static_cast<short>(std::max(key, 0));
    return highestMaybeBorne;
}

ODB::ObjectInfo* IndexKeys::GetFirstHolder() const noexcept {
    for (const auto& page : pages) {
        if (page == nullptr)
            continue;
        const auto first = std::find_if(page->holders.begin(), page->holders.end(), [](const auto* holder) { return holder; });
        if (first != page->holders.end())
            return *first;
    }
    return nullptr;
}

std::uint32_t NameKeys::CountShadowed(std::uint32_t hash) const noexcept {
    const std::uint32_t* const count = shadowed.Find(hash);
    return count != nullptr ? *count : 0;
}

void NameKeys::Reserve(std::size_t count) {
    shadowed.Reserve(shadowed.GetSize() + 1);
    if (count * 4 <= slots.size() * 3)
        return;
    NameKeys larger;
    larger.slots.resize(std::max<std::size_t>(16, count * 2));
    for (const Slot& slot : slots)
        if (slot.holder != nullptr)
            larger.Insert(slot.hash, *slot.holder);
    slots.swap(larger.slots);
}

void NameKeys::Add(std::uint32_t hash, ODB::ObjectInfo& record) noexcept {
    const std::size_t slot = FindSlot(AttributeOf(record).GetName(), hash);
    if (slot == None) {
        Insert(hash, AttributeOf(record));
        return;
    }
    if (std::uint32_t* const count = shadowed.Find(hash))
        ++*count;
    else
        shadowed.Add(hash, 1);
    slots[slot].holder = &AttributeOf(record);
}

void NameKeys::Promote(std::uint32_t hash, ODB::ObjectInfo& record) noexcept {
    const std::size_t slot = FindSlot(AttributeOf(record).GetName(), hash);
    if (slot != None) {   // the displaced holder takes the place in the shadow
        slots[slot].holder = &AttributeOf(record);
        return;
    }
    if (std::uint32_t* const count = shadowed.Find(hash); --*count == 0)
        shadowed.Delete(hash);
    Insert(hash, AttributeOf(record));
}

void NameKeys::Remove(std::uint32_t hash, const ODB::ObjectInfo& record) noexcept {
    const std::size_t slot = FindRecord(hash, record);
    if (slot != None)
        Erase(slot);
    else if (std::uint32_t* const count = shadowed.Find(hash); --*count == 0)
        shadowed.Delete(hash);
}

bool NameKeys::IsHolder(std::uint32_t hash, const ODB::ObjectInfo& record) const noexcept {
    return FindRecord(hash, record) != None;
}

void NameKeys::Clear() noexcept {
    slots.clear();
    size = 0;
    shadowed.Clear();
}

std::size_t NameKeys::FindSlot(std::u16string_view name, std::uint32_t hash) const noexcept {
    if (slots.empty())
        return None;
    for (std::size_t slot = Home(hash); slots[slot].holder != nullptr; slot = Next(slot))
        if (slots[slot].hash == hash && Kest::IsEqualIgnoringCase(slots[slot].holder->GetName(), name))
            return slot;
    return None;
}

std::size_t NameKeys::FindRecord(std::uint32_t hash, const ODB::ObjectInfo& record) const noexcept {
    if (slots.empty())
        return None;
    for (std::size_t slot = Home(hash); slots[slot].holder != nullptr; slot = Next(slot))
        if (slots[slot].holder == &AttributeOf(record))
            return slot;
    return None;
}

void NameKeys::Insert(std::uint32_t hash, const GeneralAttribute& attribute) noexcept {
    std::size_t slot = Home(hash);
    while (slots[slot].holder != nullptr)
        slot = Next(slot);
    slots[slot] = {&attribute, hash};
    ++size;
}

// The entries behind the gap move up, so that no run has a gap.
void NameKeys::Erase(std::size_t gap) noexcept {
    --size;
    for (std::size_t slot = Next(gap); slots[slot].holder != nullptr; slot = Next(slot)) {
        const std::size_t home = Home(slots[slot].hash);
        const bool mayMove = gap <= slot ? home <= gap || home > slot : home <= gap && home > slot;
        if (mayMove) {
            slots[gap] = slots[slot];
            gap = slot;
        }
    }
    slots[gap] = {};
}

bool AttributeIndexTables::IsNameBorne(std::u16string_view name, const ODB::ObjectInfo* except,
                                       const ODB::ObjectInfo* container) const {
    const std::uint32_t hash = Kest::HashIgnoringCase(name);
    const ODB::ObjectInfo* const holder = names.Find(name, hash);
    if (holder != nullptr && holder != except)
        return true;
    if (names.CountShadowed(hash) == 0 || container == nullptr)
        return false;
    ODB::Association1NUntyped::RightWalk walk(
        AttributeContainer::GetAttributeAssociation(),
        ODB::ConstRef<ODB::Object>(const_cast<ODB::ObjectInfo*>(container)));
    while (const ODB::ObjectInfo* const record = walk.Next())
        if (record != except && Kest::IsEqualIgnoringCase(AttributeOf(*record).GetName(), name))
            return true;
    return false;
}

bool AttributeIndexTables::IsIndexBorne(short index, const GeneralAttribute* except) const noexcept {
    const std::uint32_t own = except != nullptr && except->GetIndex() == index ? 1 : 0;
    return indexes.CountBearers(index) > own;
}

void AttributeIndexTables::TakeIndex(ODB::ObjectInfo& record) noexcept {
    const short index = AttributeOf(record).GetIndex();
    const ODB::ObjectInfo* const holder = FindByIndex(index);
    if (holder == &record)
        return;
    LogIfOther(&LogModifiedIndexClash, record, holder);
    indexes.Promote(index, record);
}

const std::vector<ODB::ObjectInfo*>& AttributeIndexTables::GetSortedByName(const ODB::ObjectInfo& container) {
    if (sortedByName.empty())
        sortedByName = SortByUpperCaseName(container);
    return sortedByName;
}

}   // namespace ADB
