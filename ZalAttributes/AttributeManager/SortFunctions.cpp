#include <AttributeManager/SortFunctions.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include <Kest/ByteString.hpp>
#include <Kest/MemoryHandle.hpp>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/AttributeSet.hpp>

#include "CatchMemoryFull.hpp"

namespace {

using ADB::AttributeContainer;
using ADB::AttributeSet;
using ADB::GeneralAttribute;
using Set = ODB::ConstRef<AttributeSet>;
using Container = ODB::ConstRef<AttributeContainer>;

constexpr int NameSize = 256;   // bytes, the zero included

// A name in the system code page, split at its first dot.
class SplitName {
public:
    explicit SplitName(const GeneralAttribute& attribute) {
        attribute.GetName(base, NameSize);
        char* const dot = std::strchr(base, '.');
        extension = dot != nullptr ? dot + 1 : base + std::strlen(base);
        if (dot != nullptr)
            *dot = 0;
    }
    SplitName(const SplitName&) = delete;
    SplitName& operator=(const SplitName&) = delete;

    const char* GetBase() const noexcept { return base; }
    const char* GetExtension() const noexcept { return extension; }

private:
    char base[NameSize];
    const char* extension;
};

std::int64_t SizeFor(std::size_t entries) {
    return static_cast<std::int64_t>((entries + 1) * sizeof(short));
}

// The indexes of the attributes that `accepts`, in a new handle.
template <class Accepts>
int Filter(const Set& set, short typeId, short*** handle, short* count, Accepts&& accepts) {
    if (!set || handle == nullptr)
        return ADB::Error::NullArgument;
    const int maximum = set->GetAttributeMaximumIndex(typeId);
    if (maximum < 0)
        return ADB::Error::WrongCall;
    *handle = reinterpret_cast<short**>(BMAllocateHandle(SizeFor(static_cast<std::size_t>(maximum)), BMPlain));
    if (const int status = BMError(); status != 0) {
        BMKillHandle(handle);
        return status;
    }
    std::size_t found = 0;
    const int filtered = ADB::CatchMemoryFull([&] {
        const Container container = set->GetConstAttributeContainer(typeId);
        for (int index = 1; index <= maximum; ++index) {
            const ODB::ConstRef<GeneralAttribute> attribute =
                container->GetConstAttribute(static_cast<unsigned int>(index));
            if (attribute && accepts(*attribute))
                (**handle)[found++] = static_cast<short>(index);
        }
        return ADB::Error::None;
    });
    if (filtered != ADB::Error::None) {
        BMKillHandle(handle);
        return filtered;
    }
    if (count == nullptr)
        return ADB::Error::None;
    *count = static_cast<short>(found);
    BMReallocHandle(*handle, SizeFor(found));
    return BMError();
}

// Puts the first `count` indexes in ascending order of what `keyOf` gives for their attributes, which is asked once for
// each; equal ones stay in order. An index without an attribute has an empty key.
template <class Key, class KeyOf, class Less>
void SortByKey(const Set& set, short typeId, short* indexes, std::size_t count, KeyOf&& keyOf, Less&& less) {
    const Container container = set->GetConstAttributeContainer(typeId);
    std::vector<std::pair<Key, short>> entries(count);
    for (std::size_t place = 0; place < count; ++place) {
        entries[place].second = indexes[place];
        const auto attribute = container ? container->GetConstAttribute(static_cast<unsigned int>(indexes[place]))
                                         : ODB::ConstRef<GeneralAttribute>();
        if (attribute)
            entries[place].first = keyOf(*attribute);
    }
    std::stable_sort(entries.begin(), entries.end(),
                     [&less](const auto& one, const auto& other) { return less(one.first, other.first); });
    std::transform(entries.begin(), entries.end(), indexes, [](const auto& entry) { return entry.second; });
}

template <class Key, class KeyOf, class Less>
int Sort(const Set& set, short typeId, short** handle, short count, KeyOf&& keyOf, Less&& less) {
    if (!set || handle == nullptr || *handle == nullptr)
        return ADB::Error::NullArgument;
    const std::int64_t room = BMGetHandleSize(handle) / static_cast<std::int64_t>(sizeof(short));
    const std::int64_t sorted = std::min<std::int64_t>(count, room);
    if (sorted < 2)
        return ADB::Error::None;
    return ADB::CatchMemoryFull([&] {
        SortByKey<Key>(set, typeId, *handle, static_cast<std::size_t>(sorted), keyOf, less);
        return ADB::Error::None;
    });
}

// Upper-case forms are ordered by code point: what comparing without regard to letter case amounts to.
bool IsBefore(const Kest::UniString& upperOne, const Kest::UniString& upperOther) {
    return upperOne.Compare(upperOther, Kest::CaseSensitive) == 0;
}

struct ExtensionKey {
    Kest::UniString extension;
    Kest::UniString base;
};

}   // namespace

int NoFilter(ODB::ConstRef<AttributeSet> set, short typeId, short*** handle, char*, short* count) {
    return Filter(set, typeId, handle, count, [](const GeneralAttribute&) { return true; });
}

int FilterByThisExtension(ODB::ConstRef<AttributeSet> set, short typeId, short*** handle, char* extension,
                          short* count) {
    return Filter(set, typeId, handle, count, [extension](const GeneralAttribute& attribute) {
        return CHEqualCStrings(SplitName(attribute).GetExtension(), extension, CHCaseExact, CHSystemCharCode);
    });
}

int NoSort(ODB::ConstRef<AttributeSet>, short, short**, short) {
    return ADB::Error::None;
}

int AttributeSortByIndex(ODB::ConstRef<AttributeSet>, short, short**, short) {
    return ADB::Error::None;
}

int AttributeSortByName(ODB::ConstRef<AttributeSet> set, short typeId, short** handle, short count) {
    return Sort<Kest::UniString>(
        set, typeId, handle, count, [](const GeneralAttribute& attribute) { return attribute.GetName().ToUpper(); },
        IsBefore);
}

int AttributeSortByExtension(ODB::ConstRef<AttributeSet> set, short typeId, short** handle, short count) {
    return Sort<ExtensionKey>(
        set, typeId, handle, count,
        [](const GeneralAttribute& attribute) {
            const SplitName name(attribute);
            return ExtensionKey{Kest::UniString(name.GetExtension()).ToUpper(),
                                Kest::UniString(name.GetBase()).ToUpper()};
        },
        [](const ExtensionKey& one, const ExtensionKey& other) {
            return one.extension == other.extension ? IsBefore(one.base, other.base)
                                                    : IsBefore(one.extension, other.extension);
        });
}
