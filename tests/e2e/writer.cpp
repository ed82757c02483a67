// A host that writes a file in a process of its own, for tests in which that process comes to grief.
//
//   die PATH FRAMES          ends by a signal when it has written the frames, before it closes the file
//   full PATH FRAMES BYTES [CODEC]
//                            no file of the process may become longer; then, without that, writes PATH.later
//
// The codec is NVENC1, if none is given. Exit code 0 when every frame was taken, 3 when every frame from one on to the
// last was refused on the full disk, 1 for all else.
#include <csignal>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>

#include <sys/resource.h>
#include <unistd.h>

#include "support/writing_host.h"
#include "test_pictures.h"

namespace
{

using namespace test_support;

HostPicture Picture(std::uint32_t uiFrame)
{
    return NoisyPicture(160, 96, uiFrame);
}

void Die(const ModuleHost& host, const std::string& strPath, std::uint32_t uiFrames)
{
    const OutputFile file = OpenForPictures(host, strPath, 160, 96);
    for (std::uint32_t ui = 0; ui < uiFrames; ++ui)
        WriteAt(file, 40.0 * ui, Picture(ui));
    std::raise(SIGKILL);
}

int FillDisk(const ModuleHost& host, const std::string& strPath, std::uint32_t uiFrames, rlim_t nBytes)
{
    std::signal(SIGXFSZ, SIG_IGN);  // writing fails instead, as it does on a disk
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit full{nBytes, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &full);
    std::uint32_t uiRefused = 0;
    {
        const OutputFile file = OpenForPictures(host, strPath, 160, 96);
        for (std::uint32_t ui = 0; ui < uiFrames; ++ui)
        {
            const QmStatus nStatus = WriteAt(file, 40.0 * ui, Picture(ui));
            if (nStatus == QM_OK && uiRefused != 0) throw std::runtime_error("a frame is taken after a refused one");
            if (nStatus != QM_OK) ++uiRefused;
        }
        if (file->CloseOutput() != QM_OK) throw std::runtime_error("the file can't be closed");
    }
    setrlimit(RLIMIT_FSIZE, &before);
    WriteFile(host, strPath + ".later", EvenTimes(uiFrames), Picture);
    return uiRefused == 0 ? 0 : 3;
}

}  // namespace

int main(int argc, char** argv)
{
    alarm(120);  // seconds, after which a writer that hangs ends by a signal
    const std::string strTask = argc > 3 ? argv[1] : "";
    try
    {
        const ModuleHost host;
        const std::string strCodec = argc > 5 ? argv[5] : "NVENC1";
        ChooseCodec(host, std::wstring(strCodec.begin(), strCodec.end()));
        if (strTask == "die") Die(host, argv[2], static_cast<std::uint32_t>(std::stoul(argv[3])));
        if (strTask != "full" || argc < 5) return 2;
        return FillDisk(host, argv[2], static_cast<std::uint32_t>(std::stoul(argv[3])), std::stoul(argv[4]));
    }
    catch (const std::exception& exception)
    {
        std::fprintf(stderr, "%s\n", exception.what());
        return 1;
    }
}
