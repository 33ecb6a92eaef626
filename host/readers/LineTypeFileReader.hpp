#pragma once

#include "LineTypeElements.hpp"
#include "Number.hpp"
#include "ReadError.hpp"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Host {

/// A line type of a line-type file.
struct FileLineType {
    std::size_t line = 0;   ///< where its head stands, counted from 1
    std::u16string name;    ///< never empty
    std::u16string description;
    std::vector<Number> elements;   ///< dashes above 0, gaps below, dots 0; never empty
    std::vector<LineTypeSymbol> symbols;
};

/// What a line-type file holds, in file order. Names may repeat.
struct LineTypeFile {
    std::vector<FileLineType> lineTypes;
    std::vector<ReadWarning> warnings;
};

/// Reads a line-type file (.lin): per line type a head `*NAME,description` and a definition
/// `A,0.5,-.25,["GAS",STANDARD,S=.1,R=0,X=-0.1,Y=-.05],-.25`; `;` begins a comment. A definition that ends with a
/// comma goes on in the next line. The bytes are UTF-8 or, when they are not valid UTF-8, Windows-1252.
/// \throws ReadError when this is no such file, when it defines nothing or when any part of it is damaged
LineTypeFile ReadLineTypeFile(std::string_view bytes);

}   // namespace Host
