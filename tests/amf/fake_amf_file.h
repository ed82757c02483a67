// What the loaded file and the test program know of each other.
#pragma once

#include "abi/amf/amf.h"

// The file finds the address of this record, as a decimal number, in the variable of the environment. It looks at each
// call, so that it can be unloaded and loaded again.
inline constexpr wchar_t FAKE_AMF_VARIABLE[] = L"QM_FAKE_AMF";

struct SFakeAmfCalls
{
    void* m_pContext;
    AMF_RESULT (*m_pfnInit)(void* pContext, amf_uint64 uiVersion, bool* pbFactory);
    AMF_RESULT (*m_pfnQueryVersion)(void* pContext, amf_uint64* puiVersion);
    AMF_RESULT (*m_pfnGetSingleton)(void* pContext, const char* pszName);
    bool (*m_pfnEnableWriter)(void* pContext, const wchar_t* pwszWriter, bool bEnable);
    void (*m_pfnTraceW)(void* pContext, const wchar_t* pwszSource, amf_int32 nLine, amf_int32 nLevel,
                        const wchar_t* pwszScope, amf_int32 nArguments, const wchar_t* pwszFormat);
    AMF_RESULT (*m_pfnCreateContext)(void* pContext, AMFContext** ppContext);
    AMF_RESULT(*m_pfnCreateComponent)
    (void* pContext, AMFContext* pAmfContext, const wchar_t* pwszId, AMFComponent** ppComponent);
};
