// Files through the software runtimes are the same on every system. The expected digests are those of files whose
// pictures and times were compared with what was written, by the tests of their contents.
#include <gtest/gtest.h>

#include "support/file_contents.h"
#include "support/process_state.h"
#include "support/sha256.h"
#include "support/temporary_folder.h"
#include "uncompressed_files.h"

namespace
{

using namespace test_support;

const std::wstring g_strNvenc = L"NVENC1";
const std::wstring g_strAmf = L"AMF1";
const std::string g_strNvencDigest = "d39f2f609e374f0dfdbcb1b1ec225840aaed0184c81d49cc5083cf702512b9a6";
const std::string g_strAmfDigest = "7ef8cae3e9b917331b96bbd7e97d597b5deb1bd29584469f49a086655e1dea78";

// FIPS 180-4's own examples, and one whose length has a block of its own.
TEST(Sha256OfTheTests, IsThatOfTheStandard)
{
    const auto digest = [](std::string_view text) { return Sha256(Bytes(text.begin(), text.end())); };
    EXPECT_EQ(digest(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(digest("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(digest("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
}

// A host of its own with a file that is being written.
class Writing
{
public:
    Writing(const std::wstring& strCodec, const std::filesystem::path& path) : m_path(path)
    {
        ChooseCodec(m_host, strCodec);
        m_file = OpenForPictures(m_host, path, g_uiUncompressedWidth, g_uiUncompressedHeight);
    }

    void Write(std::uint32_t uiFrame)
    {
        ASSERT_EQ(WriteAt(m_file, UncompressedTimes().at(uiFrame), UncompressedPicture(uiFrame)), QM_OK) << uiFrame;
    }
    std::string DigestAtClose()
    {
        EXPECT_EQ(m_file->CloseOutput(), QM_OK);
        m_file.Reset();
        return Sha256(ReadBytes(m_path));
    }

private:
    const std::filesystem::path m_path;
    const ModuleHost m_host;
    OutputFile m_file;
};

std::string DigestOf(const std::wstring& strCodec, const std::filesystem::path& path)
{
    Writing writing(strCodec, path);
    for (std::uint32_t ui = 0; ui < UncompressedTimes().size(); ++ui)
        writing.Write(ui);
    return writing.DigestAtClose();
}

TEST(UncompressedFile, ByNvencIsTheSameOnEverySystem)
{
    const UncompressedRuntimes runtimes;
    const TemporaryFolder dir;
    EXPECT_EQ(DigestOf(g_strNvenc, dir / "file.mp4"), g_strNvencDigest);
    const NvencRuntimeObjects left = runtimes.Nvenc()->CountObjects();
    EXPECT_EQ(left.uiSessions, 0U);
    EXPECT_EQ(runtimes.Nvenc()->GetBreaches().left.uiSessions, 0U);
}

TEST(UncompressedFile, ByAmfIsTheSameOnEverySystem)
{
    const UncompressedRuntimes runtimes;
    const TemporaryFolder dir;
    EXPECT_EQ(DigestOf(g_strAmf, dir / "file.mp4"), g_strAmfDigest);
    const AmfRuntimeObjects left = runtimes.Amf()->CountObjects();
    EXPECT_EQ(left.uiContexts, 0U);
    EXPECT_EQ(left.uiComponents, 0U);
    EXPECT_EQ(left.uiSurfaces, 0U);
    EXPECT_EQ(left.uiBuffers, 0U);
}

// Picture by picture in turn.
void ExpectTwoAtOnce(const std::wstring& strFirst, const std::string& strFirstDigest, const std::wstring& strSecond,
                     const std::string& strSecondDigest)
{
    const UncompressedRuntimes runtimes;
    const TemporaryFolder dir;
    Writing first(strFirst, dir / "first.mp4");
    Writing second(strSecond, dir / "second.mp4");
    for (std::uint32_t ui = 0; ui < UncompressedTimes().size(); ++ui)
    {
        first.Write(ui);
        second.Write(ui);
    }
    EXPECT_EQ(first.DigestAtClose(), strFirstDigest);
    EXPECT_EQ(second.DigestAtClose(), strSecondDigest);
}

TEST(UncompressedFile, TwoByNvencAtOnceAreTheSame)
{
    ExpectTwoAtOnce(g_strNvenc, g_strNvencDigest, g_strNvenc, g_strNvencDigest);
}

TEST(UncompressedFile, TwoByAmfAtOnceAreTheSame)
{
    ExpectTwoAtOnce(g_strAmf, g_strAmfDigest, g_strAmf, g_strAmfDigest);
}

TEST(UncompressedFile, OneByEachAtOnceAreTheSame)
{
    ExpectTwoAtOnce(g_strNvenc, g_strNvencDigest, g_strAmf, g_strAmfDigest);
}

// The first files start what the system keeps for later ones.
void ExpectNoHandleLeft(const std::wstring& strCodec)
{
    const UncompressedRuntimes runtimes;
    const TemporaryFolder dir;
    const auto WriteFiles = [&](int nFiles) {
        for (int n = 0; n < nFiles; ++n)
        {
            Writing writing(strCodec, dir / "file.mp4");
            for (const std::uint32_t ui : {0u, 1u, 2u})
                writing.Write(ui);
            writing.DigestAtClose();
        }
    };
    WriteFiles(3);
    const std::size_t uiBefore = CountHandles();
    WriteFiles(5);
    EXPECT_TRUE(FallsTo(uiBefore, CountHandles)) << CountHandles() << " after " << uiBefore;
}

TEST(UncompressedFile, FiveByNvencLeaveNoHandle)
{
    ExpectNoHandleLeft(g_strNvenc);
}

TEST(UncompressedFile, FiveByAmfLeaveNoHandle)
{
    ExpectNoHandleLeft(g_strAmf);
}

}  // namespace
