#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include <Kest/XMLIChannelException.hpp>
#include <Kest/XMLTag.hpp>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/IRegDataReader.hpp>
#include <AttributeManager/IRegDataWriter.hpp>
#include <AttributeManager/RegTblData.hpp>

#include "FirstRecordWalk.hpp"
#include "MemoTableBuilder.hpp"
#include "ReportLaterFrame.hpp"
#include "ScopedHandle.hpp"
#include "WriteOrFail.hpp"

// Both forms are an element "RegMemoTable" that begins with the version of the class. Names and orders are fixed.
//   whole table   Data: CDATASize, hexadecimal digits; no such element for an empty table
//   by records    MemoNumber | for each owner RegMemo:
//                 MemoOwnerId1 | MemoOwnerId2 | MemoPlatform | MemoFlags | elements of the host's or Data, if any

namespace ADB {
namespace {

constexpr Kest::XMLName TableElement = "RegMemoTable";
constexpr Kest::XMLName RecordElement = "RegMemo";
constexpr Kest::XMLName DataElement = "Data";

void WriteData(Kest::XMLOChannel& channel, const char* bytes, std::size_t size) {
    const Kest::XMLTag tag(channel, DataElement);
    channel.WriteXMLCDATABinToHex(bytes, size);
}

void WriteRecord(Kest::XMLOChannel& channel, const ZalUtil::MemoRecord& record, IRegDataWriter* writer) {
    const Kest::XMLTag tag(channel, RecordElement);
    channel.Write("MemoOwnerId1", record.owner.id1);
    channel.Write("MemoOwnerId2", record.owner.id2);
    channel.Write("MemoPlatform", static_cast<short>(record.platform));
    channel.Write("MemoFlags", record.flags);
    const bool hasIntLength = record.length <= static_cast<unsigned int>(std::numeric_limits<int>::max());
    const int length = hasIntLength ? static_cast<int>(record.length) : 0;
    if (writer != nullptr && hasIntLength && writer->IsHandled(record.owner, record.data, length))
        writer->WriteData(channel, record.owner, record.platform, record.version, record.flags, record.data, length);
    else if (record.length > 0)
        WriteData(channel, record.data, record.length);
}

// A record's own version is not written: it gets that of the class.
short VersionNumber(Kest::ClassVersion version) {
    return static_cast<short>(version.GetMajor() << 8 | version.GetMinor());
}

int ReadData(Kest::XMLIChannel& channel, ZalUtil::MemoRecord& record, MemoTableBuilder& table) {
    if (!channel.IsNextStartTag()) {
        table.Append(record);
        return channel.GetStatus();
    }
    Kest::XMLITag tag(channel, DataElement);
    if (channel.ReadCDATASize(record.length) != Error::None)
        return channel.GetStatus();
    try {
        channel.ReadXMLCDATAHexToBin(table.Append(record), record.length);
    } catch (const KestXML::XMLIChannelException&) {
        return channel.GetStatus();
    }
    return tag.Close();
}

int ReadHandledData(Kest::XMLIChannel& channel, ZalUtil::MemoRecord& record, IRegDataReader& reader,
                    MemoTableBuilder& table) {
    ScopedHandle data(BMAllocateHandle(0, BMPlain));
    if (data.handle == nullptr)
        return Error::MemoryFull;
    reader.ReadData(channel, record.owner, record.version, &data.handle);
    if (channel.GetStatus() != Error::None)
        return channel.GetStatus();
    const std::int64_t size = BMGetHandleSize(data.handle);
    if (data.handle == nullptr || size > std::numeric_limits<unsigned int>::max())
        return Error::WrongCall;
    record.length = static_cast<unsigned int>(size);
    BNCopyMemory(table.Append(record), *data.handle, record.length);
    return Error::None;
}

int ReadRecord(Kest::XMLIChannel& channel, short version, IRegDataReader* reader, MemoTableBuilder& table) {
    Kest::XMLITag tag(channel, RecordElement);
    ZalUtil::MemoRecord record;
    short platform = 0;
    channel.Read("MemoOwnerId1", record.owner.id1);
    channel.Read("MemoOwnerId2", record.owner.id2);
    channel.Read("MemoPlatform", platform);
    channel.Read("MemoFlags", record.flags);
    if (channel.GetStatus() != Error::None)
        return channel.GetStatus();
    record.platform = static_cast<unsigned short>(platform);
    record.version = version;
    const int status = reader != nullptr && reader->IsHandled(record.owner)
                           ? ReadHandledData(channel, record, *reader, table)
                           : ReadData(channel, record, table);
    return status != Error::None ? status : tag.Close();
}

}   // namespace

int RegTblData::WriteXML(Kest::XMLOChannel& channel, IRegDataWriter* writer) const {
    return WriteOrFail(channel, [&] {
        Kest::XMLTag tag(channel, TableElement);
        channel.WriteVersion(GetClassInfoStatic()->GetVersion());
        ZalUtil::MemoRecord record;
        unsigned int owners = 0;
        for (FirstRecordWalk walk(*this, true); walk.Next(record);)
            ++owners;
        channel.Write("MemoNumber", owners);
        for (FirstRecordWalk walk(*this, true); walk.Next(record);)
            WriteRecord(channel, record, writer);
        return tag.Close();
    });
}

int RegTblData::ReadXML(Kest::XMLIChannel& channel, IRegDataReader* reader) {
    return CatchMemoryFull([&] {
        MemoTableBuilder table;
        Kest::XMLITag tag(channel, TableElement);
        Kest::ClassVersion version;
        if (channel.ReadVersion(version) == Error::None)
            ReportLaterFrame(*GetClassInfoStatic(), version);
        unsigned int owners = 0;
        channel.Read("MemoNumber", owners);   // the elements that follow say it themselves
        while (channel.IsNextStartTag())
            if (const int status = ReadRecord(channel, VersionNumber(version), reader, table); status != Error::None)
                return status;
        if (tag.Close() != Error::None)
            return channel.GetStatus();
        return table.PutInto(*this);
    });
}

int RegTblData::WriteXML(Kest::XMLOChannel& channel) const {
    Kest::XMLTag tag(channel, TableElement);
    channel.WriteVersion(GetClassInfoStatic()->GetVersion());
    if (!IsEmpty())
        WriteData(channel, GetBytes(), GetSize());
    return tag.Close();
}

int RegTblData::ReadXML(Kest::XMLIChannel& channel) {
    // The place that the exception names is known to hosts: it stays whatever becomes of the lines here.
    constexpr char source[] = "ZalAttributes/AttributeManager/RegTblDataXML";
    constexpr unsigned int line = 91;

    Kest::XMLITag tag(channel, TableElement);
    Kest::ClassVersion version;
    if (channel.ReadVersion(version) == Error::None)
        ReportLaterFrame(*GetClassInfoStatic(), version);
    if (!channel.IsNextStartTag())
        return tag.Close();
    Kest::XMLITag dataTag(channel, DataElement);
    unsigned int size = 0;
    if (channel.ReadCDATASize(size) != Error::None)
        return channel.GetStatus();
    const std::unique_ptr<char[]> bytes(new (std::nothrow) char[size]);
    if (!bytes)
        return Error::MemoryFull;
    try {
        channel.ReadXMLCDATAHexToBin(bytes.get(), size);
    } catch (const KestXML::XMLIChannelException& cause) {
        throw KestXML::XMLIChannelException("ReadXMLCDATAHexToBin failed", source, line, cause);
    }
    dataTag.Close();
    if (tag.Close() != Error::None)
        return channel.GetStatus();
    if (size == 0)
        return PutData(nullptr, 0);
    Kest::PlatformSign writer = Kest::PlatformSign::LittleEndian;
    channel.GetProtocolPlatform(writer);
    return Take(bytes.get(), size, writer);
}

}   // namespace ADB
