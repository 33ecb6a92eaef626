#include "AttributeIndexTables.hpp"

#include <algorithm>
#include <bit>
#include <iterator>
#include <utility>

#include <Kest/CaseMapping.hpp>

#include <AttributeManager/AttributeContainer.hpp>

#include "IndexClashLog.hpp"
#include "NameOrder.hpp"

namespace ADB {
namespace {

constexpr std::size_t ChangesShare = 16;   // more changes than a 16th are not worth noting: sorting anew is as fast
constexpr std::size_t FewChanges = 4;
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

void IndexKeys::CopyFrom(const IndexKeys& model, const std::vector<ODB::ObjectInfo*>& copies) {
    std::array<std::unique_ptr<Page>, PageCount> copiedPages;
    for (std::size_t place = 0; place < PageCount; ++place)
        if (model.pages[place] != nullptr) {
            copiedPages[place] = std::make_unique<Page>();
            copiedPages[place]->borne = model.pages[place]->borne;
        }
    pages = std::move(copiedPages);
    for (ODB::ObjectInfo* const copy : copies) {
        const std::size_t slot = SlotOf(AttributeOf(*copy).GetIndex());
        pages[slot / PageSize]->holders[slot % PageSize] = copy;
    }
    lowestMaybeFree = model.lowestMaybeFree;
    highestMaybeBorne = model.highestMaybeBorne;
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
        const auto first =
            std::find_if(page->holders.begin(), page->holders.end(), [](const auto* holder) { return holder; });
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

ODB::ObjectInfo* NameKeys::Add(std::uint32_t hash, ODB::ObjectInfo& record) noexcept {
    const std::size_t slot = FindSlot(AttributeOf(record).GetName(), hash);
    if (slot == None) {
        Insert(hash, AttributeOf(record));
        return nullptr;
    }
    if (std::uint32_t* const count = shadowed.Find(hash))
        ++*count;
    else
        shadowed.Add(hash, 1);
    return std::exchange(slots[slot].holder, &AttributeOf(record))->GetInfo();
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

bool AttributeIndexTables::IsNameBorne(std::u16string_view name, std::uint32_t hash, const ODB::ObjectInfo* except,
                                       const ODB::ObjectInfo* container) const {
    const ODB::ObjectInfo* const holder = names.Find(name, hash);
    if (holder != nullptr && holder != except)
        return true;
    if (names.CountShadowed(hash) == 0 || container == nullptr)
        return false;
    ODB::Association1NUntyped::RightWalk walk(AttributeContainer::GetAttributeAssociation(),
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

void AttributeIndexTables::CopyFrom(const AttributeIndexTables& model, const std::vector<ODB::ObjectInfo*>& copies) {
    names.Reserve(copies.size());
    indexes.CopyFrom(model.indexes, copies);
    names.CopyFrom(model.names, [this](const GeneralAttribute& original) -> const GeneralAttribute& {
        return AttributeOf(*indexes.Find(original.GetIndex()));
    });
}

void AttributeIndexTables::ShowHidden() const {
    if (!HasShadows())
        return;
    const auto& association = AttributeContainer::GetAttributeAssociation();
    ODB::Association1NUntyped::RightWalk walk(association, ODB::Borrowed<ODB::ConstRef<ODB::Object>>(*scope));
    while (ODB::ObjectInfo* const record = walk.Next()) {
        const GeneralAttribute& attribute = AttributeOf(*record);
        if (FindByIndex(attribute.GetIndex()) == nullptr || FindByName(attribute.GetName()) == nullptr)
            association.InvalidateRightIndicesWithObjectModification(ODB::Borrowed<ODB::Ref<ODB::Object>>(*record));
    }
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
    if (sortedByName.empty()) {
        moved.reserve(names.GetSize() / ChangesShare + FewChanges);
        gone.reserve(moved.capacity());
        sortedByName = SortByUpperCaseName(container);
    } else if (!moved.empty() || !gone.empty()) {
        RepairOrder();
    }
    return sortedByName;
}

void AttributeIndexTables::ForgetOrder() noexcept {
    sortedByName.clear();
    moved.clear();
    gone.clear();
}

bool AttributeIndexTables::MayNote() noexcept {
    if (moved.size() == moved.capacity() || gone.size() == gone.capacity())
        ForgetOrder();
    return !sortedByName.empty();
}

void AttributeIndexTables::NoteMoved(ODB::ObjectInfo& record) noexcept {
    if (!sortedByName.empty() && MayNote())
        moved.push_back(&record);
}

void AttributeIndexTables::NoteGone(ODB::ObjectInfo& record) noexcept {
    if (sortedByName.empty() || !MayNote())
        return;
    std::erase(moved, &record);
    gone.push_back(&record);
}

// Takes out what moved or went, and puts what moved where it belongs now.
void AttributeIndexTables::RepairOrder() {
    const auto isBefore = [](const ODB::ObjectInfo* one, const ODB::ObjectInfo* other) {
        const int order = Kest::CompareIgnoringCase(AttributeOf(*one).GetName(), AttributeOf(*other).GetName());
        return order != 0 ? order < 0 : one->GetModificationStamp() < other->GetModificationStamp();
    };
    std::sort(moved.begin(), moved.end());
    moved.erase(std::unique(moved.begin(), moved.end()), moved.end());
    std::vector<ODB::ObjectInfo*> taken(gone);
    taken.insert(taken.end(), moved.begin(), moved.end());
    std::sort(taken.begin(), taken.end());
    std::vector<ODB::ObjectInfo*> rest;
    rest.reserve(sortedByName.size());
    std::remove_copy_if(sortedByName.begin(), sortedByName.end(), std::back_inserter(rest),
                        [&taken](auto* record) { return std::binary_search(taken.begin(), taken.end(), record); });

    std::sort(moved.begin(), moved.end(), isBefore);
    std::vector<ODB::ObjectInfo*> repaired;
    repaired.reserve(rest.size() + moved.size());
    auto next = rest.begin();
    for (ODB::ObjectInfo* const record : moved) {
        const auto place = std::upper_bound(next, rest.end(), record, isBefore);
        repaired.insert(repaired.end(), next, place);
        repaired.push_back(record);
        next = place;
    }
    repaired.insert(repaired.end(), next, rest.end());
    sortedByName.swap(repaired);
    moved.clear();
    gone.clear();
}

}   // namespace ADB
