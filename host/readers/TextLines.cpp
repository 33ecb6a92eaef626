#include "TextLines.hpp"

#include <algorithm>

namespace Host {

namespace {

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

bool IsLineEnd(char c) {
    return c == '\n' || c == '\r';
}

char ToLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}   // namespace

bool TextLines::Next(std::string_view& line) {
    if (rest.empty())
        return false;

    const auto end = std::find_if(rest.begin(), rest.end(), IsLineEnd);
    const std::size_t length = static_cast<std::size_t>(end - rest.begin());
    line = rest.substr(0, length);
    rest.remove_prefix(length);
    if (!rest.empty())
        rest.remove_prefix(rest.starts_with("\r\n") ? 2 : 1);
    ++count;
    return true;
}

bool TextLines::IsRestBlank() const noexcept {
    return std::all_of(rest.begin(), rest.end(), [](char c) { return IsBlank(c) || IsLineEnd(c); });
}

std::string_view Trimmed(std::string_view text) noexcept {
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

bool EqualsIgnoringCase(std::string_view left, std::string_view right) noexcept {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return ToLower(a) == ToLower(b); });
}

std::string Quoted(std::string_view text) {
    constexpr std::size_t MaxShown = 40;
    std::string quoted = "\"";
    for (const char c : text.substr(0, MaxShown))
        quoted += c >= ' ' && c <= '~' ? c : '?';
    return quoted + (text.size() > MaxShown ? "...\"" : "\"");
}

}   // namespace Host
