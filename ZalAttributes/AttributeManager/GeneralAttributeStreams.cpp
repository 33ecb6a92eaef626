#include <array>
#include <cstddef>
#include <cstring>
#include <string>
#include <utility>

#include <Kest/ByteString.hpp>
#include <Kest/ClassManager.hpp>
#include <Kest/Exceptions.hpp>
#include <Kest/Frames.hpp>
#include <Kest/PlatformText.hpp>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/GeneralAttribute.hpp>
#include <AttributeManager/UserDataConverter.hpp>

#include "ReportLaterFrame.hpp"
#include "WriteOrFail.hpp"

// All forms stand in a frame of the class. Numbers and orders are fixed for ever.
//
// Object stream, by the major version of its frame; another one has no body.
//   1   int 0 | fixed name | short index | short flags | int modificationTime | short 0 | short reservedShort
//   2   int 0 | ODB::Object part | UniString name | short index | short flags | int modificationTime |
//       short reservedShort | RegTblData memo
//   3   int 0 | Lum::Object part | then as 2; the reader drops reservedShort
//   4   Lum::Object part | UniString name | short index | short flags | int modificationTime | RegTblData memo
// The reader of version 1 expects a memo behind the rest, which only the static writer writes.
//
// Isolated state. Before version 4 it has the part alone.
//   4   Lum::Object part | UniString name | short index | short flags | RegTblData memo | int modificationTime
//
// Collaboration state. ClientCreated never travels: it says who made this copy, not what the attribute is.
//   3.0   int 0 | UniString name | short index | short flags | short 0 | RegTblData memo
//   3.1   as 3.0, then int modificationTime
//   4     UniString name | short index | short flags | RegTblData memo | int modificationTime
//
// Record of version 1 by its fields.
//   int | fixed name | short index | short flags | int modificationTime | short | short | RegTblData memo
//
// Fixed name: 32 bytes in the system code page, filled up with zeros; a zero need not be there.

namespace ADB {
namespace {

constexpr std::size_t FixedNameSize = 32;

short WithoutClientCreated(short flags) {
    return static_cast<short>(flags & ~GeneralAttribute::ClientCreated);
}

void WriteFixedName(Kest::OChannel& channel, const Kest::UniString& name, short index) {
    std::array<char, FixedNameSize + 1> field{};   // and a zero, which is not written
    const std::string text = name.ToCStr();
    if (name.GetLength() >= FixedNameSize) {
        const std::string suffix = Kest::UniString::Printf("#%04d", index).ToCStr();
        const int room = static_cast<int>(field.size() - suffix.size());
        CHCopyC(suffix.c_str(), field.data() + CHTruncate(text.c_str(), field.data(), room));
    } else {
        CHTruncate(text.c_str(), field.data(), static_cast<int>(field.size()));
    }
    channel.WriteBlock(field.data(), FixedNameSize);
}

void ReadFixedName(Kest::IChannel& channel, Kest::UniString& name) {
    const char* const field = channel.TakeBlock(FixedNameSize);
    if (field == nullptr)
        return;
    const void* const end = std::memchr(field, 0, FixedNameSize);
    const std::size_t length =
        end != nullptr ? static_cast<std::size_t>(static_cast<const char*>(end) - field) : FixedNameSize;
    Kest::PlatformSign writer = Kest::PlatformSign::LittleEndian;
    channel.GetProtocolPlatform(writer);
    name = Kest::TextOfPlatform({field, length}, writer);
}

// On a failed channel only tells so.
int ReadMemo(Kest::IChannel& channel, RegTblData& memo) {
    try {
        return memo.Read(channel);
    } catch (const Kest::KestException&) {
        return Error::WrongCall;
    }
}

// The first thing that went wrong, in the content or then in the frame.
template <class Frame>
int CloseAfter(int status, Frame& frame) {
    const int closing = frame.Close();
    return status != Error::None ? status : closing;
}

}   // namespace

// What all versions carry but the name, which all of them carry: a field that a version lacks keeps its value.
GeneralAttribute::IsolatedState GeneralAttribute::BeginReading() const {
    IsolatedState content;
    content.index = index;
    content.flags = flags;
    content.modificationTime = modificationTime;
    content.memo = memo;
    return content;
}

void GeneralAttribute::WriteNumbers(Kest::OChannel& channel) const {
    channel.Write(index);
    channel.Write(flags);
    channel.Write(modificationTime);
}

void GeneralAttribute::ReadNumbers(Kest::IChannel& channel, IsolatedState& content) {
    channel.Read(content.index);
    channel.Read(content.flags);
    channel.Read(content.modificationTime);
}

int GeneralAttribute::WriteMemo(Kest::OChannel& channel) const {
    if (UserDataConverter::GetOutputPlanVersion() == 0)
        return memo.Write(channel);
    return ConvertRegMemo().Write(channel);
}

int GeneralAttribute::Write(Kest::OChannel& channel) const {
    Kest::OutputFrame frame(channel, *GetClassInfoStatic());
    const int status = WriteOrFail(channel, [&] { return WriteVersion(channel, frame.GetVersion()); });
    return CloseAfter(status, frame);
}

int GeneralAttribute::WriteVersion(Kest::OChannel& channel, Kest::ClassVersion version) const {
    switch (version.GetMajor()) {
    case 1:
        return WriteVersion1(channel);
    case 2:
        return WriteVersion2(channel);
    case 3:
        return WriteVersion3(channel);
    case 4:
        return WriteVersion4(channel);
    default:
        return Error::None;
    }
}

int GeneralAttribute::WriteVersion1(Kest::OChannel& channel) const {
    channel.Write(0);
    WriteFixedName(channel, name, index);
    WriteNumbers(channel);
    channel.Write(short{0});
    channel.Write(reservedShort);
    return channel.GetStatus();
}

int GeneralAttribute::WriteVersion2(Kest::OChannel& channel) const {
    channel.Write(0);
    ODB::Object::Write(channel);
    channel.Write(name);
    WriteNumbers(channel);
    channel.Write(reservedShort);
    return WriteMemo(channel);
}

int GeneralAttribute::WriteVersion3(Kest::OChannel& channel) const {
    channel.Write(0);
    Lum::Object::Write(channel);
    channel.Write(name);
    WriteNumbers(channel);
    channel.Write(reservedShort);
    return WriteMemo(channel);
}

int GeneralAttribute::WriteVersion4(Kest::OChannel& channel) const {
    Lum::Object::Write(channel);
    channel.Write(name);
    WriteNumbers(channel);
    return WriteMemo(channel);
}

int GeneralAttribute::Read(Kest::IChannel& channel) {
    return CatchMemoryFull([&] {
        Kest::InputFrame frame(channel, *GetClassInfoStatic());
        if (frame.GetStatus() != Error::None)
            return frame.GetStatus();
        ReportLaterFrame(*GetClassInfoStatic(), frame.GetVersion());
        return CloseAfter(ReadVersion(channel, frame.GetVersion()), frame);
    });
}

int GeneralAttribute::ReadVersion(Kest::IChannel& channel, Kest::ClassVersion version) {
    switch (version.GetMajor()) {
    case 1:
        return ReadVersion1(channel);
    case 2:
        return ReadVersion2(channel);
    case 3:
        return ReadVersion3(channel);
    case 4:
        return ReadVersion4(channel);
    default:
        return Error::None;
    }
}

int GeneralAttribute::ReadVersion1(Kest::IChannel& channel) {
    IsolatedState content = BeginReading();
    short reserved = reservedShort;
    channel.Skip<int>();
    ReadFixedName(channel, content.name);
    ReadNumbers(channel, content);
    channel.Skip<short>();
    channel.Read(reserved);
    if (channel.GetStatus() != Error::None)
        return channel.GetStatus();
    const int status = ReadMemo(channel, content.memo);
    Take(std::move(content));   // also without a memo: our writer of this version writes none
    reservedShort = reserved;
    return status;
}

int GeneralAttribute::ReadVersion2(Kest::IChannel& channel) {
    IsolatedState content = BeginReading();
    short reserved = reservedShort;
    channel.Skip<int>();
    ODB::Object::Read(channel);
    channel.Read(content.name);
    ReadNumbers(channel, content);
    channel.Read(reserved);
    const int status = ReadMemo(channel, content.memo);
    if (status == Error::None) {
        Take(std::move(content));
        reservedShort = reserved;
    }
    return status;
}

int GeneralAttribute::ReadVersion3(Kest::IChannel& channel) {
    IsolatedState content = BeginReading();
    channel.Skip<int>();
    Lum::Object::Read(channel);
    channel.Read(content.name);
    ReadNumbers(channel, content);
    channel.Skip<short>();
    const int status = ReadMemo(channel, content.memo);
    if (status == Error::None)
        Take(std::move(content));
    return status;
}

int GeneralAttribute::ReadVersion4(Kest::IChannel& channel) {
    IsolatedState content = BeginReading();
    Lum::Object::Read(channel);
    channel.Read(content.name);
    ReadNumbers(channel, content);
    const int status = ReadMemo(channel, content.memo);
    if (status == Error::None)
        Take(std::move(content));
    return status;
}

int GeneralAttribute::Store(Kest::ObjectState& state) const {
    const struct Unconverted {
        Unconverted() noexcept { UserDataConverter::SetOutputPlanVersion(0); }
        ~Unconverted() { UserDataConverter::SetOutputPlanVersion(planVersion); }
        const short planVersion = UserDataConverter::GetOutputPlanVersion();
    } unconverted;
    return Lum::Object::Store(state);
}

int GeneralAttribute::Restore(const Kest::ObjectState& state) {
    const RegTblData before(memo);
    memo.Delete();   // a stream without user data leaves what is there
    const int status = Lum::Object::Restore(state);
    if (status != Error::None)
        memo = before;
    return status;
}

int GeneralAttribute::WriteContentForIdGeneration(Kest::OChannel& channel) const {
    Lum::Object::WriteContentForIdGeneration(channel);
    channel.Write(GetAttributeTypeId());
    channel.Write(name);
    channel.Write(index);
    channel.Write(WithoutClientCreated(flags));
    return memo.Write(channel);
}

int GeneralAttribute::WriteIsolatedState(Kest::OChannel& channel) const {
    Kest::OutputFrame frame(channel, *GetClassInfoStatic());
    int status = Lum::Object::WriteIsolatedState(channel);
    if (status == Error::None && frame.GetVersion().GetMajor() == 4)
        status = WriteStateVersion4(channel, flags);
    return CloseAfter(status, frame);
}

// Also the collaboration state of version 4, with other flags.
int GeneralAttribute::WriteStateVersion4(Kest::OChannel& channel, short writtenFlags) const {
    channel.Write(name);
    channel.Write(index);
    channel.Write(writtenFlags);
    if (const int status = memo.Write(channel); status != Error::None)
        return status;
    return channel.Write(modificationTime);
}

int GeneralAttribute::ReadIsolatedState(Kest::IChannel& channel) {
    return CatchMemoryFull([&] {
        Kest::InputFrame frame(channel, *GetClassInfoStatic());
        if (frame.GetStatus() != Error::None)
            return frame.GetStatus();
        ReportLaterFrame(*GetClassInfoStatic(), frame.GetVersion());
        int status = Lum::Object::ReadIsolatedState(channel);
        if (status == Error::None && frame.GetVersion().GetMajor() == 4)
            status = ReadStateVersion4(channel);
        return CloseAfter(status, frame);
    });
}

int GeneralAttribute::ReadStateVersion4(Kest::IChannel& channel) {
    IsolatedState content = BeginReading();
    channel.Read(content.name);
    channel.Read(content.index);
    channel.Read(content.flags);
    int status = ReadMemo(channel, content.memo);
    if (status == Error::None)
        status = channel.Read(content.modificationTime);
    if (status == Error::None)
        Take(std::move(content));
    return status;
}

int GeneralAttribute::WriteLumIsolatedState(Kest::OChannel& channel) const {
    Kest::OutputFrame frame(channel, *GetClassInfoStatic());
    int status = Error::None;
    if (const int version = frame.GetVersion().GetMajor(); version > 0 && version < 4)
        status = WriteLumIsolatedStateVersion3(channel, frame);
    else if (version == 4)
        status = WriteStateVersion4(channel, WithoutClientCreated(flags));
    return CloseAfter(status, frame);
}

int GeneralAttribute::WriteLumIsolatedStateVersion3(Kest::OChannel& channel, const Kest::OutputFrame& frame) const {
    channel.Write(0);
    channel.Write(name);
    channel.Write(index);
    channel.Write(WithoutClientCreated(flags));
    channel.Write(short{0});
    if (const int status = memo.Write(channel); status != Error::None)
        return status;
    if (frame.GetVersion() >= Kest::ClassVersion(3, 1))
        channel.Write(modificationTime);
    return channel.GetStatus();
}

int GeneralAttribute::ReadLumIsolatedState(Kest::IChannel& channel) {
    return CatchMemoryFull([&] {
        Kest::InputFrame frame(channel, *GetClassInfoStatic());
        if (frame.GetStatus() != Error::None)
            return frame.GetStatus();
        ReportLaterFrame(*GetClassInfoStatic(), frame.GetVersion());
        int status = Error::None;
        if (const int version = frame.GetVersion().GetMajor(); version > 0 && version < 4)
            status = ReadLumIsolatedStateVersion3(channel, frame);
        else if (version == 4)
            status = ReadStateVersion4(channel);
        return CloseAfter(status, frame);
    });
}

int GeneralAttribute::ReadLumIsolatedStateVersion3(Kest::IChannel& channel, const Kest::InputFrame& frame) {
    IsolatedState content = BeginReading();
    channel.Skip<int>();
    channel.Read(content.name);
    channel.Read(content.index);
    channel.Read(content.flags);
    channel.Skip<short>();
    int status = ReadMemo(channel, content.memo);
    if (status == Error::None && frame.GetVersion() >= Kest::ClassVersion(3, 1))
        status = channel.Read(content.modificationTime);
    if (status == Error::None)
        Take(std::move(content));
    return status;
}

int GeneralAttribute::WriteVersion1(Kest::OChannel& channel, int leading, const Kest::UniString& attributeName,
                                    short attributeIndex, short attributeFlags, int time, short reserved1,
                                    short reserved2, const RegTblData& userData) {
    const Kest::ClassManager::OutputVersionBlock version(1);
    Kest::OutputFrame frame(channel, *GetClassInfoStatic());
    const int status = WriteOrFail(channel, [&] {
        channel.Write(leading);
        WriteFixedName(channel, attributeName, attributeIndex);
        channel.Write(attributeIndex);
        channel.Write(attributeFlags);
        channel.Write(time);
        channel.Write(reserved1);
        channel.Write(reserved2);
        return userData.Write(channel);
    });
    return CloseAfter(status, frame);
}

int GeneralAttribute::ReadVersion1(Kest::IChannel& channel, int* leading, Kest::UniString* attributeName,
                                   short* attributeIndex, short* attributeFlags, int* time, short* reserved1,
                                   short* reserved2, RegTblData* userData) {
    if (leading == nullptr || attributeName == nullptr || attributeIndex == nullptr || attributeFlags == nullptr ||
        time == nullptr || reserved1 == nullptr || reserved2 == nullptr || userData == nullptr)
        return Error::NullArgument;
    return CatchMemoryFull([&] {
        Kest::InputFrame frame(channel, *GetClassInfoStatic());
        if (frame.GetStatus() != Error::None)
            return frame.GetStatus();
        int newLeading = 0;
        short newReserved1 = 0;
        short newReserved2 = 0;
        IsolatedState content;
        content.memo = *userData;
        channel.Read(newLeading);
        ReadFixedName(channel, content.name);
        channel.Read(content.index);
        channel.Read(content.flags);
        channel.Read(content.modificationTime);
        channel.Read(newReserved1);
        channel.Read(newReserved2);
        const int status = CloseAfter(ReadMemo(channel, content.memo), frame);
        if (status == Error::None) {
            *leading = newLeading;
            *attributeName = std::move(content.name);
            *attributeIndex = content.index;
            *attributeFlags = content.flags;
            *time = content.modificationTime;
            *reserved1 = newReserved1;
            *reserved2 = newReserved2;
            *userData = content.memo;
        }
        return status;
    });
}

}   // namespace ADB
