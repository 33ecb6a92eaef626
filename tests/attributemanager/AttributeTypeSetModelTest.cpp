#include <AttributeManager/AttributeTypeSet.hpp>

#include <iterator>
#include <map>
#include <random>

#include "attributemanager/TypeSetFixture.hpp"

namespace {

using namespace ADBTest;

// What a mark holds; whether two differ in nothing but the time.
struct Content {
    std::string name;
    int color = 0;
    short flags = 0;
    int time = 0;

    bool IsEqualButForTime(const Content& other) const {
        return name == other.name && color == other.color && flags == other.flags;
    }
    bool operator==(const Content&) const = default;
};

using Contents = std::map<short, Content>;

std::ostream& operator<<(std::ostream& stream, const Content& content) {
    return stream << content.name << ' ' << content.color << ' ' << content.flags << ' ' << content.time;
}

int modelClock = 0;

// Random scripts of edits against the rules written down as plainly as can be. The records are hash tables here, too:
// their order is part of what is compared.
class AttributeTypeSetModelTest : public TypeSetFixture {
protected:
    AttributeTypeSetModelTest() {
        TISetClock([] { return ++modelClock; });
    }

    int Draw(int bound) { return static_cast<int>(random() % static_cast<unsigned int>(bound)); }
    UniString DrawName() { return UniString::Printf("N%d", ++names); }
    static short AnyOf(const Contents& marks, int drawn) {
        return marks.empty() ? short{1} : std::next(marks.begin(), drawn % static_cast<int>(marks.size()))->first;
    }
    static short LargestOf(const Contents& marks) { return marks.empty() ? short{0} : marks.rbegin()->first; }

    static Contents ContentOf(const ODB::ConstRef<ADB::AttributeSet>& listed, short typeId) {
        Contents found;
        listed->EnumerateConstAttributes(typeId, [&found](const Reading& attribute) {
            found[attribute->GetIndex()] = {NameOf(attribute), static_cast<const Mark&>(*attribute).color,
                                            attribute->GetFlags(), attribute->GetModificationTime()};
        });
        return found;
    }

    void AddOne() {
        Mark mark(DrawName(), 0, Draw(5));
        short index = LargestOf(working);
        do
            ++index;
        while (deleted.Contains(index));
        ASSERT_EQ(editor->Add(&mark), 0);
        ASSERT_EQ(mark.GetIndex(), index);
        working[index] = {mark.GetName().ToCStr(), mark.color, 0, modelClock};
        added.Add(index);
    }

    void SetOne() {
        const short index = AnyOf(working, Draw(1000));
        const bool exists = working.contains(index);
        Content content = exists ? working[index] : Content{"none"};
        if (Draw(3) == 0)
            content.name = DrawName().ToCStr();
        if (Draw(3) == 0)
            content.color = Draw(5);
        if (Draw(3) == 0)
            content.flags = static_cast<short>(Draw(4));
        FieldMaskT<Mark> fields;
        for (const int field : {1, 3, 4})
            if (Draw(2) == 0)
                fields.FieldMask::Set({GeneralAttribute::GetFieldClassId(), field});
        if (Draw(2) == 0)
            fields.Set(Mark::ColorField);
        Mark mark(UniString(content.name.c_str()), index, content.color, content.flags);
        mark.SetModificationTime(content.time);
        const bool touch = Draw(2) == 0;
        ASSERT_EQ(editor->Set(&mark, fields, touch), exists ? 0 : ADB::Error::NotLoadable);
        if (!exists)
            return;
        content.time = touch ? modelClock : content.time;
        working[index] = content;
        modified.Add(index, FieldMask());
        *modified.Find(index) |= fields;
    }

    void DeleteOne() {
        const short index = AnyOf(working, Draw(1000));
        const bool tracks = Draw(4) != 0, existed = working.erase(index) == 1;
        ASSERT_EQ(editor->Delete(index, tracks), existed ? 0 : ADB::Error::MemoryFull);
        if (!tracks || !existed)
            return;
        modified.Delete(index);
        if (!added.Delete(index))
            deleted.Add(index);
    }

    void ReplaceOne() {
        const auto from = static_cast<short>(Draw(6)), to = static_cast<short>(Draw(6));
        ASSERT_EQ(editor->SetAttributeReplaced(from, to), 0);
        for (auto& [key, value] : replaced)
            value = value == from ? to : value;
        replaced[from] = to;
    }

    // Somebody else works on the target.
    void ChangeTarget() {
        const short index = AnyOf(target, Draw(1000));
        switch (Draw(4)) {
        case 0:
            if (target.contains(index))
                set->DeleteAttribute(markType, index, true);
            break;
        case 1:
            Add(DrawName(), 0, Draw(5));
            break;
        case 2:
            if (target.contains(index))
                Get(index)->SetName(DrawName());
            break;
        default:
            if (target.contains(index))
                Get(index)->SetFlags(static_cast<short>(Draw(4)));
        }
        target = ContentOf(set, markType);
    }

    Content Merged(const Content& stored, const Content& edited, const FieldMask& mask) {
        const FieldMaskT<GeneralAttribute> fields(mask);
        Content merged = stored;
        merged.name = fields.Test(GeneralAttribute::NameField) ? edited.name : stored.name;
        merged.flags = fields.Test(GeneralAttribute::FlagsField) ? edited.flags : stored.flags;
        merged.color = FieldMaskT<Mark>(mask).Test(Mark::ColorField) ? edited.color : stored.color;
        return merged;
    }

    // What Synchronize makes of the target; \returns its code.
    int SynchronizeModel(bool keepsIndexes, Texts& announced) {
        for (const short index : deleted) {
            if (target.erase(index) == 0)
                return ADB::Error::NoSuchIndex;
            announced.push_back("deleted 1 #" + std::to_string(index));
        }
        for (const auto& [index, fields] : std::as_const(modified)) {
            if (fields.IsEmpty() || !target.contains(index) || !working.contains(index) ||
                target[index].IsEqualButForTime(working[index]))
                continue;
            target[index] = Merged(target[index], working[index], fields);
            target[index].time = ++modelClock;
            announced.push_back("changed 1 " + target[index].name + ":");
            for (const int field : FieldsOf(fields))
                announced.back() += " " + std::to_string(field);
        }
        for (const short index : added) {
            if (!working.contains(index))
                continue;
            short stored = index;
            if (keepsIndexes && target.contains(index))
                return ADB::Error::NoSuchIndex;
            if (!keepsIndexes)
                for (stored = 1; target.contains(stored);)
                    ++stored;
            target[stored] = working[index];
            announced.push_back("created 1 " + working[index].name);
        }
        return 0;
    }

    void Synchronize() {
        const bool keepsIndexes = Draw(2) == 0;
        SetRecorder heard;
        set->Attach(heard);
        Texts announced;
        const int clockBefore = modelClock;
        const int expected = SynchronizeModel(keepsIndexes, announced);
        modelClock = clockBefore;
        ASSERT_EQ(editor->Synchronize(set, keepsIndexes), expected);
        ASSERT_EQ(heard.Take(), announced);
        ASSERT_EQ(ContentOf(set, markType), target);
        if (expected == 0)
            Forget();
        else
            Recreate();
    }

    void Recreate() {
        ASSERT_EQ(editor->Recreate(set), 0);
        Forget();
    }

    void Forget() {
        working = target;
        modified.Clear();
        deleted.Clear();
        added.Clear();
    }

    void Compare() {
        ASSERT_TRUE(editor->CheckInvariants());
        ASSERT_EQ(ContentOf(editor->GetAttributeSet(), markType), working);
        ASSERT_EQ(DeletedRecord(), Indexes(deleted.begin(), deleted.end()));
        Kest::HashTable<short, short> pairs;
        editor->GetReplacedAttributes(&pairs);
        std::map<short, short> found;
        for (const auto& entry : std::as_const(pairs))
            found[entry.key] = entry.value;
        ASSERT_EQ(found, replaced);
        CompareNew();
        CompareModified();
    }

    static std::string TextOf(short index, const Content& content) {
        return std::to_string(index) + " " + content.name + " " + std::to_string(content.color);
    }

    void CompareNew() {
        Texts expected;
        int code = 0;
        for (const short index : added) {
            if (!working.contains(index))
                code = ADB::Error::MemoryFull;
            else
                expected.push_back(TextOf(index, working[index]));
        }
        Clones clones;
        ASSERT_EQ(editor->GetNewAttributes(&clones.list), code);
        ASSERT_EQ(clones.Describe(), code == 0 ? expected : Texts());
    }

    void CompareModified() {
        Texts expected;
        int code = 0;
        for (const auto& [index, fields] : std::as_const(modified)) {
            if (fields.IsEmpty() || added.Contains(index) || deleted.Contains(index) || !working.contains(index))
                continue;
            if (!target.contains(index))
                code = ADB::Error::MemoryFull;
            else
                expected.push_back(TextOf(index, Merged(target[index], working[index], fields)));
        }
        Clones clones;
        ASSERT_EQ(editor->GetModifiedAttributes(set, &clones.list), code);
        ASSERT_EQ(clones.Describe(), code == 0 ? expected : Texts());
    }

    std::mt19937 random{51};
    int names = 0;
    Contents target, working;
    Kest::HashTable<short, FieldMask> modified;
    Kest::HashSet<short> deleted, added;
    std::map<short, short> replaced;
};

TEST_F(AttributeTypeSetModelTest, RandomScriptsAgreeWithTheModel) {
    for (short index = 1; index <= 8; ++index)
        Add(DrawName(), index, Draw(5));
    target = ContentOf(set, markType);
    Open();
    Forget();
    for (int step = 0; step < 6000 && !HasFatalFailure(); ++step) {
        SCOPED_TRACE(step);
        const int drawn = Draw(40);
        if (drawn < 10)
            AddOne();
        else if (drawn < 22)
            SetOne();
        else if (drawn < 32)
            DeleteOne();
        else if (drawn < 35)
            ReplaceOne();
        else if (drawn < 37)
            ChangeTarget();
        else if (drawn < 39)
            Synchronize();
        else
            Recreate();
        if (!HasFatalFailure())
            Compare();
    }
}

}   // namespace
