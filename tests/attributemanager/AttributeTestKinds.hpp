#pragma once

#include <functional>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <Kest/ClassManager.hpp>
#include <Kest/Logger.hpp>

#include <ODB/IdSpace.hpp>

#include <AttributeManager/AttributeContainer.hpp>
#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/AttributeManager.hpp>
#include <AttributeManager/AttributeSet.hpp>
#include <AttributeManager/AttributeSetObserver.hpp>
#include <AttributeManager/GeneralAttribute.hpp>
#include <AttributeManager/GeneralAttributeObserver.hpp>
#include <AttributeManager/IAttributeNewIndexTable.hpp>
#include <AttributeManager/IAttributeRegister.hpp>
#include <AttributeManager/IUsedAttrCollection.hpp>

/// \file
/// Two attribute kinds, observers that write down what they hear, and a fixture with a register, a space and a set.

namespace ADBTest {

/// A kind with one number of its own. A negative colour is incomplete; completing makes it 7.
class TestLayer : public ADB::GeneralAttribute {
public:
    static constexpr unsigned int RefId = 0x544C4159;   // 'TLAY'
    static constexpr int CompletedColor = 7;
    enum OwnField : int { ColorField = 1 };

    class State : public ADB::GeneralAttribute::IsolatedState {
    public:
        int color = 0;
    };

    explicit TestLayer(const Kest::UniString& layerName = {}, int layerColor = 0)
        : GeneralAttribute(GetClassInfoStatic()),
          color(layerColor) {
        SetName(layerName);
    }
    TestLayer(const TestLayer&) = default;

    static const Kest::ClassInfo* GetClassInfoStatic() {
        static const Kest::ClassInfo info("Test::Layer", Kest::Guid("{0E2A584C-7878-4278-8517-7EE9294AA398}"), {1, 0},
                                          ADB::GeneralAttribute::GetClassInfoStatic(), {},
                                          []() -> Kest::Object* { return new TestLayer; });
        return &info;
    }
    static Kest::Guid GetFieldClassId() { return GetClassInfoStatic()->GetId(); }

    /// Clones cannot be had while it is set: null when 1, std::bad_alloc when 2.
    static inline int cloneFailure = 0;

    Kest::Object* Clone() const override {
        if (cloneFailure == 2)
            throw std::bad_alloc();
        return cloneFailure == 1 ? nullptr : new TestLayer(*this);
    }
    unsigned int GetAttributeTypeId() const override { return RefId; }

    FieldMask Compare(ODB::ConstRef<GeneralAttribute> other) const override {
        FieldMaskT<TestLayer> differing(GeneralAttribute::Compare(other));
        if (other && static_cast<const TestLayer&>(*other).color != color)
            differing.Set(ColorField);
        return differing;
    }
    bool IsEqual(ODB::ConstRef<GeneralAttribute> other) const override {
        return GeneralAttribute::IsEqual(other) && static_cast<const TestLayer&>(*other).color == color;
    }
    void Copy(ODB::ConstRef<GeneralAttribute> other) override {
        GeneralAttribute::Copy(other);
        if (other)
            color = static_cast<const TestLayer&>(*other).color;
    }
    void Synchronize(ODB::ConstRef<GeneralAttribute> other, const FieldMask& fields) override {
        GeneralAttribute::Synchronize(other, fields);
        if (FieldMaskT<TestLayer>(fields).Test(ColorField))
            color = static_cast<const TestLayer&>(*other).color;
    }
    bool CheckAttribute() const override { return color >= 0; }
    int CorrectAttribute() override {
        color = CompletedColor;
        return 0;
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

    int color;
};

/// A kind that refers to a layer by index.
class TestComposite : public ADB::GeneralAttribute {
public:
    static constexpr unsigned int RefId = 0x54434D50;   // 'TCMP'
    enum OwnField : int { LayerField = 1 };

    class State : public ADB::GeneralAttribute::IsolatedState {
    public:
        short layer = 0;
    };

    explicit TestComposite(const Kest::UniString& compositeName = {}, short layerIndex = 0)
        : GeneralAttribute(GetClassInfoStatic()),
          layer(layerIndex) {
        SetName(compositeName);
    }
    TestComposite(const TestComposite&) = default;

    static const Kest::ClassInfo* GetClassInfoStatic() {
        static const Kest::ClassInfo info("Test::Composite", Kest::Guid("{73D21554-398F-484A-9845-BC4D0C62154E}"),
                                          {1, 0}, ADB::GeneralAttribute::GetClassInfoStatic(), {},
                                          []() -> Kest::Object* { return new TestComposite; });
        return &info;
    }
    static Kest::Guid GetFieldClassId() { return GetClassInfoStatic()->GetId(); }

    Kest::Object* Clone() const override { return new TestComposite(*this); }
    unsigned int GetAttributeTypeId() const override { return RefId; }

    FieldMask Compare(ODB::ConstRef<GeneralAttribute> other) const override {
        FieldMaskT<TestComposite> differing(GeneralAttribute::Compare(other));
        if (other && static_cast<const TestComposite&>(*other).layer != layer)
            differing.Set(LayerField);
        return differing;
    }
    void Copy(ODB::ConstRef<GeneralAttribute> other) override {
        GeneralAttribute::Copy(other);
        if (other)
            layer = static_cast<const TestComposite&>(*other).layer;
    }
    void ReindAttr(ADB::IAttributeNewIndexTable* table) override {
        const short typeId = GetAttributeRegister()->GetTypeIdByRefId(TestLayer::RefId);
        if (const short newLayer = GetNewAttributeIndex(table, typeId, layer); newLayer != 0)
            layer = newLayer;
    }
    void CollectUsedAttrs(IUsedAttrCollection& collection) const override {
        if (layer != 0)
            collection.AddAttribute(TestLayer::RefId, layer);
    }

    State* CreateIsolatedState() const override { return new State; }
    int StoreIsolatedState(ODB::Object::IsolatedState* state) const override {
        const int status = GeneralAttribute::StoreIsolatedState(state);
        if (status == 0)
            static_cast<State*>(state)->layer = layer;
        return status;
    }
    int RestoreIsolatedState(const ODB::Object::IsolatedState* state) override {
        const int status = GeneralAttribute::RestoreIsolatedState(state);
        if (status == 0)
            layer = static_cast<const State*>(state)->layer;
        return status;
    }
    std::size_t GetIsolatedSize() const override { return sizeof(State); }

    short layer;
};

inline const Kest::ClassRegistration<TestLayer> testLayerRegistration;
inline const Kest::ClassRegistration<TestComposite> testCompositeRegistration;

/// What was heard, one line per event, and what is to happen after each line.
struct EventLog {
    std::vector<std::string> lines;
    std::function<void()> afterEach;

    void Add(std::string line) {
        lines.push_back(std::move(line));
        if (afterEach)
            afterEach();
    }
    std::vector<std::string> Take() { return std::exchange(lines, {}); }
};

inline std::string NameOf(const ODB::ConstRef<ADB::GeneralAttribute>& attribute) {
    return attribute ? attribute->GetName().ToCStr() : "null";
}

/// Writes "created 1 Wall", "changed 1 Wall: 1 3" (the general fields), "deleted 1 #4", "active 1 Wall", "restored 1".
class RecordingSetObserver : public ADB::AttributeSetObserver {
public:
    explicit RecordingSetObserver(EventLog& eventLog, std::string label = {})
        : log(eventLog),
          prefix(std::move(label)) {}

    void AttributeCreated(short typeId, ODB::ConstRef<ADB::GeneralAttribute> attribute) override {
        Write("created", typeId, NameOf(attribute));
    }
    void AttributeChanged(short typeId, ODB::ConstRef<ADB::GeneralAttribute> attribute,
                          const FieldMask& fields) override {
        std::string text = NameOf(attribute) + ":";
        const FieldMaskT<ADB::GeneralAttribute> general(fields);
        for (int field = ADB::GeneralAttribute::NameField; field <= ADB::GeneralAttribute::UserDataField; ++field)
            if (general.Test(field))
                text += " " + std::to_string(field);
        Write("changed", typeId, text);
    }
    void AttributeDeleted(short typeId, short index) override { Write("deleted", typeId, "#" + std::to_string(index)); }
    void ActiveAttributeChanged(short typeId, const ODB::Ref<ADB::GeneralAttribute>& attribute) override {
        Write("active", typeId, NameOf(attribute));
    }
    void AttributeTypeRestored(short typeId) override { log.Add(prefix + "restored " + std::to_string(typeId)); }
    void SourceDestroyed(Kest::EventSource*) override { log.Add(prefix + "source destroyed"); }

private:
    void Write(const char* event, short typeId, const std::string& what) {
        log.Add(prefix + event + " " + std::to_string(typeId) + " " + what);
    }

    EventLog& log;
    std::string prefix;
};

/// Writes "was Wall", "name Roof", "index 4", "flags 64", "time 9", "user data 1 2", "changed Roof".
class RecordingObserver : public ADB::GeneralAttributeObserver {
public:
    explicit RecordingObserver(EventLog& eventLog, std::string label = {}) : log(eventLog), prefix(std::move(label)) {}

    void NameChanged(ODB::Ref<ADB::GeneralAttribute>, const Kest::UniString& oldName) override {
        log.Add(prefix + "was " + oldName.ToCStr());
    }
    void NameChanged(ODB::ConstRef<ADB::GeneralAttribute> attribute) override {
        log.Add(prefix + "name " + NameOf(attribute));
    }
    void IndexChanged(ODB::ConstRef<ADB::GeneralAttribute> attribute) override {
        log.Add(prefix + "index " + std::to_string(attribute->GetIndex()));
    }
    void FlagsChanged(ODB::ConstRef<ADB::GeneralAttribute> attribute) override {
        log.Add(prefix + "flags " + std::to_string(attribute->GetFlags()));
    }
    void ModificationTimeChanged(ODB::ConstRef<ADB::GeneralAttribute> attribute) override {
        log.Add(prefix + "time " + std::to_string(attribute->GetModificationTime()));
    }
    void UserDataChanged(unsigned int ownerId1, unsigned int ownerId2) override {
        log.Add(prefix + "user data " + std::to_string(ownerId1) + " " + std::to_string(ownerId2));
    }
    void AttributeChanged(ODB::ConstRef<ADB::GeneralAttribute> attribute, const FieldMask&) override {
        log.Add(prefix + "changed " + NameOf(attribute));
    }
    void SourceDestroyed(Kest::EventSource*) override { log.Add(prefix + "source destroyed"); }

private:
    EventLog& log;
    std::string prefix;
};

/// Keeps the log lines of the library instead of writing them to standard error.
class LogCatcher {
public:
    LogCatcher() {
        Kest::logger.SetSink([this](const Kest::LogEntry& entry) {
            lines.push_back(std::string(entry.category) + ": " + entry.text.ToCStr());
        });
    }
    ~LogCatcher() { Kest::logger.SetSink({}); }
    LogCatcher(const LogCatcher&) = delete;
    LogCatcher& operator=(const LogCatcher&) = delete;

    std::vector<std::string> lines;
};

using Strings = std::vector<std::string>;

/// A running library: both kinds registered, and one current set, with the registered ids, in a space of its own.
class AttributeTest : public testing::Test {
protected:
    AttributeTest() : kinds(CreateAttributeRegister()) {
        layerType = Register(TestLayer::RefId, TestLayer::GetClassInfoStatic(), LayersGuid(), u"Layers");
        compositeType =
            Register(TestComposite::RefId, TestComposite::GetClassInfoStatic(), CompositesGuid(), u"Composites");
        set = InitAttributeSetContainer(kinds, &space);
    }
    ~AttributeTest() override {
        TestLayer::cloneFailure = 0;
        FreeAttributeSetContainer();
        DisposeAttributeRegister(&kinds);
    }

    static Kest::Guid LayersGuid() { return Kest::Guid("{B8EB700D-B936-4B78-B156-1BCA69A3102B}"); }
    static Kest::Guid CompositesGuid() { return Kest::Guid("{CA0ED84D-9700-4F5C-B764-E59C74878F9C}"); }

    short Register(unsigned int refId, const Kest::ClassInfo* kind, const Kest::Guid& containerGuid,
                   const Kest::UniString& name) {
        return kinds->RegisterAttributeType(refId, {refId, 1}, kind->GetId(), containerGuid, name,
                                            LumCB::PermissionID{refId}, LumCB::PermissionID{refId + 1}, 0);
    }

    ODB::Ref<ADB::AttributeContainer> Layers() const { return set.GetConst()->GetAttributeContainer(layerType); }

    /// Adds a layer through the set, which announces it. A given index is kept, which fails when it is taken.
    ODB::Ref<ADB::GeneralAttribute> Add(const Kest::UniString& name, short index = 0, int color = 0, short flags = 0) {
        TestLayer layer(name, color);
        layer.SetIndex(index);
        layer.SetFlags(flags);
        const int status = set->NewAttribute(layerType, &layer, index != 0, false);
        return status == 0 ? set.GetConst()->GetAttribute(layerType, layer.GetIndex())
                           : ODB::Ref<ADB::GeneralAttribute>();
    }

    /// The layers in link order: "1 Wall", "7 Roof".
    static Strings ListLayers(const ODB::ConstRef<ADB::AttributeSet>& listed, short typeId) {
        Strings found;
        listed->EnumerateConstAttributes(typeId, [&found](const ODB::ConstRef<ADB::GeneralAttribute>& attribute) {
            found.push_back(std::to_string(attribute->GetIndex()) + " " + NameOf(attribute));
        });
        return found;
    }
    Strings ListLayers() const { return ListLayers(set, layerType); }

    ODB::IdSpace space;
    ADB::IAttributeRegister* kinds;
    short layerType = 0;
    short compositeType = 0;
    ODB::Ref<ADB::AttributeSet> set;
};

}   // namespace ADBTest
