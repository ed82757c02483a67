#include "runtimes/amf/factory.h"

#include <cwchar>

#include "runtimes/amf/converter.h"
#include "runtimes/amf/encoder.h"

namespace amfruntime
{
namespace
{

AMF_RESULT RefuseComponent(const wchar_t* pwszId)
{
    return std::wcscmp(pwszId, AMFVideoEncoderVCE_SVC) == 0 ? AMF_CODEC_NOT_SUPPORTED : AMF_NOT_FOUND;
}

}  // namespace

Factory& Factory::Get()
{
    static Factory s_factory;
    return s_factory;
}

AMF_RESULT Factory::CreateContext(AMFContext** ppContext)
{
    return AnswerWith(AMF_CALL_FACTORY_CREATE_CONTEXT, ppContext, [&] {
        *ppContext = new Context;
        return AMF_OK;
    });
}

AMF_RESULT Factory::CreateComponent(AMFContext* pContext, const wchar_t* id, AMFComponent** ppComponent)
{
    if (ppComponent)
    {
        *ppComponent = nullptr;
    }
    if (!id)
    {
        return AMF_INVALID_POINTER;
    }
    const bool bConverter = std::wcscmp(id, AMFVideoConverter) == 0;
    if (!bConverter && std::wcscmp(id, AMFVideoEncoderVCE_AVC) != 0)
    {
        return RefuseComponent(id);
    }
    const AmfRuntimeCall eCall = bConverter ? AMF_CALL_FACTORY_CREATE_CONVERTER : AMF_CALL_FACTORY_CREATE_ENCODER;
    return AnswerWith(eCall, ppComponent, [&] {
        if (!pContext)
        {
            return AMF_INVALID_POINTER;
        }
        auto* const pOwn = static_cast<Context*>(pContext);
        if (bConverter)
        {
            *ppComponent = new Converter(pOwn);
        }
        else
        {
            *ppComponent = new Encoder(pOwn);
        }
        return AMF_OK;
    });
}

AMF_RESULT Factory::SetCacheFolder(const wchar_t* path)
{
    const std::lock_guard lock(m_mutex);
    m_cacheFolder = path ? path : L"";
    return AMF_OK;
}

const wchar_t* Factory::GetCacheFolder()
{
    const std::lock_guard lock(m_mutex);
    return m_cacheFolder.c_str();
}

AMF_RESULT Factory::GetDebug(AMFDebug** ppDebug)
{
    return AnswerWith(AMF_CALL_FACTORY_GET_DEBUG, ppDebug, [&] {
        *ppDebug = &m_debug;
        return AMF_OK;
    });
}

AMF_RESULT Factory::GetTrace(AMFTrace** ppTrace)
{
    return AnswerWith(AMF_CALL_FACTORY_GET_TRACE, ppTrace, [&] {
        *ppTrace = &m_trace;
        return AMF_OK;
    });
}

AMF_RESULT Factory::GetPrograms(AMFPrograms** ppPrograms)
{
    if (ppPrograms)
    {
        *ppPrograms = nullptr;
    }
    return AMF_NOT_IMPLEMENTED;
}

}  // namespace amfruntime
