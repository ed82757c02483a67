#include "platform/mediafoundation/writing/script.h"

#include <condition_variable>
#include <mutex>

#include "platform/winbase/call_script.h"

namespace mediafoundation
{
namespace
{

struct Hold
{
    std::mutex m_lock;
    std::condition_variable m_changed;
    bool m_bHeld = false;
};

platform::CallScript<MediaWriteCall>& TheScript()
{
    static platform::CallScript<MediaWriteCall> s_script;
    return s_script;
}

Hold& TheHold()
{
    static Hold s_hold;
    return s_hold;
}

}  // namespace

HRESULT ScriptedResult(MediaWriteCall eCall)
{
    return TheScript().Result(eCall);
}

void WaitWhileFinalizeIsHeld()
{
    Hold& hold = TheHold();
    std::unique_lock lock(hold.m_lock);
    hold.m_changed.wait(lock, [&] { return !hold.m_bHeld; });
}

}  // namespace mediafoundation

void MediaWriteScript_Reset()
{
    mediafoundation::TheScript().Reset();
    MediaWriteScript_HoldFinalize(FALSE);
}

void MediaWriteScript_FailCall(MediaWriteCall eCall, unsigned uiNth, HRESULT hr)
{
    mediafoundation::TheScript().FailCall(eCall, uiNth, hr);
}

unsigned MediaWriteScript_CallCount(MediaWriteCall eCall)
{
    return mediafoundation::TheScript().CallCount(eCall);
}

void MediaWriteScript_HoldFinalize(BOOL bHold)
{
    mediafoundation::Hold& hold = mediafoundation::TheHold();
    {
        const std::lock_guard lock(hold.m_lock);
        hold.m_bHeld = bHold != FALSE;
    }
    hold.m_changed.notify_all();
}
