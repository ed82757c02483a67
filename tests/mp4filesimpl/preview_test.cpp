// Previews, on a scripted session whose first picture is known.
#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

#include "scripted_file.h"

namespace
{

class Preview : public testing::Test
{
protected:
    static SScript ScriptOf(std::uint32_t uiWidth, std::uint32_t uiHeight)
    {
        SScript script;
        script.m_vTimesMs = EvenTimes(3, 40);
        script.m_uiWidth = uiWidth;
        script.m_uiHeight = uiHeight;
        return script;
    }

    // Draws into a buffer of uiBytes that held 0x5A everywhere.
    static QmStatus Draw(CQmMP4InputFile& file, std::uint32_t uiWidth, std::uint32_t uiHeight, bool bAutoContrast,
                         std::vector<unsigned char>& vPixels, std::size_t uiBytes)
    {
        vPixels.assign(uiBytes, 0x5A);
        return file.GetPreviewBitmap(&uiWidth, &uiHeight, vPixels.data(), nullptr, bAutoContrast, nullptr, nullptr);
    }

    CFormatReference m_format;
    std::vector<unsigned char> m_vPixels;
};

TEST_F(Preview, WithoutABufferItReturnsTheNativeSize)
{
    CScriptedFile file(m_format.Get(), ScriptOf(6, 4));
    std::uint32_t uiWidth = 1;
    std::uint32_t uiHeight = 1;
    EXPECT_EQ(file.GetPreviewBitmap(&uiWidth, &uiHeight, nullptr, nullptr, true, nullptr, nullptr), QM_OK);
    EXPECT_EQ(uiWidth, 6U);
    EXPECT_EQ(uiHeight, 4U);
}

TEST_F(Preview, InNativeSizeWithoutContrastItIsTheFrameAtTheFrameStoresPitch)
{
    CScriptedFile file(m_format.Get(), ScriptOf(5, 4));
    ASSERT_EQ(Draw(file, 5, 4, false, m_vPixels, 64 + 4), QM_OK);
    // Two black pixels in each row for the number 0, then the brightness of the row. What pads a row is left out.
    for (unsigned uiRow = 0; uiRow < 4; ++uiRow)
    {
        std::vector<unsigned char> vRow(15, static_cast<unsigned char>(GreyOf(16 + uiRow)));
        std::fill_n(vRow.begin(), 6, 0);
        const auto itRow = m_vPixels.begin() + uiRow * 16;
        EXPECT_EQ(std::vector<unsigned char>(itRow, itRow + 15), vRow) << uiRow;
    }
    EXPECT_EQ(m_vPixels[64], 0x5A);
}

// Every row has a dark pixel and a bright one, which contrast makes black and white. Padding isn't written.
TEST_F(Preview, AWidthOf2WithContrastHasRows8BytesApart)
{
    SScript script = ScriptOf(2, 3);
    script.m_uiFirstNumber = 150 * 200 + 50;
    CScriptedFile file(m_format.Get(), script);
    ASSERT_EQ(Draw(file, 2, 3, true, m_vPixels, 24), QM_OK);
    const std::vector<unsigned char> vRow = {0, 0, 0, 255, 255, 255, 0x5A, 0x5A};
    for (const std::ptrdiff_t nRow : {0, 1, 2})
    {
        const auto itRow = m_vPixels.begin() + nRow * 8;
        EXPECT_EQ(std::vector<unsigned char>(itRow, itRow + 8), vRow) << nRow;
    }
}

TEST_F(Preview, InAnotherSizeRowsAreThreeTimesTheWidthPlus1ApartCutTo4Bytes)
{
    CScriptedFile file(m_format.Get(), ScriptOf(8, 8));
    ASSERT_EQ(Draw(file, 1, 2, false, m_vPixels, 8), QM_OK);
    EXPECT_NE(m_vPixels[0], 0x5A);
    EXPECT_EQ(m_vPixels[3], 0x5A);
    EXPECT_NE(m_vPixels[4], 0x5A);
    EXPECT_EQ(m_vPixels[7], 0x5A);
}

// Half as wide: every pixel is the mean of two of the same brightness. The first two are the number's digits.
TEST_F(Preview, InAnotherSizeItIsThePicture)
{
    SScript script = ScriptOf(32, 100);
    script.m_uiFirstNumber = 150 * 200 + 150;
    CScriptedFile file(m_format.Get(), script);
    constexpr std::size_t PITCH = 48;  // 3 * 17, cut to 4 bytes
    ASSERT_EQ(Draw(file, 16, 100, false, m_vPixels, PITCH * 100), QM_OK);
    for (unsigned uiRow = 0; uiRow < 100; ++uiRow)
    {
        std::vector<unsigned char> vRow(48, static_cast<unsigned char>(GreyOf(16 + uiRow)));
        std::fill_n(vRow.begin(), 3, static_cast<unsigned char>(GreyOf(16 + 150)));
        const auto itRow = m_vPixels.begin() + static_cast<std::ptrdiff_t>(uiRow * PITCH);
        EXPECT_EQ(std::vector<unsigned char>(itRow, itRow + 48), vRow) << uiRow;
    }
}

TEST_F(Preview, AutoContrastSpreadsTheFirstFrameOverTheWholeRange)
{
    SScript script = ScriptOf(32, 100);  // rows of growing brightness, from black to GreyOf(115)
    CScriptedFile file(m_format.Get(), script);
    const std::size_t uiPitch = 3 * 33 & ~std::size_t{3};
    ASSERT_EQ(Draw(file, 32, 100, true, m_vPixels, uiPitch * 100), QM_OK);
    EXPECT_EQ(m_vPixels[3 * 5], 0);
    EXPECT_GE(m_vPixels[uiPitch * 99 + 3 * 5], 250);
    EXPECT_GT(m_vPixels[uiPitch * 50 + 3 * 5], m_vPixels[uiPitch * 49 + 3 * 5]);
}

TEST_F(Preview, ASizeOfZeroOrOneThatNoMemoryHoldsIsRefused)
{
    CScriptedFile file(m_format.Get(), ScriptOf(4, 2));
    EXPECT_EQ(Draw(file, 0, 5, false, m_vPixels, 64), QM_ERR_FAIL);
    EXPECT_EQ(Draw(file, 5, 0, true, m_vPixels, 64), QM_ERR_FAIL);
    EXPECT_EQ(Draw(file, 0xFFFFFFFF, 0xFFFFFFFF, false, m_vPixels, 64), QM_ERR_FAIL);
    EXPECT_EQ(Draw(file, 0x7FFFFFFF, 1, false, m_vPixels, 64), QM_ERR_FAIL);
    EXPECT_EQ(m_vPixels, std::vector<unsigned char>(64, 0x5A));
    EXPECT_EQ(file.GetPreviewBitmap(nullptr, nullptr, nullptr, nullptr, false, nullptr, nullptr), QM_ERR_FAIL);
}

TEST_F(Preview, AFileThatDoesNotOpenHasNone)
{
    CQmMP4InputFile file(m_format.Get(), CQmStringW(L"no-such-file.mp4"), false, nullptr);
    EXPECT_EQ(Draw(file, 8, 8, false, m_vPixels, 256), QM_ERR_FAIL);
    EXPECT_EQ(Draw(file, 0, 0, false, m_vPixels, 256), QM_ERR_FAIL);
    EXPECT_EQ(Draw(file, 0, 0, true, m_vPixels, 256), QM_ERR_FAIL);
    EXPECT_EQ(m_vPixels, std::vector<unsigned char>(256, 0x5A));
}

TEST_F(Preview, AFirstFrameThatCannotBeReadIsDrawnBlack)
{
    SScript script = ScriptOf(8, 8);
    script.m_fnStart = [](int) { return E_FAIL; };
    CScriptedFile file(m_format.Get(), script);
    ASSERT_EQ(Draw(file, 2, 2, false, m_vPixels, 16), QM_OK);  // the read's status isn't looked at
    EXPECT_EQ(std::vector<unsigned char>(m_vPixels.begin(), m_vPixels.begin() + 6), std::vector<unsigned char>(6, 0));
    EXPECT_EQ(Draw(file, 8, 8, false, m_vPixels, 24 * 8), QM_ERR_FAIL);  // and straight into the buffer it is
}

}  // namespace
