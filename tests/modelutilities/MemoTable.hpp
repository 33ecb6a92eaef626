#pragma once

#include <Kest/MemoryHandle.hpp>

#include <ZalUtil/MemoRecord.hpp>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>

/// A memo table in a handle, for tests: records are put, deleted and read back as text.
class MemoTable {
public:
    MemoTable() = default;
    explicit MemoTable(std::string_view bytes)
        : handle(BMPtrToHandle(bytes.data(), static_cast<std::int64_t>(bytes.size()))) {}
    ~MemoTable() { BMKillHandle(&handle); }
    MemoTable(const MemoTable&) = delete;
    MemoTable& operator=(const MemoTable&) = delete;

    MemoTable& Put(ZalUtil::Owner owner, std::string_view data) {
        EXPECT_EQ(ZalM_PutRegMData(owner.id1, owner.id2, 0x5757, 1, 0, static_cast<unsigned int>(data.size()),
                                   data.data(), &handle),
                  0);
        return *this;
    }
    bool Delete(ZalUtil::Owner owner) {
        bool found = false;
        EXPECT_EQ(ZalM_DelRegMData(owner.id1, owner.id2, &handle, &found), 0);
        return found;
    }

    std::int64_t GetSize() const { return BMGetHandleSize(handle); }
    const char* GetBytes() const { return handle != nullptr ? *handle : nullptr; }
    std::string_view GetText() const { return {GetBytes(), static_cast<std::size_t>(GetSize())}; }

    /// The records as "1.2=data 3.4=", in their stored order.
    std::string Describe() const { return Describe(GetBytes(), static_cast<std::size_t>(GetSize())); }
    static std::string Describe(const char* bytes, std::size_t size) {
        std::string text;
        ZalUtil::MemoRecordWalk walk(bytes, size);
        ZalUtil::MemoRecord record;
        while (walk.Next(record))
            text += (text.empty() ? "" : " ") + std::to_string(record.owner.id1) + '.' +
                    std::to_string(record.owner.id2) + '=' + std::string(record.data, record.length);
        return text;
    }

    char** handle = nullptr;
};
