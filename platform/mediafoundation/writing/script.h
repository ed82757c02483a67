// Where the operations meet the script of the tests.
#pragma once

#include "platform/mediafoundation/write_script.h"

namespace mediafoundation
{

// Counts the call. S_OK, or what the call is to fail with.
HRESULT ScriptedResult(MediaWriteCall eCall);

// Returns at once unless a test holds finalisation.
void WaitWhileFinalizeIsHeld();

}  // namespace mediafoundation
