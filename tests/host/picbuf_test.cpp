#include "hostapi/hostpicbase.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <thread>
#include <vector>

namespace
{

// A record made as modules make it.
struct SPicture : SQmPicBuf
{
    SPicture() : SQmPicBuf{} { SQmPicBufAPI_Base::Init(this); }
    ~SPicture() { SQmPicBufAPI_Base::Free(this); }
    SPicture(const SPicture&) = delete;
    SPicture& operator=(const SPicture&) = delete;

    QmStatus Reinit(std::uint32_t uiWidth, std::uint32_t uiHeight, std::uint32_t uiPitch, std::uint32_t uiBits,
                    std::uint32_t uiComponents, bool bScratch)
    {
        return SQmPicBufAPI_Base::Reinit(this, uiWidth, uiHeight, uiPitch, uiBits, uiComponents, bScratch);
    }
};

void ExpectNoPixels(const SQmPicBuf& pic)
{
    EXPECT_EQ(pic.m_pData, nullptr);
    EXPECT_EQ(pic.m_uiSize, 0u);
    EXPECT_EQ(pic.m_uiWidth, 0u);
    EXPECT_EQ(pic.m_uiHeight, 0u);
    EXPECT_EQ(pic.m_uiWidthBytes, 0u);
}

}  // namespace

TEST(PicBuf, WidthBytesAreRoundedUp)
{
    EXPECT_EQ(SQmPicBufAPI_Base::CalcWidthBytes(5, 8, 3, 4), 16u);
    EXPECT_EQ(SQmPicBufAPI_Base::CalcWidthBytes(4, 8, 3, 4), 12u);
    EXPECT_EQ(SQmPicBufAPI_Base::CalcWidthBytes(1, 8, 3, 4), 4u);
    EXPECT_EQ(SQmPicBufAPI_Base::CalcWidthBytes(0, 8, 3, 4), 0u);
    EXPECT_EQ(SQmPicBufAPI_Base::CalcWidthBytes(5, 8, 3, 1), 15u);
    EXPECT_EQ(SQmPicBufAPI_Base::CalcWidthBytes(5, 8, 2, 32), 32u);
    EXPECT_EQ(SQmPicBufAPI_Base::CalcWidthBytes(5, 12, 3, 4), 32u);
    EXPECT_EQ(SQmPicBufAPI_Base::CalcWidthBytes(5, 9, 1, 4), 12u);
    EXPECT_EQ(SQmPicBufAPI_Base::CalcWidthBytes(1920, 8, 3, 4), 5760u);
}

TEST(PicBuf, WidthBytesThatDoNotFitAreZero)
{
    EXPECT_EQ(SQmPicBufAPI_Base::CalcWidthBytes(1431655765, 8, 3, 1), 4294967295u);
    EXPECT_EQ(SQmPicBufAPI_Base::CalcWidthBytes(1431655765, 8, 3, 4), 0u);
    EXPECT_EQ(SQmPicBufAPI_Base::CalcWidthBytes(0xFFFFFFFF, 16, 4, 4), 0u);
    EXPECT_EQ(SQmPicBufAPI_Base::CalcWidthBytes(5, 7, 3, 4), 0u);
    EXPECT_EQ(SQmPicBufAPI_Base::CalcWidthBytes(5, 17, 3, 4), 0u);
    EXPECT_EQ(SQmPicBufAPI_Base::CalcWidthBytes(5, 8, 0, 4), 0u);
    EXPECT_EQ(SQmPicBufAPI_Base::CalcWidthBytes(5, 8, 3, 0), 0u);
}

TEST(PicBuf, ReinitFillsTheRecord)
{
    SPicture pic;
    ASSERT_EQ(pic.Reinit(5, 7, 0, 8, 3, false), QM_OK);
    EXPECT_EQ(pic.m_uiWidth, 5u);
    EXPECT_EQ(pic.m_uiHeight, 7u);
    EXPECT_EQ(pic.m_uiWidthBytes, 16u);
    EXPECT_EQ(pic.m_uiBits, 8u);
    EXPECT_EQ(pic.m_uiComponents, 3u);
    EXPECT_EQ(pic.m_uiSize, 112u);
    ASSERT_NE(pic.m_pData, nullptr);

    ASSERT_EQ(pic.Reinit(3, 2, 100, 16, 4, true), QM_OK);  // the former pixels are freed
    EXPECT_EQ(pic.m_uiWidthBytes, 100u);
    EXPECT_EQ(pic.m_uiBits, 16u);
    EXPECT_EQ(pic.m_uiSize, 200u);
}

TEST(PicBuf, PixelsSuitVectorCode)
{
    for (std::uint32_t uiWidth = 1; uiWidth < 200; uiWidth += 7)
    {
        for (const bool bScratch : {false, true})
        {
            SPicture pic;
            ASSERT_EQ(pic.Reinit(uiWidth, 3, 0, 8, 3, bScratch), QM_OK);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(pic.m_pData) % 64, 0u);
            // After the last row comes memory for one register. What is written there can be read back.
            std::memset(pic.m_pData + pic.m_uiSize, 0xA5, 64);
            EXPECT_EQ(std::count(pic.m_pData + pic.m_uiSize, pic.m_pData + pic.m_uiSize + 64, 0xA5), 64);
        }
    }
}

TEST(PicBuf, PixelsAreZeroUnlessTheyAreScratch)
{
    for (const std::uint32_t uiHeight : {3u, 1000u})
    {
        for (int i = 0; i < 3; ++i)
        {
            SPicture pic;
            ASSERT_EQ(pic.Reinit(500, uiHeight, 0, 8, 3, false), QM_OK);
            EXPECT_TRUE(std::all_of(pic.m_pData, pic.m_pData + pic.m_uiSize, [](unsigned char ui) { return ui == 0; }));
            std::memset(pic.m_pData, 0xFF, pic.m_uiSize);  // the next block may be the same memory
        }
    }
}

TEST(PicBuf, FreeTwiceIsHarmless)
{
    SPicture pic;
    ASSERT_EQ(pic.Reinit(5, 7, 0, 8, 3, false), QM_OK);
    EXPECT_EQ(SQmPicBufAPI_Base::Free(&pic), QM_OK);
    EXPECT_EQ(pic.m_pData, nullptr);
    EXPECT_EQ(pic.m_uiSize, 0u);
    EXPECT_EQ(SQmPicBufAPI_Base::Free(&pic), QM_OK);
    ASSERT_EQ(pic.Reinit(5, 7, 0, 8, 3, false), QM_OK);
    EXPECT_NE(pic.m_pData, nullptr);
}

TEST(PicBuf, InitClearsTheRecordWithoutFreeing)
{
    SQmPicBuf pic;
    std::memset(static_cast<void*>(&pic), 0xCC, sizeof(pic));
    EXPECT_EQ(SQmPicBufAPI_Base::Init(&pic), QM_OK);
    ExpectNoPixels(pic);
    EXPECT_EQ(SQmPicBufAPI_Base::Free(&pic), QM_OK);
}

TEST(PicBuf, NullsAreFailures)
{
    SPicture pic;
    EXPECT_EQ(SQmPicBufAPI_Base::Init(nullptr), QM_ERR_FAIL);
    EXPECT_EQ(SQmPicBufAPI_Base::Reinit(nullptr, 1, 1, 0, 8, 3, false), QM_ERR_FAIL);
    EXPECT_EQ(SQmPicBufAPI_Base::Free(nullptr), QM_ERR_FAIL);
    EXPECT_EQ(SQmPicBufAPI_Base::Copy(nullptr, &pic), QM_ERR_FAIL);
    EXPECT_EQ(SQmPicBufAPI_Base::Copy(&pic, nullptr), QM_ERR_FAIL);
    EXPECT_EQ(SQmPicBufAPI_Base::Copy(&pic, &pic), QM_ERR_FAIL);  // no pixels yet
}

TEST(PicBuf, AShapeThatIsTooLargeLeavesNoPixels)
{
    struct SShape
    {
        std::uint32_t m_uiWidth, m_uiHeight, m_uiPitch, m_uiBits, m_uiComponents;
        QmStatus m_nStatus;
    };
    constexpr std::uint32_t MAX = std::numeric_limits<std::uint32_t>::max();
    constexpr SShape SHAPES[] = {
        {5, 7, 14, 8, 3, QM_ERR_FAIL},                                            // rows wider than their pitch
        {1431655766, 1, 0, 8, 3, QM_ERR_FAIL},                                    // rows of more than 32 bits
        {MAX, MAX, 0, 16, 4, QM_ERR_FAIL},     {1, MAX, MAX, 8, 1, QM_ERR_FAIL},  // a block beyond the address space
        {5, 7, 0, 7, 3, QM_ERR_RANGE},         {5, 7, 0, 17, 3, QM_ERR_RANGE},
        {5, 7, 0, 264, 3, QM_ERR_RANGE},  // 8 in eight bits
        {5, 7, 0, 8, 0, QM_ERR_RANGE},         {5, 7, 0, 8, 5, QM_ERR_RANGE}};
    for (const SShape& shape : SHAPES)
    {
        SPicture pic;
        ASSERT_EQ(pic.Reinit(4, 4, 0, 8, 3, false), QM_OK);
        EXPECT_EQ(
            pic.Reinit(shape.m_uiWidth, shape.m_uiHeight, shape.m_uiPitch, shape.m_uiBits, shape.m_uiComponents, true),
            shape.m_nStatus);
        ExpectNoPixels(pic);
    }
}

TEST(PicBuf, LackOfMemoryLeavesNoPixels)
{
    // 2^42 bytes: inside the address space, and more than any machine has.
    SPicture pic;
    const QmStatus nStatus = pic.Reinit(1u << 14, 1u << 28, 0, 8, 1, false);
    if (nStatus == QM_OK) GTEST_SKIP() << "this system promises memory that it doesn't have";
    EXPECT_EQ(nStatus, QM_ERR_FAIL);
    ExpectNoPixels(pic);
}

TEST(PicBuf, APictureWithoutPixelsIsValid)
{
    SPicture pic;
    EXPECT_EQ(pic.Reinit(0, 5, 0, 8, 3, false), QM_OK);
    EXPECT_EQ(pic.m_uiSize, 0u);
    EXPECT_NE(pic.m_pData, nullptr);
    EXPECT_EQ(pic.Reinit(5, 0, 0, 8, 3, false), QM_OK);
    EXPECT_EQ(pic.m_uiSize, 0u);
    EXPECT_NE(pic.m_pData, nullptr);
}

TEST(PicBuf, CopyFollowsBothPitchesAndLeavesThePadding)
{
    SPicture source;
    SPicture target;
    ASSERT_EQ(source.Reinit(3, 4, 20, 8, 3, false), QM_OK);
    ASSERT_EQ(target.Reinit(3, 4, 0, 8, 3, false), QM_OK);
    for (std::size_t i = 0; i < source.m_uiSize; ++i)
        source.m_pData[i] = static_cast<unsigned char>(i);
    std::memset(target.m_pData, 0xEE, target.m_uiSize);
    ASSERT_EQ(SQmPicBufAPI_Base::Copy(&target, &source), QM_OK);
    for (std::size_t y = 0; y < 4; ++y)
    {
        for (std::size_t x = 0; x < 9; ++x)
            EXPECT_EQ(target.m_pData[y * 12 + x], y * 20 + x);
        for (std::size_t x = 9; x < 12; ++x)
            EXPECT_EQ(target.m_pData[y * 12 + x], 0xEE);
    }
    EXPECT_EQ(SQmPicBufAPI_Base::Copy(&source, &source), QM_OK);
}

TEST(PicBuf, CopyReadsForeignPixelsThroughACopiedRecord)
{
    SPicture real;
    ASSERT_EQ(real.Reinit(2, 2, 0, 8, 2, false), QM_OK);
    unsigned char auiForeign[2 * 32] = {1, 2, 3, 4};
    auiForeign[32] = 5;
    SQmPicBuf foreign = real;
    foreign.m_uiWidthBytes = 32;
    foreign.m_pData = auiForeign;
    ASSERT_EQ(SQmPicBufAPI_Base::Copy(&real, &foreign), QM_OK);
    EXPECT_EQ(real.m_pData[3], 4);
    EXPECT_EQ(real.m_pData[4], 5);
}

TEST(PicBuf, CopyRefusesOtherShapes)
{
    SPicture pic;
    ASSERT_EQ(pic.Reinit(4, 4, 0, 8, 3, false), QM_OK);
    const auto expectRefused = [&pic](std::uint32_t uiWidth, std::uint32_t uiHeight, std::uint32_t uiBits,
                                      std::uint32_t uiComponents) {
        SPicture other;
        ASSERT_EQ(other.Reinit(uiWidth, uiHeight, 0, uiBits, uiComponents, false), QM_OK);
        EXPECT_EQ(SQmPicBufAPI_Base::Copy(&pic, &other), QM_ERR_RANGE);
        EXPECT_EQ(SQmPicBufAPI_Base::Copy(&other, &pic), QM_ERR_RANGE);
    };
    expectRefused(5, 4, 8, 3);
    expectRefused(4, 3, 8, 3);
    expectRefused(4, 4, 9, 3);
    expectRefused(4, 4, 8, 2);
}

TEST(PicBuf, RecordsShareNothingBetweenThreads)
{
    std::vector<std::thread> vThreads;
    for (std::uint32_t i = 0; i < 4; ++i)
    {
        vThreads.emplace_back([i] {
            for (std::uint32_t k = 1; k < 200; ++k)
            {
                SPicture pic;
                ASSERT_EQ(pic.Reinit(k, 10, 0, 8, 3, k % 2 == 0), QM_OK);
                std::memset(pic.m_pData, static_cast<int>(i), pic.m_uiSize);
                EXPECT_EQ(pic.m_pData[pic.m_uiSize - 1], i);
            }
        });
    }
    for (std::thread& thread : vThreads)
        thread.join();
}
