#include <functional>
#include <thread>

#include "runtime.h"

TEST_F(NvencRuntime, ABufferWithoutAPictureHasNothingToRead)
{
    SmallSession session;
    EXPECT_EQ(session.Lock(session.pBuffer), NV_ENC_ERR_INVALID_CALL);
    EXPECT_EQ(session.Lock(session.pBuffer, nullptr, true), NV_ENC_ERR_INVALID_CALL);
    EXPECT_EQ(session.Unlock(session.pBuffer), NV_ENC_ERR_INVALID_CALL);
    EXPECT_EQ(session.Lock(session.pMapped), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(session.Unlock(session.pMapped), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(session.Lock(nullptr), NV_ENC_ERR_INVALID_PTR);
}

TEST_F(NvencRuntime, APacketIsLockedOnceAndReadOnce)
{
    SmallSession session;
    ASSERT_EQ(session.Encode(session.Picture()), NV_ENC_SUCCESS);
    NV_ENC_LOCK_BITSTREAM lock{};
    EXPECT_EQ(session.Lock(session.pBuffer, &lock), NV_ENC_SUCCESS);
    EXPECT_GT(lock.bitstreamSizeInBytes, 0u);
    EXPECT_NE(lock.bitstreamBufferPtr, nullptr);
    EXPECT_EQ(session.Lock(session.pBuffer), NV_ENC_ERR_INVALID_CALL);
    EXPECT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Unlock(session.pBuffer), NV_ENC_ERR_INVALID_CALL);
    EXPECT_EQ(session.Lock(session.pBuffer), NV_ENC_ERR_INVALID_CALL);
}

TEST_F(NvencRuntime, ALockThatMayNotWaitIsBusyUntilThePacketIsThere)
{
    SmallSession session;
    m_script.HoldEncoders(1);
    ASSERT_EQ(session.Encode(session.Picture()), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Lock(session.pBuffer, nullptr, true), NV_ENC_ERR_LOCK_BUSY);
    m_script.HoldEncoders(0);
    NVENCSTATUS eStatus = NV_ENC_ERR_LOCK_BUSY;
    while (eStatus == NV_ENC_ERR_LOCK_BUSY)
    {
        eStatus = session.Lock(session.pBuffer, nullptr, true);
    }
    EXPECT_EQ(eStatus, NV_ENC_SUCCESS);
    EXPECT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);
}

TEST_F(NvencRuntime, ALockThatMayWaitWaitsForThePacket)
{
    SmallSession session;
    m_script.HoldEncoders(1);
    ASSERT_EQ(session.Encode(session.Picture()), NV_ENC_SUCCESS);
    std::thread release([&] { m_script.HoldEncoders(0); });
    EXPECT_EQ(session.Lock(session.pBuffer), NV_ENC_SUCCESS);
    release.join();
    EXPECT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);
}

TEST_F(NvencRuntime, ABufferTakesNoSecondPictureBeforeItsPacketIsRead)
{
    SmallSession session;
    m_script.HoldEncoders(1);
    ASSERT_EQ(session.Encode(session.Picture()), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Encode(session.Picture()), NV_ENC_ERR_ENCODER_BUSY);
    m_script.HoldEncoders(0);
    ASSERT_EQ(session.Lock(session.pBuffer), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Encode(session.Picture()), NV_ENC_ERR_INVALID_CALL);
    ASSERT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Encode(session.Picture()), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Lock(session.pBuffer), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);
}

TEST_F(NvencRuntime, ABufferInUseIsntDestroyed)
{
    SmallSession session;
    const auto destroy = [&](void* pBuffer) { return m_api.nvEncDestroyBitstreamBuffer(session.Handle(), pBuffer); };
    m_script.HoldEncoders(1);
    ASSERT_EQ(session.Encode(session.Picture()), NV_ENC_SUCCESS);
    EXPECT_EQ(destroy(session.pBuffer), NV_ENC_ERR_ENCODER_BUSY);
    m_script.HoldEncoders(0);
    ASSERT_EQ(session.Lock(session.pBuffer), NV_ENC_SUCCESS);
    EXPECT_EQ(destroy(session.pBuffer), NV_ENC_ERR_INVALID_CALL);
    ASSERT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);
    EXPECT_EQ(destroy(session.pBuffer), NV_ENC_SUCCESS);
    EXPECT_EQ(destroy(session.pBuffer), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(session.Encode(session.Picture()), NV_ENC_ERR_INVALID_PARAM);
}

TEST_F(NvencRuntime, AnUnreadPacketMayBeThrownAway)
{
    SmallSession session;
    void* const pSecond = session.CreateBuffer();
    ASSERT_EQ(session.Encode(session.Picture()), NV_ENC_SUCCESS);
    // The second packet is there, so the first one is.
    ASSERT_EQ(session.Encode(session.OpenSession::Picture(session.pMapped, pSecond, 64, 48)), NV_ENC_SUCCESS);
    ASSERT_EQ(session.Lock(pSecond), NV_ENC_SUCCESS);
    EXPECT_EQ(m_api.nvEncDestroyBitstreamBuffer(session.Handle(), session.pBuffer), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Unlock(pSecond), NV_ENC_SUCCESS);
}

TEST_F(NvencRuntime, APictureIsExamined)
{
    SmallSession session;
    const auto encode = [&](const std::function<void(NV_ENC_PIC_PARAMS&)>& change) {
        NV_ENC_PIC_PARAMS picture = session.Picture();
        change(picture);
        return session.Encode(picture);
    };
    constexpr NVENCSTATUS eInvalid = NV_ENC_ERR_INVALID_PARAM;
    EXPECT_EQ(encode([](auto& p) { p.outputBitstream = nullptr; }), NV_ENC_ERR_INVALID_PTR);
    EXPECT_EQ(encode([&](auto& p) { p.outputBitstream = session.pMapped; }), eInvalid);
    EXPECT_EQ(encode([](auto& p) { p.inputWidth = 62; }), eInvalid);
    EXPECT_EQ(encode([](auto& p) { p.inputHeight = 50; }), eInvalid);
    EXPECT_EQ(encode([](auto& p) { p.bufferFmt = NV_ENC_BUFFER_FORMAT_NV12; }), eInvalid);
    EXPECT_EQ(encode([](auto& p) { p.pictureStruct = NV_ENC_PIC_STRUCT(0); }), eInvalid);
    EXPECT_EQ(encode([](auto& p) { p.encodePicFlags = 0x10; }), eInvalid);

    constexpr NVENCSTATUS eUnsupported = NV_ENC_ERR_UNSUPPORTED_PARAM;
    std::int8_t nDelta = 0;
    EXPECT_EQ(encode([](auto& p) { p.pictureStruct = NV_ENC_PIC_STRUCT_FIELD_TOP_BOTTOM; }), eUnsupported);
    EXPECT_EQ(encode([&](auto& p) { p.qpDeltaMap = &nDelta; }), eUnsupported);
    EXPECT_EQ(encode([](auto& p) { p.codecPicParams.h264PicParams.ltrMarkFrame = 1; }), eUnsupported);
    EXPECT_EQ(encode([](auto& p) { p.codecPicParams.h264PicParams.seiPayloadArrayCnt = 1; }), eUnsupported);

    // Of all these none was taken in.
    EXPECT_EQ(session.Lock(session.pBuffer), NV_ENC_ERR_INVALID_CALL);
    EXPECT_EQ(session.surface.Locks(), 0);
}

TEST_F(NvencRuntime, ASmallerRegisteredPartIsntReadBeyondItsSize)
{
    FakeSurface surface(64, 48);
    SessionSetup setup;
    OpenSession session;
    ASSERT_EQ(session.Initialize(setup), NV_ENC_SUCCESS);
    auto record = MakeRecord<NV_ENC_REGISTER_RESOURCE>(NV_ENC_REGISTER_RESOURCE_VER);
    record.width = 62;
    record.height = 48;
    record.resourceToRegister = static_cast<IDirect3DSurface9*>(&surface);
    record.bufferFormat = NV_ENC_BUFFER_FORMAT_ARGB;
    ASSERT_EQ(m_api.nvEncRegisterResource(session.Handle(), &record), NV_ENC_SUCCESS);
    void* const pMapped = session.Map(record.registeredResource);
    EXPECT_EQ(session.Encode(session.Picture(pMapped, session.CreateBuffer(), 64, 48)), NV_ENC_ERR_INVALID_PARAM);
}

TEST_F(NvencRuntime, DestroyingASessionWakesWhoWaitsForAPacket)
{
    SmallSession session;
    m_script.HoldEncoders(1);
    ASSERT_EQ(session.Encode(session.Picture()), NV_ENC_SUCCESS);
    NVENCSTATUS eStatus = NV_ENC_SUCCESS;
    std::thread reader([&] { eStatus = session.Lock(session.pBuffer); });
    while (m_script.CountCalls(NVENC_ENTRY_LOCK_BITSTREAM) == 0)
    {
        std::this_thread::yield();
    }
    void* const pEncoder = session.Handle();
    EXPECT_EQ(m_api.nvEncDestroyEncoder(pEncoder), NV_ENC_SUCCESS);
    reader.join();
    EXPECT_EQ(eStatus, NV_ENC_ERR_INVALID_ENCODERDEVICE);
    EXPECT_EQ(session.surface.References(), 1u);
    EXPECT_EQ(session.Destroy(), NV_ENC_ERR_INVALID_ENCODERDEVICE);
}
