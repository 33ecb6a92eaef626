#pragma once

#include <functional>
#include <map>
#include <memory>
#include <new>
#include <vector>

#include <Kest/EventSource.hpp>

#include <ODB/Association1N.hpp>
#include <ODB/Database.hpp>
#include <ODB/Delta.hpp>
#include <ODB/IdSpace.hpp>
#include <ODB/Index.hpp>
#include <ODB/Object.hpp>

#include "support/ForEachFailure.hpp"

/// An object with a number; counts the living, notes the order of dying, hands association events to a hook.
class Thing : public ODB::Object, public Kest::EventSource {
public:
    enum class Event { Connected, Disconnected, Deleted, Modified, Reordered };
    using Hook = std::function<void(Event, Thing& left, const ODB::ConstRef<ODB::Object>& right)>;

    struct IsolatedState : ODB::Object::IsolatedState {
        bool ReturnTo(ODB::Object& object) noexcept override {
            static_cast<Thing&>(object).SetNumber(number);
            return true;
        }

        int number = 0;
    };

    explicit Thing(int thingNumber = 0) : number(thingNumber) { ++living; }
    Thing(const Thing& other) : Object(other), EventSource(other), number(other.number) { ++living; }
    ~Thing() override {
        LeaveDatabase();
        --living;
        const AllocationsSucceed noting;
        deaths.push_back(number);
    }

    Thing* Clone() const override { return new Thing(*this); }
    const Kest::ClassInfo* GetClassInfo() const override { return GetClassInfoStatic(); }
    static const Kest::ClassInfo* GetClassInfoStatic() {
        static const Kest::ClassInfo info("Test::Thing", Kest::Guid("{D1E5C0DE-0000-4000-8000-000000000001}"),
                                          Kest::ClassVersion(1, 0), ODB::Object::GetClassInfoStatic(), {},
                                          []() -> Kest::Object* { return new Thing; });
        return &info;
    }

    int GetNumber() const { return number; }
    /// Through the gate, as a setter does.
    void SetNumber(int newNumber) {
        ODB::ModificationGate gate(*this);
        number = newNumber;
        gate.Close();
    }

    IsolatedState* CreateIsolatedState() const override { return new IsolatedState; }
    int StoreIsolatedState(ODB::Object::IsolatedState* state) const override {
        if (number < 0)
            return -99;
        dynamic_cast<IsolatedState&>(*state).number = number;
        return 0;
    }
    int RestoreIsolatedState(const ODB::Object::IsolatedState* state) override {
        const int restored = dynamic_cast<const IsolatedState&>(*state).number;
        if (restored == unrestorable)
            return -98;
        SetNumber(restored);
        return 0;
    }

    void ObjectConnected(const ODB::Association1NUntyped&, const ODB::ConstRef<ODB::Object>& right) override {
        Tell(Event::Connected, right);
    }
    void ObjectDisconnected(const ODB::Association1NUntyped&, const ODB::ConstRef<ODB::Object>& right) override {
        Tell(Event::Disconnected, right);
    }
    void ObjectDeleted(const ODB::Association1NUntyped&, const ODB::ConstRef<ODB::Object>& right) override {
        Tell(Event::Deleted, right);
    }
    void ObjectModified(const ODB::Association1NUntyped&, const ODB::ConstRef<ODB::Object>& right) override {
        Tell(Event::Modified, right);
    }
    void ObjectReordered(const ODB::Association1NUntyped&, const ODB::ConstRef<ODB::Object>& right) override {
        Tell(Event::Reordered, right);
    }

    int number;   // open, so that tests can write past the gate

    static inline int living = 0;
    static inline std::vector<int> deaths;
    static inline Hook hook;
    static inline int unrestorable = -1;

private:
    void Tell(Event event, const ODB::ConstRef<ODB::Object>& right) {
        if (hook)
            hook(event, *this, right);
    }
};

using ThingRef = ODB::Ref<Thing>;
using Things = ODB::Association1N<Thing, Thing>;

inline int NumberOf(const ODB::RefBase& thing) {
    const auto* const object = static_cast<const Thing*>(thing.GetInfo()->GetObject());
    return object != nullptr ? object->GetNumber() : -1;
}

/// Finds things by their number; the last writer holds a number. Can be made to run out of memory.
class NumberIndex : public ODB::Index {
public:
    class Query : public ODB::Query {
    public:
        explicit Query(int wanted) : number(wanted) {}
        Query* Clone() const override { return new Query(*this); }
        bool Matches(const Subject& subject) const override { return NumberOf(subject) == number; }
        int number;
    };

    NumberIndex* Clone() const override { return nullptr; }
    bool Supports(const ODB::Query& query) const override { return dynamic_cast<const Query*>(&query) != nullptr; }
    bool Execute(const ODB::Query& query, ODB::RefList<ODB::Object>* result, ResultMode) const override {
        ++executions;
        const auto found = holders.find(static_cast<const Query&>(query).number);
        if (found != holders.end())
            result->Push(ODB::Ref<ODB::Object>(found->second));
        return true;
    }
    using Index::Execute;

    void ScopeAssigned(const ODB::Ref<ODB::Object>& assigned) override { scope = assigned; }
    void ObjectCreated(const ODB::Ref<ODB::Object>& object) override { File(*object.GetInfo()); }
    void ObjectModified(const ODB::Ref<ODB::Object>& object) override {
        shown.push_back(NumberOf(object));
        File(*object.GetInfo());
    }
    void ObjectDeleted(const ODB::Ref<ODB::Object>& object) override { Remove(*object.GetInfo()); }
    void Clear() override {
        keys.clear();
        holders.clear();
    }
    bool FollowsModifications() const override { return true; }

    std::map<ODB::ObjectInfo*, int> keys;
    std::map<int, ODB::ObjectInfo*> holders;
    std::vector<int> shown;   // numbers of the objects seen modified, in order
    ODB::Ref<ODB::Object> scope;
    int failures = 0;   // so many filings fail
    static inline int executions = 0;

private:
    void Remove(ODB::ObjectInfo& record) {
        const auto key = keys.find(&record);
        if (key == keys.end())
            return;
        const auto holder = holders.find(key->second);
        if (holder != holders.end() && holder->second == &record)
            holders.erase(holder);
        keys.erase(key);
    }
    void File(ODB::ObjectInfo& record) {
        if (failures > 0) {
            --failures;
            throw std::bad_alloc();
        }
        Remove(record);
        const int number = NumberOf(ODB::Ref<ODB::Object>(&record));
        keys[&record] = number;
        holders[number] = &record;
    }
};

template <int Number, ODB::AssociationProperty::Bit... Properties>
const Things& Association() {
    static const Things association(ODB::Id(Kest::Guid(Kest::Guid::Bytes{0xD1, 0xE5, Number})),
                                    (ODB::AssociationProperty() | ... | Properties));
    return association;
}
inline constexpr auto Owning =
    &Association<1, ODB::AssociationProperty::Ownership, ODB::AssociationProperty::RightIndexBase>;
inline constexpr auto OwningToo = &Association<2, ODB::AssociationProperty::Ownership>;
inline constexpr auto Plain = &Association<3, ODB::AssociationProperty::RightIndexBase>;
inline constexpr auto Deleting = &Association<4, ODB::AssociationProperty::DeletePropagation>;
inline constexpr auto Sending =
    &Association<5, ODB::AssociationProperty::Ownership, ODB::AssociationProperty::EventSending>;
/// Each left object has a NumberIndex.
inline const Things& Indexed() {
    static const Things* const association = [] {
        static Things made(ODB::Id("{D1E5C0DE-0000-4000-8000-000000000016}"),
                           ODB::AssociationProperty::Ownership | ODB::AssociationProperty::RightIndexBase);
        made.SetRightIndexFactory([] { return std::make_unique<NumberIndex>(); });
        return &made;
    }();
    return *association;
}

inline NumberIndex* IndexOf(const ODB::RefBase& left) {
    return static_cast<NumberIndex*>(Indexed().FindRightIndex(*left.GetInfo()));
}

inline std::vector<int> RightNumbers(const Things& association, const ThingRef& left) {
    std::vector<int> numbers;
    association.ForEachRight(ODB::ConstRef<Thing>(left),
                             [&](const ODB::ConstRef<Thing>& right) { numbers.push_back(right->GetNumber()); });
    return numbers;
}

inline ODB::Id IdOf(int number) {
    Kest::Guid::Bytes bytes{0x7D};
    for (std::size_t place = 0; place < 4; ++place)
        bytes[12 + place] = static_cast<std::uint8_t>(static_cast<unsigned>(number) >> (24 - 8 * place));
    return ODB::Id(Kest::Guid(bytes));
}

/// A space of its own per test, and the means to fill it.
struct ThingWorld {
    ThingWorld() {
        Thing::deaths.clear();
        Thing::hook = nullptr;
        Thing::unrestorable = -1;
    }
    ~ThingWorld() { Thing::hook = nullptr; }

    /// A thing of the database with an id that goes with its number.
    ThingRef Make(int number) { return MakeIn(space, number); }
    static ThingRef MakeIn(ODB::IdSpace& target, int number) {
        ThingRef thing(new Thing(number));
        thing.Init(IdOf(number), &target);
        ODB::Database::AddObject(thing, false);
        return thing;
    }

    /// A left object numbered \p left with right objects numbered \p rights.
    ThingRef MakeLinked(const Things& association, int left, const std::vector<int>& rights) {
        const ThingRef made = Make(left);
        for (int right : rights)
            association.Connect(made, Make(right));
        return made;
    }

    /// The thing that Make made for \p number.
    ThingRef Of(int number) const { return ThingIn(space, number); }
    static ThingRef ThingIn(const ODB::IdSpace& where, int number) {
        return ThingRef(where.Find(IdOf(number)).GetInfo());
    }

    ODB::IdSpace space{Kest::UniString("things")};
};
