// Sessions whose encoder doesn't compress: chosen by a script or by the process's environment, and what their callers
// see.
#include <cstdlib>

#include "nv12_bytes.h"
#include "ring_client.h"
#include "support/ffmpeg.h"
#include "support/file_contents.h"
#include "support/temporary_folder.h"

namespace
{

constexpr std::uint32_t c_uiWidth = 70;
constexpr std::uint32_t c_uiHeight = 46;

// As the runtime converts it.
Bytes NaturalNv12(int nFrame)
{
    FakeSurface surface(c_uiWidth, c_uiHeight);
    Paint(surface, NaturalPicture(c_uiWidth, c_uiHeight, nFrame));
    Nv12Bytes nv12(c_uiWidth, c_uiHeight);
    runtimes::ConvertBgraToNv12(surface.Row(0), surface.Pitch(), c_uiWidth, c_uiHeight, nv12.View());
    return nv12.bytes;
}

bool IsX264Reported()
{
    NvencRuntimeX264Settings settings{};
    Runtime::Get().pScript->GetX264Settings(&settings);
    return *settings.szPreset || *settings.szProfile || *settings.szOptions;
}

}  // namespace

// B pictures and look-ahead are asked for, and a ring of two slots: with x264 the first pictures would get no packet.
TEST_F(NvencRuntime, UncompressedPicturesComeAtOnceAndAsTheyWentIn)
{
    m_script.EncodeUncompressed(1);
    SessionSetup setup(c_uiWidth, c_uiHeight, NV_ENC_PRESET_HQ_GUID);
    setup.config.gopLength = 4;
    setup.H264().idrPeriod = 8;
    setup.config.rcParams.enableLookahead = 1;
    setup.config.rcParams.lookaheadDepth = 8;
    RingClient client(setup, 2);
    constexpr int c_nFrames = 12;
    for (int i = 0; i < c_nFrames; ++i)
    {
        Paint(client.NextSurface(), NaturalPicture(c_uiWidth, c_uiHeight, i));
        EXPECT_EQ(client.Send(), NV_ENC_SUCCESS) << i;
    }
    client.Finish();
    EXPECT_FALSE(IsX264Reported());

    ASSERT_EQ(client.Packets().size(), static_cast<std::size_t>(c_nFrames));
    for (std::uint32_t ui = 0; ui < c_nFrames; ++ui)
    {
        const ReadPacket& packet = client.Packets()[ui];
        EXPECT_EQ(packet.record.pictureType, ui % 8 == 0 ? NV_ENC_PIC_TYPE_IDR : NV_ENC_PIC_TYPE_I) << ui;
        EXPECT_EQ(annexb::Types(annexb::Split(packet.bytes)), ui % 8 == 0 ? "7 8 5" : "1") << ui;
        EXPECT_EQ(packet.record.frameIdx, ui);
        EXPECT_EQ(packet.record.numSlices, 1u);
    }
    const test_support::TemporaryFolder dir;
    test_support::WriteBytes(dir / "in.h264", client.Stream());
    const std::vector<Bytes> vDecoded = test_support::DecodePlain(
        dir / "in.h264", "-pix_fmt nv12", c_uiWidth * c_uiHeight * 3 / 2, test_support::Complaints::Warnings);
    ASSERT_EQ(vDecoded.size(), static_cast<std::size_t>(c_nFrames));
    for (int i = 0; i < c_nFrames; ++i)
        EXPECT_TRUE(vDecoded[static_cast<std::size_t>(i)] == NaturalNv12(i)) << i;
}

// It says High whatever was asked for, since that is what its reader delivers.
TEST_F(NvencRuntime, UncompressedStreamsAreHigh)
{
    m_script.EncodeUncompressed(1);
    SessionSetup setup(c_uiWidth, c_uiHeight);
    setup.config.profileGUID = NV_ENC_H264_PROFILE_BASELINE_GUID;
    setup.H264().level = NV_ENC_LEVEL_H264_41;
    setup.H264().outputAUD = 1;
    const std::vector<annexb::Nal> nals = annexb::Split(Join(EncodeNatural(setup, 2)));
    EXPECT_EQ(annexb::Types(nals), "9 7 8 5 9 1");
    const annexb::SequenceHeader header = annexb::ReadSequenceHeader(nals.at(1));
    EXPECT_EQ(header.nProfile, 100);
    EXPECT_EQ(header.nLevel, 41);
    EXPECT_EQ(header.uiWidth, c_uiWidth);
    EXPECT_EQ(header.uiHeight, c_uiHeight);
}

TEST_F(NvencRuntime, AStreamAfterAnEndIsUncompressedToo)
{
    m_script.EncodeUncompressed(1);
    SmallSession session;
    m_script.Reset();
    for (int n = 0; n < 2; ++n)
    {
        ASSERT_EQ(session.Encode(session.Picture()), NV_ENC_SUCCESS);
        auto record = MakeRecord<NV_ENC_LOCK_BITSTREAM>(NV_ENC_LOCK_BITSTREAM_VER);
        ASSERT_EQ(session.Lock(session.pBuffer, &record), NV_ENC_SUCCESS);
        EXPECT_GT(record.bitstreamSizeInBytes, 12u * 384);
        EXPECT_EQ(record.pictureType, NV_ENC_PIC_TYPE_IDR);
        EXPECT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);
        EXPECT_EQ(session.EndStream(), NV_ENC_SUCCESS);
    }
}

TEST_F(NvencRuntime, TheEnvironmentCanAskForUncompressedPictures)
{
    constexpr const char* c_pszVariable = "IMAGEFORMAT_MP4_ENCODER";
    SessionSetup setup(c_uiWidth, c_uiHeight);
    ASSERT_EQ(setenv(c_pszVariable, "ipcm", 1), 0);
    EncodeNatural(setup, 1);
    EXPECT_FALSE(IsX264Reported());
    ASSERT_EQ(setenv(c_pszVariable, "x264", 1), 0);
    EncodeNatural(setup, 1);
    EXPECT_TRUE(IsX264Reported());
    ASSERT_EQ(unsetenv(c_pszVariable), 0);
    EncodeNatural(setup, 1);
    EXPECT_TRUE(IsX264Reported());
}
