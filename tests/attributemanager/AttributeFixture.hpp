#pragma once

#include <functional>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <Kest/ClassManager.hpp>
#include <Kest/Clock.hpp>
#include <Kest/Logger.hpp>
#include <Kest/MemoryHandle.hpp>

#include <ODB/Database.hpp>
#include <ODB/IdSpace.hpp>

#include <AttributeManager/AttributeContainer.hpp>
#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/AttributeIterator.hpp>
#include <AttributeManager/AttributeManager.hpp>
#include <AttributeManager/AttributeSet.hpp>
#include <AttributeManager/AttributeSetObserver.hpp>
#include <AttributeManager/GeneralAttribute.hpp>
#include <AttributeManager/IAttributeRegister.hpp>
#include <AttributeManager/IUsedAttrCollection.hpp>

namespace ADB {

/// Opens what only the library's own writers and readers use.
struct GeneralAttributeTestAccess {
    static void GenerateNewName(GeneralAttribute& attribute) { attribute.GenerateNewName(); }
    static RegTblData ConvertRegMemo(const GeneralAttribute& attribute) { return attribute.ConvertRegMemo(); }
    static RegTblData& Memo(GeneralAttribute& attribute) { return attribute.memo; }
    static bool HasSnapshot(const GeneralAttribute& attribute) { return attribute.previousMemo != nullptr; }
};

}   // namespace ADB

/// The words that the tests of attributes, their containers and sets speak in.
namespace ADBTest {

using ADB::GeneralAttribute;
using Kest::UniString;
using Attribute = ODB::Ref<GeneralAttribute>;
using Reading = ODB::ConstRef<GeneralAttribute>;
using Container = ODB::Ref<ADB::AttributeContainer>;
using Names = std::vector<UniString>;
using Texts = std::vector<std::string>;
using Indexes = std::vector<short>;

/// A kind with a number of its own and references to other marks. A negative colour is incomplete; completing makes
/// it 7.
class Mark : public GeneralAttribute {
public:
    static constexpr unsigned int RefId = 0x4D41524B;   // 'MARK'
    static constexpr int CompletedColor = 7;
    enum OwnField : int { ColorField = 1 };

    class State : public GeneralAttribute::IsolatedState {
    public:
        bool ReturnTo(ODB::Object& object) noexcept override {
            auto& mark = static_cast<Mark&>(object);
            ReturnGeneralPart(mark);
            mark.color = color;
            return true;
        }
        int color = 0;
    };

    explicit Mark(const UniString& markName = {}, short markIndex = 0, int markColor = 0, short markFlags = 0)
        : GeneralAttribute(GetClassInfoStatic()),
          color(markColor) {
        SetName(markName);
        SetIndex(markIndex);
        SetFlags(markFlags);
    }
    Mark& operator=(const Mark& other) {
        GeneralAttribute::operator=(other);
        color = other.color;
        return *this;
    }

    static const Kest::ClassInfo* GetClassInfoStatic() {
        static const Kest::ClassInfo info("Test::Mark", Kest::Guid("{6E0E4E27-1E36-4A0C-93D4-5C2C27C9D001}"), {1, 0},
                                          GeneralAttribute::GetClassInfoStatic(), {},
                                          []() -> Kest::Object* { return new Mark; });
        return &info;
    }
    static Kest::Guid GetFieldClassId() { return GetClassInfoStatic()->GetId(); }
    unsigned int GetAttributeTypeId() const override { return RefId; }

    /// Clones cannot be had while it is set: null when 1, std::bad_alloc when 2.
    static inline int cloneFailure = 0;

    Mark* Clone() const override {
        if (cloneFailure == 2)
            throw std::bad_alloc();
        return cloneFailure == 1 ? nullptr : new Mark(*this);
    }
    FieldMask Compare(Reading other) const override {
        FieldMaskT<Mark> differing(GeneralAttribute::Compare(other));
        if (other && static_cast<const Mark&>(*other).color != color)
            differing.Set(ColorField);
        return differing;
    }
    bool IsEqual(Reading other) const override {
        return GeneralAttribute::IsEqual(other) && static_cast<const Mark&>(*other).color == color;
    }
    void Copy(Reading other) override {
        GeneralAttribute::Copy(other);
        if (other)
            color = static_cast<const Mark&>(*other).color;
    }
    void Synchronize(Reading other, const FieldMask& fields) override {
        GeneralAttribute::Synchronize(other, fields);
        if (FieldMaskT<Mark>(fields).Test(ColorField))
            color = static_cast<const Mark&>(*other).color;
    }
    bool CheckAttribute() const override { return color >= 0; }
    int CorrectAttribute() override {
        color = CompletedColor;
        return 0;
    }
    void ReindAttr(ADB::IAttributeNewIndexTable*) override { ++reindexCalls; }
    void CollectUsedAttrs(IUsedAttrCollection& collection) const override {
        ++collectCalls;
        for (const short used : references)
            collection.AddAttribute(RefId, used);
    }

    State* CreateIsolatedState() const override { return new State; }
    int StoreIsolatedState(ODB::Object::IsolatedState* state) const override {
        const int status = GeneralAttribute::StoreIsolatedState(state);
        if (status == 0)
            static_cast<State*>(state)->color = color;
        return status;
    }
    int RestoreIsolatedState(const ODB::Object::IsolatedState* state) override {
        const int status = GeneralAttribute::RestoreIsolatedState(state);
        if (status == 0)
            color = static_cast<const State*>(state)->color;
        return status;
    }
    std::size_t GetIsolatedSize() const override { return sizeof(State); }

    using GeneralAttribute::DirectAddFlags;
    using GeneralAttribute::DirectRemoveFlags;
    using GeneralAttribute::NotifyObservers;

    int color;
    Indexes references;
    int reindexCalls = 0;
    mutable int collectCalls = 0;

protected:
    Mark(const Mark&) = default;
};

/// Another kind, with nothing of its own.
class Stamp : public GeneralAttribute {
public:
    static constexpr unsigned int RefId = 0x53544D50;   // 'STMP'

    explicit Stamp(const UniString& stampName = {}) : GeneralAttribute(GetClassInfoStatic()) { SetName(stampName); }
    static const Kest::ClassInfo* GetClassInfoStatic() {
        static const Kest::ClassInfo info("Test::Stamp", Kest::Guid("{6E0E4E27-1E36-4A0C-93D4-5C2C27C9D002}"), {1, 0},
                                          GeneralAttribute::GetClassInfoStatic(), {},
                                          []() -> Kest::Object* { return new Stamp; });
        return &info;
    }
    unsigned int GetAttributeTypeId() const override { return RefId; }
    Stamp* Clone() const override { return new Stamp(*this); }
};

inline const Kest::ClassRegistration<Mark> markRegistration;
inline const Kest::ClassRegistration<Stamp> stampRegistration;

inline std::string NameOf(const Reading& attribute) {
    return attribute ? attribute->GetName().ToCStr() : "null";
}

/// The numbers of the general fields in \p fields.
inline std::vector<int> FieldsOf(const FieldMask& fields) {
    std::vector<int> numbers;
    for (int field = 0; field < 64; ++field)
        if (fields.Test({GeneralAttribute::GetFieldClassId(), field}))
            numbers.push_back(field);
    return numbers;
}

inline int SetData(GeneralAttribute& attribute, unsigned int id1, unsigned int id2, const std::string& bytes,
                   unsigned short platform = 0x5757, short version = 1, unsigned int flags = 0) {
    char** data = BMPtrToHandle(bytes.data(), static_cast<std::int64_t>(bytes.size()));
    const int status = attribute.SetUserData(id1, id2, platform, version, flags, data);
    BMKillHandle(&data);
    return status;
}

/// What was heard, one line per event, and what is to happen after each line.
class EventLog {
public:
    explicit EventLog(std::string label = {}) : prefix(std::move(label)) {}

    /// What was heard since the last call.
    Texts Take() { return std::exchange(*heard, {}); }
    void Hear(const std::string& text) {
        heard->push_back(prefix + text);
        if (act)
            act(text);
    }

    Texts own;
    Texts* heard = &own;   // several may share one list, to see their order
    std::function<void(const std::string&)> act;

private:
    std::string prefix;
};

/// Hears an attribute: "was Wall", "name Roof", "index 4", "flags 64", "time 9", "data 1/2", "changed 1 3" (the
/// fields).
class Recorder : public ADB::GeneralAttributeObserver, public EventLog {
public:
    using EventLog::EventLog;

    void SourceDestroyed(Kest::EventSource*) override { Hear("destroyed"); }
    void NameChanged(Attribute, const UniString& oldName) override { Hear("was " + oldName.ToCStr()); }
    void NameChanged(Reading attribute) override { Hear("name " + NameOf(attribute)); }
    void IndexChanged(Reading attribute) override { Hear("index " + std::to_string(attribute->GetIndex())); }
    void FlagsChanged(Reading attribute) override { Hear("flags " + std::to_string(attribute->GetFlags())); }
    void ModificationTimeChanged(Reading attribute) override {
        Hear("time " + std::to_string(attribute->GetModificationTime()));
    }
    void UserDataChanged(unsigned int ownerId1, unsigned int ownerId2) override {
        Hear("data " + std::to_string(ownerId1) + "/" + std::to_string(ownerId2));
    }
    void AttributeChanged(Reading, const FieldMask& fields) override {
        std::string text = "changed";
        for (const int field : FieldsOf(fields))
            text += " " + std::to_string(field);
        Hear(text);
    }
};

/// Hears a set: "created 1 Wall", "changed 1 Wall: 1 3" (the fields), "deleted 1 #4", "active 1 Wall", "restored 1".
class SetRecorder : public ADB::AttributeSetObserver, public EventLog {
public:
    using EventLog::EventLog;

    void AttributeCreated(short typeId, Reading attribute) override { Write("created", typeId, NameOf(attribute)); }
    void AttributeChanged(short typeId, Reading attribute, const FieldMask& fields) override {
        std::string text = NameOf(attribute) + ":";
        for (const int field : FieldsOf(fields))
            text += " " + std::to_string(field);
        Write("changed", typeId, text);
    }
    void AttributeDeleted(short typeId, short index) override { Write("deleted", typeId, "#" + std::to_string(index)); }
    void ActiveAttributeChanged(short typeId, const Attribute& attribute) override {
        Write("active", typeId, NameOf(attribute));
    }
    void AttributeTypeRestored(short typeId) override { Hear("restored " + std::to_string(typeId)); }
    void SourceDestroyed(Kest::EventSource*) override { Hear("destroyed"); }

private:
    void Write(const char* event, short typeId, const std::string& what) {
        Hear(std::string(event) + " " + std::to_string(typeId) + " " + what);
    }
};

/// Keeps what is logged away from standard error and stops the clock.
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
        Mark::cloneFailure = 0;
        Kest::logger.SetSink(nullptr);
        TISetClock(nullptr);
    }

    Texts TakeLog() { return std::exchange(log, {}); }

    static constexpr int Now = 777'000'000;

    ODB::IdSpace space;
    Texts log;
};

/// A container of marks on its own.
class ContainerFixture : public LogFixture {
protected:
    ContainerFixture() : marks(NewContainer(Kest::Guid())) {}
    ~ContainerFixture() override { EXPECT_TRUE(IsSound()); }

    Container NewContainer(const Kest::Guid& guid) {
        const Container made(new ADB::AttributeContainer(Mark::RefId, guid, &space, u"Marks", LumCB::PermissionID(1),
                                                         LumCB::PermissionID(2)));
        ODB::Database::AddObject(made, false);
        return made;
    }

    /// A mark of the given name and index, as far as they are free.
    Attribute Add(const UniString& name, short index = 0, int color = 0) {
        const Mark source(name, index, color);
        return marks->NewAttribute(Reading(&source), true, false);
    }
    /// Overwrites the mark of \p at, clashes included.
    int Put(short at, const UniString& name, short index) {
        const Mark source(name, index);
        FieldMask changed;
        return marks->PutAttribute(Reading(&source), static_cast<unsigned int>(at), &changed);
    }

    Names NamesInOrder(ADB::SortMethod method = ADB::Unsorted, ADB::SortOrder order = ADB::Ascending) const {
        Names names;
        ADB::AttributeContainer::AttributeConstIterator walk(marks, method, order);
        for (; walk != ADB::AttributeEnd(); ++walk)
            names.push_back((*walk)->GetName());
        return names;
    }
    Indexes IndexesInOrder(ADB::SortMethod method = ADB::Unsorted, ADB::SortOrder order = ADB::Ascending) const {
        Indexes indexes;
        ADB::AttributeContainer::AttributeConstIterator walk(marks, method, order);
        for (; walk != ADB::AttributeEnd(); ++walk)
            indexes.push_back((*walk)->GetIndex());
        return indexes;
    }
    Attribute FirstLinked() const {
        return *ADB::AttributeContainer::AttributeIterator(marks, ADB::Unsorted, ADB::Ascending);
    }
    bool IsSound() const { return !marks || (marks.GetConst()->CheckInvariants() && space.CheckInvariants()); }

    Container marks;
};

/// A running library: both kinds registered, marks as type 1, and one current set in a space of its own.
class SetFixture : public LogFixture {
protected:
    SetFixture() : kinds(CreateAttributeRegister()) {
        markType = Register(Mark::RefId, Mark::GetClassInfoStatic(), MarksGuid, u"Marks");
        stampType = Register(Stamp::RefId, Stamp::GetClassInfoStatic(), StampsGuid, u"Stamps");
        set = InitAttributeSetContainer(kinds, &space);
    }
    ~SetFixture() override {
        EXPECT_TRUE((!set || set.GetConst()->CheckInvariants()) && space.CheckInvariants());
        FreeAttributeSetContainer();
        DisposeAttributeRegister(&kinds);
    }

    short Register(unsigned int refId, const Kest::ClassInfo* kind, const Kest::Guid& guid, const UniString& name) {
        return kinds->RegisterAttributeType(refId, {refId, 1}, kind->GetId(), guid, name, LumCB::PermissionID{refId},
                                            LumCB::PermissionID{refId + 1}, 0);
    }

    const ADB::AttributeSet& Look() const { return *set.GetConst(); }
    Container Marks() const { return Look().GetAttributeContainer(markType); }
    Attribute Get(short index) const { return Look().GetAttribute(markType, index); }

    /// Adds a mark through the set, which announces it. A given index is kept, which fails when it is taken.
    Attribute Add(const UniString& name, short index = 0, int color = 0, short flags = 0) {
        Mark mark(name, index, color, flags);
        const int status = set->NewAttribute(markType, &mark, index != 0, false);
        return status == 0 ? Get(mark.GetIndex()) : Attribute();
    }

    /// The marks in link order: "1 Wall", "7 Roof".
    Texts ListMarks(const ODB::ConstRef<ADB::AttributeSet>& listed) const {
        Texts found;
        listed->EnumerateConstAttributes(markType, [&found](const Reading& attribute) {
            found.push_back(std::to_string(attribute->GetIndex()) + " " + NameOf(attribute));
        });
        return found;
    }

    const Kest::Guid MarksGuid{"{B8EB700D-B936-4B78-B156-1BCA69A3102B}"};
    const Kest::Guid StampsGuid{"{CA0ED84D-9700-4F5C-B764-E59C74878F9C}"};
    ADB::IAttributeRegister* kinds;
    short markType = 0;
    short stampType = 0;
    ODB::Ref<ADB::AttributeSet> set;
};

}   // namespace ADBTest
