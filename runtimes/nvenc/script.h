// What the script interface has told the runtime, and what it wants to know.
#pragma once

#include <array>
#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>

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
    void HoldEncoders(bool bHold);
    std::uint32_t CountCalls(NvencRuntimeEntry eEntry) const;
    void GetX264Settings(NvencRuntimeX264Settings& settings) const;
    void WatchSurfaces(bool bWatch);
    NvencRuntimeBreaches GetBreaches() const;

    // Counts a call, and gives the status with which it is to fail, if any.
    std::optional<NVENCSTATUS> OnCall(NvencRuntimeEntry eEntry);
    bool LacksEntry(NvencRuntimeEntry eEntry) const;
    std::uint32_t Version() const;
    std::optional<std::int32_t> Capability(NV_ENC_CAPS eCapability) const;
    std::uint32_t PacketDelay() const;
    void SetX264Settings(const NvencRuntimeX264Settings& settings);
    bool AreSurfacesWatched() const;

    // Breaches of the interface's rules, to be reported.
    void OnDestroyed(const NvencRuntimeObjects& left);
    void OnSurfaceWritten();
    void OnLockOutOfOrder();
    void OnEventUnregisteredInFlight();

    // Waits while encoders are held, at most until bStop is set and WakeHeld called.
    void WaitWhileHeld(const std::atomic<bool>& bStop);
    void WakeHeld();

private:
    struct Failure
    {
        std::uint64_t ui64First;  // by number of the call since Reset
        std::uint64_t ui64End;
        NVENCSTATUS eStatus;
    };

    struct Rules
    {
        std::array<std::uint32_t, NVENC_ENTRY_COUNT> calls{};
        std::array<std::optional<Failure>, NVENC_ENTRY_COUNT> failures;
        std::array<bool, NVENC_ENTRY_COUNT> lacking{};
        std::map<NV_ENC_CAPS, std::int32_t> capabilities;
        std::uint32_t uiVersion = NVENCAPI_LEAST_SUPPORTED_VERSION;
        std::uint32_t uiPacketDelay = 0;
        bool bHold = false;
        bool bWatch = false;
        NvencRuntimeBreaches breaches{};
    };

    mutable std::mutex m_mutex;
    std::condition_variable m_released;
    Rules m_rules;
    NvencRuntimeX264Settings m_settings{};
};

}  // namespace nvencruntime
