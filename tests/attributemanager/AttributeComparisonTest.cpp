#include <AttributeManager/GeneralAttribute.hpp>

#include <memory>

#include "attributemanager/AttributeFixture.hpp"

namespace {

using namespace ADBTest;
using Fields = std::vector<int>;

std::string GetData(const GeneralAttribute& attribute, unsigned int id) {
    unsigned short platform = 0;
    short version = 0;
    char** data = nullptr;
    EXPECT_EQ(attribute.GetUserData(id, id, &platform, &version, nullptr, &data), 0);
    const std::string bytes =
        data != nullptr ? std::string(*data, static_cast<std::size_t>(BMGetHandleSize(data))) : "none";
    BMKillHandle(&data);
    return bytes;
}

class AttributeComparisonTest : public ContainerFixture {};

TEST_F(AttributeComparisonTest, CompareAndIsEqualDifferOnPurpose) {
    const struct {
        const char* what;
        void (*change)(Mark&);
        Fields differing;
        bool isEqual;
    } cases[] = {
        {"nothing", [](Mark&) {}, {}, true},
        {"letter case", [](Mark& mark) { mark.SetName(u"WALL"); }, {1}, false},
        {"index", [](Mark& mark) { mark.SetIndex(9); }, {2}, false},
        {"a flag", [](Mark& mark) { mark.SetFlags(0x0042); }, {3}, false},
        {"the client-created flag", [](Mark& mark) { mark.SetClientCreated(true); }, {3}, true},
        {"time", [](Mark& mark) { mark.SetModificationTime(6); }, {4}, false},
        {"other data", [](Mark& mark) { SetData(mark, 1, 1, "yyy"); }, {5}, false},
        {"more data", [](Mark& mark) { SetData(mark, 2, 2, "x"); }, {5}, false},
        {"equal data in a block of their own", [](Mark& mark) { SetData(mark, 1, 1, "xxx"); }, {}, false},
        {"no data", [](Mark& mark) { mark.Destruct(); }, {5}, false},
        {"the passing mark", [](Mark& mark) { mark.MarkDisabled(true); }, {}, true},
    };
    for (const auto& c : cases) {
        Mark mark(u"Wall", 3, 0, 2);
        SetData(mark, 1, 1, "xxx");
        const std::unique_ptr<Mark> other(mark.Clone());
        c.change(*other);
        EXPECT_EQ(FieldsOf(mark.Compare(Reading(other.get()))), c.differing) << c.what;
        EXPECT_EQ(FieldsOf(other->Compare(Reading(&mark))), c.differing) << c.what;
        EXPECT_EQ(mark.IsEqual(Reading(other.get())), c.isEqual) << c.what;
    }
}

TEST_F(AttributeComparisonTest, NullIsLikeNothing) {
    Mark mark(u"Wall", 3);
    EXPECT_TRUE(mark.Compare(ODB::NullRef).IsEmpty());
    EXPECT_FALSE(mark.IsEqual(ODB::NullRef));
    EXPECT_FALSE(mark.HasSameMemoData(ODB::NullRef));
    mark.Copy(ODB::NullRef);
    mark.Synchronize(ODB::NullRef, FieldMask());
    EXPECT_EQ(mark.GetName(), u"Wall");
    EXPECT_TRUE(mark.Compare(Reading(&mark)).IsEmpty());
}

TEST_F(AttributeComparisonTest, CopyKeepsTheOwnDataWhenTheSourceHasNone) {
    const Attribute wall = Add(u"Wall", 3);
    Mark& mark = static_cast<Mark&>(*wall);
    SetData(mark, 1, 1, "own");
    Recorder recorder;
    mark.Attach(recorder);
    Mark source(u"Roof", 8, 0, 5);
    source.SetModificationTime(6);
    mark.Copy(Reading(&source));
    EXPECT_EQ(FieldsOf(mark.Compare(Reading(&source))), Fields{5});
    EXPECT_EQ(GetData(mark, 1), "own");
    EXPECT_EQ(marks->GetAttribute(u"roof"), wall);
    EXPECT_EQ(marks->GetAttribute(8U), wall);
    EXPECT_FALSE(marks->GetAttribute(u"wall"));

    SetData(source, 2, 2, "theirs");
    mark.Copy(Reading(&source));
    EXPECT_TRUE(mark.HasSameMemoData(Reading(&source)));
    EXPECT_EQ(GetData(mark, 1), "none");
    SetData(mark, 2, 2, "changed");
    EXPECT_EQ(GetData(source, 2), "theirs") << "a shared block is copied by whoever changes it";
    EXPECT_EQ(recorder.Take(), (Texts{"data 2/2", "changed 5"})) << "copying is silent";
}

TEST_F(AttributeComparisonTest, AssigningTakesTheDataAndASnapshot) {
    Mark mark(u"Wall", 3), source(u"Roof", 8);
    SetData(mark, 1, 1, "own");
    mark = source;
    EXPECT_FALSE(mark.HasMemoData()) << "unlike Copy";
    EXPECT_TRUE(mark.Compare(Reading(&source)).IsEmpty());
    EXPECT_TRUE(ADB::GeneralAttributeTestAccess::HasSnapshot(mark));
    SetData(mark, 1, 1, "new");
    Mark& self = mark;
    mark = self;
    EXPECT_EQ(GetData(mark, 1), "new");
    EXPECT_FALSE(ADB::GeneralAttributeTestAccess::HasSnapshot(mark)) << "assigning to itself does nothing";
}

TEST_F(AttributeComparisonTest, SynchronizeTakesTheFieldsOfTheMaskAndAnyData) {
    for (int bits = 0; bits < 32; ++bits) {
        const Attribute wall = Add(u"Wall", 3);
        SetData(*wall, 1, 1, "own");
        Recorder recorder;
        wall->Attach(recorder);
        Mark source(u"Roof", 8, 0, 5);
        source.SetModificationTime(6);
        FieldMaskT<GeneralAttribute> mask;
        for (int field = 1; field <= 5; ++field)
            if ((bits >> (field - 1) & 1) != 0)
                mask.Set(field);

        wall->Synchronize(Reading(&source), mask);
        EXPECT_EQ(wall->GetName() == u"Roof", mask.Test(1));
        EXPECT_EQ(wall->GetIndex(), mask.Test(2) ? 8 : 3);
        EXPECT_EQ(wall->GetFlags(), mask.Test(3) ? 5 : 0);
        EXPECT_EQ(wall->GetModificationTime(), mask.Test(4) ? 6 : 0);
        EXPECT_EQ(GetData(*wall, 1), "own");
        EXPECT_EQ(marks->GetAttribute(wall->GetName()), wall);
        EXPECT_EQ(marks->GetAttribute(static_cast<unsigned int>(wall->GetIndex())), wall);
        EXPECT_EQ(recorder.Take(), mask.Test(1) ? Texts{"was Wall"} : Texts());

        SetData(source, 2, 2, "theirs");
        wall->Synchronize(Reading(&source), FieldMask());
        EXPECT_TRUE(wall->HasSameMemoData(Reading(&source))) << "whatever the mask says";
        EXPECT_EQ(recorder.Take(), Texts());
        marks->DeleteAttribute(static_cast<unsigned int>(wall->GetIndex()));
    }
}

TEST_F(AttributeComparisonTest, SynchronizeTellsTheOldNameEvenIfItStays) {
    const Attribute wall = Add(u"Wall", 3);
    Add(u"Roof", 4);
    Recorder recorder;
    wall->Attach(recorder);
    FieldMaskT<GeneralAttribute> mask;
    mask.Set(1);
    mask.Set(2);
    wall->Synchronize(Reading(wall), mask);
    EXPECT_EQ(recorder.Take(), Texts()) << "itself";
    const Mark equal(u"Wall", 4);
    wall->Synchronize(Reading(&equal), mask);
    EXPECT_EQ(recorder.Take(), Texts{"was Wall"});
    EXPECT_EQ(wall->GetIndex(), 4) << "nobody asks whether the index is free";
    EXPECT_EQ(TakeLog(), Texts{"ADB::AttributeIndex::ObjectModified - Test::Mark attribute index 4 is already used by "
                               "\"Roof\""});
}

}   // namespace
