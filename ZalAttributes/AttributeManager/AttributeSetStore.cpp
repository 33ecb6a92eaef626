#include <AttributeManager/AttributeSetStore.hpp>

#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include <Kest/ClassManager.hpp>
#include <Kest/Frames.hpp>
#include <Kest/MemoryChannels.hpp>

#include <ODB/IdSpace.hpp>
#include <ODB/Properties.hpp>

#include <Lum/Properties.hpp>

#include <ZalUtil/Properties.hpp>

#include <AttributeManager/AttributeErrors.hpp>

#include "CatchMemoryFull.hpp"
#include "ReportLaterFrame.hpp"

// The bytes are a frame of the store around the stream of the set, little-endian.
//
// Isolated state:
//   1.0   base part | size (32 bits) | the bytes

namespace ADB {
namespace {

const Kest::ClassRegistration<AttributeSetStore> registration;

constexpr std::size_t SizeBesideData = 40;   // what the state counts for without its bytes

// Also for stores that are made before the constant.
const ODB::Id& GetStoreId() {
    static const ODB::Id id("{F21BA901-A48D-438a-A19A-025ED87F1B4A}");
    return id;
}

std::unique_ptr<char[]> CopyOf(const std::unique_ptr<char[]>& bytes, unsigned int size) {
    if (size == 0)
        return nullptr;
    std::unique_ptr<char[]> copy(new char[size]);
    std::memcpy(copy.get(), bytes.get(), size);
    return copy;
}

}   // namespace

const ODB::Id AttributeSetStore::AttributeSetStoreId = GetStoreId();

AttributeSetStore::AttributeSetStore() = default;

AttributeSetStore::AttributeSetStore(ODB::IdSpace* idSpace) {
    if (idSpace != nullptr && !idSpace->Contains(GetStoreId()))
        ODB::Ref<AttributeSetStore>(this).Init(GetStoreId(), idSpace);
}

AttributeSetStore::AttributeSetStore(const AttributeSetStore& other)
    : ODB::Object(other),
      ZalUtil::ICustomXMLRootObject(other),
      data(CopyOf(other.data, other.dataSize)),
      dataSize(other.dataSize) {}

AttributeSetStore& AttributeSetStore::operator=(const AttributeSetStore& other) {
    Take(CopyOf(other.data, other.dataSize), other.dataSize);
    return *this;
}

AttributeSetStore::~AttributeSetStore() = default;

const Kest::ClassInfo* AttributeSetStore::GetClassInfoStatic() {
    static const Kest::ClassInfo info("ADB::AttributeSetStore", Kest::Guid("{A4EE60EC-3F33-45cc-BB62-A182364FA82B}"),
                                      Kest::ClassVersion(1, 0), ODB::Object::GetClassInfoStatic(),
                                      {&Lum::ClientOnly, &Undo::NotUndoable, &ODB::NoDifferenceGeneration, &ODB::Pinned,
                                       &ZalUtil::CustomXMLRootObject},
                                      &AttributeSetStore::ConstructorFunction);
    return &info;
}

Kest::Object* AttributeSetStore::ConstructorFunction() {
    return new AttributeSetStore;
}

const Kest::ClassInfo* AttributeSetStore::GetClassInfo() const {
    return GetClassInfoStatic();
}

AttributeSetStore* AttributeSetStore::Clone() const {
    return new AttributeSetStore(*this);
}

void AttributeSetStore::Take(std::unique_ptr<char[]> newData, std::size_t newSize) {
    const ODB::ModificationGate gate(*this);
    data = std::move(newData);
    dataSize = static_cast<unsigned int>(newSize);
}

int AttributeSetStore::Update(ODB::ConstRef<AttributeSet> set, Kest::ClassInfo::SystemVersion version) {
    const Kest::ClassManager::OutputVersionBlock block(version);
    Take(nullptr, 0);
    Kest::MemoryOChannel channel;
    channel.SetProtocolPlatform(Kest::PlatformSign::LittleEndian);
    Kest::OutputFrame frame(channel, *GetClassInfoStatic());
    if (!set)
        return Error::WrongCall;
    if (const int status = CatchMemoryFull([&] { return set->Write(channel); }); status != 0)
        return status;
    if (const int status = frame.Close(); status != 0)
        return status;
    const std::size_t size = channel.GetSize();
    if (size > std::numeric_limits<std::uint32_t>::max())
        return Kest::ChannelStatus::TooLarge;
    Take(channel.TakeBytes(), size);
    return Error::None;
}

int AttributeSetStore::Load(ODB::Ref<AttributeSet> set) const {
    Kest::MemoryIChannel channel(data.get(), dataSize);
    channel.SetProtocolPlatform(Kest::PlatformSign::LittleEndian);
    Kest::InputFrame frame(channel, *GetClassInfoStatic());
    if (!set)
        return Error::WrongCall;
    if (frame.GetStatus() != 0)
        return frame.GetStatus();
    ReportLaterFrame(*GetClassInfoStatic(), frame.GetVersion());
    const ODB::IdSpace::InputScope scope(set.GetIdSpace());
    return set.GetLogicalConst()->Read(channel);
}

int AttributeSetStore::ReadIsolatedState(Kest::IChannel& channel) {
    Kest::InputFrame frame(channel, *GetClassInfoStatic());
    const ODB::IdReadingScope identities(GetIdSpace());
    if (const int status = ODB::Object::ReadIsolatedState(channel); status != 0)
        return status;
    ReportLaterFrame(*GetClassInfoStatic(), frame.GetVersion());
    ReportLaterParts(identities, *ODB::Object::GetClassInfoStatic(), 0);
    std::uint32_t size = 0;
    std::unique_ptr<char[]> bytes;
    channel.ReadCount(size, 1);   // as many as there are: only then is memory taken
    if (size > 0) {
        bytes.reset(new (std::nothrow) char[size]);
        if (bytes)
            channel.ReadBlock(bytes.get(), size);
        else
            channel.Fail(Kest::ChannelStatus::MemoryFull);
    }
    const int status = frame.Close();
    if (status == 0)
        Take(std::move(bytes), size);
    return status;
}

AttributeSetStore::IsolatedState* AttributeSetStore::CreateIsolatedState() const {
    return new IsolatedState;
}

int AttributeSetStore::StoreIsolatedState(ODB::Object::IsolatedState* state) const {
    auto* const own = dynamic_cast<IsolatedState*>(state);
    if (own == nullptr)
        return Error::WrongCall;
    if (const int status = ODB::Object::StoreIsolatedState(state); status != 0)
        return status;
    own->data = CopyOf(data, dataSize);
    own->dataSize = dataSize;
    return Error::None;
}

int AttributeSetStore::RestoreIsolatedState(const ODB::Object::IsolatedState* state) {
    const auto* const own = dynamic_cast<const IsolatedState*>(state);
    if (own == nullptr)
        return Error::WrongCall;
    if (const int status = ODB::Object::RestoreIsolatedState(state); status != 0)
        return status;
    Take(CopyOf(own->data, own->dataSize), own->dataSize);
    return Error::None;
}

int AttributeSetStore::WriteIsolatedState(Kest::OChannel& channel) const {
    Kest::OutputFrame frame(channel, *GetClassInfoStatic());
    if (const int status = ODB::Object::WriteIsolatedState(channel); status != 0)
        return status;
    channel.Write(std::uint32_t{dataSize});
    channel.WriteBlock(data.get(), dataSize);
    return frame.Close();
}

std::size_t AttributeSetStore::GetIsolatedSize() const {
    return dataSize + SizeBesideData;
}

}   // namespace ADB
