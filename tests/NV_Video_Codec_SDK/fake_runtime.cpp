#include "fake_runtime.h"

#include <algorithm>
#include <windows.h>

namespace
{
FakeRuntime* g_pRuntime = nullptr;
}  // namespace

// The functions of the table. Version words are typed out, so that they don't follow the declarations into a mistake.
struct FakeEntries
{
    static NVENCSTATUS GetMaxSupportedVersion(std::uint32_t* version)
    {
        const NVENCSTATUS eStatus = g_pRuntime->Enter("NvEncodeAPIGetMaxSupportedVersion");
        g_pRuntime->Expect(*version == 0, "the version to fill isn't cleared");
        if (eStatus == NV_ENC_SUCCESS) *version = g_pRuntime->m_uiVersion;
        return eStatus;
    }

    static NVENCSTATUS CreateInstance(NV_ENCODE_API_FUNCTION_LIST* list)
    {
        if (const NVENCSTATUS eStatus = g_pRuntime->Enter("NvEncodeAPICreateInstance")) return eStatus;
        g_pRuntime->Expect(list->version == 0x70020009, "NV_ENCODE_API_FUNCTION_LIST's version");
        g_pRuntime->Expect(!list->nvEncOpenEncodeSession && !list->nvEncDestroyEncoder, "the table isn't cleared");
        Offer("nvEncOpenEncodeSession", list->nvEncOpenEncodeSession, &OpenEncodeSession);
        Offer("nvEncOpenEncodeSessionEx", list->nvEncOpenEncodeSessionEx, &OpenEncodeSessionEx);
        Offer("nvEncGetEncodeCaps", list->nvEncGetEncodeCaps, &GetEncodeCaps);
        Offer("nvEncGetEncodePresetCount", list->nvEncGetEncodePresetCount, &GetEncodePresetCount);
        Offer("nvEncGetEncodePresetGUIDs", list->nvEncGetEncodePresetGUIDs, &GetEncodePresetGUIDs);
        Offer("nvEncGetEncodePresetConfig", list->nvEncGetEncodePresetConfig, &GetEncodePresetConfig);
        Offer("nvEncInitializeEncoder", list->nvEncInitializeEncoder, &InitializeEncoder);
        Offer("nvEncRegisterAsyncEvent", list->nvEncRegisterAsyncEvent, &RegisterAsyncEvent);
        Offer("nvEncUnregisterAsyncEvent", list->nvEncUnregisterAsyncEvent, &UnregisterAsyncEvent);
        Offer("nvEncCreateBitstreamBuffer", list->nvEncCreateBitstreamBuffer, &CreateBitstreamBuffer);
        Offer("nvEncDestroyBitstreamBuffer", list->nvEncDestroyBitstreamBuffer, &DestroyBitstreamBuffer);
        Offer("nvEncRegisterResource", list->nvEncRegisterResource, &RegisterResource);
        Offer("nvEncUnregisterResource", list->nvEncUnregisterResource, &UnregisterResource);
        Offer("nvEncMapInputResource", list->nvEncMapInputResource, &MapInputResource);
        Offer("nvEncUnmapInputResource", list->nvEncUnmapInputResource, &UnmapInputResource);
        Offer("nvEncEncodePicture", list->nvEncEncodePicture, &EncodePicture);
        Offer("nvEncLockBitstream", list->nvEncLockBitstream, &LockBitstream);
        Offer("nvEncUnlockBitstream", list->nvEncUnlockBitstream, &UnlockBitstream);
        Offer("nvEncDestroyEncoder", list->nvEncDestroyEncoder, &DestroyEncoder);
        return NV_ENC_SUCCESS;
    }

    template <typename T>
    static void Offer(const char* pszEntry, T& slot, T pfn)
    {
        slot = g_pRuntime->m_setLacking.count(pszEntry) ? nullptr : pfn;
    }

    static NVENCSTATUS OpenEncodeSession(void*, std::uint32_t, void**)
    {
        return g_pRuntime->Enter("nvEncOpenEncodeSession");
    }

    static NVENCSTATUS OpenEncodeSessionEx(NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS* params, void** encoder)
    {
        if (const NVENCSTATUS eStatus = g_pRuntime->Enter("nvEncOpenEncodeSessionEx")) return eStatus;
        g_pRuntime->Expect(params->version == 0x70010009, "NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS's version");
        g_pRuntime->m_vOpened.push_back(*params);
        if (g_pRuntime->m_bNullSession) return NV_ENC_SUCCESS;
        *encoder = g_pRuntime->NewHandle();
        g_pRuntime->m_setSessions.insert(*encoder);
        return NV_ENC_SUCCESS;
    }

    static NVENCSTATUS GetEncodeCaps(void* encoder, GUID codec, NV_ENC_CAPS_PARAM* params, int* value)
    {
        g_pRuntime->m_vCodecsAsked.push_back(codec);
        if (const NVENCSTATUS eStatus = EnterSession("nvEncGetEncodeCaps", encoder)) return eStatus;
        g_pRuntime->Expect(params->version == 0x70010009, "NV_ENC_CAPS_PARAM's version");
        *value = params->capsToQuery == 30 ? g_pRuntime->m_nAsyncSupport : -1;
        return NV_ENC_SUCCESS;
    }

    static NVENCSTATUS GetEncodePresetCount(void* encoder, GUID codec, std::uint32_t* count)
    {
        g_pRuntime->m_vCodecsAsked.push_back(codec);
        if (const NVENCSTATUS eStatus = EnterSession("nvEncGetEncodePresetCount", encoder)) return eStatus;
        *count = 9;
        return NV_ENC_SUCCESS;
    }

    static NVENCSTATUS GetEncodePresetGUIDs(void* encoder, GUID codec, GUID* presets, std::uint32_t size,
                                            std::uint32_t* count)
    {
        g_pRuntime->m_vCodecsAsked.push_back(codec);
        if (const NVENCSTATUS eStatus = EnterSession("nvEncGetEncodePresetGUIDs", encoder)) return eStatus;
        g_pRuntime->m_vPresetListSizes.push_back(size);
        g_pRuntime->Expect(std::all_of(presets, presets + size, [](const GUID& guid) { return guid == GUID{}; }),
                           "the list of presets isn't cleared");
        *count = 0;
        return NV_ENC_SUCCESS;
    }

    static NVENCSTATUS GetEncodePresetConfig(void* encoder, GUID codec, GUID preset, NV_ENC_PRESET_CONFIG* config)
    {
        g_pRuntime->m_vCodecsAsked.push_back(codec);
        g_pRuntime->m_vPresetsAsked.push_back(preset);
        if (const NVENCSTATUS eStatus = EnterSession("nvEncGetEncodePresetConfig", encoder)) return eStatus;
        g_pRuntime->Expect(config->version == 0xF0040009, "NV_ENC_PRESET_CONFIG's version");
        g_pRuntime->Expect(config->presetCfg.version == 0xF0070009, "the version of NV_ENC_PRESET_CONFIG's presetCfg");
        config->presetCfg = g_pRuntime->m_presetConfig;
        return NV_ENC_SUCCESS;
    }

    static NVENCSTATUS InitializeEncoder(void* encoder, NV_ENC_INITIALIZE_PARAMS* params)
    {
        if (const NVENCSTATUS eStatus = EnterSession("nvEncInitializeEncoder", encoder)) return eStatus;
        g_pRuntime->Expect(params->version == 0xF0050009, "NV_ENC_INITIALIZE_PARAMS's version");
        g_pRuntime->Expect(params->encodeConfig && params->encodeConfig->version == 0xF0070009,
                           "NV_ENC_CONFIG's version");
        g_pRuntime->m_vInitialized.push_back(*params);
        g_pRuntime->m_vConfigs.push_back(*params->encodeConfig);
        return NV_ENC_SUCCESS;
    }

    static NVENCSTATUS RegisterAsyncEvent(void* encoder, NV_ENC_EVENT_PARAMS* params)
    {
        if (const NVENCSTATUS eStatus = EnterSession("nvEncRegisterAsyncEvent", encoder)) return eStatus;
        g_pRuntime->Expect(params->version == 0x70010009, "NV_ENC_EVENT_PARAMS's version");
        g_pRuntime->Expect(g_pRuntime->m_setEvents.insert(params->completionEvent).second, "an event registered twice");
        return NV_ENC_SUCCESS;
    }

    static NVENCSTATUS UnregisterAsyncEvent(void* encoder, NV_ENC_EVENT_PARAMS* params)
    {
        if (const NVENCSTATUS eStatus = EnterSession("nvEncUnregisterAsyncEvent", encoder)) return eStatus;
        g_pRuntime->Expect(params->version == 0x70010009, "NV_ENC_EVENT_PARAMS's version");
        g_pRuntime->Expect(g_pRuntime->m_setEvents.erase(params->completionEvent) == 1, "an unknown event");
        return NV_ENC_SUCCESS;
    }

    static NVENCSTATUS CreateBitstreamBuffer(void* encoder, NV_ENC_CREATE_BITSTREAM_BUFFER* params)
    {
        if (const NVENCSTATUS eStatus = EnterSession("nvEncCreateBitstreamBuffer", encoder)) return eStatus;
        g_pRuntime->Expect(params->version == 0x70010009, "NV_ENC_CREATE_BITSTREAM_BUFFER's version");
        params->bitstreamBuffer = g_pRuntime->NewHandle();
        g_pRuntime->m_setBuffers.insert(params->bitstreamBuffer);
        return NV_ENC_SUCCESS;
    }

    static NVENCSTATUS DestroyBitstreamBuffer(void* encoder, void* buffer)
    {
        if (const NVENCSTATUS eStatus = EnterSession("nvEncDestroyBitstreamBuffer", encoder)) return eStatus;
        g_pRuntime->Expect(g_pRuntime->m_setBuffers.erase(buffer) == 1, "an unknown bitstream buffer");
        return NV_ENC_SUCCESS;
    }

    static NVENCSTATUS RegisterResource(void* encoder, NV_ENC_REGISTER_RESOURCE* params)
    {
        if (const NVENCSTATUS eStatus = EnterSession("nvEncRegisterResource", encoder)) return eStatus;
        g_pRuntime->Expect(params->version == 0x70030009, "NV_ENC_REGISTER_RESOURCE's version");
        g_pRuntime->m_vRegistered.push_back(*params);
        params->registeredResource = g_pRuntime->NewHandle();
        g_pRuntime->m_mapRegistered[params->registeredResource] = params->resourceToRegister;
        return NV_ENC_SUCCESS;
    }

    static NVENCSTATUS UnregisterResource(void* encoder, void* registered)
    {
        if (const NVENCSTATUS eStatus = EnterSession("nvEncUnregisterResource", encoder)) return eStatus;
        g_pRuntime->Expect(g_pRuntime->m_mapRegistered.erase(registered) == 1, "an unknown registration");
        return NV_ENC_SUCCESS;
    }

    static NVENCSTATUS MapInputResource(void* encoder, NV_ENC_MAP_INPUT_RESOURCE* params)
    {
        if (const NVENCSTATUS eStatus = EnterSession("nvEncMapInputResource", encoder)) return eStatus;
        g_pRuntime->Expect(params->version == 0x70040009, "NV_ENC_MAP_INPUT_RESOURCE's version");
        g_pRuntime->Expect(g_pRuntime->m_mapRegistered.count(params->registeredResource) == 1,
                           "an unknown registration mapped");
        params->mappedResource = g_pRuntime->NewHandle();
        g_pRuntime->m_mapMapped[params->mappedResource] = params->registeredResource;
        return NV_ENC_SUCCESS;
    }

    static NVENCSTATUS UnmapInputResource(void* encoder, void* mapped)
    {
        if (const NVENCSTATUS eStatus = EnterSession("nvEncUnmapInputResource", encoder)) return eStatus;
        g_pRuntime->Expect(g_pRuntime->m_mapMapped.erase(mapped) == 1, "an unknown mapping");
        return NV_ENC_SUCCESS;
    }

    static NVENCSTATUS EncodePicture(void* encoder, NV_ENC_PIC_PARAMS* picture)
    {
        const bool bEnd = (picture->encodePicFlags & 8) != 0;
        (bEnd ? g_pRuntime->m_vEnds : g_pRuntime->m_vPictures).push_back(*picture);
        if (const NVENCSTATUS eStatus = EnterSession("nvEncEncodePicture", encoder)) return eStatus;
        g_pRuntime->Expect(picture->version == 0xF0040009, "NV_ENC_PIC_PARAMS's version");
        return bEnd ? NV_ENC_SUCCESS : g_pRuntime->EncodePicture(*picture);
    }

    static NVENCSTATUS LockBitstream(void* encoder, NV_ENC_LOCK_BITSTREAM* params)
    {
        if (const NVENCSTATUS eStatus = EnterSession("nvEncLockBitstream", encoder)) return eStatus;
        g_pRuntime->Expect(params->version == 0x70010009, "NV_ENC_LOCK_BITSTREAM's version");
        g_pRuntime->Expect(params->doNotWait == 0, "a lock that doesn't wait");
        const auto it = g_pRuntime->m_mapPackets.find(params->outputBitstream);
        g_pRuntime->Expect(it != g_pRuntime->m_mapPackets.end(), "a buffer locked that holds no packet");
        g_pRuntime->Expect(g_pRuntime->m_setLocked.insert(params->outputBitstream).second, "a buffer locked twice");
        if (it == g_pRuntime->m_mapPackets.end()) return NV_ENC_ERR_INVALID_CALL;
        params->bitstreamBufferPtr = it->second.data();
        params->bitstreamSizeInBytes = static_cast<std::uint32_t>(it->second.size());
        if (g_pRuntime->m_funcLocked) g_pRuntime->m_funcLocked();
        return NV_ENC_SUCCESS;
    }

    static NVENCSTATUS UnlockBitstream(void* encoder, void* buffer)
    {
        if (const NVENCSTATUS eStatus = EnterSession("nvEncUnlockBitstream", encoder)) return eStatus;
        g_pRuntime->Expect(g_pRuntime->m_setLocked.erase(buffer) == 1, "a buffer unlocked that isn't locked");
        // The bytes are gone: a caller that kept the pointer instead of a copy reads others.
        g_pRuntime->m_setUnread.erase(buffer);
        auto& vPacket = g_pRuntime->m_mapPackets[buffer];
        std::fill(vPacket.begin(), vPacket.end(), std::uint8_t{0xEE});
        return NV_ENC_SUCCESS;
    }

    static NVENCSTATUS DestroyEncoder(void* encoder)
    {
        if (const NVENCSTATUS eStatus = EnterSession("nvEncDestroyEncoder", encoder)) return eStatus;
        g_pRuntime->m_setSessions.erase(encoder);
        return NV_ENC_SUCCESS;
    }

    static NVENCSTATUS EnterSession(const char* pszEntry, void* encoder)
    {
        g_pRuntime->Expect(g_pRuntime->m_setSessions.count(encoder) == 1, std::string(pszEntry) + " without a session");
        return g_pRuntime->Enter(pszEntry);
    }
};

FakeRuntime::FakeRuntime() : m_funcSignal([](void* hEvent) { SetEvent(hEvent); }), m_pBefore(g_pRuntime)
{
    m_presetConfig.version = 0xF0070009;
    g_pRuntime = this;
}

FakeRuntime::~FakeRuntime()
{
    g_pRuntime = m_pBefore;
}

SFakeRuntimeEntries FakeRuntime::GetEntries()
{
    return {&FakeEntries::GetMaxSupportedVersion, &FakeEntries::CreateInstance};
}

std::vector<std::uint8_t> FakeRuntime::PacketOf(std::int32_t iPicture)
{
    std::vector<std::uint8_t> vPacket(static_cast<std::size_t>(5 + iPicture % 7));
    for (std::size_t i = 0; i < vPacket.size(); ++i)
        vPacket[i] = static_cast<std::uint8_t>(iPicture * 13 + 3 * i);
    return vPacket;
}

int FakeRuntime::Count(const std::string& strEntry) const
{
    return static_cast<int>(std::count(m_vCalls.begin(), m_vCalls.end(), strEntry));
}

std::vector<std::string> FakeRuntime::CallsFrom(std::size_t uiPosition) const
{
    return {m_vCalls.begin() + static_cast<std::ptrdiff_t>(uiPosition), m_vCalls.end()};
}

NVENCSTATUS FakeRuntime::Enter(const char* pszEntry)
{
    m_vCalls.emplace_back(pszEntry);
    if (m_funcEntered) m_funcEntered(pszEntry);
    const int nCall = ++m_mapCounts[pszEntry];
    const auto& mapFailures = m_mapFailures[pszEntry];
    if (const auto it = mapFailures.find(nCall); it != mapFailures.end()) return it->second;
    if (const auto it = mapFailures.find(0); it != mapFailures.end()) return it->second;
    return NV_ENC_SUCCESS;
}

void* FakeRuntime::NewHandle()
{
    m_vHandles.push_back(std::make_unique<char>());
    return m_vHandles.back().get();
}

void FakeRuntime::Expect(bool bFine, const std::string& strComplaint)
{
    if (!bFine) m_vComplaints.push_back(strComplaint);
}

NVENCSTATUS FakeRuntime::EncodePicture(const NV_ENC_PIC_PARAMS& picture)
{
    Expect(m_mapMapped.count(picture.inputBuffer) == 1, "a picture that isn't mapped");
    Expect(m_setBuffers.count(picture.outputBitstream) == 1, "a picture without a buffer for its packet");
    Expect(m_setLocked.count(picture.outputBitstream) == 0, "a picture sent to a locked buffer");
    Expect(m_setUnread.insert(picture.outputBitstream).second, "a picture sent to a buffer whose packet is unread");
    m_mapPackets[picture.outputBitstream] = m_funcPacket(m_nSent++);
    if (picture.completionEvent && m_funcSignal) m_funcSignal(picture.completionEvent);
    return m_nSent <= m_nKeptPictures ? NV_ENC_ERR_NEED_MORE_INPUT : NV_ENC_SUCCESS;
}
