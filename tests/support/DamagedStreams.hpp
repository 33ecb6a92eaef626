#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <Kest/ByteOrder.hpp>
#include <Kest/Crc32c.hpp>
#include <Kest/Frames.hpp>

/// The bytes of a fixture: two hexadecimal digits each, anything between them passed over.
inline std::string FromHex(std::string_view text) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string bytes;
    std::size_t count = 0;
    for (const char sign : text) {
        const std::size_t value = digits.find(sign);
        if (value == digits.npos)
            continue;
        if (count++ % 2 == 0)
            bytes.push_back(static_cast<char>(value << 4));
        else
            bytes.back() = static_cast<char>(bytes.back() | static_cast<char>(value));
    }
    return bytes;
}

inline std::string ToHex(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += "0123456789ABCDEF"[value >> 4];
        text += "0123456789ABCDEF"[value & 15];
    }
    return text;
}

/// For each byte of a fixture whether it stands between "[" and "]".
inline std::vector<bool> MarkedBytes(std::string_view text) {
    std::vector<bool> marked;
    bool isMarked = false;
    std::size_t digits = 0;
    for (const char sign : text) {
        if (sign == '[' || sign == ']')
            isMarked = sign == '[';
        else if (sign != ' ' && digits++ % 2 == 0)
            marked.push_back(isMarked);
    }
    return marked;
}

/// How streams are damaged: as they are, or with the length and checksum of the outermost frame put right, so that the
/// readers' inner checks are reached.
enum class Damage { Plain, Repaired };

/// \p frame, one sealed frame, with its length and checksum put right.
inline std::string Sealed(std::string frame, Kest::PlatformSign platform = Kest::PlatformSign::LittleEndian) {
    constexpr std::size_t sealSize = sizeof(std::uint32_t);
    constexpr std::size_t lengthSize = sizeof(std::uint64_t);
    const bool swapped = Kest::HasOtherByteOrder(platform);
    const std::size_t covered = frame.size() - sealSize;
    Kest::StoreNumber(frame.data() + Kest::FrameHeaderSize - lengthSize, std::uint64_t{covered - Kest::FrameHeaderSize},
                      swapped);
    Kest::StoreNumber(frame.data() + covered, Kest::Crc32c(0, frame.data(), covered), swapped);
    return frame;
}

/// Calls \p call with each beginning of \p frame, one sealed frame.
template <class Call>
void ForEachTruncation(const std::string& frame, Damage damage, Kest::PlatformSign platform, Call&& call) {
    constexpr std::size_t sealSize = sizeof(std::uint32_t);
    const bool repairs = damage == Damage::Repaired;
    for (std::size_t size = repairs ? Kest::FrameHeaderSize : 0; size + (repairs ? sealSize : 0) < frame.size(); ++size)
        call(repairs ? Sealed(frame.substr(0, size) + std::string(sealSize, '\0'), platform) : frame.substr(0, size));
}

/// Calls \p call with \p frame, one sealed frame, once for each of its bits with that bit flipped, and with the
/// position of the byte. When damage is repaired, the bits of length and checksum are left out.
template <class Call>
void ForEachBitFlip(const std::string& frame, Damage damage, Kest::PlatformSign platform, Call&& call) {
    for (std::size_t position = 0; position < frame.size(); ++position)
        for (int bit = 0; bit < 8; ++bit) {
            std::string damaged = frame;
            damaged[position] = static_cast<char>(damaged[position] ^ 1 << bit);
            if (damage == Damage::Repaired)
                damaged = Sealed(std::move(damaged), platform);
            if (damaged != frame)
                call(damaged, position);
        }
}

#if defined(__SANITIZE_ADDRESS__)
constexpr bool IsSanitized = true;
#elif defined(__has_feature)
constexpr bool IsSanitized = __has_feature(address_sanitizer);
#else
constexpr bool IsSanitized = false;
#endif

/// Which of very many cases run: all of them; with sanitizers one in sixteen, drawn from a seed that is printed.
class CaseDraw {
public:
    CaseDraw() {
        if (IsSanitized)
            std::printf("cases drawn from seed %u\n", seed);
    }
    bool Takes() { return !IsSanitized || random() % 16 == 0; }

private:
    const unsigned int seed = std::random_device()();
    std::mt19937 random{seed};
};

constexpr std::size_t SealMark = 18;   // where the flags of the outermost frame begin, the seal's first

/// Calls \p call with all that truncations and flipped bits make of \p frame, one sealed little-endian frame, plain and
/// repaired; with whether the checksum tells of the damage, and with the place of it.
template <class Call>
void ForEachDamage(const std::string& frame, Call&& call) {
    CaseDraw draw;
    for (const Damage damage : {Damage::Plain, Damage::Repaired}) {
        const auto drawn = [&](const std::string& damaged, std::size_t position) {
            const bool isSealed = damaged.size() <= SealMark || (damaged[SealMark] & 1) != 0;
            if (draw.Takes())
                call(damaged, damage == Damage::Plain && isSealed, position);
        };
        ForEachTruncation(frame, damage, Kest::PlatformSign::LittleEndian,
                          [&](const std::string& damaged) { drawn(damaged, damaged.size()); });
        ForEachBitFlip(frame, damage, Kest::PlatformSign::LittleEndian, drawn);
    }
}

/// Calls \p call with each beginning of \p text, a document, and with it when one byte is another, and with the place.
template <class Call>
void ForEachTextDamage(const std::string& text, Call&& call) {
    CaseDraw draw;
    for (std::size_t position = 0; position < text.size(); ++position) {
        if (draw.Takes())
            call(text.substr(0, position), position);
        for (const char byte : {'<', '&', '0', '\0', '\xFF'})
            if (text[position] != byte && draw.Takes())
                call(std::string(text).replace(position, 1, 1, byte), position);
    }
}

/// Whether of each group of lines, which their first word tells, none is there or as many as in \p whole.
inline bool HasWholeGroups(const std::vector<std::string>& lines, const std::vector<std::string>& whole) {
    return std::all_of(lines.begin(), lines.end(), [&](const std::string& line) {
        const auto isOfGroup = [group = line.substr(0, line.find(' ') + 1)](const std::string& other) {
            return other.starts_with(group);
        };
        return std::count_if(lines.begin(), lines.end(), isOfGroup) ==
               std::count_if(whole.begin(), whole.end(), isOfGroup);
    });
}
