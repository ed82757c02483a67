// How files of the system's encoder end: with a close at any moment, without one, by their number of pictures, slowly,
// and many of them one after the other.
#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>
#include <vector>

#include <windows.h>

#include "platform/mediafoundation/write_script.h"
#include "support/process_state.h"
#include "support/repetitions.h"
#include "support/temporary_folder.h"
#include "support/writing_host.h"
#include "test_pictures.h"

namespace
{

using namespace test_support;

constexpr std::uint32_t g_uiWidth = 64;
constexpr std::uint32_t g_uiHeight = 48;

class SystemFileEnds : public testing::Test
{
protected:
    SystemFileEnds()
    {
        ChooseCodec(m_host, L"HQ");
        MediaWriteScript_Reset();
    }
    ~SystemFileEnds() override { MediaWriteScript_Reset(); }

    OutputFile Open(std::uint32_t uiCount = 0) const
    {
        return OpenForPictures(m_host, m_path, g_uiWidth, g_uiHeight, uiCount);
    }
    static QmStatus Write(const OutputFile& file, std::uint32_t uiFrame)
    {
        return WriteAt(file, 40.0 * uiFrame, NumberedPicture(g_uiWidth, g_uiHeight, uiFrame + 1));
    }
    static void WriteFrames(const OutputFile& file, std::uint32_t uiFrom, std::uint32_t uiTo)
    {
        for (std::uint32_t ui = uiFrom; ui < uiTo; ++ui)
            EXPECT_EQ(Write(file, ui), QM_OK) << "frame " << ui;
    }

    void ExpectNumbers(std::uint32_t uiCount) const
    {
        EXPECT_EQ(NumbersIn(m_path, g_uiWidth, g_uiHeight), Numbers(1, uiCount));
    }

    static void AwaitCall(MediaWriteCall eCall)
    {
        for (int i = 0; i < 60000 && MediaWriteScript_CallCount(eCall) == 0; ++i)
            Sleep(1);
        ASSERT_NE(MediaWriteScript_CallCount(eCall), 0U);
    }

    // Until the file is finished.
    void AwaitReadable() const
    {
        SQmImageAttributes attributes;
        for (int i = 0; i < 6000; ++i)
        {
            if (m_host.OpenInput(m_path)->GetImageAttributes(&attributes) == QM_OK) return;
            Sleep(10);
        }
        FAIL() << "the file isn't finished";
    }

    const TemporaryFolder m_dir;
    const std::filesystem::path m_path = m_dir / "written.mp4";
    const ModuleHost m_host;
};

// --- at any moment ---

// Every picture that was taken is in the file, wherever its way has led it when the end comes.
TEST_F(SystemFileEnds, AtRandomMomentsWithEveryPictureThatWasTaken)
{
    const unsigned uiSeed = std::random_device()();
    std::mt19937 random(uiSeed);
    for (int i = 0; i < Repetitions(20); ++i)
    {
        const auto uiFrames = static_cast<std::uint32_t>(i == 0 ? 1 : 1 + random() % 12);
        const bool bClose = random() % 2 != 0;
        SCOPED_TRACE("seed " + std::to_string(uiSeed) + ", file " + std::to_string(i));
        OutputFile file = Open();
        for (std::uint32_t ui = 0; ui < uiFrames; ++ui)
        {
            EXPECT_EQ(Write(file, ui), QM_OK);
            if (random() % 3 == 0) Sleep(static_cast<DWORD>(random() % 8));
        }
        if (bClose)
        {
            EXPECT_EQ(file->CloseOutput(), QM_OK);
        }
        file.Reset();
        ExpectNumbers(uiFrames);
    }
}

TEST_F(SystemFileEnds, WithoutAFrameThereIsNoFile)
{
    {
        const OutputFile file = Open();
        EXPECT_EQ(file->CloseOutput(), QM_OK);
    }
    Open().Reset();
    EXPECT_TRUE(std::filesystem::is_empty(m_dir.Path()));
}

TEST_F(SystemFileEnds, WithTheLastReleaseWhenNothingClosesIt)
{
    Open().Reset();
    const std::size_t uiThreads = CountThreads();
    const std::size_t uiFiles = CountOpenFiles();
    OutputFile file = Open();
    WriteFrames(file, 0, 10);
    file.Reset();
    EXPECT_TRUE(FallsTo(uiThreads, CountThreads));
    EXPECT_TRUE(FallsTo(uiFiles, CountOpenFiles));
    ExpectNumbers(10);
}

// --- by the number of its pictures ---

TEST_F(SystemFileEnds, ByItselfAfterAsManyPicturesAsItsSequenceHas)
{
    const OutputFile file = Open(5);
    WriteFrames(file, 0, 5);
    EXPECT_EQ(MediaWriteScript_CallCount(MediaWriteCall::BeginFinalize), 0U) << "the fifth picture isn't handed over";
    WriteFrames(file, 5, 6);
    AwaitReadable();
    ExpectNumbers(5);

    const Bytes vEnded = ReadBytes(m_path);
    for (std::uint32_t ui = 6; ui < 9; ++ui)
        EXPECT_EQ(Write(file, ui), QM_ERR_FAIL) << "frame " << ui;
    EXPECT_EQ(file->CloseOutput(), QM_OK);
    EXPECT_TRUE(ReadBytes(m_path) == vEnded) << "the close has changed a file that had ended";
}

TEST_F(SystemFileEnds, WithTheCloseWhenItsSequenceIsJustComplete)
{
    const OutputFile file = Open(5);
    WriteFrames(file, 0, 5);
    EXPECT_EQ(file->CloseOutput(), QM_OK);
    ExpectNumbers(5);
}

TEST_F(SystemFileEnds, WithTheCloseWhenItsSequenceIsNotComplete)
{
    const OutputFile file = Open(50);
    WriteFrames(file, 0, 5);
    EXPECT_EQ(file->CloseOutput(), QM_OK);
    ExpectNumbers(5);
}

TEST_F(SystemFileEnds, WithTheCloseOnlyWhenItsSequenceHasNoCount)
{
    for (const std::uint32_t uiCount : {0U, 0xFFFFFFFFU})
    {
        SCOPED_TRACE(uiCount);
        MediaWriteScript_Reset();
        const OutputFile file = Open(uiCount);
        WriteFrames(file, 0, 40);
        EXPECT_EQ(MediaWriteScript_CallCount(MediaWriteCall::BeginFinalize), 0U);
        EXPECT_EQ(file->CloseOutput(), QM_OK);
        EXPECT_EQ(MediaWriteScript_CallCount(MediaWriteCall::BeginFinalize), 1U);
        ExpectNumbers(40);
    }
}

// --- slowly ---

TEST_F(SystemFileEnds, SlowlyWhenItsFinalisationTakesLong)
{
    MediaWriteScript_HoldFinalize(TRUE);
    const OutputFile file = Open();
    WriteFrames(file, 0, 6);
    std::atomic<bool> bClosed{false};
    std::thread closing([&] {
        EXPECT_EQ(file->CloseOutput(), QM_OK);
        bClosed = true;
    });
    AwaitCall(MediaWriteCall::BeginFinalize);
    Sleep(50);
    EXPECT_FALSE(bClosed);
    EXPECT_EQ(MediaWriteScript_CallCount(MediaWriteCall::Finalize), 0U);
    MediaWriteScript_HoldFinalize(FALSE);
    closing.join();
    ExpectNumbers(6);
}

// --- many ---

// What a file leaves is its callback, some hundred bytes. One of its two pictures is 153,600.
TEST_F(SystemFileEnds, AndLeavesNothingThatManyFilesAddUp)
{
    const auto write = [&](int nFiles) {
        for (int i = 0; i < nFiles; ++i)
        {
            ChooseCodec(m_host, i % 10 == 0 ? L"HQ" : L"FST");
            WriteFile(m_host, m_path, EvenTimes(2), [](std::uint32_t ui) { return NumberedPicture(320, 240, ui + 1); });
        }
    };
    const int nFiles = FullFromAQuarter(150);
    write(FullFromAQuarter(50));
    const std::size_t uiThreads = CountThreads();
    const std::size_t uiFiles = CountOpenFiles();
    const std::size_t uiBytes = CountAllocatedBytes();
    write(nFiles);
    EXPECT_TRUE(FallsTo(uiThreads, CountThreads));
    EXPECT_TRUE(FallsTo(uiFiles, CountOpenFiles));
    EXPECT_LT(CountAllocatedBytes(), uiBytes + static_cast<std::size_t>(nFiles) * 10'000);
}

}  // namespace
