// What the packets are made of.
#include "ring_client.h"

namespace
{

constexpr std::uint32_t c_uiWidth = 176;
constexpr std::uint32_t c_uiHeight = 144;

std::vector<annexb::Nal> Nals(const ReadPacket& packet)
{
    return annexb::Split(packet.bytes);
}

std::string Types(const ReadPacket& packet)
{
    return annexb::Types(Nals(packet));
}

annexb::SequenceHeader HeaderOf(const SessionSetup& setup)
{
    return annexb::ReadSequenceHeader(Nals(EncodeNatural(setup, 1).at(0)).at(0));
}

}  // namespace

TEST_F(NvencRuntime, AnIdrPacketIsParameterSetsAndASlice)
{
    const std::vector<ReadPacket> packets = EncodeNatural(SessionSetup(c_uiWidth, c_uiHeight), 5);
    ASSERT_EQ(packets.size(), 5u);
    EXPECT_EQ(Types(packets[0]), "7 8 5");
    for (std::size_t i = 1; i < packets.size(); ++i)
    {
        EXPECT_EQ(Types(packets[i]), "1");
        EXPECT_EQ(packets[i].record.pictureType, NV_ENC_PIC_TYPE_P);
    }
    EXPECT_EQ(packets[0].record.pictureType, NV_ENC_PIC_TYPE_IDR);
}

TEST_F(NvencRuntime, EveryStartCodeHasFourBytesAndNothingFollowsTheLastUnit)
{
    SessionSetup setup(c_uiWidth, c_uiHeight);
    setup.H264().sliceMode = 3;
    setup.H264().sliceModeData = 3;
    setup.H264().outputAUD = 1;
    for (const ReadPacket& packet : EncodeNatural(setup, 4))
    {
        for (const annexb::Nal& nal : Nals(packet))
        {
            EXPECT_EQ(nal.uiStartCode, 4u);
            EXPECT_NE(nal.unit.back(), 0);
        }
    }
}

TEST_F(NvencRuntime, TheHeaderHoldsSizeAndFrameRate)
{
    SessionSetup setup(182, 130);
    setup.params.frameRateNum = 30000;
    setup.params.frameRateDen = 1001;
    const annexb::SequenceHeader header = HeaderOf(setup);
    EXPECT_EQ(header.uiWidth, 182u);
    EXPECT_EQ(header.uiHeight, 130u);
    ASSERT_TRUE(header.bTiming);
    // A tick is a field.
    EXPECT_EQ(header.uiUnitsInTick, 1001u);
    EXPECT_EQ(header.uiTimeScale, 60000u);
    EXPECT_EQ(header.uiSarWidth, 0u);
    EXPECT_FALSE(header.bSignalType);
}

TEST_F(NvencRuntime, ADisplayShapeOtherThanThePicturesIsASampleRatio)
{
    SessionSetup setup(160, 120);
    setup.params.darWidth = 16;
    setup.params.darHeight = 9;
    const annexb::SequenceHeader header = HeaderOf(setup);
    // 16/9 of 4/3 is 4/3, one of the ratios that have a number: 14. The reader here knows the written-out one only.
    EXPECT_EQ(header.uiSarWidth, 0u);
    setup.params.darWidth = 7;
    const annexb::SequenceHeader other = HeaderOf(setup);
    EXPECT_EQ(other.uiSarWidth, 7u);
    EXPECT_EQ(other.uiSarHeight, 12u);
}

TEST_F(NvencRuntime, DisplayCodesAreWrittenWhenTheyAreGiven)
{
    SessionSetup setup(c_uiWidth, c_uiHeight);
    NV_ENC_CONFIG_H264_VUI_PARAMETERS& vui = setup.H264().h264VUIParameters;
    vui.videoSignalTypePresentFlag = 1;
    vui.videoFormat = 5;
    vui.colourDescriptionPresentFlag = 1;
    vui.colourPrimaries = vui.transferCharacteristics = vui.colourMatrix = 6;
    const annexb::SequenceHeader header = HeaderOf(setup);
    EXPECT_TRUE(header.bSignalType);
    EXPECT_EQ(header.nFullRange, 0);
    EXPECT_EQ(header.nColourMatrix, 6);
}

TEST_F(NvencRuntime, TheProfileIsTheOneAskedFor)
{
    const auto profileOf = [](const GUID& profile, const GUID& preset) {
        SessionSetup setup(c_uiWidth, c_uiHeight, preset);
        setup.config.profileGUID = profile;
        return HeaderOf(setup).nProfile;
    };
    for (const GUID& preset : {NV_ENC_PRESET_LOW_LATENCY_HQ_GUID, NV_ENC_PRESET_LOW_LATENCY_HP_GUID})
    {
        EXPECT_EQ(profileOf(NV_ENC_H264_PROFILE_BASELINE_GUID, preset), 66);
        EXPECT_EQ(profileOf(NV_ENC_H264_PROFILE_MAIN_GUID, preset), 77);
        EXPECT_EQ(profileOf(NV_ENC_H264_PROFILE_HIGH_GUID, preset), 100);
    }
    EXPECT_EQ(profileOf(NV_ENC_CODEC_PROFILE_AUTOSELECT_GUID, NV_ENC_PRESET_LOW_LATENCY_HQ_GUID), 100);
    EXPECT_EQ(profileOf(GUID{}, NV_ENC_PRESET_LOW_LATENCY_HQ_GUID), 100);
}

TEST_F(NvencRuntime, TheLevelIsTheOneAskedForOrOneThatSuffices)
{
    SessionSetup setup(c_uiWidth, c_uiHeight);
    setup.H264().level = NV_ENC_LEVEL_H264_41;
    EXPECT_EQ(HeaderOf(setup).nLevel, 41);
    setup.H264().level = NV_ENC_LEVEL_AUTOSELECT;
    // 99 macroblocks, 30 times a second: more than level 1 and no more than level 1.1.
    EXPECT_EQ(HeaderOf(setup).nLevel, 11);
    SessionSetup wide(1920, 1080);
    EXPECT_EQ(HeaderOf(wide).nLevel, 40);
}

TEST_F(NvencRuntime, EntropyCodingAndTheNumberOfParameterSetsAreHonoured)
{
    SessionSetup setup(c_uiWidth, c_uiHeight);
    setup.H264().spsId = setup.H264().ppsId = 5;
    setup.H264().entropyCodingMode = NV_ENC_H264_ENTROPY_CODING_MODE_CAVLC;
    const std::vector<annexb::Nal> nals = Nals(EncodeNatural(setup, 1).at(0));
    EXPECT_EQ(annexb::ReadSequenceHeader(nals[0]).nId, 5);
    EXPECT_FALSE(annexb::UsesCabac(nals[1]));
    setup.H264().entropyCodingMode = NV_ENC_H264_ENTROPY_CODING_MODE_CABAC;
    EXPECT_TRUE(annexb::UsesCabac(Nals(EncodeNatural(setup, 1).at(0))[1]));
}

TEST_F(NvencRuntime, DelimitersStandFirstWhenAskedFor)
{
    SessionSetup setup(c_uiWidth, c_uiHeight);
    setup.H264().outputAUD = 1;
    const std::vector<ReadPacket> packets = EncodeNatural(setup, 2);
    EXPECT_EQ(Types(packets[0]), "9 7 8 5");
    EXPECT_EQ(Types(packets[1]), "9 1");
}

TEST_F(NvencRuntime, PictureTimingMessagesComeWhenAskedFor)
{
    SessionSetup setup(c_uiWidth, c_uiHeight);
    setup.H264().outputPictureTimingSEI = 1;
    const std::vector<ReadPacket> packets = EncodeNatural(setup, 2);
    EXPECT_EQ(Types(packets[0]), "7 8 6 5");
    EXPECT_EQ(Types(packets[1]), "6 1");
    // Message type 1.
    EXPECT_EQ(Nals(packets[1])[0].unit[1], 1);
}

TEST_F(NvencRuntime, KeyPicturesFollowTheGroupLength)
{
    SessionSetup setup(c_uiWidth, c_uiHeight);
    setup.config.gopLength = 4;
    setup.H264().idrPeriod = 8;
    std::string types;
    for (const ReadPacket& packet : EncodeNatural(setup, 18))
    {
        types += "PBID"[packet.record.pictureType];
        const std::vector<annexb::Nal> nals = Nals(packet);
        const bool bIdr = packet.record.pictureType == NV_ENC_PIC_TYPE_IDR;
        EXPECT_EQ(annexb::Types(nals), bIdr ? "7 8 5" : "1");
        const bool bIntra = packet.record.pictureType != NV_ENC_PIC_TYPE_P;
        EXPECT_EQ(annexb::ReadSliceHeader(nals.back()).eKind == annexb::SliceKind::I, bIntra);
    }
    EXPECT_EQ(types, "DPPPIPPPDPPPIPPPDP");
}

TEST_F(NvencRuntime, AnEndlessGroupHasOneKeyPicture)
{
    int nKeys = 0;
    for (const ReadPacket& packet : EncodeNatural(SessionSetup(64, 48), 300))
    {
        nKeys += packet.record.pictureType == NV_ENC_PIC_TYPE_P ? 0 : 1;
    }
    EXPECT_EQ(nKeys, 1);
}

TEST_F(NvencRuntime, KeyPicturesOnlyWhenTheIntervalIsZero)
{
    SessionSetup setup(c_uiWidth, c_uiHeight);
    setup.config.frameIntervalP = 0;
    setup.H264().idrPeriod = 3;
    std::string types;
    for (const ReadPacket& packet : EncodeNatural(setup, 7))
    {
        types += "PBID"[packet.record.pictureType];
    }
    EXPECT_EQ(types, "DIIDIID");
}

TEST_F(NvencRuntime, AKeyPictureCanBeForced)
{
    const SessionSetup setup(c_uiWidth, c_uiHeight);
    RingClient client(setup, 4);
    for (int i = 0; i < 8; ++i)
    {
        Paint(client.NextSurface(), NaturalPicture(c_uiWidth, c_uiHeight, i));
        client.Send(i == 3   ? NV_ENC_PIC_FLAG_FORCEIDR
                    : i == 5 ? NV_ENC_PIC_FLAG_FORCEINTRA
                    : i == 6 ? NV_ENC_PIC_FLAG_OUTPUT_SPSPPS
                             : 0);
    }
    client.Finish();
    const char* const expected[] = {"7 8 5", "1", "1", "7 8 5", "1", "1", "7 8 1", "1"};
    ASSERT_EQ(client.Packets().size(), 8u);
    for (std::size_t i = 0; i < 8; ++i)
    {
        EXPECT_EQ(Types(client.Packets()[i]), expected[i]) << i;
    }
    EXPECT_EQ(client.Packets()[5].record.pictureType, NV_ENC_PIC_TYPE_I);
}

TEST_F(NvencRuntime, ParameterSetsComeAsOftenAsAskedFor)
{
    SessionSetup setup(c_uiWidth, c_uiHeight);
    setup.config.gopLength = 2;
    setup.H264().idrPeriod = 2;
    setup.H264().repeatSPSPPS = 0;
    std::vector<ReadPacket> packets = EncodeNatural(setup, 3);
    EXPECT_EQ(Types(packets[0]), "7 8 5");
    EXPECT_EQ(Types(packets[2]), "5");
    setup.H264().disableSPSPPS = 1;
    packets = EncodeNatural(setup, 3);
    EXPECT_EQ(Types(packets[0]), "5");
    EXPECT_EQ(Types(packets[2]), "5");
}

TEST_F(NvencRuntime, TheParameterSetsCanBeAskedForBeforeAnyPicture)
{
    SessionSetup setup(c_uiWidth, c_uiHeight);
    OpenSession session;
    ASSERT_EQ(session.Initialize(setup), NV_ENC_SUCCESS);
    std::vector<std::uint8_t> headers(512);
    std::uint32_t uiSize = 0;
    auto record = MakeRecord<NV_ENC_SEQUENCE_PARAM_PAYLOAD>(NV_ENC_SEQUENCE_PARAM_PAYLOAD_VER);
    record.spsppsBuffer = headers.data();
    record.outSPSPPSPayloadSize = &uiSize;
    record.inBufferSize = 5;
    EXPECT_EQ(m_api.nvEncGetSequenceParams(session.Handle(), &record), NV_ENC_ERR_NOT_ENOUGH_BUFFER);
    record.inBufferSize = 512;
    for (const std::uint32_t uiVersion : {0x70010009u, 0xF0050009u})
    {
        record.version = uiVersion;
        ASSERT_EQ(m_api.nvEncGetSequenceParams(session.Handle(), &record), NV_ENC_SUCCESS);
    }
    headers.resize(uiSize);
    EXPECT_EQ(annexb::Types(annexb::Split(headers)), "7 8");
    const std::vector<std::uint8_t> packet = EncodeNatural(setup, 1).at(0).bytes;
    EXPECT_TRUE(std::equal(headers.begin(), headers.end(), packet.begin()));

    record.spsppsBuffer = nullptr;
    EXPECT_EQ(m_api.nvEncGetSequenceParams(session.Handle(), &record), NV_ENC_ERR_INVALID_PTR);
}

TEST_F(NvencRuntime, SlicesAreCutAsAskedFor)
{
    const auto slices = [](std::uint32_t uiMode, std::uint32_t uiData) {
        SessionSetup setup(c_uiWidth, c_uiHeight);  // 11 x 9 macroblocks
        setup.H264().sliceMode = uiMode;
        setup.H264().sliceModeData = uiData;
        const ReadPacket packet = EncodeNatural(setup, 2).at(1);
        std::vector<std::uint32_t> first;
        for (const annexb::Nal& nal : Nals(packet))
        {
            first.push_back(annexb::ReadSliceHeader(nal).uiFirstMacroblock);
        }
        EXPECT_EQ(packet.record.numSlices, first.size());
        return first;
    };
    using List = std::vector<std::uint32_t>;
    EXPECT_EQ(slices(0, 0), (List{0}));
    EXPECT_EQ(slices(0, 40), (List{0, 40, 80}));
    EXPECT_EQ(slices(2, 4), (List{0, 44, 88}));
    EXPECT_EQ(slices(3, 3), (List{0, 33, 66}));
    EXPECT_EQ(slices(3, 1), (List{0}));
    EXPECT_EQ(slices(3, 4000000000u).size(), 9u);
    EXPECT_EQ(slices(0, 4000000000u), (List{0}));
    EXPECT_EQ(slices(2, 4000000000u), (List{0}));
}

TEST_F(NvencRuntime, SlicesKeepToANumberOfBytes)
{
    SessionSetup setup(c_uiWidth, c_uiHeight);
    setup.H264().sliceMode = 1;
    setup.H264().sliceModeData = 700;
    const std::vector<ReadPacket> packets = EncodeNatural(setup, 3);
    EXPECT_GT(packets[0].record.numSlices, 1u);
    for (const ReadPacket& packet : packets)
    {
        for (const annexb::Nal& nal : Nals(packet))
        {
            EXPECT_LE(nal.unit.size(), 700u);
        }
    }
}

TEST_F(NvencRuntime, SliceOffsetsPointAtTheSlices)
{
    SessionSetup setup(c_uiWidth, c_uiHeight);
    setup.params.reportSliceOffsets = 1;
    setup.H264().sliceMode = 3;
    setup.H264().sliceModeData = 3;
    SmallSession session(setup);
    Paint(session.surface, NaturalPicture(c_uiWidth, c_uiHeight, 0));
    ASSERT_EQ(session.Encode(session.Picture()), NV_ENC_SUCCESS);
    std::uint32_t offsets[4] = {99, 99, 99, 99};
    auto lock = MakeRecord<NV_ENC_LOCK_BITSTREAM>(NV_ENC_LOCK_BITSTREAM_VER);
    lock.outputBitstream = session.pBuffer;
    lock.sliceOffsets = offsets;
    ASSERT_EQ(m_api.nvEncLockBitstream(session.Handle(), &lock), NV_ENC_SUCCESS);
    const auto* p = static_cast<const std::uint8_t*>(lock.bitstreamBufferPtr);
    const std::vector<annexb::Nal> nals = annexb::Split({p, lock.bitstreamSizeInBytes});
    EXPECT_EQ(annexb::Types(nals), "7 8 5 5 5");
    for (std::size_t i = 0; i < 3; ++i)
    {
        EXPECT_EQ(offsets[i], nals[2 + i].uiOffset);
    }
    EXPECT_EQ(offsets[3], 99u);
    EXPECT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);
}
