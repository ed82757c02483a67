// The input object on real videos.
#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "mp4filesimpl/mp4inputfile.h"
#include "sample_video.h"
#include "scripted_file.h"
#include "support/box_builder.h"
#include "support/picture_definition.h"

namespace
{

using namespace test_support;

using Pixels = std::vector<unsigned char>;
using Times = std::vector<std::uint64_t>;

class CVideoFile : public CQmMP4InputFile
{
public:
    CVideoFile(CQmImageFormatMP4* pFormat, const std::filesystem::path& path)
        : CQmMP4InputFile(pFormat, CQmStringW(path.wstring().c_str()), false, nullptr)
    {}

    QmStatus Open()
    {
        SQmImageAttributes attributes;
        return GetImageAttributes(&attributes);
    }

    // Empty when the frame can't be read. What a read leaves out is 0xA5.
    Pixels Read(std::uint32_t uiIndex)
    {
        Pixels vPixels(std::size_t{m_Attributes.m_uiWidthBytes} * m_Attributes.m_uiHeight, 0xA5);
        if (ReadFrame(uiIndex, vPixels.data(), nullptr, nullptr) != QM_OK) vPixels.clear();
        return vPixels;
    }

    bool HasThreads() const { return m_Reader.IsRunning(); }
    bool HasSource() const { return m_Graph.HasSource(); }

    using CQmMP4InputFile::m_Attributes;
    using CQmMP4InputFile::m_bOpen;
    using CQmMP4InputFile::m_vFrameTimesMs;
};

class InputFile : public testing::Test
{
protected:
    CFormatReference m_format;
};

Times Steps(std::size_t uiCount, std::uint64_t uiMs)
{
    return EvenTimes(uiCount, uiMs);
}

// Every picture of a video of 64 x 48 as it is to be read, from a decode by ffmpeg.
std::vector<Pixels> DecodedPictures(const std::filesystem::path& path)
{
    std::vector<Pixels> vPictures;
    for (const Pixels& vPlanar : DecodePlain(path, 64, 48))
        vPictures.push_back(DeliveredPicture(vPlanar, 64, 48));
    return vPictures;
}

// --- opening ---

TEST_F(InputFile, OpeningReportsShapeAndTimesAndStartsNoThread)
{
    CVideoFile file(m_format.Get(), MakeVideo("high.mp4", TestPicture(30, "70x48") + "-profile:v high"));
    SQmImageAttributes attributes;
    ASSERT_EQ(file.GetImageAttributes(&attributes), QM_OK);
    EXPECT_EQ(attributes.m_uiWidth, 70U);
    EXPECT_EQ(attributes.m_uiHeight, 48U);
    EXPECT_EQ(attributes.m_uiWidthBytes, 212U);  // 210, rounded up to 4
    EXPECT_EQ(attributes.m_uiComponents, 3U);
    EXPECT_EQ(attributes.m_uiBitsInMemory, 8);
    EXPECT_EQ(attributes.m_uiBitsSignificant, 8);
    EXPECT_EQ(attributes.m_uiReservedAttr, 0U);
    EXPECT_EQ(attributes.m_uiSequenceCount, 30U);
    EXPECT_EQ(attributes.m_uiTileWidth, 0U);
    EXPECT_EQ(attributes.m_uiTileHeight, 0U);
    EXPECT_EQ(attributes.m_uiCompression, 1);
    EXPECT_EQ(attributes.m_dCompressionParam, 1.0);
    EXPECT_EQ(file.m_vFrameTimesMs, Steps(30, 40));
    EXPECT_FALSE(file.HasThreads());
}

TEST_F(InputFile, AnAudioTrackBeforeTheVideoDeterminesTheTimes)
{
    CVideoFile file(m_format.Get(),
                    MakeVideo("sound.mp4", "-f lavfi -i sine=sample_rate=48000:duration=1 -f lavfi -i "
                                           "testsrc2=size=64x48:rate=10:duration=1 -map 0:a -map 1:v -c:a aac -c:v "
                                           "libx264 -pix_fmt yuv420p -profile:v high"));
    ASSERT_EQ(file.Open(), QM_OK);
    EXPECT_GT(file.m_vFrameTimesMs.size(), 40U);  // samples of 1024 / 48 ms
    EXPECT_EQ(file.m_vFrameTimesMs[1], 21U);
    EXPECT_EQ(file.m_vFrameTimesMs[3], 64U);
    EXPECT_EQ(file.m_Attributes.m_uiWidth, 64U);
}

// --- opening by counting ---

// The writer leaves an empty box in front of the media data for this: together they make one header of 64 bits.
std::filesystem::path With64BitMediaData(const std::filesystem::path& path)
{
    std::string strBytes = ReadText(path);
    const std::size_t uiFree = strBytes.find("free") - 4;
    const std::size_t uiMdat = uiFree + 8;
    EXPECT_EQ(strBytes.substr(uiMdat + 4, 4), "mdat");
    strBytes.replace(uiFree, 16, BoxOfSize(1, "mdat", Word(0) + Word(WordAt(strBytes, uiMdat) + 8)));
    return WriteBeside(path, ".wide.mp4", strBytes);
}

TEST_F(InputFile, AFileThatTheWalkCannotFinishIsCountedFromItsSamples)
{
    const auto path = With64BitMediaData(MakeVideo("high60.mp4", TestPicture(60) + "-profile:v high -bf 0"));
    CVideoFile file(m_format.Get(), path);
    ASSERT_EQ(file.Open(), QM_OK);
    EXPECT_EQ(file.m_vFrameTimesMs, Steps(60, 40));
    EXPECT_EQ(file.m_Attributes.m_uiSequenceCount, 60U);
    EXPECT_FALSE(file.HasThreads());
}

TEST_F(InputFile, AFragmentedFileIsCountedFromItsSamples)
{
    CVideoFile file(m_format.Get(),
                    MakeVideo("fragments.mp4", TestPicture(60) + "-profile:v high -bf 0 -g 12 -movflags "
                                                                 "+frag_keyframe+empty_moov"));
    ASSERT_EQ(file.Open(), QM_OK);
    EXPECT_EQ(file.m_vFrameTimesMs, Steps(60, 40));
    EXPECT_FALSE(file.Read(59).empty());
}

// Cut in front of its first fragment, the file still plays, and there is nothing in it to count.
TEST_F(InputFile, ACountingPassWithoutSamplesFails)
{
    const auto path =
        MakeVideo("fragments.mp4", TestPicture(60) + "-profile:v high -bf 0 -g 12 -movflags +frag_keyframe+empty_moov");
    std::string strBytes = ReadText(path);
    strBytes.resize(strBytes.find("moof") - 4);
    CVideoFile file(m_format.Get(), WriteBeside(path, ".empty.mp4", strBytes));
    EXPECT_EQ(file.Open(), QM_ERR_FAIL);
    EXPECT_EQ(file.Read(0), Pixels());
}

// A box of the movie has its size in 64 bits, which players understand and the walk doesn't. The frames come at
// irregular times.
TEST_F(InputFile, AMovieWithABrokenBoxIsCountedFromItsSamplesAndEntry0IsZero)
{
    const auto path = MakeVideo("irregular.mp4", "-f lavfi -i testsrc2=size=64x48:rate=1000 -vf "
                                                 "setpts=N*N*7+N*20 -fps_mode passthrough -frames:v 20 -c:v libx264 "
                                                 "-pix_fmt yuv420p -profile:v high -bf 0 -video_track_timescale 1000");
    std::string strBytes = ReadText(path);
    const std::size_t uiMovie = strBytes.find("moov") - 4;
    const std::string strMovie = strBytes.substr(uiMovie + 8);
    const std::string strWide = LongBox("free", std::string(8, '\0'));
    strBytes.replace(uiMovie, std::string::npos, Box("moov", strWide + strMovie));
    Times vExpected;
    for (std::uint64_t i = 0; i < 20; ++i)
        vExpected.push_back(i * i * 7 + i * 20);

    CVideoFile broken(m_format.Get(), WriteBeside(path, ".broken.mp4", strBytes));
    ASSERT_EQ(broken.Open(), QM_OK);
    EXPECT_EQ(broken.m_vFrameTimesMs, vExpected);
    CVideoFile clean(m_format.Get(), path);
    ASSERT_EQ(clean.Open(), QM_OK);
    EXPECT_EQ(clean.m_vFrameTimesMs, vExpected);
    const std::vector<Pixels> vPictures = DecodedPictures(path);
    ASSERT_EQ(vPictures.size(), 20U);
    for (std::uint32_t i = 20; i-- > 0;)
    {
        EXPECT_EQ(clean.Read(i), vPictures[i]) << i;
        EXPECT_EQ(broken.Read(i), vPictures[i]) << i;
    }
}

// --- what doesn't open ---

TEST_F(InputFile, AFileThatIsNotThereFailsAndIsTriedAgain)
{
    const auto path = MakeVideo("high.mp4", TestPicture(30, "70x48") + "-profile:v high");
    const std::filesystem::path later = path.string() + ".later.mp4";
    CVideoFile file(m_format.Get(), later);
    EXPECT_EQ(file.Open(), QM_ERR_FAIL);
    EXPECT_EQ(file.Open(), QM_ERR_FAIL);
    EXPECT_FALSE(file.HasSource());
    std::filesystem::copy_file(path, later);
    EXPECT_EQ(file.Open(), QM_OK);
    EXPECT_EQ(file.m_vFrameTimesMs, Steps(30, 40));
    EXPECT_FALSE(file.Read(7).empty());
}

TEST_F(InputFile, AFileThatIsNoVideoFails)
{
    const auto path = MakeVideo("high.mp4", TestPicture(30, "70x48") + "-profile:v high");
    CVideoFile text(m_format.Get(), WriteBeside(path, ".txt", "no video at all"));
    EXPECT_EQ(text.Open(), QM_ERR_FAIL);
    CVideoFile empty(m_format.Get(), WriteBeside(path, ".empty.mp4", ""));
    EXPECT_EQ(empty.Open(), QM_ERR_FAIL);
    CVideoFile folder(m_format.Get(), path.parent_path());
    EXPECT_EQ(folder.Open(), QM_ERR_FAIL);
}

TEST_F(InputFile, AFileWithoutVideoStreamFailsAndIsNotTriedAgain)
{
    const auto path = WriteBeside(MakeVideo("onlysound.mp4", "-f lavfi -i sine=duration=1 -c:a aac"), ".copy.mp4",
                                  ReadText(MakeVideo("onlysound.mp4", "-f lavfi -i sine=duration=1 -c:a aac")));
    CVideoFile file(m_format.Get(), path);
    EXPECT_EQ(file.Open(), QM_ERR_FAIL);
    EXPECT_TRUE(file.HasSource());
    // The file is a video by now, and isn't looked at again.
    WriteBytes(path, ReadBytes(MakeVideo("high.mp4", TestPicture(30, "70x48") + "-profile:v high")));
    EXPECT_EQ(file.Open(), QM_ERR_FAIL);
    EXPECT_EQ(file.Read(0), Pixels());
}

TEST_F(InputFile, TheFormsFromMemoryAndFromAByteArrayFail)
{
    const std::string strBytes = ReadText(MakeVideo("high.mp4", TestPicture(30, "70x48") + "-profile:v high"));
    CQmByteArray data;
    data.SetData(strBytes.data(), strBytes.size(), EQmByteArrayModeOp::Replace, EQmByteArrayModeAlloc::Default);
    SQmImageAttributes attributes;
    CQmMP4InputFile memory(m_format.Get(), strBytes.data(), strBytes.size());
    EXPECT_EQ(memory.GetImageAttributes(&attributes), QM_ERR_FAIL);
    CQmMP4InputFile array(m_format.Get(), &data);
    EXPECT_EQ(array.GetImageAttributes(&attributes), QM_ERR_FAIL);
    SQmPictureMetadata metadata;
    EXPECT_EQ(array.GetPictureMetadata(0, metadata, 0), QM_OK);  // there is no file whose date could be asked
}

// --- frames ---

TEST_F(InputFile, FramesReadInOrderBackwardsAndAtRandomAreThoseOfTheVideo)
{
    const auto path =
        MakeVideo("high200.mp4", TestPicture(200) + "-vf noise=alls=60:allf=t -qp 20 -profile:v high -g 50 -bf 2");
    const std::vector<Pixels> vPictures = DecodedPictures(path);
    ASSERT_EQ(vPictures.size(), 200U);
    for (std::size_t i = 1; i < vPictures.size(); ++i)
        ASSERT_NE(vPictures[i], vPictures[i - 1]);

    CVideoFile file(m_format.Get(), path);
    ASSERT_EQ(file.Open(), QM_OK);
    for (std::uint32_t i = 0; i < 200; ++i)
        ASSERT_EQ(file.Read(i), vPictures[i]) << i;
    for (std::uint32_t i = 200; i-- > 180;)
        ASSERT_EQ(file.Read(i), vPictures[i]) << i;
    std::mt19937 random(42);
    for (int i = 0; i < 60; ++i)
    {
        const std::uint32_t uiIndex = random() % 200;
        ASSERT_EQ(file.Read(uiIndex), vPictures[uiIndex]) << i;
    }
}

TEST_F(InputFile, AFileWithFewerFramesThanAWindowIsReadWhole)
{
    const auto path = MakeVideo("five.mp4", TestPicture(5) + "-profile:v high");
    const std::vector<Pixels> vPictures = DecodedPictures(path);
    ASSERT_EQ(vPictures.size(), 5U);
    CVideoFile file(m_format.Get(), path);
    ASSERT_EQ(file.Open(), QM_OK);
    for (const std::uint32_t uiIndex : {4U, 0U, 3U, 3U, 2U, 1U})
        EXPECT_EQ(file.Read(uiIndex), vPictures[uiIndex]) << uiIndex;
    EXPECT_TRUE(file.Read(5).empty());
}

TEST_F(InputFile, FramesOfABaselineStreamAreAsTheyWereAllocated)
{
    CVideoFile file(m_format.Get(), MakeVideo("baseline.mp4", TestPicture(20) + "-profile:v baseline"));
    ASSERT_EQ(file.Open(), QM_OK);
    EXPECT_EQ(file.m_vFrameTimesMs, Steps(20, 40));
    const Pixels vPixels = file.Read(7);
    ASSERT_FALSE(vPixels.empty());
    EXPECT_EQ(std::count(vPixels.begin(), vPixels.end(), 0), static_cast<std::ptrdiff_t>(vPixels.size()));
}

TEST_F(InputFile, FramesOfAHighStreamArePictures)
{
    CVideoFile file(m_format.Get(), MakeVideo("high60.mp4", TestPicture(60) + "-profile:v high -bf 0"));
    ASSERT_EQ(file.Open(), QM_OK);
    const Pixels vPixels = file.Read(7);
    ASSERT_FALSE(vPixels.empty());
    EXPECT_LT(std::count(vPixels.begin(), vPixels.end(), 0), static_cast<std::ptrdiff_t>(vPixels.size() / 2));
}

TEST_F(InputFile, APreviewOpensTheFileAndHasItsSize)
{
    CVideoFile file(m_format.Get(), MakeVideo("high.mp4", TestPicture(30, "70x48") + "-profile:v high"));
    std::uint32_t uiWidth = 0;
    std::uint32_t uiHeight = 0;
    EXPECT_EQ(file.GetPreviewBitmap(&uiWidth, &uiHeight, nullptr, nullptr, false, nullptr, nullptr), QM_OK);
    EXPECT_EQ(uiWidth, 70U);
    EXPECT_EQ(uiHeight, 48U);
    uiWidth = 35;
    uiHeight = 24;
    Pixels vPixels(std::size_t{108} * 24);
    EXPECT_EQ(file.GetPreviewBitmap(&uiWidth, &uiHeight, vPixels.data(), nullptr, true, nullptr, nullptr), QM_OK);
    EXPECT_GT(*std::max_element(vPixels.begin(), vPixels.end()), 200);
}

TEST_F(InputFile, ExperimentAndMetadataOpenTheFileAndAgreeWithTheBlockOfTimes)
{
    CVideoFile file(m_format.Get(), MakeVideo("high.mp4", TestPicture(30, "70x48") + "-profile:v high"));
    SQmExperiment experiment;
    EXPECT_EQ(file.GetExperiment(experiment), QM_OK);
    EXPECT_EQ(experiment.m_uiCount, 30U);
    EXPECT_EQ(experiment.m_dDuration, 1160.0);
    EXPECT_EQ(experiment.m_dPeriod, 40.0);
    SQmPictureMetadata metadata;
    EXPECT_EQ(file.GetPictureMetadata(29, metadata, 0), QM_OK);
    EXPECT_EQ(metadata.m_dTime, 1160.0);
    CQmByteArray data;
    EXPECT_EQ(file.GetCacheItem(L"AcqTimesCache", &data), QM_OK);
    ASSERT_EQ(data.GetSize(), 30U * 8);
    double dLast = 0;
    std::memcpy(&dLast, data.GetData(29 * 8), 8);
    EXPECT_EQ(dLast, 1160.0);
}

TEST_F(InputFile, TheMetadataOfAFrameOpensTheFile)
{
    CVideoFile file(m_format.Get(), MakeVideo("high.mp4", TestPicture(30, "70x48") + "-profile:v high"));
    SQmPictureMetadata metadata;
    EXPECT_EQ(file.GetPictureMetadata(29, metadata, 0), QM_OK);
    EXPECT_EQ(metadata.m_dTime, 1160.0);
}

TEST_F(InputFile, TheBlockOfTimesDoesNotOpenTheFile)
{
    CVideoFile file(m_format.Get(), MakeVideo("high.mp4", TestPicture(30, "70x48") + "-profile:v high"));
    CQmByteArray data;
    EXPECT_EQ(file.GetCacheItem(L"AcqTimesCache", &data), QM_OK);
    EXPECT_EQ(data.GetSize(), 0U);
    EXPECT_FALSE(file.HasSource());
    EXPECT_FALSE(file.m_bOpen);

    ASSERT_EQ(file.Open(), QM_OK);
    EXPECT_EQ(file.GetCacheItem(L"AcqTimesCache", &data), QM_OK);
    EXPECT_EQ(data.GetSize(), 30U * 8);
}

// --- the end, in every state ---

TEST_F(InputFile, AFileIsDestroyedInEveryState)
{
    const auto path =
        MakeVideo("high200.mp4", TestPicture(200) + "-vf noise=alls=60:allf=t -qp 20 -profile:v high -g 50 -bf 2");
    CVideoFile(m_format.Get(), path);  // never opened
    {
        CVideoFile file(m_format.Get(), path);
        EXPECT_EQ(file.Open(), QM_OK);
    }
    for (int i = 0; i < 20; ++i)  // playing, about to be paused, paused
    {
        CVideoFile file(m_format.Get(), path);
        EXPECT_EQ(file.Open(), QM_OK);
        EXPECT_FALSE(file.Read(static_cast<std::uint32_t>(i * 9)).empty());
        Sleep(static_cast<DWORD>(i * 2));
    }
}

TEST_F(InputFile, AFileThatOutlivesTheHostsReferenceToTheFormatIsServed)
{
    const auto path = MakeVideo("high.mp4", TestPicture(30, "70x48") + "-profile:v high");
    IQmInputImageFile* pFile = nullptr;
    {
        CFormatReference format;
        EXPECT_EQ(format.Get()->CreateInputFileForPath(CQmStringW(path.wstring().c_str()), &pFile), QM_OK);
    }
    Pixels vPixels(std::size_t{212} * 48);
    EXPECT_EQ(pFile->ReadFrame(3, vPixels.data(), nullptr, nullptr), QM_OK);
    EXPECT_EQ(pFile->Release(), 0);
}

TEST_F(InputFile, TwoFilesAreReadAtOnce)
{
    const auto path =
        MakeVideo("high200.mp4", TestPicture(200) + "-vf noise=alls=60:allf=t -qp 20 -profile:v high -g 50 -bf 2");
    CVideoFile first(m_format.Get(), path);
    CVideoFile second(m_format.Get(), path);
    ASSERT_EQ(first.Open(), QM_OK);
    ASSERT_EQ(second.Open(), QM_OK);
    const std::vector<Pixels> vPictures = DecodedPictures(path);
    ASSERT_EQ(vPictures.size(), 200U);
    for (std::uint32_t i = 0; i < 60; ++i)
    {
        ASSERT_EQ(first.Read(i), vPictures[i]) << i;
        ASSERT_EQ(second.Read(i), vPictures[i]) << i;
    }
    EXPECT_EQ(first.Read(199), vPictures[199]);
    EXPECT_EQ(second.Read(199), vPictures[199]);
}

}  // namespace
