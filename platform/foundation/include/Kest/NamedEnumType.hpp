#pragma once

#include <Kest/Export.hpp>
#include <Kest/UniString.hpp>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <type_traits>
#include <vector>

namespace KestXML {

/// What NamedEnumType does for all types of numbers.
class KEST_API NamedEnumTable {
public:
    /// A number and its name.
    struct Item {
        int value;
        Kest::UniString name;

        bool operator==(const Item&) const = default;
    };

    /// The items, in the order in which they were added.
    const Item* begin() const noexcept { return items.data(); }
    const Item* end() const noexcept { return items.data() + items.size(); }
    std::size_t GetSize() const noexcept { return items.size(); }

protected:
    NamedEnumTable(bool newIsFlagSet, unsigned newBitCount) noexcept : isFlagSet(newIsFlagSet), bitCount(newBitCount) {}

    void AddItem(int value, Kest::UniString name);
    void AddItems(const NamedEnumTable& other);
    bool MakeText(int value, Kest::UniString& text) const;
    bool ParseText(const Kest::UniString& text, int& value) const noexcept;

private:
    std::uint32_t BitsOf(int value) const noexcept;
    const Item* FindName(std::u16string_view name) const noexcept;
    bool ParseNames(std::u16string_view text, std::uint32_t& bits) const noexcept;
    bool ParseHex(std::u16string_view text, std::uint32_t& bits) const noexcept;

    std::vector<Item> items;
    bool isFlagSet;
    unsigned bitCount;   // of the number type
};

/// Names for the values of an enumeration, or for the bits of a flag set, as they stand in XML.
///
/// A value that the names do not cover is written as "0x" and the lower-case hexadecimal digits of its unsigned bits. A
/// flag set is written as the names of its bits, in the order of the items, joined by one space; a name may stand for
/// several bits, all of which must be set. Operations that take memory throw std::bad_alloc.
template <class T>
class NamedEnumType : public NamedEnumTable {
    static_assert(std::is_same_v<T, short> || std::is_same_v<T, int>);

public:
    /// A value and its name, UTF-8.
    struct NamedValue {
        T value;
        const char* name;
    };

    explicit NamedEnumType(bool newIsFlagSet) noexcept : NamedEnumTable(newIsFlagSet, 8 * sizeof(T)) {}
    NamedEnumType(bool newIsFlagSet, std::initializer_list<NamedValue> values) : NamedEnumType(newIsFlagSet) {
        for (const NamedValue& each : values)
            Add(each.value, each.name);
    }

    /// Adds a name, UTF-8, which is neither empty nor begins with "0x" and in a flag set holds no white space. An item
    /// that is there already is not added again.
    void Add(T value, const char* name) { AddItem(value, name); }

    /// Adds the items of \p other behind the own ones.
    void AddAll(const NamedEnumType& other) { AddItems(other); }

    /// Writes \p value as text. A flag set of 0 is the empty text unless an item has the value 0.
    /// \returns false, with \p text unchanged, when the value cannot be expressed; today every value can.
    bool ToText(T value, Kest::UniString& text) const { return MakeText(value, text); }

    /// Reads what ToText writes: a name, in a flag set any number of names in any order with white space between them
    /// (none is 0), or else "0x" or "0X" and hexadecimal digits in the range of the type's bits. Names must match in
    /// letter case; white space around all is passed over.
    /// \returns false, with \p value unchanged, when \p text is nothing of that.
    bool FromText(const Kest::UniString& text, T& value) const noexcept {
        int number = 0;
        if (!ParseText(text, number))
            return false;
        value = static_cast<T>(number);
        return true;
    }
};

}   // namespace KestXML
