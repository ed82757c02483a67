// Files of the four codecs of the system's own encoder: their times, their pictures and what their quality costs.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "support/ffmpeg.h"
#include "support/file_contents.h"
#include "support/temporary_folder.h"
#include "support/writing_host.h"
#include "test_pictures.h"

namespace
{

using namespace test_support;

constexpr std::uint32_t g_uiWidth = 160;
constexpr std::uint32_t g_uiHeight = 96;

// Distances of a camera that is interrupted, from 1 ms to seconds, with tenths and hundredths of a millisecond.
std::vector<double> IrregularTimes(std::uint32_t uiCount)
{
    std::vector<double> vTimes;
    double dTime = 0.0;
    for (std::uint32_t ui = 0; ui < uiCount; ++ui)
    {
        vTimes.push_back(dTime);
        dTime += ui % 37 == 36 ? 2500.0 : 1.0 + static_cast<double>(ui * 7919 % 9700) / 100.0;
    }
    return vTimes;
}

// Where each sample begins in 100 ns: a sample lasts until the next picture, at least a millisecond, and its duration
// is cut to whole units.
std::vector<std::int64_t> SampleTimes(const std::vector<double>& vTimesMs)
{
    std::vector<std::int64_t> vSamples{0};
    for (std::size_t ui = 1; ui < vTimesMs.size(); ++ui)
    {
        const double dDistance = vTimesMs[ui] - vTimesMs[ui - 1];
        vSamples.push_back(vSamples.back() + static_cast<std::int64_t>(std::max(dDistance, 1.0) * 10000.0));
    }
    return vSamples;
}

class SystemEncoder : public testing::Test
{
protected:
    std::filesystem::path Path(const std::wstring& strCode) const { return m_dir / (strCode + L".mp4"); }

    void Write(const std::wstring& strCode, const std::vector<double>& vTimesMs, const PictureOfFrame& pictureOfFrame)
    {
        ChooseCodec(m_host, strCode);
        WriteFile(m_host, Path(strCode), vTimesMs, pictureOfFrame);
    }
    void WriteNumbered(const std::wstring& strCode, const std::vector<double>& vTimesMs)
    {
        Write(strCode, vTimesMs, [](std::uint32_t ui) { return NumberedPicture(g_uiWidth, g_uiHeight, ui + 1); });
    }

    std::string Probe(const std::wstring& strCode, const std::string& strEntries) const
    {
        return RunFfprobe("-select_streams v -show_entries " + strEntries + " -of csv=p=0 " + Quoted(Path(strCode)));
    }

    const TemporaryFolder m_dir;
    const ModuleHost m_host;
};

class SystemCodec : public SystemEncoder, public testing::WithParamInterface<const wchar_t*>
{
protected:
    bool DeliversPictures() const { return std::wstring(GetParam()) != L"FST"; }  // Baseline isn't delivered
};

TEST_P(SystemCodec, IrregularTimesComeBackByIndex)
{
    const std::vector<double> vTimes = IrregularTimes(300);
    WriteNumbered(GetParam(), vTimes);
    const std::vector<std::int64_t> vSamples = SampleTimes(vTimes);

    // The timescale, and the packets' times in ticks of it.
    const std::string strBase = Probe(GetParam(), "stream=time_base");
    const double dTimescale = std::stod(strBase.substr(strBase.find('/') + 1));
    EXPECT_GE(dTimescale, 10000.0);
    EXPECT_LE(dTimescale, 90000.0);
    std::istringstream lines(Probe(GetParam(), "packet=pts"));
    std::vector<double> vTicks;
    for (std::string strLine; std::getline(lines, strLine);)
        vTicks.push_back(std::stod(strLine));
    std::sort(vTicks.begin(), vTicks.end());
    ASSERT_EQ(vTicks.size(), vTimes.size());
    for (std::size_t ui = 0; ui < vTicks.size(); ++ui)
        ASSERT_NEAR(vTicks[ui], static_cast<double>(vSamples[ui]) * dTimescale / 1e7, 1.0) << "picture " << ui;

    const ReadBack file(m_host, Path(GetParam()));
    const std::vector<double> vRead = file.Times();
    ASSERT_EQ(vRead.size(), vTimes.size());
    for (std::size_t ui = 0; ui < vRead.size(); ++ui)
    {
        // Whole milliseconds, of a time that may be a tick off.
        const double dExact = static_cast<double>(vSamples[ui]) / 1e4;
        const double dTick = 1000.0 / dTimescale;
        ASSERT_GE(vRead[ui], std::floor(dExact - dTick)) << "picture " << ui;
        ASSERT_LE(vRead[ui], std::floor(dExact + dTick)) << "picture " << ui;
    }
}

TEST_P(SystemCodec, EveryIndexHasItsPicture)
{
    WriteNumbered(GetParam(), IrregularTimes(120));
    const std::vector<HostPicture> vDecoded = DecodedPictures(Path(GetParam()), g_uiWidth, g_uiHeight);
    ASSERT_EQ(vDecoded.size(), 120U);
    for (std::uint32_t ui = 0; ui < 120; ++ui)
        ASSERT_EQ(NumberIn(vDecoded[ui]), ui + 1);
    if (!DeliversPictures()) return;

    const ReadBack file(m_host, Path(GetParam()));
    std::vector<std::uint32_t> vFrames(file.Count());
    std::iota(vFrames.begin(), vFrames.end(), 0U);
    const unsigned uiSeed = std::random_device()();
    std::shuffle(vFrames.begin(), vFrames.end(), std::mt19937(uiSeed));
    for (const std::uint32_t ui : vFrames)
        ASSERT_EQ(NumberIn(file.Frame(ui)), ui + 1) << "seed " << uiSeed;
}

// A distance counts at least a millisecond, but for those from the first picture's time: 0, 0, 0.5, 40 and 41 ms.
TEST_P(SystemCodec, EqualTimesLoseNoPicture)
{
    WriteNumbered(GetParam(), {0.0, 0.0, 0.5, 40.0, 40.0});
    const ReadBack file(m_host, Path(GetParam()));
    EXPECT_EQ(file.Times(), (std::vector<double>{0.0, 0.0, 0.0, 40.0, 41.0}));
    EXPECT_EQ(NumbersIn(Path(GetParam()), g_uiWidth, g_uiHeight), Numbers(1, 5));
    if (!DeliversPictures()) return;
    for (const std::uint32_t ui : {4U, 1U, 0U, 3U, 2U})
        EXPECT_EQ(NumberIn(file.Frame(ui)), ui + 1);
}

TEST_P(SystemCodec, FewPicturesAreAllThere)
{
    for (const std::uint32_t uiCount : {1U, 2U, 3U, 4U, 5U, 17U})
    {
        WriteNumbered(GetParam(), EvenTimes(uiCount));
        EXPECT_EQ(ReadBack(m_host, Path(GetParam())).Count(), uiCount);
        const std::vector<HostPicture> vDecoded = DecodedPictures(Path(GetParam()), g_uiWidth, g_uiHeight);
        ASSERT_EQ(vDecoded.size(), uiCount);
        for (std::uint32_t ui = 0; ui < uiCount; ++ui)
            EXPECT_EQ(NumberIn(vDecoded[ui]), ui + 1) << "of " << uiCount;
    }
}

TEST_P(SystemCodec, AnOddSizeBecomesTheNextEvenOne)
{
    const std::vector<HostPicture> vPictures = FilmedPictures(161, 97, 5);
    Write(GetParam(), EvenTimes(5), [&](std::uint32_t ui) { return vPictures[ui]; });
    EXPECT_EQ(Probe(GetParam(), "stream=width,height"), "162,98\n");
}

// The second byte of the decoder configuration.
TEST_P(SystemCodec, TheProfileIsThatOfItsRow)
{
    WriteNumbered(GetParam(), EvenTimes(3));
    const Bytes vFile = ReadBytes(Path(GetParam()));
    const std::string strType = "avcC";
    const auto itType = std::search(vFile.begin(), vFile.end(), strType.begin(), strType.end());
    ASSERT_LT(itType + 5, vFile.end());
    EXPECT_EQ(itType[5], DeliversPictures() ? 100 : 66);
}

INSTANTIATE_TEST_SUITE_P(Codecs, SystemCodec, testing::Values(L"HQ", L"NQ", L"LQ", L"FST"), [](const auto& code) {
    return std::string(code.param, code.param + std::wcslen(code.param));
});

TEST_F(SystemEncoder, FromHqToLqTheFileGetsSmallerAndThePicturesLessLikeTheOriginals)
{
    constexpr std::uint32_t uiPictures = 24;
    const std::vector<HostPicture> vPictures = FilmedPictures(320, 240, uiPictures);
    std::vector<std::uintmax_t> vSizes;
    std::vector<double> vPsnr;
    for (const wchar_t* pwszCode : {L"HQ", L"NQ", L"LQ"})
    {
        Write(pwszCode, EvenTimes(uiPictures), [&](std::uint32_t ui) { return vPictures[ui]; });
        vSizes.push_back(std::filesystem::file_size(Path(pwszCode)));
        const ReadBack file(m_host, Path(pwszCode));
        double dSum = 0.0;
        for (std::uint32_t ui = 0; ui < uiPictures; ++ui)
            dSum += Psnr(vPictures[ui], file.Frame(ui));
        vPsnr.push_back(dSum / uiPictures);
    }
    EXPECT_GT(vSizes[0], vSizes[1]);
    EXPECT_GT(vSizes[1], vSizes[2]);
    EXPECT_GT(vPsnr[0], vPsnr[1]);
    EXPECT_GT(vPsnr[1], vPsnr[2]);
    EXPECT_GT(vPsnr[2], 30.0);
}

// The back ends don't disturb each other.
TEST_F(SystemEncoder, FilesOfAllKindsAreWrittenOneAfterTheOther)
{
    for (const wchar_t* pwszCode : {L"HQ", L"NVENC1", L"AMF1", L"FST", L"AMF1", L"NVENC1", L"LQ"})
    {
        WriteNumbered(pwszCode, EvenTimes(10));
        EXPECT_EQ(ReadBack(m_host, Path(pwszCode)).Count(), 10U);
    }
}

}  // namespace
