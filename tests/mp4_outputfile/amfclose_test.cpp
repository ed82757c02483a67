// The end of a file that is written through AMF, and the bytes of it that are this encoder's own.
#include "amf_fixture.h"

#include <filesystem>
#include <random>

#include "support/repetitions.h"
#include "support/short_memory.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
const Bytes g_vHead = {0,   0,   0,   32,  'f', 't', 'y', 'p', 'i', 's', 'o', 'm', 0, 0, 2, 0, 'i', 's', 'o', 'm',
                       'i', 's', 'o', '2', 'a', 'v', 'c', '1', 'm', 'p', '4', '1', 0, 0, 0, 8, 'f', 'r', 'e', 'e'};

class AmfCloseTest : public AmfOutputTest
{
protected:
    // A finished file of these packets.
    SMuxedFile WriteThrough(const std::vector<Bytes>& vPackets)
    {
        m_amf.m_funcPacket = [&](int nPicture) { return vPackets.at(static_cast<std::size_t>(nPicture)); };
        const OutputPtr pFile = MakeFile(64, 48);
        WriteFrames(*pFile, static_cast<int>(vPackets.size()));
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
        return Read();
    }
    // The calls of the close.
    std::vector<std::string> Close(OpenOutputFile& file)
    {
        const std::size_t uiBefore = m_amf.GetCalls().size();
        EXPECT_EQ(file.CloseOutput(), QM_OK);
        const std::vector<std::string> vCalls = m_amf.GetCalls();
        return {vCalls.begin() + static_cast<std::ptrdiff_t>(uiBefore), vCalls.end()};
    }
};

const Bytes g_vKey = Join({g_vStart4, {0x09, 0x10}});
const Bytes g_vNoKey = Join({g_vStart4, {0x09, 0x30}});
const Bytes g_vSps = Join({g_vStart4, {0x67, 0x4D, 0x40, 0x1F, 0xEC, 0xA0}});
const Bytes g_vPps = Join({g_vStart4, {0x68, 0xEE, 0x3C, 0x80}});
const Bytes g_vIdr = Join({g_vStart4, Nal(0x65, 50)});
const Bytes g_vSlice = Join({g_vStart4, Nal(0x41, 30)});
}  // namespace

// --- the file

TEST_F(AmfCloseTest, AFinishedFileHoldsEveryFrameWithItsTime)
{
    const OutputPtr pFile = MakeFile(64, 48);
    for (const double dTime : {500.0, 533.5, 566.75, 600.0, 1500.875})
        ASSERT_EQ(WriteAt(*pFile, dTime), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);

    const Bytes vFile = m_target.Bytes();
    ASSERT_GE(vFile.size(), 48U);
    EXPECT_EQ(Bytes(vFile.begin(), vFile.begin() + 40), g_vHead);
    const SMuxedFile file = ReadMuxedFile(vFile);
    EXPECT_EQ(file.m_uiMdatSize, 8U + 132 + 31 + 32 + 33 + 34);
    EXPECT_EQ(file.m_vMdat, Samples(5));
    EXPECT_THAT(file.m_moov.m_vSizes, ElementsAre(132U, 31U, 32U, 33U, 34U));
    // Distances of 33.5, 33.25, 33.25 and 900.875 ms in whole ticks of 0.1 ms; the last frame lasts like the one before
    // it.
    EXPECT_THAT(file.m_moov.m_vDeltas, ElementsAre(335U, 332U, 332U, 9008U, 9008U));
    EXPECT_EQ(file.m_moov.m_uiWidth, 64U);
    EXPECT_EQ(file.m_moov.m_uiHeight, 48U);
    EXPECT_EQ(file.m_moov.m_vSps, (Bytes{0x67, 0x4D, 0x40, 0x1F, 0xEC, 0xA0, 0x28, 0x02, 0xDD, 0x80}));
    EXPECT_EQ(file.m_moov.m_vProfile, (Bytes{0x4D, 0x40, 0x1F}));
    EXPECT_EQ(file.m_moov.m_vPps, (Bytes{0x68, 0xEE, 0x3C, 0x80, 0x00}));
}

TEST_F(AmfCloseTest, KeysAreThePicturesWhoseDelimiterSaysSoAndCountFromOne)
{
    const SMuxedFile file =
        WriteThrough({Join({g_vKey, g_vSps, g_vPps, g_vIdr}), Join({g_vNoKey, g_vSlice}), Join({g_vKey, g_vSlice}),
                      Join({g_vNoKey, g_vIdr}), Join({g_vKey, g_vSps, g_vPps, g_vIdr, g_vIdr})});
    EXPECT_THAT(file.m_moov.m_vKeySamples, ElementsAre(1U, 3U, 5U));
}

TEST_F(AmfCloseTest, OnlyTheFirstNalOfABufferIsLookedAtForAKey)
{
    const SMuxedFile file =
        WriteThrough({Join({g_vSps, g_vPps, g_vIdr, g_vKey}), Join({g_vIdr}), Join({g_vNoKey, g_vKey, g_vIdr})});
    EXPECT_THAT(file.m_moov.m_vKeySamples, IsEmpty());
}

TEST_F(AmfCloseTest, StartCodesOfThreeBytesStayAsTheyAre)
{
    const Bytes vSecond = Join({g_vStart3, Nal(0x41, 20)});
    const SMuxedFile file = WriteThrough({Join({g_vKey, g_vSps, g_vPps, g_vIdr, vSecond})});
    EXPECT_EQ(file.m_vMdat, Join({Prefixed({0x09, 0x10}), Prefixed({0x67, 0x4D, 0x40, 0x1F, 0xEC, 0xA0}),
                                  Prefixed({0x68, 0xEE, 0x3C, 0x80}), Prefixed(Join({Nal(0x65, 50), vSecond}))}));
}

TEST_F(AmfCloseTest, TheSpsIsTakenFromTheNalAfterADelimiterOfSixBytes)
{
    // Without the delimiter its length is read eight bytes into the packet all the same: 1F EC there.
    const SMuxedFile file = WriteThrough({Join({g_vSps, g_vPps, g_vIdr})});
    EXPECT_THAT(file.m_moov.m_vSps, IsEmpty());
    EXPECT_EQ(file.m_moov.m_vProfile, (Bytes{0, 0, 0}));
}

TEST_F(AmfCloseTest, WithoutAPpsTheEncodersOwnStandsIn)
{
    EXPECT_EQ(WriteThrough({Join({g_vKey, g_vSps, g_vIdr})}).m_moov.m_vPps, (Bytes{0x68, 0xEE, 0x38, 0x80, 0x00}));
}

TEST_F(AmfCloseTest, TheRuntimesTimesAreNotThoseOfTheFile)
{
    m_amf.m_funcBuffer = [](ScriptedBuffer& buffer, int nPicture) {
        buffer.m_funcGetProperty = [=](const wchar_t*, AMFVariantStruct* pValue) {
            pValue->type = AMF_VARIANT_INT64;
            pValue->int64Value = nPicture * 1'000'000LL;
            return AMF_OK;
        };
    };
    EXPECT_THAT(WriteThrough({Join({g_vKey, g_vSps, g_vPps, g_vIdr}), g_vNoKey}).m_moov.m_vDeltas,
                ElementsAre(100U, 100U));
}

TEST_F(AmfCloseTest, TheTimeOfASingleFrameIsAMillisecond)
{
    EXPECT_THAT(WriteThrough({Join({g_vKey, g_vSps, g_vPps, g_vIdr})}).m_moov.m_vDeltas, ElementsAre(10U));
}

// --- the order of the close

TEST_F(AmfCloseTest, TheEncoderIsDrainedFirstAndTheComponentsEndAfterTheThread)
{
    bool bLaterDrain = false;
    m_amf.m_funcCalled = [&](const std::string& strCall) {
        if (strCall == "encoder.Terminate") bLaterDrain = m_amf.m_nGiven == 5 && !IsUnfinished(m_target.Bytes());
    };
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 5);
    EXPECT_THAT(Close(*pFile),
                ElementsAre("encoder.Drain()", "encoder.Terminate()", "converter.Terminate()", "context.Terminate()"));
    EXPECT_TRUE(bLaterDrain);
    EXPECT_EQ(m_amf.m_nLiving, 0);
}

TEST_F(AmfCloseTest, PicturesThatTheEncoderHoldsBackComeWithTheDrain)
{
    m_amf.m_bGives = false;
    m_amf.m_funcCalled = [this](const std::string& strCall) {
        if (strCall == "encoder.Drain") m_amf.m_bGives = true;
    };
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 5);
    EXPECT_EQ(m_amf.m_nGiven, 0);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(Read().m_vMdat, Samples(5));
}

TEST_F(AmfCloseTest, ADrainThatTheEncoderHasNoPlaceForIsTriedAgain)
{
    for (const int nCall : {1, 2, 3})
        m_amf.Fail("encoder.Drain", nCall, AMF_INPUT_FULL);
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 5);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(m_amf.Count("encoder.Drain"), 4);
    EXPECT_EQ(Read().m_vMdat, Samples(5));
}

TEST_F(AmfCloseTest, ACloseWithoutAnyFrameMakesNothing)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_THAT(Close(*pFile), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(m_target.Path()));
}

TEST_F(AmfCloseTest, ACloseAfterASetUpThatFailedEndsWhatWasMade)
{
    m_amf.FailAlways("CreateComponent AMFVideoEncoderVCE_AVC", AMF_ENCODER_NOT_PRESENT);
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_ERR_FAIL);
    EXPECT_THAT(Close(*pFile), ElementsAre("converter.Terminate()", "context.Terminate()"));
    EXPECT_FALSE(std::filesystem::exists(m_target.Path()));
}

TEST_F(AmfCloseTest, ASecondCloseDoesNothing)
{
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 5);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    const Bytes vFile = m_target.Bytes();
    EXPECT_THAT(Close(*pFile), IsEmpty());
    EXPECT_EQ(m_target.Bytes(), vFile);
    EXPECT_EQ(WriteAt(*pFile, 60.0), QM_ERR_FAIL);
    EXPECT_THAT(Close(*pFile), IsEmpty());
}

TEST_F(AmfCloseTest, TheLastReleaseFinishesAFileThatTheHostDidNotClose)
{
    OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 5);
    pFile.reset();
    EXPECT_EQ(Read().m_vMdat, Samples(5));
}

// The thread may not have begun by then.
TEST_F(AmfCloseTest, ACloseStraightAfterTheFirstFrameBringsItsPicture)
{
    for (int n = 0; n < test_support::Repetitions(300); ++n)
    {
        const OutputPtr pFile = MakeFile(64, 48);
        WriteFrames(*pFile, 1);
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
        ASSERT_EQ(Read().m_vMdat, Samples(1));
    }
}

TEST_F(AmfCloseTest, TheRuntimeStaysLoadedUntilTheFileIsClosed)
{
    OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 3);
    // The object's own reference is the last one, and it gives it up before it closes the file.
    bool bLoaded = false;
    m_amf.m_funcCalled = [&](const std::string& strCall) {
        if (strCall == "context.Terminate") bLoaded = FakeAmf::IsLoaded();
    };
    while (m_pFormat->CountReferences() > 1)
        m_pFormat->Release();
    pFile.reset();
    EXPECT_TRUE(bLoaded);
    EXPECT_FALSE(FakeAmf::IsLoaded());
    EXPECT_EQ(Read().m_vMdat, Samples(3));
    RenewFormat(L"AMF1");
}

// --- an encoder that doesn't end

TEST_F(AmfCloseTest, AnEncoderThatNeverEndsIsGivenUpAfterTenMinutesWithoutOutput)
{
    m_amf.m_bEnds = false;
    std::atomic<bool> bDrained = false;
    m_amf.m_funcCalled = [&](const std::string& strCall) {
        if (strCall == "encoder.Drain") bDrained = true;
    };
    m_amf.m_funcEmpty = [&] {
        if (bDrained) m_clock.m_uiPassedMs += 5000;
    };
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 5);
    EXPECT_THAT(Close(*pFile),
                ElementsAre("encoder.Drain()", "encoder.Terminate()", "converter.Terminate()", "context.Terminate()"));
    EXPECT_GE(m_clock.GetPassedMs(), 600'000U);
    EXPECT_LE(m_clock.GetPassedMs(), 620'000U);
    EXPECT_EQ(Read().m_vMdat, Samples(5));
}

// The pictures come nine minutes after the drain.
TEST_F(AmfCloseTest, AnOutputBeginsTheTenMinutesAgain)
{
    m_amf.m_bGives = false;
    m_amf.m_bEnds = false;
    std::atomic<bool> bDrained = false;
    m_amf.m_funcCalled = [&](const std::string& strCall) {
        if (strCall == "encoder.Drain") bDrained = true;
    };
    m_amf.m_funcEmpty = [&] {
        if (!bDrained) return;
        m_clock.m_uiPassedMs += 10'000;
        m_amf.m_bGives = m_clock.GetPassedMs() >= 540'000;
    };
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 3);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(Read().m_vMdat, Samples(3));
    EXPECT_GE(m_clock.GetPassedMs(), 540'000U + 600'000U);
}

TEST_F(AmfCloseTest, WhileTheHostHasFramesToWriteNoSilenceIsTooLong)
{
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 3);
    m_clock.m_uiPassedMs += 24ULL * 3600 * 1000;
    Sleep(20);
    EXPECT_EQ(WriteAt(*pFile, 86'400'000.0), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(Read().m_vMdat, Samples(4));
}

TEST_F(AmfCloseTest, ADrainThatStaysFullIsGivenUpAfterTwentySeconds)
{
    m_amf.FailAlways("encoder.Drain", AMF_INPUT_FULL);
    m_amf.m_funcFull = [this] { m_clock.m_uiPassedMs += 1000; };
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 5);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_GE(m_clock.GetPassedMs(), 20'000U);
    EXPECT_LE(m_clock.GetPassedMs(), 40'000U);
    EXPECT_EQ(Read().m_vMdat, Samples(5));
}

TEST_F(AmfCloseTest, AfterADrainThatFailedTheThreadWaitsTwentySecondsForMore)
{
    m_amf.m_bGives = false;
    m_amf.FailAlways("encoder.Drain", AMF_FAIL);
    m_amf.m_funcCalled = [this](const std::string& strCall) {
        if (strCall == "encoder.Drain") m_amf.m_bGives = true;
    };
    m_amf.m_funcEmpty = [this] { m_clock.m_uiPassedMs += m_amf.m_bGives ? 1000 : 0; };
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 5);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_GE(m_clock.GetPassedMs(), 20'000U);
    EXPECT_LE(m_clock.GetPassedMs(), 25'000U);
    EXPECT_EQ(Read().m_vMdat, Samples(5));
}

TEST_F(AmfCloseTest, AnEncoderThatStayedFullIsNotWaitedForAgain)
{
    m_amf.m_uiPlaces = 3;
    m_amf.m_bGives = false;
    m_amf.m_bEnds = false;
    m_amf.FailAlways("encoder.Drain", AMF_INPUT_FULL);
    m_amf.m_funcFull = [this] { m_clock.m_uiPassedMs += 1000; };
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 3);
    EXPECT_EQ(WriteAt(*pFile, 30.0), QM_ERR_FAIL);
    EXPECT_EQ(m_clock.GetPassedMs(), 20'000U);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(m_amf.Count("encoder.Drain"), 1);
    EXPECT_LE(m_clock.GetPassedMs(), 21'000U);
    EXPECT_THAT(Read().m_moov.m_vSizes, IsEmpty());
}

// The host closes long after the frame that found the input full. The encoder works again, and gets its time.
TEST_F(AmfCloseTest, AnEncoderThatRecoversGetsItsWholeTimeAtTheClose)
{
    m_amf.m_uiPlaces = 3;
    m_amf.m_bGives = false;
    m_amf.m_funcFull = [this] { m_clock.m_uiPassedMs += 1000; };
    std::atomic<bool> bDrained = false;
    std::atomic<int> nEmpty = 0;
    m_amf.m_funcCalled = [&](const std::string& strCall) {
        if (strCall == "encoder.Drain") bDrained = true;
    };
    m_amf.m_funcEmpty = [&] {
        if (bDrained && ++nEmpty == 5) m_amf.m_bGives = true;
    };
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 3);
    EXPECT_EQ(WriteAt(*pFile, 30.0), QM_ERR_FAIL);
    m_clock.m_uiPassedMs += 3'600'000;
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(Read().m_moov.m_vSizes, testing::SizeIs(3));
}

TEST_F(AmfCloseTest, AnEncoderThatEndsByItselfLeavesAFileOfWhatItGave)
{
    m_amf.m_uiPlaces = 3;
    m_amf.m_funcFull = [this] { m_clock.m_uiPassedMs += 1000; };
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 2);
    {
        const std::lock_guard lock(m_amf.m_mutex);
        m_amf.m_bDrained = true;
    }
    while (m_amf.m_nGiven < 2)
        Sleep(1);
    Sleep(20);
    // Its input takes three more pictures.
    int nTaken = 0;
    while (nTaken < 10 && WriteAt(*pFile, 20.0 + nTaken) == QM_OK)
        ++nTaken;
    EXPECT_EQ(nTaken, 3);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(Read().m_vMdat, Samples(2));
}

// --- the end without memory

TEST_F(AmfCloseTest, WithoutMemoryForTheIndexTheFileStaysUnfinished)
{
    if (!CShortMemory::ReachesLibraries()) GTEST_SKIP() << "the index takes its memory from another allocator here";
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 5);
    unsigned uiRefused = 0;
    {
        const CShortMemory memory(400, 3000);  // the growing index
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
        uiRefused = memory.GetRefused();
    }
    EXPECT_GE(uiRefused, 1U);
    EXPECT_TRUE(IsUnfinished(m_target.Bytes()));
}

// --- threads

// The encoder takes what comes; pictures are written by its thread meanwhile.
TEST_F(AmfCloseTest, FilesOfAnyLengthAreComplete)
{
    std::mt19937 random(20'240'517);
    for (int n = 0; n < test_support::Repetitions(200); ++n)
    {
        const int nFrames = std::uniform_int_distribution(1, 60)(random);
        m_amf.m_uiPlaces = std::uniform_int_distribution<std::size_t>(1, 20)(random);
        const OutputPtr pFile = MakeFile(64, 48);
        WriteFrames(*pFile, nFrames);
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
        ASSERT_EQ(Read().m_vMdat, Samples(nFrames)) << nFrames << " frames";
        ASSERT_EQ(Read().m_moov.m_vDeltas.size(), static_cast<std::size_t>(nFrames));
    }
}

TEST_F(AmfCloseTest, TwoFilesAreWrittenAtTheSameTime)
{
    const TemporaryFile second;
    ScriptedAmf amf(m_d3d);
    amf.m_funcPacket = PacketOf;
    const OutputPtr pFirst = MakeFile(64, 48);
    WriteFrames(*pFirst, 2);
    m_runtime.m_funcCreateContext = [&](AMFContext** ppContext) { return amf.CreateContext(ppContext); };
    m_runtime.m_funcCreateComponent = [&](AMFContext* pContext, const wchar_t* pwszId, AMFComponent** ppComponent) {
        return amf.CreateComponent(pContext, pwszId, ppComponent);
    };
    const OutputPtr pSecond = MakeFile(second.Path().wstring());
    const SQmImageAttributes attributes = test_support::PictureAttributes(64, 48);
    ASSERT_EQ(Announce(*pSecond, &attributes), QM_OK);
    for (int n = 0; n < 20; ++n)
    {
        ASSERT_EQ(WriteAt(*pFirst, 20.0 + n), QM_OK);
        ASSERT_EQ(WriteAt(*pSecond, n), QM_OK);
    }
    EXPECT_EQ(pFirst->CloseOutput(), QM_OK);
    EXPECT_EQ(pSecond->CloseOutput(), QM_OK);
    EXPECT_EQ(Read().m_vMdat, Samples(22));
    EXPECT_EQ(ReadMuxedFile(second.Bytes()).m_vMdat, Samples(20));
    EXPECT_EQ(amf.m_nLiving, 0);
}
