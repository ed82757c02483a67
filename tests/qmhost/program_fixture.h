// The built program with a module that does what the test says.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "decode_image.h"
#include "parts/text.h"
#include "support/box_builder.h"
#include "support/run_program.h"
#include "unicode_folder.h"

using test_support::ProgramResult;

inline std::string MakeVideo(int nProfile)
{
    using namespace test_support;
    return FileType() + Movie(TrackOf("vide", VideoEntry("avc1", AvcConfiguration(nProfile, nProfile))));
}

// The bytes of a frame as the scripted module fills it, without padding.
inline std::string FrameBytes(int nFrame, int nWidth = 3, int nHeight = 2)
{
    std::string bytes;
    for (int y = 0; y < nHeight; ++y)
    {
        for (int x = 0; x < 3 * nWidth; ++x)
            bytes += static_cast<char>((7 * nFrame + 5 * y + x) % 251);
    }
    return bytes;
}

inline std::string PixelsOf(const std::filesystem::path& path)
{
    const std::string text = test_support::ReadText(path);
    const DecodedImage image = DecodeImage({text.begin(), text.end()});
    return {image.m_vBgr.begin(), image.m_vBgr.end()};
}

class Program : public testing::Test
{
protected:
    Program() { WriteVideo(MakeVideo(100)); }

    void WriteVideo(const std::string& bytes) { test_support::WriteText(m_pathVideo, bytes); }

    ProgramResult Run(std::vector<std::string> vArguments, const std::string& strScript = "",
                      const std::string& strOutPath = {})
    {
        vArguments.insert(vArguments.end(), {"--module", SCRIPTED_MODULE});
        return test_support::RunProgram(QMHOST_PROGRAM, vArguments, {"QMHOST_SCRIPT=" + strScript}, strOutPath);
    }

    void ExpectFailure(const ProgramResult& result, const std::string& strLine)
    {
        EXPECT_EQ(result.m_nStatus, 1);
        EXPECT_EQ(result.m_strErr, "qmhost: " + strLine + "\n");
        EXPECT_EQ(result.m_strOut, "");
    }

    std::string QuotedVideo() const { return "'" + m_strVideo + "'"; }
    std::string Target(const char* pszName) const { return qmhost::Utf8FromPath(m_folder / pszName); }

    UnicodeFolder m_folder;
    std::filesystem::path m_pathVideo = m_folder / u8"v\u00EFdeo \u4E2D.mp4";
    std::string m_strVideo = qmhost::Utf8FromPath(m_pathVideo);
};
