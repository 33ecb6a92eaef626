#include <cstdint>
#include <limits>
#include <new>
#include <utility>

#include <Kest/ClassManager.hpp>
#include <Kest/Frames.hpp>
#include <Kest/HashSet.hpp>
#include <Kest/MemoryChannels.hpp>
#include <Kest/ScopedValue.hpp>

#include <ODB/Delta.hpp>
#include <ODB/IdReadingScope.hpp>
#include <ODB/IdSpace.hpp>

#include "AssociationEnd.hpp"
#include "MakeObject.hpp"
#include "StoredState.hpp"

// A delta, by the version of its frame. Numbers and orders are fixed for ever.
//   1.0   UniString name
//         count | new objects:       Guid class | Guid id | uint64 length | state
//         count | modified objects:  as new objects
//         count | deleted objects:   Guid class | Guid id
//         count | new links:         Guid association | Guid left | Guid right | Guid behind
//         count | modified links:    Guid association | Guid oldLeft | Guid left | Guid right | Guid behind
//         count | deleted links:     Guid association | Guid left | Guid right
//         count | reordered links:   as new links
// A count has 32 bits. A state is what an object without an id writes by WriteIsolatedState into a channel of its own.

namespace ODB {
namespace {

using Kest::ChannelStatus::Damaged;
using Kest::ChannelStatus::EndOfData;
using Kest::ChannelStatus::MemoryFull;
using Kest::ChannelStatus::TooLarge;

constexpr std::size_t GuidSize = sizeof(Kest::Guid::Bytes);

// A channel that carries a part of what `outer` carries writes and reads numbers as that one does.
template <class Outer, class Inner>
void TakePlatform(const Outer& outer, Inner& inner) {
    Kest::PlatformSign sign{};
    if (outer.GetProtocolPlatform(sign))
        inner.SetProtocolPlatform(sign);
}

class Writer {
public:
    explicit Writer(Kest::OChannel& target) : channel(target) {}

    template <class Item>
    void WriteAll(const std::vector<Item>& items) {
        if (items.size() > std::numeric_limits<std::uint32_t>::max())
            channel.Fail(TooLarge);
        channel.Write(static_cast<std::uint32_t>(items.size()));
        for (const Item& item : items)
            if (channel.GetStatus() == 0)
                Write(item);
    }

private:
    void Write(const Id& id) { channel.Write(id.GetGuid()); }

    void Write(const Delta::StoredObject& object) {
        channel.Write(object.classInfo->GetId());
        Write(object.id);
        if (const int status = WriteState(object); status != 0)
            channel.Fail(status);
    }

    int WriteState(const Delta::StoredObject& object) {
        Kest::MemoryOChannel state;
        TakePlatform(channel, state);
        if (const int status = WriteStoredState(object, state); status != 0)
            return status;
        channel.Write(std::uint64_t{state.GetSize()});
        return channel.WriteBlock(state.GetBytes(), state.GetSize());
    }

    void Write(const Delta::DeletedObject& object) {
        channel.Write(object.classInfo->GetId());
        Write(object.id);
    }

    void Write(const Delta::PlacedLink& link) {
        Write(link.association->GetId());
        Write(link.left);
        Write(link.right);
        Write(link.behind);
    }

    void Write(const Delta::ModifiedLink& link) {
        Write(link.association->GetId());
        Write(link.oldLeft);
        Write(link.left);
        Write(link.right);
        Write(link.behind);
    }

    void Write(const Delta::DeletedLink& link) {
        Write(link.association->GetId());
        Write(link.left);
        Write(link.right);
    }

    Kest::OChannel& channel;
};

}   // namespace

/// Reads into an empty delta, which is worth nothing once the channel has failed.
class Delta::Reader {
public:
    Reader(Kest::IChannel& source, Delta& target) : channel(source), delta(target) {}

    int ReadVersion1() {
        channel.Read(delta.name);
        ReadObjects(ObjectChange::New);
        ReadObjects(ObjectChange::Modified);
        ReadDeletedObjects();
        ReadPlacedLinks(delta.newLinks, &Delta::AddNewLink);
        ReadModifiedLinks();
        ReadDeletedLinks();
        ReadPlacedLinks(delta.reorderedLinks, &Delta::AddReorderedLink);
        return channel.GetStatus();
    }

private:
    using AddPlacedLink = int (Delta::*)(const Association1NUntyped&, const Id&, const Id&, const Id&);

    // Takes the count of the items that follow, of `guids` ids and `more` bytes or more each, and makes room for them.
    template <class Item>
    std::uint32_t ReadCount(std::vector<Item>& items, std::size_t guids, std::size_t more = 0) {
        std::uint32_t count = 0;
        if (channel.ReadCount(count, guids * GuidSize + more) == 0)
            items.reserve(count);
        return count;
    }

    Id ReadId() {
        Kest::Guid guid;
        channel.Read(guid);
        return Id(guid);
    }

    const Kest::ClassInfo* ReadClass() {
        Kest::Guid classId;
        if (channel.Read(classId) != 0)
            return nullptr;
        const Kest::ClassInfo* const found = Kest::ClassManager::Find(classId);
        if (found == nullptr)
            channel.Fail(Damaged);
        return found;
    }

    const Association1NUntyped* ReadAssociation() {
        const Id id = ReadId();
        const Association1NUntyped* const found = channel.GetStatus() == 0 ? Association1NUntyped::Find(id) : nullptr;
        if (found == nullptr)
            channel.Fail(Damaged);
        return found;
    }

    // An object whose id came before is refused, in whichever collection.
    void ReadObjects(ObjectChange change) {
        const std::uint32_t count = ReadCount(delta.StoredObjects(change), 2, sizeof(std::uint64_t));
        for (std::uint32_t place = 0; place < count && channel.GetStatus() == 0; ++place) {
            const Kest::ClassInfo* const classInfo = ReadClass();
            const Id id = ReadId();
            if (id.IsNull() || delta.changes.Contains(id))
                channel.Fail(Damaged);
            if (channel.GetStatus() != 0)
                return;
            std::unique_ptr<Object::IsolatedState> state;
            if (const int status = ReadState(*classInfo, state); status != 0)
                channel.Fail(status);
            else
                delta.Store(change, {classInfo, id, std::move(state)});
        }
    }

    int ReadState(const Kest::ClassInfo& classInfo, std::unique_ptr<Object::IsolatedState>& state) {
        std::uint64_t length = 0;
        channel.Read(length);
        if (length > std::numeric_limits<std::size_t>::max())
            return EndOfData;
        const char* const bytes = channel.TakeBlock(static_cast<std::size_t>(length));
        if (bytes == nullptr)
            return channel.GetStatus();
        const std::unique_ptr<Object> carrier = MakeObject(classInfo);
        if (carrier == nullptr)
            return Damaged;
        Kest::MemoryIChannel part(bytes, static_cast<std::size_t>(length));
        TakePlatform(channel, part);
        if (const int status = carrier->ReadIsolatedState(part); status != 0)
            return status;
        if (part.GetPosition() != length)
            return Damaged;
        state.reset(carrier->CreateIsolatedState());
        return carrier->StoreIsolatedState(state.get());
    }

    void ReadDeletedObjects() {
        const std::uint32_t count = ReadCount(delta.deletedObjects, 2);
        for (std::uint32_t place = 0; place < count && channel.GetStatus() == 0; ++place) {
            const Kest::ClassInfo* const classInfo = ReadClass();
            const Id id = ReadId();
            if (channel.GetStatus() == 0 && (delta.changes.Contains(id) || delta.AddDeletedObject(*classInfo, id) != 0))
                channel.Fail(Damaged);
        }
    }

    void ReadPlacedLinks(std::vector<PlacedLink>& links, AddPlacedLink add) {
        const std::uint32_t count = ReadCount(links, 4);
        for (std::uint32_t place = 0; place < count && channel.GetStatus() == 0; ++place) {
            const Association1NUntyped* const association = ReadAssociation();
            const Id left = ReadId();
            const Id right = ReadId();
            const Id behind = ReadId();
            if (!IsFirst(association, right) || (delta.*add)(*association, left, right, behind) != 0)
                channel.Fail(Damaged);
        }
    }

    void ReadModifiedLinks() {
        const std::uint32_t count = ReadCount(delta.modifiedLinks, 5);
        for (std::uint32_t place = 0; place < count && channel.GetStatus() == 0; ++place) {
            const Association1NUntyped* const association = ReadAssociation();
            const Id oldLeft = ReadId();
            const Id left = ReadId();
            const Id right = ReadId();
            const Id behind = ReadId();
            if (!IsFirst(association, right) || delta.AddModifiedLink(*association, oldLeft, left, right, behind) != 0)
                channel.Fail(Damaged);
        }
    }

    void ReadDeletedLinks() {
        const std::uint32_t count = ReadCount(delta.deletedLinks, 3);
        for (std::uint32_t place = 0; place < count && channel.GetStatus() == 0; ++place) {
            const Association1NUntyped* const association = ReadAssociation();
            const Id left = ReadId();
            const Id right = ReadId();
            if (!IsFirst(association, right) || delta.AddDeletedLink(*association, left, right) != 0)
                channel.Fail(Damaged);
        }
    }

    // Whether the link was read, and is the first of its right object.
    bool IsFirst(const Association1NUntyped* association, const Id& right) {
        return channel.GetStatus() == 0 && rights.Add({association, right});
    }

    Kest::IChannel& channel;
    Delta& delta;
    Kest::HashSet<AssociationEnd> rights;
};

const Kest::ClassInfo* Delta::GetClassInfoStatic() {
    static const Kest::ClassInfo info("ODB::Delta", Kest::Guid("{6E0B5A1D-93C4-4B7E-8F21-5D70C9A3E846}"),
                                      Kest::ClassVersion(1, 0), nullptr);
    return &info;
}

void Delta::WriteBody(Kest::OChannel& channel) const {
    Writer writer(channel);
    channel.Write(name);
    writer.WriteAll(newObjects);
    writer.WriteAll(modifiedObjects);
    writer.WriteAll(deletedObjects);
    writer.WriteAll(newLinks);
    writer.WriteAll(modifiedLinks);
    writer.WriteAll(deletedLinks);
    writer.WriteAll(reorderedLinks);
}

int Delta::Write(Kest::OChannel& channel) const {
    const Kest::ClassManager::OutputVersionBlock current(0);
    Kest::OutputFrame frame(channel, *GetClassInfoStatic());
    try {
        WriteBody(channel);
    } catch (const std::bad_alloc&) {
        channel.Fail(MemoryFull);
    }
    return frame.Close();
}

// The contents of objects could hold deltas again, and so without end: there is one at a time.
int Delta::Read(Kest::IChannel& channel) {
    static thread_local bool isReading = false;
    Kest::InputFrame frame(channel, *GetClassInfoStatic());
    if (frame.GetStatus() != 0 || frame.GetVersion().GetMajor() != 1)
        return frame.Close();
    if (isReading)
        return channel.Fail(Damaged);
    const Kest::ScopedValue reading(isReading, true);
    const IdSpace::InputScope references(space);
    const IdReadingScope identities(space);   // contents bring ids that are nobody else's business
    try {
        Delta read(space);
        if (Reader(channel, read).ReadVersion1() == 0)
            *this = std::move(read);
    } catch (const std::bad_alloc&) {
        channel.Fail(MemoryFull);
    }
    return frame.Close();
}

}   // namespace ODB
