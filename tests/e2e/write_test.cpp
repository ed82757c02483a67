// What a host writes, it reads back: the times that it gave and the pictures in their order.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <numeric>
#include <random>
#include <thread>

#include "support/ffmpeg.h"
#include "support/file_contents.h"
#include "support/muxed_file.h"
#include "support/repetitions.h"
#include "support/temporary_folder.h"
#include "support/writing_host.h"
#include "test_pictures.h"

namespace
{

using namespace test_support;

// A codec of each back end.
struct SCodec
{
    const wchar_t* m_pwszCode;
    bool m_bDelivered;  // the module reads pictures of its profile
};
const SCodec g_nvenc = {L"NVENC1", true};
const SCodec g_amf = {L"AMF1", false};
const SCodec g_system = {L"HQ", true};

std::string NameOf(const testing::TestParamInfo<SCodec>& codec)
{
    const std::wstring strCode = codec.param.m_pwszCode;
    return {strCode.begin(), strCode.end()};
}

// In every case through all back ends.
class Written : public testing::TestWithParam<SCodec>
{
protected:
    Written() { ChooseCodec(m_host, GetParam().m_pwszCode); }

    std::filesystem::path Path() const { return m_dir / "written.mp4"; }

    // A file of pictures numbered from 1.
    void WriteNumbered(const std::vector<double>& vTimesMs) const
    {
        WriteFile(m_host, Path(), vTimesMs, [](std::uint32_t ui) { return NumberedPicture(160, 96, ui + 1); });
    }

    // As ffmpeg decodes them, and as the module gives them in an order of chance, with the seed in the message. Of
    // hundreds the module gives fewer under the sanitizers.
    void ExpectNumbers(std::uint32_t uiFirst, std::uint32_t uiLast) const
    {
        ExpectNumbers(Path(), 160, 96, uiFirst, uiLast);
    }
    void ExpectNumbers(const std::filesystem::path& path, std::uint32_t uiWidth, std::uint32_t uiHeight,
                       std::uint32_t uiFirst, std::uint32_t uiLast) const
    {
        EXPECT_EQ(NumbersIn(path, uiWidth, uiHeight), Numbers(uiFirst, uiLast));
        const ReadBack file(m_host, path);
        ASSERT_EQ(file.Count(), uiLast - uiFirst + 1);
        if (!GetParam().m_bDelivered) return;
        std::vector<std::uint32_t> vFrames(file.Count());
        std::iota(vFrames.begin(), vFrames.end(), 0U);
        const unsigned uiSeed = std::random_device()();
        std::shuffle(vFrames.begin(), vFrames.end(), std::mt19937(uiSeed));
        const auto uiReads = static_cast<std::size_t>(FullFromAQuarter(static_cast<int>(file.Count())));
        if (file.Count() > 100) vFrames.resize(uiReads);
        for (const std::uint32_t ui : vFrames)
            ASSERT_EQ(NumberIn(file.Frame(ui)), uiFirst + ui) << "seed " << uiSeed;
    }

    // As the module gives them, or as ffmpeg decodes them if it gives none.
    std::vector<HostPicture> Pictures(std::uint32_t uiWidth, std::uint32_t uiHeight) const
    {
        if (!GetParam().m_bDelivered) return DecodedPictures(Path(), uiWidth, uiHeight);
        const ReadBack file(m_host, Path());
        std::vector<HostPicture> vPictures;
        for (std::uint32_t ui = 0; ui < file.Count(); ++ui)
            vPictures.push_back(file.Frame(ui));
        return vPictures;
    }

    void ExpectFilmedPicturesOf(std::uint32_t uiWidth, std::uint32_t uiHeight) const
    {
        const std::vector<HostPicture> vPictures = FilmedPictures(uiWidth, uiHeight, 5);
        WriteFile(m_host, Path(), EvenTimes(5), [&](std::uint32_t ui) { return vPictures[ui]; });
        const ReadBack file(m_host, Path());
        EXPECT_EQ(file.Attributes().m_uiWidth, uiWidth + uiWidth % 2);
        EXPECT_EQ(file.Attributes().m_uiHeight, uiHeight + uiHeight % 2);
        const std::vector<HostPicture> vRead = Pictures(uiWidth + uiWidth % 2, uiHeight + uiHeight % 2);
        ASSERT_EQ(vRead.size(), 5U);
        for (std::uint32_t ui = 0; ui < 5; ++ui)
            EXPECT_GT(Psnr(vPictures[ui], vRead[ui]), 35.0) << "picture " << ui << " of " << uiWidth << "x" << uiHeight;
    }

    const TemporaryFolder m_dir;
    const ModuleHost m_host;
};
INSTANTIATE_TEST_SUITE_P(By, Written, testing::Values(g_nvenc, g_amf, g_system), NameOf);

// What the two back ends have in common that write the file themselves.
class Muxed : public Written
{
};
INSTANTIATE_TEST_SUITE_P(By, Muxed, testing::Values(g_nvenc, g_amf), NameOf);

TEST_P(Muxed, IrregularTimesWithGapsOfHoursComeBackWithTheirPictures)
{
    const std::vector<double> vTimes = {0.0, 33.4, 66.7, 100.05, 1000.9, 3601000.0, 7203000.5, 7203040.5};
    WriteNumbered(vTimes);
    const ReadBack file(m_host, Path());
    EXPECT_EQ(file.Count(), vTimes.size());
    EXPECT_EQ(file.Times(), TimesAsRead(vTimes));
    EXPECT_EQ(file.Times()[2], 66.0);   // 334 + 333 ticks
    EXPECT_EQ(file.Times()[3], 100.0);  // and 333
    ExpectNumbers(1, 8);
}

// What a writer leaves that ends without closing its file. An encoder holds a few pictures back. Still pictures take so
// little that all of them would fit into a small buffer.
TEST_P(Muxed, EveryPacketIsWithTheSystemWhenTheEncoderHasGivenIt)
{
    constexpr std::uint32_t uiFrames = 100;
    constexpr std::uint32_t uiHeldBack = 3;
    const HostPicture picture = NumberedPicture(160, 96, 1);
    WriteFile(m_host, m_dir / "whole.mp4", EvenTimes(uiFrames), [&](std::uint32_t) { return picture; });
    const std::vector<std::uint32_t> vSizes = ReadMuxedFile(ReadBytes(m_dir / "whole.mp4")).m_moov.m_vSizes;
    ASSERT_EQ(vSizes.size(), uiFrames);
    ASSERT_LT(std::accumulate(vSizes.begin(), vSizes.end(), 0U), 32000U);

    const OutputFile file = OpenForPictures(m_host, Path(), 160, 96);
    std::uintmax_t uiExpected = 48;
    for (std::uint32_t ui = 0; ui < uiFrames; ++ui)
    {
        ASSERT_EQ(WriteAt(file, 40.0 * ui, picture), QM_OK);
        if (ui >= uiHeldBack) uiExpected += vSizes[ui - uiHeldBack];
        // One back end writes on a thread of its own.
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (std::filesystem::file_size(Path()) < uiExpected && std::chrono::steady_clock::now() < end)
            std::this_thread::yield();
        ASSERT_GE(std::filesystem::file_size(Path()), uiExpected) << ui;
    }
}

TEST_P(Written, IrregularTimesInWholeMillisecondsComeBackWithTheirPictures)
{
    const std::vector<double> vTimes = {0.0, 33.0, 67.0, 100.0, 101.0, 1001.0, 3601000.0, 7203001.0, 7203040.0};
    WriteNumbered(vTimes);
    EXPECT_EQ(ReadBack(m_host, Path()).Times(), vTimes);
    ExpectNumbers(1, 9);
}

TEST_P(Written, FfmpegPlaysTheFileWithoutComplaint)
{
    WriteNumbered(EvenTimes(30, 33.0));
    const std::string strDecode = "-v warning " + WholeTrack(Path()) + " -f null -";
    EXPECT_NO_THROW(RunFfmpeg(strDecode, Complaints::None));
}

TEST_P(Written, FilmedPicturesComeBackAbove35Decibels)
{
    const std::vector<HostPicture> vPictures = FilmedPictures(640, 480, 12);
    WriteFile(m_host, Path(), EvenTimes(12), [&](std::uint32_t ui) { return vPictures[ui]; });
    const std::vector<HostPicture> vRead = Pictures(640, 480);
    ASSERT_EQ(vRead.size(), 12U);
    for (std::uint32_t ui = 0; ui < 12; ++ui)
    {
        const double dPsnr = Psnr(vPictures[ui], vRead[ui]);
        EXPECT_GT(dPsnr, 35.0) << "picture " << ui;
        // Its neighbour is farther away, or the comparison would say nothing about which picture it is.
        const std::uint32_t uiNeighbour = ui == 0 ? 1 : ui - 1;
        EXPECT_LT(Psnr(vPictures[uiNeighbour], vRead[ui]), dPsnr - 3.0) << "picture " << ui;
    }
}

TEST_P(Written, AnOddSizeComesBackAsTheNextEvenOneWithItsPictures)
{
    for (const auto& [uiWidth, uiHeight] : {std::pair{320U, 239U}, {323U, 237U}, {162U, 130U}})
        ExpectFilmedPicturesOf(uiWidth, uiHeight);
}

// Its rows are as far apart as those of the even width, which are four bytes longer. The system's encoder reads the
// odd ones.
TEST_P(Muxed, AnOddWidthIsReadAtThePitchOfTheEvenOne)
{
    ExpectFilmedPicturesOf(321, 240);
}

// A distance that is negative is stored as such in 32 bits, and a reader that knows no negative ones adds it as
// 119 hours.
TEST_P(Muxed, TimesThatRunBackwardsComeBackAsTheSumsOfTheStoredDistances)
{
    WriteNumbered({0.0, 100.0, 50.0, 150.0});
    const ReadBack file(m_host, Path());
    // Ticks: 1000, 2^32 - 500, 1000.
    EXPECT_EQ(file.Times(), (std::vector<double>{0.0, 100.0, 429496779.0, 429496879.0}));
    EXPECT_EQ(NumbersIn(Path(), 160, 96).front(), 1U);
}

TEST_P(Muxed, ATimeBeforeTheFirstIsThatOfTheFirst)
{
    WriteNumbered({1000.0, 400.0, 1100.0});
    EXPECT_EQ(ReadBack(m_host, Path()).Times(), (std::vector<double>{0.0, 0.0, 100.0}));
}

TEST_P(Written, TimesCountFromTheFirstFrame)
{
    WriteNumbered({5000.0, 5040.0, 5080.0});
    const ReadBack file(m_host, Path());
    EXPECT_EQ(file.Times(), (std::vector<double>{0.0, 40.0, 80.0}));
    ExpectNumbers(1, 3);
}

TEST_P(Muxed, EqualTimesComeBackEqual)
{
    WriteNumbered({0.0, 40.0, 40.0, 80.0});
    const ReadBack file(m_host, Path());
    EXPECT_EQ(file.Times(), (std::vector<double>{0.0, 40.0, 40.0, 80.0}));
    ExpectNumbers(1, 4);
}

TEST_P(Muxed, WithoutAnyTimeAllFramesAreAtZero)
{
    {
        const OutputFile file = OpenForPictures(m_host, Path(), 160, 96);
        for (std::uint32_t ui = 1; ui <= 6; ++ui)
            ASSERT_EQ(file->WriteNextFrame(NumberedPicture(160, 96, ui).m_vBytes.data()), QM_OK);
        EXPECT_EQ(file->CloseOutput(), QM_OK);
    }
    const ReadBack file(m_host, Path());
    EXPECT_EQ(file.Times(), std::vector<double>(6, 0.0));
    ExpectNumbers(1, 6);
}

TEST_P(Muxed, PictureMetadataGivesTheTimeToo)
{
    {
        const OutputFile file = OpenForPictures(m_host, Path(), 160, 96);
        SQmPictureMetadata metadata;
        for (const double dTime : {0.0, 12.5, 300.0})
        {
            metadata.m_dTime = dTime;
            EXPECT_EQ(file->SetPictureMetadata(77, &metadata), QM_OK);  // whatever index the host gives
            ASSERT_EQ(file->WriteNextFrame(NumberedPicture(160, 96, 1).m_vBytes.data()), QM_OK);
        }
        EXPECT_EQ(file->CloseOutput(), QM_OK);
    }
    EXPECT_EQ(ReadBack(m_host, Path()).Times(), (std::vector<double>{0.0, 12.0, 300.0}));
}

// The encoder holds packets back, which come at the close.
TEST_P(Written, FewFramesComeBackWhole)
{
    for (const std::uint32_t uiCount : {1U, 2U, 3U, 4U, 5U, 9U, 17U})
    {
        WriteNumbered(EvenTimes(uiCount));
        EXPECT_EQ(ReadBack(m_host, Path()).Times(), EvenTimes(uiCount));
        ExpectNumbers(1, uiCount);
    }
}

TEST_P(Muxed, AThousandFramesComeBackByIndex)
{
    std::vector<double> vTimes;
    for (int n = 0; n < 1000; ++n)
        vTimes.push_back(n * 20.3 + n % 7);
    WriteFile(m_host, Path(), vTimes, [](std::uint32_t ui) { return NumberedPicture(64, 48, ui + 1); });
    const ReadBack file(m_host, Path());
    EXPECT_EQ(file.Times(), TimesAsRead(vTimes));
    ExpectNumbers(Path(), 64, 48, 1, 1000);
}

TEST_P(Muxed, TheIndexOfADirectWriteIsNotLookedAt)
{
    {
        const OutputFile file = OpenForPictures(m_host, Path(), 160, 96);
        for (std::uint32_t ui = 1; ui <= 5; ++ui)
        {
            file->SetFrameTime(40.0 * ui);
            ASSERT_EQ(file->WriteFrame(0, NumberedPicture(160, 96, ui).m_vBytes.data(), nullptr, nullptr), QM_OK);
        }
        EXPECT_EQ(file->CloseOutput(), QM_OK);
    }
    ExpectNumbers(1, 5);
}

TEST_P(Written, TheLastReleaseFinishesAFileThatWasNotClosed)
{
    {
        const OutputFile file = OpenForPictures(m_host, Path(), 160, 96);
        for (std::uint32_t ui = 0; ui < 5; ++ui)
            ASSERT_EQ(WriteAt(file, 40.0 * ui, NumberedPicture(160, 96, ui + 1)), QM_OK);
    }
    ExpectNumbers(1, 5);
}

TEST_P(Muxed, TheReleaseAfterACloseLeavesTheFileAsItIs)
{
    const OutputFile file = OpenForPictures(m_host, Path(), 160, 96);
    for (std::uint32_t ui = 0; ui < 5; ++ui)
        ASSERT_EQ(WriteAt(file, 40.0 * ui, NumberedPicture(160, 96, ui + 1)), QM_OK);
    EXPECT_EQ(file->CloseOutput(), QM_OK);
    const std::vector<std::uint8_t> vClosed = ReadBytes(Path());
    EXPECT_EQ(file->CloseOutput(), QM_OK);
    EXPECT_EQ(ReadBytes(Path()), vClosed);
}

TEST_P(Written, ALongerFileOfThatNameIsReplaced)
{
    WriteBytes(Path(), std::vector<std::uint8_t>(1000000, 0xEE));
    WriteNumbered(EvenTimes(3));
    EXPECT_LT(std::filesystem::file_size(Path()), 1000000U);
    ExpectNumbers(1, 3);
}

TEST_P(Written, NamesBeyondAsciiAreKept)
{
    const std::string strFolder = m_dir.Path().string();
    const std::wstring wszName = std::wstring(strFolder.begin(), strFolder.end()) + L"/m\u00e9lange \u65e5 %s.mp4";
    IQmOutputImageFile* pFile = nullptr;
    ASSERT_EQ(m_host.Format()->CreateOutputFileForPath(CQmStringW(wszName.c_str()), &pFile), QM_OK);
    {
        const OutputFile file(pFile);
        SetSize(m_host, file, 160, 96);
        ASSERT_EQ(WriteAt(file, 0.0, NumberedPicture(160, 96, 1)), QM_OK);
    }
    WriteNumbered({0.0});
    EXPECT_EQ(ReadBytes(m_dir / "m\xc3\xa9lange \xe6\x97\xa5 %s.mp4"), ReadBytes(Path()));
}

TEST_P(Written, TwoFilesAtOnceDoNotMeet)
{
    const std::filesystem::path other = m_dir / "other.mp4";
    {
        const OutputFile first = OpenForPictures(m_host, Path(), 160, 96);
        const OutputFile second = OpenForPictures(m_host, other, 96, 64);
        for (std::uint32_t ui = 0; ui < 8; ++ui)
        {
            ASSERT_EQ(WriteAt(first, 40.0 * ui, NumberedPicture(160, 96, ui + 1)), QM_OK);
            ASSERT_EQ(WriteAt(second, 25.0 * ui, NumberedPicture(96, 64, 100 + ui)), QM_OK);
        }
    }
    ExpectNumbers(1, 8);
    EXPECT_EQ(ReadBack(m_host, other).Times(), EvenTimes(8, 25.0));
    ExpectNumbers(other, 96, 64, 100, 107);
}

// The reader that an output object gives stands for the file as it is written: attributes and times, no frames.
class WrittenReader : public Written
{
protected:
    InputFile Reader(const OutputFile& file) const
    {
        IQmInputImageFile* pReader = nullptr;
        EXPECT_EQ(file->GetWrittenFileReader(nullptr, &pReader), QM_OK);
        return InputFile(pReader);
    }

    static void ExpectTimesButNoFrames(const InputFile& reader)
    {
        SQmImageAttributes attributes;
        ASSERT_EQ(reader->GetImageAttributes(&attributes), QM_OK);
        EXPECT_EQ(attributes.m_uiWidth, 160U);
        EXPECT_EQ(attributes.m_uiHeight, 96U);
        EXPECT_EQ(attributes.m_uiSequenceCount, 4U);
        EXPECT_EQ(CachedTimes(reader.Get()), EvenTimes(4));
        std::vector<unsigned char> vPixels(std::size_t{attributes.m_uiWidthBytes} * attributes.m_uiHeight);
        EXPECT_EQ(reader->ReadFrame(0, vPixels.data(), nullptr, nullptr), QM_ERR_FAIL);
    }

    void WriteFrames(const OutputFile& file) const
    {
        for (std::uint32_t ui = 0; ui < 4; ++ui)
            ASSERT_EQ(WriteAt(file, 40.0 * ui, NumberedPicture(160, 96, ui + 1)), QM_OK);
    }
};

INSTANTIATE_TEST_SUITE_P(By, WrittenReader, testing::Values(g_nvenc, g_amf), NameOf);

TEST_P(WrittenReader, AfterTheCloseAnswersForAttributesAndTimesAndRefusesFrames)
{
    const OutputFile file = OpenForPictures(m_host, Path(), 160, 96);
    WriteFrames(file);
    EXPECT_EQ(file->CloseOutput(), QM_OK);
    ExpectTimesButNoFrames(Reader(file));
}

TEST_P(WrittenReader, BeforeTheCloseHasNothingToAnswerFromYet)
{
    const OutputFile file = OpenForPictures(m_host, Path(), 160, 96);
    const InputFile early = Reader(file);
    SQmImageAttributes attributes;
    EXPECT_EQ(early->GetImageAttributes(&attributes), QM_ERR_FAIL) << "no file before the first frame";
    WriteFrames(file);
    const InputFile late = Reader(file);
    EXPECT_EQ(late->GetImageAttributes(&attributes), QM_ERR_FAIL) << "no table of frames before the close";
    EXPECT_EQ(file->CloseOutput(), QM_OK);
    ExpectTimesButNoFrames(early);
    ExpectTimesButNoFrames(late);
}

TEST_P(WrittenReader, OutlivesTheFileThatGaveIt)
{
    InputFile reader;
    {
        const OutputFile file = OpenForPictures(m_host, Path(), 160, 96);
        reader = Reader(file);
        WriteFrames(file);
    }
    ExpectTimesButNoFrames(reader);
}

}  // namespace
