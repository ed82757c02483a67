#include <algorithm>
#include <cstdint>

#include "winbase_testing.h"

#include <memoryapi.h>

using namespace winbase_testing;

namespace
{

constexpr SIZE_T c_uiSize = 3 * 4096 + 1;

TEST(WinbaseVirtualMemory, PagesAreZeroAndCanBeWritten)
{
    auto* const pPages =
        static_cast<std::uint8_t*>(VirtualAlloc(nullptr, c_uiSize, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
    ASSERT_TRUE(pPages);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(pPages) % 4096, 0U);
    EXPECT_EQ(std::count(pPages, pPages + c_uiSize, 0), static_cast<std::ptrdiff_t>(c_uiSize));
    std::fill(pPages, pPages + c_uiSize, std::uint8_t{7});
    EXPECT_EQ(std::count(pPages, pPages + c_uiSize, 7), static_cast<std::ptrdiff_t>(c_uiSize));
    EXPECT_TRUE(VirtualFree(pPages, 0, MEM_RELEASE));
}

TEST(WinbaseVirtualMemory, CommitAloneReservesToo)
{
    void* const pPages = VirtualAlloc(nullptr, 1, MEM_COMMIT, PAGE_READWRITE);
    EXPECT_TRUE(pPages);
    EXPECT_TRUE(VirtualFree(pPages, 0, MEM_RELEASE));
}

TEST(WinbaseVirtualMemory, MoreThanThereIsFails)
{
    EXPECT_FALSE(VirtualAlloc(nullptr, SIZE_T{1} << 60, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
}

TEST(WinbaseVirtualMemory, NoBytesAreRefused)
{
    EXPECT_EQ(LastErrorOf([] { EXPECT_FALSE(VirtualAlloc(nullptr, 0, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE)); }),
              static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST(WinbaseVirtualMemory, AReleaseHasNoSizeAndNeedsTheStart)
{
    auto* const pPages =
        static_cast<std::uint8_t*>(VirtualAlloc(nullptr, c_uiSize, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
    EXPECT_EQ(LastErrorOf([&] { EXPECT_FALSE(VirtualFree(pPages, c_uiSize, MEM_RELEASE)); }),
              static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_FALSE(VirtualFree(pPages + 4096, 0, MEM_RELEASE));
    EXPECT_TRUE(VirtualFree(pPages, 0, MEM_RELEASE));
    EXPECT_FALSE(VirtualFree(pPages, 0, MEM_RELEASE));
}

}  // namespace
