// The built program repairing files that the real module wrote with the software encoder runtime, and files cut where a
// process may have ended. ffmpeg and the module say what is in the result.
#include <gmock/gmock.h>

#include "muxed_bytes.h"
#include "repair_fixture.h"
#include "succeeding_program.h"
#include "support/ffmpeg.h"
#include "support/mp4_boxes.h"
#include "support/run_program.h"

namespace
{

using namespace repair_fixture;
using testing::HasSubstr;

// A process that ends between two packets leaves the packets that the system has taken.
TEST_F(RepairProgram, EveryPictureThatWasWritten)
{
    for (const int nPictures : {1, 2, 7, 12, 23})
        RepairAndCompare(CutAt(static_cast<std::size_t>(nPictures) + 2), nPictures,
                         "has the " + std::to_string(nPictures) + " picture" + (nPictures == 1 ? "" : "s") +
                             " of it at the given times; if the last one is cut short, that can't be seen");
    RepairAndCompare(muxed_bytes::UnfinishedFile(s_strStream), FRAMES,
                     "has the 24 pictures of it at the given times; if the last one is cut short, that can't be seen");
}

TEST_F(RepairProgram, BeginningsOfAPictureAreNotShown)
{
    for (const std::size_t uiMore : {1, 2, 3, 4, 5})
        RepairAndCompare(CutAt(12, uiMore), 10,
                         std::string("has the 10 pictures of it at the given times") +
                             (uiMore < 3    ? "; if the last one is cut short, that can't be seen"
                              : uiMore == 5 ? "; the last 5 bytes, which are no whole picture, are left out"
                                            : ""));
}

// A write that the system took in part ends with a page. The picture may be whole all the same, so it stays.
TEST_F(RepairProgram, PagesOfAPicture)
{
    const std::size_t uiBytes = 5 * 4096 - MEDIA_BEGIN;
    ASSERT_LT(uiBytes, s_strStream.size());
    const auto nPictures = std::upper_bound(s_vNals.begin(), s_vNals.end(), uiBytes) - s_vNals.begin() - 2;
    WriteText(m_strIn, muxed_bytes::UnfinishedFile(s_strStream.substr(0, uiBytes)));
    EXPECT_THAT(Succeed({"repair", m_strIn, m_strOut, "--period", "40"}),
                HasSubstr(" has the " + std::to_string(nPictures) +
                          " pictures of it at the given period; if the last one is cut short, that can't be seen"));
    const std::vector<std::int64_t> vTicks = Ticks(m_strOut);
    ASSERT_EQ(vTicks.size(), static_cast<std::size_t>(nPictures));
    for (std::size_t i = 0; i < vTicks.size(); ++i)
        EXPECT_EQ(vTicks[i], 400 * static_cast<std::int64_t>(i));
}

// Bytes are lost at the end of a picture and at the beginning of the next one.
TEST_F(RepairProgram, PicturesAfterDamage)
{
    std::string strStream = s_strStream;
    strStream.replace(s_vNals[12] - 20, 50, std::string(50, '\0'));
    WriteText(m_strIn, muxed_bytes::UnfinishedFile(strStream));
    const auto warning = [&](int nPictures) {
        return "qmhost: warning: '" + TimesPath() + "' has 24 times for the " + std::to_string(nPictures) +
               " pictures in '" + m_strOut + "'; the last ones aren't used\n";
    };
    EXPECT_THAT(Succeed({"repair", m_strIn, m_strOut, "--times", TimesPath()}, warning(9)),
                HasSubstr(" has the 9 pictures before that at the given times; 14 pictures from there on are left out, "
                          "since how many are lost there isn't known (--past-damage)"));
    Compare(9);
    EXPECT_THAT(Succeed({"repair", m_strIn, m_strOut, "--times", TimesPath(), "--past-damage"},
                        warning(23) + "qmhost: warning: the times of the last 14 pictures in '" + m_strOut +
                            "' are uncertain: each picture that was lost in the damage makes them too early by one\n"),
                HasSubstr(" has the 23 pictures that can be found at the given times; "));
    EXPECT_EQ(Ticks(m_strOut).size(), 23U);
}

TEST_F(RepairProgram, TimesThatDontBeginAtZero)
{
    std::string strTimes = "frame,time_ms\n";
    for (int i = 0; i < FRAMES; ++i)
        strTimes += std::to_string(i) + "," + std::to_string(5.25 + 40.1 * i) + "\n";
    WriteText(Target("own.csv"), strTimes);
    WriteText(m_strIn, muxed_bytes::UnfinishedFile(s_strFinished));
    Succeed({"repair", m_strIn, m_strOut, "--times", Target("own.csv")});
    const std::vector<std::int64_t> vTicks = Ticks(m_strOut);
    ASSERT_EQ(vTicks.size(), static_cast<std::size_t>(FRAMES));
    for (std::size_t i = 0; i < vTicks.size(); ++i)
        EXPECT_EQ(vTicks[i], 401 * static_cast<std::int64_t>(i));
}

TEST_F(RepairProgram, FullDiskLeavesNothing)
{
    const ProgramResult result =
        RunProgram("bash", {"-c", "ulimit -f 8; exec \"$@\"", "sh", QMHOST_PROGRAM, "repair", WrittenPath(), m_strOut});
    EXPECT_EQ(result.m_nStatus, 1);
    EXPECT_THAT(result.m_strErr, testing::EndsWith(": '" + m_strOut + "' can't be written: File too large\n"));
    EXPECT_THAT(m_folder.Names(), testing::ElementsAre());
}

// The name is so long that none is left for the file that takes its place.
TEST_F(RepairProgram, WhenItFailsAfterWritingTheFileIsThere)
{
    const std::string strOut = Target((std::string(248, 'n') + ".mp4").c_str());
    const ProgramResult result =
        RunProgram(QMHOST_PROGRAM, {"write", strOut, "--codec", "NVENC1", "--raw", (*s_pFolder / "r.bgr").string(),
                                    "--size", "64x48", "--times", TimesPath(), "--repair"});
    EXPECT_EQ(result.m_nStatus, 1);
    EXPECT_THAT(result.m_strErr,
                testing::EndsWith(": '" + strOut + "' is written and finished, but isn't repaired: '" + strOut +
                                  "' can't be written: File name too long; qmhost repair "
                                  "makes a repaired copy, elsewhere too\n"));
    EXPECT_THAT(Succeed({"repair", strOut, m_strOut}), HasSubstr(" is a finished file with 24 pictures; "));
    Compare(FRAMES);
}

TEST_F(RepairProgram, EndInTheMiddleOfTheClose)
{
    for (const std::size_t uiNal : {1, 14, 25})
    {
        for (const std::size_t uiBytes : {0, 3})
        {
            const std::size_t uiAt = s_vNals[uiNal] + uiBytes;
            RepairAndCompare(muxed_bytes::UnfinishedFile(s_strFinished.substr(0, uiAt) + s_strStream.substr(uiAt)),
                             FRAMES, "has the 24 pictures of it at the given times");
        }
    }
    for (const std::size_t uiIndex : {0, 6, 200})
        RepairAndCompare(muxed_bytes::UnfinishedFile(s_strFinished + s_strIndex.substr(0, uiIndex)), FRAMES,
                         "has the 24 pictures of it at the given times");
    // The index with its times.
    WriteText(m_strIn, muxed_bytes::UnfinishedFile(s_strFinished + s_strIndex.substr(0, s_strIndex.size() - 1)));
    EXPECT_THAT(Succeed({"repair", m_strIn, m_strOut}),
                HasSubstr(" has the 24 pictures of it at the times of its index\n"));
    Compare(FRAMES);
    // With the size, before the index.
    RepairAndCompare(s_strWritten.substr(0, MEDIA_BEGIN) + s_strFinished, FRAMES,
                     "has the 24 pictures of it at the given times");
}

TEST_F(RepairProgram, EndBeforeTheSizeNeedsNoTimes)
{
    WriteText(m_strIn, muxed_bytes::UnfinishedFile(s_strFinished) + s_strIndex);
    EXPECT_THAT(Succeed({"repair", m_strIn, m_strOut}),
                HasSubstr(" is a finished file with 24 pictures; the size of "));
    Compare(FRAMES);
}

// A copy that is cut off anywhere.
TEST_F(RepairProgram, FinishedPicturesThatAreCutOff)
{
    for (const std::size_t uiMore : {5, 100, 300})
    {
        RepairAndCompare(muxed_bytes::UnfinishedFile(s_strFinished.substr(0, s_vNals[14] + uiMore)), 12,
                         "has the 12 pictures of it at the given times; the last " + std::to_string(uiMore) +
                             " bytes, which are no whole picture, are left out");
    }
}

TEST_F(RepairProgram, FinishedFile)
{
    EXPECT_EQ(Succeed({"repair", WrittenPath(), m_strOut}),
              "'" + WrittenPath() +
                  "' is a finished file with 24 pictures; the durations of its track, the numbers of its "
                  "key pictures put right in '" +
                  m_strOut + "'\n");
    Compare(FRAMES);
    EXPECT_EQ(ReadText(WrittenPath()), s_strWritten);
    const Bytes vRepaired = ReadBytes(m_strOut);
    const Mp4Box media = FindBox(vRepaired, "mdat");
    EXPECT_TRUE(std::string(vRepaired.begin() + static_cast<std::ptrdiff_t>(media.m_uiPayload),
                            vRepaired.begin() + static_cast<std::ptrdiff_t>(media.m_uiEnd)) == s_strFinished);
    // What it is for: without a repair ffprobe counts a part.
    EXPECT_NE(RunFfprobe("-count_frames -show_entries stream=nb_read_frames -of csv=p=0 " +
                         test_support::Quoted(WrittenPath())),
              "24\n");
}

TEST_F(RepairProgram, RightAfterWriting)
{
    EXPECT_EQ(Succeed({"write", m_strOut, "--codec", "NVENC1", "--raw", (*s_pFolder / "r.bgr").string(), "--size",
                       "64x48", "--times", TimesPath(), "--repair"}),
              "'" + m_strOut +
                  "' is a finished file with 24 pictures; the durations of its track, the numbers of its key "
                  "pictures put right in '" +
                  m_strOut + "'\n'" + m_strOut +
                  "' has 24 frames; the largest difference of a time from the given one is 0 ms\n");
    Compare(FRAMES);
}

// What the module writes with the software runtime of AMF1, finished and as it was before the close.
TEST_F(RepairProgram, FilesOfAmf)
{
    const std::string strWritten = Target("amf.mp4");
    const ProgramResult written =
        RunProgram(QMHOST_PROGRAM, {"write", strWritten, "--codec", "AMF1", "--raw", (*s_pFolder / "r.bgr").string(),
                                    "--size", "64x48", "--times", TimesPath()});
    ASSERT_EQ(written.m_nStatus, 0) << written.m_strErr;
    const std::string strFinished = Target("finished.mp4");
    EXPECT_EQ(Succeed({"repair", strWritten, strFinished}),
              "'" + strWritten + "' is a finished file with 24 pictures; the durations of its track put right in '" +
                  strFinished + "'\n");

    std::string strFile = ReadText(strWritten);
    const std::size_t uiEnd = 40 + WordAt(strFile, 40);
    strFile.resize(uiEnd);
    strFile.replace(40, 4, muxed_bytes::UNFINISHED);
    std::size_t uiStartCodes = 0;  // where those begin, with lengths before
    std::size_t uiNals = 0;
    for (std::size_t ui = MEDIA_BEGIN; ui < uiEnd;)
    {
        if (uiNals++ == 30) uiStartCodes = ui;
        const std::uint32_t uiLength = WordAt(strFile, ui);
        strFile.replace(ui, 4, muxed_bytes::START_CODE);
        ui += 4 + uiLength;
    }
    ASSERT_GT(uiNals, 31U);
    std::string strClosing = ReadText(strWritten).substr(0, uiStartCodes) + strFile.substr(uiStartCodes);
    strClosing.replace(40, 4, muxed_bytes::UNFINISHED);
    WriteText(m_strIn, strClosing);
    const std::string strClosed = Target("closed.mp4");
    EXPECT_EQ(Succeed({"repair", m_strIn, strClosed, "--times", TimesPath()}),
              "'" + m_strIn + "' is an unfinished file of AMF1; '" + strClosed +
                  "' has the 24 pictures of it at the given times\n");
    EXPECT_EQ(Succeed({"times", strClosed, "--csv"}), ReadText(TimesPath()));
    WriteText(m_strIn, strFile);
    EXPECT_EQ(Succeed({"repair", m_strIn, m_strOut, "--times", TimesPath()}),
              "'" + m_strIn + "' is an unfinished file of AMF1; '" + m_strOut +
                  "' has the 24 pictures of it at the given times; if the last one is cut short, that can't be seen\n");

    const auto vPictures = DecodePlain(strWritten, 64, 48);
    std::vector<std::int64_t> vTicks;
    for (int i = 0; i < FRAMES; ++i)
        vTicks.push_back(10 * TimeMs(i));
    for (const std::string& strRepaired : {strFinished, strClosed, m_strOut})
    {
        EXPECT_EQ(Ticks(strRepaired), vTicks);
        EXPECT_TRUE(DecodePlain(strRepaired, 64, 48) == vPictures);
        EXPECT_EQ(PacketValues(strRepaired, "size"), PacketValues(strWritten, "size"));
    }
}

// Delimiters, Main profile, several references: an encoder's output in the form in which AMF1 writes it.
TEST_F(RepairProgram, StreamOfAnotherEncoderInTheFormOfAmf)
{
    const std::string strStream = Target("stream.h264");
    RunFfmpeg("-f rawvideo -pix_fmt bgr24 -s 64x48 -r 25 -i " + test_support::Quoted(*s_pFolder / "r.bgr") +
              " -c:v libx264 -profile:v main -pix_fmt yuv420p -bf 0 -x264-params "
              "aud=1:keyint=10:scenecut=0:threads=1:slices=1 " +
              test_support::Quoted(strStream));
    std::string strMedia = ReadText(strStream);
    for (std::size_t ui = strMedia.find(std::string("\0\0\1", 3)); ui != std::string::npos;
         ui = strMedia.find(std::string("\0\0\1", 3), ui + 4))
    {
        if (ui == 0 || strMedia[ui - 1] != '\0') strMedia.insert(ui, 1, '\0');
    }
    WriteText(m_strIn, muxed_bytes::UnfinishedFile(strMedia));
    EXPECT_EQ(Succeed({"repair", m_strIn, m_strOut, "--times", TimesPath()}),
              "'" + m_strIn + "' is an unfinished file of AMF1; '" + m_strOut +
                  "' has the 24 pictures of it at the given times; if the last one is cut short, that can't be seen\n");
    EXPECT_EQ(
        RunFfprobe("-v warning -count_frames -select_streams v -show_entries stream=nb_read_frames,width,height -of "
                   "csv=p=0 " +
                       test_support::Quoted(m_strOut),
                   Complaints::None),
        "64,48,24\n");
    EXPECT_TRUE(DecodePlain(m_strOut, 64, 48) == DecodePlain(strStream, 64, 48));
    EXPECT_EQ(FindBox(ReadBytes(m_strOut), "moov/trak/mdia/minf/stbl/stss").m_uiEnd -
                  FindBox(ReadBytes(m_strOut), "moov/trak/mdia/minf/stbl/stss").m_uiPayload,
              8U + 4 * 3);
}

// Of the system's encoder: the parameter sets come with the index only.
TEST_F(RepairProgram, UnfinishedFileOfTheSystemsEncoder)
{
    const std::string strWhole = Target("hq.mp4");
    Succeed({"write", strWhole, "--codec", "HQ", "--raw", (*s_pFolder / "r.bgr").string(), "--size", "64x48", "--times",
             TimesPath()});
    const ProgramResult finished = RunProgram(QMHOST_PROGRAM, {"repair", strWhole, m_strOut});
    EXPECT_EQ(finished.m_nStatus, 1);
    EXPECT_THAT(finished.m_strErr, HasSubstr(" has an index and isn't a file of NVENC1 or AMF1; "));

    std::string strFile = ReadText(strWhole);
    strFile.resize(strFile.find("moov") - 4);
    strFile.replace(40, 4, Word(0));  // as it stands until the close
    WriteText(m_strIn, strFile);
    const ProgramResult unfinished = RunProgram(QMHOST_PROGRAM, {"repair", m_strIn, m_strOut, "--period", "40"});
    EXPECT_EQ(unfinished.m_nStatus, 1);
    EXPECT_THAT(unfinished.m_strErr,
                HasSubstr("; its 24 pictures can't be decoded, since the system's encoder writes the "
                          "parameter sets only with the index, at the close\n"));
    EXPECT_FALSE(fs::exists(m_strOut));
}

TEST_F(RepairProgram, WrongCommandLines)
{
    const auto status = [](const std::vector<std::string>& vArguments) {
        return RunProgram(QMHOST_PROGRAM, vArguments).m_nStatus;
    };
    EXPECT_EQ(status({"repair", WrittenPath()}), 2);
    EXPECT_EQ(status({"repair", WrittenPath(), Target("out.avi")}), 2);
    EXPECT_EQ(status({"repair", WrittenPath(), m_strOut, "--period", "0"}), 2);
    EXPECT_EQ(status({"repair", WrittenPath(), m_strOut, "--period", "40", "--times", TimesPath()}), 2);
    EXPECT_EQ(status({"repair", Target("missing.mp4"), m_strOut}), 1);
    const ProgramResult same = RunProgram(QMHOST_PROGRAM, {"repair", WrittenPath(), WrittenPath()});
    EXPECT_EQ(same.m_nStatus, 1);
    EXPECT_THAT(same.m_strErr, HasSubstr(" is the original, which isn't changed; name another file to write"));
    EXPECT_TRUE(ReadText(WrittenPath()) == s_strWritten);
}

}  // namespace
