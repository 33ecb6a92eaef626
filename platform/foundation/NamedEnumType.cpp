#include <Kest/NamedEnumType.hpp>

#include "XMLText.hpp"

#include <algorithm>
#include <string_view>
#include <utility>

namespace KestXML {

namespace {

namespace XMLText = Kest::XMLText;

// The next word of the text, which is taken off it; empty when there is none.
std::u16string_view TakeWord(std::u16string_view& text) {
    const auto start = std::find_if_not(text.begin(), text.end(), XMLText::IsSpace<char16_t>);
    const auto end = std::find_if(start, text.end(), XMLText::IsSpace<char16_t>);
    const std::u16string_view word(start, end);
    text = std::u16string_view(end, text.end());
    return word;
}

}   // namespace

void NamedEnumTable::AddItem(int value, Kest::UniString name) {
    Item item{value, std::move(name)};
    if (std::find(items.begin(), items.end(), item) == items.end())
        items.push_back(std::move(item));
}

void NamedEnumTable::AddItems(const NamedEnumTable& other) {
    if (&other == this)   // all of them are here
        return;
    for (const Item& item : other)
        AddItem(item.value, item.name);
}

std::uint32_t NamedEnumTable::BitsOf(int value) const noexcept {
    return static_cast<std::uint32_t>(value) & 0xFFFFFFFFU >> (32 - bitCount);
}

bool NamedEnumTable::MakeText(int value, Kest::UniString& text) const {
    const std::uint32_t bits = BitsOf(value);
    std::uint32_t named = 0;
    bool isNamed = false;
    Kest::UniString names;
    for (const Item& item : items) {
        const std::uint32_t itemBits = BitsOf(item.value);
        if (isFlagSet && bits != 0 ? itemBits == 0 || (itemBits & ~bits) != 0 : itemBits != bits)
            continue;
        if (isNamed)
            names += u' ';
        names += item.name;
        named |= itemBits;
        isNamed = true;
        if (!isFlagSet)   // of several names the first
            break;
    }
    if (named != bits || (!isFlagSet && !isNamed))
        names = Kest::UniString::Printf("0x%x", bits);
    text = std::move(names);
    return true;
}

bool NamedEnumTable::ParseText(const Kest::UniString& text, int& value) const noexcept {
    const std::u16string_view trimmed = XMLText::Trim(text.GetView());
    std::uint32_t bits = 0;
    if (!ParseNames(trimmed, bits) && !ParseHex(trimmed, bits))
        return false;
    value = static_cast<int>(bits);
    return true;
}

const NamedEnumTable::Item* NamedEnumTable::FindName(std::u16string_view name) const noexcept {
    return std::find_if(begin(), end(), [name](const Item& item) { return item.name == name; });
}

bool NamedEnumTable::ParseNames(std::u16string_view text, std::uint32_t& bits) const noexcept {
    std::uint32_t found = 0;
    do {
        const std::u16string_view name = isFlagSet ? TakeWord(text) : std::exchange(text, {});
        if (isFlagSet && name.empty())
            break;
        const Item* const item = FindName(name);
        if (item == end())
            return false;
        found |= BitsOf(item->value);
    } while (!text.empty());
    bits = found;
    return true;
}

bool NamedEnumTable::ParseHex(std::u16string_view text, std::uint32_t& bits) const noexcept {
    if (!text.starts_with(u"0x") && !text.starts_with(u"0X"))
        return false;
    text.remove_prefix(2);
    std::uint64_t number = 0;
    for (const char16_t digit : text) {
        const int value = XMLText::DigitValue(digit);
        if (value < 0)
            return false;
        number = number << 4 | static_cast<unsigned>(value);
        if (number >> bitCount != 0)
            return false;
    }
    bits = static_cast<std::uint32_t>(number);
    return !text.empty();
}

}   // namespace KestXML
