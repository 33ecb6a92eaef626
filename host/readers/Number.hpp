#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Host {

/// A decimal number together with its spelling, so that a list shows what the file says and not what is left of it
/// after rounding.
struct Number {
    double value = 0;         ///< finite
    std::string text = "0";   ///< as written, blanks around it removed: digits, sign, point and exponent only

    /// Equal in value: two spellings of one number are the same number.
    friend bool operator==(const Number& left, const Number& right) { return left.value == right.value; }
};

/// The decimal number that \p text spells, blanks around it ignored.
/// \param what  names the number in the message, "the dash length"
/// \throws ReadError with \p line when \p text is no number, or one that a double cannot hold
Number ParseNumber(std::string_view text, std::size_t line, std::string_view what);

/// The whole number that \p text spells, blanks around it ignored, from -2^31 to 2^31 - 1.
/// \throws ReadError with \p line when \p text is no such number
int ParseInteger(std::string_view text, std::size_t line, std::string_view what);

}   // namespace Host
