#include "test_pictures.h"

#include <cmath>
#include <cstring>
#include <random>
#include <stdexcept>

#include "support/ffmpeg.h"
#include "support/temporary_folder.h"

namespace test_support
{

namespace
{

constexpr std::uint32_t g_uiFieldsAcross = 4;
constexpr std::uint32_t g_uiFieldsDown = 3;

}  // namespace

HostPicture NumberedPicture(std::uint32_t uiWidth, std::uint32_t uiHeight, std::uint32_t uiNumber)
{
    HostPicture picture(uiWidth, uiHeight);
    for (std::uint32_t y = 0; y < uiHeight; ++y)
    {
        for (std::uint32_t x = 0; x < uiWidth; ++x)
        {
            const std::uint32_t uiBit =
                y * g_uiFieldsDown / uiHeight * g_uiFieldsAcross + x * g_uiFieldsAcross / uiWidth;
            std::memset(picture.Pixel(x, y), (uiNumber >> uiBit) % 2 != 0 ? 220 : 30, 3);
        }
    }
    return picture;
}

std::uint32_t NumberIn(const HostPicture& picture)
{
    std::uint32_t uiNumber = 0;
    for (std::uint32_t uiBit = 0; uiBit < g_uiFieldsAcross * g_uiFieldsDown; ++uiBit)
    {
        // The middle of the field.
        const std::uint32_t uiX = (2 * (uiBit % g_uiFieldsAcross) + 1) * picture.m_uiWidth / (2 * g_uiFieldsAcross);
        const std::uint32_t uiY = (2 * (uiBit / g_uiFieldsAcross) + 1) * picture.m_uiHeight / (2 * g_uiFieldsDown);
        if (*picture.Pixel(uiX, uiY) > 125) uiNumber |= 1U << uiBit;
    }
    return uiNumber;
}

std::vector<HostPicture> DecodedPictures(const std::filesystem::path& path, std::uint32_t uiWidth,
                                         std::uint32_t uiHeight)
{
    const std::size_t uiRow = std::size_t{uiWidth} * 3;
    std::vector<HostPicture> vPictures;
    for (const Bytes& vRows : DecodePlain(path, "-pix_fmt bgr24", uiRow * uiHeight))
    {
        HostPicture& picture = vPictures.emplace_back(uiWidth, uiHeight);
        for (std::uint32_t y = 0; y < uiHeight; ++y)
            std::memcpy(picture.Pixel(0, y), &vRows[y * uiRow], uiRow);
    }
    return vPictures;
}

std::vector<std::uint32_t> NumbersIn(const std::filesystem::path& path, std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    std::vector<std::uint32_t> vNumbers;
    for (const HostPicture& picture : DecodedPictures(path, uiWidth, uiHeight))
        vNumbers.push_back(NumberIn(picture));
    return vNumbers;
}

std::vector<std::uint32_t> Numbers(std::uint32_t uiFirst, std::uint32_t uiLast)
{
    std::vector<std::uint32_t> vNumbers;
    for (std::uint32_t ui = uiFirst; ui <= uiLast; ++ui)
        vNumbers.push_back(ui);
    return vNumbers;
}

HostPicture NoisyPicture(std::uint32_t uiWidth, std::uint32_t uiHeight, std::uint32_t uiNumber)
{
    HostPicture picture(uiWidth, uiHeight);
    std::mt19937 random(uiNumber);
    for (std::uint8_t& byte : picture.m_vBytes)
        byte = static_cast<std::uint8_t>(random());
    return picture;
}

std::vector<HostPicture> FilmedPictures(std::uint32_t uiWidth, std::uint32_t uiHeight, std::uint32_t uiCount)
{
    const TemporaryFolder dir;
    const HostPicture size(uiWidth, uiHeight);
    const std::string strSize = std::to_string(uiWidth) + "x" + std::to_string(uiHeight);
    MakeWithFfmpeg(
        "-f lavfi -i \"gradients=size=" + strSize +
            ":n=4:c0=0x30404a:c1=0x8a7a60:c2=0xc8c0b0:c3=0x406050:speed=0.02:seed=3[shades];mandelbrot=size=" +
            strSize +
            ":rate=25:start_scale=1.2:end_scale=0.3:end_pts=200:inner=black,gblur=sigma=1.2,hue=s=0.5,format=gbrp"
            "[structure];[shades]format=gbrp[shades];[shades][structure]blend=all_mode=average,"
            "noise=alls=4:allf=t:all_seed=7\" -frames:v " +
            std::to_string(uiCount) + " -pix_fmt bgr24 -f rawvideo",
        dir / "film.bgr");
    const std::vector<std::uint8_t> vFilm = ReadBytes(dir / "film.bgr");
    const std::size_t uiRow = std::size_t{uiWidth} * 3;
    if (vFilm.size() != uiRow * uiHeight * uiCount) throw std::runtime_error("ffmpeg made another film");

    std::vector<HostPicture> vPictures(uiCount, size);
    const std::uint8_t* pRow = vFilm.data();
    for (HostPicture& picture : vPictures)
    {
        for (std::uint32_t y = 0; y < uiHeight; ++y, pRow += uiRow)
        {
            std::memcpy(picture.Pixel(0, y), pRow, uiRow);
            if (uiWidth % 2 != 0) std::memcpy(picture.Pixel(uiWidth, y), pRow + uiRow - 3, 3);
        }
        if (uiHeight % 2 != 0) std::memcpy(picture.Pixel(0, uiHeight), picture.Pixel(0, uiHeight - 1), size.m_uiPitch);
    }
    return vPictures;
}

double Psnr(const HostPicture& written, const HostPicture& read)
{
    double dSquares = 0.0;
    for (std::uint32_t y = 0; y < written.m_uiHeight; ++y)
    {
        for (std::uint32_t ui = 0; ui < written.m_uiWidth * 3; ++ui)
        {
            const double dDistance = written.Pixel(0, y)[ui] - read.Pixel(0, y)[ui];
            dSquares += dDistance * dDistance;
        }
    }
    const double dMean = dSquares / (3.0 * written.m_uiWidth * written.m_uiHeight);
    return 10.0 * std::log10(255.0 * 255.0 / dMean);
}

}  // namespace test_support
