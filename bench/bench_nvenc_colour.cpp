// The software encoder's conversion of a 1080p picture from BGRA to NV12, next to libswscale's.
#include <cstdio>
#include <memory>
#include <random>
#include <vector>

extern "C"
{
#include <libswscale/swscale.h>
}

#include "bench/measure.h"
#include "runtimes/common/colour.h"

namespace
{

constexpr int c_nWidth = 1920;
constexpr int c_nHeight = 1080;
constexpr int c_nPictures = 20;

struct Pictures
{
    Pictures() : bgra(std::size_t{4} * c_nWidth * c_nHeight), nv12(std::size_t{3} * c_nWidth * c_nHeight / 2)
    {
        std::mt19937 random(1);
        for (std::uint8_t& byte : bgra)
        {
            byte = static_cast<std::uint8_t>(random());
        }
    }

    std::uint8_t* Chroma() { return nv12.data() + std::size_t{c_nWidth} * c_nHeight; }

    std::vector<std::uint8_t> bgra;
    std::vector<std::uint8_t> nv12;
};

double Ours(Pictures& pictures)
{
    return bench::CpuSecondsOf([&] {
               for (int i = 0; i < c_nPictures; ++i)
               {
                   runtimes::ConvertBgraToNv12(pictures.bgra.data(), 4 * c_nWidth, c_nWidth, c_nHeight,
                                               {pictures.nv12.data(), pictures.Chroma(), c_nWidth, c_nWidth});
               }
           }) /
           c_nPictures;
}

double Peer(Pictures& pictures, SwsContext* pContext)
{
    const std::uint8_t* const apSource[4] = {pictures.bgra.data()};
    std::uint8_t* const apTarget[4] = {pictures.nv12.data(), pictures.Chroma()};
    const int anSourcePitch[4] = {4 * c_nWidth};
    const int anTargetPitch[4] = {c_nWidth, c_nWidth};
    return bench::CpuSecondsOf([&] {
               for (int i = 0; i < c_nPictures; ++i)
               {
                   sws_scale(pContext, apSource, anSourcePitch, 0, c_nHeight, apTarget, anTargetPitch);
               }
           }) /
           c_nPictures;
}

}  // namespace

int main()
{
    Pictures pictures;
    const std::unique_ptr<SwsContext, decltype(&sws_freeContext)> pContext(
        sws_getContext(c_nWidth, c_nHeight, AV_PIX_FMT_BGRA, c_nWidth, c_nHeight, AV_PIX_FMT_NV12, SWS_FAST_BILINEAR,
                       nullptr, nullptr, nullptr),
        &sws_freeContext);
    bench::Compare(
        "BGRA to NV12, 1080p", 15, [&] { return Ours(pictures); }, "libswscale, fast_bilinear",
        [&] { return Peer(pictures, pContext.get()); });
    return 0;
}
