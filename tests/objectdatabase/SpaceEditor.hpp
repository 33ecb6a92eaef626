#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <map>
#include <random>
#include <vector>

#include "Coin.hpp"

/// Makes random edits of two id spaces, or of the first alone; the only source of ids while it lives.
class SpaceEditor {
public:
    SpaceEditor(unsigned seed, bool withBoth) : random(seed), both(withBoth) {
        madeIds = 0;
        Kest::Guid::SetSource([] { return IdOf(1000000 + madeIds++).GetGuid(); });
        for (int number = 0; number < 12; ++number)
            Coin::MakeIn(spaces[both && number % 4 == 3], nextKey++);
        for (int number = 0; number < 60; ++number)
            Plain().Connect(Any(0), Coin::MakeIn(spaces[0], nextKey++));
    }
    ~SpaceEditor() {
        for (const ThingRef& thing : nameless)
            ODB::Database::DeleteObject(thing);
        Kest::Guid::SetSource(nullptr);
    }

    void Step() {
        const ThingRef left = Any(OneIn(8), 3);
        const Things& association = AnyAssociation();
        if (random() % 8 != 0)
            return Edit();
        association.ForEachRight(left, [&, turns = 3](const ThingRef&) mutable {   // a walk under way
            if (turns-- > 0)
                Edit();
        });
    }

    ODB::IdSpace spaces[2];

private:
    void Edit() {
        const std::size_t here = OneIn(8);
        const ThingRef left = Any(here, 3);
        const ThingRef right = Any(OneIn(16));
        const Things& association = AnyAssociation();
        const auto rights = Rights(association, left);
        switch (random() % 16) {
        case 0:
            right.GetLogicalConst()->SetNumber(static_cast<int>(random() % 3));
            break;
        case 1:
            right->number = static_cast<int>(random() % 3);
            break;
        case 2:
        case 3:
            Coin::MakeIn(spaces[here], nextKey++);
            break;
        case 4:
        case 5:
        case 6:
            association.Connect(left, right);
            break;
        case 7:
            for (std::size_t place = random() % 4; place < rights.size() && random() % 64 != 0; ++place)
                Plain().Disconnect(left, rights[place]);
            break;
        case 8:
            if (!rights.empty())
                CutAndMaybeLinkAgain(association, left, rights[random() % rights.size()]);
            break;
        case 9:
            if (!rights.empty())
                Reorder(association, left, rights);
            break;
        case 10:
            ODB::Database::DeleteObject(right);
            break;
        case 11:
            DeleteAndRevive(right);
            break;
        case 12:
            spaces[OneIn(2)].MoveObject(random() % 2 == 0 ? left : right);
            break;
        case 13:
            LinkAndNameLater(left, right);
            break;
        case 14:
            for (int count = 0; count < 20; ++count)
                Plain().Connect(left, Coin::MakeIn(spaces[here], nextKey++));
            break;
        default:
            Identify(right);
        }
    }

    void CutAndMaybeLinkAgain(const Things& association, const ThingRef& left, const ThingRef& right) {
        const ThingRef held = right;
        association.DeleteIsolatedLink(left, held);
        if (random() % 2 == 0)
            association.Connect(left, held);
    }

    void Reorder(const Things& association, const ThingRef& left, std::vector<ThingRef> rights) {
        const std::size_t from = random() % rights.size();
        if (random() % 4 != 0) {
            association.ReorderLinkFromLeftObject(left, rights[from], from, random() % rights.size());
            return;
        }
        std::shuffle(rights.begin(), rights.end(), random);
        ODB::RefList<ODB::Object> order;
        for (const ThingRef& right : rights)
            order.Push(right);
        association.ReorderIsolatedLinks(left, order);
    }

    void DeleteAndRevive(const ThingRef& thing) {
        const ODB::Id id = thing.GetId();
        const int number = NumberOf(thing);
        ODB::Database::DeleteObject(thing);
        dead.push_back(thing);
        ThingRef revived(new Coin(random() % 2 == 0 ? number : 7));
        ODB::Database::AddObject(revived, false);
        if (!revived.Init(id, &spaces[OneIn(2)]))
            ODB::Database::DeleteObject(revived);
    }

    void LinkAndNameLater(const ThingRef& left, const ThingRef& right) {
        if (nameless.empty()) {
            nameless.push_back(ThingRef(new Coin(5)));
            ODB::Database::AddObject(nameless.back(), false);
            Plain().Connect(left, nameless.back());
            Plain().Connect(nameless.back(), right);
            return;
        }
        const ODB::Id id = dead.empty() ? ODB::NullId : dead[random() % dead.size()].GetId();
        if (!nameless.back().Init(id, &spaces[OneIn(2)]))
            ODB::Database::DeleteObject(nameless.back());
        nameless.pop_back();
    }

    void Identify(ThingRef thing) {
        const auto draw = random() % 8;
        if (draw == 0)
            spaces[OneIn(2)].ReidentifyAllObjects(nullptr);
        else if (draw < 4)
            thing.GenerateId(&spaces[OneIn(2)]);
    }

    // Where something happens: seldom in the second space.
    std::size_t OneIn(unsigned times) { return random() % times == 0 && both ? 1 : 0; }

    const Things& AnyAssociation() {
        const Things* const associations[] = {&Plain(), &Plain(), &Indexed(), &Sending()};
        return *associations[random() % 4];
    }

    // One of the first by id: in an order that no other seed decides.
    ThingRef Any(std::size_t space, std::size_t most = 1000) {
        std::map<Kest::Guid, ThingRef> things;
        spaces[space].EnumerateObjects(
            [&](const auto& object) { things.emplace(object.GetId().GetGuid(), ThingRef(object.GetInfo())); });
        if (things.empty())
            return Coin::MakeIn(spaces[space], nextKey++);
        const std::size_t place = random() % std::min(most, things.size());
        return std::next(things.begin(), static_cast<std::ptrdiff_t>(place))->second;
    }

    static std::vector<ThingRef> Rights(const Things& association, const ThingRef& left) {
        std::vector<ThingRef> rights;
        association.ForEachRight(left, [&](const ThingRef& right) { rights.push_back(right); });
        return rights;
    }

    static inline int madeIds = 0;
    std::mt19937 random;
    bool both;
    int nextKey = 100;
    std::vector<ThingRef> dead;   // they keep the records for who comes under their ids
    std::vector<ThingRef> nameless;
};
