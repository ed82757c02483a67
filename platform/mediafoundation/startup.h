// Whether the platform has been started.
#pragma once

#include "winerror.h"

namespace mediafoundation
{

// S_OK between MFStartup and the MFShutdown that matches it, else MF_E_PLATFORM_NOT_INITIALIZED.
HRESULT RequireStartup();

}  // namespace mediafoundation
