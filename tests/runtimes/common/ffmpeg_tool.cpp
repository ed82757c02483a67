#include "ffmpeg_tool.h"

#include "support/ffmpeg.h"
#include "support/temporary_folder.h"

using namespace test_support;

std::vector<BgrPicture> DecodeWithFfmpeg(const std::vector<std::uint8_t>& stream, std::uint32_t uiWidth,
                                         std::uint32_t uiHeight)
{
    const TemporaryFolder folder;
    WriteBytes(folder / "in.h264", stream);
    const auto decoded = DecodePlain(folder / "in.h264",
                                     "-sws_flags accurate_rnd+full_chroma_int+full_chroma_inp+bicubic -pix_fmt bgr24",
                                     std::size_t{uiWidth} * uiHeight * 3, Complaints::Warnings);
    std::vector<BgrPicture> pictures;
    for (const Bytes& bytes : decoded)
    {
        pictures.push_back({uiWidth, uiHeight, bytes});
    }
    return pictures;
}

std::vector<std::uint8_t> EncodeWithFfmpeg(const std::vector<std::uint8_t>& pictures, std::uint32_t uiWidth,
                                           std::uint32_t uiHeight, const std::string& arguments)
{
    const TemporaryFolder folder;
    WriteBytes(folder / "in.nv12", pictures);
    RunFfmpeg("-f rawvideo -pix_fmt nv12 -s " + std::to_string(uiWidth) + "x" + std::to_string(uiHeight) +
                  " -r 30 -i " + Quoted(folder / "in.nv12") + " -c:v libx264 " + arguments + " -f h264 " +
                  Quoted(folder / "out.h264"),
              Complaints::Warnings);
    return ReadBytes(folder / "out.h264");
}
