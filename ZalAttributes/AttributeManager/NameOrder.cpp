#include "NameOrder.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <Kest/CaseMapping.hpp>

#include <AttributeManager/AttributeContainer.hpp>

namespace ADB {
namespace {

constexpr std::size_t PrefixUnits = 4;
constexpr std::size_t DeepestPrefix = 8;   // names alike for longer are few: they are compared as a whole
constexpr std::ptrdiff_t ShortRun = 4;
constexpr std::uint64_t EndMark = 0;         // what stands behind the end of a name
constexpr std::uint64_t OpenMark = 0xD800;   // what stands for a unit that the prefix cannot order

// A name to be sorted. The prefix decides nearly every comparison without touching the text.
struct NameEntry {
    std::uint64_t prefix;
    std::size_t offset;   // of the upper-case form in the common text; ascending in link order
    std::size_t length;
    ODB::ObjectInfo* record;
};

class NameSorter {
public:
    explicit NameSorter(const std::u16string& upperNames) : text(upperNames) {}

    // Sorts by the units from `depth` prefixes on, all units before being equal.
    void Sort(NameEntry* first, NameEntry* last, std::size_t depth) const {
        if (last - first <= ShortRun || depth == DeepestPrefix) {
            SortWhole(first, last);
            return;
        }
        for (NameEntry* entry = first; entry != last; ++entry)
            entry->prefix = MakePrefix(GetName(*entry), depth * PrefixUnits);
        std::sort(first, last, [](const NameEntry& one, const NameEntry& other) { return one.prefix < other.prefix; });
        while (first != last) {
            const std::uint64_t prefix = first->prefix;
            NameEntry* const end =
                std::find_if(first, last, [=](const NameEntry& entry) { return entry.prefix != prefix; });
            const std::uint64_t lastUnit = prefix & 0xFFFF;
            if (lastUnit == EndMark || lastUnit == OpenMark)
                SortWhole(first, end);
            else if (end - first > 1)
                Sort(first, end, depth + 1);
            first = end;
        }
    }

private:
    std::u16string_view GetName(const NameEntry& entry) const {
        return std::u16string_view(text).substr(entry.offset, entry.length);
    }

    void SortWhole(NameEntry* first, NameEntry* last) const {
        if (last - first < 2)
            return;
        std::sort(first, last, [this](const NameEntry& one, const NameEntry& other) {
            const int order = Kest::CompareByCodePoint(GetName(one), GetName(other));
            return order != 0 ? order < 0 : one.offset < other.offset;
        });
    }

    // Four units as one number that orders like the text as far as it goes. From the first unit on that is or follows
    // the surrogates all texts look alike: there the order of units is not that of code points.
    static std::uint64_t MakePrefix(std::u16string_view name, std::size_t at) {
        std::uint64_t prefix = 0;
        std::uint64_t unit = EndMark;
        for (std::size_t end = at + PrefixUnits; at < end; ++at) {
            if (unit != OpenMark)
                unit = at < name.size() ? std::min<std::uint64_t>(name[at], OpenMark) : EndMark;
            prefix = prefix << 16 | unit;
        }
        return prefix;
    }

    const std::u16string& text;
};

}   // namespace

std::vector<ODB::ObjectInfo*> SortByUpperCaseName(const ODB::ObjectInfo& container) {
    const auto& association = AttributeContainer::GetAttributeAssociation();
    const ODB::ConstRef<ODB::Object> left(const_cast<ODB::ObjectInfo*>(&container));
    std::vector<NameEntry> entries;
    entries.reserve(association.GetConnectionCount(left));
    std::size_t units = 0;
    ODB::Association1NUntyped::RightWalk walk(association, left);
    while (ODB::ObjectInfo* const record = walk.Next()) {
        const std::size_t length = static_cast<const GeneralAttribute*>(record->GetObject())->GetName().GetLength();
        entries.push_back({0, units, length, record});
        units += length;
    }
    std::u16string text(units, u'\0');
    for (NameEntry& entry : entries) {
        const auto& name = static_cast<const GeneralAttribute*>(entry.record->GetObject())->GetName();
        Kest::ConvertToUpper(name, text.data() + entry.offset);
    }
    NameSorter(text).Sort(entries.data(), entries.data() + entries.size(), 0);
    std::vector<ODB::ObjectInfo*> sorted;
    sorted.reserve(entries.size());
    for (const NameEntry& entry : entries)
        sorted.push_back(entry.record);
    return sorted;
}

}   // namespace ADB
