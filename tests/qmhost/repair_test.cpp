// Files of NVENC1 and AMF1, made playable.
#include <cmath>
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
                                        " has all 5 pictures of it at the given period" +
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
        EXPECT_THAT(report.m_strDone, HasSubstr(" has all 5 pictures of it at the given period"));
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
                                    " has all 4 pictures of it at the given period; a last picture that is cut "
                                    "short, 34 bytes, is left out");
    EXPECT_TRUE(m_result.Payload("mdat") == strMedia.substr(0, strMedia.size() - 54));
}

TEST_F(Repairs, TimesOfAFile)
{
    const RepairTimes times{std::vector<double>{7.0, 40.4, 73.7, 107.05, 107.05}, std::nullopt};
    const RepairReport report = Repair(UnfinishedFile(Media(NVENC_PICTURES, 0)), times);
    EXPECT_THAT(report.m_strDone, HasSubstr(" at the given times"));
    EXPECT_THAT(m_result.Table("stts"), ElementsAre(0, 4, 1, 334, 1, 333, 1, 334, 2, 0));
}

TEST_F(Repairs, TimesOfPicturesThatWereStillInTheEncoder)
{
    const RepairTimes times{std::vector<double>{0, 10, 20, 30, 40, 50, 60}, std::nullopt};
    const RepairReport report = Repair(UnfinishedFile(Media(NVENC_PICTURES, 0)), times);
    EXPECT_THAT(report.m_vWarnings,
                ElementsAre("7 times for the 5 pictures in " + In() +
                            "; the last ones aren't used, since their pictures were never written"));
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
    EXPECT_EQ(Refusal(strFile, {std::vector<double>{0, 1, 2, 3}, std::nullopt}), "there are 4 times for 5 pictures");
    EXPECT_EQ(Refusal(strFile, {std::vector<double>{0, 1, 2, 1, 4}, std::nullopt}), "times run backwards at entry 3");
    EXPECT_EQ(Refusal(strFile, {std::vector<double>{0, 1, 2, 3, 1e300}, std::nullopt}),
              "the distance to entry 4 is more than a file can hold");
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

TEST_F(Repairs, DamageEndsThePicturesWithAWarning)
{
    std::string strMedia = Finished(NVENC_PICTURES);
    strMedia.replace(128 + 304, 40, std::string(40, '\0'));
    const RepairReport report = Repair(UnfinishedFile(strMedia), PERIOD);
    EXPECT_THAT(report.m_strDone, HasSubstr(" has all 1 picture of it"));
    EXPECT_THAT(report.m_vWarnings,
                ElementsAre(std::to_string(strMedia.size() - 128) + " bytes of " + In() +
                            " from byte 176 on are damaged and left out, with any picture in them"));
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
                ElementsAre(HasSubstr(" run backwards; ")));
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
    // Two pictures of which the first is mostly holes. Returns the bytes of the media data.
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
                HasSubstr("; the order in which its 2 pictures are shown stood in the index, which is missing"));

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
                                        " has all 5 pictures of it at the given period");
        EXPECT_TRUE(m_result.Payload("mdat") == Finished(NVENC_PICTURES));
    }
}

TEST_F(Repairs, IndexOfAnotherForm)
{
    // Two chunks, a clock of another step, sizes that don't add up.
    const std::string strFile = FinishedFile(Finished(NVENC_PICTURES), NVENC_INDEX);
    const auto changed = [&](const std::string& strOld, const std::string& strNew) {
        std::string strChanged = strFile;
        strChanged.replace(strChanged.find(strOld), strOld.size(), strNew);
        return strChanged;
    };
    for (const std::string& strOther : {changed("stco" + Words({0, 1, 48}), "stco" + Words({0, 1, 49})),
                                        changed("mdhd" + Words({0, 0, 0, 10000}), "mdhd" + Words({0, 0, 0, 90000})),
                                        changed(Words({5, 128}), Words({5, 129}))})
    {
        EXPECT_THAT(Refusal(strOther), HasSubstr(" has an index that NVENC1 and AMF1 don't write"));
    }
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
            ++nRepaired;
        }
        catch (const std::runtime_error&)
        {}
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
