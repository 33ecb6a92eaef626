#pragma once

#include <AttributeManager/AttributeContainer.hpp>
#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/AttributeIterator.hpp>
#include <AttributeManager/GeneralAttribute.hpp>
#include <AttributeManager/IUsedAttrCollection.hpp>

#include <Kest/Clock.hpp>
#include <Kest/Logger.hpp>
#include <Kest/MemoryHandle.hpp>

#include <ODB/Database.hpp>
#include <ODB/IdSpace.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ADB {

/// Opens what only the library's own writers and readers use.
struct GeneralAttributeTestAccess {
    static void GenerateNewName(GeneralAttribute& attribute) { attribute.GenerateNewName(); }
    static RegTblData ConvertRegMemo(const GeneralAttribute& attribute) { return attribute.ConvertRegMemo(); }
    static RegTblData& Memo(GeneralAttribute& attribute) { return attribute.memo; }
    static bool HasSnapshot(const GeneralAttribute& attribute) { return attribute.previousMemo != nullptr; }
};

}   // namespace ADB

/// The words that the tests of attributes and their container speak in.
namespace ContainerTests {

using Names = std::vector<Kest::UniString>;
using Texts = std::vector<std::string>;

inline constexpr unsigned int MarkRefId = 0x4D41524B;   // 'MARK'

/// A kind with a field of its own and a reference to another mark.
class Mark : public ADB::GeneralAttribute {
public:
    enum MarkField : int { ColorField = 1 };

    explicit Mark(const Kest::UniString& markName = Kest::UniString(), short markIndex = 0)
        : GeneralAttribute(GetClassInfoStatic()) {
        SetName(markName);
        SetIndex(markIndex);
    }
    Mark& operator=(const Mark& other) {
        GeneralAttribute::operator=(other);
        color = other.color;
        return *this;
    }

    static Kest::Object* Make() { return new Mark; }
    static const Kest::ClassInfo* GetClassInfoStatic() {
        static const Kest::ClassInfo info("Test::Mark", Kest::Guid("{6E0E4E27-1E36-4A0C-93D4-5C2C27C9D001}"),
                                          Kest::ClassVersion(1, 0), ADB::GeneralAttribute::GetClassInfoStatic(), {},
                                          &Mark::Make);
        return &info;
    }
    unsigned int GetAttributeTypeId() const override { return MarkRefId; }
    Mark* Clone() const override { return new Mark(*this); }

    FieldMask Compare(ODB::ConstRef<GeneralAttribute> other) const override {
        FieldMask differing = GeneralAttribute::Compare(other);
        if (other && static_cast<const Mark&>(*other).color != color)
            differing.Set({GetClassInfoStatic()->GetId(), ColorField});
        return differing;
    }
    void ReindAttr(ADB::IAttributeNewIndexTable*) override { ++reindexCalls; }
    void CollectUsedAttrs(IUsedAttrCollection& collection) const override {
        ++collectCalls;
        for (const short used : references)
            collection.AddAttribute(MarkRefId, used);
    }

    using GeneralAttribute::Copy;
    using GeneralAttribute::DirectAddFlags;
    using GeneralAttribute::DirectRemoveFlags;
    using GeneralAttribute::NotifyObservers;

    short color = 0;
    std::vector<short> references;
    int reindexCalls = 0;
    mutable int collectCalls = 0;

protected:
    Mark(const Mark&) = default;
};

/// Another kind, with nothing of its own.
class Stamp : public ADB::GeneralAttribute {
public:
    Stamp() : GeneralAttribute(GetClassInfoStatic()) {}
    static const Kest::ClassInfo* GetClassInfoStatic() {
        static const Kest::ClassInfo info("Test::Stamp", Kest::Guid("{6E0E4E27-1E36-4A0C-93D4-5C2C27C9D002}"),
                                          Kest::ClassVersion(1, 0), ADB::GeneralAttribute::GetClassInfoStatic());
        return &info;
    }
    unsigned int GetAttributeTypeId() const override { return 0x53544D50; }
    Stamp* Clone() const override { return new Stamp(*this); }
};

/// Writes down what it hears.
class Recorder : public ADB::GeneralAttributeObserver {
public:
    explicit Recorder(std::string recorderName = "") : name(std::move(recorderName)) {}

    void SourceDestroyed(Kest::EventSource*) override { Hear("destroyed"); }
    void NameChanged(ODB::Ref<ADB::GeneralAttribute>, const Kest::UniString& oldName) override {
        Hear("was " + oldName.ToCStr());
    }
    void NameChanged(ODB::ConstRef<ADB::GeneralAttribute> attribute) override {
        Hear("name " + attribute->GetName().ToCStr());
    }
    void IndexChanged(ODB::ConstRef<ADB::GeneralAttribute> attribute) override {
        Hear("index " + std::to_string(attribute->GetIndex()));
    }
    void FlagsChanged(ODB::ConstRef<ADB::GeneralAttribute> attribute) override {
        Hear("flags " + std::to_string(attribute->GetFlags()));
    }
    void ModificationTimeChanged(ODB::ConstRef<ADB::GeneralAttribute> attribute) override {
        Hear("time " + std::to_string(attribute->GetModificationTime()));
    }
    void UserDataChanged(unsigned int ownerId1, unsigned int ownerId2) override {
        Hear("data " + std::to_string(ownerId1) + "/" + std::to_string(ownerId2));
    }
    void AttributeChanged(ODB::ConstRef<ADB::GeneralAttribute>, const FieldMask& fields) override {
        std::string text = "changed";
        for (int field = 0; field < 8; ++field)
            if (fields.Test({ADB::GeneralAttribute::GetFieldClassId(), field}))
                text += " " + std::to_string(field);
        Hear(text);
    }

    /// What was heard since the last call.
    Texts Take() { return std::exchange(*heard, {}); }

    Texts own;
    Texts* heard = &own;                           // several may share one list, to see their order
    std::function<void(const std::string&)> act;   // called after each event was written down

private:
    void Hear(const std::string& text) {
        heard->push_back(name + text);
        if (act)
            act(text);
    }

    std::string name;
};

/// The numbers of the general fields in \p fields.
inline std::vector<int> FieldsOf(const FieldMask& fields) {
    std::vector<int> numbers;
    for (int field = 0; field < 64; ++field)
        if (fields.Test({ADB::GeneralAttribute::GetFieldClassId(), field}))
            numbers.push_back(field);
    return numbers;
}

/// Keeps what is logged away from standard error.
class LogFixture : public testing::Test {
protected:
    LogFixture() {
        Kest::logger.SetSink([this](const Kest::LogEntry& entry) {
            log.push_back(std::string(entry.severity == Kest::LogSeverity::Error ? "" : "info ") +
                          (std::string_view(entry.category) == "ZalAttributes" ? "" : "elsewhere ") +
                          entry.text.ToCStr());
        });
        TISetClock([] { return Now; });
    }
    ~LogFixture() override {
        Kest::logger.SetSink(nullptr);
        TISetClock(nullptr);
    }

    Texts TakeLog() { return std::exchange(log, {}); }

    static constexpr int Now = 777'000'000;

    Texts log;
};

/// A container of marks on its own.
class ContainerFixture : public LogFixture {
protected:
    using Attribute = ODB::Ref<ADB::GeneralAttribute>;

    ContainerFixture() : marks(NewContainer(Kest::Guid())) {}
    ~ContainerFixture() override { EXPECT_TRUE(IsSound()); }

    ODB::Ref<ADB::AttributeContainer> NewContainer(const Kest::Guid& guid) {
        const ODB::Ref<ADB::AttributeContainer> made(new ADB::AttributeContainer(
            MarkRefId, guid, &space, u"Marks", LumCB::PermissionID(1), LumCB::PermissionID(2)));
        ODB::Database::AddObject(made, false);
        return made;
    }

    /// A mark of the given name and index, as far as they are free.
    Attribute Add(const Kest::UniString& name, short index = 0, short color = 0) {
        Mark source(name, index);
        source.color = color;
        return marks->NewAttribute(ODB::ConstRef<ADB::GeneralAttribute>(&source), true, false);
    }

    /// Overwrites the mark of \p at, clashes included.
    int Put(short at, const Kest::UniString& name, short index) {
        const Mark source(name, index);
        FieldMask changed;
        return marks->PutAttribute(ODB::ConstRef<ADB::GeneralAttribute>(&source), static_cast<unsigned int>(at),
                                   &changed);
    }

    Names NamesInOrder(ADB::SortMethod method = ADB::Unsorted, ADB::SortOrder order = ADB::Ascending) const {
        Names names;
        ADB::AttributeContainer::AttributeConstIterator walk(marks, method, order);
        for (; walk != ADB::AttributeEnd(); ++walk)
            names.push_back((*walk)->GetName());
        return names;
    }
    std::vector<short> IndexesInOrder(ADB::SortMethod method = ADB::Unsorted,
                                      ADB::SortOrder order = ADB::Ascending) const {
        std::vector<short> indexes;
        ADB::AttributeContainer::AttributeConstIterator walk(marks, method, order);
        for (; walk != ADB::AttributeEnd(); ++walk)
            indexes.push_back((*walk)->GetIndex());
        return indexes;
    }

    Attribute FirstLinked() const {
        return *ADB::AttributeContainer::AttributeIterator(marks, ADB::Unsorted, ADB::Ascending);
    }

    bool IsSound() const { return !marks || (marks.GetConst()->CheckInvariants() && space.CheckInvariants()); }

    ODB::IdSpace space;
    ODB::Ref<ADB::AttributeContainer> marks;
};

}   // namespace ContainerTests
