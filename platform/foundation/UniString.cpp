#include <Kest/UniString.hpp>

#include <Kest/ByteOrder.hpp>
#include <Kest/Utf8.hpp>

#include <algorithm>
#include <cstring>
#include <limits>
#include <ostream>
#include <stdexcept>

namespace Kest {

namespace {

constexpr std::size_t MaximalLength = std::numeric_limits<std::uint32_t>::max() - 1;

std::u16string_view ViewOf(const char16_t* text) {
    return text != nullptr ? std::u16string_view(text) : std::u16string_view();
}

// Copying nothing from a null view is allowed here, other than in memmove.
void CopyUnits(std::u16string_view from, char16_t* to) {
    if (!from.empty())
        std::memmove(to, from.data(), from.size() * sizeof(char16_t));
}

}   // namespace

UniString::UniString(const char16_t* text) : UniString(ViewOf(text)) {}

UniString::UniString(std::u16string_view text) : UniString(WithLength(text.size())) {
    CopyUnits(text, GetUnits());
}

UniString::UniString(const char* utf8)
    : UniString(FromUtf8(utf8 != nullptr ? std::string_view(utf8) : std::string_view())) {}

UniString UniString::WithLength(std::size_t length) {
    UniString result;
    result.Reserve(length);
    result.SetLength(length);
    return result;
}

UniString UniString::FromUtf8(std::string_view text) {
    UniString result = WithLength(Utf16LengthOf(text));
    ConvertUtf8(text, result.GetUnits());
    return result;
}

UniString UniString::FromUnits(const char* bytes, std::size_t length, bool swapped) {
    UniString result = WithLength(length);
    char16_t* const units = result.GetUnits();
    if (length > 0)
        std::memcpy(units, bytes, length * sizeof(char16_t));
    if (swapped)
        std::transform(units, units + length, units, [](char16_t unit) {
            return static_cast<char16_t>(SwapBytes(static_cast<std::uint16_t>(unit)));
        });
    return result;
}

UniString& UniString::operator=(const UniString& other) {
    if (this != &other)
        *this = UniString(other);
    return *this;
}

UniString& UniString::operator=(UniString&& other) noexcept {
    if (this != &other) {
        ReleaseBlock();
        storage = other.storage;
        other.storage = Storage{};
    }
    return *this;
}

std::string UniString::ToCStr() const {
    std::string result;
    result.reserve(GetLength());
    AppendUtf8(result, GetView());
    return result;
}

void UniString::SetLength(std::size_t length) noexcept {
    if (IsLong())
        storage.large.length = static_cast<std::uint32_t>(length);
    else
        storage.small.length = static_cast<std::uint16_t>(length);
    GetUnits()[length] = 0;
}

void UniString::Reserve(std::size_t length) {
    if (length <= GetCapacity())
        return;
    if (length > MaximalLength)
        throw std::length_error("UniString: text too long");

    auto* const block = new char16_t[length + 1];
    const std::u16string_view text = GetView();
    CopyUnits(text, block);
    block[text.size()] = 0;
    const auto oldLength = static_cast<std::uint32_t>(text.size());
    ReleaseBlock();
    storage.large = Large{LongMark, oldLength, static_cast<std::uint32_t>(length), block};
}

UniString& UniString::Append(std::u16string_view text) {
    const std::size_t oldLength = GetLength();
    if (text.size() > MaximalLength - oldLength)
        throw std::length_error("UniString: text too long");

    const std::size_t length = oldLength + text.size();
    if (length <= GetCapacity()) {
        CopyUnits(text, GetUnits() + oldLength);
        SetLength(length);
        return *this;
    }
    // The old units stay until the end: the text appended may lie among them.
    UniString grown;
    grown.Reserve(std::max(length, std::min(2 * GetCapacity(), MaximalLength)));
    CopyUnits(GetView(), grown.GetUnits());
    CopyUnits(text, grown.GetUnits() + oldLength);
    grown.SetLength(length);
    return *this = std::move(grown);
}

void UniString::Truncate(std::size_t length) noexcept {
    if (length < GetLength())
        SetLength(length);
}

void UniString::SetCharacter(std::size_t at, char16_t unit) noexcept {
    if (at < GetLength())
        GetUnits()[at] = unit;
}

void UniString::Clear() noexcept {
    ReleaseBlock();
    storage = Storage{};
}

UniString UniString::ToUpper() const {
    UniString result = WithLength(GetLength());
    ConvertToUpper(GetView(), result.GetUnits());
    return result;
}

bool UniString::Holds(std::u16string_view text) const noexcept {
    return text.size() == GetLength() &&
           (text.empty() || std::memcmp(text.data(), ToUStr(), text.size() * sizeof(char16_t)) == 0);
}

bool UniString::IsEqual(const UniString& other, CaseComparison comparison) const noexcept {
    return comparison == CaseSensitive ? Holds(other.GetView()) : IsEqualIgnoringCase(GetView(), other.GetView());
}

int UniString::Compare(const UniString& other, CaseComparison comparison) const noexcept {
    const int order = comparison == CaseSensitive ? CompareByCodePoint(GetView(), other.GetView())
                                                  : CompareIgnoringCase(GetView(), other.GetView());
    return order < 0 ? 0 : order == 0 ? 1 : 2;
}

UniString operator+(const UniString& left, std::u16string_view right) {
    UniString result;
    result.Reserve(left.GetLength() + right.size());
    result.Append(left.GetView());
    result.Append(right);
    return result;
}

std::ostream& operator<<(std::ostream& stream, const UniString& text) {
    return stream << text.ToCStr();
}

}   // namespace Kest
