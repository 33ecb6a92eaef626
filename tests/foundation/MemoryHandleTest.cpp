#include <Kest/MemoryHandle.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string_view>

namespace {

TEST(MemoryHandleTest, ResizingKeepsTheHandleAndWhatFits) {
    char** handle = BMPtrToHandle("attribute", 9);
    char** const same = handle;
    for (const std::int64_t size : {100000, 9, 4, 0, 4}) {
        ASSERT_EQ(BMReallocHandle(handle, size), same);
        ASSERT_EQ(BMError(), 0);
        ASSERT_EQ(BMGetHandleSize(handle), size);
        const auto kept = static_cast<std::size_t>(size == 4 ? 0 : std::min<std::int64_t>(size, 9));
        ASSERT_EQ(std::string_view(*handle, kept), std::string_view("attribute", kept));
    }
    BMKillHandle(&handle);
    EXPECT_EQ(handle, nullptr);
    BMKillHandle(&handle);
    BMKillHandle(static_cast<char***>(nullptr));
    EXPECT_EQ(BMError(), 0);
}

TEST(MemoryHandleTest, ZeroFilledHandlesStayZeroFilledWhenTheyGrow) {
    char** handle = BMAllocateHandle(64, BMZeroFilled);
    const auto allZero = [&] {
        return std::all_of(*handle, *handle + BMGetHandleSize(handle), [](char byte) { return byte == 0; });
    };
    EXPECT_TRUE(allZero());
    BNFillMemory(*handle, 64, 0xFF);
    BMReallocHandle(handle, 0);
    BMReallocHandle(handle, 5000);
    EXPECT_TRUE(allZero());
    BMKillHandle(&handle);
}

TEST(MemoryHandleTest, ImpossibleSizesAreRefusedAndChangeNothing) {
    char** handle = BMPtrToHandle("kept", 4);
    for (const std::int64_t size : {std::int64_t{-1}, std::numeric_limits<std::int64_t>::min(),
                                    std::numeric_limits<std::int64_t>::max(), std::int64_t{1} << 40}) {
        EXPECT_EQ(BMAllocateHandle(size, BMPlain), nullptr) << size;
        EXPECT_EQ(BMError(), -108);
        EXPECT_EQ(BMPtrToHandle("x", size), nullptr);
        EXPECT_EQ(BMReallocHandle(handle, size), handle);
        EXPECT_EQ(BMError(), -108);
        EXPECT_EQ(BMGetHandleSize(handle), 4);
        EXPECT_EQ(BMError(), 0);
        EXPECT_EQ(std::string_view(*handle, 4), "kept");
    }
    EXPECT_EQ(BMReallocHandle(nullptr, 4), nullptr);
    EXPECT_EQ(BMPtrToHandle(nullptr, 1), nullptr);
    BMKillHandle(&handle);
}

#if !defined(NDEBUG) && GTEST_HAS_DEATH_TEST
TEST(MemoryHandleDeathTest, DoubleFreesAndForeignPointersAreCaught) {
    char** handle = BMAllocateHandle(8, BMPlain);
    char** second = handle;
    BMKillHandle(&handle);
    EXPECT_DEATH(BMKillHandle(&second), "not a memory handle");
    char* foreign = nullptr;
    char** foreignHandle = &foreign;
    EXPECT_DEATH(BMKillHandle(&foreignHandle), "not a memory handle");
}
#endif

TEST(ByteHelpersTest, CompareAsUnsigned) {
    EXPECT_EQ(BNCompareMemory("abc", "abd", 3), -1);
    EXPECT_EQ(BNCompareMemory("\xFF", "\x01", 1), 1);
    EXPECT_EQ(BNCompareMemory(nullptr, nullptr, 0), 0);
}

}   // namespace
