#pragma once

#include <memory>
#include <string>

#include <Kest/Array.hpp>
#include <Kest/HashTable.hpp>

#include <AttributeManager/AttributeTypeSet.hpp>
#include <AttributeManager/AttributeTypeSetObserver.hpp>

#include "attributemanager/AttributeFixture.hpp"

namespace ADBTest {

/// What an editor derives.
class Editor : public ADB::AttributeTypeSet {
public:
    Editor() = default;
    Editor(const ODB::ConstRef<ADB::AttributeSet>& source, short attributeTypeId)
        : AttributeTypeSet(source, attributeTypeId) {}
    using AttributeTypeSet::Copy;
};

/// Hears a working copy: "created Wall", "changed Wall: 1 3" (the general fields), "deleted #4", "recreated".
class EditRecorder : public ADB::AttributeTypeSetObserver, public EventLog {
public:
    using EventLog::EventLog;

    void AttributeCreated(Reading attribute) override { Hear("created " + NameOf(attribute)); }
    void AttributeChanged(Reading attribute, const FieldMask& fields) override {
        std::string text = "changed " + NameOf(attribute) + ":";
        for (const int field : FieldsOf(fields))
            text += " " + std::to_string(field);
        Hear(text);
    }
    void AttributeDeleted(short index) override { Hear("deleted #" + std::to_string(index)); }
    void AttributeRecreated() override { Hear("recreated"); }
    void SourceDestroyed(Kest::EventSource*) override { Hear("destroyed"); }
};

/// The clones that a type set hands out, freed at the end.
class Clones {
public:
    ~Clones() {
        for (GeneralAttribute* const clone : list)
            delete clone;
    }
    /// "3 Wall 5": index, name and colour of each.
    Texts Describe() const {
        Texts texts;
        for (const GeneralAttribute* const clone : list)
            texts.push_back(std::to_string(clone->GetIndex()) + " " + clone->GetName().ToCStr() + " " +
                            std::to_string(static_cast<const Mark*>(clone)->color));
        return texts;
    }

    Kest::Array<GeneralAttribute*> list;
};

/// A set with marks, and words for working copies of them.
class TypeSetFixture : public SetFixture {
protected:
    ~TypeSetFixture() override { EXPECT_TRUE(!editor || editor->CheckInvariants()); }

    void Open() { editor = std::make_unique<Editor>(set, markType); }
    /// On W1, W2 and W3: deletes the first, changes the third, adds N4.
    void OpenEdited() {
        editor.reset();
        set->Clear();
        for (const short index : {short{1}, short{2}, short{3}})
            Add(UniString::Printf("W%d", index), index);
        Open();
        editor->Delete(1, true);
        SetMark(3, u"R3", 3, Fields({1}));
        AddMark(u"N4");
        editor->SetAttributeReplaced(1, 2);
    }

    int AddMark(const UniString& name, int color = 0) {
        Mark mark(name, 0, color);
        return editor->Add(&mark);
    }
    int SetMark(short index, const UniString& name, int color, const FieldMask& fields) {
        Mark mark(name, index, color);
        return editor->Set(&mark, fields, false);
    }

    static FieldMask Fields(std::initializer_list<int> general, bool withColor = false) {
        FieldMaskT<Mark> mask;
        for (const int field : general)
            mask.Set({GeneralAttribute::GetFieldClassId(), field});
        if (withColor)
            mask.Set(Mark::ColorField);
        return mask;
    }

    /// The marks of the working copy in link order: "1 Wall".
    Texts Working() { return ListMarks(editor->GetAttributeSet()); }
    Texts Target() const { return ListMarks(set); }

    Indexes DeletedRecord() const {
        Kest::Array<short> indexes;
        EXPECT_EQ(editor->GetDeletedAttributes(&indexes), 0);
        return Indexes(indexes.begin(), indexes.end());
    }
    Texts NewRecord() const {
        Clones clones;
        EXPECT_EQ(editor->GetNewAttributes(&clones.list), 0);
        return clones.Describe();
    }
    /// What the marks of the source become.
    Texts ModifiedRecord() const {
        Clones clones;
        EXPECT_EQ(editor->GetModifiedAttributes(set, &clones.list), 0);
        return clones.Describe();
    }
    /// "3>7 5>7".
    std::string ReplacedRecord() const {
        Kest::HashTable<short, short> indexes;
        EXPECT_EQ(editor->GetReplacedAttributes(&indexes), 0);
        std::string text;
        for (const auto& entry : std::as_const(indexes))
            text += (text.empty() ? "" : " ") + std::to_string(entry.key) + ">" + std::to_string(entry.value);
        return text;
    }

    std::unique_ptr<Editor> editor;
};

}   // namespace ADBTest
