#pragma once

#include <cstddef>
#include <cstdint>

#include <Kest/OChannel.hpp>

namespace ADB {

/// While attributes are written: the first ones tell what the others will take, and room for these is made at once.
class SizeForecast {
public:
    /// \param total the number of attributes that will be written
    SizeForecast(Kest::OChannel& target, std::size_t total) noexcept
        : channel(target),
          toCome(total),
          start(target.GetPosition()) {}

    /// \p count more attributes have been written.
    void Count(std::size_t count) noexcept {
        written += count;
        if (!isDone && written >= SampleSize && written < toCome) {
            isDone = true;
            const auto each = static_cast<std::size_t>((channel.GetPosition() - start) / written) + 1;
            channel.Expect((toCome - written) * (each + each / Slack));
        }
    }

private:
    static constexpr std::size_t SampleSize = 16;
    static constexpr std::size_t Slack = 16;   // the part of the guess that is added

    Kest::OChannel& channel;
    std::size_t toCome;
    std::uint64_t start;
    std::size_t written = 0;
    bool isDone = false;
};

}   // namespace ADB
