// Which encoder a file gets, and when.
#include "output_fixture.h"

#include <filesystem>

using testing::ElementsAre;
using testing::IsEmpty;

using OutputCodecTest = OutputTest;

TEST_F(OutputCodecTest, NothingIsMadeBeforeTheFirstFrame)
{
    const OutputPtr pFile = MakeFile(64, 48);
    pFile->SetFrameTime(0.0);
    EXPECT_THAT(m_d3d.m_vCalls, IsEmpty());
    EXPECT_THAT(m_runtime.m_vCalls, IsEmpty());
    EXPECT_THAT(m_pFormat->m_vCalls, IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(m_target.Path()));
}

TEST_F(OutputCodecTest, ACloseWithoutAnyFrameLeavesNoFile)
{
    {
        const OutputPtr pFile = MakeFile(64, 48);
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    }
    EXPECT_THAT(m_d3d.m_vCalls, IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(m_target.Path()));
}

TEST_F(OutputCodecTest, Nvenc1IsNvenc)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    EXPECT_TRUE(pFile->IsNvenc());
    EXPECT_FALSE(pFile->IsAmf());
    EXPECT_EQ(m_runtime.Count("nvEncEncodePicture"), 1);
}

TEST_F(OutputCodecTest, Amf1IsAmf)
{
    m_pFormat->Choose(L"AMF1");
    const OutputPtr pFile = MakeFile(64, 48);
    pFile->SetFrameTime(0.0);
    pFile->WriteNextFrame(m_vPixels.data());
    EXPECT_TRUE(pFile->IsAmf());
    EXPECT_FALSE(pFile->IsNvenc());
    EXPECT_THAT(m_d3d.m_vCalls, IsEmpty());
    EXPECT_THAT(m_runtime.m_vCalls, IsEmpty());
}

TEST_F(OutputCodecTest, OnlyTheWholeCodeCounts)
{
    for (const wchar_t* pwszCode : {L"HQ", L"NQ", L"LQ", L"FST", L"", L"NVENC", L"NVENC10", L"NVENC1 ", L"nvenc1",
                                    L"NVENC2", L"AMF", L"AMF10", L"amf1", L"AMF2"})
    {
        m_pFormat->m_pwszCode = pwszCode;
        const OutputPtr pFile = MakeFile(64, 48);
        pFile->SetFrameTime(0.0);
        pFile->WriteNextFrame(m_vPixels.data());
        EXPECT_FALSE(pFile->IsNvenc()) << pwszCode;
        EXPECT_FALSE(pFile->IsAmf()) << pwszCode;
        EXPECT_THAT(m_d3d.m_vCalls, IsEmpty()) << pwszCode;
    }
}

// The output object doesn't choose a codec itself: it asks the format object for the row that stands for none, and that
// row's code decides.
TEST_F(OutputCodecTest, AHostThatNeverSetACodecGetsTheRowThatTheFormatGivesForNone)
{
    auto* const pFormat = new (__FILE__, __LINE__) CScriptedFormat;
    pFormat->AddRef();
    for (const wchar_t* pwszCode : {L"HQ", L"AMF1", L"NVENC1"})
    {
        pFormat->m_pwszCode = pwszCode;
        pFormat->m_vRowsAsked.clear();
        OpenOutputFile file(pFormat, CQmStringW(L"nowhere"));
        file.WriteNextFrame(m_vPixels.data());
        EXPECT_EQ(file.IsNvenc(), std::wstring(pwszCode) == L"NVENC1");
        EXPECT_EQ(file.IsAmf(), std::wstring(pwszCode) == L"AMF1");
        ASSERT_FALSE(pFormat->m_vRowsAsked.empty());
        EXPECT_THAT(pFormat->m_vRowsAsked, testing::Each(0xFFFFFFFFU));
    }
    pFormat->Release();
}

TEST_F(OutputCodecTest, TheCodecIsAskedForTwiceAtTheFirstFrameAndOnceAtEveryOther)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    EXPECT_THAT(m_pFormat->m_vCalls, ElementsAre("GetActiveCodec", "GetCodecInfo", "GetActiveCodec", "GetCodecInfo"));
    EXPECT_THAT(m_pFormat->m_vRowsAsked, ElementsAre(5U, 5U));
    m_pFormat->m_vCalls.clear();
    EXPECT_EQ(WriteAt(*pFile, 1.0), QM_OK);
    EXPECT_EQ(WriteAt(*pFile, 2.0), QM_OK);
    EXPECT_THAT(m_pFormat->m_vCalls, ElementsAre("GetActiveCodec", "GetCodecInfo", "GetActiveCodec", "GetCodecInfo"));
}

TEST_F(OutputCodecTest, TheCodecOfTheFirstFrameIsTheFilesCodec)
{
    m_pFormat->Choose(L"HQ");
    const OutputPtr pFile = MakeFile(64, 48);
    m_pFormat->Choose(L"NVENC1");  // after the object was made, before its first frame
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    m_pFormat->Choose(L"AMF1");
    EXPECT_EQ(WriteAt(*pFile, 1.0), QM_OK);
    m_pFormat->Choose(L"HQ");
    EXPECT_EQ(WriteAt(*pFile, 2.0), QM_OK);
    EXPECT_FALSE(pFile->IsAmf());
    EXPECT_EQ(m_runtime.Count("nvEncEncodePicture"), 3);
}

TEST_F(OutputCodecTest, NoOtherEncoderStandsInForOneThatIsMissing)
{
    m_runtimeFile.Use("none");
    const OutputPtr pFile = MakeFile(64, 48);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(WriteAt(*pFile, i), QM_ERR_FAIL);
    EXPECT_TRUE(pFile->IsNvenc());
    EXPECT_FALSE(pFile->IsAmf());
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_FALSE(std::filesystem::exists(m_target.Path()));
}

TEST_F(OutputCodecTest, AFrameWithoutPixelsIsAFailureThatMakesNothing)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(pFile->WriteNextFrame(nullptr), QM_ERR_FAIL);
    EXPECT_EQ(pFile->GetTimes().size(), 1U);
    EXPECT_EQ(WriteAt(*pFile, 10.0), QM_ERR_FAIL);  // the list of times has an entry too many by now
    EXPECT_EQ(WriteAt(*pFile, 110.0), QM_ERR_FAIL);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(m_d3d.m_vCalls, IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(m_target.Path()));
}

// Samples of later frames would be listed at the times of earlier ones.
TEST_F(OutputCodecTest, AFrameWithoutPixelsInTheMiddleOfAFileEndsItAfterTheLastGoodFrame)
{
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 5);
    EXPECT_EQ(pFile->WriteNextFrame(nullptr), QM_ERR_FAIL);
    EXPECT_EQ(WriteAt(*pFile, 60.0), QM_ERR_FAIL);
    EXPECT_EQ(m_runtime.Count("nvEncEncodePicture"), 5);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(ReadMuxedFile(m_target.Bytes()).m_moov.m_vSizes.size(), 5U);
}
