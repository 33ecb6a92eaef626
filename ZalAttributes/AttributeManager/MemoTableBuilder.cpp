#include "MemoTableBuilder.hpp"

#include <cstdint>
#include <cstring>

#include <Kest/HashTable.hpp>

#include <AttributeManager/AttributeErrors.hpp>

#include "ScopedHandle.hpp"

namespace ADB {
namespace {

// As MemoRecord.hpp lays it out.
struct MemoHeader {
    std::uint32_t id1;
    std::uint32_t id2;
    std::uint16_t platform;
    std::int16_t version;
    std::uint32_t flags;
    std::uint32_t length;
    std::uint32_t zero;
};
static_assert(sizeof(MemoHeader) == ZalUtil::MemoHeaderSize);

}   // namespace

char* MemoTableBuilder::Append(const ZalUtil::MemoRecord& record) {
    const std::size_t start = bytes.size();
    bytes.resize(start + ZalUtil::MemoHeaderSize + record.length);
    const MemoHeader header{
        record.owner.id1, record.owner.id2, record.platform, record.version, record.flags, record.length, 0};
    std::memcpy(bytes.data() + start, &header, sizeof header);
    if (!owners.Add(record.owner))
        repeats = true;
    return bytes.data() + start + sizeof header;
}

// The records with those of one owner made one: the last of them, in the place of the first.
std::vector<char> MemoTableBuilder::MakeBytes() const {
    Kest::HashTable<ZalUtil::Owner, ZalUtil::MemoRecord> last;
    ZalUtil::MemoRecordWalk walk(bytes.data(), bytes.size());
    ZalUtil::MemoRecord record;
    while (walk.Next(record))
        last.Put(record.owner, record);
    std::vector<char> made;
    made.reserve(bytes.size());
    for (const auto& [owner, counting] : last)
        made.insert(made.end(), bytes.data() + counting.offset, bytes.data() + counting.GetEnd());
    return made;
}

int MemoTableBuilder::PutInto(RegTblData& table) const {
    if (bytes.empty())
        return Error::None;
    if (table.IsEmpty()) {
        const std::vector<char> unique = repeats ? MakeBytes() : std::vector<char>();
        const std::vector<char>& content = repeats ? unique : bytes;
        return table.UpdateRegTbl(content.data(), static_cast<std::int64_t>(content.size()));
    }
    ScopedHandle merged;
    if (table.GetRegTbl(&merged.handle) != 0)
        return Error::MemoryFull;
    ZalUtil::MemoRecordWalk walk(bytes.data(), bytes.size());
    ZalUtil::MemoRecord record;
    while (walk.Next(record))
        if (const int status = ZalM_PutRegMData(record.owner.id1, record.owner.id2, record.platform, record.version,
                                                record.flags, record.length, record.data, &merged.handle);
            status != Error::None)
            return status;
    return table.UpdateRegTbl(*merged.handle, BMGetHandleSize(merged.handle));
}

}   // namespace ADB
