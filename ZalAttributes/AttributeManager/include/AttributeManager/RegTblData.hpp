#pragma once

#include <cstddef>

#include <Kest/Array.hpp>
#include <Kest/PlatformSign.hpp>

#include <ZalUtil/BaseRegTblData.hpp>
#include <ZalUtil/Owner.hpp>

#include <AttributeManager/Export.hpp>

namespace Kest {

class XMLIChannel;

}   // namespace Kest

namespace ADB {

class IRegDataReader;
class IRegDataWriter;

/// The user data of one attribute: a table of records of other modules. Copies share their storage until one of them is
/// changed.
class ADB_API RegTblData : public ZalUtil::BaseRegTblData {
public:
    RegTblData() noexcept = default;
    RegTblData(const RegTblData&) noexcept = default;
    RegTblData& operator=(const RegTblData&) noexcept = default;

    RegTblData* Clone() const override;
    const Kest::ClassInfo* GetClassInfo() const override;
    static const Kest::ClassInfo* GetClassInfoStatic();

    /// Reads a table; one of 0 bytes leaves the present one. Numbers of a table that a system of the other byte order
    /// wrote (see Kest::IChannel::GetProtocolPlatform) are converted.
    /// \returns 0; a code of the channel; Error::MemoryFull; Error::WrongCall when the table cannot be taken; then
    /// nothing is changed. \throws AttributeManagerException with nothing changed for a table of another system that
    /// holds no record
    int Read(Kest::IChannel& channel) override;
    /// \returns 0, or a code of the channel
    int Write(Kest::OChannel& channel) const override;
    /// Unlike Read, an empty state empties the table.
    int Restore(const Kest::ObjectState& state) override;

    /// The mark of the table: 0x5254424C.
    unsigned int GetSignal() const override;
    /// Nothing is checked at this level.
    ZalUtil::MemoCheckResult Check() const override;

    /// Writes an element "RegMemoTable" with the table as one block of bytes. \returns 0, or a code of the channel
    int WriteXML(Kest::XMLOChannel& channel) const override;
    /// Reads that; converts as Read does. An element without data leaves the present table.
    /// \returns as Read. \throws KestXML::XMLIChannelException for damaged bytes, AttributeManagerException as Read;
    /// always with nothing changed
    int ReadXML(Kest::XMLIChannel& channel);

    /// Writes an element "RegMemoTable" with an element for each owner's record. The versions of the records are not
    /// written. \param writer writes the data of records that it handles; may be null
    /// \returns 0, or a code of the channel
    int WriteXML(Kest::XMLOChannel& channel, IRegDataWriter* writer) const;
    /// Reads that, adding to or replacing the present records; their version is that of the table's class when it was
    /// written: (major << 8) | minor. A record without data is an empty one.
    /// \param reader reads the data of records that it handles; may be null
    /// \returns 0; a code of the channel; Error::MemoryFull; Error::WrongCall when the reader leaves a null handle;
    /// then nothing is changed
    int ReadXML(Kest::XMLIChannel& channel, IRegDataReader* reader);

    /// The owners of the records, each once, in the order of their first records. A record without data at the very end
    /// of the table is not seen.
    Kest::Array<ZalUtil::Owner> GetOwners() const;

private:
    int Take(char* bytes, std::size_t size, Kest::PlatformSign writer);
};

}   // namespace ADB
