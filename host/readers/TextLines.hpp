#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Host {

/// Walks the lines of a text. A line ends with LF, CR LF or CR, each line for itself; the last may end with the text.
class TextLines {
public:
    /// \param text  must outlive the walk and every line it gives
    explicit TextLines(std::string_view text) : rest(text) {}

    /// Gives the next line, without its end. \returns false, with \p line untouched, when there is none
    bool Next(std::string_view& line);

    /// Number of lines given, which is the number of the last one, counted from 1.
    std::size_t GetCount() const noexcept { return count; }

    /// Whether only blanks and line ends are left.
    bool IsRestBlank() const noexcept;

private:
    std::string_view rest;
    std::size_t count = 0;
};

/// \p text without the blanks and tabs around it.
std::string_view Trimmed(std::string_view text) noexcept;

/// Whether the two texts are equal, the case of ASCII letters ignored.
bool EqualsIgnoringCase(std::string_view left, std::string_view right) noexcept;

/// \p text between quotation marks for a message: cut after 40 bytes, everything but printable ASCII shown as '?'.
std::string Quoted(std::string_view text);

}   // namespace Host
