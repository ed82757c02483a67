// Files of the system's encoder when a part of it fails: what the host gets, what is left, and that a later file of the
// same process is as it should be.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include <mferror.h>

#include "platform/mediafoundation/write_script.h"
#include "support/process_state.h"
#include "support/run_program.h"
#include "support/temporary_folder.h"
#include "support/writing_host.h"
#include "test_pictures.h"

namespace
{

using namespace test_support;

constexpr std::uint32_t g_uiWidth = 64;
constexpr std::uint32_t g_uiHeight = 48;
constexpr HRESULT g_hrFailure = static_cast<HRESULT>(0xC00D7777);

// How many pictures may be on their way from the host to the file, at most. A failure shows no later.
constexpr std::uint32_t g_uiOnTheWay = 12;

class SystemWritingFails : public testing::Test
{
protected:
    SystemWritingFails()
    {
        ChooseCodec(m_host, L"HQ");
        MediaWriteScript_Reset();
    }
    ~SystemWritingFails() override { MediaWriteScript_Reset(); }

    static HostPicture Picture(std::uint32_t uiFrame) { return NumberedPicture(g_uiWidth, g_uiHeight, uiFrame + 1); }
    OutputFile Open() const { return OpenForPictures(m_host, m_path, g_uiWidth, g_uiHeight); }
    static QmStatus Write(const OutputFile& file, std::uint32_t uiFrame)
    {
        return WriteAt(file, 40.0 * uiFrame, Picture(uiFrame));
    }

    // Writes frames until one is refused, which is one of the first uiAtMost, and a few more, which are refused too.
    // The number of those before.
    static std::uint32_t WriteUntilRefused(const OutputFile& file, std::uint32_t uiAtMost)
    {
        std::uint32_t uiFrame = 0;
        while (uiFrame < uiAtMost && Write(file, uiFrame) == QM_OK)
            ++uiFrame;
        EXPECT_LT(uiFrame, uiAtMost) << "no frame is refused";
        for (std::uint32_t ui = 1; ui <= 3; ++ui)
            EXPECT_EQ(Write(file, uiFrame + ui), QM_ERR_FAIL) << "frame " << ui << " after the first that is refused";
        return uiFrame;
    }

    void ExpectALaterFileIsGood() const
    {
        MediaWriteScript_Reset();
        const std::filesystem::path path = m_dir / "later.mp4";
        WriteFile(m_host, path, EvenTimes(6), Picture);
        EXPECT_EQ(NumbersIn(path, g_uiWidth, g_uiHeight), Numbers(1, 6));
        std::filesystem::remove(path);
    }

    // No finished file: it has no index.
    void ExpectUnfinished() const
    {
        const InputFile reader = m_host.OpenInput(m_path);
        SQmImageAttributes attributes;
        EXPECT_EQ(reader->GetImageAttributes(&attributes), QM_ERR_FAIL);
    }

    const TemporaryFolder m_dir;
    const std::filesystem::path m_path = m_dir / "written.mp4";
    const ModuleHost m_host;
};

// --- the set-up ---

struct SSetUpFailure
{
    const char* m_pszName;
    MediaWriteCall m_eCall;
    HRESULT m_hr;
    bool m_bLeavesFile;
};

class SystemSetUpFails : public SystemWritingFails, public testing::WithParamInterface<SSetUpFailure>
{
protected:
    static void FailNext() { MediaWriteScript_FailCall(GetParam().m_eCall, 1, GetParam().m_hr); }
};

TEST_P(SystemSetUpFails, EveryFrameIsRefusedAndTheTargetStaysAsFarAsItGot)
{
    const std::size_t uiFiles = CountOpenFiles();
    const std::size_t uiThreads = CountThreads();
    {
        const OutputFile file = Open();
        for (std::uint32_t ui = 0; ui < 4; ++ui)
        {
            FailNext();
            EXPECT_EQ(Write(file, ui), QM_ERR_FAIL) << "frame " << ui;
        }
        EXPECT_EQ(MediaWriteScript_CallCount(GetParam().m_eCall), 4U) << "a set-up is tried with every frame";
        EXPECT_EQ(file->CloseOutput(), QM_OK);
        EXPECT_TRUE(FallsTo(uiFiles, CountOpenFiles));
        EXPECT_TRUE(FallsTo(uiThreads, CountThreads));
    }
    EXPECT_EQ(std::filesystem::exists(m_path), GetParam().m_bLeavesFile);
    ExpectALaterFileIsGood();
}

// The frame that was refused is the only one that is missing.
TEST_P(SystemSetUpFails, TheNextFrameIsTheFilesFirst)
{
    const OutputFile file = Open();
    FailNext();
    EXPECT_EQ(Write(file, 0), QM_ERR_FAIL);
    for (std::uint32_t ui = 1; ui < 6; ++ui)
        EXPECT_EQ(Write(file, ui), QM_OK) << "frame " << ui;
    EXPECT_EQ(file->CloseOutput(), QM_OK);
    EXPECT_EQ(NumbersIn(m_path, g_uiWidth, g_uiHeight), Numbers(2, 6));
}

INSTANTIATE_TEST_SUITE_P(
    Steps, SystemSetUpFails,
    testing::Values(SSetUpFailure{"TheTargetCannotBeMade", MediaWriteCall::CreateFile, E_ACCESSDENIED, false},
                    SSetUpFailure{"ThereIsNoSession", MediaWriteCall::CreateSession, E_OUTOFMEMORY, true},
                    SSetUpFailure{"ThereIsNoEncoder", MediaWriteCall::FindEncoder, S_FALSE, true},
                    SSetUpFailure{"TheEncoderCannotBeMade", MediaWriteCall::ActivateEncoder, g_hrFailure, true},
                    SSetUpFailure{"TheEncoderRefusesTheType", MediaWriteCall::SetOutputType, MF_E_INVALIDMEDIATYPE,
                                  true},
                    SSetUpFailure{"TheSinkCannotBeMade", MediaWriteCall::CreateSink, g_hrFailure, true},
                    SSetUpFailure{"TheSinkHasNoStream", MediaWriteCall::GetStreamSink, g_hrFailure, true},
                    SSetUpFailure{"ThereIsNoTopology", MediaWriteCall::CreateTopology, g_hrFailure, true}),
    [](const auto& failure) { return std::string(failure.param.m_pszName); });

TEST_F(SystemWritingFails, IntoAFolderThatDoesNotExist)
{
    const OutputFile file = OpenForPictures(m_host, m_dir / "nowhere/written.mp4", g_uiWidth, g_uiHeight);
    for (std::uint32_t ui = 0; ui < 3; ++ui)
        EXPECT_EQ(Write(file, ui), QM_ERR_FAIL);
    EXPECT_EQ(file->CloseOutput(), QM_OK);
    EXPECT_TRUE(std::filesystem::is_empty(m_dir.Path()));
}

TEST_F(SystemWritingFails, WithoutATarget)
{
    IQmOutputImageFile* pFile = nullptr;
    ASSERT_EQ(m_host.Format()->CreateOutputFile(nullptr, &pFile), QM_OK);
    const OutputFile file(pFile);
    SetSize(m_host, file, g_uiWidth, g_uiHeight);
    for (std::uint32_t ui = 0; ui < 3; ++ui)
        EXPECT_EQ(Write(file, ui), QM_ERR_FAIL);
    EXPECT_EQ(file->CloseOutput(), QM_OK);
}

// --- while pictures are written ---

// Two frames may be taken: the first is only kept, and the end of the session's thread counts as the second's
// hand-over.
TEST_F(SystemWritingFails, WhenTheSessionRefusesTheTopology)
{
    MediaWriteScript_FailCall(MediaWriteCall::SetTopology, 1, g_hrFailure);
    {
        const OutputFile file = Open();
        const std::uint32_t uiTaken = WriteUntilRefused(file, 3);
        EXPECT_GE(uiTaken, 1U);
        EXPECT_EQ(file->CloseOutput(), QM_OK);
    }
    EXPECT_EQ(MediaWriteScript_CallCount(MediaWriteCall::BeginFinalize), 1U) << "the sink is finalised all the same";
    ExpectALaterFileIsGood();
}

TEST_F(SystemWritingFails, WhenTheSessionFindsThatTheEncoderDoesNotTakeThePictures)
{
    MediaWriteScript_FailCall(MediaWriteCall::SetInputType, 2, MF_E_INVALIDMEDIATYPE);  // the first is the set-up's
    {
        const OutputFile file = Open();
        const std::uint32_t uiTaken = WriteUntilRefused(file, 3);
        EXPECT_GE(uiTaken, 1U);
        EXPECT_EQ(file->CloseOutput(), QM_OK);
    }
    EXPECT_EQ(MediaWriteScript_CallCount(MediaWriteCall::BeginFinalize), 1U);
    ExpectALaterFileIsGood();
}

// What was written before the failure is a file. Of what the encoder still held, nothing is in it.
TEST_F(SystemWritingFails, WhenTheEncoderFailsAtAnyPicture)
{
    for (const std::uint32_t uiPicture : {1U, 2U, 3U, 5U, 9U, 30U})
    {
        SCOPED_TRACE(uiPicture);
        MediaWriteScript_Reset();
        MediaWriteScript_FailCall(MediaWriteCall::EncodeSample, uiPicture, g_hrFailure);
        {
            const OutputFile file = Open();
            const std::uint32_t uiTaken = WriteUntilRefused(file, uiPicture + g_uiOnTheWay);
            EXPECT_GE(uiTaken, uiPicture) << "a frame is handed over with the next one";
            EXPECT_EQ(file->CloseOutput(), QM_OK);
        }
        EXPECT_EQ(MediaWriteScript_CallCount(MediaWriteCall::BeginFinalize), 1U);
        const unsigned uiSamples = MediaWriteScript_CallCount(MediaWriteCall::WriteSample);
        EXPECT_LT(uiSamples, uiPicture);
        if (uiSamples != 0)
        {
            EXPECT_EQ(ReadBack(m_host, m_path).Count(), uiSamples);
        }
    }
    ExpectALaterFileIsGood();
}

TEST_F(SystemWritingFails, WhenTheSinkFailsAtAnyPicture)
{
    for (const std::uint32_t uiPicture : {1U, 2U, 3U, 5U, 9U, 30U})
    {
        SCOPED_TRACE(uiPicture);
        MediaWriteScript_Reset();
        MediaWriteScript_FailCall(MediaWriteCall::WriteSample, uiPicture, g_hrFailure);
        {
            // The encoder holds pictures back, by far not as many as these.
            const OutputFile file = Open();
            const std::uint32_t uiTaken = WriteUntilRefused(file, uiPicture + 200);
            EXPECT_GE(uiTaken, uiPicture);
            EXPECT_EQ(file->CloseOutput(), QM_OK);
        }
        EXPECT_EQ(MediaWriteScript_CallCount(MediaWriteCall::BeginFinalize), 1U);
        EXPECT_EQ(MediaWriteScript_CallCount(MediaWriteCall::WriteSample), uiPicture);
        if (uiPicture > 1)
        {
            EXPECT_EQ(ReadBack(m_host, m_path).Count(), uiPicture - 1);
        }
    }
    ExpectALaterFileIsGood();
}

// --- the end ---

// The host has no call that would report it.
TEST_F(SystemWritingFails, WhenTheFileCannotBeFinalised)
{
    for (const MediaWriteCall eCall : {MediaWriteCall::BeginFinalize, MediaWriteCall::Finalize})
    {
        SCOPED_TRACE(static_cast<int>(eCall));
        MediaWriteScript_Reset();
        MediaWriteScript_FailCall(eCall, 1, g_hrFailure);
        const OutputFile file = Open();
        for (std::uint32_t ui = 0; ui < 6; ++ui)
            EXPECT_EQ(Write(file, ui), QM_OK);
        EXPECT_EQ(file->CloseOutput(), QM_OK);
        ExpectUnfinished();
        ExpectALaterFileIsGood();
    }
}

// The session reports that a sample can't be written, and a frame after that one is refused. Without its whole index
// the file is no finished one, wherever the disk was full.
TEST_F(SystemWritingFails, OnADiskThatIsFull)
{
    constexpr std::uint32_t uiFrames = 120;
    const auto noise = [](std::uint32_t ui) { return NoisyPicture(160, 96, ui); };
    WriteFile(m_host, m_dir / "good.mp4", EvenTimes(uiFrames), noise);
    const std::size_t uiWhole = std::filesystem::file_size(m_dir / "good.mp4");
    for (const std::size_t uiFree :
         {std::size_t{0}, std::size_t{20}, std::size_t{5000}, uiWhole / 4, uiWhole - 2000, uiWhole - 1})
    {
        SCOPED_TRACE(uiFree);
        const ProgramResult writer =
            RunProgram(QM_WRITER, {"full", m_path.string(), std::to_string(uiFrames), std::to_string(uiFree), "HQ"});
        // At the end of the disk only the pictures that the encoder held back are missing, which no frame shows.
        if (uiFree <= uiWhole / 4)
        {
            EXPECT_EQ(writer.m_nStatus, 3) << writer.m_strErr;
        }
        EXPECT_LE(std::filesystem::file_size(m_path), uiFree);
        ExpectUnfinished();
        EXPECT_EQ(ReadBack(m_host, m_path.string() + ".later").Count(), uiFrames)
            << "the same process, with space on the disk again";
    }
}

}  // namespace
