#pragma once

#include <cstddef>

namespace Host {

/// What became of the attributes that were brought into a set: each is counted once.
struct ImportCounts {
    std::size_t added = 0;       ///< stored under its own name
    std::size_t reused = 0;      ///< not stored: there is one like it
    std::size_t renamed = 0;     ///< stored under a numbered name, its own being taken
    std::size_t completed = 0;   ///< took the place of one that was known by name only
};

/// The most attributes of one kind that a set holds.
constexpr unsigned int MostAttributes = 32766;

}   // namespace Host
