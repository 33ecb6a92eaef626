#pragma once

namespace Kest {

/// What channels and frames answer with: 0 when all went well. A channel that failed stays failed with its first code.
namespace ChannelStatus {

enum Code : int {
    None = 0,
    MemoryFull = -108,
    WrongCall = -7003,     ///< used in a way that cannot work
    EndOfData = -7101,     ///< fewer bytes are there than were asked for
    Damaged = -7102,       ///< what is there makes no sense, or its checksum is wrong
    WrongClass = -7103,    ///< a frame of another class
    ReadFailed = -7104,    ///< the file cannot be opened or read
    WriteFailed = -7105,   ///< the file cannot be made or written
    TooLarge = -7106,      ///< more than the form can carry
};

}   // namespace ChannelStatus

}   // namespace Kest
