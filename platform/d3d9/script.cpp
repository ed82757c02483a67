#include "platform/d3d9/script.h"

#include "platform/winbase/call_script.h"

namespace d3d9
{
namespace
{

platform::CallScript<D3D9Call>& TheScript()
{
    static platform::CallScript<D3D9Call> s_script;
    return s_script;
}

}  // namespace

HRESULT ScriptedResult(D3D9Call eCall)
{
    return TheScript().Result(eCall);
}

}  // namespace d3d9

void D3D9Script_Reset()
{
    d3d9::TheScript().Reset();
}

void D3D9Script_FailCall(D3D9Call eCall, unsigned uiNth, HRESULT hr)
{
    d3d9::TheScript().FailCall(eCall, uiNth, hr);
}

unsigned D3D9Script_CallCount(D3D9Call eCall)
{
    return d3d9::TheScript().CallCount(eCall);
}
