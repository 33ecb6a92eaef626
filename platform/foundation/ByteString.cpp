#include <Kest/ByteString.hpp>

#include <Kest/CaseMapping.hpp>
#include <Kest/Utf8.hpp>

#include <cstddef>
#include <cstring>
#include <string_view>

namespace {

std::string_view ViewOf(const char* text, int length) {
    if (text == nullptr)
        return {};
    return length < 0 ? std::string_view(text) : std::string_view(text, static_cast<std::size_t>(length));
}

// Order of the upper-case forms by code point: negative, 0 or positive.
int CompareFolded(std::string_view a, std::string_view b) {
    std::size_t inA = 0;
    std::size_t inB = 0;
    while (inA < a.size() && inB < b.size()) {
        const char32_t fromA = Kest::ToUpperSimple(Kest::DecodeUtf8(a, inA));
        const char32_t fromB = Kest::ToUpperSimple(Kest::DecodeUtf8(b, inB));
        if (fromA != fromB)
            return fromA < fromB ? -1 : 1;
    }
    return static_cast<int>(inA < a.size()) - static_cast<int>(inB < b.size());
}

// The greatest number of bytes, at most \p limit, after which \p text can be cut without cutting a character.
std::size_t WholeCharacters(std::string_view text, std::size_t limit) {
    if (text.size() <= limit)
        return text.size();
    const std::size_t longestPart = 3;   // a character has at most four bytes
    for (std::size_t back = 1; back <= longestPart && back <= limit; ++back) {
        std::size_t position = limit - back;
        const bool isContinuation = (static_cast<unsigned char>(text[position]) & 0xC0) == 0x80;
        if (isContinuation)
            continue;
        Kest::DecodeUtf8(text, position);
        return position > limit ? limit - back : limit;
    }
    return limit;
}

}   // namespace

void CHCopyC(const char* from, char* to) {
    if (to == nullptr)
        return;
    if (from == nullptr)
        *to = 0;
    else
        std::memmove(to, from, std::strlen(from) + 1);
}

int CHTruncate(const char* from, char* to, int size) {
    if (from == nullptr || to == nullptr || size < 1)
        return 0;
    // A long text is not measured: whether the character at the cut is whole shows within four bytes.
    const auto limit = static_cast<std::size_t>(size) - 1;
    const std::size_t seen = limit + 4;
    const void* const end = std::memchr(from, 0, seen);
    const std::size_t length = end != nullptr ? static_cast<std::size_t>(static_cast<const char*>(end) - from) : seen;
    const std::size_t fitting = WholeCharacters(std::string_view(from, length), limit);
    std::memmove(to, from, fitting);
    to[fitting] = 0;
    return static_cast<int>(fitting);
}

bool CHEqualCStrings(const char* a, const char* b, int caseType, int /*charCode*/) {
    const std::string_view first = ViewOf(a, -1);
    const std::string_view second = ViewOf(b, -1);
    return caseType == CHCaseExact ? first == second : CompareFolded(first, second) == 0;
}

int CHCompareTexts(const char* a, int aLength, const char* b, int bLength, int /*caseType*/, int /*charCode*/) {
    return CompareFolded(ViewOf(a, aLength), ViewOf(b, bLength)) + 1;
}
