#pragma once

/// \file
/// What the plug-in and the program that loads it have agreed on: the kind's number and four functions.

namespace ADB {
class GeneralAttribute;
}

namespace Consumer {

inline constexpr unsigned int StickerRefId = 0x53544B52;   // 'STKR'

/// An empty attribute of the plug-in's kind, owned by the caller.
using MakeFunction = ADB::GeneralAttribute* (*)();

/// Throws an ADB::AttributeMemoryFullException.
using ThrowFunction = void (*)();

/// Calls its argument. \returns the code of the ADB::AttributeManagerException that came out of it, 0 if none did
using CatchFunction = int (*)(ThrowFunction);

}   // namespace Consumer
