// The state of the script: what the runtime has to do on request, and what it reports.
#pragma once

#include <map>
#include <mutex>
#include <optional>

#include "runtimes/common/call_rules.h"
#include "runtimes/common/hold_gate.h"
#include "runtimes/common/picture_encoder.h"
#include "runtimes/nvenc/nvenc_script.h"

namespace nvencruntime
{

// One per process; every function may be called from any thread.
class Script
{
public:
    static Script& Get();

    void Reset();
    void FailCalls(NvencRuntimeEntry eEntry, std::uint32_t uiFirst, std::uint32_t uiCount, NVENCSTATUS eStatus);
    void LackEntry(NvencRuntimeEntry eEntry);
    void ReportVersion(std::uint32_t uiVersion);
    void SetCapability(NV_ENC_CAPS eCapability, std::int32_t nValue);
    void DelayPackets(std::uint32_t uiPictures);
    void HoldEncoders(bool bHold) { m_gate.Hold(bHold); }
    std::uint32_t CountCalls(NvencRuntimeEntry eEntry) const;
    void GetX264Settings(NvencRuntimeX264Settings& settings) const;
    void WatchSurfaces(bool bWatch);
    NvencRuntimeBreaches GetBreaches() const;
    void EncodeUncompressed(bool bUncompressed);

    // Counts a call, and gives the status with which it is to fail, if any.
    std::optional<NVENCSTATUS> OnCall(NvencRuntimeEntry eEntry);
    bool LacksEntry(NvencRuntimeEntry eEntry) const;
    std::uint32_t Version() const;
    std::optional<std::int32_t> Capability(NV_ENC_CAPS eCapability) const;
    std::uint32_t PacketDelay() const;
    void SetX264Settings(const NvencRuntimeX264Settings& settings);
    bool AreSurfacesWatched() const;
    runtimes::EncoderPart Encoder() const;

    // Breaches of the interface's rules, to be reported.
    void OnDestroyed(const NvencRuntimeObjects& left);
    void OnSurfaceWritten();
    void OnLockOutOfOrder();
    void OnEventUnregisteredInFlight();

    runtimes::HoldGate& Gate() { return m_gate; }

private:
    struct Rules
    {
        runtimes::CallRules<NVENC_ENTRY_COUNT, NVENCSTATUS> calls;
        std::map<NV_ENC_CAPS, std::int32_t> capabilities;
        std::uint32_t uiVersion = NVENCAPI_LEAST_SUPPORTED_VERSION;
        std::uint32_t uiPacketDelay = 0;
        bool bWatch = false;
        bool bUncompressed = false;
        NvencRuntimeBreaches breaches{};
    };

    mutable std::mutex m_mutex;
    Rules m_rules;
    NvencRuntimeX264Settings m_settings{};
    runtimes::HoldGate m_gate;
};

}  // namespace nvencruntime
