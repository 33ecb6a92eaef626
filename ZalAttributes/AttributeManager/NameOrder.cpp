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

// A name to be sorted. The prefix decides nearly every comparison without touching the text.
struct NameEntry {
    std::uint64_t prefix;
    std::size_t offset;   // of the upper-case form in the common text; ascending in link order
    std::size_t length;
    ODB::ObjectInfo* record;
};

bool IsSurrogate(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDFFF;
}

// The first units as one number that orders like the text as far as it goes. From the first surrogate or U+FFFF on all
// texts look alike: units and code points order differently there.
std::uint64_t MakePrefix(std::u16string_view upper) {
    std::uint64_t prefix = 0;
    bool open = true;
    for (std::size_t place = 0; place < PrefixUnits; ++place) {
        std::uint64_t unit = 0;
        if (open && place < upper.size()) {
            open = !IsSurrogate(upper[place]) && upper[place] < 0xD800;
            unit = open ? upper[place] : 0xD800;
        }
        prefix = prefix << 16 | unit;
    }
    return prefix;
}

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
        entry.prefix = MakePrefix({text.data() + entry.offset, entry.length});
    }
    std::sort(entries.begin(), entries.end(), [&text](const NameEntry& one, const NameEntry& other) {
        if (one.prefix != other.prefix)
            return one.prefix < other.prefix;
        const int order = Kest::CompareByCodePoint({text.data() + one.offset, one.length},
                                                   {text.data() + other.offset, other.length});
        return order != 0 ? order < 0 : one.offset < other.offset;
    });
    std::vector<ODB::ObjectInfo*> sorted;
    sorted.reserve(entries.size());
    for (const NameEntry& entry : entries)
        sorted.push_back(entry.record);
    return sorted;
}

}   // namespace ADB
