// The end of a file that is written through NVENC.
#include "output_fixture.h"

#include <filesystem>

#include "support/short_memory.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
const Bytes g_vHead = {0,   0,   0,   32,  'f', 't', 'y', 'p', 'i', 's', 'o', 'm', 0, 0, 2, 0, 'i', 's', 'o', 'm',
                       'i', 's', 'o', '2', 'a', 'v', 'c', '1', 'm', 'p', '4', '1', 0, 0, 0, 8, 'f', 'r', 'e', 'e'};

class NvencCloseTest : public OutputTest
{
protected:
    SMuxedFile Read() const { return ReadMuxedFile(m_target.Bytes()); }
    // The payload of the first nCount pictures.
    static Bytes Samples(std::int32_t nCount)
    {
        Bytes vAll;
        for (std::int32_t i = 0; i < nCount; ++i)
            vAll = Join({vAll, SampleOf(i)});
        return vAll;
    }
};
}  // namespace

TEST_F(NvencCloseTest, AFinishedFileHoldsEveryFrameWithItsTime)
{
    {
        const OutputPtr pFile = MakeFile(64, 48);
        for (const double dTime : {500.0, 533.5, 566.75, 600.0, 1500.875})
            ASSERT_EQ(WriteAt(*pFile, dTime), QM_OK);
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);

        const Bytes vFile = m_target.Bytes();
        ASSERT_GE(vFile.size(), 48U);
        EXPECT_EQ(Bytes(vFile.begin(), vFile.begin() + 40), g_vHead);
        const SMuxedFile file = ReadMuxedFile(vFile);
        EXPECT_EQ(file.m_uiMdatSize, 8U + 128 + 25 + 26 + 27 + 28);
        EXPECT_EQ(file.m_vMdat, Samples(5));
        EXPECT_THAT(file.m_moov.m_vSizes, ElementsAre(128U, 25U, 26U, 27U, 28U));
        // Distances of 33.5, 33.25, 33.25 and 900.875 ms in whole ticks of 0.1 ms; the last frame lasts like the one
        // before it.
        EXPECT_THAT(file.m_moov.m_vDeltas, ElementsAre(335U, 332U, 332U, 9008U, 9008U));
        EXPECT_THAT(file.m_moov.m_vKeySamples, ElementsAre(0U));
        EXPECT_EQ(file.m_moov.m_uiWidth, 64U);
        EXPECT_EQ(file.m_moov.m_uiHeight, 48U);
        EXPECT_EQ(file.m_moov.m_vSps, (Bytes{0x67, 0x64, 0x00, 0x1F, 0xAC, 0x2B, 0x40, 0x28, 0x02, 0xDD, 0x80, 0x88}));
        EXPECT_EQ(file.m_moov.m_vPps, (Bytes{0x68, 0xEE, 0x3C, 0xB0, 0x00}));
    }
}

TEST_F(NvencCloseTest, AnOddPicturesFileIsOfTheNextEvenSize)
{
    {
        const OutputPtr pFile = MakeFile(63, 47);
        WriteFrames(*pFile, 2);
    }
    EXPECT_EQ(Read().m_moov.m_uiWidth, 64U);
    EXPECT_EQ(Read().m_moov.m_uiHeight, 48U);
}

TEST_F(NvencCloseTest, TheLastReleaseFinishesAFileThatTheHostDidNotClose)
{
    OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 5);
    pFile.reset();
    EXPECT_EQ(Read().m_vMdat, Samples(5));
}

TEST_F(NvencCloseTest, ACloseStraightAfterTheFirstFrameBringsItsPacket)
{
    {
        const OutputPtr pFile = MakeFile(64, 48);
        WriteFrames(*pFile, 1);
        EXPECT_EQ(m_runtime.Count("nvEncLockBitstream"), 0);
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    }
    EXPECT_EQ(Read().m_vMdat, Samples(1));
    EXPECT_THAT(Read().m_moov.m_vDeltas, ElementsAre(10U));
    EXPECT_THAT(Read().m_moov.m_vSizes, ElementsAre(128U));
}

TEST_F(NvencCloseTest, WithoutAnyPacketTheMediaDataIsEmptyAndTheIndexComesAllTheSame)
{
    m_runtime.FailAlways("nvEncEncodePicture", NV_ENC_ERR_GENERIC);
    {
        const OutputPtr pFile = MakeFile(64, 48);
        EXPECT_EQ(WriteAt(*pFile, 0.0), QM_ERR_FAIL);
        EXPECT_EQ(WriteAt(*pFile, 40.0), QM_ERR_FAIL);
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    }
    EXPECT_EQ(Read().m_uiMdatSize, 8U);
    EXPECT_THAT(Read().m_vMdat, IsEmpty());
    EXPECT_THAT(Read().m_moov.m_vSizes, IsEmpty());
    EXPECT_THAT(Read().m_moov.m_vKeySamples, IsEmpty());
    EXPECT_THAT(Read().m_moov.m_vDeltas, ElementsAre(400U, 400U));
}

TEST_F(NvencCloseTest, EmptyPacketsLeaveTheMediaDataEmptyToo)
{
    m_runtime.m_funcPacket = [](std::int32_t) { return Bytes(); };
    {
        const OutputPtr pFile = MakeFile(64, 48);
        WriteFrames(*pFile, 6);
    }
    EXPECT_EQ(Read().m_uiMdatSize, 8U);
    EXPECT_THAT(Read().m_moov.m_vSizes, IsEmpty());
    EXPECT_EQ(Read().m_moov.m_vDeltas.size(), 6U);
}

TEST_F(NvencCloseTest, AFlushThatFailsLeavesAFileOfThePacketsSoFar)
{
    {
        const OutputPtr pFile = MakeFile(64, 48);
        WriteFrames(*pFile, 5);  // two packets came
        m_runtime.FailAlways("nvEncEncodePicture", NV_ENC_ERR_GENERIC);
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    }
    EXPECT_THAT(m_diagnostics.TextsOf(g_nLineEndEncode),
                ElementsAre(L"NvEncoder::SendEOS : m_nvenc.nvEncEncodePicture(m_hEncoder, &picParams) returned error "
                            L"20\n"));
    EXPECT_EQ(m_diagnostics.m_vLines.back().m_strFile, "mul_imageformat/w32_imageformat_mp4/mp4_outputfile");
    EXPECT_EQ(Read().m_vMdat, Samples(2));
    EXPECT_THAT(Read().m_moov.m_vSizes, ElementsAre(128U, 25U));
    EXPECT_EQ(Read().m_moov.m_vDeltas.size(), 5U);
    EXPECT_THAT(m_runtime.m_setSessions, IsEmpty());
}

TEST_F(NvencCloseTest, AFlushThatFailsInTheMiddleKeepsWhatItGot)
{
    {
        const OutputPtr pFile = MakeFile(64, 48);
        WriteFrames(*pFile, 5);
        // Three packets are left. The first comes whole, and the second fails.
        m_runtime.Fail("nvEncLockBitstream", 4, NV_ENC_ERR_GENERIC);
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    }
    EXPECT_EQ(m_diagnostics.TextsOf(g_nLineEndEncode).size(), 1U);
    EXPECT_EQ(Read().m_vMdat, Samples(3));
}

TEST_F(NvencCloseTest, APercentSignInAFailuresTextIsPartOfTheFormat)
{
    bool bThrown = false;
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 1);
    m_runtime.m_funcEntered = [&](const std::string& strEntry) {
        if (bThrown || strEntry != "nvEncEncodePicture") return;
        bThrown = true;
        throw NVENCException("Entry", "50%% flushed", NV_ENC_ERR_GENERIC);
    };
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(m_diagnostics.TextsOf(g_nLineEndEncode), ElementsAre(L"Entry : 50% flushed\n"));
}

// --- after the close

TEST_F(NvencCloseTest, ASecondCloseDoesNothing)
{
    Bytes vFile;
    {
        const OutputPtr pFile = MakeFile(64, 48);
        WriteFrames(*pFile, 5);
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
        vFile = m_target.Bytes();
        const std::size_t uiCalls = m_runtime.m_vCalls.size();
        const std::size_t uiLines = m_diagnostics.m_vLines.size();
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
        EXPECT_EQ(m_runtime.m_vCalls.size(), uiCalls);
        EXPECT_EQ(m_diagnostics.m_vLines.size(), uiLines);
        EXPECT_EQ(m_target.Bytes(), vFile);
    }
    EXPECT_EQ(m_target.Bytes(), vFile);  // and so does the third, in the destructor
}

TEST_F(NvencCloseTest, FramesAfterTheCloseFailAndLeaveTheFileAlone)
{
    {
        const OutputPtr pFile = MakeFile(64, 48);
        WriteFrames(*pFile, 2);
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
        const std::size_t uiCalls = m_runtime.m_vCalls.size();
        EXPECT_EQ(WriteAt(*pFile, 20.0), QM_ERR_FAIL);
        EXPECT_EQ(WriteAt(*pFile, 30.0), QM_ERR_FAIL);
        EXPECT_EQ(m_runtime.m_vCalls.size(), uiCalls);
        EXPECT_EQ(pFile->GetTimes().size(), 4U);
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    }
    EXPECT_EQ(Read().m_moov.m_vDeltas.size(), 2U);
    EXPECT_EQ(Read().m_vMdat, Samples(2));
}

TEST_F(NvencCloseTest, TheSessionEndsWithTheCloseAndDirect3DWithTheObject)
{
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 2);
    EXPECT_EQ(m_d3d.m_device.m_uiReferences, 2U);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(m_runtime.m_setSessions, IsEmpty());
    EXPECT_EQ(m_runtime.Count("nvEncDestroyEncoder"), 1);
    EXPECT_EQ(m_d3d.m_device.m_uiReferences, 1U);
    EXPECT_EQ(m_d3d.m_uiReferences, 1U);
    EXPECT_EQ(m_d3d.m_vSurfaces.at(0)->m_uiReferences, 1U);  // the unused one
    for (std::size_t i = 1; i < 5; ++i)
        EXPECT_EQ(m_d3d.m_vSurfaces.at(i)->m_uiReferences, 0U);
}

TEST_F(NvencCloseTest, TheEncodersObjectAndItsHoldOnTheRuntimeStayAfterAClose)
{
    {
        const OutputPtr pFile = MakeFile(64, 48);
        WriteFrames(*pFile, 1);
    }
    EXPECT_TRUE(m_runtimeFile.IsLoadedByOthers());
}

// --- without memory

TEST_F(NvencCloseTest, ACloseWithoutMemoryCanBeDoneAgain)
{
    {
        const OutputPtr pFile = MakeFile(64, 48);
        WriteFrames(*pFile, 5);
        {
            const CShortMemory memory(2'000'000, 4'000'000);  // for 100000 packets
            EXPECT_EQ(pFile->CloseOutput(), QM_OK);
            EXPECT_EQ(memory.GetRefused(), 1U);
        }
        EXPECT_EQ(m_runtime.Count("nvEncDestroyEncoder"), 0);
    }
    EXPECT_EQ(Read().m_vMdat, Samples(5));
}

TEST_F(NvencCloseTest, AFileThatMemoryNeverSufficedToFinishKeepsTheMarkOfAnUnfinishedOne)
{
    {
        OutputPtr pFile = MakeFile(64, 48);
        WriteFrames(*pFile, 5);
        const CShortMemory memory(2'000'000, 4'000'000);
        pFile.reset();
        EXPECT_EQ(memory.GetRefused(), 1U);
    }
    // The start codes are in place, as the encoder's packets had them but for their length.
    const Bytes vUnfinished = Join({g_vHead, {0x1A, 0xBE, 0xCE, 0xDA, 'm', 'd', 'a', 't'}});
    const Bytes vFile = m_target.Bytes();
    ASSERT_EQ(vFile.size(), 48U + 128 + 25);  // what came before the close
    EXPECT_EQ(Bytes(vFile.begin(), vFile.begin() + 48), vUnfinished);
    EXPECT_EQ(Bytes(vFile.begin() + 48, vFile.begin() + 53), (Bytes{0, 0, 0, 1, 0x67}));
    EXPECT_EQ(Bytes(vFile.begin() + 48 + 128, vFile.begin() + 48 + 133), (Bytes{0, 0, 0, 1, 0x41}));
    EXPECT_THAT(m_runtime.m_setSessions, IsEmpty());
}

class NvencCloseShortOfMemoryTest : public NvencCloseTest, public testing::WithParamInterface<unsigned>
{
};

// Which request finds no memory is the parameter; the last ones come when the encoder has given all it held.
TEST_P(NvencCloseShortOfMemoryTest, FinishesAFileOnlyWithAllOfItsPackets)
{
    unsigned uiRefused = 0;
    {
        const OutputPtr pFile = MakeFile(64, 48);
        WriteFrames(*pFile, 6);
        const CShortMemory memory(GetParam());
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
        uiRefused = memory.GetRefused();
    }
    const Bytes vFile = m_target.Bytes();
    ASSERT_GE(vFile.size(), 48U);
    const bool bFinished = Bytes(vFile.begin() + 40, vFile.begin() + 44) != Bytes{0x1A, 0xBE, 0xCE, 0xDA};
    if (bFinished)
    {
        EXPECT_EQ(Read().m_vMdat, Samples(6));
        EXPECT_THAT(Read().m_moov.m_vSizes, ElementsAre(128U, 25U, 26U, 27U, 28U, 29U));
    }
    EXPECT_TRUE(bFinished || uiRefused == 1U);
    m_runtime.m_vComplaints.clear();  // the scripted runtime, too, was stopped in the middle of a call
    EXPECT_THAT(m_runtime.m_setSessions, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Requests, NvencCloseShortOfMemoryTest, testing::Range(1U, 101U));
