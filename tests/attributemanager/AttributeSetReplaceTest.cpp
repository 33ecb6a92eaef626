#include <AttributeManager/AttributeSet.hpp>

#include <algorithm>
#include <optional>

#include <ODB/Delta.hpp>

#include <AttributeManager/IAttributeFilter.hpp>

#include "attributemanager/AttributeFixture.hpp"
#include "support/ForEachFailure.hpp"

namespace {

using namespace ADBTest;
namespace Error = ADB::Error;
using ADB::AttributeSet;
using Set = ODB::Ref<AttributeSet>;

class RejectNames : public ADB::IAttributeFilter {
public:
    explicit RejectNames(Names rejectedNames) : rejected(std::move(rejectedNames)) {}
    bool Accepts(Reading attribute) override {
        return std::find(rejected.begin(), rejected.end(), attribute->GetName()) == rejected.end();
    }

private:
    Names rejected;
};

// The set and, as the source, a copy of it in another space.
class AttributeSetReplaceTest : public SetFixture {
protected:
    AttributeSetReplaceTest() : delta(&space) {
        for (const char16_t* const name : {u"Wall", u"Roof", u"Door", u"Beam"})
            Add(name);
        const Stamp stamp(u"Seal");
        set->NewAttribute(Reading(&stamp), nullptr, false, false, Kest::Guid());
        source = Look().CopyToIdSpace(&sourceSpace);
    }

    Container SourceMarks() const { return source.GetConst()->GetAttributeContainer(markType); }
    Mark& SourceMark(short index) const {
        return static_cast<Mark&>(*source.GetConst()->GetAttribute(markType, index));
    }
    Attribute AddToSource(const UniString& name, short index, int color = 0) const {
        const Mark mark(name, index, color);
        return SourceMarks().GetLogicalConst()->NewAttribute(Reading(&mark), true, false);
    }
    // Roof gets another content, Door goes, Arch comes.
    void ChangeSource() const {
        SourceMark(2).SetName(u"Dome");
        SourceMark(2).color = 5;
        SetData(SourceMark(2), 1, 1, "data");
        SourceMarks()->DeleteAttribute(3);
        AddToSource(u"Arch", 7);
    }
    // Takes the place of an object of the source, under its id.
    template <class Kind>
    void Impersonate(short index) {
        const ODB::Id id = Get(index).GetId();
        ODB::Database::DeleteObject(sourceSpace.Find(id));
        ODB::Ref<Kind> other(new Kind);
        ODB::Database::AddObject(other, false);
        other.Init(id, &sourceSpace);
    }

    // By the names that attributes have in the first set that has them: "modified Roof", "linked Arch behind Beam".
    Texts ListDelta() const {
        const auto nameOf = [this](const ODB::Id& id) {
            for (const ODB::IdSpace* const each : {&space, &sourceSpace})
                if (const Reading attribute = ODB::DynamicCast<GeneralAttribute>(each->FindConst(id)))
                    return NameOf(attribute);
            const auto gone =
                std::find_if(names.begin(), names.end(), [&](const auto& each) { return each.first == id; });
            return gone != names.end() ? gone->second : id.IsNull() ? std::string("nothing") : "stranger";
        };
        Texts found;
        for (const auto& object : delta.GetNewObjects())
            found.push_back("new " + nameOf(object.id));
        for (const auto& object : delta.GetModifiedObjects())
            found.push_back("modified " + nameOf(object.id));
        for (const auto& object : delta.GetDeletedObjects())
            found.push_back("deleted " + nameOf(object.id));
        for (const auto& link : delta.GetNewLinks())
            found.push_back("linked " + nameOf(link.right) + " behind " + nameOf(link.behind));
        for (const auto& link : delta.GetDeletedLinks())
            found.push_back("unlinked " + nameOf(link.right));
        EXPECT_EQ(delta.GetModifiedLinkCount() + delta.GetReorderedLinkCount(), 0U);
        return found;
    }
    void NoteNames() {
        Look().EnumerateConstAttributes(
            [this](const Reading& attribute) { names.emplace_back(attribute.GetId(), NameOf(attribute)); });
    }

    ODB::IdSpace sourceSpace;
    Set source;
    ODB::Delta delta;
    std::vector<std::pair<ODB::Id, std::string>> names;
};

TEST_F(AttributeSetReplaceTest, ContentFollowsIdentity) {
    NoteNames();
    SetData(*Get(1), 1, 1, "data that Wall has here alone");
    SourceMark(4).SetIndex(9);
    ChangeSource();
    const Attribute wall = Get(1), roof = Get(2), beam = Get(4);
    SetRecorder heard;
    Recorder doorHeard;
    set->Attach(heard);
    Get(3)->Attach(doorHeard);
    EXPECT_EQ(set.GetLogicalConst()->Replace(source, nullptr, &delta), 0);
    EXPECT_EQ(ListMarks(set), (Texts{"1 Wall", "2 Dome", "9 Beam", "7 Arch"}));
    EXPECT_EQ(static_cast<const Mark&>(*Get(2).GetConst()).color, 5);
    EXPECT_TRUE(Get(1) == wall && Get(2) == roof && Get(9) == beam);
    EXPECT_FALSE(wall.GetConst()->HasMemoData());
    EXPECT_EQ(Get(7).GetId(), SourceMarks().GetConst()->GetConstAttribute(u"Arch").GetId());
    EXPECT_EQ(heard.Take(), Texts());
    EXPECT_EQ(doorHeard.Take(), (Texts{"destroyed"}));
    EXPECT_EQ(ListDelta(), (Texts{"new Arch", "modified Wall", "modified Dome", "modified Beam", "deleted Door",
                                  "linked Arch behind Beam", "unlinked Door"}));
    set->Detach(heard);

    const std::uint64_t before = ODB::ObjectInfo::GetLastStamp();
    delta.Clear();
    EXPECT_EQ(set.GetLogicalConst()->Replace(source, nullptr, &delta), 0);
    EXPECT_TRUE(delta.IsEmpty());
    EXPECT_EQ(ODB::ObjectInfo::GetLastStamp(), before) << "what is equal is not touched";
}

TEST_F(AttributeSetReplaceTest, TheDeltaLeadsThereToo) {
    ODB::IdSpace third;
    const Set follower = Look().CopyToIdSpace(&third);
    ChangeSource();
    EXPECT_EQ(set.GetLogicalConst()->Replace(source, nullptr, &delta), 0);
    EXPECT_EQ(ODB::MergeDelta(third, delta), 0);
    EXPECT_EQ(ListMarks(follower), ListMarks(set));
    ODB::Delta rest(&third);
    follower.GetConst()->EnumerateAttributeContainers(
        [](const Container& container) { container.GetLogicalConst()->AttachAttributeObservers(); });
    EXPECT_EQ(follower.GetLogicalConst()->Replace(set, nullptr, &rest), 0);
    EXPECT_TRUE(rest.IsEmpty());
}

TEST_F(AttributeSetReplaceTest, TheFilterDecidesWhoIsThere) {
    ChangeSource();
    RejectNames filter({u"Wall", u"Dome", u"Arch"});
    EXPECT_EQ(set.GetLogicalConst()->Replace(source, &filter, nullptr), 0);
    EXPECT_EQ(ListMarks(set), (Texts{"4 Beam"}));
    EXPECT_EQ(Look().GetAttributeNumber(stampType), 1U);
}

TEST_F(AttributeSetReplaceTest, AnotherClassLeavesTheAttributeAndItsKeys) {
    Impersonate<Stamp>(1);
    Impersonate<ADB::AttributeSet>(4);
    AddToSource(u"wall", 1);
    EXPECT_EQ(set.GetLogicalConst()->Replace(source, nullptr, &delta), 0);
    EXPECT_EQ(ListMarks(set), (Texts{"1 Wall", "2 Roof", "3 Door", "4 Beam", "5 wall (1)"}));
    EXPECT_EQ(ListDelta(), (Texts{"new wall (1)", "linked wall (1) behind Beam"}));
}

TEST_F(AttributeSetReplaceTest, RefusesItsOwnSpace) {
    const std::uint64_t before = ODB::ObjectInfo::GetLastStamp();
    EXPECT_EQ(set.GetLogicalConst()->Replace(ODB::NullRef, nullptr, nullptr), Error::NullArgument);
    EXPECT_EQ(set.GetLogicalConst()->Replace(set, nullptr, &delta), Error::WrongCall);
    EXPECT_EQ(ODB::ObjectInfo::GetLastStamp(), before);
}

TEST_F(AttributeSetReplaceTest, AFailingAdditionEndsItsType) {
    const Stamp stamp(u"Token");
    source->NewAttribute(Reading(&stamp), nullptr, false, false, Kest::Guid());
    ChangeSource();
    NoteNames();
    Mark::cloneFailure = 2;
    EXPECT_EQ(set.GetLogicalConst()->Replace(source, nullptr, &delta), Error::MemoryFull);
    Mark::cloneFailure = 0;
    EXPECT_EQ(ListMarks(set), (Texts{"1 Wall", "2 Dome", "4 Beam"}));
    EXPECT_EQ(ListDelta(),
              (Texts{"new Token", "modified Dome", "deleted Door", "linked Token behind Seal", "unlinked Door"}));
}

TEST_F(AttributeSetReplaceTest, AMissingContainerMattersWhenItIsNeeded) {
    source.GetLogicalConst()->DeleteAttributeType(markType);
    ODB::Database::DeleteObject(Marks());
    EXPECT_EQ(set.GetLogicalConst()->Replace(source, nullptr, nullptr), 0);
    AddToSource(u"Arch", 1);
    EXPECT_EQ(set.GetLogicalConst()->Replace(source, nullptr, nullptr), Error::MemoryFull);
    ODB::Database::DeleteObject(SourceMarks());
    EXPECT_EQ(set.GetLogicalConst()->Replace(source, nullptr, nullptr), 0);
}

TEST_F(AttributeSetReplaceTest, WhoeverHearsOfADeletionMayDoAnything) {
    const struct {
        const char* deed;
        int status;
        Texts expected;
    } cases[] = {
        {"delete another", 0, {"3 Door", "4 Beam", "2 Roof"}},
        {"delete the next of the source", 0, {"3 Door", "4 Beam"}},
        {"delete the container", Error::MemoryFull, {}},
        {"delete the source", Error::NullArgument, {"2 Roof", "3 Door", "4 Beam"}},
        {"delete the set", Error::NullArgument, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.deed);
        ODB::IdSpace here, there;
        const Set changed = Look().CopyToIdSpace(&here), model = Look().CopyToIdSpace(&there);
        const Container marks = changed.GetConst()->GetAttributeContainer(markType);
        const Container modelMarks = model.GetConst()->GetAttributeContainer(markType);
        modelMarks->DeleteAttribute(1);
        Recorder heard;
        marks.GetConst()->GetAttribute(1)->Attach(heard);
        heard.act = [&](const std::string&) {
            switch (&c - cases) {
            case 0:
                return void(marks->DeleteAttribute(2));
            case 1:
                return void(modelMarks->DeleteAttribute(2));
            case 2:
                return ODB::Database::DeleteObject(marks);
            case 3:
                return ODB::Database::DeleteObject(model);
            default:
                return ODB::Database::DeleteObject(changed);
            }
        };
        EXPECT_EQ(changed.GetLogicalConst()->Replace(model, nullptr, nullptr), c.status);
        EXPECT_EQ(changed ? ListMarks(changed) : Texts(), c.expected);
        EXPECT_TRUE(here.CheckInvariants() && (!changed || changed.GetConst()->CheckInvariants()));
    }
}

TEST_F(AttributeSetReplaceTest, TheDeltaIsExactWhereverMemoryRunsOut) {
    SetData(*Get(2), 2, 2, "other data");
    ChangeSource();
    SourceMark(4).SetName(u"A name that does not fit into the object itself");
    AddToSource(u"Another name that does not fit into the object", 8);
    SourceMark(1).SetIndex(9);   // two change places
    SourceMark(4).SetIndex(1);
    SourceMark(9).SetIndex(4);
    std::vector<ODB::Id> ids;
    for (const Set& each : {set, source})
        each.GetConst()->EnumerateConstAttributes(
            markType, [&ids](const Reading& attribute) { ids.push_back(attribute.GetId()); });
    const auto describe = [](const ODB::IdSpace& described, const ODB::Id& id) {
        const Reading found = ODB::DynamicCast<GeneralAttribute>(described.FindConst(id));
        return !found ? std::string("gone")
                      : NameOf(found) + std::to_string(static_cast<const Mark&>(*found).color) +
                            std::to_string(found->GetIndex()) + (found->GetOwners().Contains({1, 1}) ? " data" : "") +
                            (found->GetOwners().Contains({2, 2}) ? " own data" : "");
    };
    int status = 0;
    const auto check = [&](const ODB::IdSpace& changed, const ODB::Delta& done) {
        for (const ODB::Id& id : ids) {
            const std::string before = describe(space, id), after = describe(changed, id);
            const bool came = before == "gone" && after != "gone", went = before != "gone" && after == "gone";
            EXPECT_EQ(done.ContainsNewObject(id), came);
            EXPECT_EQ(done.ContainsModifiedObject(id), before != after && !came && !went) << before << " -> " << after;
            EXPECT_EQ(std::any_of(done.GetDeletedObjects().begin(), done.GetDeletedObjects().end(),
                                  [&id](const auto& object) { return object.id == id; }),
                      went);
            EXPECT_TRUE(after == before || after == describe(sourceSpace, id)) << before << " -> " << after;
            EXPECT_TRUE(status != 0 || after == describe(sourceSpace, id)) << after;
        }
        EXPECT_EQ(done.GetNewLinkCount(), done.GetNewObjectCount());
        EXPECT_EQ(done.GetDeletedLinkCount(), done.GetDeletedObjectCount());
        EXPECT_TRUE(status == 0 || status == Error::MemoryFull);
        EXPECT_TRUE(changed.CheckInvariants());
    };
    const auto replace = [&] {
        std::optional<AllocationsSucceed> preparing(std::in_place);
        ODB::IdSpace fresh;
        const Set changed = Look().CopyToIdSpace(&fresh);
        ODB::Delta done(&fresh);
        preparing.reset();
        status = changed.GetLogicalConst()->Replace(source, nullptr, &done);
        const AllocationsSucceed checking;
        check(fresh, done);
        EXPECT_TRUE(changed.GetConst()->CheckInvariants());
        changed.GetConst()->EnumerateConstAttributes(markType, [&](const Reading& attribute) {
            EXPECT_TRUE(changed.GetConst()->GetConstAttribute(markType, attribute->GetIndex()))
                << "nobody is found under the index of " << NameOf(attribute);
        });
        TakeLog();
    };
    EXPECT_GT(ForEachFailure(replace, [](bool) {}).failures, 20U);
    EXPECT_EQ(ForEachFailure(replace, [](bool) {}).leakedBlocks, 0) << "what is kept for the next time is there now";
}

// A second set beside the first one, and its copies in both directions.
class AttributeSetCopyTest : public AttributeSetReplaceTest {
protected:
    AttributeSetCopyTest() {
        for (const char16_t* const name : {u"Old", u"Older"}) {
            const Mark mark(name, 0);
            target->NewAttribute(Reading(&mark), nullptr, false, false, Kest::Guid());
        }
        target->Attach(heard);
    }
    ~AttributeSetCopyTest() override { target ? target->Detach(heard) : void(); }

    Container TargetMarks() const { return target.GetConst()->GetAttributeContainer(markType); }
    int Copy() const { return Look().CopyAttributeTypeToSet(target, markType); }

    ODB::IdSpace targetSpace;
    Set target = CreateAttributeSet(&targetSpace, Kest::Guid(), false);
    SetRecorder heard;
};

TEST_F(AttributeSetCopyTest, TellsWhatGoesAndWhatComes) {
    set->DeleteAttribute(markType, 2, false);
    Add(u"Roof", 30);
    Get(4)->SetIndex(5);
    set->SetActiveAttribute(markType, Get(5));
    Recorder oldHeard;
    target.GetConst()->GetAttribute(markType, short{1})->Attach(oldHeard);
    oldHeard.heard = heard.heard;
    EXPECT_EQ(Copy(), 0);
    EXPECT_EQ(heard.Take(), (Texts{"deleted 1 #1", "deleted 1 #2", "destroyed", "created 1 Wall", "created 1 Door",
                                   "created 1 Beam", "created 1 Roof", "active 1 Beam"}));
    EXPECT_EQ(ListMarks(target), (Texts{"1 Wall", "3 Door", "5 Beam", "30 Roof"}));
    EXPECT_EQ(ListMarks(target), ListMarks(set));
    EXPECT_FALSE(targetSpace.Contains(Get(1).GetId()));
    EXPECT_EQ(NameOf(target.GetConst()->GetConstActiveAttribute(markType)), "Beam");
    EXPECT_EQ(TargetMarks().GetConst()->GetContainerLastUpdatedStamp(),
              Marks().GetConst()->GetLastAttributeModificationStamp());
    EXPECT_TRUE(target.GetConst()->CheckInvariants() && targetSpace.CheckInvariants());
}

TEST_F(AttributeSetCopyTest, IsTheSameWhetherAnybodyListensOrNot) {
    SetData(*Get(2), 1, 1, "data");
    EXPECT_EQ(Look().CopyAttributeSet(target), 0);
    const Texts watched = ListMarks(target);
    target->Detach(heard);
    EXPECT_EQ(Look().CopyAttributeSet(target), 0);
    EXPECT_EQ(ListMarks(target), watched);
    EXPECT_EQ(target.GetConst()->GetAttributeNumber(stampType), 1U);
    EXPECT_FALSE(TargetMarks().GetConst()->GetConstAttribute(u"NONE"));
    EXPECT_EQ(NameOf(TargetMarks().GetConst()->GetConstAttribute(u"door")), "Door");
    EXPECT_TRUE(TargetMarks().GetConst()->GetConstAttribute(2)->HasSameMemoData(Get(2)));
    EXPECT_EQ(static_cast<const ODB::RefBase&>(TargetMarks()).GetIdSpace(), &targetSpace);
    EXPECT_EQ(TargetMarks().GetConst()->GenerateUniqueIndex(1, nullptr), 5);
    EXPECT_TRUE(target.GetConst()->CheckInvariants() && targetSpace.CheckInvariants());
    TargetMarks().GetConst()->GetAttribute(1)->SetName(u"Gate");
    EXPECT_EQ(NameOf(Get(1)), "Wall");
}

TEST_F(AttributeSetCopyTest, ClashesOfTheSourceEndAsSingleAdditionsWould) {
    const struct {
        const char16_t* name;
        short index;
        int status;
        Texts expected;
    } cases[] = {
        {u"wall", 3, 0, {"1 Wall", "2 Roof", "3 wall (1)", "4 Beam"}},
        {u" ", 3, 0, {"1 Wall", "2 Roof", "3 Generated Attribute Name (1)", "4 Beam"}},
        {u"Door", 1, Error::NoSuchIndex, {"1 Wall", "2 Roof"}},
        {u"Door", 0, Error::NoSuchIndex, {"1 Wall", "2 Roof"}},
        {u"Door", 32767, 0, {"1 Wall", "2 Roof", "3 Door", "4 Beam"}},
    };
    for (const bool watched : {true, false})
        for (const auto& c : cases) {
            const Set changed = CreateAttributeSet(&targetSpace, Kest::Guid(), false);
            Look().CopyAttributeTypeToSet(changed, markType);
            const Mark clashing(c.name, c.index);
            FieldMask fields;
            const Container marks = changed.GetConst()->GetAttributeContainer(markType);
            EXPECT_EQ(marks->PutAttribute(Reading(&clashing), 3, &fields), 0);
            watched ? target->Attach(heard) : target->Detach(heard);
            EXPECT_EQ(changed.GetConst()->CopyAttributeTypeToSet(target, markType), c.status);
            EXPECT_EQ(ListMarks(target), c.expected) << watched << UniString(c.name) << c.index;
            EXPECT_TRUE(target.GetConst()->CheckInvariants());
            DisposeAttributeSet(changed);
        }
    target->Detach(heard);
}

TEST_F(AttributeSetCopyTest, RefusesWhatIsNotThere) {
    const Texts before = ListMarks(set);
    EXPECT_EQ(Look().CopyAttributeSet(ODB::NullRef), Error::NullArgument);
    EXPECT_EQ(Look().CopyAttributeTypeToSet(ODB::NullRef, markType), Error::NullArgument);
    EXPECT_EQ(Look().CopyAttributeTypeToSet(target, 3), Error::UnknownType);
    const std::uint64_t stamp = ODB::ObjectInfo::GetLastStamp();
    EXPECT_EQ(Look().CopyAttributeSet(set), 0);
    EXPECT_EQ(ODB::ObjectInfo::GetLastStamp(), stamp) << "onto itself nothing happens";
    EXPECT_EQ(ListMarks(set), before);
    ODB::Database::DeleteObject(TargetMarks());
    EXPECT_EQ(Look().CopyAttributeSet(target), Error::UnknownType);
    EXPECT_EQ(target.GetConst()->GetAttributeNumber(stampType), 1U);
    heard.Take();
    ODB::Database::DeleteObject(Marks());
    EXPECT_EQ(source.GetConst()->CopyAttributeTypeToSet(set, markType), Error::UnknownType);
}

TEST_F(AttributeSetCopyTest, CopiesWholeAttributesAsFarAsMemoryGoes) {
    target->Detach(heard);
    const auto check = [this](int status, const Set& copy) {
        const AllocationsSucceed checking;
        const Texts all = ListMarks(set), copied = ListMarks(copy);
        EXPECT_TRUE(std::equal(copied.begin(), copied.end(), all.begin()));
        EXPECT_TRUE(status == 0 ? copied == all : status == Error::MemoryFull && copied.size() <= all.size());
        EXPECT_TRUE(copy.GetConst()->CheckInvariants() && targetSpace.CheckInvariants());
        copy.GetLogicalConst()->Clear();
    };
    const auto copy = [&] { check(Copy(), target); };
    EXPECT_GT(ForEachFailure(copy, [](bool) {}).failures, 5U);
    EXPECT_EQ(ForEachFailure(copy, [](bool) {}).leakedBlocks, 0);
}

TEST_F(AttributeSetCopyTest, FindsWhatIsSimilar) {
    Mark probe(u"Something", 30000);
    EXPECT_EQ(Look().FindSimilar(Reading(&probe)), Get(1));
    EXPECT_FALSE(Look().FindSimilar(ODB::NullRef));
    ODB::Database::DeleteObject(Marks());
    EXPECT_FALSE(Look().FindSimilar(Reading(&probe)));
}

}   // namespace
