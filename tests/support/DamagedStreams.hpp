#pragma once

#include <cstdint>
#include <cstring>
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
