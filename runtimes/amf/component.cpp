#include "runtimes/amf/component.h"

#include <cwchar>

namespace amfruntime
{

Component::Component(Context* pContext, std::span<const KnownProperty> knownProperties, const ComponentCalls& calls)
    : m_pContext(pContext), m_known(knownProperties), m_calls(calls)
{
    SetProperties(FirstValues());
    Script::Get().CountIn(&AmfRuntimeObjects::uiComponents);
}

Component::~Component()
{
    if (const std::shared_ptr<ComponentStream> pStream = TakeRunning())
    {
        Script::Get().OnBreach(&AmfRuntimeBreaches::uiComponentsNotTerminated);
        pStream->Close();
    }
    Script::Get().CountOut(&AmfRuntimeObjects::uiComponents);
}

PropertyMap Component::FirstValues() const
{
    PropertyMap values;
    for (const KnownProperty& known : m_known)
    {
        if (known.initial.Get().type != AMF_VARIANT_EMPTY)
        {
            values.emplace(known.pwszName, known.initial);
        }
    }
    return values;
}

const KnownProperty* Component::Find(const wchar_t* pwszName) const
{
    for (const KnownProperty& known : m_known)
    {
        if (std::wcscmp(known.pwszName, pwszName) == 0)
        {
            return &known;
        }
    }
    return nullptr;
}

AMF_RESULT Component::CheckProperty(const wchar_t* pwszName, const AMFVariantStruct& value) const
{
    const KnownProperty* const pKnown = Find(pwszName);
    if (!pKnown)
    {
        return AMF_NOT_FOUND;
    }
    if (pKnown->bReadOnly)
    {
        return AMF_ACCESS_DENIED;
    }
    if (value.type != pKnown->eType)
    {
        return AMF_INVALID_ARG;
    }
    const bool bInRange =
        value.type != AMF_VARIANT_INT64 || (value.int64Value >= pKnown->nLeast && value.int64Value <= pKnown->nMost);
    return bInRange ? AMF_OK : AMF_OUT_OF_RANGE;
}

AMF_RESULT Component::SetProperty(const wchar_t* name, AMFVariantStruct value)
{
    return Answer(m_calls.eSetProperty, [&] {
        const AMF_RESULT eResult = WithProperties::SetProperty(name, value);
        if (eResult != AMF_OK)
        {
            Script::Get().OnBreach(&AmfRuntimeBreaches::uiPropertiesRefused);
        }
        return eResult;
    });
}

AMF_RESULT Component::GetProperty(const wchar_t* name, AMFVariantStruct* pValue) const
{
    return Answer(m_calls.eGetProperty, [&] { return WithProperties::GetProperty(name, pValue); });
}

amf_bool Component::HasProperty(const wchar_t* name) const
{
    return name && Find(name) != nullptr;
}

AMF_RESULT Component::Clear()
{
    SetProperties(FirstValues());
    return AMF_OK;
}

AMF_RESULT Component::ValidateProperty(const wchar_t* name, AMFVariantStruct value,
                                       AMFVariantStruct* pOutValidated) const
{
    if (!name || !pOutValidated)
    {
        return AMF_INVALID_POINTER;
    }
    const AMF_RESULT eResult = CheckProperty(name, value);
    *pOutValidated = eResult == AMF_OK ? PropertyValue(value).Detach() : AMFVariantStruct{};
    return eResult;
}

AMF_RESULT Component::Start(AMF_SURFACE_FORMAT eFormat, amf_int32 nWidth, amf_int32 nHeight)
{
    if (const std::shared_ptr<ComponentStream> pStream = TakeRunning())
    {
        pStream->Close();
    }
    if (!OwnContext().HasDevice())
    {
        return OutOfOrder(AMF_NO_DEVICE);
    }
    try
    {
        std::shared_ptr<ComponentStream> pStream = MakeStream(eFormat, nWidth, nHeight);
        auto pInitialized = std::make_unique<CountedIn>(OwnContext().Record(), &ContextRecord::uiInitializedComponents,
                                                        &AmfRuntimeObjects::uiInitializedComponents);
        const std::lock_guard lock(m_mutex);
        m_pStream = std::move(pStream);
        m_pInitialized = std::move(pInitialized);
        m_eFormat = eFormat;
        m_nWidth = nWidth;
        m_nHeight = nHeight;
        return AMF_OK;
    }
    catch (const InitError& error)
    {
        return error.Result();
    }
}

std::shared_ptr<ComponentStream> Component::Running() const
{
    const std::lock_guard lock(m_mutex);
    return m_pStream;
}

std::shared_ptr<ComponentStream> Component::TakeRunning()
{
    const std::lock_guard lock(m_mutex);
    m_pInitialized.reset();
    return std::exchange(m_pStream, nullptr);
}

AMF_RESULT Component::Init(AMF_SURFACE_FORMAT format, amf_int32 width, amf_int32 height)
{
    return Answer(m_calls.eInit, [&] {
        const std::lock_guard lock(m_startMutex);
        return Start(format, width, height);
    });
}

AMF_RESULT Component::ReInit(amf_int32 width, amf_int32 height)
{
    return Answer(m_calls.eReInit, [&] {
        const std::lock_guard lock(m_startMutex);
        return Running() ? Start(m_eFormat, width, height) : OutOfOrder(AMF_NOT_INITIALIZED);
    });
}

AMF_RESULT Component::Terminate()
{
    return Answer(m_calls.eTerminate, [&] {
        const std::lock_guard lock(m_startMutex);
        if (const std::shared_ptr<ComponentStream> pStream = TakeRunning())
        {
            pStream->Close();
        }
        return AMF_OK;
    });
}

AMF_RESULT Component::Drain()
{
    return Answer(m_calls.eDrain, [&] {
        const std::shared_ptr<ComponentStream> pStream = Running();
        return pStream ? pStream->Drain() : OutOfOrder(AMF_NOT_INITIALIZED);
    });
}

AMF_RESULT Component::Flush()
{
    return Answer(m_calls.eFlush, [&] {
        const std::lock_guard lock(m_startMutex);
        return Running() ? Start(m_eFormat, m_nWidth, m_nHeight) : OutOfOrder(AMF_NOT_INITIALIZED);
    });
}

AMF_RESULT Component::SubmitInput(AMFData* pData)
{
    return Answer(m_calls.eSubmitInput, [&] {
        if (!pData)
        {
            return AMF_INVALID_POINTER;
        }
        const std::shared_ptr<ComponentStream> pStream = Running();
        if (!pStream)
        {
            return OutOfOrder(AMF_NOT_INITIALIZED);
        }
        const Reference<AMFSurface> pSurface = Query<AMFSurface>(pData);
        return pSurface ? pStream->SubmitInput(pSurface.Get()) : AMF_INVALID_DATA_TYPE;
    });
}

AMF_RESULT Component::QueryOutput(AMFData** ppData)
{
    return AnswerWith(m_calls.eQueryOutput, ppData, [&] {
        const std::shared_ptr<ComponentStream> pStream = Running();
        return pStream ? pStream->QueryOutput(ppData) : OutOfOrder(AMF_NOT_INITIALIZED);
    });
}

AMF_RESULT Component::GetCaps(AMFCaps** ppCaps)
{
    if (ppCaps)
    {
        *ppCaps = nullptr;
    }
    return AMF_NOT_IMPLEMENTED;
}

std::optional<std::int64_t> FindNumber(const PropertyMap& properties, const wchar_t* pwszName)
{
    const auto it = properties.find(pwszName);
    const bool bNumber = it != properties.end() && it->second.Get().type == AMF_VARIANT_INT64;
    return bNumber ? std::optional(it->second.Get().int64Value) : std::nullopt;
}

bool IsSet(const PropertyMap& properties, const wchar_t* pwszName)
{
    const auto it = properties.find(pwszName);
    return it != properties.end() && it->second.Get().type == AMF_VARIANT_BOOL && it->second.Get().boolValue;
}

}  // namespace amfruntime
