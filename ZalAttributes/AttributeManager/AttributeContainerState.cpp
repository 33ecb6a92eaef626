#include <utility>

#include <Kest/Frames.hpp>
#include <Kest/HashTable.hpp>
#include <Kest/HashTableStream.hpp>

#include <ODB/Delta.hpp>
#include <ODB/IdSpace.hpp>

#include <Lum/LockableObject.hpp>

#include <AttributeManager/AttributeContainer.hpp>
#include <AttributeManager/AttributeErrors.hpp>

#include "CatchMemoryFull.hpp"
#include "ReportLaterFrame.hpp"
#include "UnsupportedVersion.hpp"
#include "WriteOrFail.hpp"

// Isolated state, by the version of its frame. Numbers and orders are fixed for ever.
//   fields   int create permission | int delete/modify permission | description
//   description   UniString type name | int ref id | 64-bit stamp | reference active attribute
//   2   [LockableObjectSet [LockableObject base part | permissions] | 64-bit 0 | delta when below 2.1 | delta from 2.0]
//       | description | [names: int count, UniString upper-cased name and reference each]
//       | [indexes: int count, short index and reference each]
//   3   base part | fields
// The collaboration state is the fields alone, in every version. What stands in brackets has a frame of its own; deltas
// are empty, and of version 2 the deltas and both tables are dropped on reading.
namespace ADB {
namespace {

using Attribute = ODB::ConstRef<GeneralAttribute>;

constexpr Kest::ClassVersion FirstWithSecondDelta(2, 0);
constexpr Kest::ClassVersion FirstWithoutFirstDelta(2, 1);

int WritePermissions(Kest::OChannel& channel, LumCB::PermissionID create, LumCB::PermissionID deleteModify) {
    channel.Write(static_cast<std::uint32_t>(create));
    return channel.Write(static_cast<std::uint32_t>(deleteModify));
}

int ReadPermission(Kest::IChannel& channel, LumCB::PermissionID& permission) {
    auto number = static_cast<std::uint32_t>(permission);
    const int status = channel.Read(number);
    permission = static_cast<LumCB::PermissionID>(number);
    return status;
}

int WriteEmptyDelta(Kest::OChannel& channel) {
    return ODB::Delta(ODB::GetInputIdSpace()).Write(channel);
}

// Nothing of it is made: what it holds could hold a delta again, and so without end.
int DropDelta(Kest::IChannel& channel) {
    Kest::InputFrame frame(channel, *ODB::Delta::GetClassInfoStatic());
    return frame.Close();
}

// Of several attributes with one key the first stays.
template <class Key, class KeyOf>
int WriteTable(Kest::OChannel& channel, const ODB::ConstRefList<GeneralAttribute>& attributes, KeyOf&& keyOf) {
    Kest::HashTable<Key, Attribute> table;
    table.Reserve(attributes.GetSize());
    for (const Attribute& attribute : attributes)
        table.Add(keyOf(*attribute), attribute);
    Kest::OutputFrame frame(channel, *Kest::GetHashTableClassInfo());
    channel.Write(static_cast<std::uint32_t>(table.GetSize()));
    for (const auto& entry : table) {
        channel.Write(entry.key);
        entry.value.WriteRef(channel);
    }
    return frame.Close();
}

template <class Key>
int DropTable(Kest::IChannel& channel, std::size_t leastKeySize) {
    Kest::InputFrame frame(channel, *Kest::GetHashTableClassInfo());
    std::uint32_t count = 0;
    if (frame.GetStatus() == 0)
        channel.ReadCount(count, leastKeySize + sizeof(Kest::Guid::Bytes));
    for (; count > 0 && channel.GetStatus() == 0; --count) {
        Key key{};
        Kest::Guid target;
        channel.Read(key);
        channel.Read(target);
    }
    return frame.Close();
}

}   // namespace

bool AttributeContainer::IsolatedState::ReturnTo(ODB::Object& object) noexcept {
    static_cast<AttributeContainer&>(object).TakeContent(std::move(*this));
    return true;
}

AttributeContainer::IsolatedState* AttributeContainer::CreateIsolatedState() const {
    return new IsolatedState;
}

int AttributeContainer::StoreIsolatedState(ODB::Object::IsolatedState* state) const {
    auto* const own = dynamic_cast<IsolatedState*>(state);
    if (own == nullptr)
        return Error::WrongCall;
    if (const int status = Lum::Object::StoreIsolatedState(state); status != 0)
        return status;
    own->createPermission = createPermission;
    own->deleteModifyPermission = deleteModifyPermission;
    own->typeName = typeName;
    own->refId = refId;
    own->lastUpdatedStamp = lastUpdatedStamp;
    own->activeAttribute = activeAttribute;
    return Error::None;
}

int AttributeContainer::RestoreIsolatedState(const ODB::Object::IsolatedState* state) {
    const auto* const own = dynamic_cast<const IsolatedState*>(state);
    if (own == nullptr)
        return Error::WrongCall;
    if (const int status = Lum::Object::RestoreIsolatedState(state); status != 0)
        return status;
    IsolatedState content(*own);
    ODB::Ref<GeneralAttribute>& active = content.activeAttribute;
    if (active.GetIdSpace() != GetIdSpace()) {   // a copy has its own active attribute
        const ODB::Id id = active.GetId();       // of one that is gone too: it may come back with this state
        active = ODB::NullRef;
        if (!id.IsNull())
            active.Init(id, GetIdSpace());
    }
    TakeContent(std::move(content));
    return Error::None;
}

void AttributeContainer::TakeContent(IsolatedState&& content) {
    const ODB::ModificationGate gate(*this);
    createPermission = content.createPermission;
    deleteModifyPermission = content.deleteModifyPermission;
    typeName = std::move(content.typeName);
    refId = content.refId;
    lastUpdatedStamp = content.lastUpdatedStamp;
    activeAttribute = content.activeAttribute;
}

std::size_t AttributeContainer::GetIsolatedSize() const {
    return sizeof(IsolatedState);
}

int AttributeContainer::WriteIsolatedState(Kest::OChannel& channel) const {
    Kest::OutputFrame frame(channel, *GetClassInfoStatic());
    int status = Error::None;
    if (frame.GetVersion().GetMajor() == 3)
        status = WriteIsolatedStateVersion3(channel);
    else if (frame.GetVersion().GetMajor() == 2)
        status = WriteOrFail(channel, [&] { return WriteIsolatedStateVersion2(channel); });
    else
        PrintUnsupportedVersion("ADB::AttributeContainer::WriteIsolatedState", frame.GetVersion());
    const int closing = frame.Close();
    return status != 0 ? status : closing;
}

int AttributeContainer::ReadIsolatedState(Kest::IChannel& channel) {
    return CatchMemoryFull([&] {
        Kest::InputFrame frame(channel, *GetClassInfoStatic());
        if (frame.GetStatus() != 0)
            return frame.GetStatus();
        if (frame.GetVersion().GetMajor() < 2 || frame.GetVersion().GetMajor() > 3) {
            NoteSkippedFrame("ADB::AttributeContainer::ReadIsolatedState", *GetClassInfoStatic(), frame.GetVersion(),
                             refId);
            return frame.Close();
        }
        ReportLaterFrame(*GetClassInfoStatic(), frame.GetVersion());
        const ODB::IdReadingScope identities(GetIdSpace());
        IsolatedState content;
        const int status = frame.GetVersion().GetMajor() == 3 ? ReadIsolatedStateVersion3(channel, content)
                                                              : ReadIsolatedStateVersion2(channel, content);
        const int closing = frame.Close();
        if (status != 0 || closing != 0)
            return status != 0 ? status : closing;
        TakeContent(std::move(content));
        ReportLaterParts(identities, *Lum::Object::GetClassInfoStatic(), refId);
        return int{Error::None};
    });
}

int AttributeContainer::WriteIsolatedStateVersion3(Kest::OChannel& channel) const {
    if (const int status = Lum::Object::WriteIsolatedState(channel); status != 0)
        return status;
    return WriteFields(channel);
}

int AttributeContainer::ReadIsolatedStateVersion3(Kest::IChannel& channel, IsolatedState& state) {
    if (const int status = Lum::Object::ReadIsolatedState(channel); status != 0)
        return status;
    return ReadFields(channel, state);
}

int AttributeContainer::WriteIsolatedStateVersion2(Kest::OChannel& channel) const {
    if (const int status = WriteLockableSet(channel); status != 0)
        return status;
    if (const int status = WriteDescription(channel); status != 0)
        return status;
    ODB::ConstRefList<GeneralAttribute> attributes;
    attributes.Reserve(GetAttributeNumber());
    EnumerateConstAttributes(SortByIndex, Ascending,
                             [&attributes](const Attribute& attribute) { attributes.Push(attribute); });
    const int status = WriteTable<Kest::UniString>(
        channel, attributes, [](const GeneralAttribute& attribute) { return attribute.GetName().ToUpper(); });
    if (status != 0)
        return status;
    return WriteTable<short>(channel, attributes,
                             [](const GeneralAttribute& attribute) { return attribute.GetIndex(); });
}

int AttributeContainer::ReadIsolatedStateVersion2(Kest::IChannel& channel, IsolatedState& state) {
    if (const int status = ReadLockableSet(channel, state); status != 0)
        return status;
    if (const int status = ReadDescription(channel, state); status != 0)
        return status;
    if (const int status = DropTable<Kest::UniString>(channel, sizeof(std::uint32_t)); status != 0)
        return status;
    return DropTable<short>(channel, sizeof(short));
}

int AttributeContainer::WriteLockableSet(Kest::OChannel& channel) const {
    Kest::OutputFrame frame(channel, *Lum::LockableObjectSet::GetClassInfoStatic());
    Kest::OutputFrame base(channel, *Lum::LockableObject::GetClassInfoStatic());
    if (const int status = Lum::Object::WriteIsolatedState(channel); status != 0)
        return status;
    WritePermissions(channel, createPermission, deleteModifyPermission);
    base.Close();
    channel.Write(std::int64_t{0});
    if (frame.GetVersion() < FirstWithoutFirstDelta)
        WriteEmptyDelta(channel);
    if (frame.GetVersion() >= FirstWithSecondDelta)
        WriteEmptyDelta(channel);
    return frame.Close();
}

int AttributeContainer::ReadLockableSet(Kest::IChannel& channel, IsolatedState& state) {
    Kest::InputFrame frame(channel, *Lum::LockableObjectSet::GetClassInfoStatic());
    Kest::InputFrame base(channel, *Lum::LockableObject::GetClassInfoStatic());
    if (const int status = Lum::Object::ReadIsolatedState(channel); status != 0)
        return status;
    ReportLaterFrame(*Lum::LockableObjectSet::GetClassInfoStatic(), frame.GetVersion());
    ReportLaterFrame(*Lum::LockableObject::GetClassInfoStatic(), base.GetVersion());
    ReadPermission(channel, state.createPermission);
    ReadPermission(channel, state.deleteModifyPermission);
    base.Close();
    channel.Skip<std::int64_t>();
    if (frame.GetVersion() < FirstWithoutFirstDelta)
        if (const int status = DropDelta(channel); status != 0)
            return status;
    if (frame.GetVersion() >= FirstWithSecondDelta)
        if (const int status = DropDelta(channel); status != 0)
            return status;
    return frame.Close();
}

int AttributeContainer::WriteFields(Kest::OChannel& channel) const {
    if (const int status = WritePermissions(channel, createPermission, deleteModifyPermission); status != 0)
        return status;
    return WriteDescription(channel);
}

int AttributeContainer::ReadFields(Kest::IChannel& channel, IsolatedState& state) const {
    ReadPermission(channel, state.createPermission);
    ReadPermission(channel, state.deleteModifyPermission);
    return ReadDescription(channel, state);
}

int AttributeContainer::WriteDescription(Kest::OChannel& channel) const {
    channel.Write(typeName);
    channel.Write(refId);
    channel.Write(lastUpdatedStamp);
    return activeAttribute.WriteRef(channel);
}

int AttributeContainer::ReadDescription(Kest::IChannel& channel, IsolatedState& state) const {
    channel.Read(state.typeName);
    channel.Read(state.refId);
    channel.Read(state.lastUpdatedStamp);
    return state.activeAttribute.ReadRef(channel, GetIdSpace());
}

int AttributeContainer::WriteLumIsolatedState(Kest::OChannel& channel) const {
    Kest::OutputFrame frame(channel, *GetClassInfoStatic());
    WriteFields(channel);
    return frame.Close();
}

int AttributeContainer::ReadLumIsolatedState(Kest::IChannel& channel) {
    return CatchMemoryFull([&] {
        Kest::InputFrame frame(channel, *GetClassInfoStatic());
        if (frame.GetStatus() != 0)
            return frame.GetStatus();
        if (frame.GetVersion().GetMajor() < 1 || frame.GetVersion().GetMajor() > 3) {
            NoteSkippedFrame("ADB::AttributeContainer::ReadLumIsolatedState", *GetClassInfoStatic(), frame.GetVersion(),
                             refId);
            return frame.Close();
        }
        ReportLaterFrame(*GetClassInfoStatic(), frame.GetVersion());
        IsolatedState content;
        ReadFields(channel, content);
        if (const int status = frame.Close(); status != 0)
            return status;
        TakeContent(std::move(content));
        return int{Error::None};
    });
}

}   // namespace ADB
