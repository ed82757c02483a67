#include "parts/imagefile.h"

#include <random>

#include <gmock/gmock.h>

#include "decode_image.h"

namespace qmhost
{
namespace
{

class ImageFile : public testing::TestWithParam<EImageFormat>
{
};

struct Picture
{
    std::vector<unsigned char> m_vPixels;
    PictureView m_view;
};

// Noise in the pixels, and something else in the padding after each row.
Picture Noise(std::uint32_t uiWidth, std::uint32_t uiHeight, std::uint32_t uiPitch)
{
    std::mt19937 random(uiWidth * 1000 + uiHeight);
    Picture picture;
    picture.m_vPixels.resize(std::size_t{uiPitch} * uiHeight);
    for (unsigned char& uiByte : picture.m_vPixels)
        uiByte = static_cast<unsigned char>(random());
    picture.m_view = {picture.m_vPixels.data(), uiWidth, uiHeight, uiPitch};
    return picture;
}

std::vector<unsigned char> WithoutPadding(const Picture& picture)
{
    std::vector<unsigned char> bytes;
    for (std::uint32_t y = 0; y < picture.m_view.m_uiHeight; ++y)
    {
        for (std::uint32_t x = 0; x < 3 * picture.m_view.m_uiWidth; ++x)
            bytes.push_back(picture.m_vPixels[y * picture.m_view.m_uiWidthBytes + x]);
    }
    return bytes;
}

TEST_P(ImageFile, PixelsComeBack)
{
    for (const auto& [uiWidth, uiHeight, uiPitch] :
         {std::tuple{1u, 1u, 4u}, {2u, 3u, 8u}, {5u, 4u, 16u}, {64u, 48u, 192u}, {67u, 211u, 300u}})
    {
        const Picture picture = Noise(uiWidth, uiHeight, uiPitch);
        const DecodedImage decoded = DecodeImage(EncodeImage(picture.m_view, GetParam()));
        EXPECT_EQ(decoded.m_uiWidth, uiWidth);
        EXPECT_EQ(decoded.m_uiHeight, uiHeight);
        EXPECT_EQ(decoded.m_vBgr, WithoutPadding(picture));
    }
}

TEST_P(ImageFile, PureColoursKeepTheirChannels)
{
    const unsigned char auiBlueGreenRed[] = {255, 0, 0, 0, 255, 0, 0, 0, 255};
    const DecodedImage decoded = DecodeImage(EncodeImage({auiBlueGreenRed, 3, 1, 9}, GetParam()));
    EXPECT_THAT(decoded.m_vBgr, testing::ElementsAreArray(auiBlueGreenRed));
}

INSTANTIATE_TEST_SUITE_P(Formats, ImageFile, testing::Values(EImageFormat::Png, EImageFormat::Tiff),
                         [](const auto& test) { return test.param == EImageFormat::Png ? "Png" : "Tiff"; });

TEST(ImageFileName, EndingTellsTheFormat)
{
    EXPECT_EQ(ImageFormatOf("a/b.png"), EImageFormat::Png);
    EXPECT_EQ(ImageFormatOf("B.PNG"), EImageFormat::Png);
    EXPECT_EQ(ImageFormatOf("b.tif"), EImageFormat::Tiff);
    EXPECT_EQ(ImageFormatOf("b.Tiff"), EImageFormat::Tiff);
    for (const char* pszName : {"", "png", "b.jpg", "b.png.txt", "b"})
        EXPECT_FALSE(ImageFormatOf(pszName)) << pszName;
}

}  // namespace
}  // namespace qmhost
