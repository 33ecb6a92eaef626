#include <AttributeManager/AttributeSet.hpp>

#include <Kest/Frames.hpp>

#include "DocumentFixture.hpp"
#include "support/ForEachFailure.hpp"

namespace ADBTest {
namespace {

using ADB::ReadReport;

class AttributeSetStreamTest : public DocumentFixture {
protected:
    /// A set of its own to read into.
    ODB::IdSpace otherSpace;
    ODB::Ref<ADB::AttributeSet> other = NewSet(otherSpace);

    /// The content without the types that a stream of \p version leaves out.
    Texts Expected(int version) const {
        Texts lines = Describe();
        std::erase_if(lines, [version](const std::string& line) {
            return (version <= 2 && line.starts_with("16 ")) ||
                   (version <= 1 && (line.starts_with("14 ") || line.starts_with("15 ")));
        });
        return lines;
    }
    /// Two frames around what \p write writes, so that the inner one is not sealed.
    template <class Write>
    static std::string FrameOf(Write&& write) {
        return BytesOf([&write](Kest::OChannel& channel) {
            Kest::OutputFrame frame(channel, *ADB::AttributeSet::GetClassInfoStatic());
            write(channel);
            return frame.Close();
        });
    }
};

TEST_F(AttributeSetStreamTest, EachVersionHasItsBytesAndIsReadAgain) {
    Fill();
    for (const int version : {1, 2, 3, 4}) {
        const std::string bytes = WriteSet(version);
        EXPECT_EQ(bytes, ReadHexFile("set-version" + std::to_string(version) + ".hex")) << version;
        if (version == 1) {   // what attributes wrote of themselves in version 1 cannot be read back
            EXPECT_NE(ReadSet(*other, bytes), 0);
            EXPECT_EQ(Describe(other), Texts());
            continue;
        }
        EXPECT_EQ(ReadSet(*other, bytes), 0) << version;
        EXPECT_EQ(Describe(other), Expected(version)) << version;
        EXPECT_EQ(other.GetConst()->GetSolidFill(), 0);
    }
    EXPECT_EQ(WriteSet(0), WriteSet(4));
}

TEST_F(AttributeSetStreamTest, ContainersWithoutAttributesOrTypeAreNotCounted) {
    const std::string empty = FrameOf([](Kest::OChannel& channel) { channel.Write(0u); });
    EXPECT_EQ(WriteSet(4), empty);
    const Container unknown(new ADB::AttributeContainer(CodeOf("NONE"), Kest::Guid(), &space, u"Unknown", {}, {}));
    ASSERT_EQ(set->AddAttributeContainer(unknown), 0);
    const Kind<CodeOf("NONE")> attribute(u"A", 1);
    unknown->NewAttribute(Reading(&attribute), true, false);
    EXPECT_EQ(WriteSet(4), empty);

    Fill();
    const Container own = set.GetConst()->GetAttributeContainer(4);
    EXPECT_EQ(ReadSet(*set, empty), 0);
    EXPECT_EQ(Describe(), Texts());
    EXPECT_EQ(set.GetConst()->GetAttributeContainer(4), own);
}

TEST_F(AttributeSetStreamTest, UnknownTypesSkipNothing) {
    Fill();
    const Kest::Guid unknown("{11111111-2222-3333-4444-555555555555}");
    const auto container = set.GetConst()->GetConstAttributeContainer(1);
    const auto writeKnown = [&](Kest::OChannel& channel) {
        channel.Write(kinds->GetTypeGuid(1));
        container->Write(channel);
    };
    const struct {
        const char* when;
        std::string bytes;
        int status;
        std::size_t read, skipped;
    } cases[] = {
        {"without data: the next type follows", FrameOf([&](Kest::OChannel& channel) {
             channel.Write(2u);
             channel.Write(unknown);
             writeKnown(channel);
         }),
         0, 1, 1},
        {"with data: they are taken for GUIDs, to the end of the frame", FrameOf([&](Kest::OChannel& channel) {
             channel.Write(3u);
             channel.Write(unknown);
             container->Write(channel);
         }),
         0, 0, 3},
        {"more types than there can be", FrameOf([&](Kest::OChannel& channel) {
             channel.Write(0x10000000u);
             writeKnown(channel);
         }),
         Kest::ChannelStatus::EndOfData, 0, 0},
        {"a type that is cut off", FrameOf([&](Kest::OChannel& channel) {
             channel.Write(2u);
             writeKnown(channel);
         }),
         Kest::ChannelStatus::EndOfData, 1, 0},
    };
    for (const auto& c : cases) {
        ReadReport report;
        const ReadReport::Scope scope(report);
        EXPECT_EQ(ReadSet(*other, c.bytes), c.status) << c.when;
        EXPECT_EQ(Describe(other).size(), c.read) << c.when;
        EXPECT_EQ(report.GetEntries().GetSize(), c.skipped) << c.when;
        EXPECT_EQ(report.Contains(ReadReport::TypeSkipped), c.skipped > 0) << c.when;
        EXPECT_TRUE(c.skipped == 0 || report.GetEntries()[0].name == UniString(unknown.ToText().c_str())) << c.when;
    }
}

TEST_F(AttributeSetStreamTest, UnknownVersionsReadNothingAndSucceed) {
    Fill();
    const Texts before = Describe();
    for (const char version : {'\0', '\5'}) {
        ReadReport report;
        const ReadReport::Scope scope(report);
        EXPECT_EQ(ReadSet(*set, WithMajorVersion(WriteSet(4), version)), 0);
        EXPECT_EQ(Describe(), before);
        EXPECT_TRUE(report.Contains(ReadReport::FrameSkipped));
    }
    EXPECT_EQ(TakeDebug(), (Texts{"ADB::AttributeSet::Read: Unsupported object version: (0, 0)\n",
                                  "ADB::AttributeSet::Read: Unsupported object version: (5, 0)\n"}));
}

TEST_F(AttributeSetStreamTest, TheIsolatedStateHoldsTheFills) {
    Fill();
    const auto write = [this](Kest::OChannel& channel) { return set.GetConst()->WriteIsolatedState(channel); };
    const std::string bytes = BytesOf(write);
    EXPECT_EQ(bytes, ReadHexFile("set-isolated.hex"));
    const auto read = [this](Kest::IChannel& channel) { return other->ReadIsolatedState(channel); };
    EXPECT_EQ(ReadBytes(WithMajorVersion(bytes, 3), read), 0);
    EXPECT_NE(ReadBytes(bytes.substr(0, bytes.size() - 1), read), 0);
    EXPECT_EQ(other.GetConst()->GetSolidFill(), 0);
    EXPECT_EQ(ReadBytes(bytes, read), 0);
    EXPECT_EQ(other.GetConst()->GetSolidFill(), 3);
    EXPECT_EQ(other.GetConst()->GetPercentFill(ADB::AttributeSet::PercentFill75), -9);

    const Kest::ClassManager::OutputVersionBlock block(3);
    EXPECT_EQ(BytesOf(write).size(), 28u + 4u);
    EXPECT_EQ(TakeDebug(), (Texts{"ADB::AttributeSet::ReadIsolatedState: Unsupported object version: (3, 0)\n",
                                  "ADB::AttributeSet::WriteIsolatedState: Unsupported object version: (3, 0)\n"}));
    const std::string lum =
        BytesOf([this](Kest::OChannel& channel) { return set.GetConst()->WriteLumIsolatedState(channel); });
    EXPECT_EQ(lum.size(), 28u + 4u);
    EXPECT_EQ(ReadBytes(lum, [this](Kest::IChannel& channel) { return other->ReadLumIsolatedState(channel); }), 0);
}

TEST_F(AttributeSetStreamTest, DamageIsRefusedOrLeavesContainersEmptyOrWhole) {
    using Set = ADB::AttributeSet;
    Fill();
    const Texts whole = Describe();
    const struct {
        const char* name;
        std::string bytes;
        int (Set::*read)(Kest::IChannel&);
        int (Set::*write)(Kest::OChannel&) const;
        bool isState = false;
        bool isEmpty = false;
    } forms[] = {
        {"version 1", ReadHexFile("set-version1.hex"), &Set::Read, &Set::Write},
        {"version 2", ReadHexFile("set-version2.hex"), &Set::Read, &Set::Write},
        {"version 3", ReadHexFile("set-version3.hex"), &Set::Read, &Set::Write},
        {"version 4", ReadHexFile("set-version4.hex"), &Set::Read, &Set::Write},
        {"state", ReadHexFile("set-isolated.hex"), &Set::ReadIsolatedState, &Set::WriteIsolatedState, true},
        {"collaboration",
         BytesOf([this](Kest::OChannel& channel) { return set.GetConst()->WriteLumIsolatedState(channel); }),
         &Set::ReadLumIsolatedState, &Set::WriteLumIsolatedState, true, true},
    };
    const auto write = [this](auto writer) {
        return BytesOf([&](Kest::OChannel& channel) { return ((*other.GetConst()).*writer)(channel); });
    };
    const auto read = [this](auto reader, const std::string& bytes) {
        const ODB::IdSpace::InputScope scope(&otherSpace);
        return ReadBytes(bytes, [&](Kest::IChannel& channel) { return ((*other.GetLogicalConst()).*reader)(channel); });
    };
    Kind<CodeOf("LAST")> old(u"Old", 5);
    ASSERT_EQ(other->NewAttribute(LastType, &old, true, true), 0);
    other->SetSolidFill(77);
    const Texts before = Describe(other);
    const std::string bytesBefore = write(&Set::Write);
    const std::string fillsBefore = write(&Set::WriteIsolatedState);
    for (const auto& form : forms) {
        std::size_t taken = 0;
        ForEachDamage(form.bytes, [&](const std::string& damaged, bool isTold, std::size_t position) {
            if (HasFailure())
                return;
            SCOPED_TRACE(testing::Message() << form.name << " at " << position);
            const int status = read(form.read, damaged);
            EXPECT_TRUE(other.GetConst()->CheckInvariants() && otherSpace.CheckInvariants());
            const Texts found = Describe(other);
            const bool isUnchanged = found == before && write(&Set::WriteIsolatedState) == fillsBefore;
            if (form.isState)
                EXPECT_TRUE(found == before && (status == 0 || isUnchanged));
            else
                EXPECT_TRUE(isUnchanged ||
                            (write(&Set::WriteIsolatedState) == fillsBefore && HasWholeGroups(found, whole)));
            EXPECT_TRUE(!isTold || (status != 0 && isUnchanged));
            if (status == 0) {
                const std::string said = write(form.write);
                EXPECT_EQ(read(form.read, said), 0);
                EXPECT_TRUE(write(form.write) == said);
            }
            if (!isUnchanged) {
                ++taken;
                EXPECT_EQ(read(&Set::Read, bytesBefore), 0);
                EXPECT_EQ(read(&Set::ReadIsolatedState, fillsBefore), 0);
            }
        });
        EXPECT_TRUE(taken > 0 || IsSanitized || form.isEmpty) << form.name;
    }
}

TEST_F(AttributeSetStreamTest, LackOfMemoryLeavesContainersEmptyOrWhole) {
    Fill();
    const std::string bytes = WriteSet(4);
    const Texts whole = Describe();
    int status = 0;
    const std::string empty = FrameOf([](Kest::OChannel& channel) { channel.Write(0u); });
    const auto readAndEmpty = [&] {
        status = ReadSet(*other, bytes);
        const AllocationsSucceed succeed;
        EXPECT_TRUE(other.GetConst()->CheckInvariants());
        const Texts lines = Describe(other);
        EXPECT_TRUE(status != 0 ? HasWholeGroups(lines, whole) : lines == whole);
        EXPECT_EQ(ReadSet(*other, empty), 0);
    };
    readAndEmpty();   // what stays for the next time is there
    const FailureCount count =
        ForEachFailure(readAndEmpty, [&](bool failed) { EXPECT_EQ(status, failed ? ADB::Error::MemoryFull : 0); });
    EXPECT_GT(count.failures, 50u);
    EXPECT_EQ(count.leakedBlocks, 0);
}

}   // namespace
}   // namespace ADBTest
