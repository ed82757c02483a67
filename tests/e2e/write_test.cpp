// What a host writes, it reads back: the times that it gave and the pictures in their order.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>

#include "support/temporary_folder.h"
#include "support/writing_host.h"
#include "test_pictures.h"

namespace
{

using namespace test_support;

class Written : public testing::Test
{
protected:
    Written() { ChooseCodec(m_host, L"NVENC1"); }

    std::filesystem::path Path() const { return m_dir / "written.mp4"; }

    // A file of pictures numbered from 1.
    void WriteNumbered(const std::vector<double>& vTimesMs) const
    {
        WriteFile(m_host, Path(), vTimesMs, [](std::uint32_t ui) { return NumberedPicture(160, 96, ui + 1); });
    }

    const TemporaryFolder m_dir;
    const ModuleHost m_host;
};

std::vector<std::uint32_t> NumbersInOrder(const ReadBack& file)
{
    std::vector<std::uint32_t> vNumbers;
    for (std::uint32_t ui = 0; ui < file.Count(); ++ui)
        vNumbers.push_back(NumberIn(file.Frame(ui)));
    return vNumbers;
}

std::vector<std::uint32_t> NumbersUpTo(std::uint32_t uiLast)
{
    std::vector<std::uint32_t> vNumbers(uiLast);
    std::iota(vNumbers.begin(), vNumbers.end(), 1U);
    return vNumbers;
}

// Frames in an order of chance, with the seed in the message.
void ExpectNumbersInAnyOrder(const ReadBack& file)
{
    std::vector<std::uint32_t> vFrames(file.Count());
    std::iota(vFrames.begin(), vFrames.end(), 0U);
    const unsigned uiSeed = std::random_device()();
    std::shuffle(vFrames.begin(), vFrames.end(), std::mt19937(uiSeed));
    for (const std::uint32_t ui : vFrames)
        ASSERT_EQ(NumberIn(file.Frame(ui)), ui + 1) << "seed " << uiSeed;
}

TEST_F(Written, IrregularTimesWithGapsOfHoursComeBackWithTheirPictures)
{
    const std::vector<double> vTimes = {0.0, 33.4, 66.7, 100.05, 1000.9, 3601000.0, 7203000.5, 7203040.5};
    WriteNumbered(vTimes);
    const ReadBack file(m_host, Path());
    EXPECT_EQ(file.Count(), vTimes.size());
    EXPECT_EQ(file.Times(), TimesAsRead(vTimes));
    EXPECT_EQ(file.Times()[2], 66.0);   // 334 + 333 ticks
    EXPECT_EQ(file.Times()[3], 100.0);  // and 333
    ExpectNumbersInAnyOrder(file);
}

TEST_F(Written, FilmedPicturesComeBackAbove35Decibels)
{
    const std::vector<HostPicture> vPictures = FilmedPictures(640, 480, 12);
    WriteFile(m_host, Path(), EvenTimes(12), [&](std::uint32_t ui) { return vPictures[ui]; });
    const ReadBack file(m_host, Path());
    ASSERT_EQ(file.Count(), 12U);
    for (std::uint32_t ui = 0; ui < 12; ++ui)
    {
        const double dPsnr = Psnr(vPictures[ui], file.Frame(ui));
        EXPECT_GT(dPsnr, 35.0) << "picture " << ui;
        // Its neighbour is farther away, or the comparison would say nothing about which picture it is.
        const std::uint32_t uiNeighbour = ui == 0 ? 1 : ui - 1;
        EXPECT_LT(Psnr(vPictures[uiNeighbour], file.Frame(ui)), dPsnr - 3.0) << "picture " << ui;
    }
}

struct Size
{
    std::uint32_t m_uiWidth;
    std::uint32_t m_uiHeight;
};

class WrittenOfOddSize : public Written, public testing::WithParamInterface<Size>
{
};

TEST_P(WrittenOfOddSize, ComesBackAtTheNextEvenSizeWithItsPictures)
{
    const auto [uiWidth, uiHeight] = GetParam();
    const std::vector<HostPicture> vPictures = FilmedPictures(uiWidth, uiHeight, 5);
    WriteFile(m_host, Path(), EvenTimes(5), [&](std::uint32_t ui) { return vPictures[ui]; });
    const ReadBack file(m_host, Path());
    EXPECT_EQ(file.Attributes().m_uiWidth, uiWidth + uiWidth % 2);
    EXPECT_EQ(file.Attributes().m_uiHeight, uiHeight + uiHeight % 2);
    for (std::uint32_t ui = 0; ui < 5; ++ui)
        EXPECT_GT(Psnr(vPictures[ui], file.Frame(ui)), 35.0) << "picture " << ui;
}

INSTANTIATE_TEST_SUITE_P(Sizes, WrittenOfOddSize,
                         testing::Values(Size{321, 240}, Size{320, 239}, Size{323, 237}, Size{162, 130}),
                         [](const auto& size) {
                             return std::to_string(size.param.m_uiWidth) + "x" + std::to_string(size.param.m_uiHeight);
                         });

// A distance that is negative is stored as such in 32 bits, and a reader that knows no negative ones adds it as
// 119 hours.
TEST_F(Written, TimesThatRunBackwardsComeBackAsTheSumsOfTheStoredDistances)
{
    WriteNumbered({0.0, 100.0, 50.0, 150.0});
    const ReadBack file(m_host, Path());
    // Ticks: 1000, 2^32 - 500, 1000.
    EXPECT_EQ(file.Times(), (std::vector<double>{0.0, 100.0, 429496779.0, 429496879.0}));
    EXPECT_EQ(NumberIn(file.Frame(0)), 1U);
}

TEST_F(Written, ATimeBeforeTheFirstIsThatOfTheFirst)
{
    WriteNumbered({1000.0, 400.0, 1100.0});
    EXPECT_EQ(ReadBack(m_host, Path()).Times(), (std::vector<double>{0.0, 0.0, 100.0}));
}

TEST_F(Written, TimesCountFromTheFirstFrame)
{
    WriteNumbered({5000.0, 5040.0, 5080.0});
    const ReadBack file(m_host, Path());
    EXPECT_EQ(file.Times(), (std::vector<double>{0.0, 40.0, 80.0}));
    ExpectNumbersInAnyOrder(file);
}

TEST_F(Written, EqualTimesComeBackEqual)
{
    WriteNumbered({0.0, 40.0, 40.0, 80.0});
    const ReadBack file(m_host, Path());
    EXPECT_EQ(file.Times(), (std::vector<double>{0.0, 40.0, 40.0, 80.0}));
    EXPECT_EQ(NumbersInOrder(file), NumbersUpTo(4));
}

TEST_F(Written, WithoutAnyTimeAllFramesAreAtZero)
{
    {
        const OutputFile file = OpenForPictures(m_host, Path(), 160, 96);
        for (std::uint32_t ui = 1; ui <= 6; ++ui)
            ASSERT_EQ(file->WriteNextFrame(NumberedPicture(160, 96, ui).m_vBytes.data()), QM_OK);
        EXPECT_EQ(file->CloseOutput(), QM_OK);
    }
    const ReadBack file(m_host, Path());
    EXPECT_EQ(file.Times(), std::vector<double>(6, 0.0));
    EXPECT_EQ(NumbersInOrder(file), NumbersUpTo(6));
}

TEST_F(Written, PictureMetadataGivesTheTimeToo)
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

// The encoder holds three packets back, which come at the close.
class WrittenCount : public Written, public testing::WithParamInterface<std::uint32_t>
{
};

TEST_P(WrittenCount, OfFramesComesBackWhole)
{
    WriteNumbered(EvenTimes(GetParam()));
    const ReadBack file(m_host, Path());
    EXPECT_EQ(file.Times(), EvenTimes(GetParam()));
    EXPECT_EQ(NumbersInOrder(file), NumbersUpTo(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Counts, WrittenCount, testing::Values(1, 2, 3, 4, 5, 9), testing::PrintToStringParamName());

TEST_F(Written, AThousandFramesComeBackByIndex)
{
    std::vector<double> vTimes;
    for (int n = 0; n < 1000; ++n)
        vTimes.push_back(n * 20.3 + n % 7);
    WriteFile(m_host, Path(), vTimes, [](std::uint32_t ui) { return NumberedPicture(64, 48, ui + 1); });
    const ReadBack file(m_host, Path());
    EXPECT_EQ(file.Times(), TimesAsRead(vTimes));
    for (const std::uint32_t ui : {999U, 0U, 500U, 501U, 3U, 998U, 250U})
        EXPECT_EQ(NumberIn(file.Frame(ui)), ui + 1);
}

TEST_F(Written, TheIndexOfADirectWriteIsNotLookedAt)
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
    EXPECT_EQ(NumbersInOrder(ReadBack(m_host, Path())), NumbersUpTo(5));
}

TEST_F(Written, TheLastReleaseFinishesAFileThatWasNotClosed)
{
    {
        const OutputFile file = OpenForPictures(m_host, Path(), 160, 96);
        for (std::uint32_t ui = 0; ui < 5; ++ui)
            ASSERT_EQ(WriteAt(file, 40.0 * ui, NumberedPicture(160, 96, ui + 1)), QM_OK);
    }
    EXPECT_EQ(NumbersInOrder(ReadBack(m_host, Path())), NumbersUpTo(5));
}

TEST_F(Written, TheReleaseAfterACloseLeavesTheFileAsItIs)
{
    const OutputFile file = OpenForPictures(m_host, Path(), 160, 96);
    for (std::uint32_t ui = 0; ui < 5; ++ui)
        ASSERT_EQ(WriteAt(file, 40.0 * ui, NumberedPicture(160, 96, ui + 1)), QM_OK);
    EXPECT_EQ(file->CloseOutput(), QM_OK);
    const std::vector<std::uint8_t> vClosed = ReadBytes(Path());
    EXPECT_EQ(file->CloseOutput(), QM_OK);
    EXPECT_EQ(ReadBytes(Path()), vClosed);
}

TEST_F(Written, ALongerFileOfThatNameIsReplaced)
{
    WriteBytes(Path(), std::vector<std::uint8_t>(1000000, 0xEE));
    WriteNumbered(EvenTimes(3));
    EXPECT_LT(std::filesystem::file_size(Path()), 1000000U);
    EXPECT_EQ(NumbersInOrder(ReadBack(m_host, Path())), NumbersUpTo(3));
}

TEST_F(Written, NamesBeyondAsciiAreKept)
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

TEST_F(Written, TwoFilesAtOnceDoNotMeet)
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
    EXPECT_EQ(NumbersInOrder(ReadBack(m_host, Path())), NumbersUpTo(8));
    const ReadBack file(m_host, other);
    EXPECT_EQ(file.Times(), EvenTimes(8, 25.0));
    for (std::uint32_t ui = 0; ui < 8; ++ui)
        EXPECT_EQ(NumberIn(file.Frame(ui)), 100 + ui);
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

TEST_F(WrittenReader, AfterTheCloseAnswersForAttributesAndTimesAndRefusesFrames)
{
    const OutputFile file = OpenForPictures(m_host, Path(), 160, 96);
    WriteFrames(file);
    EXPECT_EQ(file->CloseOutput(), QM_OK);
    ExpectTimesButNoFrames(Reader(file));
}

TEST_F(WrittenReader, BeforeTheCloseHasNothingToAnswerFromYet)
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

TEST_F(WrittenReader, OutlivesTheFileThatGaveIt)
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
