#include <algorithm>
#include <utility>

#include <Kest/Exceptions.hpp>
#include <Kest/NamedEnumType.hpp>
#include <Kest/XMLIChannel.hpp>
#include <Kest/XMLOChannel.hpp>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/GeneralAttribute.hpp>
#include <AttributeManager/ReadReport.hpp>

#include "WriteOrFail.hpp"

// Elements of the general part; names and order are fixed:
//   the object's part | Name | Index | Flags | ModiTime | RegMemoTable

namespace ADB {
namespace {

using FlagNames = KestXML::NamedEnumType<short>;

constexpr Kest::XMLName FlagsElement = "Flags";

const FlagNames& GetGeneralFlagNames() {
    static const FlagNames names(true, {
                                           {GeneralAttribute::FromPax, "FromPax"},
                                           {GeneralAttribute::FromMasterPax, "FromMasterPax"},
                                           {GeneralAttribute::ClientCreated, "ClientCreated"},
                                       });
    return names;
}

// The names of the general flags and those of a kind.
struct JoinedFlagNames {
    JoinedFlagNames() = default;
    explicit JoinedFlagNames(const FlagNames& names) : all(GetGeneralFlagNames()) {
        ofKind.AddAll(names);
        all.AddAll(names);
    }

    bool IsOf(const FlagNames& names) const {
        return std::equal(ofKind.begin(), ofKind.end(), names.begin(), names.end());
    }

    FlagNames ofKind{true};
    FlagNames all{GetGeneralFlagNames()};
};

// A kind brings the same names with each of its attributes: the last ones stay joined.
const FlagNames& GetFlagNames(const FlagNames* ofKind) {
    if (ofKind == nullptr)
        return GetGeneralFlagNames();
    thread_local JoinedFlagNames joined;
    if (!joined.IsOf(*ofKind))
        joined = JoinedFlagNames(*ofKind);
    return joined.all;
}

int ReadFlags(Kest::XMLIChannel& channel, const FlagNames& names, short& flags) {
    Kest::UniString text;
    if (channel.Read(FlagsElement, text) == Error::None && !names.FromText(text, flags))
        channel.Fail(Error::WrongCall, Kest::UniString::Printf("Invalid value for NamedEnumType: \"%s\"", text));
    return channel.GetStatus();
}

int ReadMemo(Kest::XMLIChannel& channel, IRegDataReader* reader, RegTblData& memo) {
    try {
        return memo.ReadXML(channel, reader);
    } catch (const Kest::KestException&) {
        return channel.GetStatus() != Error::None ? channel.GetStatus() : Error::WrongCall;
    }
}

ReadReport::Entry MissingFlagsEntry(unsigned int refId, const Kest::UniString& name, short index) {
    return {.kind = ReadReport::FlagsMissing, .refId = refId, .name = name, .index = index};
}

}   // namespace

int GeneralAttribute::WriteXML(Kest::XMLOChannel& channel) const {
    return WriteGenAttrXML(channel, nullptr, nullptr);
}

int GeneralAttribute::ReadXML(Kest::XMLIChannel& channel) {
    return ReadGenAttrXML(channel, nullptr, nullptr);
}

int GeneralAttribute::WriteGenAttrXML(Kest::XMLOChannel& channel, const KestXML::NamedEnumType<short>* flagNames,
                                      IRegDataWriter* writer) const {
    return WriteOrFail(channel, [&] {
        Lum::Object::WriteXML(channel);
        channel.Write("Name", name);
        channel.Write("Index", index);
        Kest::UniString flagsText;
        if (GetFlagNames(flagNames).ToText(flags, flagsText))   // else the element is left out
            channel.Write(FlagsElement, flagsText);
        if (const int status = channel.Write("ModiTime", modificationTime); status != Error::None)
            return status;
        return memo.WriteXML(channel, writer);
    });
}

int GeneralAttribute::ReadGenAttrXML(Kest::XMLIChannel& channel, const KestXML::NamedEnumType<short>* flagNames,
                                     IRegDataReader* reader) {
    const int status = CatchMemoryFull([&]() -> int {
        IsolatedState content = BeginReading();
        content.memo.Delete();
        Lum::Object::ReadXML(channel);
        channel.Read("Name", content.name);
        channel.Read("Index", content.index);
        const bool hasFlags = channel.IsNextTag(FlagsElement);
        if (hasFlags && ReadFlags(channel, GetFlagNames(flagNames), content.flags) != Error::None)
            return channel.GetStatus();
        channel.Read("ModiTime", content.modificationTime);
        if (const int memoStatus = ReadMemo(channel, reader, content.memo); memoStatus != Error::None)
            return memoStatus;
        if (!hasFlags && ReadReport::IsWanted())
            ReadReport::Add(MissingFlagsEntry(GetAttributeTypeId(), content.name, content.index));
        Take(std::move(content));
        return Error::None;
    });
    if (status != Error::None && !memo.IsEmpty()) {   // user data never outlive the reading of others
        const ODB::ModificationGate gate(*this);
        memo.Delete();
    }
    return status;
}

}   // namespace ADB
