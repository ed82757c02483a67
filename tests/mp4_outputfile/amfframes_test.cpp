// Frames through AMF: from the host's pixels to the encoder's input, and frames that fail.
#include "amf_fixture.h"

#include <algorithm>

#include "support/diagnostics_capture.h"
#include "support/short_memory.h"
#ifndef _WIN32
#include "support/full_disk.h"
#include "support/missing_threads.h"
#endif

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
class AmfFramesTest : public AmfOutputTest
{
protected:
    // Waits until the thread has taken that many buffers of the encoder.
    void AwaitGiven(int nCount)
    {
        while (m_amf.m_nGiven < nCount)
            Sleep(1);
    }
    // Waits until the thread has released that many too, so that it does nothing more with them.
    void AwaitLogged(int nCount)
    {
        AwaitGiven(nCount);
        const int nAfter = m_amf.m_nQueries;
        while (m_amf.m_nQueries == nAfter)
            Sleep(1);
    }
    // Writes frames from the given time on until one fails; returns how many.
    int WriteUntilFailure(OpenOutputFile& file, double dTimeMs)
    {
        int n = 0;
        for (; n < 10'000 && WriteAt(file, dTimeMs + n) == QM_OK; ++n)
            Sleep(1);
        return n;
    }
};
}  // namespace

TEST_F(AmfFramesTest, TheConverterIsSetUpForEveryFrame)
{
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 3);
    const std::vector<std::string> vFrame = {"converter.SetProperty(MemoryType, int64 2)",
                                             "converter.SetProperty(OutputFormat, int64 1)",
                                             "converter.SetProperty(OutputSize, size 64 x 48)",
                                             "converter.Init(3, 64, 48)",
                                             "context.AllocSurface NV12(2, 1, 64, 48)",
                                             "context.AllocSurface BGRA(2, 3, 64, 48)",
                                             "converter.SubmitInput()",
                                             "converter.Drain()",
                                             "converter.QueryOutput()",
                                             "surface.CopySurfaceRegion(1, 0, 0, 0, 0, 64, 48)",
                                             "surface.SetProperty(StartTimeProperty)",
                                             "encoder.SubmitInput()"};
    std::vector<std::string> vAll;
    for (int n = 0; n < 3; ++n)
        vAll.insert(vAll.end(), vFrame.begin(), vFrame.end());
    EXPECT_EQ(CallsFrom("converter.SetProperty", 100), vAll);
}

TEST_F(AmfFramesTest, ARefusedSetUpOfTheConverterIsNoFailure)
{
    m_amf.FailAlways("converter.SetProperty", AMF_NOT_FOUND);
    m_amf.FailAlways("converter.Init", AMF_ALREADY_INITIALIZED);
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 3);
    EXPECT_EQ(m_amf.Count("encoder.SubmitInput"), 3);
}

TEST_F(AmfFramesTest, NoSurfaceIsKeptBetweenFrames)
{
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 2);
    for (const auto& pSurface : m_d3d.m_vSurfaces)
        EXPECT_EQ(pSurface->m_uiReferences, 0U);
}

// --- an input that is full

TEST_F(AmfFramesTest, APictureIsOfferedAgainUntilThereIsPlaceAndConvertedOnce)
{
    for (const int nCall : {2, 3, 4})
        m_amf.Fail("encoder.SubmitInput", nCall, AMF_INPUT_FULL);
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 2);
    EXPECT_EQ(m_amf.Count("encoder.SubmitInput"), 5);
    EXPECT_EQ(m_amf.Count("converter.SubmitInput"), 2);
    EXPECT_EQ(m_amf.Count("context.AllocSurface NV12"), 2);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(Read().m_vMdat, Samples(2));
}

TEST_F(AmfFramesTest, EveryAttemptHasAStartTimeOfItsOwn)
{
    for (const int nCall : {1, 2, 3})
        m_amf.Fail("encoder.SubmitInput", nCall, AMF_INPUT_FULL);
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 2);
    ASSERT_EQ(m_amf.m_vStartTimes.size(), 5U);
    for (std::size_t ui = 1; ui < 4; ++ui)
        EXPECT_GE(m_amf.m_vStartTimes[ui] - m_amf.m_vStartTimes[ui - 1], 5'000) << "of about 10000 a millisecond";
    EXPECT_TRUE(std::is_sorted(m_amf.m_vStartTimes.begin(), m_amf.m_vStartTimes.end()));
}

TEST_F(AmfFramesTest, TheHostWaitsOnlyWhileTheInputIsFull)
{
    m_amf.m_uiPlaces = 3;
    m_amf.m_bGives = false;
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 3);
    int nFull = 0;
    m_amf.m_funcFull = [&] { m_amf.m_bGives = ++nFull >= 5; };
    EXPECT_EQ(WriteAt(*pFile, 30.0), QM_OK);
    EXPECT_GE(nFull, 5);
    m_amf.m_bGives = true;
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(Read().m_vMdat, Samples(4));
}

TEST_F(AmfFramesTest, AnInputThatStaysFullFailsTheFrameAfterTwentySeconds)
{
    m_amf.m_uiPlaces = 3;
    m_amf.m_bGives = false;
    m_amf.m_funcFull = [this] { m_clock.m_uiPassedMs += 1000; };
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 3);
    EXPECT_EQ(WriteAt(*pFile, 30.0), QM_ERR_FAIL);
    EXPECT_EQ(m_clock.GetPassedMs(), 20'000U);
    EXPECT_EQ(m_amf.Count("encoder.SubmitInput"), 3 + 20);

    // The list of times has the lost picture's entry, so no other picture is taken.
    m_amf.m_bGives = true;
    AwaitGiven(3);
    EXPECT_EQ(WriteAt(*pFile, 40.0), QM_ERR_FAIL);
    EXPECT_EQ(m_amf.Count("encoder.SubmitInput"), 3 + 20);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(Read().m_vMdat, Samples(3));
    EXPECT_EQ(Read().m_moov.m_vDeltas.size(), 5U);
}

// Every buffer would begin the twenty seconds again. The drain finds the encoder full as well.
TEST_F(AmfFramesTest, AnEncoderThatIsFullAndGivesBuffersWithoutEndHoldsUpNeitherFrameNorClose)
{
    m_amf.m_uiPlaces = 0;
    m_amf.FailAlways("encoder.Drain", AMF_INPUT_FULL);
    m_amf.m_funcEmpty = [this] {
        const std::lock_guard lock(m_amf.m_mutex);
        m_amf.m_vHeld.push_back(new ScriptedBuffer(m_amf.m_nLiving, PacketOf(1)));
    };
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_ERR_FAIL);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_TRUE(IsUnfinished(m_target.Bytes()));
}

TEST_F(AmfFramesTest, AnOutputBeginsTheTwentySecondsAgain)
{
    m_amf.m_uiPlaces = 3;
    m_amf.m_bGives = false;
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 3);
    for (int nCall = 4; nCall < 1000; ++nCall)
        m_amf.Fail("encoder.SubmitInput", nCall, AMF_INPUT_FULL);
    int nFull = 0;
    m_amf.m_funcFull = [&] {
        m_clock.m_uiPassedMs += 1000;
        if (++nFull != 15) return;
        m_amf.m_bGives = true;
        AwaitLogged(3);
    };
    EXPECT_EQ(WriteAt(*pFile, 30.0), QM_ERR_FAIL);
    EXPECT_GE(m_clock.GetPassedMs(), 34'000U);
    EXPECT_LE(m_clock.GetPassedMs(), 35'000U);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(Read().m_vMdat, Samples(3));
}

// --- what the encoder answers

// Its answer isn't looked at, by design.
TEST_F(AmfFramesTest, APictureThatTheEncoderRefusesKeepsItsTimeAndOthersFollow)
{
    for (const AMF_RESULT eResult : {AMF_FAIL, AMF_NOT_INITIALIZED, AMF_EOF, AMF_NEED_MORE_INPUT, AMF_RESULT(99)})
    {
        m_amf.Fail("encoder.SubmitInput", m_amf.Count("encoder.SubmitInput") + 2, eResult);
        const OutputPtr pFile = MakeFile(64, 48);
        WriteFrames(*pFile, 4);
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
        EXPECT_EQ(Read().m_vMdat, Samples(3));
        EXPECT_THAT(Read().m_moov.m_vDeltas, ElementsAre(100U, 100U, 100U, 100U));
        EXPECT_EQ(Read().m_moov.m_uiSamplesInChunk, 4U);
    }
}

TEST_F(AmfFramesTest, WithoutASurfaceTheFileEndsAfterTheLastGoodFrame)
{
    for (const bool bFails : {true, false})
    {
        const OutputPtr pFile = MakeFile(64, 48);
        WriteFrames(*pFile, 2);
        if (bFails) m_amf.Fail("context.AllocSurface NV12", 3, AMF_OUT_OF_MEMORY);
        m_amf.m_bNv12Surface = bFails;
        EXPECT_EQ(WriteAt(*pFile, 20.0), QM_ERR_FAIL);
        m_amf.m_bNv12Surface = true;
        EXPECT_EQ(WriteAt(*pFile, 30.0), QM_ERR_FAIL);
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
        EXPECT_EQ(Read().m_vMdat, Samples(2));
        EXPECT_EQ(Read().m_moov.m_vDeltas.size(), 4U);
    }
}

TEST_F(AmfFramesTest, WithoutASurfaceForTheFirstFrameNoOtherIsTaken)
{
    m_amf.m_bNv12Surface = false;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_ERR_FAIL);
    m_amf.m_bNv12Surface = true;
    EXPECT_EQ(WriteAt(*pFile, 10.0), QM_ERR_FAIL);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(Read().m_moov.m_vSizes, IsEmpty());
}

TEST_F(AmfFramesTest, ASurfaceThatCannotBeFilledIsSubmittedAllTheSame)
{
    m_amf.m_bConverted = false;
    m_amf.m_bNativeNv12 = false;
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 2);
    EXPECT_EQ(m_amf.Count("encoder.SubmitInput"), 2);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(Read().m_vMdat, Samples(2));
}

// The encoder's surfaces are of the first size, and the file's times can't be right without the picture.
TEST_F(AmfFramesTest, ASizeAnnouncedInTheMiddleOfAFileEndsItAfterTheLastGoodFrame)
{
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 3);
    const SQmImageAttributes other = test_support::PictureAttributes(32, 32);
    ASSERT_EQ(Announce(*pFile, &other), QM_OK);
    EXPECT_EQ(WriteAt(*pFile, 30.0), QM_ERR_FAIL);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(Read().m_vMdat, Samples(3));
    EXPECT_EQ(Read().m_moov.m_uiWidth, 64U);
}

// --- a file that comes to its end before the host does

TEST_F(AmfFramesTest, OutputWithoutMemoryEndsTheFileUnfinishedAndTheNextFramesFail)
{
    m_amf.m_uiPlaces = 2;
    m_amf.m_funcBuffer = [](ScriptedBuffer& buffer, int nPicture) { buffer.m_bMemory = nPicture != 3; };
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 3);
    EXPECT_LE(WriteUntilFailure(*pFile, 30.0), 1000);
    const int nGiven = m_amf.m_nGiven;
    EXPECT_GE(nGiven, 4);
    EXPECT_EQ(WriteAt(*pFile, 5000.0), QM_ERR_FAIL);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_TRUE(IsUnfinished(m_target.Bytes()));
    EXPECT_EQ(m_target.Bytes().size(), 48U + Samples(3).size());
}

TEST_F(AmfFramesTest, WithoutMemoryForATimeTheFileEndsUnfinishedWhileTheThreadRuns)
{
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 3);
    AwaitLogged(3);
    CGrowingArray<double>& times = pFile->m_times.m_vecFrameTimes;
    while (times.size() != times.capacity())
        times.push_back(20.0);
    {
        const CShortMemory memory(1'000'000, 1'100'000);  // a block of the list of times
        EXPECT_EQ(WriteAt(*pFile, 30.0), QM_ERR_FAIL);
        EXPECT_EQ(memory.GetRefused(), 1U);
    }
    EXPECT_EQ(WriteAt(*pFile, 40.0), QM_ERR_FAIL);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_TRUE(IsUnfinished(m_target.Bytes()));
}

// Only rows that the host's picture doesn't hold need memory of their own.
TEST_F(AmfFramesTest, WithoutMemoryForARowNothingStaysLockedAndTheFileEndsUnfinished)
{
    const OutputPtr pFile = MakeFile(63, 47);
    m_vPixels = Bytes(192 * 47, 0x80);
    ASSERT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    AwaitLogged(1);
    const std::size_t uiBefore = m_d3d.m_vCalls.size();
    {
        const CShortMemory memory(64 * 3, 64 * 3);
        EXPECT_EQ(WriteAt(*pFile, 10.0), QM_ERR_FAIL);
        EXPECT_EQ(memory.GetRefused(), 1U);
    }
    ASSERT_GE(m_d3d.m_vCalls.size(), uiBefore + 2);
    EXPECT_THAT(m_d3d.m_vCalls[uiBefore], testing::StartsWith("LockRect"));
    EXPECT_THAT(m_d3d.m_vCalls[uiBefore + 1], testing::StartsWith("UnlockRect"));
    EXPECT_EQ(WriteAt(*pFile, 20.0), QM_ERR_FAIL);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_TRUE(IsUnfinished(m_target.Bytes()));
}

#ifndef _WIN32
// What the encoder gave could never be taken.
TEST_F(AmfFramesTest, WithoutAThreadForTheOutputNoFrameIsTakenAndTheFileStaysUnfinished)
{
    const OutputPtr pFile = MakeFile(64, 48);
    {
        const CMissingThreads missing;
        EXPECT_EQ(WriteAt(*pFile, 0.0), QM_ERR_FAIL);
        EXPECT_EQ(CMissingThreads::GetRefused(), 1);
    }
    EXPECT_EQ(WriteAt(*pFile, 10.0), QM_ERR_FAIL);
    EXPECT_EQ(m_amf.Count("encoder.SubmitInput"), 0);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(m_amf.Count("encoder.Terminate"), 1);
    EXPECT_TRUE(IsUnfinished(m_target.Bytes()));
}

// A failed write isn't reported to the host, and doesn't keep the encoder's output from being taken.
TEST_F(AmfFramesTest, OnAFullDiskEveryFrameIsTakenAndTheFileStaysUnfinished)
{
    m_amf.m_uiPlaces = 2;
    m_amf.m_funcPacket = [](int nPicture) {
        return Join({g_vStart4, {0x09, 0x30}, g_vStart4, Nal(0x41, 100'000 + static_cast<std::size_t>(nPicture))});
    };
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 1);
    {
        const test_support::CFullDisk disk(300'000);
        for (int n = 1; n < 20; ++n)
            ASSERT_EQ(WriteAt(*pFile, 10.0 * n), QM_OK);
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    }
    EXPECT_EQ(m_amf.m_nGiven, 20);
    EXPECT_TRUE(IsUnfinished(m_target.Bytes()));
}
#endif

TEST_F(AmfFramesTest, NothingGoesToTheHostsDiagnostics)
{
    const OutputPtr pFile = MakeFile(64, 48);
    const CDiagnosticsCapture diagnostics;
    m_amf.m_bNv12Surface = false;
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_ERR_FAIL);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(diagnostics.m_vLines, IsEmpty());
}
