// An input object may go in any state: never opened, open, playing, paused, in the middle of a decode.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "support/ffmpeg.h"
#include "support/module_host.h"
#include "support/process_state.h"
#include "support/temporary_folder.h"

namespace
{

using namespace test_support;

class InputLifecycle : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        s_pDir = new TemporaryFolder;
        MakeWithFfmpeg("-f lavfi -i testsrc2=size=640x360:rate=25 -frames:v 300 -c:v libx264 -preset veryfast "
                       "-profile:v high -pix_fmt yuv420p -g 50",
                       Video());
    }
    static void TearDownTestSuite() { delete s_pDir; }

    static std::filesystem::path Video() { return *s_pDir / "video.mp4"; }

    InputFile OpenWithAttributes()
    {
        InputFile file = m_host.OpenInput(Video());
        EXPECT_EQ(QM_OK, file->GetImageAttributes(&m_attributes));
        m_vBuffer.resize(m_attributes.m_uiWidthBytes * std::size_t{m_attributes.m_uiHeight});
        return file;
    }
    QmStatus Read(InputFile& file, std::uint32_t uiFrame)
    {
        return file->ReadFrame(uiFrame, m_vBuffer.data(), nullptr, nullptr);
    }

    static TemporaryFolder* s_pDir;
    ModuleHost m_host;
    SQmImageAttributes m_attributes;
    std::vector<unsigned char> m_vBuffer;
};

TemporaryFolder* InputLifecycle::s_pDir = nullptr;

TEST_F(InputLifecycle, GoesWithoutEverBeingOpened)
{
    InputFile file = m_host.OpenInput(Video());
    file.Reset();
}

TEST_F(InputLifecycle, GoesAfterAFailedOpen)
{
    InputFile file = m_host.OpenInput(*s_pDir / "nothing.mp4");
    EXPECT_EQ(QM_ERR_FAIL, file->GetImageAttributes(&m_attributes));
    EXPECT_EQ(QM_ERR_FAIL, file->GetImageAttributes(&m_attributes));
    m_vBuffer.resize(16);
    EXPECT_EQ(QM_ERR_FAIL, Read(file, 0));
    file.Reset();
}

TEST_F(InputLifecycle, GoesWhenOnlyTheAttributesWereAskedFor)
{
    InputFile file = OpenWithAttributes();
    file.Reset();
}

TEST_F(InputLifecycle, GoesWhilePlaying)
{
    for (int n = 0; n < 20; ++n)
    {
        InputFile file = OpenWithAttributes();
        ASSERT_EQ(QM_OK, Read(file, 0));  // the window after frame 0 is being decoded at this moment
        file.Reset();
    }
}

TEST_F(InputLifecycle, GoesInTheMiddleOfADecodeAfterASeek)
{
    for (const std::uint32_t uiFrame : {299u, 49u, 120u, 1u, 250u})
    {
        InputFile file = OpenWithAttributes();
        ASSERT_EQ(QM_OK, Read(file, 0));
        ASSERT_EQ(QM_OK, Read(file, uiFrame));
        file.Reset();
    }
}

TEST_F(InputLifecycle, GoesWhilePaused)
{
    // A host has no call that shows whether a file is paused, but those that make it play again. The times are around
    // the moment when 49 small pictures are decoded. The last is far after it, except on an overloaded machine: there
    // the last round is one more of those that end while playing.
    for (const int nMilliseconds : {0, 10, 20, 40, 80, 1000})
    {
        InputFile file = OpenWithAttributes();
        ASSERT_EQ(QM_OK, Read(file, 0));
        std::this_thread::sleep_for(std::chrono::milliseconds(nMilliseconds));
        file.Reset();
    }
}

TEST_F(InputLifecycle, GoesAfterTheLastFrame)
{
    InputFile file = OpenWithAttributes();
    ASSERT_EQ(QM_OK, Read(file, 299));
    // No picture is left to decode. The session reports its end a moment later, long before this wait ends, except on
    // an overloaded machine.
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    file.Reset();
}

TEST_F(InputLifecycle, TwoFilesReadInOrderAtOnce)
{
    std::vector<std::thread> vThreads;
    for (int n = 0; n < 2; ++n)
    {
        vThreads.emplace_back([this] {
            InputFile file = m_host.OpenInput(Video());
            SQmImageAttributes attributes;
            ASSERT_EQ(QM_OK, file->GetImageAttributes(&attributes));
            std::vector<unsigned char> vBuffer(attributes.m_uiWidthBytes * std::size_t{attributes.m_uiHeight});
            for (std::uint32_t ui = 0; ui < 300; ++ui)
                ASSERT_EQ(QM_OK, file->ReadFrame(ui, vBuffer.data(), nullptr, nullptr)) << ui;
        });
    }
    for (std::thread& thread : vThreads)
        thread.join();
}

// The first files start what the system keeps for later ones.
TEST_F(InputLifecycle, TenFilesLeaveNoHandle)
{
    const auto ReadFiles = [this](int nFiles) {
        for (int n = 0; n < nFiles; ++n)
        {
            InputFile file = OpenWithAttributes();
            for (const std::uint32_t uiFrame : {0u, 1u, 100u, 20u})
                ASSERT_EQ(QM_OK, Read(file, uiFrame)) << uiFrame;
            file.Reset();
        }
    };
    ASSERT_NO_FATAL_FAILURE(ReadFiles(5));
    const std::size_t uiBefore = CountHandles();
    ASSERT_NO_FATAL_FAILURE(ReadFiles(10));
    EXPECT_TRUE(FallsTo(uiBefore, CountHandles)) << CountHandles() << " after " << uiBefore;
}

TEST_F(InputLifecycle, SeveralFilesReadAtOnceFromThreadsOfTheirOwn)
{
    std::vector<std::thread> vThreads;
    for (std::uint32_t uiThread = 0; uiThread < 4; ++uiThread)
    {
        vThreads.emplace_back([this, uiThread] {
            InputFile file = m_host.OpenInput(Video());
            SQmImageAttributes attributes;
            ASSERT_EQ(QM_OK, file->GetImageAttributes(&attributes));
            std::vector<unsigned char> vBuffer(attributes.m_uiWidthBytes * std::size_t{attributes.m_uiHeight});
            for (std::uint32_t ui = 0; ui < 30; ++ui)
            {
                ASSERT_EQ(QM_OK, file->ReadFrame((ui * 37 + uiThread * 11) % 300, vBuffer.data(), nullptr, nullptr));
            }
        });
    }
    for (std::thread& thread : vThreads)
        thread.join();
}

}  // namespace
