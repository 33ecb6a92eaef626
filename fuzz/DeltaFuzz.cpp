// Deltas: reading, telling, merging with every kind of resolver, and taking back what was merged. With the lowest bit
// of the first byte the rest of an input is orders what to put into a delta, else it is as for other streams.
#include <array>
#include <map>
#include <string>
#include <vector>

#include <Kest/DebugOutput.hpp>
#include <Kest/Logger.hpp>

#include <ODB/Association1N.hpp>
#include <ODB/ChangeRecorder.hpp>
#include <ODB/ConflictResolver.hpp>
#include <ODB/ContentEnumerator.hpp>
#include <ODB/Database.hpp>
#include <ODB/Delta.hpp>
#include <ODB/IdSpace.hpp>

#include <AttributeManager/AttributeContainer.hpp>
#include <AttributeManager/AttributeIndex.hpp>

#include "FrameTree.hpp"
#include "FuzzTarget.hpp"
#include "StateBytes.hpp"
#include "Stickers.hpp"

namespace Fuzz {
namespace {

using ObjectRef = ODB::Ref<ODB::Object>;
using Association = ODB::Association1NUntyped;

constexpr std::uint8_t LastKey = 12;   // 1 and 2 are containers

// A class with such an id behind it is not taken for a frame: it would be too long.
ODB::Id IdOf(std::uint8_t key) {
    return ODB::Id(Kest::Guid(Kest::Guid::Bytes{0x9A, 0x0C, key, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}));
}

// Stickers on stickers.
template <std::uint8_t Number, ODB::AssociationProperty::Bit Property>
const Association& Between() {
    static const Association association(ODB::Id(Kest::Guid(Kest::Guid::Bytes{0x9A, 0x0D, Number})),
                                         ODB::Object::GetClassInfoStatic(), Sticker::GetClassInfoStatic(), Property);
    return association;
}

const std::array<const Association*, 4>& GetAssociations() {
    static const std::array<const Association*, 4> all{&ADB::AttributeContainer::GetAttributeAssociation(),
                                                       &Between<1, ODB::AssociationProperty::Ownership>(),
                                                       &Between<2, ODB::AssociationProperty::DeletePropagation>(),
                                                       &Between<3, ODB::AssociationProperty::EventSending>()};
    return all;
}

ObjectRef Make(ODB::IdSpace& space, std::uint8_t key) {
    ObjectRef made;
    if (key <= 2) {
        made = ObjectRef(new ADB::AttributeContainer);
    } else {
        auto* const sticker = new Sticker;
        made = ObjectRef(sticker);
        Fill(*sticker, std::string(1, static_cast<char>('A' + key)).c_str(), key);
    }
    made.Init(IdOf(key), &space);
    ODB::Database::AddObject(made, false);
    return made;
}

void Connect(const ODB::IdSpace& space, std::size_t association, std::uint8_t left,
             std::initializer_list<std::uint8_t> rights) {
    for (const std::uint8_t right : rights)
        GetAssociations()[association]->Connect(space.Find(IdOf(left)), space.Find(IdOf(right)));
}

void Build(ODB::IdSpace& space) {
    for (std::uint8_t key = 1; key <= 9; ++key)
        Make(space, key);
    Connect(space, 0, 1, {3, 4, 5, 6});
    Connect(space, 0, 2, {7, 8});
    Connect(space, 1, 3, {8, 9});
    Connect(space, 2, 9, {5});
    Connect(space, 3, 4, {3, 7, 6});
}

Sticker& StickerIn(const ODB::IdSpace& space, std::uint8_t key) {
    return static_cast<Sticker&>(*space.Find(IdOf(key)));
}

void Edit(ODB::IdSpace& space) {
    Make(space, 10);
    Make(space, 11);
    Connect(space, 0, 1, {10, 7});
    Connect(space, 3, 10, {11, 3});
    GetAssociations()[0]->ReorderLinkFromLeftObject(space.Find(IdOf(1)), space.Find(IdOf(3)), 0, 3);
    StickerIn(space, 6).SetName(u"Door");
    ODB::Database::DeleteObject(space.Find(IdOf(4)));
    static_cast<ADB::AttributeContainer&>(*space.Find(IdOf(1)))
        .SetActiveAttribute(ODB::Ref<ADB::GeneralAttribute>(space.Find(IdOf(10)).GetInfo()));
}

std::string Write(const ODB::Delta& delta) {
    return Record([&](Kest::OChannel& channel) { return delta.Write(channel); });
}

// There, back, and everything anew.
std::vector<std::string> MakeBases() {
    ODB::IdSpace space;
    Build(space);
    ODB::Delta forward("edit", &space);
    ODB::Delta back(&space);
    const ODB::ChangeRecorder recorder(&space);
    Edit(space);
    Require(recorder.CreateDeltas(&forward, &back) == 0, "nothing was recorded");
    ODB::RefList<ODB::Object> all;
    for (std::uint8_t key = 1; key <= LastKey; ++key)
        if (space.Contains(IdOf(key)))
            all.Push(space.Find(IdOf(key)));
    ODB::Delta whole(&space);
    Require(ODB::CreateDelta({}, all, &whole, ODB::LinkBoundary::Inside, nullptr) == 0, "there is no delta");
    return {Write(forward), Write(back), Write(whole)};
}

// Anything about a few objects, as long as a delta takes it.
std::string MakeFromOrders(Input& orders) {
    ODB::IdSpace others;
    ODB::Delta delta(&others);
    const auto takeId = [&orders] { return IdOf(static_cast<std::uint8_t>(orders.TakeByte() % (LastKey + 1))); };
    for (int count = 0; count < 40 && !orders.IsEmpty(); ++count) {
        const std::uint8_t order = orders.TakeByte();
        const auto key = static_cast<std::uint8_t>(orders.TakeByte() % LastKey + 1);
        const Association& association = *GetAssociations()[order / 8 % 4];
        if (order % 8 < 3 && !others.Contains(IdOf(key)))
            Make(others, key);
        switch (order % 8) {
        case 0:
            delta.AddNewObject(others.Find(IdOf(key)));
            break;
        case 1:
            if (key > 2)
                StickerIn(others, key).SetName(Kest::UniString::Printf("%d", static_cast<int>(order)));
            delta.AddModifiedObject(others.Find(IdOf(key)));
            break;
        case 2:
            delta.AddDeletedObject(*others.Find(IdOf(key)).GetConst()->GetClassInfo(), IdOf(key));
            break;
        case 3:
        case 4:
            delta.AddNewLink(association, takeId(), IdOf(key), takeId());
            break;
        case 5:
            delta.AddModifiedLink(association, takeId(), takeId(), IdOf(key), takeId());
            break;
        case 6:
            delta.AddDeletedLink(association, takeId(), IdOf(key));
            break;
        default:
            delta.AddReorderedLink(association, takeId(), IdOf(key), takeId());
        }
    }
    return Write(delta);
}

std::string MakeDeltaStream(Bytes bytes) {
    static const std::vector<std::string> bases = MakeBases();
    Input input(bytes);
    if (input.TakeByte() % 2 != 0)
        return MakeFromOrders(input);
    return MakeStream(bytes.empty() ? bytes : bytes.subspan(1), bases);
}

// All that is in a space, by ids.
std::map<std::string, std::string> Describe(const ODB::IdSpace& space) {
    std::map<std::string, std::string> content;
    space.EnumerateObjects([&](const ObjectRef& object) {
        ODB::StateBytes state;
        Require(state.Take(*object.GetConst()) == 0, "a content cannot be written");
        std::string& text = content[object.GetId().ToString()] = state.Get();
        for (const Association* const association : GetAssociations()) {
            text += '|';
            association->EnumerateRight(ODB::ConstRef<ODB::Object>(object),
                                        [&](const auto& right) { text += right.GetId().ToString(); });
        }
    });
    return content;
}

void CheckWhole(const ODB::IdSpace& space) {
    Require(space.CheckInvariants(), "the space is not whole");
    space.EnumerateObjects([](const ObjectRef& object) {
        const auto* const index = dynamic_cast<const ADB::AttributeIndex*>(
            ADB::AttributeContainer::GetAttributeAssociation().FindRightIndex(*object.GetInfo()));
        Require(index == nullptr || index->CheckInvariants(), "an index is wrong");
    });
}

void CheckMerge(const ODB::Delta& delta, ODB::ConflictResolver* resolver) {
    ODB::IdSpace space;
    Build(space);
    const auto before = Describe(space);
    ODB::Delta back(&space);
    const ODB::ChangeRecorder recorder(&space);
    const int status = ODB::MergeDelta(space, delta, nullptr, resolver, true);
    CheckWhole(space);
    Require(status == 0 || Describe(space) == before, "a merge that failed has left something behind");
    if (status != 0 || recorder.CreateDeltas(nullptr, &back) != 0)
        return;
    Require(ODB::MergeDelta(space, back) == 0, "what was merged cannot be taken back");
    CheckWhole(space);
    Require(Describe(space) == before, "taking it back gives something else");
}

// Counts what it is told.
class Counter : public ODB::ContentEnumerator {
public:
    void NewObjectFound(const Kest::Guid&, const ODB::Id&, ODB::IdSpace*, const char*, std::size_t length) override {
        objects += length > 0 ? 1 : 0;
    }
    void ModifiedObjectFound(const Kest::Guid&, const ODB::Id&, ODB::IdSpace*, const char*,
                             std::size_t length) override {
        objects += length > 0 ? 1 : 0;
    }

    std::size_t objects = 0;
};

// Clashes of names and indexes are many.
struct Silence {
    Silence() {
        DBSetSink([](const Kest::UniString&) {});
        Kest::logger.SetSink([](const Kest::LogEntry&) {});
    }
    ~Silence() { Kest::logger.SetSink({}); }
};

void Run(Bytes bytes) {
    const Silence silence;
    const std::string stream = MakeDeltaStream(bytes);
    ODB::IdSpace space;
    ODB::Delta delta(&space);
    Kest::MemoryIChannel channel(stream.data(), stream.size());
    if (delta.Read(channel) != 0) {
        Require(delta.IsEmpty() && !delta.HasName(), "a delta that cannot be read has left something behind");
        return;
    }
    const std::string written = Write(delta);
    ODB::Delta again(&space);
    Kest::MemoryIChannel rest(written.data(), written.size());
    Require(again.Read(rest) == 0, "what was written cannot be read");
    Require(Write(again) == written, "reading back gives another content");

    Counter counter;
    Require(delta.EnumerateContent(counter, ODB::Delta::ById, ODB::Delta::Everything) == 0 &&
                counter.objects == delta.GetNewObjectCount() + delta.GetModifiedObjectCount(),
            "not all was told");

    ODB::UniformConflictResolver keeping(ODB::ConflictResolver::Decision::KeepTarget);
    ODB::UniformConflictResolver taking(ODB::ConflictResolver::Decision::TakeDelta);
    for (ODB::ConflictResolver* const resolver :
         {static_cast<ODB::ConflictResolver*>(nullptr), static_cast<ODB::ConflictResolver*>(&keeping),
          static_cast<ODB::ConflictResolver*>(&taking)})
        CheckMerge(delta, resolver);
}

const Registration registration("Delta", Run);

}   // namespace
}   // namespace Fuzz
