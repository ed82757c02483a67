// The settings that the runtime reports are those that it encodes with: ffmpeg's libx264, given the same, writes the
// same slices, bit for bit.
#include "ffmpeg_tool.h"
#include "ring_client.h"
#include "runtimes/common/colour.h"

namespace
{

constexpr std::uint32_t c_uiWidth = 192;
constexpr std::uint32_t c_uiHeight = 128;

std::vector<std::uint8_t> NaturalNv12(int nFrame)
{
    const BgrPicture picture = NaturalPicture(c_uiWidth, c_uiHeight, nFrame);
    FakeSurface surface(c_uiWidth, c_uiHeight);
    Paint(surface, picture);
    std::vector<std::uint8_t> bytes(c_uiWidth * c_uiHeight * 3 / 2);
    runtimes::ConvertBgraToNv12(
        surface.Row(0), surface.Pitch(), c_uiWidth, c_uiHeight,
        {bytes.data(), bytes.data() + std::size_t{c_uiWidth} * c_uiHeight, c_uiWidth, c_uiWidth});
    return bytes;
}

// All units but messages, without start codes.
std::vector<std::vector<std::uint8_t>> Units(const std::vector<std::uint8_t>& stream)
{
    std::vector<std::vector<std::uint8_t>> units;
    for (const annexb::Nal& nal : annexb::Split(stream))
    {
        if (nal.nType != annexb::Sei)
        {
            units.push_back(nal.unit);
        }
    }
    return units;
}

void ExpectSameAsPeer(const SessionSetup& setup)
{
    constexpr int c_nFrames = 9;
    const std::vector<std::uint8_t> ours = Join(EncodeNatural(setup, c_nFrames));
    NvencRuntimeX264Settings settings{};
    Runtime::Get().pScript->GetX264Settings(&settings);

    std::vector<std::uint8_t> pictures;
    for (int i = 0; i < c_nFrames; ++i)
    {
        const std::vector<std::uint8_t> picture = NaturalNv12(i);
        pictures.insert(pictures.end(), picture.begin(), picture.end());
    }
    std::string arguments = std::string("-preset ") + settings.szPreset;
    arguments += *settings.szProfile ? std::string(" -profile:v ") + settings.szProfile : "";
    arguments += std::string(" -x264-params ") + settings.szOptions;
    const std::vector<std::uint8_t> theirs = EncodeWithFfmpeg(pictures, c_uiWidth, c_uiHeight, arguments);
    EXPECT_EQ(Units(ours), Units(theirs)) << arguments;
}

}  // namespace

TEST_F(NvencRuntime, ReportsTheSettingsOfConstantQuantisers)
{
    SessionSetup setup(c_uiWidth, c_uiHeight);
    setup.config.rcParams.constQP = {24, 28, 21};
    ExpectSameAsPeer(setup);
}

TEST_F(NvencRuntime, ReportsTheSettingsOfBPicturesAndABitRate)
{
    SessionSetup setup(c_uiWidth, c_uiHeight, NV_ENC_PRESET_HQ_GUID);
    setup.config.profileGUID = NV_ENC_H264_PROFILE_HIGH_GUID;
    setup.config.rcParams.rateControlMode = NV_ENC_PARAMS_RC_VBR;
    setup.config.rcParams.averageBitRate = 800000;
    setup.config.rcParams.maxBitRate = 1200000;
    ExpectSameAsPeer(setup);
}

TEST_F(NvencRuntime, ReportsTheSettingsOfSlicesAndBaseline)
{
    SessionSetup setup(c_uiWidth, c_uiHeight, NV_ENC_PRESET_LOW_LATENCY_HP_GUID);
    setup.config.profileGUID = NV_ENC_H264_PROFILE_BASELINE_GUID;
    setup.H264().sliceMode = 3;
    setup.H264().sliceModeData = 2;
    ExpectSameAsPeer(setup);
}
