// Memory of pictures that were freed, for the next pictures.
#include "host/hostpicbase/pixelblocks.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/repetitions.h"

namespace
{

constexpr std::size_t MIB = 1024 * 1024;

struct SFreePixels
{
    void operator()(unsigned char* pPixels) const { FreePixels(pPixels); }
};
using CPixels = std::unique_ptr<unsigned char, SFreePixels>;

CPixels Allocate(std::size_t uiSize, bool bZero = false)
{
    CPixels pixels(AllocatePixels(uiSize, bZero));
    if (pixels) std::memset(pixels.get() + uiSize, 0xA5, 64);  // may be written
    return pixels;
}

}  // namespace

TEST(PixelBlocks, AFreedBlockIsUsedForTheNextPictureOfItsSize)
{
    const CPixels other = Allocate(MIB);
    CPixels first = Allocate(2 * MIB);
    const auto uiFirst = reinterpret_cast<std::uintptr_t>(first.get());
    first.reset();
    EXPECT_EQ(GetIdlePixelBytes(), 2 * MIB);
    const CPixels larger = Allocate(2 * MIB + 1);
    EXPECT_EQ(GetIdlePixelBytes(), 2 * MIB);
    const CPixels second = Allocate(2 * MIB);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(second.get()), uiFirst);
    EXPECT_EQ(GetIdlePixelBytes(), 0U);
}

TEST(PixelBlocks, TheBlockThatWasFreedLastIsUsedFirst)
{
    const CPixels other = Allocate(MIB);
    CPixels first = Allocate(2 * MIB);
    CPixels second = Allocate(2 * MIB);
    const auto uiSecond = reinterpret_cast<std::uintptr_t>(second.get());
    first.reset();
    second.reset();
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(Allocate(2 * MIB).get()), uiSecond);
}

TEST(PixelBlocks, AUsedBlockIsZeroWhereZerosAreAskedFor)
{
    const CPixels other = Allocate(MIB);
    CPixels first = Allocate(2 * MIB);
    const auto uiFirst = reinterpret_cast<std::uintptr_t>(first.get());
    std::memset(first.get(), 0xFF, 2 * MIB);
    first.reset();
    const CPixels second = Allocate(2 * MIB, true);
    ASSERT_EQ(reinterpret_cast<std::uintptr_t>(second.get()), uiFirst);
    EXPECT_TRUE(std::all_of(second.get(), second.get() + 2 * MIB, [](unsigned char ui) { return ui == 0; }));
}

TEST(PixelBlocks, NothingIsIdleWithoutALargePicture)
{
    {
        std::vector<CPixels> vPixels;
        for (int i = 0; i < 5; ++i)
            vPixels.push_back(Allocate(MIB));
        vPixels.resize(1);
        EXPECT_EQ(GetIdlePixelBytes(), 4 * MIB);
        const CPixels small = Allocate(1000);
        vPixels.clear();
        EXPECT_EQ(GetIdlePixelBytes(), 0U);
    }
    EXPECT_EQ(GetIdlePixelBytes(), 0U);
}

TEST(PixelBlocks, SmallOnesAreNotKept)
{
    const CPixels other = Allocate(MIB);
    Allocate(1000).reset();
    EXPECT_EQ(GetIdlePixelBytes(), 0U);
}

// 500 MiB in ten pictures, then 100 of a mebibyte; nothing is written, so it takes no memory of the machine.
TEST(PixelBlocks, IdleOnesAreBoundedInBytesAndInNumber)
{
    const CPixels other = Allocate(MIB);
    std::vector<CPixels> vPixels;
    for (int i = 0; i < 10; ++i)
        vPixels.emplace_back(AllocatePixels(50 * MIB, false));
    vPixels.clear();
    EXPECT_EQ(GetIdlePixelBytes(), 350 * MIB);
    for (int i = 0; i < 100; ++i)
        vPixels.emplace_back(AllocatePixels(MIB, false));
    vPixels.clear();
    EXPECT_EQ(GetIdlePixelBytes(), 64 * MIB);
}

TEST(PixelBlocks, LivingAndIdleOnesNeverHoldMoreThanTheLivingOnesOnceDid)
{
    CPixels large = Allocate(3 * MIB);
    Allocate(2 * MIB).reset();  // 5 lived
    EXPECT_EQ(GetIdlePixelBytes(), 2 * MIB);
    const CPixels small = Allocate(MIB);
    large.reset();  // 1 lives; with 3 and 2 idle it were 6, so the 2 go
    EXPECT_EQ(GetIdlePixelBytes(), 3 * MIB);
}

TEST(PixelBlocks, ASizeThatNoMemoryHoldsGivesNoneAndKeepsNothing)
{
    const CPixels other = Allocate(MIB);
    Allocate(2 * MIB).reset();
    EXPECT_EQ(AllocatePixels(std::size_t{1} << 62, false), nullptr);
    EXPECT_EQ(GetIdlePixelBytes(), 0U);
}

TEST(PixelBlocks, ThreadsShareThem)
{
    std::vector<std::thread> vThreads;
    for (unsigned char ui = 1; ui <= 4; ++ui)
    {
        vThreads.emplace_back([ui] {
            for (int i = 0; i < test_support::FullFromAQuarter(200); ++i)
            {
                const std::size_t uiSize = MIB / 2 + static_cast<std::size_t>(i % 3) * 4096;
                const CPixels pixels = Allocate(uiSize);
                std::memset(pixels.get(), ui, uiSize);
                std::this_thread::yield();
                EXPECT_EQ(std::count(pixels.get(), pixels.get() + uiSize, ui), static_cast<std::ptrdiff_t>(uiSize));
            }
        });
    }
    for (std::thread& thread : vThreads)
        thread.join();
    EXPECT_EQ(GetIdlePixelBytes(), 0U);
}
