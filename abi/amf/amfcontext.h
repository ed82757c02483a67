// The context: a device, and the memory that components share.
#pragma once

#include "abi/amf/amfdata.h"

struct AMFCompute;
struct AMFComputeDevice;
struct AMFComputeFactory;

struct AMFContext : public AMFPropertyStorage
{
    static constexpr AMFGuid IID()
    {
        return {0xA76A13F0, 0xD80E, 0x4FCC, 0xB5, 0x08, 0x65, 0xD0, 0xB5, 0x2E, 0xD9, 0xEE};
    }

    virtual AMF_RESULT Terminate() = 0;

    // Devices are IDirect3DDevice9, ID3D11Device and so on. With null the context makes its own.
    virtual AMF_RESULT InitDX9(void* pDX9Device) = 0;
    virtual void* GetDX9Device(AMF_DX_VERSION required = AMF_DX9) = 0;
    virtual AMF_RESULT LockDX9() = 0;
    virtual AMF_RESULT UnlockDX9() = 0;
    virtual AMF_RESULT InitDX11(void* pDX11Device, AMF_DX_VERSION required = AMF_DX11_0) = 0;
    virtual void* GetDX11Device(AMF_DX_VERSION required = AMF_DX11_0) = 0;
    virtual AMF_RESULT LockDX11() = 0;
    virtual AMF_RESULT UnlockDX11() = 0;

    virtual AMF_RESULT InitOpenCL(void* pCommandQueue = nullptr) = 0;
    virtual void* GetOpenCLContext() = 0;
    virtual void* GetOpenCLCommandQueue() = 0;
    virtual void* GetOpenCLDeviceID() = 0;
    virtual AMF_RESULT GetOpenCLComputeFactory(AMFComputeFactory** ppFactory) = 0;
    virtual AMF_RESULT InitOpenCLEx(AMFComputeDevice* pDevice) = 0;
    virtual AMF_RESULT LockOpenCL() = 0;
    virtual AMF_RESULT UnlockOpenCL() = 0;

    virtual AMF_RESULT InitOpenGL(amf_handle hOpenGLContext, amf_handle hWindow, amf_handle hDC) = 0;
    virtual amf_handle GetOpenGLContext() = 0;
    virtual amf_handle GetOpenGLDrawable() = 0;
    virtual AMF_RESULT LockOpenGL() = 0;
    virtual AMF_RESULT UnlockOpenGL() = 0;

    virtual AMF_RESULT InitXV(void* pXVDevice) = 0;
    virtual void* GetXVDevice() = 0;
    virtual AMF_RESULT LockXV() = 0;
    virtual AMF_RESULT UnlockXV() = 0;

    virtual AMF_RESULT InitGralloc(void* pGrallocDevice) = 0;
    virtual void* GetGrallocDevice() = 0;
    virtual AMF_RESULT LockGralloc() = 0;
    virtual AMF_RESULT UnlockGralloc() = 0;

    virtual AMF_RESULT AllocBuffer(AMF_MEMORY_TYPE type, amf_size size, AMFBuffer** ppBuffer) = 0;
    virtual AMF_RESULT AllocSurface(AMF_MEMORY_TYPE type, AMF_SURFACE_FORMAT format, amf_int32 width, amf_int32 height,
                                    AMFSurface** ppSurface) = 0;
    virtual AMF_RESULT AllocAudioBuffer(AMF_MEMORY_TYPE type, AMF_AUDIO_FORMAT format, amf_int32 samples,
                                        amf_int32 sampleRate, amf_int32 channels, AMFAudioBuffer** ppAudioBuffer) = 0;

    virtual AMF_RESULT CreateBufferFromHostNative(void* pHostBuffer, amf_size size, AMFBuffer** ppBuffer,
                                                  AMFBufferObserver* pObserver) = 0;
    virtual AMF_RESULT CreateSurfaceFromHostNative(AMF_SURFACE_FORMAT format, amf_int32 width, amf_int32 height,
                                                   amf_int32 hPitch, amf_int32 vPitch, void* pData,
                                                   AMFSurface** ppSurface, AMFSurfaceObserver* pObserver) = 0;
    virtual AMF_RESULT CreateSurfaceFromDX9Native(void* pDX9Surface, AMFSurface** ppSurface,
                                                  AMFSurfaceObserver* pObserver) = 0;
    virtual AMF_RESULT CreateSurfaceFromDX11Native(void* pDX11Surface, AMFSurface** ppSurface,
                                                   AMFSurfaceObserver* pObserver) = 0;
    virtual AMF_RESULT CreateSurfaceFromOpenGLNative(AMF_SURFACE_FORMAT format, amf_handle hGLTextureID,
                                                     AMFSurface** ppSurface, AMFSurfaceObserver* pObserver) = 0;
    virtual AMF_RESULT CreateSurfaceFromGrallocNative(amf_handle hGrallocSurface, AMFSurface** ppSurface,
                                                      AMFSurfaceObserver* pObserver) = 0;
    virtual AMF_RESULT CreateSurfaceFromOpenCLNative(AMF_SURFACE_FORMAT format, amf_int32 width, amf_int32 height,
                                                     void** pClPlanes, AMFSurface** ppSurface,
                                                     AMFSurfaceObserver* pObserver) = 0;
    virtual AMF_RESULT CreateBufferFromOpenCLNative(void* pCLBuffer, amf_size size, AMFBuffer** ppBuffer) = 0;

    virtual AMF_RESULT GetCompute(AMF_MEMORY_TYPE type, AMFCompute** ppCompute) = 0;
};
