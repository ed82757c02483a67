#include "platform/mediafoundation/startup.h"

#include <mutex>

#include "mfapi.h"
#include "mferror.h"
#include "platform/mediafoundation/startup_probe.h"

namespace mediafoundation
{
namespace
{

struct StartupState
{
    std::mutex m_lock;
    StartupCounts m_counts;

    bool IsUp() const { return m_counts.m_uiStartups > m_counts.m_uiShutdowns; }
};

StartupState& State()
{
    static StartupState s_state;
    return s_state;
}

}  // namespace

HRESULT RequireStartup()
{
    const std::lock_guard lock(State().m_lock);
    return State().IsUp() ? S_OK : MF_E_PLATFORM_NOT_INITIALIZED;
}

StartupCounts GetStartupCounts()
{
    const std::lock_guard lock(State().m_lock);
    return State().m_counts;
}

}  // namespace mediafoundation

STDAPI MFStartup(ULONG Version, DWORD)
{
    if ((Version & 0xffff) != MF_API_VERSION) return MF_E_BAD_STARTUP_VERSION;
    auto& state = mediafoundation::State();
    const std::lock_guard lock(state.m_lock);
    ++state.m_counts.m_uiStartups;
    return S_OK;
}

STDAPI MFShutdown()
{
    auto& state = mediafoundation::State();
    const std::lock_guard lock(state.m_lock);
    if (!state.IsUp()) return MF_E_PLATFORM_NOT_INITIALIZED;
    ++state.m_counts.m_uiShutdowns;
    return S_OK;
}
