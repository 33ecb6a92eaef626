#include <Kest/Guid.hpp>

#include "HashSeed.hpp"

#include <atomic>
#include <bit>

namespace Kest {

namespace {

// "{08DE19E5-D6A1-4E65-B87A-550201F72C02}"
constexpr std::size_t TextLength = 38;

constexpr std::size_t HyphenPlaces[] = {9, 14, 19, 24};

// Where the two digits of each byte begin.
constexpr std::array<std::size_t, 16> PairPlaces = {1, 3, 5, 7, 10, 12, 15, 17, 20, 22, 25, 27, 29, 31, 33, 35};

// By character; -1 for what is no digit.
constexpr auto DigitValues = [] {
    std::array<std::int8_t, 256> values{};
    values.fill(-1);
    for (int value = 0; value < 16; ++value) {
        values[static_cast<unsigned char>("0123456789ABCDEF"[value])] = static_cast<std::int8_t>(value);
        values[static_cast<unsigned char>("0123456789abcdef"[value])] = static_cast<std::int8_t>(value);
    }
    return values;
}();

constinit std::atomic<Guid::GuidSource> sourceInForce{nullptr};   // null: the default one

// xoshiro256**: 256 bits of state, a few instructions a number.
class RandomSequence {
public:
    RandomSequence() noexcept {
        // Two draws, so that ids of documents that meet later come from more than 64 bits of chance.
        std::uint64_t first = DrawEntropy();
        std::uint64_t second = DrawEntropy();
        state = {NextSplitMix(first), NextSplitMix(second), NextSplitMix(first), NextSplitMix(second)};
    }

    std::uint64_t Next() noexcept {
        const std::uint64_t result = std::rotl(state[1] * 5, 7) * 9;
        const std::uint64_t shifted = state[1] << 17;
        state[2] ^= state[0];
        state[3] ^= state[1];
        state[1] ^= state[2];
        state[0] ^= state[3];
        state[2] ^= shifted;
        state[3] = std::rotl(state[3], 45);
        return result;
    }

private:
    std::array<std::uint64_t, 4> state;
};

}   // namespace

Guid::Guid(const char* text) noexcept {
    if (text != nullptr)
        Parse(text, *this);
}

bool Guid::Parse(std::string_view text, Guid& guid) noexcept {
    if (text.size() != TextLength || text.front() != '{' || text.back() != '}')
        return false;
    for (const std::size_t hyphen : HyphenPlaces)
        if (text[hyphen] != '-')
            return false;
    Bytes bytes{};
    int allDigits = 0;   // negative as soon as one is none
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        const int high = DigitValues[static_cast<unsigned char>(text[PairPlaces[at]])];
        const int low = DigitValues[static_cast<unsigned char>(text[PairPlaces[at] + 1])];
        allDigits |= high | low;
        bytes[at] = static_cast<std::uint8_t>((high & 0xF) << 4 | (low & 0xF));
    }
    if (allDigits < 0)
        return false;
    guid = Guid(bytes);
    return true;
}

std::string Guid::ToText() const {
    std::string text(TextLength, '-');
    text.front() = '{';
    text.back() = '}';
    const Bytes bytes = GetBytes();
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        text[PairPlaces[at]] = "0123456789ABCDEF"[bytes[at] >> 4];
        text[PairPlaces[at] + 1] = "0123456789ABCDEF"[bytes[at] & 0xF];
    }
    return text;
}

Guid Guid::DrawRandom() {
    thread_local RandomSequence sequence;
    const std::uint64_t high = (sequence.Next() & 0xFFFFFFFFFFFF0FFFU) | 0x4000U;              // version 4
    const std::uint64_t low = (sequence.Next() & 0x3FFFFFFFFFFFFFFFU) | 0x8000000000000000U;   // its variant
    return Guid(high, low);
}

Guid Guid::Generate() {
    const GuidSource source = sourceInForce.load(std::memory_order_acquire);
    return source != nullptr ? source() : DrawRandom();
}

void Guid::SetSource(GuidSource source) noexcept {
    sourceInForce.store(source, std::memory_order_release);
}

std::uint32_t HashOf(const Guid& guid) noexcept {
    return FinishHash(MixWord(MixWord(GetHashSeed(), guid.high), guid.low));
}

}   // namespace Kest
