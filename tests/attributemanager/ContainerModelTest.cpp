#include <AttributeManager/AttributeContainer.hpp>

#include <Kest/HashSet.hpp>
#include <Kest/UniqueName.hpp>

#include <algorithm>
#include <list>
#include <map>
#include <random>
#include <set>
#include <vector>

#include "attributemanager/AttributeFixture.hpp"

namespace {

using namespace ADBTest;

// The rules of a container, written down plainly: every question walks over all attributes.
class Model {
public:
    struct Item {
        Attribute attribute;
        UniString name;
        short index;
        short flags = 0;
    };
    using Items = std::list<Item>;   // in link order
    using Place = Items::iterator;

    Items items;
    std::map<short, const Item*> indexHolders;
    std::map<std::string, const Item*> nameHolders;
    std::vector<const Item*> written;   // through bare references, in the order of the last writes
    Texts log;

    static std::string KeyOf(const UniString& name) { return name.ToUpper().ToCStr(); }

    void Write(const Item& item) {
        std::erase(written, &item);
        written.push_back(&item);
    }
    // The index looks at all that was written, but for what is being changed.
    void Drain(const Item* changing = nullptr) {
        const std::vector<const Item*> seen = written;
        for (const Item* item : seen)
            if (item != changing)
                Show(*item);
    }
    void Show(const Item& item) {
        std::erase(written, &item);
        TakeKeys(item, "ObjectModified");
    }
    void Create(const Item& item) { TakeKeys(item, "ObjectCreated"); }
    void Delete(Place item) {
        Drain(&*item);
        std::erase_if(indexHolders, [&](const auto& entry) { return entry.second == &*item; });
        std::erase_if(nameHolders, [&](const auto& entry) { return entry.second == &*item; });
        std::erase(written, &*item);
        items.erase(item);
    }

    short FreeIndex(short hint) const {
        const auto isFree = [this](int index) {
            return std::none_of(items.begin(), items.end(), [index](const Item& item) { return item.index == index; });
        };
        const int start = hint >= 1 && hint <= 32766 ? hint : 1;
        for (int index = start; index <= 32766; ++index)
            if (isFree(index))
                return static_cast<short>(index);
        for (int index = 1; index < start; ++index)
            if (isFree(index))
                return static_cast<short>(index);
        return hint;
    }
    UniString FreeName(const UniString& base) const {
        std::set<std::string> taken;
        for (const Item& item : items)
            taken.insert(KeyOf(item.name));
        return FreeName(base, taken);
    }
    static UniString FreeName(const UniString& base, const std::set<std::string>& taken) {
        UniString result;
        Kest::GenerateUniqueName(
            Kest::ContainsNonWhitespace(base) ? base : u"Generated Attribute Name (1)", result,
            [&](const UniString& name) { return !taken.contains(KeyOf(name)); }, nullptr);
        return result;
    }

private:
    void TakeKeys(const Item& item, const char* event) {
        const std::string message = "ADB::AttributeIndex::" + std::string(event) + " - Test::Mark attribute ";
        std::erase_if(indexHolders,
                      [&](const auto& entry) { return entry.second == &item && entry.first != item.index; });
        const Item*& indexHolder = indexHolders[item.index];
        if (indexHolder != nullptr && indexHolder != &item)
            log.push_back(message + "index " + std::to_string(item.index) + " is already used by \"" +
                          indexHolder->name.ToCStr() + "\"");
        indexHolder = &item;
        const std::string key = KeyOf(item.name);
        std::erase_if(nameHolders, [&](const auto& entry) { return entry.second == &item && entry.first != key; });
        const Item*& nameHolder = nameHolders[key];
        if (nameHolder != nullptr && nameHolder != &item)
            log.push_back(message + "name \"" + item.name.ToCStr() + "\" is already used by index " +
                          std::to_string(nameHolder->index));
        nameHolder = &item;
    }
};

class ContainerModelTest : public ContainerFixture {
protected:
    // Does one random thing to both.
    void Step() {
        using Action = void (ContainerModelTest::*)();
        using Self = ContainerModelTest;
        static constexpr Action Actions[] = {&Self::AddOne,   &Self::AddOne,    &Self::AddOne,      &Self::AddOneWithId,
                                             &Self::PutOne,   &Self::PutOne,    &Self::Rename,      &Self::Rename,
                                             &Self::Renumber, &Self::DeleteOne, &Self::Synchronize, &Self::ClearOne,
                                             &Self::Touch,    &Self::Check,     &Self::Activate};
        (this->*Actions[Draw(std::size(Actions))])();
        if (Draw(200) == 0)
            Reset();
    }

    void Compare() {
        model.Drain();
        const ADB::AttributeContainer& container = *marks.GetConst();
        ASSERT_TRUE(container.CheckInvariants());
        ASSERT_EQ(container.GetAttributeNumber(), model.items.size());
        for (const short index : IndexPool)
            ASSERT_EQ(container.GetAttribute(static_cast<unsigned int>(index)), HolderOf(model.indexHolders, index));
        for (const UniString& name : NamePool)
            ASSERT_EQ(container.GetAttribute(name), HolderOf(model.nameHolders, Model::KeyOf(name))) << name;
        const short hint = DrawIndex();
        const UniString base = DrawName();
        ASSERT_EQ(container.GenerateUniqueIndex(hint, nullptr), model.FreeIndex(hint)) << hint;
        ASSERT_EQ(container.GenerateUniqueName(base, nullptr), model.FreeName(base)) << base;
        CompareWalks();
        ASSERT_EQ(TakeLog(), std::exchange(model.log, {}));
    }

    void CompareWalks() {
        Indexes linked, sorted;
        std::vector<std::string> names;
        for (const Model::Item& item : model.items) {
            linked.push_back(item.index);
            names.push_back(Model::KeyOf(item.name));
        }
        sorted = linked;
        std::sort(sorted.begin(), sorted.end());
        std::sort(names.begin(), names.end());   // bytes of UTF-8 order like code points
        ASSERT_EQ(IndexesInOrder(), linked);
        ASSERT_EQ(IndexesInOrder(ADB::SortByIndex), sorted);
        ASSERT_EQ(KeysInOrder(ADB::Ascending), names);
        ASSERT_EQ(marks.GetConst()->GetAttributeMaximumIndex(), sorted.empty() ? 0 : std::max<short>(0, sorted.back()));
        const Attribute current = marks.GetConst()->GetActiveAttribute();
        if (active) {
            ASSERT_EQ(current, active);
        } else {
            ASSERT_EQ(current.GetConst() != nullptr ? current.GetConst()->GetIndex() : 0,
                      sorted.empty() ? 0 : sorted.front());
        }
        std::reverse(sorted.begin(), sorted.end());
        std::reverse(names.begin(), names.end());
        ASSERT_EQ(IndexesInOrder(ADB::SortByIndex, ADB::Descending), sorted);
        ASSERT_EQ(KeysInOrder(ADB::Descending), names);
    }

    void Seed(unsigned int seed) { random.seed(seed); }
    std::size_t Draw(std::size_t bound) { return random() % bound; }

private:
    template <class Holders, class Key>
    static Attribute HolderOf(const Holders& holders, const Key& key) {
        const auto found = holders.find(key);
        return found != holders.end() ? found->second->attribute : Attribute();
    }
    std::vector<std::string> KeysInOrder(ADB::SortOrder order) const {
        std::vector<std::string> keys;
        for (const UniString& name : NamesInOrder(ADB::SortByName, order))
            keys.push_back(Model::KeyOf(name));
        return keys;
    }
    short DrawIndex() { return IndexPool[Draw(IndexPool.size())]; }
    UniString DrawName() { return NamePool[Draw(NamePool.size())]; }
    Model::Place DrawItem() {
        return std::next(model.items.begin(), static_cast<std::ptrdiff_t>(Draw(model.items.size())));
    }
    Mark DrawSource() { return Mark(DrawName(), DrawIndex()); }

    void Enter(const Attribute& made, const UniString& name, short index, short flags) {
        ASSERT_TRUE(made);
        ASSERT_EQ(made.GetConst()->GetName(), name);
        ASSERT_EQ(made.GetConst()->GetIndex(), index);
        model.Drain();
        model.Create(model.items.emplace_back(Model::Item{made, name, index, flags}));
    }
    void AddOne() {
        const Mark source = DrawSource();
        const bool keepIndex = Draw(2) == 0;
        const short index = model.FreeIndex(keepIndex ? source.GetIndex() : short{0});
        const UniString name = model.FreeName(source.GetName());
        Enter(marks.GetLogicalConst()->NewAttribute(Reading(&source), keepIndex, false), name, index, 0);
    }
    void AddOneWithId() {
        const Mark source = DrawSource();
        const bool isTaken = !model.items.empty() && Draw(2) == 0;
        const Kest::Guid guid = isTaken ? DrawItem()->attribute.GetConst()->GetGuid() : Kest::Guid::Generate();
        const short hint = DrawIndex(), index = model.FreeIndex(hint);
        const UniString name = model.FreeName(source.GetName());
        const Attribute made = marks.GetLogicalConst()->NewAttribute(Reading(&source), hint, guid, &space);
        if (isTaken) {
            ASSERT_FALSE(made);
            return;
        }
        ASSERT_EQ(made.GetConst()->GetGuid(), guid);
        Enter(made, name, index, 0);
    }
    // What follows writes through a reference first, as hosts do.
    template <class Change>
    void Apply(Model::Item& item, Change&& change) {
        model.Drain(&item);
        change();
        model.Show(item);
    }
    void PutOne() {
        const Mark source = DrawSource();
        const short index = DrawIndex();
        model.Drain();
        const Attribute target = HolderOf(model.indexHolders, index);
        FieldMask changed;
        const int status =
            marks.GetLogicalConst()->PutAttribute(Reading(&source), static_cast<unsigned int>(index), &changed);
        ASSERT_EQ(status, target ? 0 : ADB::Error::NotLoadable);
        if (!target)
            return;
        Model::Item& item = *std::find_if(model.items.begin(), model.items.end(),
                                          [&](const Model::Item& each) { return each.attribute == target; });
        std::vector<int> expected;
        if (item.name != source.GetName())
            expected.push_back(1);
        if (item.index != source.GetIndex())
            expected.push_back(2);
        if (item.flags != 0)
            expected.push_back(3);
        ASSERT_EQ(FieldsOf(changed), expected);
        if (expected.empty())
            return;
        Apply(item, [&] {
            item.name = source.GetName();
            item.index = source.GetIndex();
            item.flags = 0;
        });
    }
    // A change of a key: refused, and logged, when any other item bears the new one.
    template <class Bears, class Show>
    void ChangeKey(Model::Item& item, bool isSame, int status, int clashCode, const std::string& refusal, Bears&& bears,
                   Show&& show, const std::function<void()>& change) {
        if (isSame) {
            ASSERT_EQ(status, 0);
            return;
        }
        model.Drain(&item);
        std::string clashes;
        for (const Model::Item& other : model.items)
            if (&other != &item && bears(other))
                clashes += " " + show(other);
        ASSERT_EQ(status, clashes.empty() ? 0 : clashCode);
        if (clashes.empty())
            Apply(item, change);
        else
            model.log.push_back("ADB::GeneralAttribute::" + refusal.substr(0, refusal.find('|')) + clashes +
                                refusal.substr(refusal.find('|') + 1) + " of \"" + item.name.ToCStr() +
                                "\" cannot be changed (current index is " + std::to_string(item.index) + ")");
    }
    void Rename() {
        if (model.items.empty())
            return;
        Model::Item& item = *DrawItem();
        const UniString name = DrawName();
        model.Write(item);
        const int status = item.attribute->SetName(name);
        ChangeKey(
            item, name == item.name, status, ADB::Error::RenameClash,
            std::string("SetName - Test::Mark attribute name \"") + name.ToCStr() +
                "\" is already used by index|, name",
            [&](const Model::Item& other) { return Model::KeyOf(other.name) == Model::KeyOf(name); },
            [](const Model::Item& other) { return std::to_string(other.index); }, [&] { item.name = name; });
    }
    void Renumber() {
        if (model.items.empty())
            return;
        Model::Item& item = *DrawItem();
        const short index = DrawIndex();
        model.Write(item);
        const int status = item.attribute->SetIndex(index);
        ChangeKey(
            item, index == item.index, status, ADB::Error::ReindexClash,
            "SetIndex - Test::Mark attribute index " + std::to_string(index) + " is already used by|, index",
            [&](const Model::Item& other) { return other.index == index; },
            [](const Model::Item& other) { return std::string("\"") + other.name.ToCStr() + "\""; },
            [&] { item.index = index; });
    }
    void DeleteOne() {
        const short index = DrawIndex();
        model.Drain();
        const Attribute target = HolderOf(model.indexHolders, index);
        const int expected = target ? 0 : ADB::Error::NotLoadable;
        ASSERT_EQ(marks.GetLogicalConst()->DeleteAttribute(static_cast<unsigned int>(index)), expected);
        const auto item = std::find_if(model.items.begin(), model.items.end(),
                                       [&](const Model::Item& each) { return !each.attribute; });
        ASSERT_EQ(item != model.items.end(), model.indexHolders.contains(index));
        if (item != model.items.end())
            model.Delete(item);
    }
    void Synchronize() {
        if (model.items.empty())
            return;
        Model::Item& item = *DrawItem();
        Mark source = DrawSource();
        source.SetFlags(static_cast<short>(Draw(3)));
        FieldMaskT<GeneralAttribute> mask;
        const std::size_t bits = Draw(8);
        for (int field = 1; field <= 3; ++field)
            if ((bits >> (field - 1) & 1U) != 0)
                mask.Set(field);
        model.Write(item);
        item.attribute->Synchronize(Reading(&source), mask);
        Apply(item, [&] {
            item.name = mask.Test(1) ? source.GetName() : item.name;
            item.index = mask.Test(2) ? source.GetIndex() : item.index;
            item.flags = mask.Test(3) ? source.GetFlags() : item.flags;
        });
    }
    void ClearOne() {
        if (model.items.empty())
            return;
        Model::Item& item = *DrawItem();
        model.Write(item);
        item.attribute->Clear();
        Apply(item, [&] {
            item.name = u"";
            item.index = 0;
        });
    }
    void Touch() {
        for (std::size_t turn = Draw(4); turn > 0 && !model.items.empty(); --turn) {
            const Model::Item& item = *DrawItem();
            (void)item.attribute->GetFlags();
            model.Write(item);
        }
    }
    void Check() {
        ASSERT_EQ(marks.GetLogicalConst()->CheckContainer(), 0);
        std::set<std::string> names;
        std::vector<Model::Item*> repeated;
        for (Model::Item& item : model.items)
            if (!names.insert(Model::KeyOf(item.name)).second)
                repeated.push_back(&item);
        for (Model::Item* const item : repeated) {
            const UniString name = Model::FreeName(item->name, names);
            names.insert(Model::KeyOf(name));
            model.Write(*item);
            Apply(*item, [&] { item->name = name; });
        }
    }
    void Activate() {
        const Attribute chosen = model.items.empty() || Draw(3) == 0 ? Attribute() : DrawItem()->attribute;
        ASSERT_EQ(marks.GetLogicalConst()->SetActiveAttribute(chosen), 0);
        active = chosen;
    }
    void Reset() {
        marks.GetLogicalConst()->ResetContainer();
        while (!model.items.empty())
            model.Delete(model.items.begin());
        active = Attribute();
        ASSERT_EQ(space.GetObjectCount(), 1U);
    }

    const Names NamePool{u"Wall",
                         u"WALL",
                         u"wall (1)",
                         u"Wall (3)",
                         u"Roof",
                         u"roof (1)",
                         u"\u00C4st",
                         u"\u00E4st",
                         u"",
                         u" \t",
                         u"Generated Attribute Name (1)",
                         u"Wall (999999999)"};
    const Indexes IndexPool{-32768, -1, 0, 1, 2, 3, 4, 5, 63, 64, 256, 32765, 32766, 32767};

    std::mt19937 random;
    Model model;
    Attribute active;
};

TEST_F(ContainerModelTest, RandomOperationsAgreeWithTheModel) {
    for (unsigned int seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Seed(seed);
        for (int step = 0; step < 250; ++step) {
            Step();
            ASSERT_TRUE(space.CheckInvariants()) << step;
            if (seed % 2 == 0 || Draw(3) == 0)   // looking makes the index look: let writes pile up, too
                Compare();
            ASSERT_FALSE(HasFailure()) << step;
        }
    }
}

}   // namespace
