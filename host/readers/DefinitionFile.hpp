#pragma once

#include "ReadError.hpp"
#include "TextDecoding.hpp"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Host {

/// A line of a definition without its comment and the blanks around it; never empty.
struct DefinitionLine {
    std::size_t number = 0;   ///< counted from 1
    std::string_view text;    ///< a part of the file's bytes
};

/// A head `*NAME,description` and the lines below it, up to the next head.
struct Definition {
    std::size_t line = 0;   ///< of the head
    std::u16string name;    ///< never empty
    std::u16string description;
    std::vector<DefinitionLine> body;
};

/// The form that line-type files and pattern files share. `;` begins a comment, except in a head and in quotes.
struct DefinitionFile {
    TextDecoder decoder;                   ///< of the file: UTF-8 or, when that is not valid, Windows-1252
    std::vector<Definition> definitions;   ///< in file order, at least one

    /// The decoder's complaint, or nothing.
    std::vector<ReadWarning> Warnings() const;
};

/// Takes \p bytes apart; they must outlive the result.
/// \param kind  what the file should be, for messages: "line-type file (.lin)"
/// \throws ReadError when the file holds no definition, or something ahead of the first
DefinitionFile SplitDefinitions(std::string_view bytes, std::string_view kind);

/// The parts of \p text between commas, those in brackets and quotes left alone, without the blanks around them.
std::vector<std::string_view> SplitAtCommas(std::string_view text);

}   // namespace Host
