// A component: an encoder, a converter.
#pragma once

#include "abi/amf/amfcontext.h"

struct AMFDataAllocatorCB : public AMFInterface
{
    static constexpr AMFGuid IID()
    {
        return {0x4BF46198, 0x8B7B, 0x49D0, 0xAA, 0x72, 0x48, 0xD4, 0x07, 0xCE, 0x24, 0xC5};
    }

    virtual AMF_RESULT AllocBuffer(AMF_MEMORY_TYPE type, amf_size size, AMFBuffer** ppBuffer) = 0;
    virtual AMF_RESULT AllocSurface(AMF_MEMORY_TYPE type, AMF_SURFACE_FORMAT format, amf_int32 width, amf_int32 height,
                                    amf_int32 hPitch, amf_int32 vPitch, AMFSurface** ppSurface) = 0;
};

struct AMFComponentOptimizationCallback
{
    virtual AMF_RESULT OnComponentOptimizationProgress(amf_uint percent) = 0;
};

struct AMFIOCaps : public AMFInterface
{
    virtual void GetWidthRange(amf_int32* minWidth, amf_int32* maxWidth) const = 0;
    virtual void GetHeightRange(amf_int32* minHeight, amf_int32* maxHeight) const = 0;
    virtual amf_int32 GetVertAlign() const = 0;
    virtual amf_int32 GetNumOfFormats() const = 0;
    virtual AMF_RESULT GetFormatAt(amf_int32 index, AMF_SURFACE_FORMAT* format, amf_bool* native) const = 0;
    virtual amf_int32 GetNumOfMemoryTypes() const = 0;
    virtual AMF_RESULT GetMemoryTypeAt(amf_int32 index, AMF_MEMORY_TYPE* memType, amf_bool* native) const = 0;
    virtual amf_bool IsInterlacedSupported() const = 0;
};

struct AMFCaps : public AMFPropertyStorage
{
    virtual AMF_ACCELERATION_TYPE GetAccelerationType() const = 0;
    virtual AMF_RESULT GetInputCaps(AMFIOCaps** ppCaps) = 0;
    virtual AMF_RESULT GetOutputCaps(AMFIOCaps** ppCaps) = 0;
};

struct AMFComponent : public AMFPropertyStorageEx
{
    static constexpr AMFGuid IID()
    {
        return {0x8B51E5E4, 0x455D, 0x4034, 0xA7, 0x46, 0xDE, 0x1B, 0xED, 0xC3, 0xC4, 0x06};
    }

    virtual AMF_RESULT Init(AMF_SURFACE_FORMAT format, amf_int32 width, amf_int32 height) = 0;
    virtual AMF_RESULT ReInit(amf_int32 width, amf_int32 height) = 0;
    virtual AMF_RESULT Terminate() = 0;
    virtual AMF_RESULT Drain() = 0;
    virtual AMF_RESULT Flush() = 0;
    virtual AMF_RESULT SubmitInput(AMFData* pData) = 0;
    virtual AMF_RESULT QueryOutput(AMFData** ppData) = 0;
    virtual AMFContext* GetContext() = 0;
    virtual AMF_RESULT SetOutputDataAllocatorCB(AMFDataAllocatorCB* pCallback) = 0;
    virtual AMF_RESULT GetCaps(AMFCaps** ppCaps) = 0;
    virtual AMF_RESULT Optimize(AMFComponentOptimizationCallback* pCallback) = 0;
};
