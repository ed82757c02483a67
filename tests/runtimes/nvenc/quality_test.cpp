// What comes out of a decoder that isn't ours.
#include "ffmpeg_tool.h"
#include "ring_client.h"

namespace
{

constexpr std::uint32_t c_uiWidth = 320;
constexpr std::uint32_t c_uiHeight = 240;

// Each picture that was sent is the one that is shown at its place.
void ExpectShown(const std::vector<std::uint8_t>& stream, std::uint32_t uiWidth, std::uint32_t uiHeight, int nFrames,
                 double dLeast)
{
    const std::vector<BgrPicture> shown = DecodeWithFfmpeg(stream, uiWidth, uiHeight);
    ASSERT_EQ(shown.size(), static_cast<std::size_t>(nFrames));
    for (int i = 0; i < nFrames; ++i)
    {
        const BgrPicture& picture = shown[static_cast<std::size_t>(i)];
        EXPECT_GT(Psnr(NaturalPicture(uiWidth, uiHeight, i), picture), dLeast) << "picture " << i;
        // Its neighbours in time are farther from it, or the comparison says nothing about order.
        EXPECT_LT(Psnr(NaturalPicture(uiWidth, uiHeight, i + 1), picture), dLeast - 5) << "picture " << i;
    }
}

void UseQuantisers(SessionSetup& setup, std::uint32_t uiP, std::uint32_t uiB, std::uint32_t uiI)
{
    setup.config.rcParams.constQP = {uiP, uiB, uiI};
}

}  // namespace

TEST_F(NvencRuntime, NaturalContentKeepsThirtyFiveDecibelsAtFineQuantisers)
{
    SessionSetup setup(c_uiWidth, c_uiHeight);
    UseQuantisers(setup, 24, 28, 21);
    const std::vector<ReadPacket> packets = EncodeNatural(setup, 12);
    ExpectShown(Join(packets), c_uiWidth, c_uiHeight, 12, 35);
    EXPECT_EQ(packets[0].record.frameAvgQP, 21u);
    EXPECT_EQ(packets[1].record.frameAvgQP, 24u);
}

TEST_F(NvencRuntime, BPicturesAreShownInTheOrderTheyWereSentIn)
{
    SessionSetup setup(c_uiWidth, c_uiHeight);
    UseQuantisers(setup, 24, 28, 21);
    setup.config.frameIntervalP = 3;
    ExpectShown(Join(EncodeNatural(setup, 14)), c_uiWidth, c_uiHeight, 14, 35);
}

TEST_F(NvencRuntime, SizesThatAreNoMultipleOfSixteenKeepTheirEdges)
{
    SessionSetup setup(182, 134);
    UseQuantisers(setup, 24, 28, 21);
    ExpectShown(Join(EncodeNatural(setup, 3)), 182, 134, 3, 35);
}

TEST_F(NvencRuntime, EveryPresetDecodes)
{
    for (const GUID& preset :
         {NV_ENC_PRESET_DEFAULT_GUID, NV_ENC_PRESET_HP_GUID, NV_ENC_PRESET_HQ_GUID, NV_ENC_PRESET_BD_GUID,
          NV_ENC_PRESET_LOW_LATENCY_DEFAULT_GUID, NV_ENC_PRESET_LOW_LATENCY_HP_GUID})
    {
        SessionSetup setup(c_uiWidth, c_uiHeight, preset);
        UseQuantisers(setup, 24, 28, 21);
        ExpectShown(Join(EncodeNatural(setup, 5)), c_uiWidth, c_uiHeight, 5, 35);
    }
}

TEST_F(NvencRuntime, AFinerQuantiserIsNearerAndLonger)
{
    SessionSetup setup(c_uiWidth, c_uiHeight);
    UseQuantisers(setup, 34, 34, 34);
    const std::vector<std::uint8_t> coarse = Join(EncodeNatural(setup, 3));
    UseQuantisers(setup, 18, 18, 18);
    const std::vector<std::uint8_t> fine = Join(EncodeNatural(setup, 3));
    EXPECT_GT(fine.size(), 2 * coarse.size());
    const BgrPicture original = NaturalPicture(c_uiWidth, c_uiHeight, 2);
    EXPECT_GT(Psnr(original, DecodeWithFfmpeg(fine, c_uiWidth, c_uiHeight).at(2)),
              Psnr(original, DecodeWithFfmpeg(coarse, c_uiWidth, c_uiHeight).at(2)) + 3);
}

TEST_F(NvencRuntime, AQuantiserOfZeroIsntLosslessCodingUnlessThatIsAskedFor)
{
    SessionSetup setup(c_uiWidth, c_uiHeight);
    UseQuantisers(setup, 0, 0, 0);
    const std::vector<ReadPacket> packets = EncodeNatural(setup, 2);
    const annexb::SequenceHeader header = annexb::ReadSequenceHeader(annexb::Split(packets[0].bytes).at(0));
    EXPECT_EQ(header.nProfile, 100);
    EXPECT_FALSE(header.bLossless);
    EXPECT_EQ(packets[0].record.frameAvgQP, 0u);
    EXPECT_EQ(packets[1].record.frameAvgQP, 1u);
    EXPECT_EQ(DecodeWithFfmpeg(Join(packets), c_uiWidth, c_uiHeight).size(), 2u);
}

TEST_F(NvencRuntime, LosslessCodingLosesNothingOfNv12)
{
    for (const GUID& preset : {NV_ENC_PRESET_LOSSLESS_DEFAULT_GUID, NV_ENC_PRESET_LOSSLESS_HP_GUID})
    {
        SessionSetup setup(64, 48, preset);
        RingClient client(setup, 4, NV_ENC_BUFFER_FORMAT_NV12);
        FakeSurface grey(64, 48, FakeSurface::Nv12());
        std::vector<int> levels;
        for (int i = 0; i < 6; ++i)
        {
            // Greys only, which any decoder shows as what they were.
            FakeSurface& surface = client.NextSurface();
            for (std::uint32_t y = 0; y < 48; ++y)
            {
                for (std::uint32_t x = 0; x < 64; ++x)
                {
                    surface.Row(y)[x] =
                        static_cast<std::uint8_t>(16 + (x * 7 + y * 31 + static_cast<unsigned>(i) * 13) % 220);
                }
                std::fill_n(surface.Row(48 + y / 2), 64, std::uint8_t{128});
            }
            client.Send();
        }
        client.Finish();
        const std::vector<std::uint8_t> stream = client.Stream();
        EXPECT_TRUE(annexb::ReadSequenceHeader(annexb::Split(stream).at(0)).bLossless);
        const std::vector<BgrPicture> shown = DecodeWithFfmpeg(stream, 64, 48);
        ASSERT_EQ(shown.size(), 6u);
        for (unsigned i = 0; i < 6; ++i)
        {
            for (std::uint32_t y = 0; y < 48; ++y)
            {
                for (std::uint32_t x = 0; x < 64; ++x)
                {
                    const double dLuma = (x * 7 + y * 31 + i * 13) % 220;
                    ASSERT_NEAR(shown[i].bytes[(y * 64 + x) * 3], dLuma * 255 / 219, 1.0) << x << ", " << y;
                }
            }
        }
    }
}

TEST_F(NvencRuntime, Nv12AndBgraSurfacesOfOnePictureAreAlike)
{
    SessionSetup setup(c_uiWidth, c_uiHeight);
    UseQuantisers(setup, 20, 20, 20);
    RingClient client(setup, 4, NV_ENC_BUFFER_FORMAT_NV12);
    // The picture as NV12, from the definition in floating point.
    const BgrPicture original = NaturalPicture(c_uiWidth, c_uiHeight, 0);
    FakeSurface& surface = client.NextSurface();
    const auto pixel = [&](std::uint32_t x, std::uint32_t y, int nChannel) {
        return original.bytes[(std::size_t{y} * c_uiWidth + x) * 3 + static_cast<std::size_t>(nChannel)] / 255.0;
    };
    for (std::uint32_t y = 0; y < c_uiHeight; ++y)
    {
        for (std::uint32_t x = 0; x < c_uiWidth; ++x)
        {
            surface.Row(y)[x] = static_cast<std::uint8_t>(16.5 + 24.966 * pixel(x, y, 0) + 128.553 * pixel(x, y, 1) +
                                                          65.481 * pixel(x, y, 2));
            if (x % 2 == 0 && y % 2 == 0)
            {
                std::uint8_t* pChroma = surface.Row(c_uiHeight + y / 2) + x;
                pChroma[0] = static_cast<std::uint8_t>(128.5 + 112 * pixel(x, y, 0) - 74.203 * pixel(x, y, 1) -
                                                       37.797 * pixel(x, y, 2));
                pChroma[1] = static_cast<std::uint8_t>(128.5 - 18.214 * pixel(x, y, 0) - 93.786 * pixel(x, y, 1) +
                                                       112 * pixel(x, y, 2));
            }
        }
    }
    client.Send();
    client.Finish();
    const BgrPicture fromNv12 = DecodeWithFfmpeg(client.Stream(), c_uiWidth, c_uiHeight).at(0);
    const BgrPicture fromBgra = DecodeWithFfmpeg(Join(EncodeNatural(setup, 1)), c_uiWidth, c_uiHeight).at(0);
    EXPECT_GT(Psnr(original, fromNv12), 35);
    EXPECT_GT(Psnr(fromBgra, fromNv12), 40);
}

TEST_F(NvencRuntime, BitRatesAreKept)
{
    for (const NV_ENC_PARAMS_RC_MODE eMode : {NV_ENC_PARAMS_RC_VBR, NV_ENC_PARAMS_RC_CBR})
    {
        SessionSetup setup(c_uiWidth, c_uiHeight);
        setup.config.rcParams.rateControlMode = eMode;
        setup.config.rcParams.averageBitRate = 600000;
        setup.config.rcParams.maxBitRate = 900000;
        const std::vector<ReadPacket> packets = EncodeNatural(setup, 150);
        // Five seconds' worth.
        const double dBitRate = static_cast<double>(Join(packets).size()) * 8 / 5;
        EXPECT_GT(dBitRate, 450000) << eMode;
        EXPECT_LT(dBitRate, 750000) << eMode;
        EXPECT_EQ(packets[0].record.frameAvgQP, 0u);
    }
}

TEST_F(NvencRuntime, TheSameInputGivesTheSameBytes)
{
    for (const bool bAsync : {false, true})
    {
        SessionSetup setup(c_uiWidth, c_uiHeight);
        setup.config.frameIntervalP = bAsync ? 1 : 2;
        setup.params.enableEncodeAsync = bAsync ? 1 : 0;
        EXPECT_EQ(Join(EncodeNatural(setup, 12)), Join(EncodeNatural(setup, 12)));
    }
}
