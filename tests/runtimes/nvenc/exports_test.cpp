#include <cstring>

#include "runtime.h"

TEST_F(NvencRuntime, ReportsVersionNinePointZero)
{
    std::uint32_t uiVersion = 0;
    EXPECT_EQ(m_runtime.getMaxSupportedVersion(&uiVersion), NV_ENC_SUCCESS);
    EXPECT_EQ(uiVersion, 144u);
    EXPECT_EQ(m_runtime.getMaxSupportedVersion(nullptr), NV_ENC_ERR_INVALID_PTR);
}

TEST_F(NvencRuntime, FillsEveryEntryOfTheTableAndNothingReserved)
{
    auto list = MakeRecord<NV_ENCODE_API_FUNCTION_LIST>(0x70020009);
    ASSERT_EQ(m_runtime.createInstance(&list), NV_ENC_SUCCESS);

    // The 37 slots after the two words at the head, then the reserved rest, as they lie in memory.
    void* slots[318];
    std::memcpy(slots, reinterpret_cast<const char*>(&list) + 8, sizeof slots);
    for (int i = 0; i < 318; ++i)
    {
        const bool bEntry = i < 37 && i != 33;
        EXPECT_EQ(slots[i] != nullptr, bEntry) << "slot " << i;
    }
}

TEST_F(NvencRuntime, RefusesATableWithAnotherVersionWord)
{
    for (const std::uint32_t uiVersion : {0u, 0x70010009u, 0x70020008u, 0xF0020009u})
    {
        auto list = MakeRecord<NV_ENCODE_API_FUNCTION_LIST>(uiVersion);
        EXPECT_EQ(m_runtime.createInstance(&list), NV_ENC_ERR_INVALID_VERSION);
        EXPECT_EQ(list.nvEncOpenEncodeSessionEx, nullptr);
    }
    EXPECT_EQ(m_runtime.createInstance(nullptr), NV_ENC_ERR_INVALID_PTR);
}

TEST_F(NvencRuntime, EntriesWithoutAUseHereAreUnimplemented)
{
    const OpenSession session;
    void* const p = session.Handle();
    EXPECT_EQ(m_api.nvEncCreateInputBuffer(p, nullptr), NV_ENC_ERR_UNIMPLEMENTED);
    EXPECT_EQ(m_api.nvEncDestroyInputBuffer(p, nullptr), NV_ENC_ERR_UNIMPLEMENTED);
    EXPECT_EQ(m_api.nvEncLockInputBuffer(p, nullptr), NV_ENC_ERR_UNIMPLEMENTED);
    EXPECT_EQ(m_api.nvEncUnlockInputBuffer(p, nullptr), NV_ENC_ERR_UNIMPLEMENTED);
    EXPECT_EQ(m_api.nvEncGetEncodeStats(p, nullptr), NV_ENC_ERR_UNIMPLEMENTED);
    EXPECT_EQ(m_api.nvEncReconfigureEncoder(p, nullptr), NV_ENC_ERR_UNIMPLEMENTED);
    EXPECT_EQ(m_api.nvEncInvalidateRefFrames(p, 0), NV_ENC_ERR_UNIMPLEMENTED);
    EXPECT_EQ(m_api.nvEncCreateMVBuffer(p, nullptr), NV_ENC_ERR_UNIMPLEMENTED);
    EXPECT_EQ(m_api.nvEncDestroyMVBuffer(p, nullptr), NV_ENC_ERR_UNIMPLEMENTED);
    EXPECT_EQ(m_api.nvEncRunMotionEstimationOnly(p, nullptr), NV_ENC_ERR_UNIMPLEMENTED);
}

TEST_F(NvencRuntime, TheFirstWayToOpenASessionIsClosed)
{
    int nDevice = 0;
    void* pEncoder = nullptr;
    EXPECT_EQ(m_api.nvEncOpenEncodeSession(&nDevice, NV_ENC_DEVICE_TYPE_DIRECTX, &pEncoder), NV_ENC_ERR_INVALID_CALL);
    EXPECT_EQ(pEncoder, nullptr);
}

namespace
{

NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS OpenRecord()
{
    auto record = MakeRecord<NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS>(0x70010009);
    record.deviceType = NV_ENC_DEVICE_TYPE_DIRECTX;
    record.device = static_cast<IDirect3DDevice9*>(&FakeDevice::Get());
    record.apiVersion = 9;
    return record;
}

}  // namespace

TEST_F(NvencRuntime, OpeningASessionExaminesTheRecord)
{
    int nAny = 0;
    void* pEncoder = &nAny;
    const auto open = [&](NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS record) {
        pEncoder = &nAny;
        return m_api.nvEncOpenEncodeSessionEx(&record, &pEncoder);
    };

    auto record = OpenRecord();
    record.version = 0x70020009;
    EXPECT_EQ(open(record), NV_ENC_ERR_INVALID_VERSION);
    EXPECT_EQ(pEncoder, nullptr);

    record = OpenRecord();
    record.apiVersion = 0x70010009;
    EXPECT_EQ(open(record), NV_ENC_ERR_INVALID_VERSION);

    record = OpenRecord();
    record.deviceType = NV_ENC_DEVICE_TYPE_CUDA;
    EXPECT_EQ(open(record), NV_ENC_ERR_UNSUPPORTED_DEVICE);

    record = OpenRecord();
    record.device = nullptr;
    EXPECT_EQ(open(record), NV_ENC_ERR_INVALID_PTR);

    EXPECT_EQ(m_api.nvEncOpenEncodeSessionEx(nullptr, &pEncoder), NV_ENC_ERR_INVALID_PTR);
    EXPECT_EQ(m_api.nvEncOpenEncodeSessionEx(&record, nullptr), NV_ENC_ERR_INVALID_PTR);
    EXPECT_EQ(m_script.CountObjects().uiSessions, 0u);
}

TEST_F(NvencRuntime, AHandleThatIsNoSessionIsRefusedByEveryEntry)
{
    int nAny = 0;
    for (void* const pEncoder : {static_cast<void*>(&nAny), static_cast<void*>(nullptr)})
    {
        const NVENCSTATUS eExpected = pEncoder ? NV_ENC_ERR_INVALID_ENCODERDEVICE : NV_ENC_ERR_INVALID_PTR;
        const GUID codec = NV_ENC_CODEC_H264_GUID;
        std::uint32_t uiCount = 0;
        int nValue = 0;
        GUID guid{};
        NV_ENC_BUFFER_FORMAT eFormat{};
        SessionSetup setup;
        auto caps = MakeRecord<NV_ENC_CAPS_PARAM>(NV_ENC_CAPS_PARAM_VER);
        auto preset = MakeRecord<NV_ENC_PRESET_CONFIG>(NV_ENC_PRESET_CONFIG_VER);
        auto buffer = MakeRecord<NV_ENC_CREATE_BITSTREAM_BUFFER>(NV_ENC_CREATE_BITSTREAM_BUFFER_VER);
        auto picture = MakeRecord<NV_ENC_PIC_PARAMS>(NV_ENC_PIC_PARAMS_VER);
        auto lock = MakeRecord<NV_ENC_LOCK_BITSTREAM>(NV_ENC_LOCK_BITSTREAM_VER);
        auto headers = MakeRecord<NV_ENC_SEQUENCE_PARAM_PAYLOAD>(NV_ENC_SEQUENCE_PARAM_PAYLOAD_VER);
        auto event = MakeRecord<NV_ENC_EVENT_PARAMS>(NV_ENC_EVENT_PARAMS_VER);
        auto resource = MakeRecord<NV_ENC_REGISTER_RESOURCE>(NV_ENC_REGISTER_RESOURCE_VER);
        auto map = MakeRecord<NV_ENC_MAP_INPUT_RESOURCE>(NV_ENC_MAP_INPUT_RESOURCE_VER);

        EXPECT_EQ(m_api.nvEncGetEncodeGUIDCount(pEncoder, &uiCount), eExpected);
        EXPECT_EQ(m_api.nvEncGetEncodeGUIDs(pEncoder, &guid, 1, &uiCount), eExpected);
        EXPECT_EQ(m_api.nvEncGetEncodeProfileGUIDCount(pEncoder, codec, &uiCount), eExpected);
        EXPECT_EQ(m_api.nvEncGetEncodeProfileGUIDs(pEncoder, codec, &guid, 1, &uiCount), eExpected);
        EXPECT_EQ(m_api.nvEncGetInputFormatCount(pEncoder, codec, &uiCount), eExpected);
        EXPECT_EQ(m_api.nvEncGetInputFormats(pEncoder, codec, &eFormat, 1, &uiCount), eExpected);
        EXPECT_EQ(m_api.nvEncGetEncodeCaps(pEncoder, codec, &caps, &nValue), eExpected);
        EXPECT_EQ(m_api.nvEncGetEncodePresetCount(pEncoder, codec, &uiCount), eExpected);
        EXPECT_EQ(m_api.nvEncGetEncodePresetGUIDs(pEncoder, codec, &guid, 1, &uiCount), eExpected);
        EXPECT_EQ(m_api.nvEncGetEncodePresetConfig(pEncoder, codec, NV_ENC_PRESET_HP_GUID, &preset), eExpected);
        EXPECT_EQ(m_api.nvEncInitializeEncoder(pEncoder, &setup.params), eExpected);
        EXPECT_EQ(m_api.nvEncCreateBitstreamBuffer(pEncoder, &buffer), eExpected);
        EXPECT_EQ(m_api.nvEncDestroyBitstreamBuffer(pEncoder, &nAny), eExpected);
        EXPECT_EQ(m_api.nvEncEncodePicture(pEncoder, &picture), eExpected);
        EXPECT_EQ(m_api.nvEncLockBitstream(pEncoder, &lock), eExpected);
        EXPECT_EQ(m_api.nvEncUnlockBitstream(pEncoder, &nAny), eExpected);
        EXPECT_EQ(m_api.nvEncGetSequenceParams(pEncoder, &headers), eExpected);
        EXPECT_EQ(m_api.nvEncRegisterAsyncEvent(pEncoder, &event), eExpected);
        EXPECT_EQ(m_api.nvEncUnregisterAsyncEvent(pEncoder, &event), eExpected);
        EXPECT_EQ(m_api.nvEncRegisterResource(pEncoder, &resource), eExpected);
        EXPECT_EQ(m_api.nvEncUnregisterResource(pEncoder, &nAny), eExpected);
        EXPECT_EQ(m_api.nvEncMapInputResource(pEncoder, &map), eExpected);
        EXPECT_EQ(m_api.nvEncUnmapInputResource(pEncoder, &nAny), eExpected);
        EXPECT_EQ(m_api.nvEncDestroyEncoder(pEncoder), eExpected);
    }
}

TEST_F(NvencRuntime, ADestroyedSessionIsNoSessionAnyMore)
{
    OpenSession session;
    void* const pEncoder = session.Handle();
    EXPECT_EQ(session.Destroy(), NV_ENC_SUCCESS);
    std::uint32_t uiCount = 0;
    EXPECT_EQ(m_api.nvEncGetEncodeGUIDCount(pEncoder, &uiCount), NV_ENC_ERR_INVALID_ENCODERDEVICE);
    EXPECT_EQ(m_api.nvEncDestroyEncoder(pEncoder), NV_ENC_ERR_INVALID_ENCODERDEVICE);
}

TEST_F(NvencRuntime, NullRecordsAndHandlesAreRefused)
{
    const SmallSession session;
    void* const p = session.Handle();
    EXPECT_EQ(m_api.nvEncInitializeEncoder(p, nullptr), NV_ENC_ERR_INVALID_PTR);
    EXPECT_EQ(m_api.nvEncCreateBitstreamBuffer(p, nullptr), NV_ENC_ERR_INVALID_PTR);
    EXPECT_EQ(m_api.nvEncDestroyBitstreamBuffer(p, nullptr), NV_ENC_ERR_INVALID_PTR);
    EXPECT_EQ(m_api.nvEncEncodePicture(p, nullptr), NV_ENC_ERR_INVALID_PTR);
    EXPECT_EQ(m_api.nvEncLockBitstream(p, nullptr), NV_ENC_ERR_INVALID_PTR);
    EXPECT_EQ(m_api.nvEncUnlockBitstream(p, nullptr), NV_ENC_ERR_INVALID_PTR);
    EXPECT_EQ(m_api.nvEncGetSequenceParams(p, nullptr), NV_ENC_ERR_INVALID_PTR);
    EXPECT_EQ(m_api.nvEncRegisterAsyncEvent(p, nullptr), NV_ENC_ERR_INVALID_PTR);
    EXPECT_EQ(m_api.nvEncUnregisterAsyncEvent(p, nullptr), NV_ENC_ERR_INVALID_PTR);
    EXPECT_EQ(m_api.nvEncRegisterResource(p, nullptr), NV_ENC_ERR_INVALID_PTR);
    EXPECT_EQ(m_api.nvEncUnregisterResource(p, nullptr), NV_ENC_ERR_INVALID_PTR);
    EXPECT_EQ(m_api.nvEncMapInputResource(p, nullptr), NV_ENC_ERR_INVALID_PTR);
    EXPECT_EQ(m_api.nvEncUnmapInputResource(p, nullptr), NV_ENC_ERR_INVALID_PTR);
}

TEST_F(NvencRuntime, NothingButQueriesAndEventsGoesBeforeInitialisation)
{
    const OpenSession session;
    void* const p = session.Handle();
    int nAny = 0;
    auto buffer = MakeRecord<NV_ENC_CREATE_BITSTREAM_BUFFER>(NV_ENC_CREATE_BITSTREAM_BUFFER_VER);
    auto picture = MakeRecord<NV_ENC_PIC_PARAMS>(NV_ENC_PIC_PARAMS_VER);
    auto lock = MakeRecord<NV_ENC_LOCK_BITSTREAM>(NV_ENC_LOCK_BITSTREAM_VER);
    lock.outputBitstream = &nAny;
    auto headers = MakeRecord<NV_ENC_SEQUENCE_PARAM_PAYLOAD>(NV_ENC_SEQUENCE_PARAM_PAYLOAD_VER);
    std::uint32_t uiSize = 0;
    headers.spsppsBuffer = &nAny;
    headers.outSPSPPSPayloadSize = &uiSize;
    auto resource = MakeRecord<NV_ENC_REGISTER_RESOURCE>(NV_ENC_REGISTER_RESOURCE_VER);
    auto map = MakeRecord<NV_ENC_MAP_INPUT_RESOURCE>(NV_ENC_MAP_INPUT_RESOURCE_VER);
    constexpr NVENCSTATUS eExpected = NV_ENC_ERR_ENCODER_NOT_INITIALIZED;
    EXPECT_EQ(m_api.nvEncCreateBitstreamBuffer(p, &buffer), eExpected);
    EXPECT_EQ(m_api.nvEncDestroyBitstreamBuffer(p, &nAny), eExpected);
    EXPECT_EQ(m_api.nvEncEncodePicture(p, &picture), eExpected);
    EXPECT_EQ(m_api.nvEncLockBitstream(p, &lock), eExpected);
    EXPECT_EQ(m_api.nvEncUnlockBitstream(p, &nAny), eExpected);
    EXPECT_EQ(m_api.nvEncGetSequenceParams(p, &headers), eExpected);
    EXPECT_EQ(m_api.nvEncRegisterResource(p, &resource), eExpected);
    EXPECT_EQ(m_api.nvEncUnregisterResource(p, &nAny), eExpected);
    EXPECT_EQ(m_api.nvEncMapInputResource(p, &map), eExpected);
    EXPECT_EQ(m_api.nvEncUnmapInputResource(p, &nAny), eExpected);
}

TEST_F(NvencRuntime, ARecordWithAnotherVersionWordIsRefused)
{
    const SmallSession session;
    void* const p = session.Handle();
    auto buffer = MakeRecord<NV_ENC_CREATE_BITSTREAM_BUFFER>(0x70020009);
    EXPECT_EQ(m_api.nvEncCreateBitstreamBuffer(p, &buffer), NV_ENC_ERR_INVALID_VERSION);
    NV_ENC_PIC_PARAMS picture = session.Picture();
    picture.version = 0x70040009;
    EXPECT_EQ(m_api.nvEncEncodePicture(p, &picture), NV_ENC_ERR_INVALID_VERSION);
    auto lock = MakeRecord<NV_ENC_LOCK_BITSTREAM>(0xF0010009);
    lock.outputBitstream = session.pBuffer;
    EXPECT_EQ(m_api.nvEncLockBitstream(p, &lock), NV_ENC_ERR_INVALID_VERSION);
    auto headers = MakeRecord<NV_ENC_SEQUENCE_PARAM_PAYLOAD>(0x70020009);
    EXPECT_EQ(m_api.nvEncGetSequenceParams(p, &headers), NV_ENC_ERR_INVALID_VERSION);
    auto event = MakeRecord<NV_ENC_EVENT_PARAMS>(0);
    EXPECT_EQ(m_api.nvEncRegisterAsyncEvent(p, &event), NV_ENC_ERR_INVALID_VERSION);
    EXPECT_EQ(m_api.nvEncUnregisterAsyncEvent(p, &event), NV_ENC_ERR_INVALID_VERSION);
    auto resource = MakeRecord<NV_ENC_REGISTER_RESOURCE>(0x70040009);
    EXPECT_EQ(m_api.nvEncRegisterResource(p, &resource), NV_ENC_ERR_INVALID_VERSION);
    auto map = MakeRecord<NV_ENC_MAP_INPUT_RESOURCE>(0x70030009);
    EXPECT_EQ(m_api.nvEncMapInputResource(p, &map), NV_ENC_ERR_INVALID_VERSION);
    auto caps = MakeRecord<NV_ENC_CAPS_PARAM>(0x70020009);
    int nValue = 0;
    EXPECT_EQ(m_api.nvEncGetEncodeCaps(p, NV_ENC_CODEC_H264_GUID, &caps, &nValue), NV_ENC_ERR_INVALID_VERSION);
}
