// Machines on which a file can't be written, and writers that never come to the end of one. What the single calls of
// the encoder's runtime do when they fail stands in a program of its own.
#include <gtest/gtest.h>

#include <algorithm>

#include <windows.h>

#include <csignal>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "support/diagnostics_capture.h"
#include "support/encoder_script.h"
#include "support/muxed_file.h"
#include "support/run_program.h"
#include "support/temporary_folder.h"
#include "support/writing_host.h"
#include "test_pictures.h"

namespace
{

using namespace test_support;

constexpr std::uint32_t g_uiFrames = 12;
constexpr int g_nOpenSession = 2409;
constexpr int g_nCreateEncoder = 2440;

class WritingFails : public testing::Test
{
protected:
    WritingFails() { ChooseCodec(m_host, L"NVENC1"); }

    static HostPicture Picture(std::uint32_t ui) { return NoisyPicture(160, 96, ui); }

    // A file as it is when nothing goes wrong.
    Bytes GoodFile() const
    {
        const std::filesystem::path path = m_dir / "good.mp4";
        WriteFile(m_host, path, EvenTimes(g_uiFrames), Picture);
        const Bytes vFile = ReadBytes(path);
        std::filesystem::remove(path);
        return vFile;
    }

    // Every frame gets this status, and the file can be closed and written to no more.
    void ExpectFrames(const std::filesystem::path& path, QmStatus nStatus) const
    {
        const OutputFile file = OpenForPictures(m_host, path, 160, 96);
        for (std::uint32_t ui = 0; ui < g_uiFrames; ++ui)
            EXPECT_EQ(WriteAt(file, 40.0 * ui, Picture(ui)), nStatus) << "frame " << ui;
        EXPECT_EQ(file->CloseOutput(), QM_OK);
    }

    const TemporaryFolder m_dir;
    const ModuleHost m_host;
};

// --- the runtime ---

TEST_F(WritingFails, WithoutARuntime)
{
    const TemporaryFolder empty;
    const std::wstring wszVariable = L"IMAGEFORMAT_MP4_RUNTIMES";
    ASSERT_TRUE(SetEnvironmentVariableW(wszVariable.c_str(), empty.Path().wstring().c_str()));
    {
        const CDiagnosticsCapture lines;
        ExpectFrames(m_dir / "written.mp4", QM_ERR_FAIL);
        EXPECT_EQ(lines.TextsOf(g_nOpenSession),
                  std::vector<std::wstring>{L"NvEncoder::LoadNvEncApi : NVENC library file is not found. "
                                            L"Please ensure NV driver is installed\n"});
    }
    EXPECT_TRUE(std::filesystem::is_empty(m_dir.Path()));
    // The runtime is there again, and a new file finds it.
    ASSERT_TRUE(SetEnvironmentVariableW(wszVariable.c_str(), nullptr));
    ExpectFrames(m_dir / "written.mp4", QM_OK);
    EXPECT_EQ(ReadBytes(m_dir / "written.mp4"), GoodFile());
}

TEST_F(WritingFails, WithARuntimeThatReports143)
{
    const EncoderScript script;
    script->ReportVersion(143);
    const CDiagnosticsCapture lines;
    ExpectFrames(m_dir / "written.mp4", QM_ERR_FAIL);
    EXPECT_EQ(lines.TextsOf(g_nOpenSession),
              std::vector<std::wstring>{L"NvEncoder::LoadNvEncApi : Current Driver Version does not support this "
                                        L"NvEncodeAPI version, please upgrade driver\n"});
    EXPECT_TRUE(std::filesystem::is_empty(m_dir.Path()));
}

TEST_F(WritingFails, NotWithARuntimeThatReports144OrMore)
{
    const EncoderScript script;
    for (const std::uint32_t uiVersion : {144U, 145U, 160U, 0xFFFFFFFFU})
    {
        script->ReportVersion(uiVersion);
        ExpectFrames(m_dir / "written.mp4", QM_OK);
        EXPECT_EQ(ReadBytes(m_dir / "written.mp4"), GoodFile()) << uiVersion;
    }
}

TEST_F(WritingFails, WithPicturesThatTheEncoderCannotTake)
{
    const std::pair<std::uint32_t, std::uint32_t> aSizes[] = {{0, 96}, {160, 0}, {0xFFFFFFFF, 96}, {16384, 16}};
    for (const auto& [uiWidth, uiHeight] : aSizes)
    {
        const OutputFile file = OpenForPictures(m_host, m_dir / "written.mp4", uiWidth, uiHeight);
        const HostPicture picture = Picture(0);  // not looked at
        EXPECT_EQ(WriteAt(file, 0.0, picture), QM_ERR_FAIL) << uiWidth << "x" << uiHeight;
        EXPECT_EQ(WriteAt(file, 40.0, picture), QM_ERR_FAIL);
        EXPECT_EQ(file->CloseOutput(), QM_OK);
    }
    EXPECT_TRUE(std::filesystem::is_empty(m_dir.Path()));
}

// A refused description is kept, unrounded. The encoder has no use for odd sizes.
TEST_F(WritingFails, WithPicturesThatWereRefusedAndHaveAnOddSize)
{
    SQmImageAttributes attributes = PictureAttributes(161, 96);
    attributes.m_uiBitsInMemory = 16;
    const OutputFile file = m_host.OpenOutput(m_dir / "written.mp4");
    EXPECT_EQ(file->SetImageAttributes(&attributes), QM_ERR_RANGE);
    m_host.Format()->GetQmClass()->Release();  // as SetSize says
    const CDiagnosticsCapture lines;
    EXPECT_EQ(WriteAt(file, 0.0, NoisyPicture(162, 96, 0)), QM_ERR_FAIL);
    EXPECT_FALSE(lines.TextsOf(g_nCreateEncoder).empty());
    EXPECT_TRUE(std::filesystem::is_empty(m_dir.Path()));
}

TEST_F(WritingFails, WithoutAnyFrameThereIsNoFile)
{
    const OutputFile file = OpenForPictures(m_host, m_dir / "written.mp4", 160, 96);
    EXPECT_EQ(file->CloseOutput(), QM_OK);
    EXPECT_TRUE(std::filesystem::is_empty(m_dir.Path()));
}

// --- the target: frames are encoded and go nowhere ---

// The thread does without the right to write where it may not, which the system's administrator has.
class WithoutOverride
{
public:
    WithoutOverride()
    {
        Get(m_before);
        Data without = m_before;
        without.m_a[0].effective &= ~(1U << CAP_DAC_OVERRIDE);
        Set(without);
    }
    ~WithoutOverride() { Set(m_before); }
    WithoutOverride(const WithoutOverride&) = delete;
    WithoutOverride& operator=(const WithoutOverride&) = delete;

private:
    struct Data
    {
        __user_cap_data_struct m_a[_LINUX_CAPABILITY_U32S_3] = {};
    };
    static void Get(Data& data)
    {
        __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
        EXPECT_EQ(syscall(SYS_capget, &header, data.m_a), 0);
    }
    static void Set(const Data& data)
    {
        __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
        EXPECT_EQ(syscall(SYS_capset, &header, data.m_a), 0);
    }
    Data m_before;
};

TEST_F(WritingFails, SilentlyToAFolder)
{
    std::filesystem::create_directory(m_dir / "written.mp4");
    ExpectFrames(m_dir / "written.mp4", QM_OK);
    EXPECT_TRUE(std::filesystem::is_empty(m_dir / "written.mp4"));
    EXPECT_EQ(m_dir.Names().size(), 1U);
}

TEST_F(WritingFails, SilentlyIntoAFolderThatDoesNotExist)
{
    ExpectFrames(m_dir / "nowhere/written.mp4", QM_OK);
    EXPECT_TRUE(std::filesystem::is_empty(m_dir.Path()));
}

TEST_F(WritingFails, SilentlyToAFileThatMayOnlyBeRead)
{
    const Bytes vContent = {'k', 'e', 'p', 't'};
    WriteBytes(m_dir / "written.mp4", vContent);
    std::filesystem::permissions(m_dir / "written.mp4", std::filesystem::perms::owner_read);
    {
        const WithoutOverride without;
        ExpectFrames(m_dir / "written.mp4", QM_OK);
    }
    EXPECT_EQ(ReadBytes(m_dir / "written.mp4"), vContent);
}

TEST_F(WritingFails, SilentlyIntoAFolderThatMayOnlyBeRead)
{
    const std::filesystem::path folder = m_dir / "folder";
    std::filesystem::create_directory(folder);
    std::filesystem::permissions(folder, std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    {
        const WithoutOverride without;
        ExpectFrames(folder / "written.mp4", QM_OK);
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST_F(WritingFails, SilentlyWithoutATarget)
{
    IQmOutputImageFile* pFile = nullptr;
    ASSERT_EQ(m_host.Format()->CreateOutputFile(nullptr, &pFile), QM_OK);
    const OutputFile file(pFile);
    SetSize(m_host, file, 160, 96);
    for (std::uint32_t ui = 0; ui < g_uiFrames; ++ui)
        EXPECT_EQ(WriteAt(file, 40.0 * ui, Picture(ui)), QM_OK);
    EXPECT_EQ(file->CloseOutput(), QM_OK);
}

// --- the disk, and the writer's end ---

TEST_F(WritingFails, SilentlyToADeviceThatIsFull)
{
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no such device here";
    ExpectFrames("/dev/full", QM_OK);
    ExpectFrames(m_dir / "written.mp4", QM_OK);
    EXPECT_EQ(ReadBytes(m_dir / "written.mp4"), GoodFile());
}

// The same pictures as in GoodFile, to a disk with so many bytes free.
TEST_F(WritingFails, SilentlyOnADiskThatIsFull)
{
    const Bytes vGood = GoodFile();
    const std::uint32_t uiMdatEnd = 40 + WordAt(vGood, 40);
    for (const std::size_t uiRoom : {std::size_t{0}, std::size_t{20}, std::size_t{48}, std::size_t{5000},
                                     std::size_t{100000}, std::size_t{uiMdatEnd}, vGood.size() - 1})
    {
        SCOPED_TRACE(uiRoom);
        const std::filesystem::path path = m_dir / "written.mp4";
        const ProgramResult writer =
            RunProgram(QM_WRITER, {"full", path.string(), std::to_string(g_uiFrames), std::to_string(uiRoom)});
        EXPECT_EQ(writer.m_nStatus, 0) << writer.m_strErr;
        const Bytes vFile = ReadBytes(path);
        EXPECT_LE(vFile.size(), uiRoom);
        // Without its whole index it is no finished file, wherever the disk was full.
        if (uiRoom >= 48)
        {
            ASSERT_GE(vFile.size(), 48U);
            EXPECT_EQ(Bytes(vFile.begin() + 40, vFile.begin() + 44), (Bytes{0x1A, 0xBE, 0xCE, 0xDA}));
        }
        EXPECT_EQ(ReadBytes(path.string() + ".later"), vGood) << "the same process, with space on the disk again";
    }
}

// The samples of a file as they were before it was closed: after start codes.
Bytes WithStartCodes(Bytes vMdat)
{
    for (std::size_t uiOffset = 0; uiOffset + 4 <= vMdat.size();)
    {
        const std::uint32_t uiLength = WordAt(vMdat, uiOffset);
        const Bytes vStartCode = {0, 0, 0, 1};
        std::copy(vStartCode.begin(), vStartCode.end(), vMdat.begin() + static_cast<std::ptrdiff_t>(uiOffset));
        uiOffset += 4 + uiLength;
    }
    return vMdat;
}

TEST_F(WritingFails, WhenTheWriterDiesTheFileIsMarkedAsUnfinished)
{
    const Bytes vGood = GoodFile();
    const std::filesystem::path path = m_dir / "written.mp4";
    const ProgramResult writer = RunProgram(QM_WRITER, {"die", path.string(), std::to_string(g_uiFrames)});
    ASSERT_EQ(writer.m_nStatus, 128 + SIGKILL) << writer.m_strErr;

    const Bytes vFile = ReadBytes(path);
    ASSERT_GT(vFile.size(), 1000U) << "nothing had reached the disk";
    Bytes vBegin(vGood.begin(), vGood.begin() + 48);
    const Bytes vMarker = {0x1A, 0xBE, 0xCE, 0xDA};
    std::copy(vMarker.begin(), vMarker.end(), vBegin.begin() + 40);
    EXPECT_EQ(Bytes(vFile.begin(), vFile.begin() + 48), vBegin);
    const Bytes vStream = WithStartCodes(ReadMuxedFile(vGood).m_vMdat);
    ASSERT_LE(vFile.size() - 48, vStream.size());
    EXPECT_TRUE(std::equal(vFile.begin() + 48, vFile.end(), vStream.begin()));

    // No reader opens it.
    const InputFile reader = m_host.OpenInput(path);
    SQmImageAttributes attributes;
    EXPECT_EQ(reader->GetImageAttributes(&attributes), QM_ERR_FAIL);
}

}  // namespace
