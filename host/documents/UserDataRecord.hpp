#pragma once

#include <cstddef>
#include <string>

#include <ZalUtil/Owner.hpp>

#include <AttributeManager/GeneralAttribute.hpp>

namespace Host {

/// A copy of the record of user data that an owner has attached to an attribute; there may be none.
class UserDataRecord {
public:
    /// \throws std::bad_alloc
    UserDataRecord(const ADB::GeneralAttribute& attribute, const ZalUtil::Owner& owner);
    ~UserDataRecord();
    UserDataRecord(const UserDataRecord&) = delete;
    UserDataRecord& operator=(const UserDataRecord&) = delete;

    bool IsThere() const noexcept { return data != nullptr; }
    short GetVersion() const noexcept { return version; }
    unsigned int GetFlags() const noexcept { return flags; }
    std::size_t GetSize() const;
    /// Of the data.
    unsigned int GetChecksum() const;

    /// Whether both are there or neither, and all but the versions is equal.
    bool HasSameContent(const UserDataRecord& other) const;

private:
    unsigned short platform = 0;
    short version = 0;
    unsigned int flags = 0;
    char** data = nullptr;
};

/// The owner as its two four-character codes, "HOST/LAYR", or in hexadecimal where they are none.
std::string TextOf(const ZalUtil::Owner& owner);

}   // namespace Host
