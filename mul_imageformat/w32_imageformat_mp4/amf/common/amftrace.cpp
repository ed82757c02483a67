#include "amf/common/amftrace.h"

#include "amf/common/amfsystem.h"

std::atomic<AMFTrace*> g_AMFTrace{nullptr};
std::atomic<AMFDebug*> g_AMFDebug{nullptr};

namespace
{

std::atomic<int> g_nLoadedByHelpers{0};

// One of the runtime's singletons, for one call.
template <typename TSingleton>
class CSingleton
{
public:
    using Getter = AMF_RESULT (AMFFactory::*)(TSingleton**);

    CSingleton(std::atomic<TSingleton*>& kept, Getter pfnGet) : m_pObject(kept)
    {
        if (m_pObject == nullptr) Find(kept, pfnGet);
    }
    ~CSingleton()
    {
        if (m_hRuntime != nullptr) amf_free_library(m_hRuntime);
    }
    CSingleton(const CSingleton&) = delete;
    CSingleton& operator=(const CSingleton&) = delete;

    // Null without a runtime.
    TSingleton* Get() const { return m_pObject; }

private:
    void Find(std::atomic<TSingleton*>& kept, Getter pfnGet)
    {
        m_hRuntime = amf_load_library(AMF_DLL_NAME);
        if (m_hRuntime == nullptr) return;
        const auto pfnInit = FindEntry<AMFInit_Fn>(m_hRuntime, AMF_INIT_FUNCTION_NAME);
        AMFFactory* pFactory = nullptr;
        if (pfnInit == nullptr || pfnInit(AMF_FULL_VERSION, &pFactory) != AMF_OK || pFactory == nullptr) return;
        if ((pFactory->*pfnGet)(&m_pObject) != AMF_OK) m_pObject = nullptr;
        if (g_nLoadedByHelpers == 0) return;  // valid only as long as this call's load

        kept = m_pObject;
        amf_free_library(m_hRuntime);
        m_hRuntime = nullptr;
    }

    TSingleton* m_pObject;
    HMODULE m_hRuntime = nullptr;  // this call's load, to be freed after it
};

class CTrace : public CSingleton<AMFTrace>
{
public:
    CTrace() : CSingleton(g_AMFTrace, &AMFFactory::GetTrace) {}
};

class CDebug : public CSingleton<AMFDebug>
{
public:
    CDebug() : CSingleton(g_AMFDebug, &AMFFactory::GetDebug) {}
};

}  // namespace

bool AMFTraceEnableWriter(const wchar_t* pwszWriter, bool bEnable)
{
    const CTrace trace;
    return trace.Get() != nullptr && trace.Get()->EnableWriter(pwszWriter, bEnable);
}

void AMFTraceW(const wchar_t* pwszSource, std::int32_t nLine, std::int32_t nLevel, const wchar_t* pwszScope,
               const wchar_t* pwszText)
{
    const CTrace trace;
    if (trace.Get() != nullptr) trace.Get()->TraceW(pwszSource, nLine, nLevel, pwszScope, 0, pwszText);
}

bool AMFAssertsEnabled()
{
    const CDebug debug;
    return debug.Get() != nullptr && debug.Get()->AssertsEnabled();
}

void AMFAssertsEnable(bool bEnable)
{
    const CDebug debug;
    if (debug.Get() != nullptr) debug.Get()->AssertsEnable(bEnable);
}

std::wstring AMFFormatResult(AMF_RESULT eResult)
{
    const CTrace trace;
    const wchar_t* const pwszText = trace.Get() != nullptr ? trace.Get()->GetResultText(eResult) : nullptr;
    return L"AMF_ERROR " + std::to_wstring(static_cast<std::int32_t>(eResult)) + L" : " +
           (pwszText != nullptr ? pwszText : L"") + L": ";
}

void AMFTraceRuntimeLoaded()
{
    ++g_nLoadedByHelpers;
}

void AMFTraceRuntimeUnloads()
{
    --g_nLoadedByHelpers;
    g_AMFTrace = nullptr;
    g_AMFDebug = nullptr;
}
