// A session on a Direct3D 9 device, with one surface of the device per slot of the ring.
#pragma once

#include <d3d9.h>
#include <dxva2api.h>

#include "NV_Video_Codec_SDK/NvEncoder/NvEncoder.h"

class NvEncoderD3D9 : public NvEncoder
{
public:
    // pD3D9Device: not null; referenced, like the services, until the session is destroyed. eBufferFormat: NV12 or
    // ARGB, the session takes no other surface here. pDXVA2VideoProcessServices: makes the surfaces instead of the
    // device, if given. uiExtraOutputDelay: slots of the ring beyond what the settings need.
    NvEncoderD3D9(IDirect3DDevice9* pD3D9Device, std::uint32_t uiWidth, std::uint32_t uiHeight,
                  NV_ENC_BUFFER_FORMAT eBufferFormat,
                  IDirectXVideoProcessorService* pDXVA2VideoProcessServices = nullptr,
                  std::uint32_t uiExtraOutputDelay = 3, bool bMotionEstimationOnly = false);
    ~NvEncoderD3D9() override;

    // Leaves an object whose session has ended allocated, and the runtime loaded. That is part of the design of a
    // file's end. The object is reachable from a block that is allocated here, so a leak checker that suppresses this
    // function still finds every other leak. Without memory for that block the object is deleted.
    static void LeaveAllocated(NvEncoderD3D9* pEncoder);

protected:
    void AllocateInputBuffers(std::int32_t nInputBuffers) override;
    void ReleaseInputBuffers() override;

private:
    IDirect3DSurface9* CreateSurface() const;
    void KeepForRelease(const std::vector<void*>& vSurfaces, std::vector<NvEncInputFrame>& vFrames);
    void ReleaseD3D9Resources();

    IDirect3DDevice9* m_pD3D9Device;
    IDirectXVideoProcessorService* m_pDXVA2VideoProcessServices;  // may be null
};
