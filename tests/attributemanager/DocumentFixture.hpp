#pragma once

#include <array>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>

#include <Kest/DebugOutput.hpp>
#include <Kest/Guid.hpp>
#include <Kest/MemoryChannels.hpp>

#include <AttributeManager/ReadReport.hpp>

#include "AttributeFixture.hpp"
#include "support/DamagedStreams.hpp"

/// What the tests of whole sets in streams and documents share.
namespace ADBTest {

/// The ref id of four characters.
consteval unsigned int CodeOf(const char* text) {
    unsigned int code = 0;
    for (; *text != 0; ++text)
        code = code << 8 | static_cast<unsigned char>(*text);
    return code;
}

/// A kind with nothing of its own; its GUID and name follow from its ref id.
template <unsigned int Code>
class Kind : public GeneralAttribute {
public:
    explicit Kind(const UniString& kindName = {}, short kindIndex = 0) : GeneralAttribute(GetClassInfoStatic()) {
        SetName(kindName);
        SetIndex(kindIndex);
    }
    static const Kest::ClassInfo* GetClassInfoStatic() {
        static const Kest::ClassInfo info("Test::Kind", MakeGuid(), {1, 0}, GeneralAttribute::GetClassInfoStatic(), {},
                                          []() -> Kest::Object* { return new Kind; });
        return &info;
    }
    static Kest::Guid MakeGuid() {
        return Kest::Guid(Kest::Guid::Bytes{std::uint8_t(Code >> 24), std::uint8_t(Code >> 16), std::uint8_t(Code >> 8),
                                            std::uint8_t(Code), 1, 2, 0x43, 4, 0x85, 6, 7, 8, 9, 10, 11, 12});
    }
    unsigned int GetAttributeTypeId() const override { return Code; }
    Kind* Clone() const override { return new Kind(*this); }
};

/// Seventeen types, of which 14 to 16 are those that old streams leave out and 17 is one too many for documents.
class DocumentFixture : public LogFixture {
protected:
    static constexpr short EmptyType = 5;
    static constexpr short LastType = 17;

    DocumentFixture() : kinds(CreateAttributeRegister()) {
        nextGuid = 0;
        Kest::Guid::SetSource(&NextGuid);
        DBSetSink([this](const UniString& text) { debug.push_back(text.ToCStr()); });
        RegisterAll(
            std::integer_sequence<unsigned int, CodeOf("CITY"), CodeOf("CWAL"), CodeOf("DIMS"), CodeOf("FILL"),
                                  CodeOf("LAYR"), CodeOf("LCOM"), CodeOf("LTYP"), CodeOf("MATE"), CodeOf("PENT"),
                                  CodeOf("ROOM"), CodeOf("MARK"), CodeOf("PROF"), CodeOf("MEPS"), CodeOf("EDOP"),
                                  CodeOf("GOVR"), CodeOf("BMAT"), CodeOf("LAST")>());
        set = InitAttributeSetContainer(kinds, &space);
    }
    ~DocumentFixture() override {
        EXPECT_TRUE((!set || set.GetConst()->CheckInvariants()) && space.CheckInvariants());
        FreeAttributeSetContainer();
        DisposeAttributeRegister(&kinds);
        DBSetSink(nullptr);
        Kest::Guid::SetSource(nullptr);
    }

    /// The attributes that all fixtures hold: types 1, 4, 14, 15, 16 and, with \p all, 17.
    void Fill(bool all = false) {
        nextGuid = 0x1000;   // ids that do not hang on how many objects there are already
        Add<CodeOf("CITY")>(1, u"Budapest", 1);
        Add<CodeOf("FILL")>(4, u"Solid \u00E9\u0151", 3);
        Add<CodeOf("FILL")>(4, u"a<b>&\u0001 \xD800", 9);
        SetData(*set.GetConst()->GetAttribute(4, 9), 7, 8, "user data", 0x5757, 0x0100);   // the version that XML gives
        Add<CodeOf("EDOP")>(14, u"Operation", 1);
        Add<CodeOf("GOVR")>(15, u"Override", 32766);
        Add<CodeOf("BMAT")>(16, u"Concrete", 2);
        if (all)
            Add<CodeOf("LAST")>(17, u"Last", 1);
        set->SetSolidFill(3);
        set->SetPercentFill(ADB::AttributeSet::PercentFill75, -9);
    }

    template <unsigned int Code>
    void Add(short typeId, const UniString& name, short index) {
        Kind<Code> made(name, index);
        ASSERT_EQ(set->NewAttribute(typeId, &made, true, true), 0);
    }

    /// All that an attribute holds, one line each, type by type: "4 #9 name f0 t777000000 d9 {id}".
    static Texts Describe(const ODB::ConstRef<ADB::AttributeSet>& described) {
        Texts lines;
        for (short typeId = 1; typeId <= LastType; ++typeId)
            described->EnumerateConstAttributes(typeId, [&](const Reading& attribute) {
                char** data = nullptr;
                unsigned short platform = 0;
                short version = 0;
                attribute->GetUserData(7, 8, &platform, &version, nullptr, &data);
                lines.push_back(std::to_string(typeId) + " #" + std::to_string(attribute->GetIndex()) + " " +
                                HexOf(attribute->GetName()) + " f" + std::to_string(attribute->GetFlags()) + " t" +
                                std::to_string(attribute->GetModificationTime()) + " d" +
                                std::to_string(BMGetHandleSize(data)) + " " + attribute->GetGuid().ToText());
                BMKillHandle(&data);
            });
        return lines;
    }
    Texts Describe() const { return Describe(set); }

    /// Another empty set, listed, in \p target.
    ODB::Ref<ADB::AttributeSet> NewSet(ODB::IdSpace& target) {
        return CreateAttributeSet(&target, Kest::Guid(), false);
    }

    template <class Write>
    static std::string BytesOf(Write&& write) {
        Kest::MemoryOChannel channel;
        channel.SetProtocolPlatform(Kest::PlatformSign::LittleEndian);
        EXPECT_EQ(write(channel), 0);
        return {channel.GetBytes(), channel.GetSize()};
    }
    std::string WriteSet(int systemVersion) const {
        const Kest::ClassManager::OutputVersionBlock block(systemVersion);
        return BytesOf([this](Kest::OChannel& channel) { return set.GetConst()->Write(channel); });
    }
    template <class Read>
    static int ReadBytes(const std::string& bytes, Read&& read) {
        Kest::MemoryIChannel channel(bytes.data(), bytes.size());
        channel.SetProtocolPlatform(Kest::PlatformSign::LittleEndian);
        return read(channel);
    }
    static int ReadSet(ADB::AttributeSet& target, const std::string& bytes) {
        const ODB::IdSpace::InputScope scope(target.GetIdSpace());
        return ReadBytes(bytes, [&target](Kest::IChannel& channel) { return target.Read(channel); });
    }

    static std::string WithMajorVersion(std::string bytes, char version) {
        bytes[16] = version;
        return Sealed(std::move(bytes));
    }

    static std::string ReadDataFile(const std::string& name) {
        std::ifstream file(std::string(TEST_DATA_DIR "/attributemanager/data/") + name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    static std::string ReadHexFile(const std::string& name) { return FromHex(ReadDataFile(name)); }

    Texts TakeDebug() { return std::exchange(debug, {}); }

    ADB::IAttributeRegister* kinds;
    ODB::Ref<ADB::AttributeSet> set;
    Texts debug;

private:
    template <unsigned int... Codes>
    void RegisterAll(std::integer_sequence<unsigned int, Codes...>) {
        (kinds->RegisterAttributeType(Codes, {Codes, 1}, Kind<Codes>::GetClassInfoStatic()->GetId(), Kest::Guid(),
                                      UniString::Printf("Type %d", ++registered), LumCB::PermissionID(1),
                                      LumCB::PermissionID(2), 0),
         ...);
    }
    static std::string HexOf(const UniString& text) {
        std::string hex;
        for (const char16_t unit : text.GetView())
            hex += unit > u' ' && unit < 0x7F ? std::string(1, static_cast<char>(unit)) : "%" + std::to_string(unit);
        return hex;
    }
    static Kest::Guid NextGuid() {
        Kest::Guid::Bytes bytes{0xAB};
        bytes[14] = static_cast<std::uint8_t>(++nextGuid >> 8);
        bytes[15] = static_cast<std::uint8_t>(nextGuid);
        return Kest::Guid(bytes);
    }

    static inline unsigned int nextGuid = 0;
    int registered = 0;
};

}   // namespace ADBTest
