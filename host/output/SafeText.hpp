#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// \file
/// Text from files, made fit for a terminal or another program. Names in drawings can hold anything at all.
namespace Host {

/// UTF-8 for tab-separated output: `\t`, `\n`, `\r`, `\\`; other control characters and lone surrogates are `\xHH` for
/// each byte that they have in UTF-8. Nothing is lost.
std::string EscapeForTsv(std::u16string_view text);

/// UTF-8 for people: control characters, those that change the direction of text included, lone surrogates and line
/// separators become U+FFFD. Has no line end and cannot steer a terminal.
std::string ReplaceControls(std::u16string_view text);

/// A JSON string with its quotation marks, in UTF-8: control characters and lone surrogates are `\uXXXX`.
std::string QuoteForJson(std::u16string_view text);

/// \p bytes, such as a file name, for a message: control characters and what is not UTF-8 are `\xHH`.
std::string EscapeForMessage(std::string_view bytes);

/// How many columns of a terminal the UTF-8 text \p text takes, about: two for East Asian characters, none for marks
/// that combine.
std::size_t GetDisplayWidth(std::string_view text);

/// The longest front part of the UTF-8 text \p text that takes at most \p width columns, without a character cut.
std::string_view CutToWidth(std::string_view text, std::size_t width);

}   // namespace Host
