// What the encoder's buffers are made of.
#include <cmath>

#include "client.h"
#include "ffmpeg_tool.h"

namespace
{

constexpr amf_int32 c_nWidth = 176;
constexpr amf_int32 c_nHeight = 144;

BgrPicture Picture(int nFrame)
{
    return NaturalPicture(c_nWidth, c_nHeight, nFrame);
}

// The kinds of slices, in their order.
std::vector<annexb::SliceKind> SliceKinds(const std::vector<std::uint8_t>& bytes)
{
    std::vector<annexb::SliceKind> kinds;
    for (const annexb::Nal& nal : annexb::Split(bytes))
    {
        if (nal.nType == annexb::Slice || nal.nType == annexb::IdrSlice)
        {
            kinds.push_back(annexb::ReadSliceHeader(nal).eKind);
        }
    }
    return kinds;
}

annexb::SequenceHeader HeaderOf(const Client& client)
{
    return annexb::ReadSequenceHeader(annexb::Split(client.Buffers().at(0).bytes).at(1));
}

double Kilobits(const Client& client, int nFrames)
{
    return static_cast<double>(client.Stream().size()) * 8 / 1000 / (nFrames / 30.0);
}

}  // namespace

TEST_F(AmfRuntime, EveryBufferIsOnePictureThatBeginsWithADelimiter)
{
    Client client(c_nWidth, c_nHeight);
    client.Start();
    for (int i = 0; i < 8; ++i)
    {
        client.Send(Picture(i));
    }
    client.Finish();
    ASSERT_EQ(client.Buffers().size(), 8u);
    for (std::size_t ui = 0; ui < 8; ++ui)
    {
        const TakenBuffer& buffer = client.Buffers()[ui];
        EXPECT_EQ(Units(buffer), ui == 0 ? "9 7 8 5" : "9 1");
        const std::vector<std::uint8_t> head(buffer.bytes.begin(), buffer.bytes.begin() + 6);
        EXPECT_EQ(head, (std::vector<std::uint8_t>{0, 0, 0, 1, 9, static_cast<std::uint8_t>(ui == 0 ? 0x10 : 0x30)}));
        EXPECT_EQ(buffer.nStartTime, static_cast<std::int64_t>(ui));
        EXPECT_EQ(buffer.nOutputType,
                  ui == 0 ? AMF_VIDEO_ENCODER_OUTPUT_DATA_TYPE_IDR : AMF_VIDEO_ENCODER_OUTPUT_DATA_TYPE_P);
        for (const annexb::Nal& nal : annexb::Split(buffer.bytes))
        {
            EXPECT_EQ(nal.uiStartCode, 4u);
        }
    }
}

TEST_F(AmfRuntime, AnIdrPictureComesEverySixtyAndThereAreNoBPictures)
{
    Client client(64, 48);
    client.Start();
    for (int i = 0; i < 125; ++i)
    {
        client.Send(NaturalPicture(64, 48, i));
    }
    client.Finish();
    ASSERT_EQ(client.Buffers().size(), 125u);
    for (std::size_t ui = 0; ui < 125; ++ui)
    {
        const bool bIdr = ui % 60 == 0;
        EXPECT_EQ(Units(client.Buffers()[ui]), bIdr ? "9 7 8 5" : "9 1") << ui;
        EXPECT_EQ(client.Buffers()[ui].bytes[5], bIdr ? 0x10 : 0x30) << ui;
        EXPECT_EQ(client.Buffers()[ui].nStartTime, static_cast<std::int64_t>(ui));
        EXPECT_EQ(SliceKinds(client.Buffers()[ui].bytes),
                  std::vector{bIdr ? annexb::SliceKind::I : annexb::SliceKind::P});
    }
}

TEST_F(AmfRuntime, APeriodOfZeroGivesOneIdrPicture)
{
    Client client(64, 48);
    client.Set(AmfEncoderProperty::IDRPeriod, Number(0));
    client.Start();
    for (int i = 0; i < 65; ++i)
    {
        client.Send(NaturalPicture(64, 48, i));
    }
    client.Finish();
    for (std::size_t ui = 0; ui < 65; ++ui)
    {
        EXPECT_EQ(Units(client.Buffers().at(ui)), ui == 0 ? "9 7 8 5" : "9 1");
    }
}

TEST_F(AmfRuntime, ASurfaceMayAskForItsKindOfPicture)
{
    Client client(c_nWidth, c_nHeight);
    client.Set(AmfEncoderProperty::IDRPeriod, Number(3));
    client.Start();
    const auto force = [&](AMF_VIDEO_ENCODER_PICTURE_TYPE_ENUM eType) {
        return
            [eType](AMFSurface* pSurface) { pSurface->SetProperty(AmfEncoderInput::ForcePictureType, Number(eType)); };
    };
    client.Send(Picture(0));
    client.Send(Picture(1), force(AMF_VIDEO_ENCODER_PICTURE_TYPE_I));
    client.Send(Picture(2), force(AMF_VIDEO_ENCODER_PICTURE_TYPE_IDR));
    client.Send(Picture(3),
                [](AMFSurface* pSurface) { pSurface->SetProperty(AmfEncoderInput::InsertSPS, Flag(true)); });
    client.Send(Picture(4));
    client.Send(Picture(5));
    const Held<AMFSurface> pSurface = client.Upload(Picture(6));
    pSurface->SetProperty(AmfEncoderInput::ForcePictureType, Number(AMF_VIDEO_ENCODER_PICTURE_TYPE_SKIP));
    EXPECT_EQ(client.Submit(pSurface.Get()), AMF_NOT_SUPPORTED);
    client.Finish();
    std::string units;
    for (const TakenBuffer& buffer : client.Buffers())
    {
        units += Units(buffer) + "/";
    }
    // The third begins a period of three.
    EXPECT_EQ(units, "9 7 8 5/9 1/9 7 8 5/9 7 8 1/9 1/9 7 8 5/");
    EXPECT_EQ(client.Buffers()[1].nOutputType, AMF_VIDEO_ENCODER_OUTPUT_DATA_TYPE_I);
    EXPECT_EQ(SliceKinds(client.Buffers()[1].bytes), std::vector{annexb::SliceKind::I});
    // Only an IDR picture has the delimiter of one.
    EXPECT_EQ(client.Buffers()[1].bytes[5], 0x30);
    EXPECT_EQ(DecodeWithFfmpeg(client.Stream(), c_nWidth, c_nHeight).size(), 6u);
}

TEST_F(AmfRuntime, BPicturesComeWhenTheyAreAskedFor)
{
    Client client(c_nWidth, c_nHeight);
    client.Set(AmfEncoderProperty::BPicturesPattern, Number(2));
    client.Start();
    constexpr int c_nFrames = 12;
    for (int i = 0; i < c_nFrames; ++i)
    {
        client.Send(Picture(i));
    }
    client.Finish();
    ASSERT_EQ(client.Buffers().size(), std::size_t{c_nFrames});
    int nB = 0;
    for (const TakenBuffer& buffer : client.Buffers())
    {
        nB += buffer.nOutputType == AMF_VIDEO_ENCODER_OUTPUT_DATA_TYPE_B ? 1 : 0;
    }
    EXPECT_GE(nB, 6);
    const std::vector<BgrPicture> shown = DecodeWithFfmpeg(client.Stream(), c_nWidth, c_nHeight);
    ASSERT_EQ(shown.size(), std::size_t{c_nFrames});
    for (int i = 0; i < c_nFrames; ++i)
    {
        EXPECT_GT(Psnr(Picture(i), shown[static_cast<std::size_t>(i)]), 26) << i;
    }
}

TEST_F(AmfRuntime, FfmpegDecodesEveryPictureAndItIsTheOneThatWasSent)
{
    Client client(c_nWidth, c_nHeight);
    client.Set(AmfEncoderProperty::TargetBitrate, Number(2000000));
    client.Start();
    constexpr int c_nFrames = 70;
    for (int i = 0; i < c_nFrames; ++i)
    {
        client.Send(Picture(i));
    }
    client.Finish();
    const std::vector<BgrPicture> shown = DecodeWithFfmpeg(client.Stream(), c_nWidth, c_nHeight);
    ASSERT_EQ(shown.size(), std::size_t{c_nFrames});
    for (int i = 0; i < c_nFrames; ++i)
    {
        const double dPsnr = Psnr(Picture(i), shown[static_cast<std::size_t>(i)]);
        EXPECT_GT(dPsnr, 30) << i;
        // Neighbours are further away than that.
        EXPECT_LT(Psnr(Picture(i + 1), shown[static_cast<std::size_t>(i)]), dPsnr - 3) << i;
    }
}

TEST_F(AmfRuntime, TheBitRateIsFollowedWithinATenth)
{
    for (const int nKilobits : {400, 1000})
    {
        Client client(c_nWidth, c_nHeight);
        client.Set(AmfEncoderProperty::TargetBitrate, Number(nKilobits * 1000));
        client.Start();
        constexpr int c_nFrames = 150;
        for (int i = 0; i < c_nFrames; ++i)
        {
            client.Send(Picture(i));
        }
        client.Finish();
        EXPECT_NEAR(Kilobits(client, c_nFrames), nKilobits, nKilobits / 10.0);
    }
}

TEST_F(AmfRuntime, ATinyBitRateAndATinyPictureAreEncoded)
{
    Client client(2, 2);
    client.Set(AmfEncoderProperty::TargetBitrate, Number(38));
    client.Start();
    for (int i = 0; i < 3; ++i)
    {
        client.Send(NaturalPicture(2, 2, i));
    }
    client.Finish();
    ASSERT_EQ(client.Buffers().size(), 3u);
    EXPECT_EQ(DecodeWithFfmpeg(client.Stream(), 2, 2).size(), 3u);
}

TEST_F(AmfRuntime, TheHeaderHoldsSizeRateAndProfile)
{
    Client client(182, 130);
    client.Start();
    client.Send(NaturalPicture(182, 130, 0));
    client.Finish();
    const annexb::SequenceHeader header = HeaderOf(client);
    EXPECT_EQ(header.nProfile, 77);
    EXPECT_EQ(header.uiWidth, 182u);
    EXPECT_EQ(header.uiHeight, 130u);
    ASSERT_TRUE(header.bTiming);
    EXPECT_EQ(header.uiTimeScale, 2 * 30 * header.uiUnitsInTick);
    EXPECT_EQ(header.nFullRange, 0);
}

TEST_F(AmfRuntime, ProfileAndLevelAreThoseAskedFor)
{
    for (const int nProfile : {66, 77, 100})
    {
        Client client(c_nWidth, c_nHeight);
        client.Set(AmfEncoderProperty::Profile, Number(nProfile));
        client.Set(AmfEncoderProperty::ProfileLevel, Number(41));
        client.Start();
        client.Send(Picture(0));
        client.Finish();
        EXPECT_EQ(HeaderOf(client).nProfile, nProfile);
        EXPECT_EQ(HeaderOf(client).nLevel, 41);
    }
}

TEST_F(AmfRuntime, ExtraDataIsTheParameterSetsOfTheStream)
{
    Client client(c_nWidth, c_nHeight);
    client.Start();
    AMFVariantStruct value{};
    ASSERT_EQ(client.Encoder().GetProperty(AmfEncoderProperty::ExtraData, &value), AMF_OK);
    ASSERT_EQ(value.type, AMF_VARIANT_INTERFACE);
    const Held<AMFInterface> pObject(value.pInterface);
    const Held<AMFBuffer> pBuffer = pObject.As<AMFBuffer>();
    ASSERT_TRUE(pBuffer);
    client.Send(Picture(0));
    client.Finish();
    const auto* const pBytes = static_cast<const std::uint8_t*>(pBuffer->GetNative());
    const auto size = static_cast<std::ptrdiff_t>(pBuffer->GetSize());
    const std::vector<std::uint8_t>& first = client.Buffers()[0].bytes;
    ASSERT_GT(static_cast<std::ptrdiff_t>(first.size()), 6 + size);
    EXPECT_TRUE(std::equal(pBytes, pBytes + size, first.begin() + 6));
}

TEST_F(AmfRuntime, ABufferHasTheTimesAndTheClientsPropertiesOfItsPicture)
{
    Client client(c_nWidth, c_nHeight);
    client.Start();
    for (int i = 0; i < 3; ++i)
    {
        client.Send(Picture(i), [&](AMFSurface* pSurface) {
            pSurface->SetPts(1000 + i);
            pSurface->SetDuration(20 + i);
            pSurface->SetProperty(L"StartTimeProperty", Number(123456789012345 + i));
            pSurface->SetProperty(AmfEncoderInput::InsertAUD, Flag(true));
        });
    }
    EXPECT_EQ(client.Encoder().Drain(), AMF_OK);
    for (int i = 0; i < 3; ++i)
    {
        Held<AMFData> pData;
        ASSERT_EQ(client.Encoder().QueryOutput(pData.Put()), AMF_OK);
        EXPECT_EQ(pData->GetDataType(), AMF_DATA_BUFFER);
        EXPECT_EQ(pData->GetMemoryType(), AMF_MEMORY_HOST);
        EXPECT_EQ(pData->GetPts(), 1000 + i);
        EXPECT_EQ(pData->GetDuration(), 20 + i);
        AMFVariantStruct value{};
        EXPECT_EQ(pData->GetProperty(L"StartTimeProperty", &value), AMF_OK);
        EXPECT_EQ(value.int64Value, 123456789012345 + i);
        EXPECT_FALSE(pData->HasProperty(AmfEncoderInput::InsertAUD));
    }
}

TEST_F(AmfRuntime, BgraGoesIntoAnEncoderThatWasInitialisedForIt)
{
    Client client(c_nWidth, c_nHeight);
    client.Set(AmfEncoderProperty::TargetBitrate, Number(2000000));
    ASSERT_EQ(client.Encoder().Init(AMF_SURFACE_BGRA, c_nWidth, c_nHeight), AMF_OK);
    const Held<AMFSurface> pSurface = MakeSurface(&client.Context(), AMF_SURFACE_BGRA, c_nWidth, c_nHeight);
    PaintSurface(pSurface.Get(), Picture(0));
    ASSERT_EQ(client.Submit(pSurface.Get()), AMF_OK);
    // The picture was read already.
    PaintSurface(pSurface.Get(), Picture(40));
    client.Finish();
    const std::vector<BgrPicture> shown = DecodeWithFfmpeg(client.Stream(), c_nWidth, c_nHeight);
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_GT(Psnr(Picture(0), shown[0]), 30);
}
