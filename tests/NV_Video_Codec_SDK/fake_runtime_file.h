// What the loaded file and the test program know of each other.
#pragma once

#include "abi/nvenc/nvEncodeAPI.h"

struct SFakeRuntimeEntries
{
    PNVENCODEAPIGETMAXSUPPORTEDVERSION m_pfnGetMaxSupportedVersion = nullptr;
    PNVENCODEAPICREATEINSTANCE m_pfnCreateInstance = nullptr;
};

// Exported as "FakeRuntimeConnect".
using FakeRuntimeConnectFunction = void (*)(const SFakeRuntimeEntries* pEntries);
