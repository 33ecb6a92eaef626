#include "Number.hpp"

#include "ReadError.hpp"
#include "TextLines.hpp"

#include <charconv>
#include <system_error>

namespace Host {

namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

/// \p text without the plus sign that a number may have, and std::from_chars does not take.
std::string_view WithoutPlus(std::string_view text) {
    if (text.size() > 1 && text.front() == '+' && (IsDigit(text[1]) || text[1] == '.'))
        text.remove_prefix(1);
    return text;
}

/// Keeps out the words for infinity and for no number at all.
bool LooksLikeNumber(std::string_view text) {
    if (!text.empty() && text.front() == '-')
        text.remove_prefix(1);
    return !text.empty() && (IsDigit(text.front()) || text.front() == '.');
}

template <class Value>
Value Parse(std::string_view text, std::size_t line, std::string_view what, const char* kind) {
    const std::string subject(what);
    if (text.empty())
        throw ReadError(line, subject + " is missing: put it in or save the file again");

    const std::string_view digits = WithoutPlus(text);
    const char* const end = digits.data() + digits.size();
    Value value = 0;
    const std::from_chars_result result = std::from_chars(digits.data(), end, value);
    if (result.ec == std::errc::result_out_of_range)
        throw ReadError(line, subject + " is too large or too small, " + Quoted(text) + ": correct it");
    if (result.ec != std::errc() || result.ptr != end || !LooksLikeNumber(digits))
        throw ReadError(line,
                        subject + " must be " + kind + ", not " + Quoted(text) + ": correct it or save the file again");
    return value;
}

}   // namespace

Number ParseNumber(std::string_view text, std::size_t line, std::string_view what) {
    const std::string_view trimmed = Trimmed(text);
    return {Parse<double>(trimmed, line, what, "a number"), std::string(trimmed)};
}

int ParseInteger(std::string_view text, std::size_t line, std::string_view what) {
    return Parse<int>(Trimmed(text), line, what, "a whole number");
}

}   // namespace Host
