// Rules of the interface that a caller may break: refused, or reported to a test that asks.
#include <functional>

#include "ring_client.h"

namespace
{

// A record's reserved fields, and the call with one of them set. The fields' names are those of the interface.
struct ReservedField
{
    const char* pszName;
    std::function<NVENCSTATUS()> call;
};

NVENCSTATUS Unmap(const OpenSession& session, void* pMapped)
{
    return Runtime::Get().api.nvEncUnmapInputResource(session.Handle(), pMapped);
}

class NvencStrictness : public NvencRuntime
{
protected:
    NvencRuntimeBreaches Breaches() const { return m_script.GetBreaches(); }
};

}  // namespace

TEST_F(NvencStrictness, ReservedFieldsAreZero)
{
    int nAny = 0;
    void* const pAny = &nAny;
    SmallSession session;
    const OpenSession blank;
    void* const p = session.Handle();
    // A call with a record that is right but for what change does to it.
    const auto createInstance = [&](const std::function<void(NV_ENCODE_API_FUNCTION_LIST&)>& change) {
        auto record = MakeRecord<NV_ENCODE_API_FUNCTION_LIST>(NV_ENCODE_API_FUNCTION_LIST_VER);
        change(record);
        return m_runtime.createInstance(&record);
    };
    const auto open = [&](const std::function<void(NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS&)>& change) {
        auto record = MakeRecord<NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS>(NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS_VER);
        record.deviceType = NV_ENC_DEVICE_TYPE_DIRECTX;
        record.device = static_cast<IDirect3DDevice9*>(&FakeDevice::Get());
        record.apiVersion = NVENCAPI_VERSION;
        change(record);
        void* pEncoder = nullptr;
        const NVENCSTATUS eStatus = m_api.nvEncOpenEncodeSessionEx(&record, &pEncoder);
        if (pEncoder)
        {
            m_api.nvEncDestroyEncoder(pEncoder);
        }
        return eStatus;
    };
    const auto caps = [&](const std::function<void(NV_ENC_CAPS_PARAM&)>& change) {
        auto record = MakeRecord<NV_ENC_CAPS_PARAM>(NV_ENC_CAPS_PARAM_VER);
        change(record);
        int nValue = 0;
        return m_api.nvEncGetEncodeCaps(p, NV_ENC_CODEC_H264_GUID, &record, &nValue);
    };
    const auto preset = [&](const std::function<void(NV_ENC_PRESET_CONFIG&)>& change) {
        auto record = MakeRecord<NV_ENC_PRESET_CONFIG>(NV_ENC_PRESET_CONFIG_VER);
        record.presetCfg.version = NV_ENC_CONFIG_VER;
        change(record);
        return m_api.nvEncGetEncodePresetConfig(p, NV_ENC_CODEC_H264_GUID, NV_ENC_PRESET_HP_GUID, &record);
    };
    const auto initialize = [&](const std::function<void(SessionSetup&)>& change) {
        SessionSetup setup;
        change(setup);
        OpenSession other;
        return other.Initialize(setup);
    };
    const auto headers = [&](const std::function<void(NV_ENC_SEQUENCE_PARAM_PAYLOAD&)>& change) {
        auto record = MakeRecord<NV_ENC_SEQUENCE_PARAM_PAYLOAD>(NV_ENC_SEQUENCE_PARAM_PAYLOAD_VER);
        std::uint8_t bytes[200];
        std::uint32_t uiSize = 0;
        record.spsppsBuffer = bytes;
        record.inBufferSize = sizeof bytes;
        record.outSPSPPSPayloadSize = &uiSize;
        change(record);
        return m_api.nvEncGetSequenceParams(p, &record);
    };
    const auto event = [&](const std::function<void(NV_ENC_EVENT_PARAMS&)>& change) {
        auto record = MakeRecord<NV_ENC_EVENT_PARAMS>(NV_ENC_EVENT_PARAMS_VER);
        record.completionEvent = pAny;
        change(record);
        const NVENCSTATUS eStatus = m_api.nvEncRegisterAsyncEvent(blank.Handle(), &record);
        EXPECT_EQ(m_api.nvEncUnregisterAsyncEvent(blank.Handle(), &record), eStatus);
        return eStatus;
    };
    const auto registerResource = [&](const std::function<void(NV_ENC_REGISTER_RESOURCE&)>& change) {
        FakeSurface surface(64, 48);
        auto record = MakeRecord<NV_ENC_REGISTER_RESOURCE>(NV_ENC_REGISTER_RESOURCE_VER);
        record.width = 64;
        record.height = 48;
        record.resourceToRegister = static_cast<IDirect3DSurface9*>(&surface);
        record.bufferFormat = NV_ENC_BUFFER_FORMAT_ARGB;
        change(record);
        const NVENCSTATUS eStatus = m_api.nvEncRegisterResource(p, &record);
        if (record.registeredResource)
        {
            m_api.nvEncUnregisterResource(p, record.registeredResource);
        }
        return eStatus;
    };
    const auto map = [&](const std::function<void(NV_ENC_MAP_INPUT_RESOURCE&)>& change) {
        auto record = MakeRecord<NV_ENC_MAP_INPUT_RESOURCE>(NV_ENC_MAP_INPUT_RESOURCE_VER);
        record.registeredResource = session.pRegistered;
        change(record);
        return m_api.nvEncMapInputResource(p, &record);
    };
    const auto createBuffer = [&](const std::function<void(NV_ENC_CREATE_BITSTREAM_BUFFER&)>& change) {
        auto record = MakeRecord<NV_ENC_CREATE_BITSTREAM_BUFFER>(NV_ENC_CREATE_BITSTREAM_BUFFER_VER);
        change(record);
        return m_api.nvEncCreateBitstreamBuffer(p, &record);
    };
    const auto encode = [&](const std::function<void(NV_ENC_PIC_PARAMS&)>& change) {
        NV_ENC_PIC_PARAMS picture = session.Picture();
        change(picture);
        return session.Encode(picture);
    };
    const auto lock = [&](const std::function<void(NV_ENC_LOCK_BITSTREAM&)>& change) {
        auto record = MakeRecord<NV_ENC_LOCK_BITSTREAM>(NV_ENC_LOCK_BITSTREAM_VER);
        record.outputBitstream = session.pBuffer;
        change(record);
        return m_api.nvEncLockBitstream(p, &record);
    };

    const ReservedField fields[] = {
        {"list.reserved", [&] { return createInstance([](auto& r) { r.reserved = 1; }); }},
        {"list.reserved1", [&] { return createInstance([&](auto& r) { r.reserved1 = pAny; }); }},
        {"list.reserved2", [&] { return createInstance([&](auto& r) { r.reserved2[280] = pAny; }); }},
        {"open.reserved", [&] { return open([&](auto& r) { r.reserved = pAny; }); }},
        {"open.reserved1", [&] { return open([](auto& r) { r.reserved1[252] = 1; }); }},
        {"open.reserved2", [&] { return open([&](auto& r) { r.reserved2[63] = pAny; }); }},
        {"caps.reserved", [&] { return caps([](auto& r) { r.reserved[61] = 1; }); }},
        {"preset.reserved1", [&] { return preset([](auto& r) { r.reserved1[254] = 1; }); }},
        {"preset.reserved2", [&] { return preset([&](auto& r) { r.reserved2[0] = pAny; }); }},
        {"init.reservedBitFields", [&] { return initialize([](auto& s) { s.params.reservedBitFields = 1; }); }},
        {"init.reserved", [&] { return initialize([](auto& s) { s.params.reserved[288] = 1; }); }},
        {"init.reserved2", [&] { return initialize([&](auto& s) { s.params.reserved2[63] = pAny; }); }},
        {"init.maxMEHintCountsPerBlock",
         [&] { return initialize([](auto& s) { s.params.maxMEHintCountsPerBlock[1].reserved1[2] = 1; }); }},
        {"config.reserved", [&] { return initialize([](auto& s) { s.config.reserved[277] = 1; }); }},
        {"config.reserved2", [&] { return initialize([&](auto& s) { s.config.reserved2[0] = pAny; }); }},
        {"rc.reservedBitField1", [&] { return initialize([](auto& s) { s.config.rcParams.reservedBitField1 = 1; }); }},
        {"rc.reservedBitFields", [&] { return initialize([](auto& s) { s.config.rcParams.reservedBitFields = 1; }); }},
        {"rc.reserved1", [&] { return initialize([](auto& s) { s.config.rcParams.reserved1 = 1; }); }},
        {"rc.reserved", [&] { return initialize([](auto& s) { s.config.rcParams.reserved[6] = 1; }); }},
        {"h264.reservedBitFields", [&] { return initialize([](auto& s) { s.H264().reservedBitFields = 1; }); }},
        {"h264.reserved1", [&] { return initialize([](auto& s) { s.H264().reserved1[268] = 1; }); }},
        {"h264.reserved2", [&] { return initialize([&](auto& s) { s.H264().reserved2[63] = pAny; }); }},
        {"vui.reserved", [&] { return initialize([](auto& s) { s.H264().h264VUIParameters.reserved[14] = 1; }); }},
        {"headers.reserved", [&] { return headers([](auto& r) { r.reserved[249] = 1; }); }},
        {"headers.reserved2", [&] { return headers([&](auto& r) { r.reserved2[63] = pAny; }); }},
        {"event.reserved", [&] { return event([](auto& r) { r.reserved = 1; }); }},
        {"event.reserved1", [&] { return event([](auto& r) { r.reserved1[252] = 1; }); }},
        {"event.reserved2", [&] { return event([&](auto& r) { r.reserved2[63] = pAny; }); }},
        {"register.reserved1", [&] { return registerResource([](auto& r) { r.reserved1[246] = 1; }); }},
        {"register.reserved2", [&] { return registerResource([&](auto& r) { r.reserved2[61] = pAny; }); }},
        {"map.reserved1", [&] { return map([](auto& r) { r.reserved1[250] = 1; }); }},
        {"map.reserved2", [&] { return map([&](auto& r) { r.reserved2[62] = pAny; }); }},
        {"buffer.reserved", [&] { return createBuffer([](auto& r) { r.reserved = 1; }); }},
        {"buffer.reserved1", [&] { return createBuffer([](auto& r) { r.reserved1[57] = 1; }); }},
        {"buffer.reserved2", [&] { return createBuffer([&](auto& r) { r.reserved2[63] = pAny; }); }},
        {"picture.reserved1", [&] { return encode([](auto& r) { r.reserved1[5] = 1; }); }},
        {"picture.reserved2", [&] { return encode([&](auto& r) { r.reserved2[1] = pAny; }); }},
        {"picture.reservedBitFields", [&] { return encode([](auto& r) { r.reservedBitFields = 1; }); }},
        {"picture.reserved3", [&] { return encode([](auto& r) { r.reserved3[285] = 1; }); }},
        {"picture.reserved4", [&] { return encode([&](auto& r) { r.reserved4[59] = pAny; }); }},
        {"picture.meHintCountsPerBlock",
         [&] { return encode([](auto& r) { r.meHintCountsPerBlock[0].reserved = 1; }); }},
        {"picture.h264.reserved3",
         [&] { return encode([](auto& r) { r.codecPicParams.h264PicParams.reserved3 = 1; }); }},
        {"picture.h264.reservedBitFields",
         [&] { return encode([](auto& r) { r.codecPicParams.h264PicParams.reservedBitFields = 1; }); }},
        {"picture.h264.reserved",
         [&] { return encode([](auto& r) { r.codecPicParams.h264PicParams.reserved[241] = 1; }); }},
        {"picture.h264.reserved2",
         [&] { return encode([&](auto& r) { r.codecPicParams.h264PicParams.reserved2[60] = pAny; }); }},
        {"lock.reservedBitFields", [&] { return lock([](auto& r) { r.reservedBitFields = 1; }); }},
        {"lock.reserved", [&] { return lock([](auto& r) { r.reserved[12] = 1; }); }},
        {"lock.reserved1", [&] { return lock([](auto& r) { r.reserved1[218] = 1; }); }},
        {"lock.reserved2", [&] { return lock([&](auto& r) { r.reserved2[63] = pAny; }); }},
    };
    for (const ReservedField& field : fields)
    {
        EXPECT_EQ(field.call(), NV_ENC_ERR_INVALID_PARAM) << field.pszName;
    }

    // The same calls with nothing changed: it was the field that was refused.
    const auto nothing = [](auto&) {};
    EXPECT_EQ(createInstance(nothing), NV_ENC_SUCCESS);
    EXPECT_EQ(open(nothing), NV_ENC_SUCCESS);
    EXPECT_EQ(caps(nothing), NV_ENC_SUCCESS);
    EXPECT_EQ(preset(nothing), NV_ENC_SUCCESS);
    EXPECT_EQ(initialize(nothing), NV_ENC_SUCCESS);
    EXPECT_EQ(headers(nothing), NV_ENC_SUCCESS);
    EXPECT_EQ(event(nothing), NV_ENC_SUCCESS);
    EXPECT_EQ(registerResource(nothing), NV_ENC_SUCCESS);
    EXPECT_EQ(map(nothing), NV_ENC_SUCCESS);
    EXPECT_EQ(createBuffer(nothing), NV_ENC_SUCCESS);
    EXPECT_EQ(encode(nothing), NV_ENC_SUCCESS);
    EXPECT_EQ(lock(nothing), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);
}

// --- the device ---

namespace
{

class OtherObject final : public IdleSurface
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** ppv) override
    {
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
};

}  // namespace

TEST_F(NvencStrictness, ASessionNeedsADeviceOfDirect3D9)
{
    OtherObject other;
    auto record = MakeRecord<NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS>(NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS_VER);
    record.deviceType = NV_ENC_DEVICE_TYPE_DIRECTX;
    record.device = static_cast<IDirect3DSurface9*>(&other);
    record.apiVersion = NVENCAPI_VERSION;
    void* pEncoder = nullptr;
    EXPECT_EQ(m_api.nvEncOpenEncodeSessionEx(&record, &pEncoder), NV_ENC_ERR_UNSUPPORTED_DEVICE);
    EXPECT_EQ(pEncoder, nullptr);
}

TEST_F(NvencStrictness, ASessionHoldsItsDeviceUntilItIsDestroyed)
{
    const ULONG uiBefore = FakeDevice::Get().m_uiReferences;
    {
        const OpenSession session;
        EXPECT_EQ(FakeDevice::Get().m_uiReferences, uiBefore + 1);
    }
    EXPECT_EQ(FakeDevice::Get().m_uiReferences, uiBefore);
}

TEST_F(NvencStrictness, ASurfaceOfAnotherDeviceIsNotRegistered)
{
    FakeDevice device;
    FakeSurface surface(64, 48, D3DFMT_A8R8G8B8, device);
    SmallSession session;
    auto record = MakeRecord<NV_ENC_REGISTER_RESOURCE>(NV_ENC_REGISTER_RESOURCE_VER);
    record.width = 64;
    record.height = 48;
    record.resourceToRegister = static_cast<IDirect3DSurface9*>(&surface);
    record.bufferFormat = NV_ENC_BUFFER_FORMAT_ARGB;
    EXPECT_EQ(m_api.nvEncRegisterResource(session.Handle(), &record), NV_ENC_ERR_RESOURCE_REGISTER_FAILED);
    EXPECT_EQ(device.m_uiReferences, 1u);
}

// --- what is left at the end ---

TEST_F(NvencStrictness, ASessionThatGaveEverythingBackLeavesNothing)
{
    {
        const SmallSession session;
        EXPECT_EQ(Unmap(session, session.pMapped), NV_ENC_SUCCESS);
        EXPECT_EQ(m_api.nvEncUnregisterResource(session.Handle(), session.pRegistered), NV_ENC_SUCCESS);
        EXPECT_EQ(m_api.nvEncDestroyBitstreamBuffer(session.Handle(), session.pBuffer), NV_ENC_SUCCESS);
    }
    EXPECT_EQ(Breaches().left.uiSessions, 0u);
}

TEST_F(NvencStrictness, WhatASessionHoldsWhenItIsDestroyedIsReported)
{
    for (std::uint32_t uiSessions = 1; uiSessions <= 2; ++uiSessions)
    {
        const HANDLE hEvent = CreateEventW(nullptr, FALSE, FALSE, nullptr);
        FakeSurface second(64, 48);
        {
            SmallSession session;
            session.Register(second);
            auto event = MakeRecord<NV_ENC_EVENT_PARAMS>(NV_ENC_EVENT_PARAMS_VER);
            event.completionEvent = hEvent;
            EXPECT_EQ(m_api.nvEncRegisterAsyncEvent(session.Handle(), &event), NV_ENC_SUCCESS);
            void* const buffers[] = {session.pBuffer, session.CreateBuffer(), session.CreateBuffer(),
                                     session.CreateBuffer()};
            const auto encode = [&](int i) {
                return session.Encode(session.OpenSession::Picture(session.pMapped, buffers[i], 64, 48));
            };
            // One locked, one that waits to be read, one that the encoder has, one that was never used.
            EXPECT_EQ(encode(1), NV_ENC_SUCCESS);
            EXPECT_EQ(encode(0), NV_ENC_SUCCESS);
            EXPECT_EQ(session.Lock(buffers[0]), NV_ENC_SUCCESS);
            m_script.HoldEncoders(1);
            EXPECT_EQ(encode(2), NV_ENC_SUCCESS);
        }
        m_script.HoldEncoders(0);
        CloseHandle(hEvent);

        const NvencRuntimeObjects left = Breaches().left;
        EXPECT_EQ(left.uiSessions, uiSessions);
        EXPECT_EQ(left.uiRegisteredResources, 2 * uiSessions);
        EXPECT_EQ(left.uiMappedResources, uiSessions);
        EXPECT_EQ(left.uiBitstreamBuffers, 4 * uiSessions);
        EXPECT_EQ(left.uiRegisteredEvents, uiSessions);
        EXPECT_EQ(left.uiPendingPackets, uiSessions);
        EXPECT_EQ(left.uiUnreadPackets, uiSessions);
        EXPECT_EQ(left.uiLockedBuffers, uiSessions);
    }
    m_script.Reset();
    EXPECT_EQ(Breaches().left.uiSessions, 0u);
}

// --- surfaces ---

TEST_F(NvencStrictness, ASurfaceThatIsWrittenToWhileItIsMappedIsReported)
{
    m_script.WatchSurfaces(1);
    SmallSession session;
    ASSERT_EQ(session.Encode(session.Picture()), NV_ENC_SUCCESS);
    EXPECT_EQ(Breaches().uiSurfacesWritten, 0u);
    // In flight: it is found when the surface is unmapped.
    session.surface.Row(47)[63 * 4] ^= 1;
    ASSERT_EQ(session.Lock(session.pBuffer), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);
    EXPECT_EQ(Unmap(session, session.pMapped), NV_ENC_SUCCESS);
    EXPECT_EQ(Breaches().uiSurfacesWritten, 1u);

    // Unmapped, it is the caller's.
    session.surface.Row(0)[0] ^= 1;
    session.pMapped = session.Map(session.pRegistered);
    EXPECT_EQ(Breaches().uiSurfacesWritten, 1u);

    // Mapped and not sent: it is found when the picture is sent.
    session.surface.Row(0)[0] ^= 1;
    ASSERT_EQ(session.Encode(session.Picture()), NV_ENC_SUCCESS);
    EXPECT_EQ(Breaches().uiSurfacesWritten, 2u);
    ASSERT_EQ(session.Lock(session.pBuffer), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);

    // Never unmapped: it is found at the end.
    session.surface.Row(0)[0] ^= 1;
    EXPECT_EQ(session.Destroy(), NV_ENC_SUCCESS);
    EXPECT_EQ(Breaches().uiSurfacesWritten, 3u);
}

TEST_F(NvencStrictness, BothPlanesOfANv12SurfaceAreWatchedAndNothingAfterTheRows)
{
    m_script.WatchSurfaces(1);
    FakeSurface surface(64, 48, FakeSurface::Nv12());
    SmallSession session;
    void* const pRegistered = session.Register(surface, NV_ENC_BUFFER_FORMAT_NV12);
    const auto writeWhileMapped = [&](std::uint32_t uiRow, std::uint32_t uiByte) {
        const std::uint32_t uiBefore = Breaches().uiSurfacesWritten;
        void* const pMapped = session.Map(pRegistered);
        surface.Row(uiRow)[uiByte] ^= 1;
        EXPECT_EQ(Unmap(session, pMapped), NV_ENC_SUCCESS);
        return Breaches().uiSurfacesWritten - uiBefore;
    };
    EXPECT_EQ(writeWhileMapped(0, 0), 1u);
    EXPECT_EQ(writeWhileMapped(47, 63), 1u);
    EXPECT_EQ(writeWhileMapped(48, 0), 1u);
    EXPECT_EQ(writeWhileMapped(71, 63), 1u);
    EXPECT_EQ(writeWhileMapped(0, 64), 0u);
    EXPECT_EQ(Unmap(session, session.pMapped), NV_ENC_SUCCESS);
}

TEST_F(NvencStrictness, SurfacesAreWatchedOnRequestOnly)
{
    SmallSession session;
    ASSERT_EQ(session.Encode(session.Picture()), NV_ENC_SUCCESS);
    session.surface.Row(0)[0] ^= 1;
    ASSERT_EQ(session.Lock(session.pBuffer), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);
    EXPECT_EQ(Unmap(session, session.pMapped), NV_ENC_SUCCESS);
    EXPECT_EQ(Breaches().uiSurfacesWritten, 0u);
    EXPECT_EQ(session.surface.Locks(), 1);
}

// --- order ---

TEST_F(NvencStrictness, ALockBeforeThatOfAnOlderPacketIsReported)
{
    SmallSession session;
    void* const pSecond = session.CreateBuffer();
    ASSERT_EQ(session.Encode(session.Picture()), NV_ENC_SUCCESS);
    ASSERT_EQ(session.Encode(session.OpenSession::Picture(session.pMapped, pSecond, 64, 48)), NV_ENC_SUCCESS);
    ASSERT_EQ(session.Lock(pSecond), NV_ENC_SUCCESS);
    EXPECT_EQ(Breaches().uiLocksOutOfOrder, 1u);
    ASSERT_EQ(session.Lock(session.pBuffer), NV_ENC_SUCCESS);
    EXPECT_EQ(Breaches().uiLocksOutOfOrder, 1u);
    EXPECT_EQ(session.Unlock(pSecond), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);
}

TEST_F(NvencStrictness, ARingThatReadsInOrderBreaksNoRule)
{
    m_script.WatchSurfaces(1);
    SessionSetup setup;
    setup.config.frameIntervalP = 3;
    EncodeNatural(setup, 20);
    const NvencRuntimeBreaches breaches = Breaches();
    EXPECT_EQ(breaches.uiLocksOutOfOrder, 0u);
    EXPECT_EQ(breaches.uiSurfacesWritten, 0u);
    EXPECT_EQ(breaches.uiEventsUnregisteredInFlight, 0u);
    EXPECT_EQ(breaches.left.uiMappedResources, 0u);
    EXPECT_EQ(breaches.left.uiUnreadPackets, 0u);
}
