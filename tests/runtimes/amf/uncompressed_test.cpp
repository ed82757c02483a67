// Encoders that don't compress: chosen by a script or by the process's environment, and what their clients see.
#include <cstdlib>

#include "client.h"
#include "support/ffmpeg.h"
#include "support/file_contents.h"
#include "support/temporary_folder.h"

namespace
{

constexpr amf_int32 c_nWidth = 70;
constexpr amf_int32 c_nHeight = 46;

Bytes Nv12Of(AMFSurface* pSurface)
{
    Bytes bytes;
    D3DLOCKED_RECT locked{};
    EXPECT_EQ(NativeOf(pSurface)->LockRect(&locked, nullptr, D3DLOCK_READONLY), D3D_OK);
    for (int y = 0; y < c_nHeight * 3 / 2; ++y)
    {
        const auto* const pRow = static_cast<const std::uint8_t*>(locked.pBits) + std::ptrdiff_t{y} * locked.Pitch;
        bytes.insert(bytes.end(), pRow, pRow + c_nWidth);
    }
    EXPECT_EQ(NativeOf(pSurface)->UnlockRect(), D3D_OK);
    return bytes;
}

bool IsX264Reported()
{
    RuntimeX264Settings settings{};
    Runtime::Get().pScript->GetX264Settings(&settings);
    return *settings.szPreset || *settings.szProfile || *settings.szOptions;
}

}  // namespace

TEST_F(AmfRuntime, UncompressedPicturesComeAtOnceAndAsTheyWentIn)
{
    m_script.EncodeUncompressed(1);
    Client client(c_nWidth, c_nHeight);
    // With x264 no buffer would come before the fourth picture.
    client.Set(AmfEncoderProperty::BPicturesPattern, Number(3));
    client.Set(AmfEncoderProperty::IDRPeriod, Number(5));
    client.Start();
    std::vector<Bytes> vWritten;
    constexpr std::size_t c_uiFrames = 12;
    for (std::size_t ui = 0; ui < c_uiFrames; ++ui)
    {
        client.Send(NaturalPicture(c_nWidth, c_nHeight, static_cast<int>(ui)),
                    [&](AMFSurface* pSurface) { vWritten.push_back(Nv12Of(pSurface)); });
    }
    client.Finish();
    EXPECT_FALSE(IsX264Reported());

    ASSERT_EQ(client.Buffers().size(), c_uiFrames);
    for (std::size_t ui = 0; ui < c_uiFrames; ++ui)
    {
        const TakenBuffer& buffer = client.Buffers()[ui];
        const bool bIdr = ui % 5 == 0;
        EXPECT_EQ(Units(buffer), bIdr ? "9 7 8 5" : "9 1") << ui;
        EXPECT_EQ(annexb::Split(buffer.bytes).front().unit, (Bytes{0x09, std::uint8_t(bIdr ? 0x10 : 0x30)})) << ui;
        EXPECT_EQ(buffer.nOutputType,
                  bIdr ? AMF_VIDEO_ENCODER_OUTPUT_DATA_TYPE_IDR : AMF_VIDEO_ENCODER_OUTPUT_DATA_TYPE_I);
        EXPECT_EQ(buffer.nStartTime, static_cast<std::int64_t>(ui));
    }
    // Main was asked for, which is what the encoder begins with.
    EXPECT_EQ(annexb::ReadSequenceHeader(annexb::Split(client.Buffers()[0].bytes).at(1)).nProfile, 100);
    const test_support::TemporaryFolder dir;
    test_support::WriteBytes(dir / "in.h264", client.Stream());
    const std::vector<Bytes> vDecoded = test_support::DecodePlain(
        dir / "in.h264", "-pix_fmt nv12", c_nWidth * c_nHeight * 3 / 2, test_support::Complaints::Warnings);
    ASSERT_EQ(vDecoded.size(), c_uiFrames);
    for (std::size_t ui = 0; ui < c_uiFrames; ++ui)
        EXPECT_TRUE(vDecoded[ui] == vWritten[ui]) << ui;
}

TEST_F(AmfRuntime, TheEnvironmentCanAskForUncompressedPictures)
{
    constexpr const char* c_pszVariable = "IMAGEFORMAT_MP4_ENCODER";
    const auto start = [] {
        Client client(c_nWidth, c_nHeight);
        client.Start();
    };
    ASSERT_EQ(setenv(c_pszVariable, "ipcm", 1), 0);
    start();
    EXPECT_FALSE(IsX264Reported());
    ASSERT_EQ(unsetenv(c_pszVariable), 0);
    start();
    EXPECT_TRUE(IsX264Reported());
}
