// The surface service of video acceleration.
#pragma once

#include "d3d9.h"

enum
{
    DXVA2_VideoDecoderRenderTarget = 0,
    DXVA2_VideoProcessorRenderTarget = 1,
    DXVA2_VideoSoftwareRenderTarget = 2
};

struct DXVA2_VideoDesc;
struct DXVA2_VideoProcessorCaps;
struct DXVA2_ValueRange;
struct IDirectXVideoProcessor;

DEFINE_GUID(IID_IDirectXVideoAccelerationService, 0xfc51a550, 0xd5e7, 0x11d9, 0xaf, 0x55, 0x00, 0x05, 0x4e, 0x43, 0xff,
            0x02);
DEFINE_GUID(IID_IDirectXVideoProcessorService, 0xfc51a552, 0xd5e7, 0x11d9, 0xaf, 0x55, 0x00, 0x05, 0x4e, 0x43, 0xff,
            0x02);

struct IDirectXVideoAccelerationService : public IUnknown
{
    // Makes uiBackBuffers + 1 surfaces, into as many pointers from ppSurface on; all of them or, on failure, none.
    // Formats and pools as for CreateOffscreenPlainSurface; dwUsage is 0, phShared null.
    virtual HRESULT STDMETHODCALLTYPE CreateSurface(UINT uiWidth, UINT uiHeight, UINT uiBackBuffers, D3DFORMAT eFormat,
                                                    D3DPOOL ePool, DWORD dwUsage, DWORD dwDxvaType,
                                                    IDirect3DSurface9** ppSurface, HANDLE* phShared) = 0;
};
PLATFORM_INTERFACE_IID(IDirectXVideoAccelerationService);

// There is no video processor here: everything beyond the surfaces gives E_NOTIMPL.
struct IDirectXVideoProcessorService : public IDirectXVideoAccelerationService
{
    virtual HRESULT STDMETHODCALLTYPE RegisterVideoProcessorSoftwareDevice(void*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetVideoProcessorDeviceGuids(const DXVA2_VideoDesc*, UINT*, GUID**) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetVideoProcessorRenderTargets(REFGUID, const DXVA2_VideoDesc*, UINT*,
                                                                     D3DFORMAT**) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetVideoProcessorSubStreamFormats(REFGUID, const DXVA2_VideoDesc*, D3DFORMAT,
                                                                        UINT*, D3DFORMAT**) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetVideoProcessorCaps(REFGUID, const DXVA2_VideoDesc*, D3DFORMAT,
                                                            DXVA2_VideoProcessorCaps*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetProcAmpRange(REFGUID, const DXVA2_VideoDesc*, D3DFORMAT, UINT,
                                                      DXVA2_ValueRange*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetFilterPropertyRange(REFGUID, const DXVA2_VideoDesc*, D3DFORMAT, UINT,
                                                             DXVA2_ValueRange*) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateVideoProcessor(REFGUID, const DXVA2_VideoDesc*, D3DFORMAT, UINT,
                                                           IDirectXVideoProcessor**) = 0;
};
PLATFORM_INTERFACE_IID(IDirectXVideoProcessorService);

// A service of that device, for IDirectXVideoProcessorService and its base. It holds the device.
EXTERN_C WINBASEAPI HRESULT WINAPI DXVA2CreateVideoService(IDirect3DDevice9* pDevice, REFIID riid, void** ppService);
