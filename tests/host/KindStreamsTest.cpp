#include "KindSamples.hpp"
#include "Session.hpp"
#include "kinds/FieldText.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

#include <Kest/ByteSink.hpp>
#include <Kest/ClassManager.hpp>
#include <Kest/Crc32c.hpp>
#include <Kest/MemoryChannels.hpp>
#include <Kest/XMLIChannelException.hpp>

namespace {

using namespace HostTests;
using ADB::GeneralAttribute;

constexpr char Root[] = "Test";

template <int (GeneralAttribute::*write)(Kest::OChannel&) const>
int Write(const KindBase& attribute, std::string& bytes) {
    Kest::MemoryOChannel channel;
    const int status = (attribute.*write)(channel);
    bytes.assign(channel.GetBytes(), channel.GetSize());
    return status;
}

template <int (GeneralAttribute::*read)(Kest::IChannel&)>
int Read(KindBase& attribute, const std::string& bytes) {
    Kest::MemoryIChannel channel(bytes.data(), bytes.size());
    return (attribute.*read)(channel);
}

int WriteDocument(const KindBase& attribute, std::string& text) {
    Kest::StringSink sink;
    Kest::XMLOChannel channel(sink, Root);
    channel.BeginDocument();
    attribute.WriteXML(channel);
    const int status = channel.EndDocument();
    text = sink.TakeText();
    return status;
}

int ReadDocument(KindBase& attribute, const std::string& text) try {
    Kest::XMLIChannel channel(text, Root);
    return attribute.ReadXML(channel);
} catch (const KestXML::XMLIChannelException&) {
    return Kest::ChannelStatus::Damaged;
}

constexpr auto WriteStream = &Write<&GeneralAttribute::Write>;
constexpr auto ReadStream = &Read<&GeneralAttribute::Read>;

constexpr struct {
    const char* name;
    int version;   // of the system that is written for
    int (*write)(const KindBase&, std::string&);
    int (*read)(KindBase&, const std::string&);
} Forms[] = {
    {"stream 2", 2, WriteStream, ReadStream},
    {"stream 3", 3, WriteStream, ReadStream},
    {"stream 4", 4, WriteStream, ReadStream},
    {"isolated state", 0, Write<&GeneralAttribute::WriteIsolatedState>, Read<&GeneralAttribute::ReadIsolatedState>},
    {"shared project", 0, Write<&GeneralAttribute::WriteLumIsolatedState>,
     Read<&GeneralAttribute::ReadLumIsolatedState>},
    {"XML", 0, WriteDocument, ReadDocument},
};

class KindStreamsTest : public testing::Test {
protected:
    // Calls `call` with every form and an attribute of every kind: one to be written, and another one.
    template <class Call>
    void ForEachForm(Call&& call) {
        const auto sources = MakeChangedKinds(1), others = MakeChangedKinds(2);
        for (const auto& form : Forms)
            for (std::size_t i = 0; i < sources.size(); ++i) {
                const Kest::ClassManager::OutputVersionBlock block(form.version);
                std::string bytes;
                ASSERT_EQ(form.write(*sources[i], bytes), 0);
                call(form, *sources[i], *others[i], bytes);
            }
    }

    // Without the version of user data, which XML does not carry.
    static bool IsSame(const KindBase& one, const KindBase& other, bool withUserData = true) {
        FieldMask differing = one.Compare(&other);
        differing.Clear({GeneralAttribute::GetFieldClassId(), GeneralAttribute::UserDataField});
        return differing.IsEmpty() && (!withUserData || one.GetOwners() == other.GetOwners());
    }

    Session session;
};

TEST_F(KindStreamsTest, EveryFormBringsEveryFieldBack) {
    ForEachForm([](const auto& form, const KindBase& source, const KindBase& other, const std::string& bytes) {
        const std::unique_ptr<KindBase> filled(other.Clone());
        EXPECT_FALSE(IsSame(source, *filled));
        EXPECT_EQ(form.read(*filled, bytes), 0) << form.name;
        EXPECT_TRUE(IsSame(source, *filled)) << form.name << ' ' << source.GetAttributeTypeId();
        std::string again;
        form.write(*filled, again);
        EXPECT_TRUE(again == bytes) << form.name;
    });
}

TEST_F(KindStreamsTest, DamageChangesNothing) {
    ForEachForm([](const auto& form, const KindBase&, const KindBase& other, const std::string& bytes) {
        const std::unique_ptr<KindBase> target(other.Clone());
        std::string otherBytes;
        form.write(other, otherBytes);
        const bool isXml = form.name == std::string("XML");
        const std::size_t step = isXml ? 7 : 1;
        for (std::size_t i = 0; i < bytes.size(); i += step) {
            std::string flipped = bytes;
            flipped[i] = static_cast<char>(flipped[i] ^ (1 << i % 8));
            for (const std::string& damaged : {bytes.substr(0, i), flipped}) {
                const int status = form.read(*target, damaged);
                ASSERT_TRUE(status != 0 || isXml) << form.name << " byte " << i;
                ASSERT_TRUE(status == 0 || IsSame(*target, other, !isXml)) << form.name << " byte " << i;
                form.read(*target, otherBytes);   // in XML some changes make sense
            }
        }
    });
}

TEST_F(KindStreamsTest, ContentForIdsHasTheFields) {
    const auto ones = MakeChangedKinds(1), others = MakeChangedKinds(2);
    constexpr auto WriteContent = &Write<&GeneralAttribute::WriteContentForIdGeneration>;
    for (std::size_t i = 0; i < ones.size(); ++i) {
        const std::unique_ptr<KindBase> same(ones[i]->Clone()), mixed(others[i]->Clone());
        mixed->GeneralAttribute::Synchronize(ones[i].get(), mixed->GeneralAttribute::Compare(ones[i].get()));
        std::string content, sameContent, mixedContent;
        WriteContent(*ones[i], content);
        WriteContent(*same, sameContent);
        WriteContent(*mixed, mixedContent);
        EXPECT_EQ(content, sameContent);
        EXPECT_NE(content, mixedContent) << "the general part is the same, the fields are not";
    }
}

TEST_F(KindStreamsTest, FieldsThatMakeNoSenseAreRefused) {
    const auto bytesOf = [](const auto&... values) {
        Kest::MemoryOChannel channel;
        (channel.Write(values), ...);
        return std::string(channel.GetBytes(), channel.GetSize());
    };
    const auto statusOf = []<class Fields>(Fields fields, const std::string& bytes) {
        Kest::MemoryIChannel channel(bytes.data(), bytes.size());
        return ReadFields(channel, fields);
    };
    const std::string twoNumbers = bytesOf(1.0, 2.0), end = bytesOf(0.0, Kest::UniString());
    EXPECT_EQ(statusOf(CityFields(), twoNumbers + end), 0);
    EXPECT_NE(statusOf(CityFields(), twoNumbers), 0) << "cut";
    for (const double number : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()})
        EXPECT_NE(statusOf(CityFields(), bytesOf(number, 2.0) + end), 0);
    for (const std::uint32_t count : {1u, 0x7FFFFFFFu, 0xFFFFFFFFu})
        EXPECT_NE(statusOf(FillFields(), bytesOf(Kest::UniString(), count, 0.0)), 0) << count << " elements";
    EXPECT_EQ(statusOf(CompositeWallFields(), bytesOf(std::uint32_t{0}, true, false)), 0);
    EXPECT_NE(statusOf(CompositeWallFields(), bytesOf(std::uint32_t{0}, true, char{2})), 0) << "neither true nor false";
}

// Behind a checksum that is right.
TEST_F(KindStreamsTest, FieldsAreWhatTheirBytesSay) {
    ForEachKind([]<class Kind>(Kind attribute) {
        ChangeAll(attribute);
        Kest::MemoryOChannel channel;
        WriteFields(channel, attribute.Get());
        const std::string bytes(channel.GetBytes(), channel.GetSize());
        for (std::size_t bit = 0; bit < 8 * bytes.size(); ++bit) {
            std::string flipped = bytes;
            flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << bit % 8));
            typename Kind::FieldsType fields;
            Kest::MemoryIChannel input(flipped.data(), flipped.size());
            if (ReadFields(input, fields) != 0)
                continue;
            Kest::MemoryOChannel again;
            WriteFields(again, fields);
            ASSERT_EQ(std::string(again.GetBytes(), again.GetSize()), flipped.substr(0, input.GetPosition())) << bit;
        }
    });
}

TEST_F(KindStreamsTest, StreamsOfOtherVersions) {
    City source;
    source.Set<&CityFields::latitude>(47.5);
    std::string bytes;
    WriteStream(source, bytes);
    const Kest::Guid::Bytes mark = City::GetClassInfoStatic()->GetId().GetBytes();
    const std::size_t frame = bytes.find(std::string(mark.begin(), mark.end())), seal = bytes.size() - 4;
    const struct {
        unsigned char major, minor;
        bool isRead, isReported;
    } cases[] = {{1, 0, true, false}, {1, 1, true, true}, {2, 0, false, true}, {0, 9, false, true}};
    for (const auto& c : cases) {
        bytes[frame + mark.size()] = static_cast<char>(c.major);
        bytes[frame + mark.size() + 1] = static_cast<char>(c.minor);
        const std::uint32_t checksum = Kest::Crc32c(0, bytes.data() + frame, seal - frame);
        std::memcpy(bytes.data() + seal, &checksum, sizeof checksum);
        City target;
        ADB::ReadReport report;
        const ADB::ReadReport::Scope scope(report);
        EXPECT_EQ(ReadStream(target, bytes), 0) << int{c.major};
        EXPECT_EQ(target.Get() == source.Get(), c.isRead) << int{c.major};
        EXPECT_EQ(report.Contains(ADB::ReadReport::FrameSkipped), c.isReported) << int{c.major};
    }
}

TEST_F(KindStreamsTest, DocumentsOfOtherVersions) {
    LineType source;
    source.Set<&LineTypeFields::description>(u"old");
    source.Set<&LineTypeFields::pattern>(std::vector{1.0, -2.5});
    std::string text;
    WriteDocument(source, text);
    const auto with = [&text](const std::string& part, const std::string& replacement) {
        std::string changed = text;
        return changed.replace(changed.find(part), part.size(), replacement);
    };
    const struct {
        std::string document;
        const char* expected;   // the texts of the fields; null when it is refused
        bool isReported;
    } cases[] = {
        {text, "old;1 -2.5;0;0;false;;", false},
        {with("<description>old</description>", ""), ";1 -2.5;0;0;false;;", false},
        {with("<description>", "<novel><a>1</a></novel><description>"), "old;1 -2.5;0;0;false;;", true},
        {with("<Item>1</Item>", "<Item>1</Item><Gap/>"), "old;1 -2.5;0;0;false;;", true},
        {with("<description>old</description>", "") + " ", ";1 -2.5;0;0;false;;", false},
        {with("<symbols></symbols>", "<symbols><Item><scale>2</scale></Item></symbols>"),
         "old;1 -2.5;0;0;false;0,0,,,,0,2,0,0,0;", false},
        {with("<Item>1</Item>", "<Item>nan</Item>"), nullptr, false},
        {with("<Item>1</Item>", "<Item>one</Item>"), nullptr, false},
    };
    for (const auto& c : cases) {
        LineType target;
        target.Set<&LineTypeFields::description>(u"before");
        ADB::ReadReport report;
        const ADB::ReadReport::Scope scope(report);
        EXPECT_EQ(ReadDocument(target, c.document) == 0, c.expected != nullptr) << c.document;
        std::string texts;
        for (const FieldText& field : GetFieldTexts(target, [](unsigned, short) { return Kest::UniString(); }))
            texts += Kest::UniString(field.text).ToCStr() + ';';
        EXPECT_EQ(texts, c.expected != nullptr ? c.expected : "before;;0;0;false;;") << c.document;
        EXPECT_EQ(report.Contains(ADB::ReadReport::FrameSkipped), c.isReported) << c.document;
    }
}

}   // namespace
