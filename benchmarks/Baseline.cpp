#include "Baseline.hpp"

#include <algorithm>
#include <bit>
#include <charconv>
#include <ctime>

#include <Kest/CaseMapping.hpp>

namespace Baseline {
namespace {

/// The upper-case form of a name that is looked for; names of usual length need no heap.
class UpperCase {
public:
    explicit UpperCase(std::u16string_view text) : length(text.size()) {
        if (length > local.size())
            heap.resize(length);
        Kest::ConvertToUpper(text, Data());
    }
    std::u16string_view GetView() { return {Data(), length}; }

private:
    char16_t* Data() { return length > local.size() ? heap.data() : local.data(); }

    std::size_t length;
    std::array<char16_t, 64> local;
    std::u16string heap;
};

std::u16string ToUpper(std::u16string_view text) {
    std::u16string upper(text.size(), u' ');
    Kest::ConvertToUpper(text, upper.data());
    return upper;
}

struct NumberedName {
    std::u16string_view stem;
    unsigned number = 0;   // 0: the name has no number
};

NumberedName Split(std::u16string_view name) {
    constexpr unsigned MostDigits = 9;
    if (name.empty() || name.back() != u')')
        return {name};
    const std::size_t end = name.size() - 1;
    std::size_t begin = end;
    while (begin > 0 && end - begin <= MostDigits && name[begin - 1] >= u'0' && name[begin - 1] <= u'9')
        --begin;
    if (begin == end || end - begin > MostDigits || begin < 2 || name[begin] == u'0' || name[begin - 1] != u'(' ||
        name[begin - 2] != u' ')
        return {name};
    unsigned number = 0;
    for (std::size_t place = begin; place < end; ++place)
        number = number * 10 + (name[place] - u'0');
    return {name.substr(0, begin - 2), number};
}

void AppendNumber(std::u16string& name, unsigned number) {
    std::array<char, 12> digits;
    char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    name += u" (";
    name.append(digits.data(), end);
    name += u')';
}

}   // namespace

void Item::TakeName(std::u16string newName) {
    upperName.resize(newName.size());
    Kest::ConvertToUpper(newName, upperName.data());
    name = std::move(newName);
}

short IndexPool::FindFree() {
    for (; firstMaybeFree < taken.size(); ++firstMaybeFree) {
        const auto bit = static_cast<unsigned>(std::countr_one(taken[firstMaybeFree]));
        const std::size_t index = firstMaybeFree * WordBits + bit;
        if (bit < WordBits && index <= Last)
            return static_cast<short>(index);
    }
    return 0;
}

void IndexPool::Take(short index) {
    const auto place = static_cast<std::size_t>(index);
    taken[place / WordBits] |= std::uint64_t{1} << place % WordBits;
}

void IndexPool::Free(short index) {
    const auto place = static_cast<std::size_t>(index);
    taken[place / WordBits] &= ~(std::uint64_t{1} << place % WordBits);
    firstMaybeFree = std::min(firstMaybeFree, place / WordBits);
}

Container::Container(const Container& other) : Observer() {
    items.reserve(other.items.size());
    for (const ItemRef& item : other.items) {
        const ItemRef clone(item->Clone());
        clone->observer = this;
        indexes.Take(clone->index);
        items.insert(clone);
    }
}

ConstItemRef Container::Find(short index) const {
    const auto& byIndex = items.get<ByIndex>();
    const auto found = byIndex.find(index);
    return found != byIndex.end() ? ConstItemRef(*found) : ConstItemRef();
}

ConstItemRef Container::Find(std::u16string_view name) const {
    const auto& byName = items.get<ByName>();
    const auto found = byName.find(UpperCase(name).GetView());
    return found != byName.end() ? ConstItemRef(*found) : ConstItemRef();
}

ItemRef Container::Add(const Item& source) {
    const short index = indexes.FindFree();
    if (index == 0)
        return nullptr;
    ItemRef item(source.Clone());
    if (items.get<ByName>().count(item->GetUpperName()) != 0)
        item->TakeName(MakeUniqueName(item->name));
    item->index = index;
    item->modificationTime = static_cast<int>(std::time(nullptr));
    item->observer = this;
    items.insert(item);
    indexes.Take(index);
    ++changes;
    return item;
}

bool Container::Rename(Item& item, std::u16string_view newName) {
    if (item.name == newName)
        return true;
    std::u16string upper = ToUpper(newName);
    auto& byName = items.get<ByName>();
    const auto holder = byName.find(upper);
    if (holder != byName.end() && *holder != &item)
        return false;
    std::u16string oldName(newName);
    byName.modify(byName.find(item.upperName), [&](const ItemRef& stored) {
        stored->name.swap(oldName);
        stored->upperName = std::move(upper);
    });
    if (item.observer != nullptr)
        item.observer->Renamed(item, oldName);
    return true;
}

bool Container::Renumber(Item& item, short newIndex) {
    if (item.index == newIndex)
        return true;
    auto& byIndex = items.get<ByIndex>();
    if (byIndex.count(newIndex) != 0)
        return false;
    const short oldIndex = item.index;
    byIndex.modify(byIndex.find(oldIndex), [newIndex](const ItemRef& stored) { stored->index = newIndex; });
    indexes.Take(newIndex);
    indexes.Free(oldIndex);
    ++changes;
    return true;
}

bool Container::Delete(short index) {
    auto& byIndex = items.get<ByIndex>();
    const auto found = byIndex.find(index);
    if (found == byIndex.end())
        return false;
    ForgetNumber((*found)->name);
    byIndex.erase(found);
    indexes.Free(index);
    ++changes;
    return true;
}

void Container::EnumerateByName(const std::function<void(const ConstItemRef&)>& call) const {
    std::vector<const Item*> all = GetAll();
    std::sort(all.begin(), all.end(),
              [](const Item* one, const Item* other) { return one->GetUpperName() < other->GetUpperName(); });
    for (const Item* const item : all)
        call(ConstItemRef(item));
}

void Container::EnumerateByIndex(const std::function<void(const ConstItemRef&)>& call) const {
    std::vector<const Item*> all = GetAll();
    std::sort(all.begin(), all.end(),
              [](const Item* one, const Item* other) { return one->GetIndex() < other->GetIndex(); });
    for (const Item* const item : all)
        call(ConstItemRef(item));
}

void Container::Renamed(const Item&, const std::u16string& oldName) {
    ForgetNumber(oldName);
    ++changes;
}

bool Container::IsNameTaken(std::u16string_view name) const {
    return items.get<ByName>().count(UpperCase(name).GetView()) != 0;
}

std::u16string Container::MakeUniqueName(const std::u16string& base) {
    const NumberedName split = Split(base);
    unsigned& firstMaybeFree = firstMaybeFreeNumber.try_emplace(ToUpper(split.stem), 1).first->second;
    const bool fromTheRun = split.number < firstMaybeFree;
    unsigned number = fromTheRun ? firstMaybeFree : split.number + 1;
    std::u16string name;
    do {
        name = split.stem;
        AppendNumber(name, number++);
    } while (IsNameTaken(name));
    if (fromTheRun)
        firstMaybeFree = number;
    return name;
}

void Container::ForgetNumber(std::u16string_view name) {
    if (firstMaybeFreeNumber.empty())
        return;
    const NumberedName split = Split(name);
    if (split.number == 0)
        return;
    if (const auto found = firstMaybeFreeNumber.find(ToUpper(split.stem)); found != firstMaybeFreeNumber.end())
        found->second = std::min(found->second, split.number);
}

std::vector<const Item*> Container::GetAll() const {
    std::vector<const Item*> all;
    all.reserve(items.size());
    for (const ItemRef& item : items)
        all.push_back(item.get());
    return all;
}

}   // namespace Baseline
