#include <AttributeManager/GeneralAttribute.hpp>
#include <AttributeManager/UserDataConverter.hpp>

#include <cstdint>
#include <memory>

#include "attributemanager/AttributeFixture.hpp"

namespace {

using namespace ADBTest;
using Access = ADB::GeneralAttributeTestAccess;
using Converter = GeneralAttribute::UserDataConverter;
using Owners = Kest::Array<ZalUtil::Owner>;

// One record as it was stored or found.
struct Record {
    int platform = 0;
    int version = 0;
    unsigned int flags = 0;
    std::string data = "none";

    friend bool operator==(const Record&, const Record&) = default;
    friend std::ostream& operator<<(std::ostream& stream, const Record& record) {
        return stream << record.platform << ' ' << record.version << ' ' << record.flags << ' ' << record.data;
    }
};

int Set(GeneralAttribute& attribute, ZalUtil::Owner owner, const Record& record) {
    return SetData(attribute, owner.id1, owner.id2, record.data, static_cast<unsigned short>(record.platform),
                   static_cast<short>(record.version), record.flags);
}

Record Get(const GeneralAttribute& attribute, ZalUtil::Owner owner) {
    unsigned short platform = 1;
    short version = 1;
    unsigned int flags = 1;
    char** data = nullptr;
    EXPECT_EQ(attribute.GetUserData(owner.id1, owner.id2, &platform, &version, &flags, &data), 0);
    Record record{platform, version, flags, "none"};
    if (data != nullptr)
        record.data.assign(*data, static_cast<std::size_t>(BMGetHandleSize(data)));
    BMKillHandle(&data);
    return record;
}

class UserDataTest : public ContainerFixture {
protected:
    UserDataTest() : wall(Add(u"Wall")) {}

    Attribute wall;
};

TEST_F(UserDataTest, ARecordComesBackWhole) {
    const Record one{0x4D4D, -3, 0xFFFFFFFF, "one"}, two{0x5757, 32767, 0, ""};
    EXPECT_EQ(Set(*wall, {1, 2}, one), 0);
    EXPECT_EQ(Set(*wall, {2, 1}, two), 0);
    EXPECT_EQ(Get(*wall, {1, 2}), one);
    EXPECT_EQ(Get(*wall, {2, 1}), two) << "length 0 is a record too";
    EXPECT_EQ(Get(*wall, {1, 1}), Record()) << "a missing one is no error";
    const Record replaced{1, 2, 3, std::string(100'000, 'x')};
    EXPECT_EQ(Set(*wall, {1, 2}, replaced), 0);
    EXPECT_EQ(Get(*wall, {1, 2}), replaced);
    EXPECT_EQ(Get(*wall, {2, 1}), two);
    EXPECT_EQ(wall->GetOwners(), (Owners{{1, 2}})) << "a record without data at the very end is not seen";
    EXPECT_EQ(Set(*wall, {3, 3}, one), 0);
    EXPECT_EQ(wall->GetOwners(), (Owners{{1, 2}, {2, 1}, {3, 3}}));
}

TEST_F(UserDataTest, NullArgumentsAreRefused) {
    unsigned short platform = 0;
    short version = 0;
    char** data = nullptr;
    const std::uint64_t stamp = wall.GetModificationStamp();
    const GeneralAttribute& reading = *wall.GetConst();
    EXPECT_EQ(reading.GetUserData(1, 1, nullptr, &version, nullptr, &data), ADB::Error::NullArgument);
    EXPECT_EQ(reading.GetUserData(1, 1, &platform, nullptr, nullptr, &data), ADB::Error::NullArgument);
    EXPECT_EQ(reading.GetUserData(1, 1, &platform, &version, nullptr, nullptr), ADB::Error::NullArgument);
    EXPECT_EQ(reading.GetUserData(1, 1, &platform, &version, nullptr, &data), 0) << "flags may be null";
    EXPECT_EQ(wall.GetModificationStamp(), stamp);
    EXPECT_EQ(wall->SetUserData(1, 1, 0, 0, 0, nullptr), ADB::Error::NullArgument);
    EXPECT_FALSE(wall->HasMemoData());
}

TEST_F(UserDataTest, DeletingIsSilentAndEmptiesAtTheEnd) {
    Set(*wall, {1, 2}, {0, 0, 0, "one"});
    Set(*wall, {3, 4}, {0, 0, 0, "two"});
    Recorder recorder;
    wall->Attach(recorder);
    const std::unique_ptr<Mark> copy(static_cast<const Mark*>(wall.GetConst())->Clone());
    EXPECT_EQ(wall->DeleteUserData(1, 2), 0);
    EXPECT_EQ(wall->DeleteUserData(1, 2), 0) << "nothing to delete";
    EXPECT_EQ(Get(*wall, {1, 2}), Record());
    EXPECT_EQ(Get(*wall, {3, 4}).data, "two");
    EXPECT_EQ(wall->DeleteUserData(3, 4), 0);
    EXPECT_FALSE(wall->HasMemoData());
    const Mark empty;
    EXPECT_TRUE(wall->HasSameMemoData(Reading(&empty))) << "all empty tables are the same";
    EXPECT_EQ(recorder.Take(), Texts());
    EXPECT_EQ(Get(*copy, {1, 2}).data, "one") << "copies keep the shared block";
}

TEST_F(UserDataTest, OwnersAreListedAndRemovedThroughTheContainer) {
    struct Finder : ZalUtil::ICBOwnerFound {
        void OwnerFound(const ZalUtil::Owner& owner) override { found.Push(owner); }
        Owners found;
    } finder;
    const Attribute roof = Add(u"Roof", 30), door = Add(u"Door", 20);
    Set(*roof, {5, 6}, {0, 0, 0, ""});
    Set(*roof, {1, 2}, {0, 0, 0, "x"});
    Set(*door, {7, 8}, {0, 0, 0, "x"});
    marks.GetConst()->LookupExternalDataHandlers(&finder);
    EXPECT_EQ(finder.found, (Owners{{7, 8}, {5, 6}, {1, 2}})) << "by ascending index";

    Recorder recorder;
    roof->Attach(recorder);
    marks->DeleteExternalDataHandlers({{5, 6}, {7, 8}, {9, 9}});
    EXPECT_EQ(roof->GetOwners(), (Owners{{1, 2}}));
    EXPECT_FALSE(door->HasMemoData());
    EXPECT_EQ(recorder.Take(), Texts());
    roof->Destruct();
    EXPECT_FALSE(roof->HasMemoData());
}

// Appends its letter, or does what it is told.
class AppendingConverter : public Converter {
public:
    AppendingConverter(ZalUtil::Owner ownerOfData, unsigned int type, char ownLetter)
        : Converter(ownerOfData.id1, ownerOfData.id2, type),
          letter(ownLetter) {}

    bool ConvertUserData(Reading attribute, unsigned short& platform, short& version, unsigned int& flags,
                         char**& data) override {
        EXPECT_EQ(attribute->GetName(), u"Wall");
        platform = 7;
        version = 8;
        flags = 9;
        if (letter == '-') {
            BMKillHandle(&data);
            return true;
        }
        data = BMReallocHandle(data, BMGetHandleSize(data) + 1);
        (*data)[BMGetHandleSize(data) - 1] = letter;
        return letter != '!';
    }

private:
    char letter;
};

TEST_F(UserDataTest, ConvertersRewriteACopyOfTheTable) {
    Set(*wall, {1, 1}, {1, 2, 3, "a"});
    Set(*wall, {2, 2}, {1, 2, 3, "b"});
    Set(*wall, {3, 3}, {1, 2, 3, "c"});
    Set(*wall, {4, 4}, {1, 2, 3, "d"});
    const AppendingConverter first({1, 1}, 0, 'X'), foreign({2, 2}, Mark::RefId + 1, 'X'), refusing({3, 3}, 0, '!'),
        removing({4, 4}, Mark::RefId, '-');
    EXPECT_TRUE(first.IsHandlingAttributeType(5));
    EXPECT_FALSE(removing.IsHandlingAttributeType(5));

    Mark written(u"Wall");
    Access::Memo(written) = Access::ConvertRegMemo(*wall);
    EXPECT_EQ(Get(written, {1, 1}), (Record{7, 8, 9, "aX"}));
    EXPECT_EQ(Get(written, {2, 2}), (Record{1, 2, 3, "b"}));
    EXPECT_EQ(Get(written, {3, 3}), (Record{1, 2, 3, "c"}));
    EXPECT_EQ(Get(written, {4, 4}), Record());
    EXPECT_EQ(Get(*wall, {1, 1}), (Record{1, 2, 3, "a"})) << "the attribute's own table stays";
}

TEST_F(UserDataTest, TheFirstConverterStaysUntilAnyOfItsOwnerDies) {
    const ZalUtil::Owner owner{1, 1};
    const AppendingConverter first(owner, 0, 'X');
    {
        const AppendingConverter second(owner, 0, 'Y');
        EXPECT_EQ(Converter::Find(owner), &first);
    }
    EXPECT_EQ(Converter::Find(owner), nullptr);
    const AppendingConverter third(owner, 0, 'Z');
    EXPECT_EQ(Converter::Find(owner), &third);

    EXPECT_EQ(Converter::GetOutputPlanVersion(), 0);
    Converter::SetOutputPlanVersion(12);
    EXPECT_EQ(Converter::GetOutputPlanVersion(), 12);
    Converter::SetOutputPlanVersion(0);
}

}   // namespace
