#include "platform/d3d9/script.h"

#include <array>
#include <mutex>

#include "winerror.h"

namespace d3d9
{
namespace
{

struct Entry
{
    unsigned uiCalls = 0;
    unsigned uiCallsUntilFailure = 0;  // 0: none
    HRESULT hr = S_OK;
};

struct Script
{
    std::mutex m_mutex;
    std::array<Entry, static_cast<std::size_t>(D3D9Call::Count)> m_aEntries;

    Entry& EntryOf(D3D9Call eCall) { return m_aEntries.at(static_cast<std::size_t>(eCall)); }
};

Script& TheScript()
{
    static Script s_script;
    return s_script;
}

}  // namespace

HRESULT ScriptedResult(D3D9Call eCall)
{
    Script& script = TheScript();
    const std::lock_guard lock(script.m_mutex);
    Entry& entry = script.EntryOf(eCall);
    ++entry.uiCalls;
    if (entry.uiCallsUntilFailure == 0 || --entry.uiCallsUntilFailure > 0)
    {
        return S_OK;
    }
    return entry.hr;
}

}  // namespace d3d9

using namespace d3d9;

void D3D9Script_Reset()
{
    Script& script = TheScript();
    const std::lock_guard lock(script.m_mutex);
    script.m_aEntries.fill({});
}

void D3D9Script_FailCall(D3D9Call eCall, unsigned uiNth, HRESULT hr)
{
    Script& script = TheScript();
    const std::lock_guard lock(script.m_mutex);
    Entry& entry = script.EntryOf(eCall);
    entry.uiCallsUntilFailure = uiNth;
    entry.hr = hr;
}

unsigned D3D9Script_CallCount(D3D9Call eCall)
{
    Script& script = TheScript();
    const std::lock_guard lock(script.m_mutex);
    return script.EntryOf(eCall).uiCalls;
}
