#include <Kest/Guid.hpp>

#include "HashSeed.hpp"

#include <atomic>
#include <bit>

namespace Kest {

namespace {

// "{08DE19E5-D6A1-4E65-B87A-550201F72C02}"
constexpr std::size_t TextLength = 38;

constexpr bool IsHyphenAt(std::size_t at) noexcept {
    return at == 9 || at == 14 || at == 19 || at == 24;
}

constexpr int ValueOfDigit(char digit) noexcept {
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    const int lower = digit | 0x20;
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

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
    Guid parsed;
    for (std::size_t at = 1; at + 1 < TextLength; ++at) {
        if (IsHyphenAt(at)) {
            if (text[at] != '-')
                return false;
            continue;
        }
        const int value = ValueOfDigit(text[at]);
        if (value < 0)
            return false;
        parsed.high = parsed.high << 4 | parsed.low >> 60;
        parsed.low = parsed.low << 4 | static_cast<std::uint64_t>(value);
    }
    guid = parsed;
    return true;
}

std::string Guid::ToText() const {
    std::string text(TextLength, '-');
    text.front() = '{';
    text.back() = '}';
    Guid rest = *this;
    for (std::size_t at = TextLength - 2; at > 0; --at) {
        if (IsHyphenAt(at))
            continue;
        text[at] = "0123456789ABCDEF"[rest.low & 0xF];
        rest.low = rest.low >> 4 | rest.high << 60;
        rest.high >>= 4;
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
