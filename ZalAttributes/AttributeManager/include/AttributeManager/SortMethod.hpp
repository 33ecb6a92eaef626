#pragma once

namespace ADB {

/// What a walk over attributes is sorted by. Any other value: not at all, the order of the links.
enum SortMethod : int {
    Unsorted = 0,      ///< the order of the links
    SortByName = 1,    ///< letter case ignored; names equal but for letter case in no guaranteed order
    SortByIndex = 2,   ///< as signed numbers
};

/// The direction of a sorted walk. Any value but Ascending: descending.
enum SortOrder : int {
    Ascending = 1,
    Descending = 2,
};

}   // namespace ADB
