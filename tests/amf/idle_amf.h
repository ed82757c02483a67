// Objects of the AMF interface that do nothing: a scripted one derives from one of them and overrides what its test is
// about. Idle operations return AMF_NOT_IMPLEMENTED, or nothing where they can't fail.
#pragma once

#include "amf/common/amfinterfaceimpl.h"

#define IDLE(operation, parameters)                                                                                    \
    AMF_RESULT operation parameters override                                                                           \
    {                                                                                                                  \
        return AMF_NOT_IMPLEMENTED;                                                                                    \
    }
#define IDLE_PLAIN(result, operation, parameters)                                                                      \
    result operation parameters override                                                                               \
    {                                                                                                                  \
        return {};                                                                                                     \
    }
#define IDLE_VOID(operation, parameters)                                                                               \
    void operation parameters override {}

template <typename TInterface>
class IdleStorage : public AMFInterfaceImpl<TInterface>
{
public:
    IDLE(SetProperty, (const wchar_t*, AMFVariantStruct))
    IDLE(GetProperty, (const wchar_t*, AMFVariantStruct*) const)
    IDLE_PLAIN(amf_bool, HasProperty, (const wchar_t*) const)
    IDLE_PLAIN(amf_size, GetPropertyCount, () const)
    IDLE(GetPropertyAt, (amf_size, wchar_t*, amf_size, AMFVariantStruct*) const)
    IDLE(Clear, ())
    IDLE(AddTo, (AMFPropertyStorage*, amf_bool, amf_bool) const)
    IDLE(CopyTo, (AMFPropertyStorage*, amf_bool) const)
    IDLE_VOID(AddObserver, (AMFPropertyStorageObserver*))
    IDLE_VOID(RemoveObserver, (AMFPropertyStorageObserver*))
};

class IdleComponent : public IdleStorage<AMFComponent>
{
public:
    IDLE_PLAIN(amf_size, GetPropertiesInfoCount, () const)
    IDLE(ReservedGetPropertyInfo14, () const)
    IDLE(ReservedGetPropertyInfo15, () const)
    IDLE(ValidateProperty, (const wchar_t*, AMFVariantStruct, AMFVariantStruct*) const)
    IDLE(Init, (AMF_SURFACE_FORMAT, amf_int32, amf_int32))
    IDLE(ReInit, (amf_int32, amf_int32))
    IDLE(Terminate, ())
    IDLE(Drain, ())
    IDLE(Flush, ())
    IDLE(SubmitInput, (AMFData*))
    IDLE(QueryOutput, (AMFData**))
    IDLE_PLAIN(AMFContext*, GetContext, ())
    IDLE(SetOutputDataAllocatorCB, (AMFDataAllocatorCB*))
    IDLE(GetCaps, (AMFCaps**))
    IDLE(Optimize, (AMFComponentOptimizationCallback*))
};

class IdleContext : public IdleStorage<AMFContext>
{
public:
    IDLE(Terminate, ())
    IDLE(InitDX9, (void*))
    IDLE_PLAIN(void*, GetDX9Device, (AMF_DX_VERSION))
    IDLE(LockDX9, ())
    IDLE(UnlockDX9, ())
    IDLE(InitDX11, (void*, AMF_DX_VERSION))
    IDLE_PLAIN(void*, GetDX11Device, (AMF_DX_VERSION))
    IDLE(LockDX11, ())
    IDLE(UnlockDX11, ())
    IDLE(InitOpenCL, (void*))
    IDLE_PLAIN(void*, GetOpenCLContext, ())
    IDLE_PLAIN(void*, GetOpenCLCommandQueue, ())
    IDLE_PLAIN(void*, GetOpenCLDeviceID, ())
    IDLE(GetOpenCLComputeFactory, (AMFComputeFactory**))
    IDLE(InitOpenCLEx, (AMFComputeDevice*))
    IDLE(LockOpenCL, ())
    IDLE(UnlockOpenCL, ())
    IDLE(InitOpenGL, (amf_handle, amf_handle, amf_handle))
    IDLE_PLAIN(amf_handle, GetOpenGLContext, ())
    IDLE_PLAIN(amf_handle, GetOpenGLDrawable, ())
    IDLE(LockOpenGL, ())
    IDLE(UnlockOpenGL, ())
    IDLE(InitXV, (void*))
    IDLE_PLAIN(void*, GetXVDevice, ())
    IDLE(LockXV, ())
    IDLE(UnlockXV, ())
    IDLE(InitGralloc, (void*))
    IDLE_PLAIN(void*, GetGrallocDevice, ())
    IDLE(LockGralloc, ())
    IDLE(UnlockGralloc, ())
    IDLE(AllocBuffer, (AMF_MEMORY_TYPE, amf_size, AMFBuffer**))
    IDLE(AllocSurface, (AMF_MEMORY_TYPE, AMF_SURFACE_FORMAT, amf_int32, amf_int32, AMFSurface**))
    IDLE(AllocAudioBuffer, (AMF_MEMORY_TYPE, AMF_AUDIO_FORMAT, amf_int32, amf_int32, amf_int32, AMFAudioBuffer**))
    IDLE(CreateBufferFromHostNative, (void*, amf_size, AMFBuffer**, AMFBufferObserver*))
    IDLE(CreateSurfaceFromHostNative,
         (AMF_SURFACE_FORMAT, amf_int32, amf_int32, amf_int32, amf_int32, void*, AMFSurface**, AMFSurfaceObserver*))
    IDLE(CreateSurfaceFromDX9Native, (void*, AMFSurface**, AMFSurfaceObserver*))
    IDLE(CreateSurfaceFromDX11Native, (void*, AMFSurface**, AMFSurfaceObserver*))
    IDLE(CreateSurfaceFromOpenGLNative, (AMF_SURFACE_FORMAT, amf_handle, AMFSurface**, AMFSurfaceObserver*))
    IDLE(CreateSurfaceFromGrallocNative, (amf_handle, AMFSurface**, AMFSurfaceObserver*))
    IDLE(CreateSurfaceFromOpenCLNative,
         (AMF_SURFACE_FORMAT, amf_int32, amf_int32, void**, AMFSurface**, AMFSurfaceObserver*))
    IDLE(CreateBufferFromOpenCLNative, (void*, amf_size, AMFBuffer**))
    IDLE(GetCompute, (AMF_MEMORY_TYPE, AMFCompute**))
};

template <typename TInterface>
class IdleData : public IdleStorage<TInterface>
{
public:
    IDLE_PLAIN(AMF_MEMORY_TYPE, GetMemoryType, ())
    IDLE(Duplicate, (AMF_MEMORY_TYPE, AMFData**))
    IDLE(Convert, (AMF_MEMORY_TYPE))
    IDLE(Interop, (AMF_MEMORY_TYPE))
    IDLE_PLAIN(AMF_DATA_TYPE, GetDataType, ())
    IDLE_PLAIN(amf_bool, IsReusable, ())
    IDLE_VOID(SetPts, (amf_pts))
    IDLE_PLAIN(amf_pts, GetPts, ())
    IDLE_VOID(SetDuration, (amf_pts))
    IDLE_PLAIN(amf_pts, GetDuration, ())
};

class IdleBuffer : public IdleData<AMFBuffer>
{
public:
    IDLE(SetSize, (amf_size))
    IDLE_PLAIN(amf_size, GetSize, ())
    IDLE_PLAIN(void*, GetNative, ())
    IDLE_VOID(AddBufferObserver, (AMFBufferObserver*))
    IDLE_VOID(RemoveBufferObserver, (AMFBufferObserver*))
};

class IdlePlane : public AMFInterfaceImpl<AMFPlane>
{
public:
    IDLE_PLAIN(AMF_PLANE_TYPE, GetType, ())
    IDLE_PLAIN(void*, GetNative, ())
    IDLE_PLAIN(amf_int32, GetPixelSizeInBytes, ())
    IDLE_PLAIN(amf_int32, GetOffsetX, ())
    IDLE_PLAIN(amf_int32, GetOffsetY, ())
    IDLE_PLAIN(amf_int32, GetWidth, ())
    IDLE_PLAIN(amf_int32, GetHeight, ())
    IDLE_PLAIN(amf_int32, GetHPitch, ())
    IDLE_PLAIN(amf_int32, GetVPitch, ())
    IDLE_PLAIN(amf_bool, IsTiled, ())
};

class IdleAmfSurface : public IdleData<AMFSurface>
{
public:
    IDLE_PLAIN(AMF_SURFACE_FORMAT, GetFormat, ())
    IDLE_PLAIN(amf_size, GetPlanesCount, ())
    IDLE_PLAIN(AMFPlane*, GetPlaneAt, (amf_size))
    IDLE_PLAIN(AMFPlane*, GetPlane, (AMF_PLANE_TYPE))
    IDLE_PLAIN(AMF_FRAME_TYPE, GetFrameType, ())
    IDLE_VOID(SetFrameType, (AMF_FRAME_TYPE))
    IDLE(SetCrop, (amf_int32, amf_int32, amf_int32, amf_int32))
    IDLE(CopySurfaceRegion, (AMFSurface*, amf_int32, amf_int32, amf_int32, amf_int32, amf_int32, amf_int32))
    IDLE_VOID(AddSurfaceObserver, (AMFSurfaceObserver*))
    IDLE_VOID(RemoveSurfaceObserver, (AMFSurfaceObserver*))
};

#undef IDLE_VOID
#undef IDLE_PLAIN
#undef IDLE
