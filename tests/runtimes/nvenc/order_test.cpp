// When packets come, and into which buffer.
#include <thread>

#include "ring_client.h"

namespace
{

std::vector<std::uint64_t> TimeStamps(const std::vector<ReadPacket>& packets)
{
    std::vector<std::uint64_t> stamps;
    for (const ReadPacket& packet : packets)
    {
        stamps.push_back(packet.record.outputTimeStamp - 1000);
        EXPECT_EQ(packet.record.frameIdx, stamps.back());
        EXPECT_EQ(packet.record.outputDuration, 7 * stamps.back());
    }
    return stamps;
}

std::string Types(const std::vector<ReadPacket>& packets)
{
    std::string types;
    for (const ReadPacket& packet : packets)
    {
        types += "PBID"[packet.record.pictureType];
        const bool bB = annexb::ReadSliceHeader(annexb::Split(packet.bytes).back()).eKind == annexb::SliceKind::B;
        EXPECT_EQ(bB, packet.record.pictureType == NV_ENC_PIC_TYPE_B);
    }
    return types;
}

using Stamps = std::vector<std::uint64_t>;

}  // namespace

TEST_F(NvencRuntime, WithoutBPicturesEachPacketCanBeReadAtOnce)
{
    SmallSession session;
    for (int i = 0; i < 5; ++i)
    {
        ASSERT_EQ(session.Encode(session.Picture()), NV_ENC_SUCCESS);
        NV_ENC_LOCK_BITSTREAM lock{};
        ASSERT_EQ(session.Lock(session.pBuffer, &lock), NV_ENC_SUCCESS);
        EXPECT_EQ(lock.pictureType, i == 0 ? NV_ENC_PIC_TYPE_IDR : NV_ENC_PIC_TYPE_P);
        EXPECT_EQ(lock.frameIdx, static_cast<std::uint32_t>(i));
        EXPECT_EQ(lock.pictureStruct, NV_ENC_PIC_STRUCT_FRAME);
        ASSERT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);
    }
}

TEST_F(NvencRuntime, PacketsComeInDecodingOrderWithTheStampsOfTheirPictures)
{
    SessionSetup setup(176, 144);
    setup.config.frameIntervalP = 3;
    const std::vector<ReadPacket> packets = EncodeNatural(setup, 10);
    EXPECT_EQ(Types(packets), "DPBBPBBPBB");
    EXPECT_EQ(TimeStamps(packets), (Stamps{0, 3, 1, 2, 6, 4, 5, 9, 7, 8}));
}

TEST_F(NvencRuntime, TheLastPicturesOfAStreamNeedNoReferenceAfterThem)
{
    SessionSetup setup(176, 144);
    setup.config.frameIntervalP = 3;
    const std::vector<ReadPacket> packets = EncodeNatural(setup, 9);
    EXPECT_EQ(Types(packets), "DPBBPBBPB");
    EXPECT_EQ(TimeStamps(packets), (Stamps{0, 3, 1, 2, 6, 4, 5, 8, 7}));
}

TEST_F(NvencRuntime, AForcedKeyPictureClosesTheGroupBeforeIt)
{
    SessionSetup setup(176, 144);
    setup.config.frameIntervalP = 3;
    RingClient client(setup, 8);
    for (int i = 0; i < 9; ++i)
    {
        Paint(client.NextSurface(), NaturalPicture(176, 144, i));
        client.Send(i == 5 ? NV_ENC_PIC_FLAG_FORCEIDR : 0);
    }
    client.Finish();
    EXPECT_EQ(Types(client.Packets()), "DPBBPDPBB");
    EXPECT_EQ(TimeStamps(client.Packets()), (Stamps{0, 3, 1, 2, 4, 5, 8, 6, 7}));
}

TEST_F(NvencRuntime, PicturesThatAreKeptAreAnsweredWithNeedMoreInput)
{
    SessionSetup setup(64, 48);
    setup.config.frameIntervalP = 3;
    RingClient client(setup, 12);
    std::vector<NVENCSTATUS> statuses;
    for (int i = 0; i < 6; ++i)
    {
        statuses.push_back(client.Send());
    }
    constexpr NVENCSTATUS eMore = NV_ENC_ERR_NEED_MORE_INPUT;
    constexpr NVENCSTATUS eGood = NV_ENC_SUCCESS;
    EXPECT_EQ(statuses, (std::vector<NVENCSTATUS>{eMore, eMore, eGood, eGood, eGood, eGood}));
    client.Finish();
    EXPECT_EQ(client.Packets().size(), 6u);
    // The next stream keeps its first ones again.
    EXPECT_EQ(client.Send(), eMore);
    client.Finish();
    EXPECT_EQ(client.Packets().size(), 7u);
}

TEST_F(NvencRuntime, ALockThatMoreInputWouldHaveToAnswerDoesNotWaitForEver)
{
    SessionSetup setup(64, 48);
    setup.config.frameIntervalP = 2;
    SmallSession session(setup);
    ASSERT_EQ(session.Encode(session.Picture()), NV_ENC_ERR_NEED_MORE_INPUT);
    EXPECT_EQ(session.Lock(session.pBuffer), NV_ENC_ERR_NEED_MORE_INPUT);
    EXPECT_EQ(session.Lock(session.pBuffer, nullptr, true), NV_ENC_ERR_LOCK_BUSY);
    ASSERT_EQ(session.EndStream(), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Lock(session.pBuffer), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);
}

TEST_F(NvencRuntime, LookAheadKeepsPicturesAndGivesThemAllBack)
{
    SessionSetup setup(176, 144);
    setup.config.rcParams.rateControlMode = NV_ENC_PARAMS_RC_VBR;
    setup.config.rcParams.averageBitRate = 500000;
    setup.config.rcParams.enableLookahead = 1;
    setup.config.rcParams.lookaheadDepth = 5;
    RingClient client(setup, 8);
    int nKept = 0;
    for (int i = 0; i < 12; ++i)
    {
        Paint(client.NextSurface(), NaturalPicture(176, 144, i));
        nKept += client.Send() == NV_ENC_ERR_NEED_MORE_INPUT ? 1 : 0;
    }
    client.Finish();
    EXPECT_EQ(nKept, 5);
    EXPECT_EQ(TimeStamps(client.Packets()), (Stamps{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
}

TEST_F(NvencRuntime, EndOfStreamTwiceOrWithoutPicturesIsNoFailure)
{
    SmallSession session;
    EXPECT_EQ(session.EndStream(), NV_ENC_SUCCESS);
    EXPECT_EQ(session.EndStream(), NV_ENC_SUCCESS);
    ASSERT_EQ(session.Encode(session.Picture()), NV_ENC_SUCCESS);
    EXPECT_EQ(session.EndStream(), NV_ENC_SUCCESS);
    EXPECT_EQ(session.EndStream(), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Lock(session.pBuffer), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);
}

TEST_F(NvencRuntime, EndOfStreamCarriesNoPicture)
{
    SmallSession session;
    NV_ENC_PIC_PARAMS picture = session.Picture();
    picture.encodePicFlags = NV_ENC_PIC_FLAG_EOS;
    EXPECT_EQ(session.Encode(picture), NV_ENC_ERR_INVALID_PARAM);
    picture.inputBuffer = nullptr;
    EXPECT_EQ(session.Encode(picture), NV_ENC_ERR_INVALID_PARAM);
    picture.outputBitstream = nullptr;
    EXPECT_EQ(session.Encode(picture), NV_ENC_SUCCESS);
}

TEST_F(NvencRuntime, APictureAfterTheEndBeginsAStream)
{
    const SessionSetup setup(64, 48);
    RingClient client(setup, 4);
    for (int i = 0; i < 3; ++i)
    {
        client.Send();
    }
    client.Finish();
    client.Send();
    client.Send();
    client.Finish();
    EXPECT_EQ(Types(client.Packets()), "DPPDP");
    EXPECT_EQ(annexb::Types(annexb::Split(client.Packets()[3].bytes)), "7 8 5");
}

TEST_F(NvencRuntime, ACallerMayDecideTheTypes)
{
    SessionSetup setup(176, 144);
    setup.params.enablePTD = 0;
    RingClient client(setup, 4);
    for (const NV_ENC_PIC_TYPE eType : {NV_ENC_PIC_TYPE_P, NV_ENC_PIC_TYPE_P, NV_ENC_PIC_TYPE_I, NV_ENC_PIC_TYPE_P,
                                        NV_ENC_PIC_TYPE_IDR, NV_ENC_PIC_TYPE_P})
    {
        client.Send(0, eType);
    }
    client.Finish();
    // The first one has nothing to refer to.
    EXPECT_EQ(Types(client.Packets()), "DPIPDP");

    SmallSession session(setup);
    NV_ENC_PIC_PARAMS picture = session.OpenSession::Picture(session.pMapped, session.pBuffer, 176, 144);
    picture.pictureType = NV_ENC_PIC_TYPE_B;
    EXPECT_EQ(session.Encode(picture), NV_ENC_ERR_UNSUPPORTED_PARAM);
    picture.pictureType = NV_ENC_PIC_TYPE_UNKNOWN;
    EXPECT_EQ(session.Encode(picture), NV_ENC_ERR_INVALID_PARAM);
}

TEST_F(NvencRuntime, OneThreadSendsWhileAnotherReads)
{
    constexpr int c_nPictures = 60;
    constexpr int c_nSlots = 4;
    SessionSetup setup(64, 48);
    std::vector<std::unique_ptr<FakeSurface>> surfaces;
    OpenSession session;
    ASSERT_EQ(session.Initialize(setup), NV_ENC_SUCCESS);
    void* mapped[c_nSlots];
    void* buffers[c_nSlots];
    for (int i = 0; i < c_nSlots; ++i)
    {
        surfaces.push_back(std::make_unique<FakeSurface>(64, 48));
        mapped[i] = session.Map(session.Register(*surfaces.back()));
        buffers[i] = session.CreateBuffer();
    }

    std::thread reader([&] {
        for (int i = 0; i < c_nPictures; ++i)
        {
            NV_ENC_LOCK_BITSTREAM lock{};
            NVENCSTATUS eStatus = NV_ENC_ERR_INVALID_CALL;
            // Until its picture has been sent, there is nothing to read.
            while (eStatus == NV_ENC_ERR_INVALID_CALL)
            {
                eStatus = session.Lock(buffers[i % c_nSlots], &lock);
                std::this_thread::yield();
            }
            EXPECT_EQ(eStatus, NV_ENC_SUCCESS);
            EXPECT_EQ(lock.frameIdx, static_cast<std::uint32_t>(i));
            EXPECT_EQ(session.Unlock(buffers[i % c_nSlots]), NV_ENC_SUCCESS);
        }
    });
    for (int i = 0; i < c_nPictures; ++i)
    {
        NVENCSTATUS eStatus = NV_ENC_ERR_ENCODER_BUSY;
        // Until its last packet has been read, the buffer takes no picture.
        while (eStatus == NV_ENC_ERR_ENCODER_BUSY || eStatus == NV_ENC_ERR_INVALID_CALL)
        {
            eStatus = session.Encode(session.Picture(mapped[i % c_nSlots], buffers[i % c_nSlots], 64, 48));
            std::this_thread::yield();
        }
        EXPECT_EQ(eStatus, NV_ENC_SUCCESS);
    }
    reader.join();
}

TEST_F(NvencRuntime, SessionsSideBySideDoNotMeet)
{
    const std::vector<std::uint8_t> expected = Join(EncodeNatural(SessionSetup(64, 48), 20));
    std::vector<std::uint8_t> streams[3];
    std::vector<std::thread> threads;
    for (auto& stream : streams)
    {
        threads.emplace_back([&] { stream = Join(EncodeNatural(SessionSetup(64, 48), 20)); });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    for (const auto& stream : streams)
    {
        EXPECT_EQ(stream, expected);
    }
}
