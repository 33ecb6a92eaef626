#pragma once

namespace ADB {

/// The codes that the library's operations return: 0 when all went well. A look-up that finds nothing answers null or 0
/// instead; a code means that something was asked for and not done.
namespace Error {

/// The code whose 32 bits are \p bits.
constexpr int FromBits(unsigned int bits) noexcept {
    return static_cast<int>(bits);
}

/// Hosts store and compare these numbers: they never change.
enum Code : int {
    None = 0,
    MemoryFull = -108,                     ///< an object, a copy or a free index could not be had
    NullArgument = -7001,                  ///< a required pointer or reference is null
    WrongCall = -7003,                     ///< an object of the wrong kind, or data that cannot be stored or converted
    UnknownType = FromBits(0x812C0000),    ///< no container for the attribute type id
    EmptyName = FromBits(0x812C0001),      ///< the attribute name is empty
    NoSuchIndex = FromBits(0x812C0003),    ///< no attribute with that index, or an index that cannot be used
    NoSuchName = FromBits(0x812C0004),     ///< no attribute with that name
    Reserved = FromBits(0x812C0005),       ///< counts as NoSuchName where a look-up's code is tested; never returned
    NotLoadable = FromBits(0x812C0006),    ///< the attribute is known but its object is not available
    RenameClash = FromBits(0x812C0007),    ///< SetName: another attribute of the container has the name
    ReindexClash = FromBits(0x812C0008),   ///< SetIndex: another attribute of the container has the index
    NameUsed = FromBits(0x812C000A),       ///< the set holds another attribute of that name
    NoSortRule = FromBits(0x812C000D),     ///< no sort or filter function for the sort rule
    NoSuchSet = FromBits(0x812C000E),      ///< no attribute set with that set index
    EmptySet = FromBits(0x812C000F),       ///< the set index is registered but holds no set
    SetNotRegistered = FromBits(0x812C0011),   ///< the attribute set is not registered
    ForeignAttribute = FromBits(0x812C0014),   ///< unusable reference, or an attribute of another container
};

}   // namespace Error

}   // namespace ADB
