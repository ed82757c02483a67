// The first frame of a file that is written through AMF: components, settings, file.
#include "amf_fixture.h"

#include <filesystem>

#include "mp4_outputfile/amfwriter.h"
#include "support/timer_period.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
class AmfSetupTest : public AmfOutputTest
{
protected:
    // The first frame fails, every further one at once, and no file is made.
    void ExpectFailedSetUp()
    {
        const OutputPtr pFile = MakeFile(64, 48);
        EXPECT_EQ(WriteAt(*pFile, 0.0), QM_ERR_FAIL);
        const std::size_t uiCalls = m_amf.GetCalls().size();
        EXPECT_EQ(WriteAt(*pFile, 10.0), QM_ERR_FAIL);
        EXPECT_EQ(m_amf.GetCalls().size(), uiCalls);
        EXPECT_TRUE(pFile->IsAmf());
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
        EXPECT_FALSE(std::filesystem::exists(m_target.Path()));
    }
};
}  // namespace

// --- components

TEST_F(AmfSetupTest, NothingIsMadeBeforeTheFirstFrame)
{
    const OutputPtr pFile = MakeFile(64, 48);
    pFile->SetFrameTime(0.0);
    EXPECT_THAT(m_amf.GetCalls(), IsEmpty());
    EXPECT_THAT(m_runtime.m_vWriters, IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(m_target.Path()));
}

TEST_F(AmfSetupTest, TheConverterIsMadeBeforeTheDeviceAndTheEncoderAfterIt)
{
    const OutputPtr pFile = MakeFile(64, 48);
    ASSERT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    EXPECT_THAT(CallsFrom("CreateContext", 4),
                ElementsAre("CreateContext()", "CreateComponent AMFVideoConverter(context)", "context.InitDX9(null)",
                            "CreateComponent AMFVideoEncoderVCE_AVC(context)"));
}

TEST_F(AmfSetupTest, TheTraceWritesToConsoleAndDebugOutputBeforeThereIsAContext)
{
    std::vector<std::wstring> vWriters;
    m_amf.m_funcCalled = [&](const std::string& strCall) {
        if (strCall == "CreateContext") vWriters = m_runtime.m_vWriters;
    };
    const OutputPtr pFile = MakeFile(64, 48);
    ASSERT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    EXPECT_THAT(vWriters, ElementsAre(L"+Console", L"+DebugOutput"));
    ASSERT_EQ(WriteAt(*pFile, 10.0), QM_OK);
    EXPECT_EQ(m_runtime.m_vWriters.size(), 2U);
}

TEST_F(AmfSetupTest, ATimerPeriodOfAMillisecondIsAskedForOnceAndBeforeThereIsAContext)
{
    TakeTimerPeriodsAsked();
    std::vector<unsigned> vAsked;
    m_amf.m_funcCalled = [&](const std::string& strCall) {
        if (strCall == "CreateContext") vAsked = TakeTimerPeriodsAsked();
    };
    const OutputPtr pFile = MakeFile(64, 48);
    ASSERT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    EXPECT_THAT(vAsked, ElementsAre(1U));
    ASSERT_EQ(WriteAt(*pFile, 10.0), QM_OK);
    EXPECT_THAT(TakeTimerPeriodsAsked(), IsEmpty());
}

TEST_F(AmfSetupTest, EveryPropertyOfTheEncoderIsSetInOrderWithItsTypeAndValue)
{
    const OutputPtr pFile = MakeFile(1280, 720);
    m_vPixels = Bytes(1280 * 3 * 720, 0x80);
    ASSERT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    EXPECT_THAT(CallsFrom("encoder.SetProperty", 7),
                ElementsAre("encoder.SetProperty(Usage, int64 0)", "encoder.SetProperty(BPicturesPattern, int64 0)",
                            "encoder.SetProperty(QualityPreset, int64 1)",
                            "encoder.SetProperty(TargetBitrate, int64 8888888)",
                            "encoder.SetProperty(FrameSize, size 1280 x 720)",
                            "encoder.SetProperty(FrameRate, rate 30/1)", "encoder.Init(1, 1280, 720)"));
}

TEST_F(AmfSetupTest, APropertyThatTheEncoderDoesNotTakeIsNoFailure)
{
    m_amf.FailAlways("encoder.SetProperty", AMF_NOT_FOUND);
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    EXPECT_EQ(m_amf.Count("encoder.SetProperty"), 6);
    EXPECT_EQ(m_amf.Count("encoder.Init"), 1);
}

TEST_F(AmfSetupTest, TheBitRateIsTwentyMegabitsForFullHdAndInProportionToTheArea)
{
    EXPECT_EQ(CalcAmfBitRate(1920, 1080), 20000000);
    EXPECT_EQ(CalcAmfBitRate(1280, 720), 8888888);
    EXPECT_EQ(CalcAmfBitRate(3840, 2160), 80000000);
    EXPECT_EQ(CalcAmfBitRate(2, 2), 38);
    EXPECT_EQ(CalcAmfBitRate(0, 0), 0);
    EXPECT_EQ(CalcAmfBitRate(65536, 65536), 41425224691LL);  // beyond 32 bits
}

// 2^62 pixels: of the product with 20000000 = 4 * 5000000 no bit is left in 64.
TEST_F(AmfSetupTest, TheBitRateOfASizeThatLeaves64BitsIsCutToThem)
{
    EXPECT_EQ(CalcAmfBitRate(0x80000000, 0x80000000), 0);
}

TEST_F(AmfSetupTest, APictureOfTwoByTwoIsWritten)
{
    m_vPixels = Bytes(16, 0x80);
    const OutputPtr pFile = MakeFile(2, 2);
    ASSERT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    EXPECT_THAT(m_amf.GetCalls(), testing::Contains("encoder.SetProperty(TargetBitrate, int64 38)"));
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(Read().m_moov.m_uiWidth, 2U);
    EXPECT_EQ(Read().m_moov.m_uiHeight, 2U);
}

TEST_F(AmfSetupTest, AnOddPictureIsEncodedAtTheNextEvenSize)
{
    m_vPixels = Bytes(16 * 3, 0x80);
    const OutputPtr pFile = MakeFile(5, 3);
    ASSERT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    EXPECT_THAT(m_amf.GetCalls(), testing::IsSupersetOf({"encoder.SetProperty(FrameSize, size 6 x 4)",
                                                         "encoder.Init(1, 6, 4)", "converter.Init(3, 6, 4)"}));
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(Read().m_moov.m_uiWidth, 6U);
    EXPECT_EQ(Read().m_moov.m_uiHeight, 4U);
}

TEST_F(AmfSetupTest, TheNumberOfFramesThatWasAnnouncedHasNoMeaning)
{
    SQmImageAttributes attributes = test_support::PictureAttributes(64, 48);
    attributes.m_uiSequenceCount = 2;
    const OutputPtr pFile = MakeFile();
    ASSERT_EQ(Announce(*pFile, &attributes), QM_OK);
    WriteFrames(*pFile, 5);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(Read().m_moov.m_vSizes.size(), 5U);
}

// --- failures

TEST_F(AmfSetupTest, EveryStepThatFailsFailsTheFrameAndEndsTheSetUp)
{
    struct SCase
    {
        const char* m_pszCall;
        std::size_t m_uiCalls;  // up to the failing one
    };
    for (const SCase& failing : {SCase{"CreateContext", 1}, SCase{"CreateComponent AMFVideoConverter", 2},
                                 SCase{"context.InitDX9", 3}, SCase{"CreateComponent AMFVideoEncoderVCE_AVC", 4}})
    {
        SCOPED_TRACE(failing.m_pszCall);
        ScriptedAmf amf(m_d3d);
        amf.FailAlways(failing.m_pszCall, AMF_NOT_SUPPORTED);
        m_runtime.m_funcCreateContext = [&](AMFContext** ppContext) { return amf.CreateContext(ppContext); };
        m_runtime.m_funcCreateComponent = [&](AMFContext* pContext, const wchar_t* pwszId, AMFComponent** ppComponent) {
            return amf.CreateComponent(pContext, pwszId, ppComponent);
        };
        const OutputPtr pFile = MakeFile(64, 48);
        EXPECT_EQ(WriteAt(*pFile, 0.0), QM_ERR_FAIL);
        EXPECT_EQ(amf.GetCalls().size(), failing.m_uiCalls);
        EXPECT_EQ(WriteAt(*pFile, 10.0), QM_ERR_FAIL);  // nothing is tried again
        EXPECT_EQ(amf.GetCalls().size(), failing.m_uiCalls);
        // What was made stays until the close.
        EXPECT_EQ(amf.m_nLiving, failing.m_uiCalls == 1 ? 0 : failing.m_uiCalls == 2 ? 1 : 2);
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
        EXPECT_EQ(amf.m_nLiving, 0);
        EXPECT_EQ(amf.Count("context.Terminate"), failing.m_uiCalls > 1 ? 1 : 0);
        EXPECT_EQ(amf.Count("converter.Terminate"), failing.m_uiCalls > 2 ? 1 : 0);
        EXPECT_FALSE(std::filesystem::exists(m_target.Path()));
    }
}

TEST_F(AmfSetupTest, ACallThatSucceedsWithoutAnObjectIsAFailure)
{
    for (bool ScriptedAmf::*pbGives : {&ScriptedAmf::m_bContext, &ScriptedAmf::m_bConverter, &ScriptedAmf::m_bEncoder})
    {
        m_amf.*pbGives = false;
        ExpectFailedSetUp();
        m_amf.*pbGives = true;
    }
}

TEST_F(AmfSetupTest, ARuntimeWhoseStartFailedIsNotUsed)
{
    m_pFormat->Release();
    m_runtime.m_eInit = AMF_NOT_SUPPORTED;
    RenewFormat(L"AMF1");
    ExpectFailedSetUp();
    EXPECT_THAT(m_amf.GetCalls(), IsEmpty());
}

TEST_F(AmfSetupTest, NoOtherEncoderStandsInForAMissingOne)
{
    m_pFormat->Release();
    {
        const FakeAmf none(L"none");
        RenewFormat(L"AMF1");
    }
    if (FakeAmf::IsLoaded()) GTEST_SKIP() << "this machine has the runtime";
    ExpectFailedSetUp();
    EXPECT_THAT(m_amf.GetCalls(), IsEmpty());
    EXPECT_THAT(m_d3d.m_vCalls, IsEmpty());
}

// Its answer isn't looked at: the pictures are refused one by one, and their times stay.
TEST_F(AmfSetupTest, WithAnEncoderThatCannotBeInitialisedTheFileHasTimesAndNoPictures)
{
    m_amf.FailAlways("encoder.Init", AMF_ENCODER_NOT_PRESENT);
    m_amf.FailAlways("encoder.SubmitInput", AMF_NOT_INITIALIZED);
    m_amf.FailAlways("encoder.Drain", AMF_NOT_INITIALIZED);
    m_amf.m_funcEmpty = [this] { m_clock.m_uiPassedMs += 100; };
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 3);
    const std::uint64_t uiBefore = m_clock.GetPassedMs();
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_GE(m_clock.GetPassedMs() - uiBefore, 20'000U);
    EXPECT_LT(m_clock.GetPassedMs() - uiBefore, 30'000U);
    EXPECT_THAT(Read().m_moov.m_vSizes, IsEmpty());
    EXPECT_THAT(Read().m_moov.m_vDeltas, ElementsAre(100U, 100U, 100U));
}

// --- the file

TEST_F(AmfSetupTest, AnExistingFileIsReplaced)
{
    test_support::WriteText(m_target.Path(), std::string(100'000, 'x'));
    const OutputPtr pFile = MakeFile(64, 48);
    WriteFrames(*pFile, 1);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_LT(m_target.Bytes().size(), 2000U);
}

TEST_F(AmfSetupTest, IntoAPathThatCannotBeOpenedFramesGoUntilTheInputIsFull)
{
    m_amf.m_uiPlaces = 4;
    m_amf.m_funcFull = [this] { m_clock.m_uiPassedMs += 500; };
    const std::filesystem::path folder = m_target.Path();
    std::filesystem::create_directory(folder);
    {
        const OutputPtr pFile = MakeFile((folder / "missing" / "file.mp4").wstring());
        const SQmImageAttributes attributes = test_support::PictureAttributes(64, 48);
        Announce(*pFile, &attributes);
        WriteFrames(*pFile, 4);
        EXPECT_EQ(m_clock.GetPassedMs(), 0U);
        EXPECT_EQ(WriteAt(*pFile, 40.0), QM_ERR_FAIL);
        EXPECT_EQ(m_clock.GetPassedMs(), 20'000U);
        EXPECT_EQ(WriteAt(*pFile, 50.0), QM_ERR_FAIL);
        EXPECT_EQ(m_clock.GetPassedMs(), 20'000U);  // at once
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
        EXPECT_EQ(m_clock.GetPassedMs(), 20'000U);
    }
    EXPECT_EQ(m_amf.m_nQueries, 0);
    EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST_F(AmfSetupTest, AnObjectWithoutAPathEncodesIntoNothing)
{
    const OutputPtr pFile(new OpenOutputFile(m_pFormat));
    pFile->AddRef();
    const SQmImageAttributes attributes = test_support::PictureAttributes(64, 48);
    Announce(*pFile, &attributes);
    WriteFrames(*pFile, 5);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(m_amf.m_nQueries, 0);
    EXPECT_EQ(m_amf.Count("encoder.Terminate"), 1);
}
