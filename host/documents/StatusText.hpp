#pragma once

#include <string>

#include <Kest/UniString.hpp>

namespace Host {

/// What the library's code \p code, other than 0, means to the user of a document: half a sentence.
std::string TextOfStatus(int code);

/// The library's message \p message as a part of one of our own: its first line, without the full stop.
std::string TextOfMessage(const Kest::UniString& message);

}   // namespace Host
