// Videos that ffmpeg makes for a test, in a folder that goes with the test program.
#pragma once

#include <filesystem>
#include <string>

#include "support/ffmpeg.h"
#include "support/temporary_folder.h"

// A file called strName, made by ffmpeg with strArguments (inputs and options). The same name is the same file.
inline std::filesystem::path MakeVideo(const std::string& strName, const std::string& strArguments)
{
    static const test_support::TemporaryFolder folder;
    const std::filesystem::path path = folder / strName;
    if (!std::filesystem::exists(path))
    {
        test_support::MakeWithFfmpeg("-threads 1 " + strArguments, path);
    }
    return path;
}

// A moving picture of the given length.
inline std::string TestPicture(int nFrames, const std::string& strSize = "64x48")
{
    return "-f lavfi -i testsrc2=size=" + strSize + ":rate=25 -frames:v " + std::to_string(nFrames) +
           " -pix_fmt yuv420p -c:v libx264 ";
}

// A file beside path with other contents.
inline std::filesystem::path WriteBeside(const std::filesystem::path& path, const std::string& strEnding,
                                         const std::string& strContents)
{
    std::filesystem::path beside = path;
    beside += strEnding;
    test_support::WriteText(beside, strContents);
    return beside;
}
