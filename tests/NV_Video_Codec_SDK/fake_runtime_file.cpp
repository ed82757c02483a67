// The file that the module loads as the encoder runtime: two entries that ask the test program. Built several times,
// each build lacking another of its entries.
#include "fake_runtime_file.h"

#if defined(_WIN32)
#define FAKE_EXPORT extern "C" __declspec(dllexport)
#else
#define FAKE_EXPORT extern "C" __attribute__((visibility("default")))
#endif

namespace
{
SFakeRuntimeEntries g_entries;
}

FAKE_EXPORT void FakeRuntimeConnect(const SFakeRuntimeEntries* pEntries)
{
    g_entries = *pEntries;
}

#if !defined(FAKE_LACKS_VERSION_ENTRY)
FAKE_EXPORT NVENCSTATUS NvEncodeAPIGetMaxSupportedVersion(std::uint32_t* version)
{
    return g_entries.m_pfnGetMaxSupportedVersion(version);
}
#endif

#if !defined(FAKE_LACKS_CREATE_ENTRY)
FAKE_EXPORT NVENCSTATUS NvEncodeAPICreateInstance(NV_ENCODE_API_FUNCTION_LIST* functionList)
{
    return g_entries.m_pfnCreateInstance(functionList);
}
#endif
