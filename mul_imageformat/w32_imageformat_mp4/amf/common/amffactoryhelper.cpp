#include "amf/common/amffactoryhelper.h"

#include "amf/common/amfsystem.h"
#include "amf/common/amftrace.h"

AMFFactoryHelper::~AMFFactoryHelper()
{
    Terminate();
}

AMF_RESULT AMFFactoryHelper::Init()
{
    if (m_iRefCount == 0)
    {
        const AMF_RESULT eResult = Load();
        if (eResult != AMF_OK) return eResult;
    }
    amf_atomic_inc(&m_iRefCount);
    return AMF_OK;
}

AMF_RESULT AMFFactoryHelper::Load()
{
    if (m_hDLLHandle == nullptr)
    {
        m_hDLLHandle = amf_load_library(AMF_DLL_NAME);
        if (m_hDLLHandle == nullptr) return AMF_FAIL;
        AMFTraceRuntimeLoaded();
    }

    const auto pfnInit = FindEntry<AMFInit_Fn>(m_hDLLHandle, AMF_INIT_FUNCTION_NAME);
    if (pfnInit == nullptr) return AMF_FAIL;
    AMF_RESULT eResult = pfnInit(AMF_FULL_VERSION, &m_pFactory);
    if (eResult != AMF_OK) return eResult;
    if (m_pFactory == nullptr) return AMF_FAIL;

    const auto pfnQueryVersion = FindEntry<AMFQueryVersion_Fn>(m_hDLLHandle, AMF_QUERY_VERSION_FUNCTION_NAME);
    if (pfnQueryVersion == nullptr) return AMF_FAIL;
    eResult = pfnQueryVersion(&m_AMFRuntimeVersion);
    if (eResult != AMF_OK) return eResult;

    // Not examined: without them there is no trace, and the encoder works all the same.
    m_pFactory->GetTrace(&m_pTrace);
    m_pFactory->GetDebug(&m_pDebug);
    return AMF_OK;
}

AMF_RESULT AMFFactoryHelper::Terminate()
{
    if (m_hDLLHandle == nullptr) return AMF_OK;
    if (m_iRefCount > 0 && amf_atomic_dec(&m_iRefCount) > 0) return AMF_OK;

    AMFTraceRuntimeUnloads();
    amf_free_library(m_hDLLHandle);
    m_hDLLHandle = nullptr;
    m_pFactory = nullptr;
    m_pDebug = nullptr;
    m_pTrace = nullptr;
    return AMF_OK;
}
