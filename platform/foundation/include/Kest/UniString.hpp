#pragma once

#include <Kest/CaseMapping.hpp>
#include <Kest/Export.hpp>
#include <Kest/FormatText.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>

namespace Kest {

/// Whether letter case counts. Hosts pass these numbers: they never change.
enum CaseComparison : int { CaseSensitive = 0, CaseInsensitive = 1 };

/// Text in UTF-16: any code units at all, zeros and lone surrogates too. Lengths and positions count units.
///
/// Up to 10 units are held inside the object, 24 bytes in all; longer text is one block of its own, which fits exactly
/// after construction, copying and assignment and grows in proportion when text is appended. Letter case is simple
/// upper-casing as in CaseMapping.hpp. Operations that cannot have memory throw std::bad_alloc (std::length_error
/// beyond 2^32 - 2 units) and leave the text as it was. Arguments may be part of the text itself.
class KEST_API UniString {
public:
    UniString() noexcept : storage{} {}
    UniString(const char16_t* text);   ///< up to its zero; null counts as empty
    UniString(const char16_t* units, std::size_t length) : UniString(std::u16string_view(units, length)) {}
    UniString(std::u16string_view text);
    UniString(const char* utf8);   ///< text in the system code page, up to its zero; damage becomes U+FFFD
    UniString(const UniString& other) : UniString(other.GetView()) {}
    UniString(UniString&& other) noexcept : storage(other.storage) { other.storage = Storage{}; }
    ~UniString() { ReleaseBlock(); }

    UniString& operator=(const UniString& other);
    UniString& operator=(UniString&& other) noexcept;

    /// The text that \p text is in UTF-8; damaged bytes become U+FFFD.
    static UniString FromUtf8(std::string_view text);

    /// The text that \p format and \p args make, by the rules of FormatText.
    template <typename... Args>
    static UniString Printf(const char* format, const Args&... args) {
        const std::array<FormatArgument, sizeof...(Args)> arguments{FormatArgument(args)...};
        return FormatText(format, arguments);
    }

    /// The text of the \p length units whose bytes begin at \p bytes, in the other byte order when \p swapped.
    static UniString FromUnits(const char* bytes, std::size_t length, bool swapped);

    std::size_t GetLength() const noexcept { return IsLong() ? storage.large.length : storage.small.length; }
    bool IsEmpty() const noexcept { return GetLength() == 0; }

    /// The units; valid until the text is changed or moved from.
    std::u16string_view GetView() const noexcept { return {ToUStr(), GetLength()}; }
    operator std::u16string_view() const noexcept { return GetView(); }

    /// The units, then a zero; valid until the text is changed or moved from.
    const char16_t* ToUStr() const noexcept { return IsLong() ? storage.large.block : storage.small.units; }

    /// The text in the system code page, UTF-8; U+FFFD for a lone surrogate.
    std::string ToCStr() const;

    /// The text as the argument of a "%T".
    const UniString& ToPrintf() const noexcept { return *this; }

    /// The unit at position \p at, from 0 to the length, where a zero stands.
    char16_t operator[](std::size_t at) const noexcept { return ToUStr()[at]; }

    UniString& Append(std::u16string_view text);
    UniString& Append(const char* utf8) { return Append(UniString(utf8).GetView()); }
    UniString& Append(char16_t unit) { return Append(std::u16string_view(&unit, 1)); }
    UniString& operator+=(std::u16string_view text) { return Append(text); }
    UniString& operator+=(const char* utf8) { return Append(utf8); }
    UniString& operator+=(char16_t unit) { return Append(unit); }

    /// Makes room for \p length units, so that the text can become that long without another allocation.
    void Reserve(std::size_t length);

    /// Keeps the first \p length units, all when there are fewer. May leave half of a surrogate pair.
    void Truncate(std::size_t length) noexcept;

    /// Replaces the unit at position \p at; a position behind the text changes nothing.
    void SetCharacter(std::size_t at, char16_t unit) noexcept;

    /// Makes the text empty and gives its memory back.
    void Clear() noexcept;

    /// The upper-case form, which has the same length.
    UniString ToUpper() const;

    /// Whether the texts, or with CaseInsensitive their upper-case forms, are equal.
    bool IsEqual(const UniString& other, CaseComparison comparison) const noexcept;

    /// Order of the texts, or with CaseInsensitive of their upper-case forms, by code point.
    /// \returns 0 when this one comes before \p other, 1 when they are equal, 2 when it comes after.
    int Compare(const UniString& other, CaseComparison comparison) const noexcept;

    /// Exact equality, unit by unit.
    friend bool operator==(const UniString& a, const UniString& b) noexcept { return a.Holds(b.GetView()); }
    friend bool operator==(const UniString& a, std::u16string_view b) noexcept { return a.Holds(b); }
    friend bool operator==(const UniString& a, const char16_t* b) noexcept { return a.Holds(std::u16string_view(b)); }

private:
    static constexpr std::size_t SmallCapacity = 10;
    static constexpr std::uint16_t LongMark = 0xFFFF;

    // Both kinds begin with the same 16 bits, so that either may be asked which one it is.
    struct Small {
        std::uint16_t length;   // 0 to SmallCapacity
        char16_t units[SmallCapacity + 1];
    };
    struct Large {
        std::uint16_t mark;   // LongMark
        std::uint32_t length;
        std::uint32_t capacity;   // units without the zero
        char16_t* block;
    };
    union Storage {
        Small small;
        Large large;
    };

    // Text of the given length with units to be filled in; the zero is there.
    static UniString WithLength(std::size_t length);

    bool IsLong() const noexcept { return storage.small.length == LongMark; }
    std::size_t GetCapacity() const noexcept { return IsLong() ? storage.large.capacity : SmallCapacity; }
    char16_t* GetUnits() noexcept { return IsLong() ? storage.large.block : storage.small.units; }
    void SetLength(std::size_t length) noexcept;
    bool Holds(std::u16string_view text) const noexcept;
    void ReleaseBlock() noexcept {
        if (IsLong())
            delete[] storage.large.block;
    }

    Storage storage;

    friend KEST_API UniString operator+(const UniString& left, std::u16string_view right);
};

static_assert(sizeof(UniString) == 24);

/// Both texts, one behind the other, in a block that fits exactly.
KEST_API UniString operator+(const UniString& left, std::u16string_view right);
inline UniString operator+(const UniString& left, const char* utf8) {
    return left + UniString(utf8).GetView();
}
inline UniString operator+(const UniString& left, char16_t unit) {
    return left + std::u16string_view(&unit, 1);
}

/// Writes the text as UTF-8.
KEST_API std::ostream& operator<<(std::ostream& stream, const UniString& text);

}   // namespace Kest

template <>
struct std::hash<Kest::UniString> {
    std::size_t operator()(const Kest::UniString& text) const noexcept { return Kest::HashOf(text.GetView()); }
};
