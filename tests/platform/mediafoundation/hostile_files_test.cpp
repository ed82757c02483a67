// Files that aren't what they should be end with a status, soon and without asking for much memory.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>

#include "media_files.h"
#include "test_graph.h"

namespace mftest
{
namespace
{

constexpr auto TIME_LIMIT = std::chrono::seconds(20);  // per file, far more than any of them takes

// Opens the file and, if that works, plays it from the beginning and from the middle. That it returns is the test; what
// it gives is up to the file.
HRESULT PlayWhatThereIs(const std::string& path, REFGUID subtype = MFVideoFormat_YUY2)
{
    TestGraph graph;
    HRESULT hr = graph.Open(path, subtype);
    if (FAILED(hr)) return hr;
    hr = graph.WaitFor(MESessionTopologySet);
    if (FAILED(hr)) return hr;
    graph.Start();
    hr = graph.WaitFor(MESessionEnded);
    graph.StartAt(200);
    graph.WaitFor(MESessionEnded);
    return hr;
}

class HostileFiles : public ::testing::Test
{
protected:
    std::string MakeSmallFile(const std::string& options = "")
    {
        Recipe recipe;
        recipe.m_nWidth = 32;
        recipe.m_nHeight = 32;
        recipe.m_nFrames = 8;
        recipe.m_encoder = "-c:v libx264 -profile:v high -preset ultrafast -bf 1 -g 4";
        recipe.m_output = options;
        const std::string path = m_directory / "small.mp4";
        MakeVideo(path, recipe);
        return ReadText(path);
    }

    void ExpectEnd(const std::string& contents, const std::string& what)
    {
        const std::string path = m_directory / "hostile.mp4";
        WriteText(path, contents);
        const auto start = std::chrono::steady_clock::now();
        (void)PlayWhatThereIs(path);
        EXPECT_LT(std::chrono::steady_clock::now() - start, TIME_LIMIT) << what;
    }

    TemporaryFolder m_directory;
};

TEST_F(HostileFiles, WhatIsNoVideoFileDoesNotOpen)
{
    TestGraph graph;
    EXPECT_LT(graph.OpenSource(m_directory / "missing.mp4"), 0);
    EXPECT_LT(graph.OpenSource(""), 0);
    EXPECT_LT(graph.OpenSource("/"), 0);

    const std::string path = m_directory / "file.mp4";
    WriteText(path, "");
    EXPECT_EQ(graph.OpenSource(path), MF_E_UNSUPPORTED_BYTESTREAM_TYPE);
    WriteText(path, "This is a text, and no video.\n");
    EXPECT_EQ(graph.OpenSource(path), MF_E_UNSUPPORTED_BYTESTREAM_TYPE);
    WriteText(path, std::string(100000, '\x5a'));
    EXPECT_EQ(graph.OpenSource(path), MF_E_UNSUPPORTED_BYTESTREAM_TYPE);
}

TEST_F(HostileFiles, APipeDoesNotHoldItUp)
{
    const std::string path = m_directory / "pipe.mp4";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    TestGraph graph;
    EXPECT_LT(graph.OpenSource(path), 0);
}

TEST_F(HostileFiles, AListOfOtherFilesIsNotFollowed)
{
    MakeSmallFile();
    TestGraph graph;
    const std::string list = m_directory / "list.mp4";
    WriteText(list, "ffconcat version 1.0\nfile small.mp4\n");
    EXPECT_EQ(graph.OpenSource(list), MF_E_UNSUPPORTED_BYTESTREAM_TYPE);
    WriteText(list, "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\nsmall.mp4\n#EXT-X-ENDLIST\n");
    EXPECT_EQ(graph.OpenSource(list), MF_E_UNSUPPORTED_BYTESTREAM_TYPE);
}

// Samples of one common size take no bytes in the table of sizes, and neither do more samples in a chunk: a few bytes
// can claim any number, and every sample would get its place in an index.
TEST_F(HostileFiles, MoreSamplesThanTheFileHasBytesAreRefused)
{
    const std::string whole = MakeSmallFile();
    const std::string path = m_directory / "hostile.mp4";
    const std::size_t uiSizes = whole.find("stsz");
    const std::size_t uiChunks = whole.find("stsc");
    constexpr std::uint32_t MANY = 20'000'000;
    TestGraph graph;

    std::string broken = whole;
    SetWordAt(broken, uiSizes + 8, 1);
    SetWordAt(broken, uiSizes + 12, MANY);
    SetWordAt(broken, uiChunks + 16, MANY);
    WriteText(path, broken);
    EXPECT_EQ(graph.OpenSource(path), MF_E_INVALID_FILE_FORMAT);

    // In the second of two tracks, each of which the file could hold
    broken = whole;
    SetWordAt(broken, uiSizes + 8, 1);
    SetWordAt(broken, uiSizes + 12, static_cast<std::uint32_t>(whole.size() - 100));
    const std::size_t uiTrack = whole.find("trak") - 4;
    const std::size_t uiTrackSize = WordAt(whole, uiTrack);
    const std::string track = broken.substr(uiTrack, uiTrackSize);
    const std::size_t uiMovie = whole.find("moov") - 4;
    SetWordAt(broken, uiMovie, WordAt(whole, uiMovie) + static_cast<std::uint32_t>(uiTrackSize));
    broken.insert(uiTrack, track);
    WriteText(path, broken);
    EXPECT_EQ(graph.OpenSource(path), MF_E_INVALID_FILE_FORMAT);

    broken = whole;
    SetWordAt(broken, uiChunks + 16, 0x7fffffff);
    WriteText(path, broken);
    EXPECT_EQ(graph.OpenSource(path), MF_E_INVALID_FILE_FORMAT);
}

TEST_F(HostileFiles, SamplesOfOneSizeThatAreThereAreNotTakenForAClaim)
{
    const std::string path = m_directory / "sound.mov";
    Recipe recipe;
    recipe.m_nWidth = 32;
    recipe.m_nHeight = 32;
    recipe.m_nFrames = 100;
    recipe.m_input = "-f lavfi -i sine=d=4";
    recipe.m_output = "-c:a pcm_u8 -map 0:v -map 1:a";
    MakeVideo(path, recipe);
    const std::string file = ReadText(path);
    const std::size_t uiSizes = file.rfind("stsz");
    ASSERT_EQ(WordAt(file, uiSizes + 8), 1U);
    ASSERT_GT(WordAt(file, uiSizes + 12), file.size() / 2);
    EXPECT_EQ(PlayWhatThereIs(path), S_OK);
}

// A sparse file has any size and holds next to nothing. Its empty part reads as zeros, also as a table of zeros.
TEST_F(HostileFiles, MoreSamplesThanASparseFileHoldsBytesAreRefused)
{
    const std::string whole = MakeSmallFile();
    const std::string path = m_directory / "hostile.mp4";
    const std::size_t uiSizes = whole.find("stsz");
    const std::size_t uiChunks = whole.find("stsc");
    constexpr std::uint32_t MANY = 2'000'000;
    const auto OpenSparse = [&](const std::string& contents) {
        WriteText(path, contents);
        std::filesystem::resize_file(path, std::uintmax_t{1} << 40);
        return TestGraph().OpenSource(path);
    };

    std::string broken = whole;
    SetWordAt(broken, uiSizes + 8, 1);
    SetWordAt(broken, uiSizes + 12, MANY);
    SetWordAt(broken, uiChunks + 16, MANY);
    EXPECT_EQ(OpenSparse(broken), MF_E_INVALID_FILE_FORMAT);

    // The table of sizes, and with it every box around it, reaches into the empty part.
    broken = whole.substr(0, uiSizes - 4 + WordAt(whole, uiSizes - 4));
    for (const char* const pszBox : {"moov", "trak", "mdia", "minf", "stbl", "stsz"})
        SetWordAt(broken, whole.find(pszBox) - 4, 0x7fffffff);
    SetWordAt(broken, uiSizes + 12, MANY);
    EXPECT_EQ(OpenSparse(broken), MF_E_INVALID_FILE_FORMAT);
}

TEST_F(HostileFiles, SilentSoundIsNotTakenForAClaim)
{
    const std::string path = m_directory / "silence.mov";
    Recipe recipe;
    recipe.m_nWidth = 96;
    recipe.m_nHeight = 64;
    recipe.m_nFrames = 750;
    recipe.m_input = "-f lavfi -i anullsrc=r=48000:cl=mono:d=30";
    recipe.m_output = "-c:a pcm_s16le -map 0:v -map 1:a";
    MakeVideo(path, recipe);
    const std::string file = ReadText(path);
    ASSERT_GT(WordAt(file, file.rfind("stsz") + 12), 1'000'000U);
    ASSERT_LT(file.size() - static_cast<std::size_t>(std::count(file.begin(), file.end(), '\0')), 1'000'000U);
    EXPECT_EQ(PlayWhatThereIs(path), S_OK);
}

TEST_F(HostileFiles, CutOffAnywhere)
{
    const std::string whole = MakeSmallFile("-movflags +faststart");
    // The head at every byte; of the samples, where any byte is like the next, one cut in seven.
    const std::size_t uiHead = whole.find("mdat") + 64;
    for (std::size_t uiLength = 0; uiLength < whole.size(); uiLength += uiLength < uiHead ? 1 : 7)
    {
        ExpectEnd(whole.substr(0, uiLength), "cut at " + std::to_string(uiLength));
    }
}

TEST_F(HostileFiles, CutOffAnywhereInFragments)
{
    const std::string whole = MakeSmallFile("-movflags frag_keyframe+empty_moov");
    for (std::size_t uiLength = 0; uiLength < whole.size(); uiLength += 1 + whole.size() / 300)
    {
        ExpectEnd(whole.substr(0, uiLength), "cut at " + std::to_string(uiLength));
    }
}

class HostileWords : public HostileFiles, public ::testing::WithParamInterface<std::uint32_t>
{
};

TEST_P(HostileWords, EveryWordOfTheMoovReplaced)
{
    const std::string whole = MakeSmallFile();
    const std::size_t uiMoov = whole.find("moov");
    ASSERT_NE(uiMoov, std::string::npos);
    for (std::size_t uiAt = uiMoov - 4; uiAt + 4 <= whole.size(); uiAt += 4)
    {
        std::string broken = whole;
        for (std::size_t i = 0; i < 4; ++i)
        {
            broken[uiAt + i] = static_cast<char>(GetParam() >> (24 - 8 * i));
        }
        ExpectEnd(broken, "word at " + std::to_string(uiAt));
    }
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    constexpr long KIB_PER_GIB = 1L << 20;
    EXPECT_LT(usage.ru_maxrss, KIB_PER_GIB);
}

INSTANTIATE_TEST_SUITE_P(Values, HostileWords, ::testing::Values(0U, 1U, 0x7fffffffU, 0xffffffffU));

TEST_F(HostileFiles, GarbageForSamples)
{
    std::string broken = MakeSmallFile();
    const std::size_t uiMdat = broken.find("mdat");
    const std::size_t uiMoov = broken.find("moov");
    for (std::size_t i = uiMdat + 4; i + 4 < uiMoov; ++i)
    {
        broken[i] = static_cast<char>(i * 7919 >> 3);
    }
    ExpectEnd(broken, "garbage");
}

}  // namespace
}  // namespace mftest
