#include "runtimes/nvenc/script.h"

namespace nvencruntime
{
Script& Script::Get()
{
    static Script s_script;
    return s_script;
}

void Script::Reset()
{
    m_gate.Hold(false);
    const std::lock_guard lock(m_mutex);
    m_rules = Rules{};
}

void Script::FailCalls(NvencRuntimeEntry eEntry, std::uint32_t uiFirst, std::uint32_t uiCount, NVENCSTATUS eStatus)
{
    const std::lock_guard lock(m_mutex);
    m_rules.calls.Fail(eEntry, uiFirst, uiCount, eStatus);
}

void Script::LackEntry(NvencRuntimeEntry eEntry)
{
    const std::lock_guard lock(m_mutex);
    m_rules.calls.Lack(eEntry);
}

void Script::ReportVersion(std::uint32_t uiVersion)
{
    const std::lock_guard lock(m_mutex);
    m_rules.uiVersion = uiVersion;
}

void Script::SetCapability(NV_ENC_CAPS eCapability, std::int32_t nValue)
{
    const std::lock_guard lock(m_mutex);
    m_rules.capabilities[eCapability] = nValue;
}

void Script::DelayPackets(std::uint32_t uiPictures)
{
    const std::lock_guard lock(m_mutex);
    m_rules.uiPacketDelay = uiPictures;
}

std::uint32_t Script::CountCalls(NvencRuntimeEntry eEntry) const
{
    const std::lock_guard lock(m_mutex);
    return m_rules.calls.Count(eEntry);
}

void Script::GetX264Settings(NvencRuntimeX264Settings& settings) const
{
    const std::lock_guard lock(m_mutex);
    settings = m_settings;
}

std::optional<NVENCSTATUS> Script::OnCall(NvencRuntimeEntry eEntry)
{
    const std::lock_guard lock(m_mutex);
    return m_rules.calls.OnCall(eEntry);
}

bool Script::LacksEntry(NvencRuntimeEntry eEntry) const
{
    const std::lock_guard lock(m_mutex);
    return m_rules.calls.IsLacking(eEntry);
}

std::uint32_t Script::Version() const
{
    const std::lock_guard lock(m_mutex);
    return m_rules.uiVersion;
}

std::optional<std::int32_t> Script::Capability(NV_ENC_CAPS eCapability) const
{
    const std::lock_guard lock(m_mutex);
    const auto it = m_rules.capabilities.find(eCapability);
    return it == m_rules.capabilities.end() ? std::nullopt : std::optional(it->second);
}

std::uint32_t Script::PacketDelay() const
{
    const std::lock_guard lock(m_mutex);
    return m_rules.uiPacketDelay;
}

void Script::SetX264Settings(const NvencRuntimeX264Settings& settings)
{
    const std::lock_guard lock(m_mutex);
    m_settings = settings;
}

void Script::WatchSurfaces(bool bWatch)
{
    const std::lock_guard lock(m_mutex);
    m_rules.bWatch = bWatch;
}

bool Script::AreSurfacesWatched() const
{
    const std::lock_guard lock(m_mutex);
    return m_rules.bWatch;
}

void Script::EncodeUncompressed(bool bUncompressed)
{
    const std::lock_guard lock(m_mutex);
    m_rules.bUncompressed = bUncompressed;
}

runtimes::EncoderPart Script::Encoder() const
{
    const std::lock_guard lock(m_mutex);
    return m_rules.bUncompressed ? runtimes::EncoderPart::Pcm : runtimes::DefaultEncoderPart();
}

NvencRuntimeBreaches Script::GetBreaches() const
{
    const std::lock_guard lock(m_mutex);
    return m_rules.breaches;
}

void Script::OnDestroyed(const NvencRuntimeObjects& left)
{
    constexpr std::uint32_t NvencRuntimeObjects::*c_counts[] = {
        &NvencRuntimeObjects::uiRegisteredResources, &NvencRuntimeObjects::uiMappedResources,
        &NvencRuntimeObjects::uiBitstreamBuffers,    &NvencRuntimeObjects::uiRegisteredEvents,
        &NvencRuntimeObjects::uiPendingPackets,      &NvencRuntimeObjects::uiUnreadPackets,
        &NvencRuntimeObjects::uiLockedBuffers};
    const std::lock_guard lock(m_mutex);
    bool bAny = false;
    for (const auto pCount : c_counts)
    {
        m_rules.breaches.left.*pCount += left.*pCount;
        bAny = bAny || left.*pCount != 0;
    }
    m_rules.breaches.left.uiSessions += bAny ? 1 : 0;
}

void Script::OnSurfaceWritten()
{
    const std::lock_guard lock(m_mutex);
    ++m_rules.breaches.uiSurfacesWritten;
}

void Script::OnLockOutOfOrder()
{
    const std::lock_guard lock(m_mutex);
    ++m_rules.breaches.uiLocksOutOfOrder;
}

void Script::OnEventUnregisteredInFlight()
{
    const std::lock_guard lock(m_mutex);
    ++m_rules.breaches.uiEventsUnregisteredInFlight;
}

}  // namespace nvencruntime
