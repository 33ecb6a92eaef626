#pragma once

#include "TextLines.hpp"

#include <cstddef>
#include <string_view>

namespace Host {

/// The smallest part of a drawing in text form: a line with a code that says what the next line, the value, means.
struct DxfGroup {
    int code = 0;             ///< -32768 to 32767
    std::string_view value;   ///< with the blanks around it: they belong to texts
    std::size_t line = 0;     ///< of the value, counted from 1

    /// Whether the group has \p wantedCode and the value is \p word, blanks around it ignored.
    bool Is(int wantedCode, std::string_view word) const { return code == wantedCode && Trimmed(value) == word; }
};

/// Walks the groups of a drawing and passes over its comments, the groups 999.
class DxfGroups {
public:
    /// \param bytes  must outlive the walk and every group it gives
    explicit DxfGroups(std::string_view bytes) : lines(bytes) {}

    /// Goes to the next group. \returns false when there is none, a code that has lost its value left aside
    /// \throws ReadError when there is something else where the group code should be
    bool Next();

    /// The group that the walk has come to.
    const DxfGroup& Get() const noexcept { return group; }

    /// Number of the last line walked, counted from 1.
    std::size_t GetLine() const noexcept { return lines.GetCount(); }

private:
    TextLines lines;
    DxfGroup group;
};

}   // namespace Host
