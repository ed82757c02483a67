// Requests that are answered without a play, and the end of a file object in every state.
#include <gtest/gtest.h>

#include "scripted_file.h"

namespace
{

class Request : public testing::Test
{
protected:
    static SScript Script()
    {
        SScript script;
        script.m_vTimesMs = EvenTimes(100, 40);
        return script;
    }

    CFormatReference m_format;
};

TEST_F(Request, ANullBufferReturnsZeroAndNothingElseHappens)
{
    CScriptedFile file(m_format.Get(), Script());
    EXPECT_EQ(file.ReadFrame(5, nullptr, nullptr, nullptr), QM_OK);
    EXPECT_EQ(file.ReadFrame(5000, nullptr, nullptr, nullptr), QM_OK);
    EXPECT_TRUE(file.Session().Calls().empty());
    EXPECT_FALSE(file.HasThreads());
}

TEST_F(Request, AnIndexPastTheEndIsRefusedAtOnce)
{
    CScriptedFile file(m_format.Get(), Script());
    EXPECT_EQ(file.ReadNumber(100), QM_ERR_FAIL);
    EXPECT_EQ(file.ReadNumber(0xFFFFFFFFU), QM_ERR_FAIL);
    EXPECT_TRUE(file.Session().Calls().empty());
    EXPECT_FALSE(file.HasThreads());
}

TEST_F(Request, AFileWithoutFramesRefusesEveryIndex)
{
    CScriptedFile file(m_format.Get(), SScript());
    EXPECT_EQ(file.ReadNumber(0), QM_ERR_FAIL);
    EXPECT_TRUE(file.Session().Calls().empty());
}

TEST_F(Request, AFileThatDoesNotOpenRefusesFrames)
{
    auto* pFile = new CQmMP4InputFile(m_format.Get(), CQmStringW(L"no-such-file.mp4"), false, nullptr);
    pFile->AddRef();
    unsigned char abPixels[16] = {1, 2, 3};
    EXPECT_EQ(pFile->ReadFrame(0, abPixels, nullptr, nullptr), QM_ERR_FAIL);
    EXPECT_EQ(pFile->ReadFirstFrame(abPixels, nullptr, nullptr), QM_ERR_FAIL);
    EXPECT_EQ(abPixels[0], 1);
    EXPECT_EQ(pFile->Release(), 0);
}

TEST_F(Request, AFileThatIsStillBeingWrittenRefusesFrames)
{
    CScriptedFile file(m_format.Get(), Script());
    file.m_bWrittenFile = true;
    EXPECT_EQ(file.ReadNumber(0), QM_ERR_FAIL);
    EXPECT_TRUE(file.Session().Calls().empty());
}

TEST_F(Request, ATopologyThatIsRefusedRefusesFrames)
{
    SScript script = Script();
    script.m_hrSetTopology = E_FAIL;
    CScriptedFile file(m_format.Get(), script);
    EXPECT_EQ(file.ReadNumber(0), QM_ERR_FAIL);
    EXPECT_FALSE(file.HasThreads());
}

TEST_F(Request, ATileIsServedFromTheTopLeftInFullWidthOnlyAndIsTheWholeFrame)
{
    CScriptedFile file(m_format.Get(), Script());
    const auto ReadTile = [&](std::uint32_t uiLeft, std::uint32_t uiTop, std::uint32_t uiWidth, std::uint32_t uiHeight,
                              std::vector<unsigned char>& vPixels) {
        return file.ReadFrameTile(7, 0, 0, uiLeft, uiTop, uiWidth, uiHeight, vPixels.data(), 0, 0, nullptr, nullptr);
    };
    std::vector<unsigned char> vPixels(24, 0x5A);  // 4 x 2 pixels
    EXPECT_EQ(ReadTile(1, 0, 4, 2, vPixels), QM_ERR_NOTIMPL);
    EXPECT_EQ(ReadTile(0, 1, 4, 2, vPixels), QM_ERR_NOTIMPL);
    EXPECT_EQ(ReadTile(0, 0, 3, 2, vPixels), QM_ERR_NOTIMPL);
    EXPECT_EQ(vPixels, std::vector<unsigned char>(24, 0x5A));

    EXPECT_EQ(ReadTile(0, 0, 4, 1, vPixels), QM_OK);
    EXPECT_EQ(NumberInPicture(vPixels.data()), 7);
    EXPECT_EQ(NumberInPicture(vPixels.data() + 12), 7);  // the second row as well
}

TEST_F(Request, ATileOfAFileThatIsNotOpenIsRefused)
{
    CQmMP4InputFile file(m_format.Get(), CQmStringW(L"no-such-file.mp4"), false, nullptr);
    unsigned char abPixels[16] = {};
    EXPECT_EQ(file.ReadFrameTile(0, 0, 0, 0, 0, 0, 0, abPixels, 0, 0, nullptr, nullptr), QM_ERR_NOTIMPL);
}

// --- the end, in every state ---

TEST_F(Request, AFileThatWasNeverReadIsDestroyedAndItsSessionShutDown)
{
    SScript script = Script();
    int nShutDowns = 0;
    script.m_fnOnShutdown = [&] { ++nShutDowns; };
    {
        CScriptedFile file(m_format.Get(), script);
        EXPECT_FALSE(file.HasThreads());
        EXPECT_TRUE(file.Session().Calls().empty());
    }
    EXPECT_EQ(nShutDowns, 1);
}

TEST_F(Request, AFileAtRestIsDestroyed)
{
    CScriptedFile file(m_format.Get(), Script());
    EXPECT_EQ(file.ReadNumber(50), 50);
    file.WaitForRest();
}

TEST_F(Request, AFileThatPlaysIsDestroyed)
{
    SScript script = Script();
    script.m_vTimesMs = EvenTimes(20'000, 1);
    script.m_fnPause = [](int) { return E_FAIL; };  // it plays on and on
    script.m_pace = {};
    for (int i = 0; i < 20; ++i)
    {
        CScriptedFile file(m_format.Get(), script);
        EXPECT_EQ(file.ReadNumber(static_cast<std::uint32_t>(i)), i);
    }
}

TEST_F(Request, AFileThatIsAboutToBePausedIsDestroyed)
{
    for (std::uint32_t i = 0; i < 40; ++i)
    {
        CScriptedFile file(m_format.Get(), Script());
        EXPECT_EQ(file.ReadNumber(i + 8), static_cast<int>(i + 8));
        if (i % 2 == 1) Sleep(i / 4);
    }
}

TEST_F(Request, AFileWhoseSessionReportsNothingIsDestroyed)
{
    SScript script = Script();
    script.m_bSilent = true;
    CScriptedFile file(m_format.Get(), script);
    EXPECT_EQ(file.ReadNumber(3), 3);
}

TEST_F(Request, AFileWhoseSessionReportsNothingAndRefusesToStopIsDestroyed)
{
    SScript script = Script();
    script.m_bSilent = true;
    script.m_hrStop = E_FAIL;
    CScriptedFile file(m_format.Get(), script);
    EXPECT_EQ(file.ReadNumber(3), 3);
}

TEST_F(Request, AFileWhoseWorkerHasEndedIsDestroyed)
{
    SScript script = Script();
    script.m_fnStart = [](int) { return E_FAIL; };
    CScriptedFile file(m_format.Get(), script);
    EXPECT_EQ(file.ReadNumber(3), QM_ERR_FAIL);
}

}  // namespace
