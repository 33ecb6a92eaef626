#include "UserDataRecord.hpp"

#include <algorithm>
#include <cstring>
#include <new>

#include <Kest/Crc32c.hpp>
#include <Kest/MemoryHandle.hpp>
#include <Kest/UniString.hpp>

namespace Host {

UserDataRecord::UserDataRecord(const ADB::GeneralAttribute& attribute, const ZalUtil::Owner& owner) {
    if (attribute.GetUserData(owner.id1, owner.id2, &platform, &version, &flags, &data) != 0)
        throw std::bad_alloc();
}

UserDataRecord::~UserDataRecord() {
    BMKillHandle(&data);
}

std::size_t UserDataRecord::GetSize() const {
    return data != nullptr ? static_cast<std::size_t>(BMGetHandleSize(data)) : 0;
}

unsigned int UserDataRecord::GetChecksum() const {
    const std::size_t size = GetSize();
    return Kest::Crc32c(0, size != 0 ? *data : nullptr, size);
}

bool UserDataRecord::HasSameContent(const UserDataRecord& other) const {
    if (!IsThere() || !other.IsThere())
        return IsThere() == other.IsThere();
    const std::size_t size = GetSize();
    return platform == other.platform && flags == other.flags && size == other.GetSize() &&
           (size == 0 || std::memcmp(*data, *other.data, size) == 0);
}

std::string TextOf(const ZalUtil::Owner& owner) {
    const auto codeText = [](unsigned int code) {
        std::string text;
        for (int shift = 24; shift >= 0; shift -= 8)
            text += static_cast<char>(code >> shift & 0xFF);
        const bool isText = std::ranges::all_of(text, [](char c) { return c > ' ' && c < 0x7F; });
        return isText ? text : Kest::UniString::Printf("0x%08x", code).ToCStr();
    };
    return codeText(owner.id1) + '/' + codeText(owner.id2);
}

}   // namespace Host
