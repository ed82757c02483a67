// Files of NVENC1 and AMF1, made playable.
#include <cmath>
#include <cstring>
#include <numeric>
#include <random>

#include <gmock/gmock.h>

#include "muxed_bytes.h"
#include "parts/failure.h"
#include "parts/repair.h"
#include "support/mp4_boxes.h"
#include "support/repetitions.h"
#include "support/temporary_folder.h"

namespace qmhost
{
namespace
{

using namespace muxed_bytes;
using test_support::FindBox;
using test_support::Mp4Box;
using testing::ElementsAre;
using testing::HasSubstr;
namespace fs = std::filesystem;

const RepairTimes PERIOD{std::nullopt, 40.0};

// The result of a repair, box by box.
class RepairedFile
{
public:
    explicit RepairedFile(const Bytes& vFile) : m_vFile(vFile) {}

    std::string Payload(const std::string& strPath) const
    {
        const Mp4Box box = FindBox(m_vFile, strPath);
        return {m_vFile.begin() + static_cast<std::ptrdiff_t>(box.m_uiPayload),
                m_vFile.begin() + static_cast<std::ptrdiff_t>(box.m_uiEnd)};
    }
    std::vector<std::uint32_t> Numbers(const std::string& strPath) const
    {
        const std::string strPayload = Payload(strPath);
        std::vector<std::uint32_t> vNumbers;
        for (std::size_t i = 0; i + 4 <= strPayload.size(); i += 4)
            vNumbers.push_back(WordAt(strPayload, i));
        return vNumbers;
    }
    std::vector<std::uint32_t> Table(const char* pszName) const
    {
        return Numbers(std::string("moov/trak/mdia/minf/stbl/") + pszName);
    }
    std::uint32_t MovieTicks() const { return Numbers("moov/mvhd")[4]; }
    std::uint32_t TrackTicks() const { return Numbers("moov/trak/tkhd")[5]; }
    std::uint32_t MediaTicks() const { return Numbers("moov/trak/mdia/mdhd")[4]; }
    std::uint32_t EditTicks() const { return Numbers("moov/trak/edts/elst")[2]; }

private:
    const Bytes& m_vFile;
};

class Repairs : public testing::Test
{
protected:
    explicit Repairs(const fs::path& parent = {}) : m_folder(parent / "imageformat_mp4-test-") {}

    RepairReport Repair(const std::string& strFile, const RepairTimes& times = {})
    {
        test_support::WriteText(m_in, strFile);
        const RepairReport report = RepairFile(m_in, m_out, times);
        EXPECT_TRUE(test_support::ReadText(m_in) == strFile);  // the original isn't changed
        m_vOut = test_support::ReadBytes(m_out);
        return report;
    }
    std::string Refusal(const std::string& strFile, const RepairTimes& times = {})
    {
        test_support::WriteText(m_in, strFile);
        try
        {
            RepairFile(m_in, m_out, times);
            ADD_FAILURE() << "not refused";
        }
        catch (const std::runtime_error& e)
        {
            EXPECT_FALSE(fs::exists(m_out));
            EXPECT_THAT(m_folder.Names(), ElementsAre("in.mp4"));
            return e.what();
        }
        return {};
    }
    std::string In() const { return "'" + m_in.string() + "'"; }
    std::string Out() const { return "'" + m_out.string() + "'"; }

    test_support::TemporaryFolder m_folder;
    const fs::path m_in = m_folder / "in.mp4";
    const fs::path m_out = m_folder / "out.mp4";
    Bytes m_vOut;
    const RepairedFile m_result{m_vOut};
};

// --- unfinished ---

TEST_F(Repairs, UnfinishedFileInEachState)
{
    std::string strLast;
    for (std::size_t uiLengths = 0; uiLengths <= 9; ++uiLengths)
    {
        const RepairReport report = Repair(UnfinishedFile(Media(NVENC_PICTURES, uiLengths)), PERIOD);
        EXPECT_EQ(report.m_strDone, In() + " is an unfinished file of NVENC1; " + Out() +
                                        " has the 5 pictures of it at the given period" +
                                        (uiLengths == 0 ? "; if the last one is cut short, that can't be seen" : ""));
        EXPECT_THAT(report.m_vWarnings, ElementsAre());
        EXPECT_TRUE(m_result.Payload("mdat") == Finished(NVENC_PICTURES));
        EXPECT_THAT(m_result.Table("stsz"), ElementsAre(0, 0, 5, 128, 304, 68, 70004, 54));
        EXPECT_THAT(m_result.Table("stss"), ElementsAre(0, 2, 1, 3));
        EXPECT_THAT(m_result.Table("stts"), ElementsAre(0, 1, 5, 400));
        EXPECT_THAT(m_result.Table("stsc"), ElementsAre(0, 1, 1, 5, 1));
        EXPECT_THAT(m_result.Table("stco"), ElementsAre(0, 1, FindBox(m_vOut, "mdat").m_uiPayload));
        EXPECT_EQ(m_result.MovieTicks(), 2000U);
        EXPECT_EQ(m_result.TrackTicks(), 2000U);
        EXPECT_EQ(m_result.MediaTicks(), 2000U);
        const std::string strSides = m_result.Payload("moov/trak/tkhd").substr(76);
        EXPECT_EQ(strSides, Words({1280U << 16, 720U << 16}));
        const std::string strNow(m_vOut.begin(), m_vOut.end());
        EXPECT_TRUE(uiLengths == 0 || strNow == strLast) << uiLengths;
        strLast = strNow;
    }
}

// A version, three bytes of the set, lengths of 4 bytes, then both sets without anything after them, and for High
// profile the form of the samples.
TEST_F(Repairs, ParameterSetsComeFromThePictures)
{
    Repair(UnfinishedFile(Media(NVENC_PICTURES, 0)), PERIOD);
    const std::string strEntry = m_result.Payload("moov/trak/mdia/minf/stbl/stsd").substr(8);
    const std::string strConfig =
        Box("avcC", std::string("\1\x64\0\x1F\xFF\xE1\0\x0C", 8) + SEQUENCE_SET + std::string("\1\0\4", 3) +
                        PICTURE_SET + std::string("\xFD\xF8\xF8\0", 4));
    EXPECT_EQ(strEntry.substr(86, strConfig.size()), strConfig);
}

TEST_F(Repairs, SizeOfTheMediaDataIsThereAndTheIndexIsNot)
{
    const std::string strMedia = Finished(NVENC_PICTURES);
    const std::string strWhole = FileStart() + Box("mdat", strMedia);
    const std::string strIndex = MuxerIndex({{1}, {1}, {1}, 0, 0});
    for (const std::size_t uiIndex : {std::size_t{0}, std::size_t{5}, std::size_t{100}, strIndex.size() - 1})
    {
        const RepairReport report = Repair(strWhole + strIndex.substr(0, uiIndex), PERIOD);
        EXPECT_THAT(report.m_strDone, HasSubstr(" has the 5 pictures of it at the given period"));
        EXPECT_THAT(report.m_vWarnings, ElementsAre());
        EXPECT_TRUE(m_result.Payload("mdat") == strMedia);
    }
}

TEST_F(Repairs, UnfinishedFileOfAmf)
{
    const RepairReport report = Repair(UnfinishedFile(Media(AMF_PICTURES, 2)), PERIOD);
    EXPECT_THAT(report.m_strDone, HasSubstr(" is an unfinished file of AMF1; "));
    EXPECT_TRUE(m_result.Payload("mdat") == Finished(AMF_PICTURES));
    EXPECT_THAT(m_result.Table("stsz"), ElementsAre(0, 0, 3, 134, 310, 70));
}

TEST_F(Repairs, LastPictureThatIsCutShortIsLeftOut)
{
    const std::string strMedia = Finished(NVENC_PICTURES);
    const RepairReport report = Repair(UnfinishedFile(strMedia.substr(0, strMedia.size() - 20)), PERIOD);
    EXPECT_EQ(report.m_strDone, In() + " is an unfinished file of NVENC1; " + Out() +
                                    " has the 4 pictures of it at the given period; the last 34 bytes, "
                                    "which are no whole picture, are left out");
    EXPECT_TRUE(m_result.Payload("mdat") == strMedia.substr(0, strMedia.size() - 54));
}

TEST_F(Repairs, TimesOfAFile)
{
    const RepairTimes times{std::vector<double>{7.0, 40.4, 73.7, 107.04, 107.04}, std::nullopt};
    const RepairReport report = Repair(UnfinishedFile(Media(NVENC_PICTURES, 0)), times);
    EXPECT_THAT(report.m_strDone, HasSubstr(" at the given times"));
    EXPECT_THAT(m_result.Table("stts"), ElementsAre(0, 3, 1, 334, 2, 333, 2, 0));
}

TEST_F(Repairs, TimesOfPicturesThatWereStillInTheEncoder)
{
    const RepairTimes times{std::vector<double>{0, 10, 20, 30, 40, 50, 60}, std::nullopt};
    const RepairReport report = Repair(UnfinishedFile(Media(NVENC_PICTURES, 0)), times);
    EXPECT_THAT(report.m_vWarnings,
                ElementsAre("the list has 7 times for the 5 pictures in " + Out() + "; the last ones aren't used"));
    EXPECT_THAT(m_result.Table("stts"), ElementsAre(0, 1, 5, 100));
}

TEST_F(Repairs, WithoutTimesAnUnfinishedFileIsRefusedWithTheWayOut)
{
    EXPECT_EQ(
        Refusal(UnfinishedFile(Media(NVENC_PICTURES, 0))),
        "repair failed with status -9 (general failure): " + In() +
            " is an unfinished file of NVENC1 and has no times for its 5 pictures; give them with --times FILE.csv "
            "or --period MS");
}

TEST_F(Repairs, TimesThatDontFit)
{
    const std::string strFile = UnfinishedFile(Media(NVENC_PICTURES, 0));
    EXPECT_EQ(Refusal(strFile, {std::vector<double>{0, 1, 2, 3}, std::nullopt}),
              "the list has 4 times for 5 pictures; add lines for the others, or give --period MS in its place");
    EXPECT_EQ(Refusal(strFile, {std::vector<double>{0, 1, 2, 1, 4}, std::nullopt}),
              "times run backwards in the list at entry 3");
    for (const double dLast : {1e300, 3 + 214748364.8})
    {
        EXPECT_EQ(Refusal(strFile, {std::vector<double>{0, 1, 2, 3, dLast}, std::nullopt}),
                  "the distance in the list at entry 4 is above the 59.6 hours that other programs can read");
    }
    const std::string strOne = UnfinishedFile(Media({NVENC_PICTURES[0]}, 0));
    EXPECT_EQ(Refusal(strOne, {std::nullopt, 864e6}),
              "the distance at picture 1 is above the 59.6 hours that other programs can read");
}

TEST_F(Repairs, UnfinishedFilesWithoutAPicture)
{
    EXPECT_THAT(Refusal(UnfinishedFile(""), PERIOD), HasSubstr(" and has no whole picture; nothing can be repaired"));
    EXPECT_THAT(Refusal(UnfinishedFile(WithStartCode(SEQUENCE_SET)), PERIOD), HasSubstr(" has no whole picture"));
    EXPECT_THAT(Refusal(UnfinishedFile(WithStartCode(Idr(20))), PERIOD), HasSubstr(" without parameter sets; "));
    EXPECT_THAT(Refusal(UnfinishedFile(WithStartCode("\x67"
                                                     "abc") +
                                       WithStartCode(PICTURE_SET) + WithStartCode(Idr(20))),
                        PERIOD),
                HasSubstr("no usable parameter sets"));
}

TEST_F(Repairs, DamageEndsThePictures)
{
    std::string strMedia = Finished(NVENC_PICTURES);
    strMedia.replace(128 + 304, 40, std::string(40, '\0'));
    const RepairReport report = Repair(UnfinishedFile(strMedia), PERIOD);
    EXPECT_EQ(report.m_strDone, In() + " is an unfinished file of NVENC1, damaged at byte 176; " + Out() +
                                    " has the 1 picture before that at the given period; no whole picture is found "
                                    "after it");
    EXPECT_THAT(m_result.Table("stsz"), ElementsAre(0, 0, 1, 128));
}

const std::vector<Picture> LONG_PICTURES = {
    {SEQUENCE_SET, PICTURE_SET, Idr(5000)}, {Inter(6000)}, {Inter(7000)}, {Idr(8000)}, {Inter(9000)}};
const RepairTimes TIMES{std::vector<double>{0, 10, 30, 60, 100, 150}, std::nullopt};

// A page is lost with the start code of the third picture.
std::string FileWithAHole()
{
    std::string strMedia = Media(LONG_PICTURES, 0);
    strMedia.replace(5028 + 4000, 4096, std::string(4096, '\0'));
    return UnfinishedFile(strMedia);
}

TEST_F(Repairs, PicturesAfterDamageAreLeftOut)
{
    const RepairReport report = Repair(FileWithAHole(), TIMES);
    EXPECT_THAT(report.m_strDone, HasSubstr(" is an unfinished file of NVENC1, damaged at byte "));
    EXPECT_THAT(report.m_strDone,
                HasSubstr(" has the 1 picture before that at the given times; 3 pictures from there on are left out, "
                          "since how many are lost there isn't known (--past-damage)"));
    EXPECT_THAT(m_result.Table("stsz"), ElementsAre(0, 0, 1, 5028));
    EXPECT_THAT(m_result.Table("stss"), ElementsAre(0, 1, 1));
    EXPECT_THAT(report.m_vWarnings,
                ElementsAre("the list has 6 times for the 1 picture in " + Out() + "; the last ones aren't used"));
}

TEST_F(Repairs, PicturesAfterDamageOnRequest)
{
    RepairTimes times = TIMES;
    times.m_bPastDamage = true;
    const RepairReport report = Repair(FileWithAHole(), times);
    EXPECT_THAT(report.m_strDone, HasSubstr(" has the 4 pictures that can be found at the given times"));
    EXPECT_THAT(
        report.m_vWarnings,
        testing::Contains("the times of the last 3 pictures in " + Out() +
                          " are uncertain: each picture that was lost in the damage makes them too early by one"));
    EXPECT_THAT(m_result.Table("stsz"), ElementsAre(0, 0, 4, 5028, 6004 + 7004, 8004, 9004));
    EXPECT_THAT(m_result.Table("stss"), ElementsAre(0, 2, 1, 3));
    EXPECT_EQ(m_result.Payload("mdat").size(), FileWithAHole().size() - 48);
}

TEST_F(Repairs, NoPictureBeforeTheDamage)
{
    std::string strMedia = Media(LONG_PICTURES, 0);
    strMedia.replace(3000, 4096, std::string(4096, '\0'));
    EXPECT_THAT(Refusal(UnfinishedFile(strMedia), TIMES),
                HasSubstr(" and has no whole picture before that; 4 pictures from there on can be written with "
                          "--past-damage"));
}

TEST_F(Repairs, DurationsBeyond32BitsInANewIndex)
{
    const double dGap = 214748364.7;  // 0x7FFFFFFF ticks
    Repair(UnfinishedFile(Media(NVENC_PICTURES, 0)),
           {std::vector<double>{0, dGap, 2 * dGap, 2 * dGap + 1, 2 * dGap + 2}, std::nullopt});
    const std::uint64_t uiTicks = 2 * std::uint64_t{0x7FFFFFFF} + 30;
    const auto uiHigh = static_cast<std::uint32_t>(uiTicks >> 32);
    const auto uiLow = static_cast<std::uint32_t>(uiTicks);
    constexpr std::uint32_t VERSION_1 = 1U << 24;
    EXPECT_THAT(m_result.Table("stts"), ElementsAre(0, 2, 2, 0x7FFFFFFF, 3, 10));
    EXPECT_THAT(m_result.Numbers("moov/trak/mdia/mdhd"),
                ElementsAre(VERSION_1, 0, 0, 0, 0, 10000, uiHigh, uiLow, 0x55C40000));
    const std::string strMatrix = Words({0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000});
    EXPECT_EQ(m_result.Payload("moov/trak/tkhd"), Words({VERSION_1 | 3, 0, 0, 0, 0, 1, 0, uiHigh, uiLow, 0, 0, 0, 0}) +
                                                      strMatrix + Words({1280U << 16, 720U << 16}));
    EXPECT_EQ(m_result.Payload("moov/mvhd"),
              Words({VERSION_1, 0, 0, 0, 0, 10000, uiHigh, uiLow, 0x10000, 0x01000000, 0, 0}) + strMatrix +
                  std::string(24, '\0') + Word(2));
}

TEST_F(Repairs, BPicturesAreRefused)
{
    const std::string strB = WithLength(SEQUENCE_SET) + WithLength(PICTURE_SET) + WithLength(Idr(100)) +
                             WithLength("\x01\xA0" + std::string(20, 'x'));
    EXPECT_THAT(Refusal(UnfinishedFile(strB), PERIOD),
                HasSubstr(" has B pictures, and the order in which they are shown stood in the index"));
}

// --- an index that is cut off or broken ---

const Index FULL_INDEX{{400, 401, 402, 10000, 10000}, {0, 2}, {128, 304, 68, 70004, 54}, 11203, 1120};

TEST_F(Repairs, TimesOfAnIndexThatIsCutOff)
{
    const std::string strFile = FinishedFile(Finished(NVENC_PICTURES), FULL_INDEX);
    const RepairReport report = Repair(strFile.substr(0, strFile.find("stsz") + 10));
    EXPECT_EQ(report.m_strDone, In() + " is an unfinished file of NVENC1; " + Out() +
                                    " has the 5 pictures of it at the times of its index");
    EXPECT_THAT(m_result.Table("stts"), ElementsAre(0, 4, 1, 400, 1, 401, 1, 402, 2, 10000));
    EXPECT_THAT(Repair(strFile.substr(0, strFile.find("stsz")), PERIOD).m_vWarnings,
                ElementsAre(In() + " has an index with its times, so the given ones aren't used"));
    fs::remove(m_out);
    EXPECT_THAT(Refusal(strFile.substr(0, strFile.find("stss") - 5)), HasSubstr(" has no times for its 5 pictures"));
}

TEST_F(Repairs, IndexOfBrokenContents)
{
    const std::string strFile = FinishedFile(Finished(NVENC_PICTURES), FULL_INDEX);
    // The tables after that of the times, and all of them.
    std::string strHalf = strFile;
    std::fill(strHalf.begin() + static_cast<std::ptrdiff_t>(strFile.find("stsz") - 4), strHalf.end(), '\0');
    const RepairReport half = Repair(strHalf);
    EXPECT_EQ(half.m_strDone, In() + " is a file of NVENC1 with a broken index; " + Out() +
                                  " has the 5 pictures of it at the times of its index");
    EXPECT_EQ(m_result.TrackTicks(), 21203U);
    std::string strAll = strFile;
    std::fill(strAll.begin() + static_cast<std::ptrdiff_t>(strFile.find("moov") + 4), strAll.end(), '\0');
    EXPECT_THAT(Repair(strAll, PERIOD).m_strDone, HasSubstr(" has the 5 pictures of it at the given period"));
    EXPECT_THAT(m_result.Table("stts"), ElementsAre(0, 1, 5, 400));
    fs::remove(m_out);
    EXPECT_THAT(Refusal(strAll), HasSubstr(" with a broken index and has no times for its 5 pictures; give them"));
}

TEST_F(Repairs, BytesAfterTheIndex)
{
    const std::string strFile = FinishedFile(Finished(NVENC_PICTURES), FULL_INDEX);
    Repair(strFile);
    const Bytes vExpected = m_vOut;
    std::string strMarked = strFile;
    strMarked.replace(40, 4, UNFINISHED);
    for (const std::string& strWhole : {strFile, strMarked})
    {
        const RepairReport report = Repair(strWhole + std::string(5000, '\0'));
        EXPECT_THAT(report.m_strDone, HasSubstr(" is a finished file with 5 pictures; "));
        EXPECT_THAT(report.m_vWarnings, ElementsAre("5000 bytes after the index of " + In() +
                                                    " aren't part of the video and are left out"));
        EXPECT_TRUE(m_vOut == vExpected);
    }
}

// --- what can't be read ---

// Bytes of which some can't be read.
class BadSector : public ByteSource
{
public:
    BadSector(std::string bytes, std::uint64_t uiBad) : m_strBytes(std::move(bytes)), m_uiBad(uiBad) {}
    std::uint64_t Size() const override { return m_strBytes.size(); }
    bool ReadAt(std::uint64_t uiPosition, void* pBuffer, std::size_t uiBytes) override
    {
        if (uiPosition > m_strBytes.size() || uiBytes > m_strBytes.size() - uiPosition) return false;
        if (uiPosition < m_uiBad + 4096 && uiPosition + uiBytes > m_uiBad) return false;
        std::memcpy(pBuffer, m_strBytes.data() + uiPosition, uiBytes);
        return true;
    }

private:
    std::string m_strBytes;
    std::uint64_t m_uiBad;
};

TEST_F(Repairs, SectorThatCantBeRead)
{
    const std::string strFile = UnfinishedFile(Media(LONG_PICTURES, 0));  // its third picture begins at 11080
    const RepairReport report = RepairBytes(std::make_unique<BadSector>(strFile, 8192), "'disk'", m_out, PERIOD);
    EXPECT_THAT(report.m_strDone, HasSubstr("'disk' is an unfinished file of NVENC1, damaged at byte 819"));
    EXPECT_THAT(report.m_strDone, HasSubstr(" has the 1 picture before that at the given period; 3 pictures "));
    EXPECT_THAT(report.m_vWarnings, ElementsAre("'disk' can't be read at byte 8192 and maybe further ones; zeros stand "
                                                "in their place in " +
                                                Out()));
    // Inside a picture whose length is known no other one is lost.
    RepairBytes(std::make_unique<BadSector>(UnfinishedFile(Media(LONG_PICTURES, 100)), 20480), "'disk'", m_out, PERIOD);
    m_vOut = test_support::ReadBytes(m_out);
    EXPECT_THAT(m_result.Table("stsz"), ElementsAre(0, 0, 5, 5028, 6004, 7004, 8004, 9004));
}

// --- finished ---

const Index NVENC_INDEX{{400, 401, 402, 10000, 10000}, {0, 2}, {128, 304, 68, 70004, 54}, 11203, 1120};

TEST_F(Repairs, FinishedFileGetsItsDurationsAndKeys)
{
    const RepairReport report = Repair(FinishedFile(Finished(NVENC_PICTURES), NVENC_INDEX));
    EXPECT_EQ(report.m_strDone, In() +
                                    " is a finished file with 5 pictures; the durations of its track, the numbers of "
                                    "its key pictures put right in " +
                                    Out());
    EXPECT_THAT(report.m_vWarnings, ElementsAre());
    Index right = NVENC_INDEX;
    right.m_uiMovieTicks = 400 + 401 + 402 + 10000 + 10000;
    right.m_uiMs = right.m_uiMovieTicks;
    right.m_vKeys = {1, 3};
    const std::string strExpected = FinishedFile(Finished(NVENC_PICTURES), right);
    EXPECT_TRUE(std::string(m_vOut.begin(), m_vOut.end()) == strExpected);
}

TEST_F(Repairs, KeyOfSeveralSlicesIsListedOnce)
{
    Index index = NVENC_INDEX;
    index.m_vKeys = {0, 0, 0, 2, 2};
    Repair(FinishedFile(Finished(NVENC_PICTURES), index));
    EXPECT_THAT(m_result.Table("stss"), ElementsAre(0, 2, 1, 3));
}

TEST_F(Repairs, KeysThatCountFromOneStay)
{
    const Index index{{400, 401, 402}, {1}, {134, 310, 70}, 801, 80};
    const RepairReport report = Repair(FinishedFile(Finished(AMF_PICTURES), index));
    EXPECT_THAT(report.m_strDone, HasSubstr("; the durations of its track put right in "));
    EXPECT_THAT(m_result.Table("stss"), ElementsAre(0, 1, 1));
    EXPECT_EQ(m_result.TrackTicks(), 1203U);
}

TEST_F(Repairs, DurationsBeyond32BitsTakeBoxesOfVersion1)
{
    Index index = NVENC_INDEX;
    index.m_vDeltas = {0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF, 5, 5};
    const std::uint64_t uiTicks = 3 * std::uint64_t{0x7FFFFFFF} + 10;
    const auto uiHigh = static_cast<std::uint32_t>(uiTicks >> 32);
    const auto uiLow = static_cast<std::uint32_t>(uiTicks);
    Repair(FinishedFile(Finished(NVENC_PICTURES), index));
    constexpr std::uint32_t VERSION_1 = 1U << 24;
    EXPECT_THAT(m_result.Numbers("moov/trak/edts/elst"), ElementsAre(VERSION_1, 1, uiHigh, uiLow, 0, 0, 0x10000));
    EXPECT_THAT(m_result.Numbers("moov/trak/mdia/mdhd"),
                ElementsAre(VERSION_1, 0, 0, 0, 0, 10000, uiHigh, uiLow, 0x55C40000));
    const std::string strMatrix = Words({0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000});
    EXPECT_EQ(m_result.Payload("moov/trak/tkhd"), Words({VERSION_1 | 3, 0, 0, 0, 0, 1, 0, uiHigh, uiLow, 0, 0, 0, 0}) +
                                                      strMatrix + Words({1280U << 16, 720U << 16}));
    EXPECT_EQ(m_result.Payload("moov/mvhd"),
              Words({VERSION_1, 0, 0, 0, 0, 10000, uiHigh, uiLow, 0x10000, 0x01000000, 0, 0}) + strMatrix +
                  std::string(24, '\0') + Word(2));
    // What was repaired stays.
    const std::string strOnce(m_vOut.begin(), m_vOut.end());
    const RepairReport report = Repair(strOnce);
    EXPECT_THAT(report.m_strDone, HasSubstr("is a copy, since nothing in it is wrong"));
    EXPECT_TRUE(std::string(m_vOut.begin(), m_vOut.end()) == strOnce);
}

// The first byte of the first key picture's slice is one that NVENC1 doesn't count as a key.
TEST_F(Repairs, KeysFromZeroWithoutAZero)
{
    Index index = NVENC_INDEX;
    index.m_vKeys = {2};
    Repair(FinishedFile(Finished(NVENC_PICTURES), index));
    EXPECT_THAT(m_result.Table("stss"), ElementsAre(0, 1, 3));
    const std::string strOnce(m_vOut.begin(), m_vOut.end());
    EXPECT_THAT(Repair(strOnce).m_strDone, HasSubstr("is a copy, since nothing in it is wrong"));
    EXPECT_THAT(m_result.Table("stss"), ElementsAre(0, 1, 3));
    index.m_vKeys = {0, 2, 5, 0xFFFFFFFF};
    Repair(FinishedFile(Finished(NVENC_PICTURES), index));
    EXPECT_THAT(m_result.Table("stss"), ElementsAre(0, 2, 1, 3));
}

// A frame that the encoder refused has a time and no picture.
TEST_F(Repairs, AsManyTimesAsPictures)
{
    Index index = NVENC_INDEX;
    index.m_vDeltas = {400, 401, 402, 403, 10000, 10000};
    const RepairReport report = Repair(FinishedFile(Finished(NVENC_PICTURES), index));
    EXPECT_THAT(report.m_strDone, HasSubstr("; the number of its times, the durations of its track, "));
    EXPECT_THAT(m_result.Table("stts"), ElementsAre(0, 5, 1, 400, 1, 401, 1, 402, 1, 403, 1, 10000));
    EXPECT_THAT(m_result.Table("stsc"), ElementsAre(0, 1, 1, 5, 1));
    EXPECT_EQ(m_result.TrackTicks(), 400U + 401 + 402 + 403 + 10000);
    index.m_vDeltas = {400, 401, 402, 403};
    Repair(FinishedFile(Finished(NVENC_PICTURES), index));
    EXPECT_THAT(m_result.Table("stts"), ElementsAre(0, 4, 1, 400, 1, 401, 1, 402, 2, 403));
}

TEST_F(Repairs, DurationsOfTimesThatFall)
{
    Index index = NVENC_INDEX;
    index.m_vDeltas = {1000, static_cast<std::uint32_t>(-500), 1000, 1000, 1000};
    Repair(FinishedFile(Finished(NVENC_PICTURES), index));
    EXPECT_EQ(m_result.TrackTicks(), 3500U);
    EXPECT_EQ(m_result.EditTicks(), 3500U);
}

TEST_F(Repairs, FileAtTheTargetStaysWhenARepairFails)
{
    test_support::WriteText(m_in, UnfinishedFile(""));
    test_support::WriteText(m_out, "precious");
    EXPECT_THROW(RepairFile(m_in, m_out, PERIOD), std::runtime_error);
    EXPECT_EQ(test_support::ReadText(m_out), "precious");
    EXPECT_THAT(m_folder.Names(), testing::UnorderedElementsAre("in.mp4", "out.mp4"));
}

TEST_F(Repairs, OnlyTheMarkIsLeftOfTheClose)
{
    std::string strFile = FinishedFile(Finished(NVENC_PICTURES), NVENC_INDEX);
    strFile.replace(40, 4, UNFINISHED);
    const RepairReport report = Repair(strFile);
    EXPECT_THAT(report.m_strDone, HasSubstr(" is a finished file with 5 pictures; the size of its media data, "));
    EXPECT_TRUE(m_result.Payload("mdat") == Finished(NVENC_PICTURES));
    EXPECT_EQ(m_result.TrackTicks(), 21203U);
}

TEST_F(Repairs, RepairedFilesAreCopied)
{
    for (const std::string& strFile :
         {UnfinishedFile(Media(NVENC_PICTURES, 0)), FinishedFile(Finished(NVENC_PICTURES), NVENC_INDEX)})
    {
        Repair(strFile, PERIOD);
        const std::string strOnce(m_vOut.begin(), m_vOut.end());
        EXPECT_EQ(Repair(strOnce).m_strDone,
                  In() + " is a finished file with 5 pictures; " + Out() + " is a copy, since nothing in it is wrong");
        EXPECT_TRUE(std::string(m_vOut.begin(), m_vOut.end()) == strOnce);
    }
}

TEST_F(Repairs, WhatIsWrongAndStaysIsReported)
{
    const RepairReport given = Repair(FinishedFile(Finished(NVENC_PICTURES), NVENC_INDEX), PERIOD);
    EXPECT_THAT(given.m_vWarnings, ElementsAre(In() + " has an index with its times, so the given ones aren't used"));

    Index fewer = NVENC_INDEX;
    fewer.m_vDeltas.push_back(1);
    EXPECT_THAT(Repair(FinishedFile(Finished(NVENC_PICTURES), fewer)).m_vWarnings,
                ElementsAre(HasSubstr(" has 6 times for 5 pictures; ")));
    Index falling = NVENC_INDEX;
    falling.m_vDeltas[2] = 0xFFFFFF00;
    EXPECT_THAT(Repair(FinishedFile(Finished(NVENC_PICTURES), falling)).m_vWarnings,
                ElementsAre(HasSubstr(" run backwards, or ")));
}

TEST_F(Repairs, TheFileItself)
{
    test_support::WriteText(m_in, FinishedFile(Finished(NVENC_PICTURES), NVENC_INDEX));
    RepairFile(m_in, m_in, {});
    m_vOut = test_support::ReadBytes(m_in);
    EXPECT_EQ(m_result.TrackTicks(), 21203U);
    EXPECT_THAT(m_folder.Names(), ElementsAre("in.mp4"));
}

// --- above 4 GiB, as a file with holes ---

constexpr std::uint64_t GIB_4 = std::uint64_t{1} << 32;

// Pictures whose bytes aren't there: what matters is where they lie.
class LargeFile : public Repairs
{
protected:
    LargeFile() : Repairs(test_support::FolderForHoles()) {}

    // Three pictures of which the first two are mostly holes. Returns the bytes of the media data.
    std::uint64_t WriteLarge(std::uint64_t uiFirst)
    {
        const std::string strFirst = WithLength(SEQUENCE_SET) + WithLength(PICTURE_SET) + WithLength(Idr(100));
        const std::string strLast = WithLength(Inter(200));
        const std::uint64_t uiMedia = 2 * uiFirst + strLast.size();
        const Index index{{400, 400, 400},
                          {0},
                          {static_cast<std::uint32_t>(uiFirst), static_cast<std::uint32_t>(uiFirst),
                           static_cast<std::uint32_t>(strLast.size())},
                          800,
                          80};
        std::ofstream file(m_in, std::ios::binary);
        file << FileStart() << Word(static_cast<std::uint32_t>(uiMedia + 8)) << "mdat" << strFirst;
        file.seekp(static_cast<std::streamoff>(48 + uiFirst));
        file << WithLength(Inter(50));
        file.seekp(static_cast<std::streamoff>(48 + 2 * uiFirst));
        file << strLast << MuxerIndex(index);
        return uiMedia;
    }
    std::string Part(std::uint64_t uiPosition, std::size_t uiBytes) const
    {
        std::ifstream file(m_out, std::ios::binary);
        file.seekg(static_cast<std::streamoff>(uiPosition));
        std::string strPart(uiBytes, '\0');
        file.read(strPart.data(), static_cast<std::streamsize>(uiBytes));
        return strPart;
    }
};

TEST_F(LargeFile, GetsASizeOf64Bits)
{
    const std::uint64_t uiFirst = GIB_4 / 2 + 1000;
    const std::uint64_t uiMedia = WriteLarge(uiFirst);
    const RepairReport report = RepairFile(m_in, m_out, {});
    EXPECT_THAT(report.m_strDone, HasSubstr("; the size of its media data, the durations of its track, "));
    // 16 bytes, which are those of the two headers before.
    EXPECT_EQ(Part(32, 8), Word(1) + "mdat");
    EXPECT_EQ(Part(40, 8), Word(1) + Word(static_cast<std::uint32_t>(uiMedia + 16)));
    EXPECT_EQ(Part(48, 40), (WithLength(SEQUENCE_SET) + WithLength(PICTURE_SET) + WithLength(Idr(100))).substr(0, 40));
    EXPECT_EQ(Part(48 + uiFirst, 54), WithLength(Inter(50)));
    EXPECT_EQ(Part(48 + uiMedia - 204, 204), WithLength(Inter(200)));
    EXPECT_EQ(Part(48 + uiMedia + 4, 4), "moov");
    EXPECT_EQ(fs::file_size(m_out), fs::file_size(m_in));
}

// Each picture is one NAL, whose bytes are holes except the first and the last ones.
TEST_F(LargeFile, UnfinishedOne)
{
    constexpr std::uint64_t NAL = GIB_4 / 2 + 4000;
    {
        std::ofstream file(m_in, std::ios::binary);
        file << UnfinishedFile(WithLength(SEQUENCE_SET) + WithLength(PICTURE_SET));
        for (int i = 0; i < 2; ++i)
        {
            file << Word(static_cast<std::uint32_t>(NAL)) << Idr(50);
            file.seekp(static_cast<std::streamoff>(NAL) - 51, std::ios::cur);
            file << '\x80';
        }
        ASSERT_TRUE(file.good());
    }
    const RepairReport report = RepairFile(m_in, m_out, PERIOD);
    EXPECT_THAT(report.m_strDone, HasSubstr(" has the 2 pictures of it at the given period"));
    const std::uint64_t uiMedia = 24 + 2 * (NAL + 4);
    EXPECT_EQ(Part(32, 16), Word(1) + "mdat" + Word(1) + Word(static_cast<std::uint32_t>(uiMedia + 16)));
    EXPECT_EQ(Part(48 + 24 + NAL + 4, 20), (Word(static_cast<std::uint32_t>(NAL)) + Idr(50)).substr(0, 20));
    EXPECT_EQ(Part(48 + uiMedia - 1, 1), "\x80");
    EXPECT_EQ(Part(48 + uiMedia + 4, 4), "moov");
}

// --- other files ---

TEST_F(Repairs, FilesOfOtherEncoders)
{
    const std::string strOtherStart = Box("ftyp", "isom" + Word(512) + "isomiso4avc1mp41") + Box("free", "");
    const std::string strFinished = strOtherStart + Box("mdat", Finished(NVENC_PICTURES)) + MuxerIndex(NVENC_INDEX);
    EXPECT_THAT(Refusal(strFinished), HasSubstr(" status -1506 "));
    EXPECT_THAT(Refusal(strFinished), HasSubstr(" has an index and isn't a file of NVENC1 or AMF1; "));

    const std::string strBare = WithLength(Idr(100)) + WithLength(Inter(50));
    EXPECT_THAT(
        Refusal(strOtherStart + BoxOfSize(0, "mdat", strBare), PERIOD),
        HasSubstr("; its 2 pictures can't be decoded, since the system's encoder writes the parameter sets only "
                  "with the index, at the close"));

    const std::string strB = WithLength(SEQUENCE_SET) + WithLength(PICTURE_SET) + WithLength(Idr(100)) +
                             WithLength("\x01\xA0" + std::string(20, 'x'));
    EXPECT_THAT(Refusal(strOtherStart + BoxOfSize(0, "mdat", strB), PERIOD),
                HasSubstr(" in which order they are shown, stood in the index, which is missing"));

    // Some programs begin as NVENC1 and AMF1 do.
    EXPECT_THAT(Refusal(FileStart() + BoxOfSize(0, "mdat", strB), PERIOD),
                HasSubstr(" was never finished and isn't a file of NVENC1 or AMF1; "));

    EXPECT_THAT(Refusal(""), HasSubstr(" isn't an MP4 file that was begun"));
    EXPECT_THAT(Refusal("no video at all, but a text of some length"), HasSubstr(" isn't an MP4 file that was begun"));
    EXPECT_THAT(Refusal(FileStart()), HasSubstr(" isn't an MP4 file that was begun"));
}

TEST_F(Repairs, UnfinishedFileOfAnotherEncoderWithParameterSets)
{
    const std::string strStart = Box("ftyp", "mp42" + Word(0) + "mp41isom") + Box("uuid", std::string(20, 'u'));
    for (const std::uint32_t uiSize : {0U, 0x7FFFFFFFU})
    {
        const RepairReport report = Repair(strStart + BoxOfSize(uiSize, "mdat", Finished(NVENC_PICTURES)), PERIOD);
        EXPECT_EQ(report.m_strDone, In() + " is an unfinished file of another encoder; " + Out() +
                                        " has the 5 pictures of it at the given period");
        EXPECT_TRUE(m_result.Payload("mdat") == Finished(NVENC_PICTURES));
    }
}

TEST_F(Repairs, IndexOfAnotherForm)
{
    // A clock of another step, pictures in another order; then what can only be damage.
    const std::string strFile = FinishedFile(Finished(NVENC_PICTURES), NVENC_INDEX);
    const auto changed = [&](const std::string& strOld, const std::string& strNew) {
        std::string strChanged = strFile;
        strChanged.replace(strChanged.find(strOld), strOld.size(), strNew);
        return strChanged;
    };
    EXPECT_THAT(Refusal(changed("mdhd" + Words({0, 0, 0, 10000}), "mdhd" + Words({0, 0, 0, 90000})), PERIOD),
                HasSubstr(" has an index that NVENC1 and AMF1 don't write"));
    EXPECT_THAT(Refusal(changed("stsz", "ctts"), PERIOD), HasSubstr(" has an index that NVENC1 and AMF1 don't write"));
    for (const std::string& strOther :
         {changed("stco" + Words({0, 1, 48}), "stco" + Words({0, 1, 49})),
          changed("elst" + Words({0, 1, 1120, 0}), "elst" + Words({0, 1, 1120, 5})),
          changed("stsc" + Words({0, 1, 1}), "stsc" + Words({0, 1, 2})), changed(Words({5, 128}), Words({5, 129}))})
    {
        EXPECT_THAT(Repair(strOther).m_strDone, HasSubstr(" is a file of NVENC1 with a broken index; "));
        EXPECT_THAT(m_result.Table("stco"), ElementsAre(0, 1, 48));
    }
}

TEST_F(Repairs, SoundBetweenThePicturesOfAnotherEncoder)
{
    const std::string strStart = Box("ftyp", "mp42" + Word(0) + "mp41isom");
    const std::string strMedia = Finished(NVENC_PICTURES) + std::string(500, '\xFF') + Finished(NVENC_PICTURES);
    EXPECT_THAT(Refusal(strStart + BoxOfSize(0, "mdat", strMedia), PERIOD),
                HasSubstr("; which of its data are pictures, "));
}

// --- files that may hold anything ---

TEST_F(Repairs, AnyChangeToAFileEndsSoon)
{
    const std::vector<Picture> vPictures = {{SEQUENCE_SET, PICTURE_SET, Idr(100)}, {Inter(300)}, {Inter(50)}};
    const Index index{{400, 401, 402}, {0}, {128, 304, 54}, 801, 80};
    std::mt19937 random(31337);
    int nRepaired = 0;
    const int nRuns = test_support::Repetitions(400);
    for (int i = 0; i < nRuns; ++i)
    {
        std::string strFile =
            i % 2 == 0 ? FinishedFile(Finished(vPictures), index) : UnfinishedFile(Media(vPictures, random() % 6));
        const std::size_t uiAt = random() % strFile.size();
        if (i % 3 == 0) strFile.resize(uiAt);
        if (i % 3 == 1) strFile[uiAt] = static_cast<char>(random());
        if (i % 3 == 2 && uiAt + 4 <= strFile.size())
            strFile.replace(uiAt, 4, Word(random() % 2 == 0 ? 0 : 0xFFFFFFFF));
        test_support::WriteText(m_in, strFile);
        try
        {
            RepairFile(m_in, m_out, PERIOD);
            EXPECT_LE(fs::file_size(m_out), strFile.size() + 2000);
            m_vOut = test_support::ReadBytes(m_out);
            const std::vector<std::uint32_t> vSizes = m_result.Table("stsz");
            EXPECT_EQ(std::accumulate(vSizes.begin() + 3, vSizes.end(), std::size_t{0}),
                      m_result.Payload("mdat").size());
            const std::vector<std::uint32_t> vRuns = m_result.Table("stts");
            std::uint32_t uiTimes = 0;
            for (std::size_t ui = 2; ui < vRuns.size(); ui += 2)
                uiTimes += vRuns[ui];
            EXPECT_EQ(uiTimes, vSizes[2]);
            EXPECT_LE(uiTimes, vPictures.size());
            ++nRepaired;
        }
        catch (const std::runtime_error&)
        {}
        EXPECT_THAT(m_folder.Names(), testing::Each(testing::AnyOf("in.mp4", "out.mp4")));
    }
    EXPECT_GT(nRepaired, 0);
    EXPECT_LT(nRepaired, nRuns);
}

// --- times ---

TEST(RepairedTimes, SumsAreTheGivenTimesRoundedOnce)
{
    for (const double dPeriodMs : {33.3667, 1000 / 59.94, 0.1, 40.0})
    {
        constexpr std::size_t COUNT = 100'000;
        const auto vDeltas = DistancesInTicks({std::nullopt, dPeriodMs}, COUNT);
        ASSERT_EQ(vDeltas.size(), COUNT);
        std::uint64_t uiSum = 0;
        double dFarthest = 0;
        for (std::size_t i = 0; i < COUNT; ++i)
        {
            dFarthest =
                std::max(dFarthest, std::abs(static_cast<double>(uiSum) - static_cast<double>(i) * dPeriodMs * 10));
            uiSum += vDeltas[i];
        }
        EXPECT_LT(dFarthest, 0.5001) << dPeriodMs;
    }
}

TEST(RepairedTimes, LastPictureLastsAsLongAsTheOneBefore)
{
    EXPECT_THAT(DistancesInTicks({std::vector<double>{5, 10, 40}, std::nullopt}, 3), ElementsAre(50, 300, 300));
    EXPECT_THAT(DistancesInTicks({std::vector<double>{5}, std::nullopt}, 1), ElementsAre(10));
    EXPECT_THAT(DistancesInTicks({std::nullopt, 40.0}, 1), ElementsAre(400));
}

}  // namespace
}  // namespace qmhost
