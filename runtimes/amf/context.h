// A device, and the memory that components share.
#pragma once

#include "platform/com/com_ptr.h"
#include "runtimes/amf/context_record.h"
#include "runtimes/amf/property_storage.h"

struct IDirect3DDevice9;
struct IDirect3D9Ex;

namespace amfruntime
{

// The operations of everything but Direct3D 9, which this runtime doesn't implement.
class ContextWithoutOthers : public WithProperties<AMFContext>
{
public:
    AMF_RESULT InitDX11(void*, AMF_DX_VERSION) override { return AMF_NOT_IMPLEMENTED; }
    void* GetDX11Device(AMF_DX_VERSION) override { return nullptr; }
    AMF_RESULT LockDX11() override { return AMF_NOT_IMPLEMENTED; }
    AMF_RESULT UnlockDX11() override { return AMF_NOT_IMPLEMENTED; }
    AMF_RESULT InitOpenCL(void*) override { return AMF_NOT_IMPLEMENTED; }
    void* GetOpenCLContext() override { return nullptr; }
    void* GetOpenCLCommandQueue() override { return nullptr; }
    void* GetOpenCLDeviceID() override { return nullptr; }
    AMF_RESULT GetOpenCLComputeFactory(AMFComputeFactory** ppFactory) override { return None(ppFactory); }
    AMF_RESULT InitOpenCLEx(AMFComputeDevice*) override { return AMF_NOT_IMPLEMENTED; }
    AMF_RESULT LockOpenCL() override { return AMF_NOT_IMPLEMENTED; }
    AMF_RESULT UnlockOpenCL() override { return AMF_NOT_IMPLEMENTED; }
    AMF_RESULT InitOpenGL(amf_handle, amf_handle, amf_handle) override { return AMF_NOT_IMPLEMENTED; }
    amf_handle GetOpenGLContext() override { return nullptr; }
    amf_handle GetOpenGLDrawable() override { return nullptr; }
    AMF_RESULT LockOpenGL() override { return AMF_NOT_IMPLEMENTED; }
    AMF_RESULT UnlockOpenGL() override { return AMF_NOT_IMPLEMENTED; }
    AMF_RESULT InitXV(void*) override { return AMF_NOT_IMPLEMENTED; }
    void* GetXVDevice() override { return nullptr; }
    AMF_RESULT LockXV() override { return AMF_NOT_IMPLEMENTED; }
    AMF_RESULT UnlockXV() override { return AMF_NOT_IMPLEMENTED; }
    AMF_RESULT InitGralloc(void*) override { return AMF_NOT_IMPLEMENTED; }
    void* GetGrallocDevice() override { return nullptr; }
    AMF_RESULT LockGralloc() override { return AMF_NOT_IMPLEMENTED; }
    AMF_RESULT UnlockGralloc() override { return AMF_NOT_IMPLEMENTED; }
    AMF_RESULT AllocAudioBuffer(AMF_MEMORY_TYPE, AMF_AUDIO_FORMAT, amf_int32, amf_int32, amf_int32,
                                AMFAudioBuffer** ppAudioBuffer) override
    {
        return None(ppAudioBuffer);
    }
    AMF_RESULT CreateBufferFromHostNative(void*, amf_size, AMFBuffer** ppBuffer, AMFBufferObserver*) override
    {
        return None(ppBuffer);
    }
    AMF_RESULT CreateSurfaceFromHostNative(AMF_SURFACE_FORMAT, amf_int32, amf_int32, amf_int32, amf_int32, void*,
                                           AMFSurface** ppSurface, AMFSurfaceObserver*) override
    {
        return None(ppSurface);
    }
    AMF_RESULT CreateSurfaceFromDX9Native(void*, AMFSurface** ppSurface, AMFSurfaceObserver*) override
    {
        return None(ppSurface);
    }
    AMF_RESULT CreateSurfaceFromDX11Native(void*, AMFSurface** ppSurface, AMFSurfaceObserver*) override
    {
        return None(ppSurface);
    }
    AMF_RESULT CreateSurfaceFromOpenGLNative(AMF_SURFACE_FORMAT, amf_handle, AMFSurface** ppSurface,
                                             AMFSurfaceObserver*) override
    {
        return None(ppSurface);
    }
    AMF_RESULT CreateSurfaceFromGrallocNative(amf_handle, AMFSurface** ppSurface, AMFSurfaceObserver*) override
    {
        return None(ppSurface);
    }
    AMF_RESULT CreateSurfaceFromOpenCLNative(AMF_SURFACE_FORMAT, amf_int32, amf_int32, void**, AMFSurface** ppSurface,
                                             AMFSurfaceObserver*) override
    {
        return None(ppSurface);
    }
    AMF_RESULT CreateBufferFromOpenCLNative(void*, amf_size, AMFBuffer** ppBuffer) override { return None(ppBuffer); }
    AMF_RESULT GetCompute(AMF_MEMORY_TYPE, AMFCompute** ppCompute) override { return None(ppCompute); }

private:
    template <typename Object>
    static AMF_RESULT None(Object** ppObject)
    {
        if (ppObject)
        {
            *ppObject = nullptr;
        }
        return AMF_NOT_IMPLEMENTED;
    }
};

// Any thread. LockDX9 is held by one thread at a time, which may lock again.
class Context final : public ContextWithoutOthers
{
public:
    Context();

    // Gives up the device. What came from the context stays usable until it is released.
    AMF_RESULT Terminate() override;

    // With null, a device of the context's own, which is made for several threads.
    AMF_RESULT InitDX9(void* pDX9Device) override;
    // Null without a device and for the extended version, which there is none of. Without a reference for the caller.
    void* GetDX9Device(AMF_DX_VERSION required) override;
    AMF_RESULT LockDX9() override;
    AMF_RESULT UnlockDX9() override;

    AMF_RESULT AllocBuffer(AMF_MEMORY_TYPE type, amf_size size, AMFBuffer** ppBuffer) override;
    AMF_RESULT AllocSurface(AMF_MEMORY_TYPE type, AMF_SURFACE_FORMAT format, amf_int32 width, amf_int32 height,
                            AMFSurface** ppSurface) override;

    // --- for the components of the context; not counted as calls of a client

    bool HasDevice() const;
    // A surface of even size, if it is NV12.
    AMF_RESULT MakeSurface(AMF_SURFACE_FORMAT eFormat, amf_int32 nWidth, amf_int32 nHeight, AMFSurface** ppSurface);
    const std::shared_ptr<ContextRecord>& Record() const { return m_pRecord; }

private:
    ~Context() override;

    platform::ComPtr<IDirect3DDevice9> Device() const;
    void ReportEnd() const;

    const std::shared_ptr<ContextRecord> m_pRecord = std::make_shared<ContextRecord>();
    mutable std::mutex m_mutex;
    platform::ComPtr<IDirect3DDevice9> m_pDevice;
    bool m_bTerminated = false;
    std::recursive_mutex m_deviceMutex;
};

}  // namespace amfruntime
