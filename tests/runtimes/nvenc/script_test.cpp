// The instrument that other tests play: it must do what it says.
#include <cstring>
#include <limits>

#include "ring_client.h"

TEST_F(NvencRuntime, AScriptFailsTheCallsItNamesAndNoOthers)
{
    SmallSession session;
    m_script.FailCalls(NVENC_ENTRY_ENCODE_PICTURE, 2, 2, NV_ENC_ERR_DEVICE_NOT_EXIST);
    const auto encode = [&] {
        const NVENCSTATUS eStatus = session.Encode(session.Picture());
        if (eStatus == NV_ENC_SUCCESS)
        {
            EXPECT_EQ(session.Lock(session.pBuffer), NV_ENC_SUCCESS);
            EXPECT_EQ(session.Unlock(session.pBuffer), NV_ENC_SUCCESS);
        }
        return eStatus;
    };
    EXPECT_EQ(encode(), NV_ENC_SUCCESS);
    EXPECT_EQ(encode(), NV_ENC_ERR_DEVICE_NOT_EXIST);
    EXPECT_EQ(encode(), NV_ENC_ERR_DEVICE_NOT_EXIST);
    EXPECT_EQ(encode(), NV_ENC_SUCCESS);
    EXPECT_EQ(m_script.CountCalls(NVENC_ENTRY_ENCODE_PICTURE), 4u);
    EXPECT_EQ(session.surface.Locks(), 2);
}

TEST_F(NvencRuntime, AScriptedFailureCountsFromTheMomentItIsSet)
{
    const OpenSession session;
    std::uint32_t uiCount = 0;
    const auto ask = [&] { return m_api.nvEncGetEncodeGUIDCount(session.Handle(), &uiCount); };
    EXPECT_EQ(ask(), NV_ENC_SUCCESS);
    constexpr std::uint32_t c_uiForEver = std::numeric_limits<std::uint32_t>::max();
    m_script.FailCalls(NVENC_ENTRY_GET_ENCODE_GUID_COUNT, 1, c_uiForEver, NV_ENC_ERR_GENERIC);
    EXPECT_EQ(ask(), NV_ENC_ERR_GENERIC);
    EXPECT_EQ(ask(), NV_ENC_ERR_GENERIC);
    m_script.FailCalls(NVENC_ENTRY_GET_ENCODE_GUID_COUNT, 1, 0, NV_ENC_ERR_GENERIC);
    EXPECT_EQ(ask(), NV_ENC_SUCCESS);
}

// A scripted failure comes before anything else an entry might find wrong, so that one loop serves for all entries.
TEST_F(NvencRuntime, EveryEntryCanBeMadeToFail)
{
    using Call = NVENCSTATUS (*)(const NV_ENCODE_API_FUNCTION_LIST&);
    const Call calls[] = {
        [](auto& a) { return a.nvEncOpenEncodeSession(nullptr, 0, nullptr); },
        [](auto& a) { return a.nvEncGetEncodeGUIDCount(nullptr, nullptr); },
        [](auto& a) { return a.nvEncGetEncodeProfileGUIDCount(nullptr, GUID{}, nullptr); },
        [](auto& a) { return a.nvEncGetEncodeProfileGUIDs(nullptr, GUID{}, nullptr, 0, nullptr); },
        [](auto& a) { return a.nvEncGetEncodeGUIDs(nullptr, nullptr, 0, nullptr); },
        [](auto& a) { return a.nvEncGetInputFormatCount(nullptr, GUID{}, nullptr); },
        [](auto& a) { return a.nvEncGetInputFormats(nullptr, GUID{}, nullptr, 0, nullptr); },
        [](auto& a) { return a.nvEncGetEncodeCaps(nullptr, GUID{}, nullptr, nullptr); },
        [](auto& a) { return a.nvEncGetEncodePresetCount(nullptr, GUID{}, nullptr); },
        [](auto& a) { return a.nvEncGetEncodePresetGUIDs(nullptr, GUID{}, nullptr, 0, nullptr); },
        [](auto& a) { return a.nvEncGetEncodePresetConfig(nullptr, GUID{}, GUID{}, nullptr); },
        [](auto& a) { return a.nvEncInitializeEncoder(nullptr, nullptr); },
        [](auto& a) { return a.nvEncCreateInputBuffer(nullptr, nullptr); },
        [](auto& a) { return a.nvEncDestroyInputBuffer(nullptr, nullptr); },
        [](auto& a) { return a.nvEncCreateBitstreamBuffer(nullptr, nullptr); },
        [](auto& a) { return a.nvEncDestroyBitstreamBuffer(nullptr, nullptr); },
        [](auto& a) { return a.nvEncEncodePicture(nullptr, nullptr); },
        [](auto& a) { return a.nvEncLockBitstream(nullptr, nullptr); },
        [](auto& a) { return a.nvEncUnlockBitstream(nullptr, nullptr); },
        [](auto& a) { return a.nvEncLockInputBuffer(nullptr, nullptr); },
        [](auto& a) { return a.nvEncUnlockInputBuffer(nullptr, nullptr); },
        [](auto& a) { return a.nvEncGetEncodeStats(nullptr, nullptr); },
        [](auto& a) { return a.nvEncGetSequenceParams(nullptr, nullptr); },
        [](auto& a) { return a.nvEncRegisterAsyncEvent(nullptr, nullptr); },
        [](auto& a) { return a.nvEncUnregisterAsyncEvent(nullptr, nullptr); },
        [](auto& a) { return a.nvEncMapInputResource(nullptr, nullptr); },
        [](auto& a) { return a.nvEncUnmapInputResource(nullptr, nullptr); },
        [](auto& a) { return a.nvEncDestroyEncoder(nullptr); },
        [](auto& a) { return a.nvEncInvalidateRefFrames(nullptr, 0); },
        [](auto& a) { return a.nvEncOpenEncodeSessionEx(nullptr, nullptr); },
        [](auto& a) { return a.nvEncRegisterResource(nullptr, nullptr); },
        [](auto& a) { return a.nvEncUnregisterResource(nullptr, nullptr); },
        [](auto& a) { return a.nvEncReconfigureEncoder(nullptr, nullptr); },
        nullptr,
        [](auto& a) { return a.nvEncCreateMVBuffer(nullptr, nullptr); },
        [](auto& a) { return a.nvEncDestroyMVBuffer(nullptr, nullptr); },
        [](auto& a) { return a.nvEncRunMotionEstimationOnly(nullptr, nullptr); },
        [](auto&) { return Runtime::Get().getMaxSupportedVersion(nullptr); },
        [](auto&) { return Runtime::Get().createInstance(nullptr); },
    };
    ASSERT_EQ(std::size(calls), static_cast<std::size_t>(NVENC_ENTRY_COUNT));
    for (int i = 0; i < NVENC_ENTRY_COUNT; ++i)
    {
        if (!calls[i])
        {
            continue;
        }
        const auto eEntry = static_cast<NvencRuntimeEntry>(i);
        // A status that no entry gives of its own accord.
        m_script.FailCalls(eEntry, 1, 1, NV_ENC_ERR_INCOMPATIBLE_CLIENT_KEY);
        EXPECT_EQ(calls[i](m_api), NV_ENC_ERR_INCOMPATIBLE_CLIENT_KEY) << i;
        EXPECT_NE(calls[i](m_api), NV_ENC_ERR_INCOMPATIBLE_CLIENT_KEY) << i;
        EXPECT_EQ(m_script.CountCalls(eEntry), 2u) << i;
    }
}

TEST_F(NvencRuntime, AScriptedVersionIsReported)
{
    m_script.ReportVersion(143);
    std::uint32_t uiVersion = 0;
    EXPECT_EQ(m_runtime.getMaxSupportedVersion(&uiVersion), NV_ENC_SUCCESS);
    EXPECT_EQ(uiVersion, 143u);
    m_script.Reset();
    EXPECT_EQ(m_runtime.getMaxSupportedVersion(&uiVersion), NV_ENC_SUCCESS);
    EXPECT_EQ(uiVersion, 144u);
}

TEST_F(NvencRuntime, AnEntryCanBeLacking)
{
    m_script.LackEntry(NVENC_ENTRY_OPEN_ENCODE_SESSION);
    m_script.LackEntry(NVENC_ENTRY_UNREGISTER_RESOURCE);
    auto list = MakeRecord<NV_ENCODE_API_FUNCTION_LIST>(NV_ENCODE_API_FUNCTION_LIST_VER);
    ASSERT_EQ(m_runtime.createInstance(&list), NV_ENC_SUCCESS);
    EXPECT_EQ(list.nvEncOpenEncodeSession, nullptr);
    EXPECT_EQ(list.nvEncUnregisterResource, nullptr);
    EXPECT_NE(list.nvEncOpenEncodeSessionEx, nullptr);
    EXPECT_NE(list.nvEncRegisterResource, nullptr);
}

TEST_F(NvencRuntime, ACapabilityCanBeScripted)
{
    const OpenSession session;
    const auto ask = [&](NV_ENC_CAPS eCapability) {
        auto record = MakeRecord<NV_ENC_CAPS_PARAM>(NV_ENC_CAPS_PARAM_VER);
        record.capsToQuery = eCapability;
        int nValue = -1;
        EXPECT_EQ(m_api.nvEncGetEncodeCaps(session.Handle(), NV_ENC_CODEC_H264_GUID, &record, &nValue), NV_ENC_SUCCESS);
        return nValue;
    };
    m_script.SetCapability(NV_ENC_CAPS_ASYNC_ENCODE_SUPPORT, 0);
    EXPECT_EQ(ask(NV_ENC_CAPS_ASYNC_ENCODE_SUPPORT), 0);
    EXPECT_EQ(ask(NV_ENC_CAPS_SUPPORT_CABAC), 1);
    m_script.Reset();
    EXPECT_EQ(ask(NV_ENC_CAPS_ASYNC_ENCODE_SUPPORT), 1);
}

TEST_F(NvencRuntime, DelayedPacketsAreHeldBackAndTheirPicturesAnsweredWithNeedMoreInput)
{
    m_script.DelayPackets(2);
    SmallSession session;
    void* const buffers[] = {session.pBuffer, session.CreateBuffer(), session.CreateBuffer()};
    const auto encode = [&](int i) {
        return session.Encode(session.OpenSession::Picture(session.pMapped, buffers[i], 64, 48));
    };
    EXPECT_EQ(encode(0), NV_ENC_ERR_NEED_MORE_INPUT);
    EXPECT_EQ(session.Lock(buffers[0]), NV_ENC_ERR_NEED_MORE_INPUT);
    EXPECT_EQ(encode(1), NV_ENC_ERR_NEED_MORE_INPUT);
    EXPECT_EQ(encode(2), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Lock(buffers[0]), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Unlock(buffers[0]), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Lock(buffers[1]), NV_ENC_ERR_NEED_MORE_INPUT);
    ASSERT_EQ(session.EndStream(), NV_ENC_SUCCESS);
    for (const int i : {1, 2})
    {
        EXPECT_EQ(session.Lock(buffers[i]), NV_ENC_SUCCESS);
        EXPECT_EQ(session.Unlock(buffers[i]), NV_ENC_SUCCESS);
    }
}

TEST_F(NvencRuntime, DelayedPacketsAreTheSamePackets)
{
    const SessionSetup setup(64, 48);
    const std::vector<std::uint8_t> honest = Join(EncodeNatural(setup, 10));
    m_script.DelayPackets(3);
    EXPECT_EQ(Join(EncodeNatural(setup, 10)), honest);
}

TEST_F(NvencRuntime, WhatIsOpenIsCounted)
{
    EXPECT_EQ(m_script.CountObjects().uiSessions, 0u);
    {
        SmallSession session;
        const OpenSession other;
        session.CreateBuffer();
        const NvencRuntimeObjects objects = m_script.CountObjects();
        EXPECT_EQ(objects.uiSessions, 2u);
        EXPECT_EQ(objects.uiRegisteredResources, 1u);
        EXPECT_EQ(objects.uiMappedResources, 1u);
        EXPECT_EQ(objects.uiBitstreamBuffers, 2u);
        EXPECT_EQ(objects.uiRegisteredEvents, 0u);
    }
    EXPECT_EQ(m_script.CountObjects().uiSessions, 0u);
}

TEST_F(NvencRuntime, UnknownEntriesAreLeftAlone)
{
    for (const int nEntry : {-1, 39, 1000})
    {
        const auto eEntry = static_cast<NvencRuntimeEntry>(nEntry);
        m_script.FailCalls(eEntry, 1, 1, NV_ENC_ERR_GENERIC);
        m_script.LackEntry(eEntry);
        EXPECT_EQ(m_script.CountCalls(eEntry), 0u);
    }
}

TEST_F(NvencRuntime, SettingsOfTheLastSessionCanBeRead)
{
    SessionSetup setup(64, 48);
    setup.config.profileGUID = NV_ENC_H264_PROFILE_MAIN_GUID;
    OpenSession session;
    ASSERT_EQ(session.Initialize(setup), NV_ENC_SUCCESS);
    NvencRuntimeX264Settings settings{};
    m_script.GetX264Settings(&settings);
    EXPECT_STREQ(settings.szPreset, "superfast");
    EXPECT_STREQ(settings.szProfile, "main");
    EXPECT_NE(std::strstr(settings.szOptions, "qp=28"), nullptr);
    EXPECT_LT(std::strlen(settings.szOptions), sizeof settings.szOptions - 1);
}
