#include <AttributeManager/GeneralAttribute.hpp>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <optional>
#include <typeinfo>
#include <utility>

#include <Kest/ByteString.hpp>
#include <Kest/CaseMapping.hpp>
#include <Kest/ClassManager.hpp>
#include <Kest/Clock.hpp>
#include <Kest/Logger.hpp>
#include <Kest/MemoryHandle.hpp>

#include <ODB/Properties.hpp>

#include <Lum/Properties.hpp>

#include <AttributeManager/AttributeContainer.hpp>
#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/AttributeSet.hpp>

#include "AttributeIndexTables.hpp"
#include "AttributeKeyChange.hpp"
#include "LogCategory.hpp"
#include "StreamVersions.hpp"

namespace ADB {
namespace {

const Kest::ClassRegistration<GeneralAttribute> registration;

constexpr std::size_t LongestCountedName = 256;

bool IsAsciiDigit(char16_t unit) {
    return unit >= u'0' && unit <= u'9';
}

short WithFlags(short flags, short bits) {
    return static_cast<short>(flags | bits);
}

short WithoutFlags(short flags, short bits) {
    return static_cast<short>(flags & ~bits);
}

// Calls `call` with the other attributes of the container that clash, in link order.
template <class Clashes, class Call>
void ForEachClash(const GeneralAttribute& attribute, Clashes&& clashes, Call&& call) {
    attribute.GetConstAttributeContainer()->EnumerateConstAttributes([&](const ODB::ConstRef<GeneralAttribute>& other) {
        if (other.Get() != &attribute && clashes(*other))
            call(*other);
    });
}

void LogRenameClash(const GeneralAttribute& attribute, const Kest::UniString& newName) noexcept {
    try {
        Kest::UniString text = Kest::UniString::Printf(
            "ADB::GeneralAttribute::SetName - %s attribute name \"%T\" is already used by index",
            attribute.GetClassInfo()->GetName(), newName);
        ForEachClash(
            attribute,
            [&](const GeneralAttribute& other) { return Kest::IsEqualIgnoringCase(other.GetName(), newName); },
            [&](const GeneralAttribute& other) { text.Append(Kest::UniString::Printf(" %d", other.GetIndex())); });
        text.Append(Kest::UniString::Printf(", name of \"%T\" cannot be changed (current index is %d)",
                                            attribute.GetName(), attribute.GetIndex()));
        static const Kest::ErrorLogLine line("%T", LogCategory);
        line.WriteText(text);
    } catch (const std::bad_alloc&) {   // the answer stands without its log line
    }
}

void LogReindexClash(const GeneralAttribute& attribute, short newIndex) noexcept {
    try {
        Kest::UniString text =
            Kest::UniString::Printf("ADB::GeneralAttribute::SetIndex - %s attribute index %d is already used by",
                                    attribute.GetClassInfo()->GetName(), newIndex);
        ForEachClash(
            attribute, [newIndex](const GeneralAttribute& other) { return other.GetIndex() == newIndex; },
            [&](const GeneralAttribute& other) { text.Append(Kest::UniString::Printf(" \"%T\"", other.GetName())); });
        text.Append(Kest::UniString::Printf(", index of \"%T\" cannot be changed (current index is %d)",
                                            attribute.GetName(), attribute.GetIndex()));
        static const Kest::ErrorLogLine line("%T", LogCategory);
        line.WriteText(text);
    } catch (const std::bad_alloc&) {   // as above
    }
}

}   // namespace

GeneralAttribute::GeneralAttribute() : GeneralAttribute(GetClassInfoStatic()) {}

GeneralAttribute::GeneralAttribute(const Kest::ClassInfo* kindInfo) : Lum::Object(kindInfo) {}

GeneralAttribute::GeneralAttribute(const GeneralAttribute& other)
    : Lum::Object(other),
      Kest::EventSource(other),
      Lum::ILumSpecificDataContainer(other),
      Lum::IClientCreatableObject(other),
      name(other.name),
      index(other.index),
      flags(other.flags),
      modificationTime(other.modificationTime),
      memo(other.memo),
      reservedShort(other.reservedShort),
      disabledMark(other.disabledMark) {}

GeneralAttribute::~GeneralAttribute() {
    LeaveDatabase();   // while the index can still read the keys
    BMKillHandle(&previousMemo);
}

const Kest::ClassInfo* GeneralAttribute::GetClassInfoStatic() {
    static const Kest::ClassInfo info(
        "ADB::GeneralAttribute", Kest::Guid("{08DE19E5-D6A1-4e65-B87A-550201F72C02}"), StreamVersions::Today.attribute,
        Lum::Object::GetClassInfoStatic(),
        {&Lum::ClientCreatableObject, &Lum::HasLumSpecificData, &Lum::LumClass, &ODB::Pinned}, nullptr,
        StreamVersions::Older<&StreamVersions::Row::attribute>);
    return &info;
}

GeneralAttribute::IsolatedState::IsolatedState(const GeneralAttribute& attribute)
    : name(attribute.name),
      index(attribute.index),
      flags(attribute.flags),
      modificationTime(attribute.modificationTime),
      memo(attribute.memo) {}

bool GeneralAttribute::IsolatedState::ReturnTo(ODB::Object& object) noexcept {
    if (typeid(*this) != typeid(IsolatedState))
        return false;
    ReturnGeneralPart(static_cast<GeneralAttribute&>(object));
    return true;
}

// There is nearly always room for keys that were there before; else the index over the container is filled anew.
void GeneralAttribute::IsolatedState::ReturnGeneralPart(GeneralAttribute& attribute) noexcept {
    try {
        attribute.Take(std::move(*this));
    } catch (const std::bad_alloc&) {
        if (const AttributeIndex* const keys = AttributeKeyChange::FindIndex(attribute))
            keys->tables->areLost = true;
        const ODB::ModificationGate gate(attribute);
        attribute.TakeFields(std::move(*this));
    }
}

// All content goes in or, for want of memory, none of it.
void GeneralAttribute::Take(IsolatedState&& content) {
    const bool isIndexed = AttributeKeyChange::FindIndex(*this) != nullptr;
    const std::uint32_t hash = isIndexed ? Kest::HashIgnoringCase(content.name) : 0;
    AttributeKeyChange change(*this, content.name, content.index, hash);
    TakeFields(std::move(content));
    change.Close();
}

void GeneralAttribute::TakeFields(IsolatedState&& content) noexcept {
    name = std::move(content.name);
    index = content.index;
    flags = content.flags;
    modificationTime = content.modificationTime;
    memo = content.memo;
}

GeneralAttribute::IsolatedState* GeneralAttribute::CreateIsolatedState() const {
    return new IsolatedState;
}

int GeneralAttribute::StoreIsolatedState(ODB::Object::IsolatedState* state) const {
    auto* const own = dynamic_cast<IsolatedState*>(state);
    if (own == nullptr)
        return Error::WrongCall;
    if (const int status = Lum::Object::StoreIsolatedState(state); status != 0)
        return status;
    *own = IsolatedState(*this);
    return Error::None;
}

int GeneralAttribute::RestoreIsolatedState(const ODB::Object::IsolatedState* state) {
    const auto* const own = dynamic_cast<const IsolatedState*>(state);
    if (own == nullptr)
        return Error::WrongCall;
    if (const int status = Lum::Object::RestoreIsolatedState(state); status != 0)
        return status;
    Take(IsolatedState(*own));
    return Error::None;
}

std::size_t GeneralAttribute::GetIsolatedSize() const {
    return sizeof(IsolatedState);
}

int GeneralAttribute::Isolate() {
    return Lum::Object::Isolate();
}

void GeneralAttribute::GetName(char* buffer, int size) const {
    CHTruncate(name.ToCStr().c_str(), buffer, size);
}

void GeneralAttribute::GetName(unsigned short* buffer, int size) const {
    if (buffer == nullptr || size < 1)
        return;
    const std::size_t room = static_cast<std::size_t>(size) / sizeof(unsigned short);
    const std::size_t units = std::min(name.GetLength(), room);
    std::memcpy(buffer, name.ToUStr(), units * sizeof(unsigned short));
    if (units < room)
        buffer[units] = 0;
}

Kest::Guid GeneralAttribute::GetGuid() const {
    return GetId().GetGuid();
}

bool GeneralAttribute::IsClientCreated() const {
    return (flags & ClientCreated) != 0;
}

void GeneralAttribute::SetClientCreated(bool clientCreated) {
    if (clientCreated)
        DirectAddFlags(ClientCreated);
    else
        DirectRemoveFlags(ClientCreated);
}

void GeneralAttribute::ClearLumSpecificData() {
    if (IsClientCreated())
        RemovePropertyFromFlags(ClientCreated);
}

int GeneralAttribute::SetName(const Kest::UniString& newName) {
    if (newName == name)
        return Error::None;
    const AttributeIndex* const keys = AttributeKeyChange::FindIndex(*this);
    const std::uint32_t hash = keys != nullptr ? Kest::HashIgnoringCase(newName) : 0;
    if (keys != nullptr && keys->tables->IsNameBorne(newName, hash, GetInfo(), keys->tables->scope)) {
        LogRenameClash(*this, newName);
        return Error::RenameClash;
    }
    Kest::UniString oldName;
    std::optional<AttributeKeyChange> change;
    try {
        oldName = newName;
        change.emplace(*this, newName, index, hash);
    } catch (const std::bad_alloc&) {
        return Error::MemoryFull;
    }
    std::swap(name, oldName);
    change->Close();
    const Kest::EventSource::Announcement both;   // an observer that hears the first may delete the attribute
    TellOldName(oldName);
    NotifyObservers(FieldMask::FieldIdx2FieldId(GetFieldClassId(), NameField));
    return Error::None;
}

int GeneralAttribute::SetIndex(short newIndex) {
    if (newIndex == index)
        return Error::None;
    const AttributeIndex* const keys = AttributeKeyChange::FindIndex(*this);
    if (keys != nullptr && keys->tables->IsIndexBorne(newIndex, this)) {
        LogReindexClash(*this, newIndex);
        return Error::ReindexClash;
    }
    std::optional<AttributeKeyChange> change;
    try {
        change.emplace(*this, name, newIndex);
    } catch (const std::bad_alloc&) {
        return Error::MemoryFull;
    }
    index = newIndex;
    change->Close();
    NotifyObservers(FieldMask::FieldIdx2FieldId(GetFieldClassId(), IndexField));
    return Error::None;
}

void GeneralAttribute::AnnounceFlags(short newFlags) {
    if (newFlags == flags)
        return;
    ODB::ModificationGate gate(*this);
    flags = newFlags;
    gate.Close();
    NotifyObservers(FieldMask::FieldIdx2FieldId(GetFieldClassId(), FlagsField));
}

void GeneralAttribute::SetFlags(short newFlags) {
    AnnounceFlags(newFlags);
}

void GeneralAttribute::AddPropertyToFlags(short bits) {
    if ((flags & bits) == 0)
        AnnounceFlags(WithFlags(flags, bits));
}

void GeneralAttribute::RemovePropertyFromFlags(short bits) {
    AnnounceFlags(WithoutFlags(flags, bits));
}

void GeneralAttribute::ReplaceFlags(short newFlags) {
    if (newFlags == flags)
        return;
    const ODB::ModificationGate gate(*this);
    flags = newFlags;
}

void GeneralAttribute::DirectAddFlags(short bits) {
    ReplaceFlags(WithFlags(flags, bits));
}

void GeneralAttribute::DirectRemoveFlags(short bits) {
    ReplaceFlags(WithoutFlags(flags, bits));
}

void GeneralAttribute::SetModificationTime(const int& newTime) {
    if (newTime == modificationTime)
        return;
    ODB::ModificationGate gate(*this);
    modificationTime = newTime;
    gate.Close();
    NotifyObservers(FieldMask::FieldIdx2FieldId(GetFieldClassId(), ModificationTimeField));
}

void GeneralAttribute::UpdateModificationTime() {
    SetModificationTime(TIGetTime());
}

void GeneralAttribute::Clear() {
    AttributeKeyChange change(*this, Kest::UniString(), 0);
    name.Clear();
    index = 0;
    change.Close();
}

ODB::Ref<AttributeContainer> GeneralAttribute::GetAttributeContainer() const {
    return ODB::Ref<AttributeContainer>(GetConstAttributeContainer());
}

ODB::ConstRef<AttributeContainer> GeneralAttribute::GetConstAttributeContainer() const {
    if (GetIdSpace() == nullptr)   // what a container owns has an id
        return ODB::NullRef;
    return AttributeContainer::GetAttributeAssociation().GetLeft(ODB::ConstRef<GeneralAttribute>(GetInfo()));
}

ODB::Ref<AttributeSet> GeneralAttribute::GetAttributeSet() const {
    return ODB::Ref<AttributeSet>(GetConstAttributeSet());
}

ODB::ConstRef<AttributeSet> GeneralAttribute::GetConstAttributeSet() const {
    const ODB::ConstRef<AttributeContainer> container = GetConstAttributeContainer();
    return container ? container->GetConstAttributeSet() : ODB::ConstRef<AttributeSet>();
}

Kest::Guid GeneralAttribute::GetFieldClassId() {
    return GetClassInfoStatic()->GetId();
}

bool GeneralAttribute::CheckAttribute() const {
    return true;
}

int GeneralAttribute::CorrectAttribute() {
    return Error::None;
}

bool GeneralAttribute::IsCustom() const {
    return false;
}

int GeneralAttribute::Destruct() {
    if (HasMemoData()) {
        const ODB::ModificationGate gate(*this);
        memo.Delete();
    }
    return Error::None;
}

// Counts the trailing digits up. A name of nines becomes all zeros; what is no digit is overwritten, not kept.
void GeneralAttribute::GenerateNewName() {
    Kest::UniString counted(name);
    if (counted.IsEmpty())
        counted = Kest::UniString(u"0000");
    counted.Truncate(LongestCountedName);
    std::size_t place = counted.GetLength() - 1;
    while (counted[place] == u'9') {
        counted.SetCharacter(place, u'0');
        if (place == 0)
            break;
        --place;
    }
    const bool stoppedAtZero = place == 0 && name.GetLength() > 0 && name[0] == u'9';
    if (!stoppedAtZero) {
        const char16_t last = counted[place];
        counted.SetCharacter(place, IsAsciiDigit(last) ? static_cast<char16_t>(last + 1) : u'1');
    }
    AttributeKeyChange change(*this, counted, index);
    name = std::move(counted);
    change.Close();
}

}   // namespace ADB
