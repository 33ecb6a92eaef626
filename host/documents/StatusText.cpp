#include "StatusText.hpp"

#include "output/SafeText.hpp"

#include <algorithm>

#include <Kest/ChannelStatus.hpp>

#include <AttributeManager/AttributeErrors.hpp>

namespace Host {

std::string TextOfStatus(int code) {
    switch (code) {
    case Kest::ChannelStatus::MemoryFull:
        return "there is not enough memory";
    case Kest::ChannelStatus::EndOfData:
        return "it ends too early";
    case Kest::ChannelStatus::Damaged:
        return "it is damaged";
    case Kest::ChannelStatus::WrongClass:
        return "something else stands in it";
    case Kest::ChannelStatus::ReadFailed:
        return "it cannot be opened or read";
    case Kest::ChannelStatus::WriteFailed:
        return "it cannot be written";
    case Kest::ChannelStatus::TooLarge:
        return "it would be too large";
    case ADB::Error::WrongCall:
        return "a part of it cannot be taken";
    case ADB::Error::UnknownType:
        return "it has attributes of an unknown kind";
    default:
        return "it is refused with code " + std::to_string(code);
    }
}

std::string TextOfMessage(const Kest::UniString& message) {
    std::string text = message.ToCStr();
    text.erase(std::min(text.find('\n'), text.size()));
    if (text.ends_with('.'))
        text.pop_back();
    return EscapeForMessage(text);
}

}   // namespace Host
