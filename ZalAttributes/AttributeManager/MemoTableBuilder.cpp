#include "MemoTableBuilder.hpp"

#include <cstdint>

#include <Kest/HashTable.hpp>

#include <AttributeManager/AttributeErrors.hpp>

namespace ADB {

char* MemoTableBuilder::Append(const ZalUtil::MemoRecord& record) {
    const std::size_t start = bytes.size();
    bytes.resize(start + ZalUtil::MemoHeaderSize + record.length);
    ZalUtil::StoreMemoHeader(bytes.data() + start, record);
    if (!owners.Add(record.owner))
        repeats = true;
    return bytes.data() + start + ZalUtil::MemoHeaderSize;
}

// The records of `earlier` and the own ones, those of one owner made one: the last of them, in the place of the first.
std::vector<char> MemoTableBuilder::Join(std::span<const char> earlier) const {
    Kest::HashTable<ZalUtil::Owner, ZalUtil::MemoRecord> last;
    for (const std::span<const char> table : {earlier, std::span<const char>(bytes)}) {
        ZalUtil::MemoRecordWalk walk(table.data(), table.size());
        ZalUtil::MemoRecord record;
        while (walk.Next(record))
            last.Put(record.owner, record);
    }
    std::vector<char> joined;
    joined.reserve(earlier.size() + bytes.size());
    for (const auto& [owner, record] : last)
        joined.insert(joined.end(), record.data - ZalUtil::MemoHeaderSize, record.data + record.length);
    return joined;
}

int MemoTableBuilder::PutInto(RegTblData& table) const {
    if (bytes.empty())
        return Error::None;
    if (table.IsEmpty() && !repeats)
        return table.UpdateRegTbl(bytes.data(), static_cast<std::int64_t>(bytes.size()));
    const std::vector<char> content = Join({table.GetBytes(), table.GetSize()});
    return table.UpdateRegTbl(content.data(), static_cast<std::int64_t>(content.size()));
}

}   // namespace ADB
