// How pictures go from the host's thread to a media session.
#include "session_fixture.h"

#include <random>

#include "mp4_outputfile/rawpicture.h"
#include "support/short_memory.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using SessionFramesTest = SessionTest;

// --- the path of a frame ---

TEST_F(SessionFramesTest, AFrameGoesOverWhenTheNextOneArrives)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_THAT(TakenLevels(), IsEmpty());
    EXPECT_EQ(WriteGrey(*pFile, 255), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bBlack));
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bBlack, m_bWhite));
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bBlack, m_bWhite, m_bBlack));
}

TEST_F(SessionFramesTest, APictureIsHandedOverAsYuy2)
{
    Bytes vPixels(64 * 48 * 3, 0);
    for (std::size_t ui = 2; ui < vPixels.size(); ui += 3)
        vPixels[ui] = 255;  // red, the last of the three
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(pFile->WriteNextFrame(vPixels.data()), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);

    // 255 x 0.257 + 16 = 81.5; 128 - 255 x 0.148 = 90.3; 128 + 255 x 0.439 = 239.9. The second pixel's colour is cut to
    // a whole number before it is averaged with the first one's: 90.1 and 239.5.
    Bytes vExpected(64 * 48 * 2, 81);
    for (std::size_t ui = 0; ui < vExpected.size(); ui += 4)
    {
        vExpected[ui + 1] = 90;
        vExpected[ui + 3] = 239;
    }
    ASSERT_THAT(m_record.Pictures(), SizeIs(1));
    EXPECT_EQ(m_record.Pictures()[0], vExpected);
}

TEST_F(SessionFramesTest, OneSingleFrameIsHandedOverAtTheCloseOnly)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 255), QM_OK);
    EXPECT_THAT(TakenLevels(), IsEmpty());
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bWhite));
    EXPECT_EQ(CountCalls("Taken last"), 1);
}

TEST_F(SessionFramesTest, TheLastFrameGoesOverTogetherWithTheEndOfTheStream)
{
    const OutputPtr pFile = MakeFile(64, 48);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    std::vector<std::string> vTaken = m_record.Calls();
    std::erase_if(vTaken, [](const std::string& strCall) { return strCall.rfind("Taken", 0) != 0; });
    EXPECT_THAT(vTaken, ElementsAre("Taken", "Taken", "Taken last"));
}

TEST_F(SessionFramesTest, TheSessionIsShutDownByTheThreadWhenItHasEnded)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(CountCalls("Join for ever"), 0);
    EXPECT_EQ(CountCalls("Shutdown"), 1);
    EXPECT_EQ(m_record.m_nSessions, 0);
}

TEST_F(SessionFramesTest, AnObjectThatEndsWithoutACloseFinishesItsStream)
{
    {
        const OutputPtr pFile = MakeFile(64, 48);
        EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
        EXPECT_EQ(WriteGrey(*pFile, 255), QM_OK);
    }
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bBlack, m_bWhite));
    EXPECT_EQ(CountCalls("Taken last"), 1);
}

TEST_F(SessionFramesTest, ASecondCloseDoesNothingMore)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    const std::vector<std::string> vCalls = m_record.Calls();
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(m_record.Calls(), vCalls);
}

TEST_F(SessionFramesTest, AfterTheCloseEveryFrameFails)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_EQ(CountCalls("Build"), 1);
}

TEST_F(SessionFramesTest, AfterTheCloseNoOtherEncoderTakesTheFile)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    m_pFormat->Choose(L"NVENC1");
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_FALSE(pFile->IsNvenc());
}

// While a source copies it, the picture stays as it is.
TEST_F(SessionFramesTest, APictureAndItsDurationAreHandedOverUnderTheirLock)
{
    CPictureHandover handover;
    ASSERT_EQ(handover.Open(64, 48), QM_OK);
    const SQmImageAttributes attributes = test_support::PictureAttributes(64, 48);
    const auto hand = [&](std::uint8_t bLevel) {
        CRawPicture picture;
        const Bytes vPixels(64 * 3 * 48, bLevel);
        EXPECT_EQ(picture.Take({vPixels.data(), attributes, attributes}), QM_OK);
        handover.SetPending(picture.Get());
        handover.HandOver(bLevel, false);
    };
    hand(0);
    EXPECT_TRUE(ResetEvent(handover.m_hFrameReady));

    EnterCriticalSection(&handover.m_csPicture);
    std::thread host([&] { hand(255); });
    EXPECT_EQ(WaitForSingleObject(handover.m_hFrameReady, 50), static_cast<DWORD>(WAIT_TIMEOUT));
    EXPECT_EQ(handover.m_picHandover.m_pData[0], m_bBlack);
    EXPECT_EQ(handover.m_dSampleTime, 0.0);
    LeaveCriticalSection(&handover.m_csPicture);
    host.join();
    EXPECT_TRUE(IsSet(handover.m_hFrameReady));
    EXPECT_EQ(handover.m_picHandover.m_pData[0], m_bWhite);
    EXPECT_EQ(handover.m_dSampleTime, 255.0);
}

// --- indices ---

TEST_F(SessionFramesTest, IndexZeroThroughoutNeverWakesTheSource)
{
    const OutputPtr pFile = MakeFile(64, 48);
    for (int i = 0; i < 5; ++i)
    {
        const Bytes vPixels(m_vPixels.size(), i < 4 ? 0 : 255);
        EXPECT_EQ(pFile->WriteFrame(0, vPixels.data(), nullptr, nullptr), QM_OK);
        EXPECT_FALSE(IsSet(m_record.m_pHandover->m_hFrameReady));
    }
    EXPECT_THAT(TakenLevels(), IsEmpty());
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bWhite));
}

TEST_F(SessionFramesTest, IndexZeroLaterInTheFileOverwritesTheFrameBefore)
{
    const Bytes vBlack(m_vPixels.size(), 0);
    const Bytes vWhite(m_vPixels.size(), 255);
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(pFile->WriteFrame(0, vBlack.data(), nullptr, nullptr), QM_OK);
    EXPECT_EQ(pFile->WriteFrame(1, vBlack.data(), nullptr, nullptr), QM_OK);
    EXPECT_EQ(pFile->WriteFrame(0, vWhite.data(), nullptr, nullptr), QM_OK);  // in the place of the second one
    EXPECT_EQ(pFile->WriteFrame(7, vBlack.data(), nullptr, nullptr), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bBlack, m_bWhite, m_bBlack));
}

// A picture without content would be a wrong frame.
TEST_F(SessionFramesTest, AHostThatBeginsWithALaterIndexHasNothingHandedOverBeforeItsFirstFrame)
{
    const Bytes vWhite(m_vPixels.size(), 255);
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(pFile->WriteFrame(3, vWhite.data(), nullptr, nullptr), QM_OK);
    EXPECT_EQ(pFile->WriteFrame(4, vWhite.data(), nullptr, nullptr), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bWhite, m_bWhite));
}

// --- sizes and forms ---

// Of black and white pixels at random: each keeps its luma only where nothing is resampled.
TEST_F(SessionFramesTest, AnOddPictureLiesInTheCornerOfABlackOneOfTheNextEvenSize)
{
    constexpr std::uint32_t uiWidth = 5, uiHeight = 3, uiPitch = 16;
    std::mt19937 random(5);
    for (int iFrame = 0; iFrame < 3; ++iFrame)
    {
        Bytes vPixels(uiPitch * uiHeight, 0x55);  // between the rows too
        Bytes vLuma(6 * 4, m_bBlack);
        for (std::uint32_t y = 0; y < uiHeight; ++y)
        {
            for (std::uint32_t x = 0; x < uiWidth; ++x)
            {
                const bool bWhite = random() % 2 != 0;
                std::fill_n(vPixels.begin() + y * uiPitch + x * 3, 3, bWhite ? 255 : 0);
                vLuma[y * 6 + x] = bWhite ? m_bWhite : m_bBlack;
            }
        }
        const OutputPtr pFile = MakeFile(uiWidth, uiHeight);
        EXPECT_EQ(pFile->WriteNextFrame(vPixels.data()), QM_OK);
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);

        ASSERT_THAT(m_record.Pictures(), SizeIs(iFrame + 1));
        EXPECT_EQ(LumaOf(m_record.Pictures().back()), vLuma);
    }
}

TEST_F(SessionFramesTest, OneOddSideIsPaddedAlone)
{
    const OutputPtr pFile = MakeFile(4, 3);
    const Bytes vPixels(12 * 3, 255);
    EXPECT_EQ(pFile->WriteNextFrame(vPixels.data()), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    ASSERT_THAT(m_record.Pictures(), SizeIs(1));
    Bytes vLuma(4 * 4, m_bBlack);
    std::fill_n(vLuma.begin(), 4 * 3, m_bWhite);
    EXPECT_EQ(LumaOf(m_record.Pictures()[0]), vLuma);
}

TEST_F(SessionFramesTest, AnEvenPictureIsReadAtThePitchOfItsOwnRows)
{
    const OutputPtr pFile = MakeFile(2, 2);  // 6 bytes a row, which lie 8 apart
    const Bytes vPixels = {255, 255, 255, 255, 255, 255, 0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(pFile->WriteNextFrame(vPixels.data()), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    ASSERT_THAT(m_record.Pictures(), SizeIs(1));
    EXPECT_THAT(LumaOf(m_record.Pictures()[0]), ElementsAre(m_bWhite, m_bWhite, m_bBlack, m_bBlack));
}

// The host got -4, and goes on all the same: the size is encoded as it was given.
TEST_F(SessionFramesTest, ARefusedPictureOfMoreBytesIsEncodedAtItsUnroundedSize)
{
    SQmImageAttributes attributes = test_support::PictureAttributes(3, 2);
    attributes.m_uiBitsInMemory = 16;
    const OutputPtr pFile = MakeFile();
    EXPECT_EQ(Announce(*pFile, &attributes), QM_ERR_RANGE);
    const Bytes vPixels(20 * 2, 255);
    EXPECT_EQ(pFile->WriteNextFrame(vPixels.data()), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    ASSERT_THAT(m_record.Pictures(), SizeIs(1));
    EXPECT_EQ(LumaOf(m_record.Pictures()[0]), Bytes(3 * 2, m_bWhite));
}

// A third of the bytes that 24-bit pixels take, and nothing after them may be read.
TEST_F(SessionFramesTest, ARefusedPictureOfFewerBytesIsNotRead)
{
    SQmImageAttributes attributes = test_support::PictureAttributes(64, 48);
    attributes.m_uiComponents = 1;
    const OutputPtr pFile = MakeFile();
    EXPECT_EQ(Announce(*pFile, &attributes), QM_ERR_RANGE);
    const auto pPixels = std::make_unique<std::uint8_t[]>(64 * 48);
    EXPECT_EQ(pFile->WriteNextFrame(pPixels.get()), QM_ERR_FAIL);
    EXPECT_EQ(pFile->WriteNextFrame(pPixels.get()), QM_ERR_FAIL);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(m_record.Calls(), IsEmpty());
}

TEST_F(SessionFramesTest, ASizeThatIsEncodedTheSameIsNoOtherSize)
{
    const OutputPtr pFile = MakeFile(64, 48);
    for (const std::uint32_t uiWidth : {64U, 63U, 64U, 63U})
    {
        const SQmImageAttributes attributes = test_support::PictureAttributes(uiWidth, 48);
        EXPECT_EQ(Announce(*pFile, &attributes), QM_OK);
        EXPECT_EQ(WriteGrey(*pFile, 255), QM_OK);
    }
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    ASSERT_THAT(m_record.Pictures(), SizeIs(4));
    for (const std::size_t ui : {0, 1, 2, 3})
    {
        Bytes vLuma(64 * 48, m_bWhite);
        for (std::size_t y = 0; ui % 2 != 0 && y < 48; ++y)
            vLuma[y * 64 + 63] = m_bBlack;
        EXPECT_EQ(LumaOf(m_record.Pictures()[ui]), vLuma) << ui;
    }
}

TEST_F(SessionFramesTest, AFormAnnouncedInTheMiddleOfAFileEndsItAfterTheLastGoodFrame)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 255), QM_OK);
    SQmImageAttributes grey = test_support::PictureAttributes(64, 48);
    grey.m_uiComponents = 1;
    EXPECT_EQ(Announce(*pFile, &grey), QM_ERR_RANGE);
    const auto pPixels = std::make_unique<std::uint8_t[]>(64 * 48);
    EXPECT_EQ(pFile->WriteNextFrame(pPixels.get()), QM_ERR_FAIL);
    const SQmImageAttributes former = test_support::PictureAttributes(64, 48);
    EXPECT_EQ(Announce(*pFile, &former), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bWhite));
}

TEST_F(SessionFramesTest, AMissingPictureInTheMiddleOfAFileEndsItAfterTheLastGoodFrame)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 255), QM_OK);
    EXPECT_EQ(pFile->WriteNextFrame(nullptr), QM_ERR_FAIL);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bWhite));
}

// 32 bits don't hold the bytes of its rows.
TEST_F(SessionFramesTest, AWidthWhoseRowsCanNotBeCountedIsRefused)
{
    for (const std::uint32_t uiWidth : {178956972U, 0x55555558U, 0xFFFFFFF0U})
    {
        const OutputPtr pFile = MakeFile(uiWidth, 2);
        EXPECT_EQ(pFile->WriteNextFrame(m_vPixels.data()), QM_ERR_FAIL) << uiWidth;
    }
    EXPECT_THAT(m_record.Calls(), IsEmpty());
}

TEST_F(SessionFramesTest, ASizeAnnouncedInTheMiddleOfAFileEndsItAfterTheLastGoodFrame)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 255), QM_OK);
    const SQmImageAttributes larger = test_support::PictureAttributes(640, 480);
    EXPECT_EQ(Announce(*pFile, &larger), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
    const SQmImageAttributes former = test_support::PictureAttributes(64, 48);
    EXPECT_EQ(Announce(*pFile, &former), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);  // its time would be a wrong one
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bBlack, m_bWhite));
}

// --- without memory ---

// The two pictures have 2 bytes a pixel; a set-up that fails is tried again.
TEST_F(SessionFramesTest, WithoutMemoryForEitherPictureTheSetUpFails)
{
    if (!CShortMemory::ReachesLibraries()) GTEST_SKIP() << "pictures take their memory from another allocator here";
    for (const bool bSecond : {false, true})
    {
        CPictureHandover handover;
        EXPECT_EQ(bSecond ? handover.Open(64, 48) : QM_OK, QM_OK);  // another size needs memory again
        const std::uint32_t uiWidth = bSecond ? 640 : 64;
        {
            const CShortMemory memory(uiWidth * 48 * 2, uiWidth * 48 * 2 + 1000);
            EXPECT_EQ(handover.Open(uiWidth, 48), QM_ERR_FAIL);
            EXPECT_EQ(memory.GetRefused(), 1U);
        }
        EXPECT_EQ(handover.Open(uiWidth, 48), QM_OK);
    }
    const OutputPtr pFile = MakeFile(64, 48);
    {
        const CShortMemory memory(64 * 48 * 2, 64 * 48 * 2 + 1000);
        EXPECT_EQ(WriteGrey(*pFile, 0), QM_ERR_FAIL);
        EXPECT_EQ(memory.GetRefused(), 1U);
    }
    EXPECT_THAT(m_record.Calls(), IsEmpty());
    EXPECT_EQ(WriteGrey(*pFile, 255), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bWhite));
}

// An odd picture is padded in memory of its own, of 3 bytes a pixel.
TEST_F(SessionFramesTest, WithoutMemoryForAPaddedPictureTheFileEndsAfterTheLastGoodFrame)
{
    if (!CShortMemory::ReachesLibraries()) GTEST_SKIP() << "pictures take their memory from another allocator here";
    const OutputPtr pFile = MakeFile(63, 48);
    EXPECT_EQ(WriteGrey(*pFile, 255), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    {
        const CShortMemory memory(64 * 48 * 3, 64 * 48 * 3 + 1000);
        EXPECT_EQ(pFile->WriteNextFrame(m_vPixels.data()), QM_ERR_FAIL);
        EXPECT_EQ(memory.GetRefused(), 1U);
    }
    EXPECT_EQ(WriteGrey(*pFile, 255), QM_ERR_FAIL);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(TakenLevels(), ElementsAre(m_bWhite, m_bBlack));
}

// --- times and codec ---

TEST_F(SessionFramesTest, EachFramesTimeIsItsDistanceFromTheOneBefore)
{
    const OutputPtr pFile = MakeFile(64, 48);
    for (const double dTime : {1000.0, 1040.0, 1100.0, 1100.5, 1090.0, 1103.0})
        EXPECT_EQ(WriteAt(*pFile, dTime), QM_OK);
    // At least 1 ms, from the second distance on; a time that runs back counts as the one before it.
    EXPECT_THAT(pFile->GetTimes(), ElementsAre(0.0, 40.0, 60.0, 1.0, 1.0, 2.5));
}

// The last one's isn't known: it repeats the distance before it.
TEST_F(SessionFramesTest, EachPictureGoesOverWithItsDistanceFromTheNextOne)
{
    const OutputPtr pFile = MakeFile(64, 48);
    for (const double dTime : {1000.0, 1040.0, 1100.0, 1100.5})
        EXPECT_EQ(WriteAt(*pFile, dTime), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(m_record.Durations(), ElementsAre(40.0, 60.0, 1.0, 1.0));
}

TEST_F(SessionFramesTest, OneSingleFrameHasNoDuration)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteAt(*pFile, 1000.0), QM_OK);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(m_record.Durations(), ElementsAre(0.0));
}

TEST_F(SessionFramesTest, FramesThatAreRefusedDoNotLengthenTheLastPicture)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    EXPECT_EQ(WriteAt(*pFile, 40.0), QM_OK);
    for (const double dTime : {100.0, 3'600'000.0})
    {
        EXPECT_EQ(pFile->SetFrameTime(dTime), QM_OK);
        EXPECT_EQ(pFile->WriteNextFrame(nullptr), QM_ERR_FAIL);
    }
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_THAT(m_record.Durations(), ElementsAre(40.0, 40.0));
    EXPECT_THAT(pFile->GetTimes(), ElementsAre(0.0, 40.0, 60.0, 3'599'900.0));
}

TEST_F(SessionFramesTest, TheGraphIsBuiltForTheFileTheSizesAndTheCodec)
{
    m_pFormat->Choose(L"NQ");
    const OutputPtr pFile = MakeFile(L"nowhere.mp4");
    SQmImageAttributes attributes = test_support::PictureAttributes(5, 3);
    attributes.m_uiSequenceCount = 7;
    EXPECT_EQ(Announce(*pFile, &attributes), QM_OK);
    const Bytes vPixels(16 * 3, 0);
    EXPECT_EQ(pFile->WriteNextFrame(vPixels.data()), QM_OK);
    EXPECT_EQ(m_record.m_settings.m_wszPath, L"nowhere.mp4");
    EXPECT_THAT(m_record.m_settings.m_vNumbers, ElementsAre(6U, 4U, 5U, 3U, 7U));
    EXPECT_EQ(m_record.m_settings.m_wszCode, L"NQ");
}

TEST_F(SessionFramesTest, ASequenceWithoutACountEndsAtTheCloseOnly)
{
    const OutputPtr pFile = MakeFile(64, 48);
    SQmImageAttributes attributes = test_support::PictureAttributes(64, 48);
    attributes.m_uiSequenceCount = 0;
    EXPECT_EQ(Announce(*pFile, &attributes), QM_OK);
    for (int i = 0; i < 20; ++i)
    {
        EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
        EXPECT_EQ(m_record.m_pHandover->m_nEndOfStream, 0U) << i;
    }
    EXPECT_EQ(m_record.m_settings.m_vNumbers.back(), 0xFFFFFFFFU);
    EXPECT_EQ(CountCalls("Taken"), 19);
    EXPECT_EQ(CountCalls("Taken last"), 0);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(CountCalls("Taken last"), 1);
}

TEST_F(SessionFramesTest, AFrameThatFailsHasATimeToo)
{
    m_record.m_script.m_hrBuild = E_FAIL;
    const OutputPtr pFile = MakeFile(64, 48);
    for (const double dTime : {0.0, 40.0, 100.0})
        EXPECT_EQ(WriteAt(*pFile, dTime), QM_ERR_FAIL);
    EXPECT_THAT(pFile->GetTimes(), ElementsAre(0.0, 40.0, 60.0));
}

TEST_F(SessionFramesTest, TheCodecIsAskedForUntilTheSessionRuns)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_THAT(m_pFormat->m_vCalls, ElementsAre("GetActiveCodec", "GetCodecInfo", "GetActiveCodec", "GetCodecInfo"));
    m_pFormat->m_vCalls.clear();
    m_pFormat->Choose(L"NVENC1");
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    EXPECT_THAT(m_pFormat->m_vCalls, IsEmpty());
    EXPECT_FALSE(pFile->IsNvenc());
}

TEST_F(SessionFramesTest, NoSessionIsMadeForAnotherEncoder)
{
    m_pFormat->Choose(L"NVENC1");
    {
        const OutputPtr pFile = MakeFile(64, 48);
        EXPECT_EQ(WriteGrey(*pFile, 0), QM_OK);
    }
    EXPECT_THAT(m_record.Calls(), IsEmpty());
}
