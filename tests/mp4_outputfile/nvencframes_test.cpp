// Frames through NVENC: pixels in the encoder's surfaces, and frames that fail.
#include "output_fixture.h"

#include <cwctype>

#include "support/bytes_at_page_end.h"
#include "support/short_memory.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
// The text with one 9 for all digits of a whole number, and one for each after the point.
std::wstring WithNinesForDigits(const std::wstring& wszText)
{
    std::wstring wszShape;
    bool bAfterPoint = false;
    for (const wchar_t wch : wszText)
    {
        if (wch == L'.') bAfterPoint = true;
        if (!std::iswdigit(static_cast<std::wint_t>(wch)))
            wszShape += wch;
        else if (bAfterPoint || wszShape.empty() || wszShape.back() != L'9')
            wszShape += L'9';
    }
    return wszShape;
}

constexpr std::uint8_t g_bPad = 0xEE;  // bytes of the host's block that belong to no pixel

class NvencFramesTest : public OutputTest
{
protected:
    // What a surface holds of one row that began with pixel uiFirst of the host's block: B, G, R, 255.
    static Bytes Row(const Bytes& vPixels, std::size_t uiFirst, std::size_t uiPixels)
    {
        Bytes vRow;
        for (std::size_t ui = 0; ui < uiPixels; ++ui)
        {
            const auto pixel = vPixels.begin() + static_cast<std::ptrdiff_t>(uiFirst + ui * 3);
            vRow.insert(vRow.end(), pixel, pixel + 3);
            vRow.push_back(255);
        }
        return vRow;
    }
    const MemorySurface& SurfaceOfSlot(std::size_t uiSlot) const { return *m_d3d.m_vSurfaces.at(uiSlot + 1); }
    static Bytes Numbered(std::size_t uiSize)
    {
        Bytes vBytes(uiSize);
        for (std::size_t ui = 0; ui < uiSize; ++ui)
            vBytes[ui] = static_cast<std::uint8_t>(ui);
        return vBytes;
    }
};
}  // namespace

// --- pixels

TEST_F(NvencFramesTest, PixelsAreWidenedToFourBytesWithAFullAlpha)
{
    m_vPixels = {10, 20, 30, 11, 21, 31, g_bPad, g_bPad, 12, 22, 32, 13, 23, 33, g_bPad, g_bPad};
    const OutputPtr pFile = MakeFile(2, 2);
    ASSERT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    EXPECT_THAT(SurfaceOfSlot(0).GetRow(0), ElementsAre(10, 20, 30, 255, 11, 21, 31, 255));
    EXPECT_THAT(SurfaceOfSlot(0).GetRow(1), ElementsAre(12, 22, 32, 255, 13, 23, 33, 255));
    for (const UINT y : {0U, 1U})
        EXPECT_THAT(SurfaceOfSlot(0).GetAfterRow(y), testing::Each(MemorySurface::s_bUnwritten));
}

// 5 pixels are 15 bytes, so 16 with padding; of the even width they are 18, so 20. The host describes 3 rows of 16.
TEST_F(NvencFramesTest, AnOddPicturesRowsAreReadAtThePitchOfTheEvenWidth)
{
    m_vPixels = Numbered(16 * 3);
    const OutputPtr pFile = MakeFile(5, 3);
    ASSERT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    ASSERT_EQ(SurfaceOfSlot(0).m_uiWidth, 6U);
    ASSERT_EQ(SurfaceOfSlot(0).m_uiHeight, 4U);
    for (UINT y = 0; y < 2; ++y)
        EXPECT_EQ(SurfaceOfSlot(0).GetRow(y), Row(m_vPixels, y * 20, 6)) << "row " << y;
}

// The third row begins at 40 and the fourth at 60.
TEST_F(NvencFramesTest, BytesPastAnOddPictureComeFromTheRowAbove)
{
    m_vPixels = Numbered(16 * 3);
    const OutputPtr pFile = MakeFile(5, 3);
    ASSERT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    Bytes vThird(18);
    for (std::uint8_t b = 0; b < 18; ++b)
        vThird[b] = static_cast<std::uint8_t>(b < 8 ? 40 + b : 20 + b);
    EXPECT_EQ(SurfaceOfSlot(0).GetRow(2), Row(vThird, 0, 6));
    EXPECT_EQ(SurfaceOfSlot(0).GetRow(3), Row(vThird, 0, 6));
}

TEST_F(NvencFramesTest, WithoutARowAboveTheBytesPastAnOddPictureAreBlack)
{
    m_vPixels = {10, 20, 30, 40};
    const OutputPtr pFile = MakeFile(1, 1);
    ASSERT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    for (const UINT y : {0U, 1U})
        EXPECT_THAT(SurfaceOfSlot(0).GetRow(y), ElementsAre(10, 20, 30, 255, 40, 0, 0, 255));
}

TEST_F(NvencFramesTest, NothingIsReadPastThePictureThatTheHostDescribed)
{
    struct SSize
    {
        std::uint32_t m_uiWidth;
        std::uint32_t m_uiHeight;
        std::size_t m_uiBytes;
    };
    for (const SSize& size : {SSize{321, 239, 230396}, SSize{5, 1001, 16016}, SSize{7, 4, 96}, SSize{64, 47, 9024},
                              SSize{64, 48, 9216}, SSize{1, 1, 4}, SSize{1, 2, 8}})
    {
        const CBytesAtPageEnd pixels(Numbered(size.m_uiBytes));
        const OutputPtr pFile = MakeFile(size.m_uiWidth, size.m_uiHeight);
        EXPECT_EQ(pFile->WriteNextFrame(pixels.Get()), QM_OK) << size.m_uiWidth << " x " << size.m_uiHeight;
    }
}

TEST_F(NvencFramesTest, APictureThatWasRefusedIsReadAtThePitchOfItsOwnWidth)
{
    SQmImageAttributes attributes = test_support::PictureAttributes(5, 3);
    attributes.m_uiComponents = 4;
    const OutputPtr pFile = MakeFile();
    ASSERT_EQ(Announce(*pFile, &attributes), QM_ERR_RANGE);
    m_vPixels = Numbered(16 * 3);
    ASSERT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    for (UINT y = 0; y < 3; ++y)
        EXPECT_EQ(SurfaceOfSlot(0).GetRow(y), Row(m_vPixels, y * 16, 5)) << "row " << y;
}

// A third of the bytes that 24-bit pixels take, and nothing after them may be read.
TEST_F(NvencFramesTest, ARefusedPictureOfFewerBytesIsNotRead)
{
    SQmImageAttributes attributes = test_support::PictureAttributes(64, 48);
    attributes.m_uiComponents = 1;
    const OutputPtr pFile = MakeFile();
    ASSERT_EQ(Announce(*pFile, &attributes), QM_ERR_RANGE);
    m_vPixels.resize(64 * 48);
    m_vPixels.shrink_to_fit();
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_ERR_FAIL);
    EXPECT_THAT(m_d3d.m_vCalls, testing::IsEmpty());
}

// The encoder's surfaces are of the first size, and the file's times can't be right without the picture that they don't
// take.
TEST_F(NvencFramesTest, ASizeAnnouncedInTheMiddleOfAFileEndsItAfterTheLastGoodFrame)
{
    for (const std::uint32_t uiOther : {32U, 128U})
    {
        const OutputPtr pFile = MakeFile(64, 48);
        WriteFrames(*pFile, 5);
        m_vPixels.assign(std::size_t{128} * 3 * 128, 0);
        const SQmImageAttributes other = test_support::PictureAttributes(uiOther, uiOther);
        ASSERT_EQ(Announce(*pFile, &other), QM_OK);
        EXPECT_EQ(WriteAt(*pFile, 50.0), QM_ERR_FAIL);
        const SQmImageAttributes former = test_support::PictureAttributes(64, 48);
        ASSERT_EQ(Announce(*pFile, &former), QM_OK);
        EXPECT_EQ(WriteAt(*pFile, 60.0), QM_ERR_FAIL);
        ASSERT_EQ(Announce(*pFile, &other), QM_OK);
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);

        const SMuxedFile file = ReadMuxedFile(m_target.Bytes());
        EXPECT_EQ(file.m_moov.m_uiWidth, 64U);
        EXPECT_EQ(file.m_moov.m_uiHeight, 48U);
        EXPECT_EQ(file.m_moov.m_vSizes.size(), 5U);
        EXPECT_EQ(file.m_moov.m_vDeltas, std::vector<std::uint32_t>(7, 100));  // every frame has a time, failed or not
    }
}

TEST_F(NvencFramesTest, TheWholeSurfaceIsLockedAndUnlockedBeforeItIsSent)
{
    const OutputPtr pFile = MakeFile(64, 48);
    ASSERT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    m_d3d.m_funcCalled = [this](const std::string& strCall) { m_vOrder.push_back(strCall); };
    m_runtime.m_funcEntered = [this](const std::string& strEntry) { m_vOrder.push_back(strEntry); };
    ASSERT_EQ(WriteAt(*pFile, 1.0), QM_OK);
    EXPECT_THAT(m_vOrder,
                ElementsAre("LockRect(null, 0)", "UnlockRect()", "nvEncMapInputResource", "nvEncEncodePicture"));
}

TEST_F(NvencFramesTest, PicturesGoRoundTheRingOfSurfaces)
{
    const OutputPtr pFile = MakeFile(2, 2);
    for (std::uint8_t b = 0; b < 6; ++b)
    {
        m_vPixels.assign(16, b);
        ASSERT_EQ(WriteAt(*pFile, b), QM_OK);
    }
    EXPECT_EQ(SurfaceOfSlot(0).GetRow(0).at(0), 4);
    EXPECT_EQ(SurfaceOfSlot(1).GetRow(0).at(0), 5);
    EXPECT_EQ(SurfaceOfSlot(2).GetRow(0).at(0), 2);
    EXPECT_EQ(SurfaceOfSlot(3).GetRow(0).at(0), 3);
}

TEST_F(NvencFramesTest, PicturesAreSentWithoutWishes)
{
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 2);
    ASSERT_EQ(m_runtime.m_vPictures.size(), 2U);
    for (const NV_ENC_PIC_PARAMS& picture : m_runtime.m_vPictures)
    {
        EXPECT_EQ(picture.encodePicFlags, 0U);
        EXPECT_EQ(static_cast<int>(picture.pictureType), 0);
        EXPECT_EQ(picture.inputWidth, 64U);
        EXPECT_EQ(picture.inputHeight, 48U);
    }
}

TEST_F(NvencFramesTest, AFailedUnlockDoesNotMatter)
{
    m_d3d.m_hrUnlock = D3DERR_INVALIDCALL;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_OK);
}

// Samples of later frames would be listed at the times of earlier ones.
TEST_F(NvencFramesTest, ASurfaceThatCantBeLockedEndsTheFileAfterTheLastGoodFrame)
{
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 1);
    m_d3d.m_hrLock = D3DERR_DEVICELOST;
    EXPECT_EQ(WriteAt(*pFile, 10.0), QM_ERR_FAIL);
    m_d3d.m_hrLock = S_OK;
    EXPECT_EQ(WriteAt(*pFile, 20.0), QM_ERR_FAIL);
    EXPECT_EQ(m_runtime.Count("nvEncEncodePicture"), 1);
    EXPECT_THAT(pFile->GetTimes(), ElementsAre(0.0, 10.0, 20.0));
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(ReadMuxedFile(m_target.Bytes()).m_moov.m_vSizes.size(), 1U);
}

// --- packets

TEST_F(NvencFramesTest, TheFirstThreeFramesYieldNoPacketSoThatSamplesLagBehindTimes)
{
    OpenNvencWriter writer;
    ASSERT_EQ(writer.OpenAt(WidePath(m_target)), S_OK);
    const SQmImageAttributes attributes = test_support::PictureAttributes(64, 48);
    SFrameTimes times;
    std::vector<std::size_t> vSamples;
    for (std::uint32_t ui = 0; ui < 6; ++ui)
    {
        times.m_vecFrameTimes.push_back(ui);
        ASSERT_EQ(writer.WriteFrame(ui, {m_vPixels.data(), attributes, attributes}, times), EPictureFate::Taken);
        vSamples.push_back(writer.m_muxedFile.GetLog().m_vecSampleSizes.size());
    }
    EXPECT_THAT(vSamples, ElementsAre(0U, 0U, 0U, 1U, 2U, 3U));
    writer.Close(times);
    EXPECT_EQ(ReadMuxedFile(m_target.Bytes()).m_moov.m_vSizes.size(), 6U);
}

TEST_F(NvencFramesTest, AnEncoderThatKeepsFramesBackIsNoFailure)
{
    m_runtime.m_nKeptPictures = 2;
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 5);
    EXPECT_THAT(m_diagnostics.TextsOf(g_nLineEncodeFrame), IsEmpty());
}

// --- the diagnostics

TEST_F(NvencFramesTest, EveryFrameReportsHowLongItTook)
{
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 5);
    EXPECT_THAT(m_diagnostics.LineNumbers(), ElementsAre(g_nLineParameters, g_nLineFrameTime, g_nLineFrameTime,
                                                         g_nLineFrameTime, g_nLineFrameTime, g_nLineFrameTime));
    for (const SDiagnosticsLine& line : m_diagnostics.m_vLines)
        EXPECT_EQ(line.m_strFile, "mul_imageformat/w32_imageformat_mp4/mp4_outputfile");
    for (const std::wstring& wszText : m_diagnostics.TextsOf(g_nLineFrameTime))
        EXPECT_EQ(WithNinesForDigits(wszText), L"NVENC 9.99 ms");
}

TEST_F(NvencFramesTest, TheReportedTimeIsThatOfTheWholeFrame)
{
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 1);
    m_runtime.m_funcEntered = [](const std::string& strEntry) {
        if (strEntry == "nvEncEncodePicture") Sleep(20);
    };
    const double dBegin = QM_GetTimeCounter();
    EXPECT_EQ(WriteAt(*pFile, 10.0), QM_OK);
    const double dTaken = QM_GetTimeCounter() - dBegin;
    const std::vector<std::wstring> vTexts = m_diagnostics.TextsOf(g_nLineFrameTime);
    ASSERT_EQ(vTexts.size(), 2U);
    const double dReported = std::stod(vTexts[1].substr(6));
    EXPECT_GE(dReported, 15.0);  // a sleep may end a tick of the system's clock early
    EXPECT_LE(dReported, dTaken + 0.01);
}

// --- failures

TEST_F(NvencFramesTest, AFrameThatTheEncoderRefusesKeepsItsTimeAndOthersFollow)
{
    m_runtime.Fail("nvEncEncodePicture", 2, NV_ENC_ERR_ENCODER_BUSY);
    {
        const OutputPtr pFile = MakeFile(64, 48);
        EXPECT_EQ(WriteAt(*pFile, 0.0), QM_OK);
        EXPECT_EQ(WriteAt(*pFile, 10.0), QM_ERR_FAIL);
        EXPECT_EQ(WriteAt(*pFile, 20.0), QM_OK);
        EXPECT_EQ(WriteAt(*pFile, 30.0), QM_OK);
        EXPECT_EQ(pFile->m_nFrameCounter, 4U);
        EXPECT_THAT(pFile->GetTimes(), ElementsAre(0.0, 10.0, 20.0, 30.0));
    }
    EXPECT_THAT(m_diagnostics.TextsOf(g_nLineEncodeFrame),
                ElementsAre(L"NvEncoder::EncodeFrame : nvEncEncodePicture API failed\n"));
    EXPECT_EQ(m_diagnostics.TextsOf(g_nLineFrameTime).size(), 3U);  // none for the frame that failed

    const SMuxedMoov moov = ReadMuxedFile(m_target.Bytes()).m_moov;
    EXPECT_EQ(moov.m_vDeltas.size(), 4U);
    EXPECT_EQ(moov.m_vSizes.size(), 3U);
}

TEST_F(NvencFramesTest, AFirstFrameThatFailsLeavesTheEncoderForTheOthers)
{
    m_runtime.Fail("nvEncMapInputResource", 1, NV_ENC_ERR_MAP_FAILED);
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_ERR_FAIL);
    EXPECT_THAT(m_diagnostics.TextsOf(g_nLineEncodeFrame),
                ElementsAre(L"NvEncoder::MapResources : m_nvenc.nvEncMapInputResource(m_hEncoder, &mapInputResource) "
                            L"returned error 16\n"));
    EXPECT_EQ(WriteAt(*pFile, 10.0), QM_OK);
    EXPECT_EQ(m_runtime.Count("nvEncInitializeEncoder"), 1);
}

TEST_F(NvencFramesTest, APercentSignInAFailuresTextIsPartOfTheFormat)
{
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 3);
    m_runtime.m_funcEntered = [](const std::string& strEntry) {
        if (strEntry == "nvEncEncodePicture") throw NVENCException("Entry", "50%% busy", NV_ENC_ERR_GENERIC);
    };
    EXPECT_EQ(WriteAt(*pFile, 30.0), QM_ERR_FAIL);
    EXPECT_THAT(m_diagnostics.TextsOf(g_nLineEncodeFrame), ElementsAre(L"Entry : 50% busy\n"));
}

TEST_F(NvencFramesTest, APercentSignInTheTextOfARealFailureDoesNoHarm)
{
    m_runtime.Fail("nvEncUnmapInputResource", 1, NV_ENC_ERR_GENERIC);
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 3);
    EXPECT_EQ(WriteAt(*pFile, 30.0), QM_ERR_FAIL);
    EXPECT_THAT(m_diagnostics.TextsOf(g_nLineEncodeFrame),
                ElementsAre(L"NvEncoder::GetEncodedPacket : m_nvenc.nvEncUnmapInputResource(m_hEncoder, "
                            L"m_vMappedInputBuffers[m_iGot % m_nEncoderBuffer]) returned error 20\n"));
}

TEST_F(NvencFramesTest, AFrameThatMemoryDoesNotSufficeForEndsTheFileUnfinished)
{
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 4);  // one packet came
    {
        const CShortMemory memory(2'000'000, 4'000'000);  // for 100000 packets
        EXPECT_EQ(WriteAt(*pFile, 40.0), QM_ERR_FAIL);
        EXPECT_EQ(memory.GetRefused(), 1U);
    }
    EXPECT_EQ(WriteAt(*pFile, 50.0), QM_ERR_FAIL);
    EXPECT_EQ(m_runtime.Count("nvEncEncodePicture"), 4);
    EXPECT_THAT(pFile->GetTimes(), ElementsAre(0.0, 10.0, 20.0, 30.0, 40.0, 50.0));
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    const Bytes vFile = m_target.Bytes();
    ASSERT_EQ(vFile.size(), 48U + 128);
    EXPECT_EQ(Bytes(vFile.begin() + 40, vFile.begin() + 44), (Bytes{0x1A, 0xBE, 0xCE, 0xDA}));
}

TEST_F(NvencFramesTest, WithoutMemoryForTheEncoderTheFirstFrameFails)
{
    const OutputPtr pFile = MakeFile(64, 48);
    {
        const CShortMemory memory(sizeof(NvEncoderD3D9), sizeof(NvEncoderD3D9));
        EXPECT_EQ(WriteAt(*pFile, 0.0), QM_ERR_FAIL);
        EXPECT_EQ(memory.GetRefused(), 1U);
    }
    EXPECT_EQ(WriteAt(*pFile, 10.0), QM_ERR_FAIL);
    EXPECT_THAT(m_runtime.m_vCalls, IsEmpty());
}

// Only rows that the host's picture doesn't hold need memory of their own.
TEST_F(NvencFramesTest, WithoutMemoryForARowTheSurfaceIsUnlockedAndTheFileEnds)
{
    const OutputPtr pFile = MakeFile(63, 47);
    m_vPixels = Bytes(192 * 47, 0x80);
    ASSERT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    const std::size_t uiBefore = m_d3d.m_vCalls.size();
    {
        const CShortMemory memory(64 * 3, 64 * 3);
        EXPECT_EQ(WriteAt(*pFile, 10.0), QM_ERR_FAIL);
        EXPECT_EQ(memory.GetRefused(), 1U);
    }
    const auto itCalls = m_d3d.m_vCalls.begin() + static_cast<std::ptrdiff_t>(uiBefore);
    EXPECT_THAT(std::vector<std::string>(itCalls, m_d3d.m_vCalls.end()),
                ElementsAre(testing::StartsWith("LockRect"), testing::StartsWith("UnlockRect")));
    EXPECT_EQ(WriteAt(*pFile, 20.0), QM_ERR_FAIL);
}

TEST_F(NvencFramesTest, WithoutMemoryForAFirstFramesTimeTheObjectIsAtItsEnd)
{
    const OutputPtr pFile = MakeFile(64, 48);
    {
        const CShortMemory memory(1'000'000, 1'100'000);  // a block of the list of times
        EXPECT_EQ(WriteAt(*pFile, 5.0), QM_ERR_FAIL);
        EXPECT_EQ(memory.GetRefused(), 1U);
    }
    EXPECT_EQ(WriteAt(*pFile, 15.0), QM_ERR_FAIL);
    EXPECT_THAT(m_runtime.m_vCalls, IsEmpty());
}

TEST_F(NvencFramesTest, WithoutMemoryForAPacketTheFileEndsThereUnfinished)
{
    {
        const OutputPtr pFile = MakeFile(64, 48);
        WriteFrames(*pFile, 4);
        {
            const CShortMemory memory(2);  // the first is the list of packets
            EXPECT_EQ(WriteAt(*pFile, 40.0), QM_ERR_FAIL);
            EXPECT_EQ(memory.GetRefused(), 1U);
        }
        EXPECT_EQ(WriteAt(*pFile, 50.0), QM_ERR_FAIL);
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    }
    const Bytes vFile = m_target.Bytes();
    ASSERT_EQ(vFile.size(), 48U + 128);
    EXPECT_EQ(Bytes(vFile.begin() + 40, vFile.begin() + 44), (Bytes{0x1A, 0xBE, 0xCE, 0xDA}));
}
