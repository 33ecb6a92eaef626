#include <Kest/ByteSink.hpp>

#include <Kest/ChannelStatus.hpp>

#include <exception>
#include <utility>

namespace Kest {

IByteSink::~IByteSink() = default;

StringSink::StringSink() noexcept = default;
StringSink::~StringSink() = default;

int StringSink::Write(const char* bytes, std::size_t size) {
    try {
        text.append(bytes, size);
        return ChannelStatus::None;
    } catch (const std::exception&) {   // no memory, or more than a text can hold
        return ChannelStatus::MemoryFull;
    }
}

int StringSink::Finish() {
    return ChannelStatus::None;
}

std::string StringSink::TakeText() noexcept {
    return std::exchange(text, std::string());
}

}   // namespace Kest
