#pragma once

#include <Kest/XMLOChannel.hpp>

#include <ZalUtil/Owner.hpp>

#include <AttributeManager/Export.hpp>

namespace ADB {

/// A module's way to write its user data as XML rather than as bytes.
class ADB_API IRegDataWriter {
public:
    /// Whether this writer writes the record of \p owner with these \p length bytes of data.
    virtual bool IsHandled(const ZalUtil::Owner& owner, const char* data, int length) = 0;

    /// Writes the data of such a record as elements of the open element. An error is left in the channel.
    virtual void WriteData(Kest::XMLOChannel& channel, const ZalUtil::Owner& owner, unsigned short platform,
                           short version, unsigned int flags, const char* data, int length) = 0;

    virtual ~IRegDataWriter() = default;
};

}   // namespace ADB
