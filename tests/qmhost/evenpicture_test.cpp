#include "parts/evenpicture.h"

#include <gmock/gmock.h>

namespace qmhost
{
namespace
{

// A picture whose pixel x, y is x, y and 100, with something else in the padding after its rows.
EvenPicture Make(std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    EvenPicture picture({uiWidth, uiHeight});
    std::fill_n(picture.Pixels(), std::size_t{picture.WidthBytes()} * picture.Height(), 0xEE);
    for (std::uint32_t y = 0; y < uiHeight; ++y)
    {
        for (std::uint32_t x = 0; x < uiWidth; ++x)
        {
            unsigned char* const pPixel = picture.Pixels() + y * picture.WidthBytes() + 3 * x;
            pPixel[0] = static_cast<unsigned char>(x);
            pPixel[1] = static_cast<unsigned char>(y);
            pPixel[2] = 100;
        }
    }
    picture.Complete();
    return picture;
}

TEST(EvenPicture, SidesBecomeEven)
{
    for (std::uint32_t uiSide = 1; uiSide <= LARGEST_SIDE; uiSide += 1021)
    {
        const EvenPicture wide({uiSide, 1});
        EXPECT_EQ(wide.Width(), uiSide % 2 == 0 ? uiSide : uiSide + 1);
        EXPECT_EQ(wide.Height(), 2u);
        EXPECT_EQ(EvenPicture({1, uiSide}).Height(), wide.Width());
    }
}

TEST(EvenPicture, RowsAreWholeGroupsOfFourBytes)
{
    EXPECT_EQ(EvenPicture({1, 1}).WidthBytes(), 8u);
    EXPECT_EQ(EvenPicture({2, 2}).WidthBytes(), 8u);
    EXPECT_EQ(EvenPicture({3, 2}).WidthBytes(), 12u);
    EXPECT_EQ(EvenPicture({5, 2}).WidthBytes(), 20u);
    EXPECT_EQ(EvenPicture({640, 2}).WidthBytes(), 1920u);
}

TEST(EvenPicture, MissingColumnAndRowRepeatTheLast)
{
    for (const auto& [uiWidth, uiHeight] : {std::pair{1u, 1u}, {2u, 2u}, {2u, 3u}, {3u, 2u}, {5u, 7u}, {9u, 4u}})
    {
        EvenPicture picture = Make(uiWidth, uiHeight);
        for (std::uint32_t y = 0; y < picture.Height(); ++y)
        {
            for (std::uint32_t x = 0; x < picture.Width(); ++x)
            {
                const unsigned char* const pPixel = picture.Pixels() + y * picture.WidthBytes() + 3 * x;
                EXPECT_EQ(pPixel[0], std::min(x, uiWidth - 1)) << uiWidth << " " << uiHeight;
                EXPECT_EQ(pPixel[1], std::min(y, uiHeight - 1)) << uiWidth << " " << uiHeight;
                EXPECT_EQ(pPixel[2], 100);
            }
        }
    }
}

}  // namespace
}  // namespace qmhost
