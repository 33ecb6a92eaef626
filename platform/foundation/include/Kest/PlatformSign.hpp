#pragma once

namespace Kest {

/// Which kind of system wrote a stream, which settles the byte order of its numbers and the character set of its bytes.
/// A sign that is none of these counts as LittleEndian.
enum class PlatformSign : unsigned short {
    Unknown = 0,
    LittleEndian = 0x5757,   ///< our own: least significant byte first, text in the system code page
    BigEndian = 0x4D4D,      ///< most significant byte first, text in that system's own 8-bit character set
};

}   // namespace Kest
