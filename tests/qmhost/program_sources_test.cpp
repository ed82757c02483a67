// The built program writing pictures whose files change meanwhile. The file has the pictures up to the change.
#include <fstream>

#include "image_builder.h"
#include "program_fixture.h"
#include "support/started_program.h"

namespace
{

using namespace test_support;
namespace fs = std::filesystem;

constexpr int WIDTH = 4;  // rows without padding
constexpr int HEIGHT = 2;
constexpr std::size_t FRAME_BYTES = std::size_t{3} * WIDTH * HEIGHT;

// With --progress the program waits for the test, long before the picture that changes.
constexpr int CHANGED = test_support::StartedProgram::MANY_LINES;
constexpr int FRAMES = CHANGED + 100;

class ChangingPictures : public Program
{
protected:
    std::string RawFile() const
    {
        std::string strRows;
        for (int i = 0; i < FRAMES; ++i)
            strRows += FrameBytes(i, WIDTH, HEIGHT);
        WriteText(m_folder / "frames.bgr", strRows);
        return Target("frames.bgr");
    }
    std::string Folder() const
    {
        fs::create_directory(m_folder / "pictures");
        for (int i = 0; i < FRAMES; ++i)
            WriteText(Picture(i), Png(i, WIDTH));
        return Target("pictures");
    }
    fs::path Picture(int nFrame) const { return m_folder / "pictures" / ("p" + std::to_string(nFrame) + ".png"); }
    static std::string Png(int nFrame, int nWidth)
    {
        std::string strRgb = FrameBytes(nFrame, nWidth, HEIGHT);
        for (std::size_t i = 0; i < strRgb.size(); i += 3)
            std::swap(strRgb[i], strRgb[i + 2]);
        return MakePng(static_cast<unsigned>(nWidth), HEIGHT, 2, 8, strRgb);
    }

    // Writes the pictures. change is called after the first frame. nFrames: what is in the file then.
    template <class TChange>
    ProgramResult WriteWhile(std::vector<std::string> vPictures, int nFrames, TChange change) const
    {
        vPictures.insert(vPictures.begin(), {"write", m_strOut, "--codec", "ONE", "--period", "40", "--progress",
                                             "--module", SCRIPTED_MODULE});
        StartedProgram program(QMHOST_PROGRAM, vPictures, {"QMHOST_SCRIPT=frames=" + std::to_string(nFrames)});
        EXPECT_EQ(program.ReadLine(), "frame 0");
        change();
        return program.Wait();
    }

    // The file is finished with the first pictures, all right.
    void ExpectFrames(int nFrames) const
    {
        std::string strRecord = "frame 0 ";
        for (int i = 0; i < nFrames; ++i)
        {
            static constexpr char DIGITS[] = "0123456789abcdef";
            for (const char c : FrameBytes(i, WIDTH, HEIGHT))
            {
                strRecord += DIGITS[static_cast<unsigned char>(c) >> 4];
                strRecord += DIGITS[c & 15];
            }
            strRecord += i + 1 < nFrames ? "\nframe " + std::to_string(40 * (i + 1)) + " " : "\n";
        }
        const std::string strFile = ReadText(m_folder / "out.mp4");
        const std::size_t uiBegin = strFile.find("frame 0 ");
        ASSERT_NE(uiBegin, std::string::npos);
        EXPECT_TRUE(strFile.substr(uiBegin, strRecord.size()) == strRecord);
        EXPECT_EQ(strFile.substr(uiBegin + strRecord.size() + 4, 4), "moov");
    }
    void ExpectAll(const ProgramResult& result) const
    {
        EXPECT_EQ(result.m_nStatus, 0);
        EXPECT_EQ(result.m_strErr, "");
        ExpectFrames(FRAMES);
    }
    void ExpectEndAtTheChange(const ProgramResult& result, const std::string& strProblem) const
    {
        EXPECT_EQ(result.m_nStatus, 1);
        EXPECT_THAT(result.m_strErr,
                    testing::StartsWith("qmhost: write failed with status -9 (general failure): " + strProblem));
        EXPECT_THAT(result.m_strErr, testing::EndsWith("; '" + m_strOut + "' is finished with " +
                                                       std::to_string(CHANGED) + " frames\n"));
        ExpectFrames(CHANGED);
    }

    const std::string m_strOut = Target("out.mp4");
};

TEST_F(ChangingPictures, RawFileThatShrinks)
{
    const std::string strRaw = RawFile();
    for (const std::size_t uiMore : {std::size_t{0}, FRAME_BYTES - 1})
    {
        RawFile();
        ExpectEndAtTheChange(
            WriteWhile({"--raw", strRaw, "--size", "4x2"}, CHANGED,
                       [&] { fs::resize_file(m_folder / "frames.bgr", CHANGED * FRAME_BYTES + uiMore); }),
            "frame " + std::to_string(CHANGED) + " can't be read from '" + strRaw + "'");
    }
}

TEST_F(ChangingPictures, RawFileThatGrows)
{
    const std::string strRaw = RawFile();
    ExpectAll(WriteWhile({"--raw", strRaw, "--size", "4x2"}, FRAMES, [&] {
        std::ofstream(m_folder / "frames.bgr", std::ios::binary | std::ios::app) << FrameBytes(0, WIDTH, HEIGHT);
    }));
}

// Its name goes. What is open stays.
TEST_F(ChangingPictures, RawFileThatVanishes)
{
    const std::string strRaw = RawFile();
    ExpectAll(WriteWhile({"--raw", strRaw, "--size", "4x2"}, FRAMES, [&] { fs::remove(m_folder / "frames.bgr"); }));
}

TEST_F(ChangingPictures, ImageFileThatShrinks)
{
    const std::string strFolder = Folder();
    const std::string strPicture = "'" + qmhost::Utf8FromPath(Picture(CHANGED)) + "'";
    for (const std::uintmax_t uiSize : {fs::file_size(Picture(CHANGED)) / 2, std::uintmax_t{0}})
    {
        WriteText(Picture(CHANGED), Png(CHANGED, WIDTH));
        ExpectEndAtTheChange(WriteWhile({strFolder}, CHANGED, [&] { fs::resize_file(Picture(CHANGED), uiSize); }),
                             strPicture);
    }
}

TEST_F(ChangingPictures, ImageFileThatGrows)
{
    const std::string strFolder = Folder();
    ExpectEndAtTheChange(
        WriteWhile({strFolder}, CHANGED, [&] { WriteText(Picture(CHANGED), Png(CHANGED, WIDTH + 1)); }),
        "'" + qmhost::Utf8FromPath(Picture(CHANGED)) + "' is 5 x 2, unlike '" + qmhost::Utf8FromPath(Picture(0)) +
            "', which is 4 x 2");
}

TEST_F(ChangingPictures, ImageFileThatVanishes)
{
    const std::string strFolder = Folder();
    ExpectEndAtTheChange(WriteWhile({strFolder}, CHANGED, [&] { fs::remove(Picture(CHANGED)); }),
                         "'" + qmhost::Utf8FromPath(Picture(CHANGED)) + "' doesn't exist");
}

// The files of a folder are known before the first frame.
TEST_F(ChangingPictures, ImageFileThatComes)
{
    const std::string strFolder = Folder();
    ExpectAll(WriteWhile({strFolder}, FRAMES, [&] { WriteText(Picture(FRAMES), Png(FRAMES, WIDTH)); }));
}

}  // namespace
