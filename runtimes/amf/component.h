// What the converter and the encoder have in common: their properties, and the answers to operations without use here.
#pragma once

#include <span>
#include <stdexcept>

#include "runtimes/amf/context.h"

namespace amfruntime
{

// The work from one Init to its end. Several threads may be in it at once, also while it is closed.
class ComponentStream
{
public:
    virtual ~ComponentStream() = default;
    virtual AMF_RESULT Drain() = 0;
    virtual AMF_RESULT SubmitInput(AMFSurface* pSurface) = 0;
    // *ppData is null before.
    virtual AMF_RESULT QueryOutput(AMFData** ppData) = 0;
    // Ends every call that waits and the thread, if there is one. Pictures without an output are lost and counted.
    virtual void Close() = 0;
};

// A property that a component knows, with the values that it may have.
struct KnownProperty
{
    const wchar_t* pwszName;
    PropertyValue initial;  // its type is that of all values; EMPTY where the property has no value at first
    AMF_VARIANT_TYPE eType;
    std::int64_t nLeast = INT64_MIN;  // of an integer
    std::int64_t nMost = INT64_MAX;
    bool bReadOnly = false;
};

// The calls of a component, by the script's numbers.
struct ComponentCalls
{
    AmfRuntimeCall eSetProperty;
    AmfRuntimeCall eGetProperty;
    AmfRuntimeCall eInit;
    AmfRuntimeCall eReInit;
    AmfRuntimeCall eTerminate;
    AmfRuntimeCall eDrain;
    AmfRuntimeCall eFlush;
    AmfRuntimeCall eSubmitInput;
    AmfRuntimeCall eQueryOutput;
};

// Any thread. Unknown properties are refused with AMF_NOT_FOUND, values of another type with AMF_INVALID_ARG, numbers
// out of range with AMF_OUT_OF_RANGE. What is set takes effect with the next Init.
class Component : public WithProperties<AMFComponent, AMFPropertyStorageEx>
{
public:
    // Holds the context. knownProperties and calls are there as long as the component.
    Component(Context* pContext, std::span<const KnownProperty> knownProperties, const ComponentCalls& calls);

    AMF_RESULT SetProperty(const wchar_t* name, AMFVariantStruct value) override;
    AMF_RESULT GetProperty(const wchar_t* name, AMFVariantStruct* pValue) const override;
    // Whether the property is known, also without a value.
    amf_bool HasProperty(const wchar_t* name) const override;
    // All properties have their first values again.
    AMF_RESULT Clear() override;

    amf_size GetPropertiesInfoCount() const override { return 0; }
    AMF_RESULT ReservedGetPropertyInfo14() const override { return AMF_NOT_IMPLEMENTED; }
    AMF_RESULT ReservedGetPropertyInfo15() const override { return AMF_NOT_IMPLEMENTED; }
    AMF_RESULT ValidateProperty(const wchar_t* name, AMFVariantStruct value,
                                AMFVariantStruct* pOutValidated) const override;

    // The device has to be there. Ends what an earlier Init began.
    AMF_RESULT Init(AMF_SURFACE_FORMAT format, amf_int32 width, amf_int32 height) final;
    // Init with the same format.
    AMF_RESULT ReInit(amf_int32 width, amf_int32 height) final;
    // Ends what Init began. AMF_OK also before an Init.
    AMF_RESULT Terminate() final;
    AMF_RESULT Drain() final;
    AMF_RESULT Flush() final;
    AMF_RESULT SubmitInput(AMFData* pData) final;
    AMF_RESULT QueryOutput(AMFData** ppData) final;

    // Without a reference for the caller.
    AMFContext* GetContext() override { return m_pContext.Get(); }
    AMF_RESULT SetOutputDataAllocatorCB(AMFDataAllocatorCB*) override { return AMF_NOT_IMPLEMENTED; }
    AMF_RESULT GetCaps(AMFCaps** ppCaps) override;
    AMF_RESULT Optimize(AMFComponentOptimizationCallback*) override { return AMF_NOT_IMPLEMENTED; }

    // What is set at this moment, the first values included.
    PropertyMap Values() const { return Properties(); }

protected:
    ~Component() override;

    AMF_RESULT CheckProperty(const wchar_t* pwszName, const AMFVariantStruct& value) const override;

    // What Init asks for. A failure is thrown as an InitError.
    virtual std::shared_ptr<ComponentStream> MakeStream(AMF_SURFACE_FORMAT eFormat, amf_int32 nWidth,
                                                        amf_int32 nHeight) = 0;

    Context& OwnContext() const { return *m_pContext.Get(); }
    // Null before Init.
    std::shared_ptr<ComponentStream> Running() const;

private:
    AMF_RESULT Start(AMF_SURFACE_FORMAT eFormat, amf_int32 nWidth, amf_int32 nHeight);
    std::shared_ptr<ComponentStream> TakeRunning();
    PropertyMap FirstValues() const;
    const KnownProperty* Find(const wchar_t* pwszName) const;

    const Reference<Context> m_pContext;
    const std::span<const KnownProperty> m_known;
    const ComponentCalls& m_calls;

    std::mutex m_startMutex;  // one Init, Flush or Terminate at a time; taken before m_mutex
    mutable std::mutex m_mutex;
    std::shared_ptr<ComponentStream> m_pStream;
    std::unique_ptr<CountedIn> m_pInitialized;
    AMF_SURFACE_FORMAT m_eFormat = AMF_SURFACE_UNKNOWN;
    amf_int32 m_nWidth = 0;
    amf_int32 m_nHeight = 0;
};

// Why a component can't be initialised.
class InitError : public std::runtime_error
{
public:
    explicit InitError(AMF_RESULT eResult) : std::runtime_error("a component can't be initialised"), m_eResult(eResult)
    {}
    AMF_RESULT Result() const { return m_eResult; }

private:
    AMF_RESULT m_eResult;
};

// The number, or nothing if the property has no value.
std::optional<std::int64_t> FindNumber(const PropertyMap& properties, const wchar_t* pwszName);
bool IsSet(const PropertyMap& properties, const wchar_t* pwszName);

}  // namespace amfruntime
