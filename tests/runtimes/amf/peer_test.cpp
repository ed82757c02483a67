// The settings that the runtime reports are those that it encodes with: ffmpeg's libx264, given the same, writes the
// same slices, bit for bit.
#include "client.h"
#include "ffmpeg_tool.h"

namespace
{

constexpr amf_int32 c_nWidth = 192;
constexpr amf_int32 c_nHeight = 128;

// All units but messages, without start codes.
std::vector<std::vector<std::uint8_t>> UnitsWithoutMessages(const std::vector<std::uint8_t>& stream)
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

void AppendNv12(AMFSurface* pSurface, std::vector<std::uint8_t>& bytes)
{
    D3DLOCKED_RECT locked{};
    ASSERT_EQ(NativeOf(pSurface)->LockRect(&locked, nullptr, D3DLOCK_READONLY), D3D_OK);
    for (int y = 0; y < c_nHeight * 3 / 2; ++y)
    {
        const auto* const pRow = static_cast<const std::uint8_t*>(locked.pBits) + std::ptrdiff_t{y} * locked.Pitch;
        bytes.insert(bytes.end(), pRow, pRow + c_nWidth);
    }
    ASSERT_EQ(NativeOf(pSurface)->UnlockRect(), D3D_OK);
}

void ExpectSameAsPeer(Client& client)
{
    client.Start();
    std::vector<std::uint8_t> pictures;
    for (int i = 0; i < 9; ++i)
    {
        client.Send(NaturalPicture(c_nWidth, c_nHeight, i),
                    [&](AMFSurface* pSurface) { AppendNv12(pSurface, pictures); });
    }
    client.Finish();
    RuntimeX264Settings settings{};
    Runtime::Get().pScript->GetX264Settings(&settings);
    const std::string arguments = std::string("-preset ") + settings.szPreset + " -profile:v " + settings.szProfile +
                                  " -x264-params " + settings.szOptions;
    const std::vector<std::uint8_t> theirs = EncodeWithFfmpeg(pictures, c_nWidth, c_nHeight, arguments);
    EXPECT_EQ(UnitsWithoutMessages(client.Stream()), UnitsWithoutMessages(theirs)) << arguments;
}

}  // namespace

TEST_F(AmfRuntime, ReportsTheSettingsOfABitRate)
{
    Client client(c_nWidth, c_nHeight);
    ExpectSameAsPeer(client);
}

TEST_F(AmfRuntime, ReportsTheSettingsOfConstantQuantisersInHighProfile)
{
    using namespace AmfEncoderProperty;
    Client client(c_nWidth, c_nHeight);
    client.Set(Profile, Number(AMF_VIDEO_ENCODER_PROFILE_HIGH));
    client.Set(QualityPreset, Number(AMF_VIDEO_ENCODER_QUALITY_PRESET_QUALITY));
    client.Set(RateControlMethod, Number(AMF_VIDEO_ENCODER_RATE_CONTROL_METHOD_CONSTANT_QP));
    client.Set(QPI, Number(24));
    client.Set(QPP, Number(28));
    ExpectSameAsPeer(client);
}
