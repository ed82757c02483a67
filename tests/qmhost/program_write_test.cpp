// What the built program gives a module to write. The module's file is a record of it.
#include "image_builder.h"
#include "program_fixture.h"

namespace
{

using namespace test_support;
using testing::HasSubstr;
using testing::StartsWith;
namespace fs = std::filesystem;

std::string Hex(const std::string& bytes)
{
    std::string text;
    for (const char c : bytes)
    {
        char acByte[3];
        std::snprintf(acByte, sizeof acByte, "%02x", unsigned{static_cast<unsigned char>(c)});
        text += acByte;
    }
    return text;
}

// Tight rows of a picture as an image file stores them: red before green before blue.
std::string AsRgb(std::string bgr)
{
    for (std::size_t i = 0; i + 2 < bgr.size(); i += 3)
        std::swap(bgr[i], bgr[i + 2]);
    return bgr;
}

class WriteProgram : public Program
{
protected:
    std::string File(const char* pszName, const std::string& bytes)
    {
        WriteText(m_folder / pszName, bytes);
        return Target(pszName);
    }

    // Runs qmhost write with these arguments. A script must have the frames that the written file is read back with.
    ProgramResult Write(std::vector<std::string> vArguments, const std::string& strScript)
    {
        vArguments.insert(vArguments.begin(), {"write", m_strOut});
        return Run(vArguments, strScript);
    }
    std::string Written(const std::vector<std::string>& vArguments, const std::string& strScript)
    {
        const ProgramResult result = Write(vArguments, strScript);
        EXPECT_EQ(result.m_nStatus, 0);
        EXPECT_EQ(result.m_strErr, "");  // no terminal, no progress bar
        EXPECT_EQ(result.m_strOut, "");
        return Record();
    }
    // What the module was given: the contents of `mdat`, up to the index.
    std::string Record() const
    {
        const std::string file = ReadText(m_pathOut);
        const std::size_t uiIndex = file.find("moov");
        return file.substr(8, uiIndex == std::string::npos ? uiIndex : uiIndex - 12);
    }

    const fs::path m_pathOut = m_folder / u8"wr\u00EFtten \u4E2D.mp4";
    const std::string m_strOut = qmhost::Utf8FromPath(m_pathOut);
};

// Four pixels wide, so that tight rows and the host's rows are the same bytes.
std::string Png(int nFrame)
{
    return MakePng(4, 2, 2, 8, AsRgb(FrameBytes(nFrame, 4, 2)));
}

// A codec that the module doesn't mux itself gets whole milliseconds, or what the user gives.
TEST_F(WriteProgram, ImagesAndTheTimesOfAFile)
{
    const std::string strTimes = File("t.csv", "frame,time_ms\n0,0\n1,33.4\n2,100.75\n");
    const std::vector<std::string> vArguments = {
        "--codec", "TWO", File("b.png", Png(0)), File("a.png", Png(1)), File("c.png", Png(2)), "--times", strTimes};
    EXPECT_EQ(Written(vArguments, "frames=3"), "codec 1\n"
                                               "attributes 4(12)x2 3x8/8 count 3\n"
                                               "frame 0 " +
                                                   Hex(FrameBytes(0, 4, 2)) +
                                                   "\n"
                                                   "frame 33 " +
                                                   Hex(FrameBytes(1, 4, 2)) +
                                                   "\n"
                                                   "frame 101 " +
                                                   Hex(FrameBytes(2, 4, 2)) + "\n");
}

TEST_F(WriteProgram, ExactTimesAreHandedOverAsTheyStand)
{
    const std::string strTimes = File("t.csv", "frame,time_ms\n0,7\n1,33.4\n2,100.05\n");
    EXPECT_EQ(Written({"--codec", "TWO", File("b.png", Png(0)), File("a.png", Png(1)), File("c.png", Png(2)), "--times",
                       strTimes, "--exact-times"},
                      "frames=3"),
              "codec 1\n"
              "attributes 4(12)x2 3x8/8 count 3\n"
              "frame 7 " +
                  Hex(FrameBytes(0, 4, 2)) +
                  "\n"
                  "frame 33.399999999999999 " +
                  Hex(FrameBytes(1, 4, 2)) +
                  "\n"
                  "frame 100.05 " +
                  Hex(FrameBytes(2, 4, 2)) + "\n");
}

TEST_F(WriteProgram, RawFramesAndASteadyPeriod)
{
    const std::string strRaw = File("r.bgr", FrameBytes(0, 4, 2) + FrameBytes(1, 4, 2) + FrameBytes(2, 4, 2));
    EXPECT_EQ(Written({"--raw", strRaw, "--size", "4x2", "--codec", "ONE", "--period", "2.4"}, "frames=3"),
              "codec 0\n"
              "attributes 4(12)x2 3x8/8 count 3\n"
              "frame 0 " +
                  Hex(FrameBytes(0, 4, 2)) +
                  "\n"
                  "frame 2 " +
                  Hex(FrameBytes(1, 4, 2)) +
                  "\n"
                  "frame 5 " +
                  Hex(FrameBytes(2, 4, 2)) + "\n");
}

TEST_F(WriteProgram, EveryPageOfATiffIsAFrame)
{
    const auto page = [](int nFrame) { return TiffPage{4, 2, TIFF_RGB, 8, 3, AsRgb(FrameBytes(nFrame, 4, 2))}; };
    EXPECT_EQ(Written({"--codec", "ONE", "--period", "40", File("p.tif", MakeTiff({page(5), page(6)}))}, "frames=2"),
              "codec 0\n"
              "attributes 4(12)x2 3x8/8 count 2\n"
              "frame 0 " +
                  Hex(FrameBytes(5, 4, 2)) +
                  "\n"
                  "frame 40 " +
                  Hex(FrameBytes(6, 4, 2)) + "\n");
}

TEST_F(WriteProgram, WhatFramesWritesCanBeWrittenAgain)
{
    const std::string strScript = "width=4 height=2 frames=5";
    for (const std::string strFormat : {"png", "tiff"})
    {
        const std::string strFolder = Target(strFormat.c_str());
        ASSERT_EQ(Run({"frames", m_strVideo, "--out", strFolder, "--format", strFormat}, strScript).m_nStatus, 0);
        std::string expected = "codec 0\nattributes 4(12)x2 3x8/8 count 5\n";
        for (int i = 0; i < 5; ++i)
            expected += "frame " + std::to_string(40 * i + i % 3) + " " + Hex(FrameBytes(i, 4, 2)) + "\n";
        EXPECT_EQ(Written({"--codec", "ONE", strFolder, "--times", strFolder + "/times.csv"}, strScript), expected);
    }
}

TEST_F(WriteProgram, OddSidesBecomeEvenWithAWarning)
{
    // 5 x 3 becomes 6 x 4: rows of 18 bytes and 2 of padding, the last pixel and the last row twice.
    std::string expected;
    for (const int y : {0, 1, 2, 2})
    {
        const std::string row = FrameBytes(0, 5, 3).substr(static_cast<std::size_t>(15 * y), 15);
        expected += Hex(row + row.substr(12) + std::string(2, '\0'));
    }
    const std::string strRaw = File("r.bgr", FrameBytes(0, 5, 3));
    const ProgramResult result =
        Write({"--raw", strRaw, "--size", "5x3", "--codec", "ONE", "--period", "40"}, "frames=1");
    EXPECT_EQ(result.m_nStatus, 0);
    EXPECT_EQ(result.m_strErr, "qmhost: warning: pictures of 5 x 3 become 6 x 4, since H.264 takes even sides only\n");
    EXPECT_EQ(Record(), "codec 0\nattributes 6(20)x4 3x8/8 count 1\nframe 0 " + expected + "\n");
}

TEST_F(WriteProgram, OtherKindsOfPicturesAreConvertedWithAWarning)
{
    const std::string strGrey = File("grey.png", MakePng(2, 2, 0, 8, "\x01\x02\x03\x04"));
    const std::string strDeep =
        File("deep.tif", MakeTiff({{2, 2, TIFF_RGB, 16, 3, LittleEndian(std::vector<std::uint16_t>(12, 257 * 9))}}));
    const ProgramResult result = Write({strGrey, strDeep, "--codec", "ONE", "--period", "40"}, "frames=2");
    EXPECT_EQ(result.m_nStatus, 0);
    EXPECT_EQ(result.m_strErr, "qmhost: warning: '" + strDeep + "' is converted: 16-bit reduced to 8-bit\n" +
                                   "qmhost: warning: '" + strGrey + "' is converted: grey widened to colour\n");
    EXPECT_EQ(Record(), "codec 0\nattributes 2(8)x2 3x8/8 count 2\n"
                        "frame 0 01010102020200000303030404040000\n"
                        "frame 40 09090909090900000909090909090000\n");
}

TEST_F(WriteProgram, TimesCountFromTheFirstOne)
{
    const std::string strTimes = File("t.csv", "frame,time_ms\n5,1000.4\n6,1040.4\n");
    const std::string strRecord =
        Written({"--codec", "ONE", File("a.png", Png(0)), File("b.png", Png(1)), "--times", strTimes}, "frames=2");
    EXPECT_THAT(strRecord, HasSubstr("\nframe 0 "));
    EXPECT_THAT(strRecord, HasSubstr("\nframe 40 "));
}

TEST_F(WriteProgram, ExactTimesThatRunBackwardsAreWrittenWithAWarning)
{
    const std::string strTimes = File("t.csv", "frame,time_ms\n0,50\n1,20\n");
    const ProgramResult result =
        Write({"--codec", "ONE", File("a.png", Png(0)), File("b.png", Png(1)), "--times", strTimes, "--exact-times"},
              "frames=2");
    EXPECT_EQ(result.m_nStatus, 0);
    EXPECT_EQ(result.m_strErr, "qmhost: warning: times of '" + strTimes + "' run backwards at entry 1\n");
    EXPECT_THAT(ReadText(m_pathOut), HasSubstr("\nframe 20 "));
}

TEST_F(WriteProgram, ExistingFileIsReplaced)
{
    WriteText(m_pathOut, std::string(10000, 'x'));
    EXPECT_THAT(Written({"--codec", "ONE", File("a.png", Png(0)), "--period", "40"}, "frames=1"),
                StartsWith("codec 0\n"));
}

TEST_F(WriteProgram, PicturesOfAFolderAreWrittenInNaturalOrder)
{
    fs::create_directory(m_folder / "d");
    const auto page = [](int nFrame) { return TiffPage{4, 2, TIFF_RGB, 8, 3, AsRgb(FrameBytes(nFrame, 4, 2))}; };
    File("d/img10.png", Png(3));
    File("d/img2.tif", MakeTiff({page(1), page(2)}));
    File("d/img1.png", Png(0));
    const std::string strSeparator(1, static_cast<char>(fs::path::preferred_separator));
    const std::string strFolder = Target("d") + strSeparator;
    const ProgramResult result = Write({"-v", "--codec", "ONE", Target("d"), "--period", "40"}, "frames=4");
    EXPECT_EQ(result.m_nStatus, 0);
    EXPECT_THAT(result.m_strErr,
                StartsWith("qmhost: frame 0: '" + strFolder + "img1.png'\n" + "qmhost: frames 1 to 2: '" + strFolder +
                           "img2.tif'\n" + "qmhost: frame 3: '" + strFolder + "img10.png'\n"));
    std::string expected = "codec 0\nattributes 4(12)x2 3x8/8 count 4\n";
    for (int i = 0; i < 4; ++i)
        expected += "frame " + std::to_string(40 * i) + " " + Hex(FrameBytes(i, 4, 2)) + "\n";
    EXPECT_EQ(Record(), expected);
}

TEST_F(WriteProgram, DiagnosticsOfTheModuleWhenAskedFor)
{
    const ProgramResult result = Write({"-v", "--codec", "ONE", File("a.png", Png(0)), "--period", "40"}, "frames=1");
    EXPECT_EQ(result.m_nStatus, 0);
    EXPECT_EQ(result.m_strErr, "scripted.cpp:34: frame 0\nscripted.cpp:12: opening " + m_strOut + "\n");
}

}  // namespace
