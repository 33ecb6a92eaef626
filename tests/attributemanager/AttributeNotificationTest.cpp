#include <AttributeManager/GeneralAttributeObserver.hpp>
#include <AttributeManager/NotifyDisableGuard.hpp>

#include <memory>

#include "attributemanager/AttributeFixture.hpp"

namespace {

using namespace ADBTest;
using Guard = GeneralAttribute::NotifyDisableGuard;

class AttributeNotificationTest : public ContainerFixture {
protected:
    AttributeNotificationTest() : mark(static_cast<Mark*>(Add(u"Wall", 3).Get())) { mark->Attach(recorder); }

    Texts Announce(std::initializer_list<int> fields) {
        FieldMaskT<GeneralAttribute> mask;
        for (const int field : fields)
            mask.Set(field);
        mark->NotifyObservers(&mask);
        return recorder.Take();
    }

    Mark* mark;
    Recorder recorder;
};

TEST_F(AttributeNotificationTest, EachSetterAnnouncesItsField) {
    const struct {
        std::function<void()> set;
        Texts expected;
    } cases[] = {
        {[&] { mark->SetName(u"Roof"); }, {"was Wall", "name Roof", "changed 1"}},
        {[&] { mark->SetIndex(4); }, {"index 4", "changed 2"}},
        {[&] { mark->SetFlags(6); }, {"flags 6", "changed 3"}},
        {[&] { mark->SetModificationTime(-5); }, {"time -5", "changed 4"}},
        {[&] { mark->UpdateModificationTime(); }, {"time 777000000", "changed 4"}},
        {[&] { SetData(*mark, 7, 8, "x"); }, {"data 7/8", "changed 5"}},
        {[&] { mark->DeleteUserData(7, 8); }, {}},
    };
    for (const auto& c : cases) {
        c.set();
        EXPECT_EQ(recorder.Take(), c.expected);
    }
}

TEST_F(AttributeNotificationTest, AnAnnouncementGoesFieldByFieldInOrder) {
    EXPECT_EQ(Announce({5, 4, 3, 2, 1}), (Texts{"name Wall", "index 3", "flags 0", "time 0", "changed 1 2 3 4 5"}));
    EXPECT_EQ(Announce({}), Texts());
    mark->NotifyObservers(static_cast<const FieldMask*>(nullptr));
    FieldMask foreign;
    foreign.Set({Mark::GetClassInfoStatic()->GetId(), GeneralAttribute::NameField});
    mark->NotifyObservers(&foreign);
    EXPECT_EQ(recorder.Take(), Texts{"changed"}) << "the number of another class's field means nothing here";
}

TEST_F(AttributeNotificationTest, AGuardLosesAllButTheOldName) {
    {
        const Guard outer(true);
        {
            const Guard inner(true), idle(false);
            EXPECT_TRUE(Guard::IsDisabledNotify());
        }
        EXPECT_TRUE(Guard::IsDisabledNotify());
        mark->SetName(u"Roof");
        mark->SetIndex(9);
        SetData(*mark, 1, 2, "x");
    }
    EXPECT_FALSE(Guard::IsDisabledNotify());
    EXPECT_EQ(recorder.Take(), Texts{"was Wall"});
    EXPECT_EQ(marks->GetAttribute(9U).GetConst(), mark) << "indexes follow all the same";
    mark->SetFlags(1);
    EXPECT_EQ(recorder.Take(), (Texts{"flags 1", "changed 3"}));
}

TEST_F(AttributeNotificationTest, UserDataAreComparedRecordByRecord) {
    SetData(*mark, 1, 1, "one");
    SetData(*mark, 2, 2, "two");
    SetData(*mark, 3, 3, "");
    recorder.Take();
    SetData(*mark, 2, 2, "two");
    EXPECT_EQ(recorder.Take(), Texts{"changed 5"}) << "equal data are announced, but no record changed";
    SetData(*mark, 2, 2, "longer");
    EXPECT_EQ(recorder.Take(), (Texts{"data 2/2", "changed 5"}));
    EXPECT_EQ(Announce({5}), (Texts{"data 1/1", "data 2/2", "data 3/3", "changed 5"}))
        << "without a snapshot every record is told";

    Mark other;
    SetData(other, 3, 3, "3");
    SetData(other, 4, 4, "3");
    *mark = other;
    EXPECT_TRUE(ADB::GeneralAttributeTestAccess::HasSnapshot(*mark));
    EXPECT_EQ(Announce({5}), (Texts{"data 1/1", "data 2/2", "data 3/3", "data 4/4", "changed 5"}))
        << "gone, gone, changed, new";
    EXPECT_FALSE(ADB::GeneralAttributeTestAccess::HasSnapshot(*mark));
}

TEST_F(AttributeNotificationTest, ADeletedRecordIsToldByTheNextAnnouncementOfASnapshot) {
    SetData(*mark, 6, 7, "x");
    recorder.Take();
    {
        const Guard guard(true);
        SetData(*mark, 6, 7, "y");   // the snapshot stays
    }
    mark->DeleteUserData(6, 7);
    EXPECT_EQ(recorder.Take(), Texts());
    EXPECT_EQ(Announce({5}), (Texts{"data 6/7", "changed 5"})) << "an empty table against a snapshot";
    EXPECT_EQ(Announce({5}), Texts{"changed 5"}) << "the snapshot is gone";
}

TEST_F(AttributeNotificationTest, AnyAnnouncementFreesTheSnapshot) {
    for (const bool isObserved : {true, false}) {
        {
            const Guard guard(true);
            SetData(*mark, 1, 1, isObserved ? "a" : "b");
            SetData(*mark, 2, 1, isObserved ? "a" : "b");
        }
        EXPECT_TRUE(ADB::GeneralAttributeTestAccess::HasSnapshot(*mark));
        if (!isObserved) {
            mark->Detach(recorder);
            mark->Detach(*marks.GetLogicalConst());
        }
        mark->SetFlags(isObserved ? 1 : 2);
        EXPECT_FALSE(ADB::GeneralAttributeTestAccess::HasSnapshot(*mark));
    }
    mark->Attach(*marks.GetLogicalConst());
}

TEST_F(AttributeNotificationTest, UserDataSetDuringTheirAnnouncementAreToldOnTheirOwn) {
    SetData(*mark, 1, 1, "old");
    recorder.Take();
    Recorder first("first ");
    first.heard = recorder.heard;
    mark->Attach(first);
    bool again = true;
    first.act = [&](const std::string& event) {
        if (event == "data 1/1" && std::exchange(again, false))
            SetData(*mark, 2, 2, "more");
    };
    SetData(*mark, 1, 1, "new");
    EXPECT_EQ(recorder.Take(), (Texts{"first data 1/1", "first data 2/2", "first changed 5", "data 2/2", "changed 5",
                                      "first changed 5", "data 1/1", "data 2/2", "changed 5"}));
}

TEST_F(AttributeNotificationTest, ObserversAreToldLastAttachedFirstAndMayLeave) {
    Recorder second("second "), third("third ");
    second.heard = third.heard = recorder.heard;
    mark->Attach(second);
    mark->Attach(third);
    mark->Attach(second);
    mark->SetName(u"Roof");
    EXPECT_EQ(recorder.Take(),
              (Texts{"third was Wall", "second was Wall", "was Wall", "third name Roof", "third changed 1",
                     "second name Roof", "second changed 1", "name Roof", "changed 1"}));
    third.act = [&](const std::string& event) {
        if (event == "flags 3")
            mark->Detach(third);   // before its own AttributeChanged
        if (event == "flags 3")
            mark->Detach(second);
    };
    mark->SetFlags(3);
    EXPECT_EQ(recorder.Take(), (Texts{"third flags 3", "flags 3", "changed 3"}));
}

TEST_F(AttributeNotificationTest, NobodyIsToldOfADeletedAttribute) {
    for (const char* event : {"index 8", "data 1/1", "changed 2"}) {
        const Attribute doomed = Add(u"Doomed", 5);
        Mark* const target = static_cast<Mark*>(doomed.Get());
        Recorder earlier, killer;
        target->Attach(earlier);
        target->Attach(killer);
        killer.act = [&](const std::string& heard) {
            if (heard == event)
                ODB::Database::DeleteObject(doomed);
        };
        EXPECT_EQ(std::string_view(event) == "data 1/1" ? SetData(*target, 1, 1, "x") : target->SetIndex(8), 0);
        EXPECT_FALSE(doomed) << event;
        EXPECT_EQ(earlier.Take(), Texts{"destroyed"}) << event;
        EXPECT_EQ(killer.Take().back(), "destroyed") << event;
    }
}

}   // namespace
