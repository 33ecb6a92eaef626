#pragma once

#include <Kest/Export.hpp>

#include <cstdint>
#include <string_view>

/// \file
/// Letter case, order and hashes of UTF-16 text.
///
/// Letter case is Unicode's simple upper-casing (Unicode 14.0, all planes), the same everywhere: the locale has no say,
/// nothing is normalised, and no text changes its length ("ß" stays "ß"). Surrogates without a partner stand for
/// themselves. Nothing here allocates.
namespace Kest {

/// The upper-case form of \p codePoint, itself when it has none.
KEST_API char32_t ToUpperSimple(char32_t codePoint) noexcept;

/// Writes the upper-case form of \p text, which has the same length, to \p result; \p result may be the text itself.
KEST_API void ConvertToUpper(std::u16string_view text, char16_t* result) noexcept;

/// Whether the upper-case forms of \p a and \p b are equal.
KEST_API bool IsEqualIgnoringCase(std::u16string_view a, std::u16string_view b) noexcept;

/// Order of the upper-case forms by code point: negative when \p a comes first, 0 when they are equal, else positive.
KEST_API int CompareIgnoringCase(std::u16string_view a, std::u16string_view b) noexcept;

/// Order of the texts as they are by code point: negative when \p a comes first, 0 when they are equal, else positive.
KEST_API int CompareByCodePoint(std::u16string_view a, std::u16string_view b) noexcept;

/// A hash that is equal for texts that are equal ignoring case. It differs from process to process.
KEST_API std::uint32_t HashIgnoringCase(std::u16string_view text) noexcept;

/// A hash of the text as it is. It differs from process to process.
KEST_API std::uint32_t HashOf(std::u16string_view text) noexcept;

}   // namespace Kest
