// The converter's colours against their definition, and against ffmpeg's.
#include <algorithm>
#include <cmath>
#include <random>

#include "client.h"
#include "support/ffmpeg.h"
#include "support/file_contents.h"
#include "support/temporary_folder.h"

namespace
{

using namespace test_support;

struct Nv12
{
    std::uint32_t uiWidth = 0;
    std::vector<std::uint8_t> luma;    // rows without gaps
    std::vector<std::uint8_t> chroma;  // Cb, Cr in turn

    int Y(std::uint32_t x, std::uint32_t y) const { return luma[std::size_t{y} * uiWidth + x]; }
    int Cb(std::uint32_t x, std::uint32_t y) const { return chroma[std::size_t{y / 2} * uiWidth + x / 2 * 2]; }
    int Cr(std::uint32_t x, std::uint32_t y) const { return chroma[std::size_t{y / 2} * uiWidth + x / 2 * 2 + 1]; }
};

Nv12 ReadSurface(AMFSurface* pSurface, std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    Nv12 picture;
    picture.uiWidth = uiWidth;
    IDirect3DSurface9* const pNative = NativeOf(pSurface);
    D3DLOCKED_RECT locked{};
    EXPECT_EQ(pNative->LockRect(&locked, nullptr, D3DLOCK_READONLY), D3D_OK);
    for (std::uint32_t y = 0; y < uiHeight + uiHeight / 2; ++y)
    {
        const auto* const pRow =
            static_cast<const std::uint8_t*>(locked.pBits) + static_cast<std::ptrdiff_t>(y) * locked.Pitch;
        std::vector<std::uint8_t>& plane = y < uiHeight ? picture.luma : picture.chroma;
        plane.insert(plane.end(), pRow, pRow + uiWidth);
    }
    EXPECT_EQ(pNative->UnlockRect(), D3D_OK);
    return picture;
}

Nv12 Convert(const BgrPicture& picture)
{
    Client client(static_cast<amf_int32>(picture.uiWidth), static_cast<amf_int32>(picture.uiHeight));
    const Held<AMFSurface> pSurface = client.Upload(picture);
    return ReadSurface(pSurface.Get(), picture.uiWidth, picture.uiHeight);
}

BgrPicture Filled(std::uint32_t uiWidth, std::uint32_t uiHeight, std::uint8_t b, std::uint8_t g, std::uint8_t r)
{
    BgrPicture picture{uiWidth, uiHeight, {}};
    for (std::size_t ui = 0; ui < std::size_t{uiWidth} * uiHeight; ++ui)
    {
        picture.bytes.insert(picture.bytes.end(), {b, g, r});
    }
    return picture;
}

// Squares of 16 x 16 pixels, each of one random colour.
BgrPicture Squares(std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    BgrPicture picture = Filled(uiWidth, uiHeight, 0, 0, 0);
    for (std::uint32_t y = 0; y < uiHeight; ++y)
    {
        for (std::uint32_t x = 0; x < uiWidth; ++x)
        {
            std::minstd_rand random(1 + x / 16 + 1000 * (y / 16));
            random.discard(5);
            for (std::size_t ui = 0; ui < 3; ++ui)
            {
                picture.bytes[(std::size_t{y} * uiWidth + x) * 3 + ui] = static_cast<std::uint8_t>(random() >> 8);
            }
        }
    }
    return picture;
}

}  // namespace

// The six numbers that the standard gives for full bars, and black, white and the middle grey.
TEST_F(AmfRuntime, ConvertsKnownColoursToTheirStudioValues)
{
    const struct
    {
        std::uint8_t b, g, r;
        int nY, nCb, nCr;
    } colours[] = {{0, 0, 0, 16, 128, 128},     {255, 255, 255, 235, 128, 128}, {128, 128, 128, 126, 128, 128},
                   {0, 0, 255, 81, 90, 240},    {0, 255, 0, 145, 54, 34},       {255, 0, 0, 41, 240, 110},
                   {0, 255, 255, 210, 16, 146}, {255, 255, 0, 170, 166, 16},    {255, 0, 255, 106, 202, 222}};
    for (const auto& colour : colours)
    {
        const Nv12 picture = Convert(Filled(8, 6, colour.b, colour.g, colour.r));
        EXPECT_TRUE(std::ranges::all_of(picture.luma, [&](int n) { return n == colour.nY; }))
            << colour.nY << " " << int{picture.luma[0]};
        for (std::size_t ui = 0; ui < picture.chroma.size(); ui += 2)
        {
            EXPECT_EQ(picture.chroma[ui], colour.nCb);
            EXPECT_EQ(picture.chroma[ui + 1], colour.nCr);
        }
    }
}

TEST_F(AmfRuntime, ConvertsEveryPixelByTheDefinition)
{
    constexpr std::uint32_t c_uiWidth = 86;
    constexpr std::uint32_t c_uiHeight = 22;
    std::mt19937 random(3);
    BgrPicture picture{c_uiWidth, c_uiHeight, std::vector<std::uint8_t>(c_uiWidth * c_uiHeight * 3)};
    std::ranges::generate(picture.bytes, [&] { return static_cast<std::uint8_t>(random()); });
    const Nv12 converted = Convert(picture);
    const auto channel = [&](std::uint32_t x, std::uint32_t y, std::size_t uiChannel) {
        return double{static_cast<double>(picture.bytes[(std::size_t{y} * c_uiWidth + x) * 3 + uiChannel])} / 255;
    };
    for (std::uint32_t y = 0; y < c_uiHeight; ++y)
    {
        for (std::uint32_t x = 0; x < c_uiWidth; ++x)
        {
            const double dB = channel(x, y, 0);
            const double dG = channel(x, y, 1);
            const double dR = channel(x, y, 2);
            EXPECT_NEAR(converted.Y(x, y), 16 + 65.481 * dR + 128.553 * dG + 24.966 * dB, 0.51) << x << " " << y;
        }
    }
    for (std::uint32_t y = 0; y < c_uiHeight; y += 2)
    {
        for (std::uint32_t x = 0; x < c_uiWidth; x += 2)
        {
            const auto mean = [&](std::size_t uiChannel) {
                return (channel(x, y, uiChannel) + channel(x + 1, y, uiChannel) + channel(x, y + 1, uiChannel) +
                        channel(x + 1, y + 1, uiChannel)) /
                       4;
            };
            EXPECT_NEAR(converted.Cb(x, y), 128 - 37.797 * mean(2) - 74.203 * mean(1) + 112 * mean(0), 0.51);
            EXPECT_NEAR(converted.Cr(x, y), 128 + 112 * mean(2) - 93.786 * mean(1) - 18.214 * mean(0), 0.51);
        }
    }
}

TEST_F(AmfRuntime, ConvertsAsFfmpegDoes)
{
    constexpr std::uint32_t c_uiWidth = 160;
    constexpr std::uint32_t c_uiHeight = 96;
    const BgrPicture picture = Squares(c_uiWidth, c_uiHeight);
    const Nv12 ours = Convert(picture);

    const TemporaryFolder folder;
    WriteBytes(folder / "in.bgr", picture.bytes);
    RunFfmpeg("-f rawvideo -pix_fmt bgr24 -s 160x96 -i " + Quoted(folder / "in.bgr") +
              " -sws_flags accurate_rnd+full_chroma_int+full_chroma_inp+bicubic -pix_fmt nv12 -f rawvideo " +
              Quoted(folder / "out.nv12"));
    const std::vector<std::uint8_t> bytes = ReadBytes(folder / "out.nv12");
    constexpr auto c_uiLuma = static_cast<std::ptrdiff_t>(c_uiWidth * c_uiHeight);
    ASSERT_EQ(bytes.size(), c_uiLuma * 3 / 2);
    const Nv12 theirs{c_uiWidth, {bytes.begin(), bytes.begin() + c_uiLuma}, {bytes.begin() + c_uiLuma, bytes.end()}};
    for (std::uint32_t y = 0; y < c_uiHeight; ++y)
    {
        for (std::uint32_t x = 0; x < c_uiWidth; ++x)
        {
            ASSERT_NEAR(ours.Y(x, y), theirs.Y(x, y), 1) << x << " " << y;
            // At the edges of the squares ffmpeg's chroma is of more pixels than four.
            const bool bInside = x % 16 >= 6 && x % 16 < 10 && y % 16 >= 6 && y % 16 < 10;
            if (bInside)
            {
                ASSERT_NEAR(ours.Cb(x, y), theirs.Cb(x, y), 1) << x << " " << y;
                ASSERT_NEAR(ours.Cr(x, y), theirs.Cr(x, y), 1) << x << " " << y;
            }
        }
    }
}

TEST_F(AmfRuntime, PassesNv12OnAsItIs)
{
    Client client(64, 48);
    const Held<AMFSurface> pSurface = client.Upload(NaturalPicture(64, 48, 3));
    AMFComponent& converter = client.Converter();
    ASSERT_EQ(converter.Init(AMF_SURFACE_NV12, 64, 48), AMF_OK);
    ASSERT_EQ(converter.SubmitInput(pSurface.Get()), AMF_OK);
    Held<AMFData> pData;
    ASSERT_EQ(converter.QueryOutput(pData.Put()), AMF_OK);
    const Held<AMFSurface> pOutput = pData.As<AMFSurface>();
    EXPECT_NE(NativeOf(pOutput.Get()), NativeOf(pSurface.Get()));
    const Nv12 in = ReadSurface(pSurface.Get(), 64, 48);
    const Nv12 out = ReadSurface(pOutput.Get(), 64, 48);
    EXPECT_EQ(in.luma, out.luma);
    EXPECT_EQ(in.chroma, out.chroma);
}

TEST_F(AmfRuntime, TheConverterPassesOnTimesAndProperties)
{
    Client client(64, 48);
    ASSERT_EQ(client.Converter().Init(AMF_SURFACE_BGRA, 64, 48), AMF_OK);
    const Held<AMFSurface> pSurface = MakeSurface(&client.Context(), AMF_SURFACE_BGRA, 64, 48);
    pSurface->SetPts(77);
    pSurface->SetDuration(5);
    pSurface->SetProperty(L"Mine", Number(12));
    ASSERT_EQ(client.Converter().SubmitInput(pSurface.Get()), AMF_OK);
    Held<AMFData> pData;
    ASSERT_EQ(client.Converter().QueryOutput(pData.Put()), AMF_OK);
    EXPECT_EQ(pData->GetPts(), 77);
    EXPECT_EQ(pData->GetDuration(), 5);
    AMFVariantStruct value{};
    EXPECT_EQ(pData->GetProperty(L"Mine", &value), AMF_OK);
    EXPECT_EQ(value.int64Value, 12);
}
