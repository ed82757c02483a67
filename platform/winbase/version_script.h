// The version that the system reports, for tests of what asks for it.
#pragma once

#include "windef.h"

// What GetVersionExW gives from now on, in the whole process. Safe from any thread.
EXTERN_C WINBASEAPI void VersionScript_Set(DWORD dwMajorVersion, DWORD dwMinorVersion);
// The version that is reported without a script: 6.2.
EXTERN_C WINBASEAPI void VersionScript_Reset();
