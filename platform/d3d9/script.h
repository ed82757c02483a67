// Where the operations meet the script of the tests.
#pragma once

#include "platform/d3d9/d3d9_script.h"

namespace d3d9
{

// Counts the call. S_OK, or what the call is to fail with.
HRESULT ScriptedResult(D3D9Call eCall);

}  // namespace d3d9
