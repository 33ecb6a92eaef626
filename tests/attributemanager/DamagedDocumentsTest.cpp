// Whole sets, stores and documents with every kind of damage.
#include <AttributeManager/AttributeSetStore.hpp>

#include <cstdlib>

#include <Kest/XMLIChannel.hpp>
#include <Kest/XMLOChannel.hpp>

#include "DocumentFixture.hpp"
#include "inputoutput/TestFolder.hpp"
#include "support/ForEachFailure.hpp"

namespace ADBTest {
namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr std::size_t Step = 13;   // sampled: each run takes many times longer
#else
constexpr std::size_t Step = 1;
#endif

class DamagedDocumentsTest : public DocumentFixture {
protected:
    static std::string Written(const ODB::Ref<ADB::AttributeSet>& written) {
        return BytesOf([&](Kest::OChannel& channel) { return written.GetConst()->Write(channel); });
    }

    // What was read can be written and read again, and is the same then.
    void ExpectWhole(const std::string& when) {
        EXPECT_TRUE(other.GetConst()->CheckInvariants() && otherSpace.CheckInvariants()) << when;
        const std::string first = Written(other);
        EXPECT_EQ(ReadSet(*other.GetLogicalConst(), first), 0) << when;
        EXPECT_TRUE(Written(other) == first) << when;
    }

    // Calls `read` with each beginning and each flipped bit of the sealed frame, as they are and with the seal
    // repaired.
    template <class Read>
    static void ForEachDamage(const std::string& frame, Read&& read) {
        constexpr auto platform = Kest::PlatformSign::LittleEndian;
        std::size_t count = 0;
        for (const Damage damage : {Damage::Plain, Damage::Repaired}) {
            const auto sampled = [&](const std::string& bytes, std::size_t place) {
                if (count++ % Step == 0)
                    read(bytes, damage, std::to_string(static_cast<int>(damage)) + " " + std::to_string(place));
            };
            ForEachTruncation(frame, damage, platform, [&](const std::string& bytes) { sampled(bytes, bytes.size()); });
            ForEachBitFlip(frame, damage, platform, sampled);
        }
    }

    ODB::IdSpace otherSpace;
    ODB::Ref<ADB::AttributeSet> other = NewSet(otherSpace);
};

TEST_F(DamagedDocumentsTest, SetsOfAllVersions) {
    Fill();
    for (const int version : {0, 3, 2, 1}) {
        const std::string frame = WriteSet(version);
        ASSERT_EQ(ReadSet(*other.GetLogicalConst(), WriteSet(0)), 0);
        Texts before = Describe(other);
        ForEachDamage(frame, [&](const std::string& bytes, Damage damage, const std::string& when) {
            const int status = ReadSet(*other.GetLogicalConst(), bytes);
            // Version 1 cannot be read back: without its seal it is opened, and refused inside.
            const bool isOpened = damage == Damage::Repaired || (version == 1 && when == "0 18");
            EXPECT_TRUE(status == 0 || isOpened || Describe(other) == before) << when;
            ExpectWhole(when);
            before = Describe(other);
        });
    }
}

TEST_F(DamagedDocumentsTest, Stores) {
    Fill();
    ADB::AttributeSetStore store;
    ASSERT_EQ(store.Update(set, 0), 0);
    const auto write = [&store](Kest::OChannel& channel) { return store.WriteIsolatedState(channel); };
    const std::string frame = BytesOf(write);
    ForEachDamage(frame, [&](const std::string& bytes, Damage, const std::string& when) {
        const std::string before = BytesOf(write);
        const auto read = [&store](Kest::IChannel& channel) { return store.ReadIsolatedState(channel); };
        const int status = ReadBytes(bytes, read);
        EXPECT_TRUE(status == 0 || BytesOf(write) == before) << when;
        store.Load(other);   // the data are sealed themselves: they are refused, or whole
        EXPECT_TRUE(other.GetConst()->CheckInvariants()) << when;
    });
}

TEST_F(DamagedDocumentsTest, DocumentsOfTypes) {
    Fill();
    const auto save = [](const ODB::Ref<ADB::AttributeSet>& saved) {
        Kest::StringSink sink;
        Kest::XMLOChannel channel(sink, "Document");
        channel.BeginDocument();
        EXPECT_EQ(saved.GetConst()->SaveAttributeTypeToXMLFile(channel, 4), 0);
        EXPECT_EQ(channel.EndDocument(), 0);
        return sink.TakeText();
    };
    const auto load = [this](const std::string& text) {
        try {
            Kest::XMLIChannel channel(text, "Document");
            const int status = other->LoadAttributeTypeFromXMLFile(channel, 4, Kest::PlatformSign::LittleEndian);
            return status != 0 ? status : channel.EndDocument();
        } catch (const KestXML::XMLIChannelException&) {
            return int{Kest::ChannelStatus::Damaged};
        }
    };
    const std::string whole = save(set);
    const auto check = [&](const std::string& text, std::size_t place) {
        const int status = load(text);
        EXPECT_TRUE(other.GetConst()->CheckInvariants()) << place;
        if (status != 0)
            return;
        const std::string again = save(other);
        EXPECT_EQ(load(again), 0) << place;
        EXPECT_TRUE(save(other) == again) << place;
    };
    for (std::size_t place = 0; place < whole.size(); place += Step) {
        check(whole.substr(0, place), place);
        for (const char byte : {'<', '>', '&', '0', '\\', '\xFF'})
            check(std::string(whole).replace(place, 1, 1, byte), place);
    }
}

TEST_F(DamagedDocumentsTest, LackOfMemoryInWritingASetLeavesOldDocumentsOrNewOnes) {
    Fill();
    TestFolder folder;
    Kest::Array<UniString> messages;
    ASSERT_EQ(set.GetConst()->CustomWriteXML(folder.Place(), nullptr, messages), 0);
    const IO::Location place = folder.Place();
    const Texts old = Describe();
    Add<CodeOf("FILL")>(4, u"New", 12);
    int status = 0;
    const FailureCount count = ForEachFailure(
        [&] {
            Kest::Array<UniString> dropped;
            status = set.GetConst()->CustomWriteXML(place, nullptr, dropped);
        },
        [&](bool failed) {
            EXPECT_TRUE(failed || status == 0);
            ASSERT_EQ(other->CustomReadXML(folder.Place("Attribute.xml"), nullptr, messages), 0);
            EXPECT_TRUE(Describe(other) == Describe() || (status != 0 && Describe(other) == old));
        });
    EXPECT_GT(count.failures, 20u);
}

TEST_F(DamagedDocumentsTest, DocumentsAreWellFormedToOthers) {
    if (std::system("xmllint --version >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "xmllint is not installed";
    Fill();
    Add<CodeOf("FILL")>(4, UniString(std::u16string(100000, u'\u0416')), 77);
    TestFolder folder;
    Kest::Array<UniString> messages;
    ASSERT_EQ(set.GetConst()->CustomWriteXML(folder.Place(), nullptr, messages), 0);
    for (const std::string& name : folder.Names())
        EXPECT_EQ(std::system(("xmllint --huge --noout '" + folder.At(name).string() + "'").c_str()), 0) << name;
}

}   // namespace
}   // namespace ADBTest
