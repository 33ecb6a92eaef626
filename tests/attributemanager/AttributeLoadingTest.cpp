#include <AttributeManager/AttributeSet.hpp>

#include <Kest/MemoryHandle.hpp>
#include <Kest/Resource.hpp>
#include <Kest/XMLIChannel.hpp>
#include <Kest/XMLOChannel.hpp>

#include "DocumentFixture.hpp"

namespace ADBTest {
namespace {

using ADB::Error::NoSuchIndex;
using ADB::Error::UnknownType;
using Kest::PlatformSign;

/// A kind whose stored form gives a warning.
class Warner : public Stamp {
public:
    static const Kest::ClassInfo* GetClassInfoStatic() {
        static const Kest::ClassInfo info("Test::Warner", Kest::Guid("{6E0E4E27-1E36-4A0C-93D4-5C2C27C9D0F1}"), {1, 0},
                                          GeneralAttribute::GetClassInfoStatic(), {},
                                          []() -> Kest::Object* { return new Warner; });
        return &info;
    }
    int Read(Kest::IChannel&) override { return NoSuchIndex; }
};
const Kest::ClassRegistration<Warner> warnerRegistration;

class AttributeLoadingTest : public SetFixture {
protected:
    AttributeLoadingTest() {
        Add(u"Before", 5);
        Kest::MemoryOChannel channel;
        channel.SetProtocolPlatform(PlatformSign::LittleEndian);
        channel.Write(2);
        for (const Mark& mark : {Mark(u"Wall", 7), Mark(u"Roof", 3)})
            mark.Write(channel);
        data.assign(channel.GetBytes(), channel.GetSize());
        set->Attach(recorder);
    }
    ~AttributeLoadingTest() override {
        if (set)
            set->Detach(recorder);
        Kest::SetResourceProvider(nullptr);
    }

    int Load(const std::string& bytes, int length) {
        std::string copy = bytes;
        return set->LoadAttributeTypeFromFile(copy.data(), markType, length, PlatformSign::LittleEndian);
    }

    SetRecorder recorder;
    std::string data;
};

const Texts Loaded{"3 Roof", "7 Wall"};
const Texts Told{"created 1 Roof", "created 1 Wall"};

Texts Sorted(Texts lines) {
    std::sort(lines.begin(), lines.end());
    return lines;
}

TEST_F(AttributeLoadingTest, FromMemoryOrAChannel) {
    const int length = static_cast<int>(data.size());
    EXPECT_EQ(Load(data, length), 0);
    EXPECT_EQ(Sorted(ListMarks(set)), Loaded);
    EXPECT_EQ(recorder.Take(), Told) << "in ascending index order";

    std::string longer = "ahead" + data + "behind";
    Kest::MemoryIChannel channel(longer.data(), longer.size());
    channel.SetProtocolPlatform(PlatformSign::LittleEndian);
    EXPECT_NE(channel.TakeBlock(5), nullptr);
    EXPECT_EQ(set->LoadAttributeTypeFrom900File(channel, markType, length, PlatformSign::LittleEndian), 0);
    EXPECT_EQ(channel.GetPosition(), 5 + data.size());
    EXPECT_EQ(recorder.Take(), Told);

    for (const short unknown : Indexes{0, -1, 3, 32767})
        EXPECT_EQ(set->LoadAttributeTypeFromFile(data.data(), unknown, length, PlatformSign::LittleEndian),
                  UnknownType);
    data[data.size() - 1] = static_cast<char>(data[data.size() - 1] ^ 1);
    EXPECT_NE(Load(data, length), 0);
    EXPECT_EQ(ListMarks(set), Texts());
    EXPECT_EQ(recorder.Take(), Texts()) << "nobody hears of a load that failed";
}

TEST_F(AttributeLoadingTest, WithoutDataTheTypeIsEmptiedInSilence) {
    for (const int length : {0, -1}) {
        Add(u"Wall", 7);
        recorder.Take();
        EXPECT_EQ(Load(data, length), 0);
        EXPECT_EQ(ListMarks(set), Texts());
        EXPECT_EQ(recorder.Take(), Texts());
    }
}

TEST_F(AttributeLoadingTest, AWarningComesBack) {
    const short type = Register(CodeOf("WARN"), Warner::GetClassInfoStatic(), Kest::Guid(), u"Warners");
    ASSERT_EQ(set->AddAttributeContainer(
                  new ADB::AttributeContainer(CodeOf("WARN"), Kest::Guid(), &space, u"Warners", {}, {})),
              0);
    EXPECT_EQ(
        set->LoadAttributeTypeFromFile(data.data(), type, static_cast<int>(data.size()), PlatformSign::LittleEndian),
        NoSuchIndex);
}

TEST_F(AttributeLoadingTest, FromAResource) {
    std::string resource;
    bool isThere = true;
    int calls = 0;
    Kest::SetResourceProvider([&](std::int64_t module, unsigned int type, short number) -> char** {
        ++calls;
        EXPECT_EQ(module, 1LL << 40);
        EXPECT_EQ(type, Mark::RefId);
        EXPECT_EQ(number, 128);
        return isThere ? BMPtrToHandle(resource.data(), static_cast<std::int64_t>(resource.size())) : nullptr;
    });
    const std::string damaged = data.substr(0, data.size() - 1);
    const struct {
        const char* when;
        short type;
        bool there;
        std::string bytes;
        bool works;
        Texts marks, told;
    } cases[] = {
        {"whole", 1, true, data, true, Loaded, Told},
        {"damaged", 1, true, damaged, false, {}, {}},
        {"empty", 1, true, "", true, {}, {}},
        {"missing", 1, false, "", true, {}, {}},
        {"type 0", 0, true, data, false, {"5 Old"}, {}},
        {"type beyond the last", 3, true, data, false, {"5 Old"}, {}},
    };
    for (const auto& c : cases) {
        set->DeleteAttributeType(markType);
        Add(u"Old", 5);
        recorder.Take();
        resource = c.bytes;
        isThere = c.there;
        const int before = calls;
        const int status = set->LoadAttributeTypeFromResource(c.type, 1LL << 40, 128);
        EXPECT_EQ(status == 0, c.works) << c.when;
        EXPECT_EQ(Sorted(ListMarks(set)), c.marks) << c.when;
        EXPECT_EQ(recorder.Take(), c.told) << c.when;
        EXPECT_EQ(calls - before, c.type == 1 ? 1 : 0) << c.when;
        EXPECT_EQ(status == UnknownType, c.type != 1) << c.when;
    }
}

TEST_F(AttributeLoadingTest, FromXML) {
    ASSERT_EQ(Load(data, static_cast<int>(data.size())), 0);
    Kest::StringSink sink;
    Kest::XMLOChannel output(sink, "Doc");
    output.BeginDocument();
    EXPECT_EQ(set.GetConst()->SaveAttributeTypeToXMLFile(output, markType), 0);
    EXPECT_EQ(set.GetConst()->SaveAttributeTypeToXMLFile(output, 9), UnknownType);
    ASSERT_EQ(output.EndDocument(), 0);

    set->DeleteAttributeType(markType);
    recorder.Take();
    Kest::XMLIChannel input(sink.GetText(), "Doc");
    EXPECT_EQ(set->LoadAttributeTypeFromXMLFile(input, 9, PlatformSign::LittleEndian), UnknownType);
    EXPECT_EQ(set->LoadAttributeTypeFromXMLFile(input, markType, PlatformSign::LittleEndian), 0);
    EXPECT_EQ(ListMarks(set), Loaded);
    EXPECT_EQ(recorder.Take(), Told);
}

TEST_F(AttributeLoadingTest, AnObserverMayDeleteTheSet) {
    recorder.act = [this](const std::string& text) {
        if (text.starts_with("created"))
            DisposeAttributeSet(set);
    };
    EXPECT_EQ(Load(data, static_cast<int>(data.size())), 0);
    EXPECT_EQ(recorder.Take(), (Texts{"created 1 Roof", "destroyed"}));
    EXPECT_FALSE(set);
}

}   // namespace
}   // namespace ADBTest
