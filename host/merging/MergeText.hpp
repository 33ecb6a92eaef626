#pragma once

#include "MergedInput.hpp"

#include <span>
#include <string>

namespace Host {

/// A merged input and the name of its file, UTF-8.
struct NamedInput {
    std::string path;
    const MergedInput* input;
};

/// For people: the counts of each client, and a line for each attribute that the client had made and that has another
/// name now, and for each one that has another index. The server, which comes first, is there when it has such.
std::string TextOfMerge(std::span<const NamedInput> inputs);

/// The old and the new index of each attribute of an input that has another one now, as tab-separated values with a
/// line of column names: the file, the kind, the old index, the new one, the present name.
std::string TableOfMerge(std::span<const NamedInput> inputs);

}   // namespace Host
