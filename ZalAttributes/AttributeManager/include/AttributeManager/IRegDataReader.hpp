#pragma once

#include <Kest/XMLIChannel.hpp>

#include <ZalUtil/Owner.hpp>

#include <AttributeManager/Export.hpp>

namespace ADB {

/// The counterpart of IRegDataWriter.
class ADB_API IRegDataReader {
public:
    /// Whether this reader reads the record of \p owner.
    virtual bool IsHandled(const ZalUtil::Owner& owner) = 0;

    /// Reads the data of such a record from the elements of the open element. An error is left in the channel.
    /// \param version comes with the version of the record, which the reader may change
    /// \param data comes with an empty handle, which the reader resizes and fills; it belongs to the caller. Freeing it
    /// and setting it to null refuses the record
    virtual void ReadData(Kest::XMLIChannel& channel, const ZalUtil::Owner& owner, short& version, char*** data) = 0;

    virtual ~IRegDataReader() = default;
};

}   // namespace ADB
