// A scripted encoder runtime. It records every call, and it checks the rules that callers follow: version words, known
// handles, and nothing left at the end.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "fake_runtime_file.h"

class FakeRuntime
{
public:
    // The latest one made takes the calls.
    FakeRuntime();
    ~FakeRuntime();
    FakeRuntime(const FakeRuntime&) = delete;
    FakeRuntime& operator=(const FakeRuntime&) = delete;

    static SFakeRuntimeEntries GetEntries();

    // The packet of the picture that was iPicture-th to be sent, counted from 0: its length and bytes identify it.
    static std::vector<std::uint8_t> PacketOf(std::int32_t iPicture);

    // --- what it does
    // The nCall-th call of the entry, counted from 1, returns eStatus and does nothing else.
    void Fail(const std::string& strEntry, int nCall, NVENCSTATUS eStatus) { m_mapFailures[strEntry][nCall] = eStatus; }
    // Every call does.
    void FailAlways(const std::string& strEntry, NVENCSTATUS eStatus) { m_mapFailures[strEntry][0] = eStatus; }
    // The function table has no such entry.
    void Lack(const std::string& strEntry) { m_setLacking.insert(strEntry); }

    std::uint32_t m_uiVersion = 0x90;
    bool m_bNullSession = false;        // opening succeeds and gives no session
    int m_nAsyncSupport = 0;            // value of NV_ENC_CAPS_ASYNC_ENCODE_SUPPORT
    int m_nKeptPictures = 0;            // so many first pictures return NV_ENC_ERR_NEED_MORE_INPUT
    NV_ENC_CONFIG m_presetConfig = {};  // what every preset stands for
    // What happens to the event of a picture that was sent.
    std::function<void(void* hEvent)> m_funcSignal;
    // The packet of the picture that was iPicture-th to be sent.
    std::function<std::vector<std::uint8_t>(std::int32_t iPicture)> m_funcPacket = PacketOf;
    // Runs at the head of every call. What it throws leaves the call.
    std::function<void(const std::string& strEntry)> m_funcEntered;
    // Called when a buffer has been locked.
    std::function<void()> m_funcLocked;

    // --- what it saw
    std::vector<std::string> m_vCalls;  // every call, in order
    int Count(const std::string& strEntry) const;
    // The calls from a position in m_vCalls on.
    std::vector<std::string> CallsFrom(std::size_t uiPosition) const;

    std::vector<NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS> m_vOpened;
    std::vector<NV_ENC_INITIALIZE_PARAMS> m_vInitialized;
    std::vector<NV_ENC_CONFIG> m_vConfigs;  // the encodeConfig of each of those
    std::vector<NV_ENC_REGISTER_RESOURCE> m_vRegistered;
    std::vector<NV_ENC_PIC_PARAMS> m_vPictures;  // those that were sent, failed or not, without ends of stream
    std::vector<NV_ENC_PIC_PARAMS> m_vEnds;
    std::vector<GUID> m_vCodecsAsked;  // of capabilities and presets
    std::vector<GUID> m_vPresetsAsked;
    std::vector<std::uint32_t> m_vPresetListSizes;  // length of each array of preset GUIDs, which was cleared
    std::vector<std::string> m_vComplaints;         // rules broken by the caller

    // --- what is alive
    std::set<void*> m_setSessions;
    std::set<void*> m_setEvents;
    std::set<void*> m_setBuffers;
    std::map<void*, void*> m_mapRegistered;  // registration to surface
    std::map<void*, void*> m_mapMapped;      // mapping to registration
    std::set<void*> m_setLocked;
    std::set<void*> m_setUnread;  // buffers of pictures that were sent, until they are unlocked

private:
    friend struct FakeEntries;

    NVENCSTATUS Enter(const char* pszEntry);
    void* NewHandle();
    void Expect(bool bFine, const std::string& strComplaint);
    NVENCSTATUS EncodePicture(const NV_ENC_PIC_PARAMS& picture);

    FakeRuntime* m_pBefore;
    std::map<std::string, std::map<int, NVENCSTATUS>> m_mapFailures;
    std::map<std::string, int> m_mapCounts;
    std::set<std::string> m_setLacking;
    std::map<void*, std::vector<std::uint8_t>> m_mapPackets;  // by buffer
    std::vector<std::unique_ptr<char>> m_vHandles;
    std::int32_t m_nSent = 0;
};
