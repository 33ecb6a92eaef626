#include <AttributeManager/AttributeContainer.hpp>

#include <functional>

#include "attributemanager/AttributeFixture.hpp"
#include "support/ForEachFailure.hpp"

namespace {

using namespace ADBTest;

constexpr char16_t LongName[] = u"A name that does not fit into the object itself";

// Runs operations of a container that run out of memory at each place once.
class AttributeFailureTest : public ContainerFixture {
protected:
    // What can be seen of the container: names, indexes, flags, user data and who holds which key.
    std::string Describe() const {
        std::string text;
        marks.GetConst()->EnumerateConstAttributes([&](const Reading& attribute) {
            text += std::to_string(attribute->GetIndex()) + ' ' + attribute->GetName().ToCStr() + ' ' +
                    std::to_string(attribute->GetFlags()) + (attribute->HasMemoData() ? " data" : "") +
                    (marks.GetConst()->GetConstAttribute(attribute->GetName()) == attribute ? " named" : "") +
                    (marks.GetConst()->GetConstAttribute(static_cast<unsigned int>(attribute->GetIndex())) == attribute
                         ? " numbered\n"
                         : "\n");
        });
        return text;
    }

    // The operation makes `undo` necessary when it succeeds, which gives all back; `failedCode` is what it answers when
    // it does not.
    void Try(const std::function<int()>& operation, int failedCode, const std::function<void()>& undo) {
        const std::string before = Describe();
        int code = 0;
        const auto operateAndUndo = [&] {
            try {
                code = operation();
            } catch (const std::bad_alloc&) {
                code = Thrown;
            }
            const AllocationsSucceed succeed;
            EXPECT_TRUE(IsSound());
            if (code == 0)
                undo();
            EXPECT_EQ(Describe(), before);
            TakeLog();
        };
        const auto check = [&](bool failed) { EXPECT_TRUE(code == 0 || (failed && code == failedCode)) << code; };
        EXPECT_GT(ForEachFailure(operateAndUndo, check).failures, 0U);
        // What containers keep for the next time is there now.
        EXPECT_EQ(ForEachFailure(operateAndUndo, check).leakedBlocks, 0);
    }

    static constexpr int Thrown = 1;
};

TEST_F(AttributeFailureTest, NewAttributeLeavesNothingBehind) {
    for (const int held : {0, 1, 20}) {
        for (int count = 0; count < held; ++count)
            Add(LongName);
        const std::size_t objects = space.GetObjectCount();
        const Mark source(LongName, 300);
        const Reading reading(&source);
        Attribute made;
        const auto undo = [&] {
            ODB::Database::DeleteObject(made);
            made = ODB::NullRef;
        };
        Try([&] { return (made = marks.GetLogicalConst()->NewAttribute(reading, true, true)) ? 0 : 5; }, 5, undo);
        Try(
            [&] {
                made = marks.GetLogicalConst()->NewAttribute(reading, 7, Kest::Guid::Generate(), &space);
                return made ? 0 : 5;
            },
            5, undo);
        EXPECT_EQ(space.GetObjectCount(), objects);
        marks->ResetContainer();
    }
}

TEST_F(AttributeFailureTest, SettersAnswerMemoryFullWithNothingChanged) {
    const Attribute wall = Add(u"Wall", 3);
    Add(u"Roof", 4);
    ADB::GeneralAttributeObserver silent;
    wall->Attach(silent);
    const UniString newName(LongName);
    GeneralAttribute& attribute = *wall.GetLogicalConst();
    Try([&] { return attribute.SetName(newName); }, ADB::Error::MemoryFull, [&] { attribute.SetName(u"Wall"); });
    Try([&] { return attribute.SetIndex(32000); }, ADB::Error::MemoryFull, [&] { attribute.SetIndex(3); });
    Try([&] { return attribute.SetName(u"ROOF") == ADB::Error::RenameClash ? 0 : 7; }, 7, [] {});
    Try([&] { return attribute.SetIndex(4) == ADB::Error::ReindexClash ? 0 : 7; }, 7, [] {});
}

TEST_F(AttributeFailureTest, AnnouncingAnObservedLonerCannotFail) {
    Mark mark(u"Wall");
    ADB::GeneralAttributeObserver silent;
    mark.Attach(silent);
    const FailureCount count = ForEachFailure(
        [&] {
            mark.SetFlags(static_cast<short>(mark.GetFlags() ^ 1));
            mark.SetModificationTime(mark.GetModificationTime() + 1);
        },
        [](bool) {});
    EXPECT_EQ(count.failures, 0U);
}

TEST_F(AttributeFailureTest, UserDataAreStoredWholeOrNot) {
    const Attribute wall = Add(u"Wall", 3);
    GeneralAttribute& attribute = *wall.GetLogicalConst();
    ADB::GeneralAttributeObserver silent;
    attribute.Attach(silent);
    char** data = BMPtrToHandle("data", 4);
    for (const bool isFirst : {true, false}) {
        if (!isFirst) {
            EXPECT_EQ(attribute.SetUserData(9, 9, 0, 0, 0, data), 0);
        }
        const auto isStored = [&] { return attribute.GetOwners().Contains({1, 1}); };
        const FailureCount count = ForEachFailure(
            [&] {
                const int code = attribute.SetUserData(1, 1, 0, 0, 0, data);
                const AllocationsSucceed succeed;
                EXPECT_TRUE(code == 0 || code == ADB::Error::MemoryFull || code == ADB::Error::WrongCall) << code;
                EXPECT_EQ(isStored(), code == 0);
                EXPECT_EQ(attribute.DeleteUserData(1, 1), 0);
            },
            [&](bool) { EXPECT_EQ(attribute.GetOwners().GetSize(), isFirst ? 0U : 1U); });
        EXPECT_GT(count.failures, 0U);
        EXPECT_EQ(count.leakedBlocks, 0);
    }
    attribute.SetUserData(1, 1, 0, 0, 0, data);
    ForEachFailure(
        [&] {
            const int code = attribute.DeleteUserData(1, 1);
            const AllocationsSucceed succeed;
            EXPECT_TRUE(code == 0 || code == ADB::Error::MemoryFull || code == ADB::Error::WrongCall) << code;
            EXPECT_EQ(attribute.GetOwners().GetSize(), code == 0 ? 1U : 2U);
            attribute.SetUserData(1, 1, 0, 0, 0, data);
        },
        [](bool) {});
    BMKillHandle(&data);
}

TEST_F(AttributeFailureTest, PutAttributeAnswersMemoryFull) {
    Add(u"Wall", 3);
    const Mark source(LongName, 300), back(u"Wall", 3);
    const Reading reading(&source), readingBack(&back);
    FieldMask changed;
    Try([&] { return marks.GetLogicalConst()->PutAttribute(reading, 3, &changed); }, ADB::Error::MemoryFull,
        [&] { EXPECT_EQ(marks->PutAttribute(readingBack, 300, &changed), 0); });
}

TEST_F(AttributeFailureTest, SynchronizeThrowsWithNothingChanged) {
    const Attribute wall = Add(u"Wall", 3);
    const Mark source(LongName, 300), back(u"Wall", 3);
    const Reading reading(&source), readingBack(&back);
    FieldMaskT<GeneralAttribute> mask;
    mask.Set(1);
    mask.Set(2);
    Try(
        [&] {
            wall.GetLogicalConst()->Synchronize(reading, mask);
            return 0;
        },
        Thrown, [&] { wall->Synchronize(readingBack, mask); });
}

TEST_F(AttributeFailureTest, GeneratedNamesSurviveForgetting) {
    for (int count = 0; count < 5; ++count)
        Add(LongName);
    const UniString base(LongName);
    Try(
        [&] {
            const UniString name = marks.GetConst()->GenerateUniqueName(base, nullptr);
            const AllocationsSucceed succeed;
            EXPECT_EQ(name, base + u" (5)");
            return 0;
        },
        Thrown, [] {});
    // A name that goes while there is no memory to remember that.
    ForEachFailure([&] { marks.GetLogicalConst()->DeleteAttribute(3); },
                   [&](bool) {
                       EXPECT_EQ(marks->GenerateUniqueName(base, nullptr), base + u" (2)");
                       EXPECT_EQ(Add(base)->GetIndex(), 3);
                   });
}

TEST_F(AttributeFailureTest, SpacesAreChangedAllOrNot) {
    for (int count = 0; count < 9; ++count)
        Add(LongName);
    const std::string before = Describe();
    ODB::IdSpace target;
    ODB::Ref<ADB::AttributeContainer> copy;
    ForEachFailure([&] { copy = marks.GetConst()->CopyToIdSpace(&target); },
                   [&](bool) {
                       EXPECT_EQ(target.GetObjectCount(), copy ? 10U : 0U);
                       EXPECT_TRUE(target.CheckInvariants());
                       EXPECT_TRUE(!copy || copy.GetConst()->CheckInvariants());
                       ODB::Database::DeleteObject(copy);
                   });
    EXPECT_EQ(Describe(), before);
    ForEachFailure([&] { marks.GetLogicalConst()->MoveToIdSpace(&target); },
                   [&](bool) {
                       const bool hasMoved = marks.GetIdSpace() == &target;
                       EXPECT_EQ(target.GetObjectCount(), hasMoved ? 10U : 0U);
                       EXPECT_EQ(space.GetObjectCount(), hasMoved ? 0U : 10U);
                       EXPECT_EQ(Describe(), before);
                       marks->MoveToIdSpace(&space);
                   });
}

using AttributeSetFailureTest = SetFixture;

TEST_F(AttributeSetFailureTest, NothingLeaks) {
    Add(u"Wall");
    set->SetActiveAttribute(markType, Add(LongName));
    SetData(*Get(1), 1, 2, "data");
    ODB::IdSpace elsewhere;
    const std::size_t objects = space.GetObjectCount();
    const Texts before = ListMarks(set);
    Mark added(LongName);
    ODB::Ref<ADB::AttributeSet> clone;
    const auto cloneTo = [&](ODB::IdSpace* target) {
        clone = CloneAttributeSet(set, target);
        const AllocationsSucceed succeed;
        const bool isMade(clone);
        EXPECT_TRUE(!isMade || ListMarks(clone) == before);
        DisposeAttributeSet(clone);
        clone = ODB::NullRef;
        return isMade ? 0 : ADB::Error::MemoryFull;
    };
    const std::function<int()> operations[] = {
        [&] { return cloneTo(nullptr); },
        [&] { return cloneTo(&elsewhere); },
        [&] {
            const int status = set->NewAttribute(markType, &added, false, true);
            const AllocationsSucceed succeed;
            EXPECT_EQ(set->DeleteAttribute(markType, 3, false) == 0, status == 0);
            added.SetIndex(0);
            return status;
        },
    };
    for (const std::function<int()>& operation : operations) {
        int status = 0;
        const auto run = [&] { status = operation(); };
        const auto check = [&](bool failed) {
            EXPECT_TRUE(status == 0 || (failed && status == ADB::Error::MemoryFull)) << status;
            EXPECT_EQ(space.GetObjectCount() + elsewhere.GetObjectCount(), objects);
            EXPECT_EQ(ListMarks(set), before);
            EXPECT_TRUE(Look().CheckInvariants() && elsewhere.CheckInvariants());
            TakeLog();
        };
        EXPECT_GT(ForEachFailure(run, check).failures, 3U);
        EXPECT_EQ(ForEachFailure(run, check).leakedBlocks, 0);
    }
}

}   // namespace
