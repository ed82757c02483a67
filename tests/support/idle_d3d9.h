// Direct3D objects that do nothing: a fake derives from one of them and overrides what its test is about. Idle
// operations return E_NOTIMPL, or nothing where they can't fail.
#pragma once

#include <atomic>

#include <windows.h>

#include <d3d9.h>
#include <dxva2api.h>

#define IDLE(operation, parameters)                                                                                    \
    HRESULT STDMETHODCALLTYPE operation parameters override                                                            \
    {                                                                                                                  \
        return OnIdle();                                                                                               \
    }
#define IDLE_PLAIN(result, operation, parameters)                                                                      \
    result STDMETHODCALLTYPE operation parameters override                                                             \
    {                                                                                                                  \
        OnIdle();                                                                                                      \
        return result();                                                                                               \
    }

// Counts references and stays alive after the last Release: the test owns it and reads the count, which starts at 1.
template <typename TInterface>
class IdleUnknown : public TInterface
{
public:
    virtual ~IdleUnknown() = default;

    IDLE(QueryInterface, (REFIID, void**))
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_uiReferences; }
    ULONG STDMETHODCALLTYPE Release() override { return --m_uiReferences; }

    std::atomic<ULONG> m_uiReferences = 1;

protected:
    // Runs in every idle operation.
    virtual HRESULT OnIdle() { return E_NOTIMPL; }
};

class IdleSurface : public IdleUnknown<IDirect3DSurface9>
{
public:
    IDLE(GetDevice, (IDirect3DDevice9**))
    IDLE(SetPrivateData, (REFGUID, const void*, DWORD, DWORD))
    IDLE(GetPrivateData, (REFGUID, void*, DWORD*))
    IDLE(FreePrivateData, (REFGUID))
    IDLE_PLAIN(DWORD, SetPriority, (DWORD))
    IDLE_PLAIN(DWORD, GetPriority, ())
    IDLE_PLAIN(void, PreLoad, ())
    IDLE_PLAIN(D3DRESOURCETYPE, GetType, ())
    IDLE(GetContainer, (REFIID, void**))
    IDLE(GetDesc, (D3DSURFACE_DESC*))
    IDLE(LockRect, (D3DLOCKED_RECT*, const RECT*, DWORD))
    IDLE(UnlockRect, ())
    IDLE(GetDC, (HDC*))
    IDLE(ReleaseDC, (HDC))
};

class IdleVideoService : public IdleUnknown<IDirectXVideoProcessorService>
{
public:
    IDLE(CreateSurface, (UINT, UINT, UINT, D3DFORMAT, D3DPOOL, DWORD, DWORD, IDirect3DSurface9**, HANDLE*))
    IDLE(RegisterVideoProcessorSoftwareDevice, (void*))
    IDLE(GetVideoProcessorDeviceGuids, (const DXVA2_VideoDesc*, UINT*, GUID**))
    IDLE(GetVideoProcessorRenderTargets, (REFGUID, const DXVA2_VideoDesc*, UINT*, D3DFORMAT**))
    IDLE(GetVideoProcessorSubStreamFormats, (REFGUID, const DXVA2_VideoDesc*, D3DFORMAT, UINT*, D3DFORMAT**))
    IDLE(GetVideoProcessorCaps, (REFGUID, const DXVA2_VideoDesc*, D3DFORMAT, DXVA2_VideoProcessorCaps*))
    IDLE(GetProcAmpRange, (REFGUID, const DXVA2_VideoDesc*, D3DFORMAT, UINT, DXVA2_ValueRange*))
    IDLE(GetFilterPropertyRange, (REFGUID, const DXVA2_VideoDesc*, D3DFORMAT, UINT, DXVA2_ValueRange*))
    IDLE(CreateVideoProcessor, (REFGUID, const DXVA2_VideoDesc*, D3DFORMAT, UINT, IDirectXVideoProcessor**))
};

class IdleDevice : public IdleUnknown<IDirect3DDevice9>
{
public:
    IDLE(TestCooperativeLevel, ())
    IDLE_PLAIN(UINT, GetAvailableTextureMem, ())
    IDLE(EvictManagedResources, ())
    IDLE(GetDirect3D, (IDirect3D9**))
    IDLE(GetDeviceCaps, (D3DCAPS9*))
    IDLE(GetDisplayMode, (UINT, D3DDISPLAYMODE*))
    IDLE(GetCreationParameters, (D3DDEVICE_CREATION_PARAMETERS*))
    IDLE(SetCursorProperties, (UINT, UINT, IDirect3DSurface9*))
    IDLE_PLAIN(void, SetCursorPosition, (int, int, DWORD))
    IDLE_PLAIN(BOOL, ShowCursor, (BOOL))
    IDLE(CreateAdditionalSwapChain, (D3DPRESENT_PARAMETERS*, IDirect3DSwapChain9**))
    IDLE(GetSwapChain, (UINT, IDirect3DSwapChain9**))
    IDLE_PLAIN(UINT, GetNumberOfSwapChains, ())
    IDLE(Reset, (D3DPRESENT_PARAMETERS*))
    IDLE(Present, (const RECT*, const RECT*, HWND, const RGNDATA*))
    IDLE(GetBackBuffer, (UINT, UINT, D3DBACKBUFFER_TYPE, IDirect3DSurface9**))
    IDLE(GetRasterStatus, (UINT, D3DRASTER_STATUS*))
    IDLE(SetDialogBoxMode, (BOOL))
    IDLE_PLAIN(void, SetGammaRamp, (UINT, DWORD, const D3DGAMMARAMP*))
    IDLE_PLAIN(void, GetGammaRamp, (UINT, D3DGAMMARAMP*))
    IDLE(CreateTexture, (UINT, UINT, UINT, DWORD, D3DFORMAT, D3DPOOL, IDirect3DTexture9**, HANDLE*))
    IDLE(CreateVolumeTexture, (UINT, UINT, UINT, UINT, DWORD, D3DFORMAT, D3DPOOL, IDirect3DVolumeTexture9**, HANDLE*))
    IDLE(CreateCubeTexture, (UINT, UINT, DWORD, D3DFORMAT, D3DPOOL, IDirect3DCubeTexture9**, HANDLE*))
    IDLE(CreateVertexBuffer, (UINT, DWORD, DWORD, D3DPOOL, IDirect3DVertexBuffer9**, HANDLE*))
    IDLE(CreateIndexBuffer, (UINT, DWORD, D3DFORMAT, D3DPOOL, IDirect3DIndexBuffer9**, HANDLE*))
    IDLE(CreateRenderTarget, (UINT, UINT, D3DFORMAT, D3DMULTISAMPLE_TYPE, DWORD, BOOL, IDirect3DSurface9**, HANDLE*))
    IDLE(CreateDepthStencilSurface,
         (UINT, UINT, D3DFORMAT, D3DMULTISAMPLE_TYPE, DWORD, BOOL, IDirect3DSurface9**, HANDLE*))
    IDLE(UpdateSurface, (IDirect3DSurface9*, const RECT*, IDirect3DSurface9*, const POINT*))
    IDLE(UpdateTexture, (IDirect3DBaseTexture9*, IDirect3DBaseTexture9*))
    IDLE(GetRenderTargetData, (IDirect3DSurface9*, IDirect3DSurface9*))
    IDLE(GetFrontBufferData, (UINT, IDirect3DSurface9*))
    IDLE(StretchRect, (IDirect3DSurface9*, const RECT*, IDirect3DSurface9*, const RECT*, D3DTEXTUREFILTERTYPE))
    IDLE(ColorFill, (IDirect3DSurface9*, const RECT*, D3DCOLOR))
    IDLE(CreateOffscreenPlainSurface, (UINT, UINT, D3DFORMAT, D3DPOOL, IDirect3DSurface9**, HANDLE*))
    IDLE(SetRenderTarget, (DWORD, IDirect3DSurface9*))
    IDLE(GetRenderTarget, (DWORD, IDirect3DSurface9**))
    IDLE(SetDepthStencilSurface, (IDirect3DSurface9*))
    IDLE(GetDepthStencilSurface, (IDirect3DSurface9**))
    IDLE(BeginScene, ())
    IDLE(EndScene, ())
    IDLE(Clear, (DWORD, const D3DRECT*, DWORD, D3DCOLOR, float, DWORD))
    IDLE(SetTransform, (D3DTRANSFORMSTATETYPE, const D3DMATRIX*))
    IDLE(GetTransform, (D3DTRANSFORMSTATETYPE, D3DMATRIX*))
    IDLE(MultiplyTransform, (D3DTRANSFORMSTATETYPE, const D3DMATRIX*))
    IDLE(SetViewport, (const D3DVIEWPORT9*))
    IDLE(GetViewport, (D3DVIEWPORT9*))
    IDLE(SetMaterial, (const D3DMATERIAL9*))
    IDLE(GetMaterial, (D3DMATERIAL9*))
    IDLE(SetLight, (DWORD, const D3DLIGHT9*))
    IDLE(GetLight, (DWORD, D3DLIGHT9*))
    IDLE(LightEnable, (DWORD, BOOL))
    IDLE(GetLightEnable, (DWORD, BOOL*))
    IDLE(SetClipPlane, (DWORD, const float*))
    IDLE(GetClipPlane, (DWORD, float*))
    IDLE(SetRenderState, (D3DRENDERSTATETYPE, DWORD))
    IDLE(GetRenderState, (D3DRENDERSTATETYPE, DWORD*))
    IDLE(CreateStateBlock, (D3DSTATEBLOCKTYPE, IDirect3DStateBlock9**))
    IDLE(BeginStateBlock, ())
    IDLE(EndStateBlock, (IDirect3DStateBlock9**))
    IDLE(SetClipStatus, (const D3DCLIPSTATUS9*))
    IDLE(GetClipStatus, (D3DCLIPSTATUS9*))
    IDLE(GetTexture, (DWORD, IDirect3DBaseTexture9**))
    IDLE(SetTexture, (DWORD, IDirect3DBaseTexture9*))
    IDLE(GetTextureStageState, (DWORD, D3DTEXTURESTAGESTATETYPE, DWORD*))
    IDLE(SetTextureStageState, (DWORD, D3DTEXTURESTAGESTATETYPE, DWORD))
    IDLE(GetSamplerState, (DWORD, D3DSAMPLERSTATETYPE, DWORD*))
    IDLE(SetSamplerState, (DWORD, D3DSAMPLERSTATETYPE, DWORD))
    IDLE(ValidateDevice, (DWORD*))
    IDLE(SetPaletteEntries, (UINT, const PALETTEENTRY*))
    IDLE(GetPaletteEntries, (UINT, PALETTEENTRY*))
    IDLE(SetCurrentTexturePalette, (UINT))
    IDLE(GetCurrentTexturePalette, (UINT*))
    IDLE(SetScissorRect, (const RECT*))
    IDLE(GetScissorRect, (RECT*))
    IDLE(SetSoftwareVertexProcessing, (BOOL))
    IDLE_PLAIN(BOOL, GetSoftwareVertexProcessing, ())
    IDLE(SetNPatchMode, (float))
    IDLE_PLAIN(float, GetNPatchMode, ())
    IDLE(DrawPrimitive, (D3DPRIMITIVETYPE, UINT, UINT))
    IDLE(DrawIndexedPrimitive, (D3DPRIMITIVETYPE, INT, UINT, UINT, UINT, UINT))
    IDLE(DrawPrimitiveUP, (D3DPRIMITIVETYPE, UINT, const void*, UINT))
    IDLE(DrawIndexedPrimitiveUP, (D3DPRIMITIVETYPE, UINT, UINT, UINT, const void*, D3DFORMAT, const void*, UINT))
    IDLE(ProcessVertices, (UINT, UINT, UINT, IDirect3DVertexBuffer9*, IDirect3DVertexDeclaration9*, DWORD))
    IDLE(CreateVertexDeclaration, (const D3DVERTEXELEMENT9*, IDirect3DVertexDeclaration9**))
    IDLE(SetVertexDeclaration, (IDirect3DVertexDeclaration9*))
    IDLE(GetVertexDeclaration, (IDirect3DVertexDeclaration9**))
    IDLE(SetFVF, (DWORD))
    IDLE(GetFVF, (DWORD*))
    IDLE(CreateVertexShader, (const DWORD*, IDirect3DVertexShader9**))
    IDLE(SetVertexShader, (IDirect3DVertexShader9*))
    IDLE(GetVertexShader, (IDirect3DVertexShader9**))
    IDLE(SetVertexShaderConstantF, (UINT, const float*, UINT))
    IDLE(GetVertexShaderConstantF, (UINT, float*, UINT))
    IDLE(SetVertexShaderConstantI, (UINT, const int*, UINT))
    IDLE(GetVertexShaderConstantI, (UINT, int*, UINT))
    IDLE(SetVertexShaderConstantB, (UINT, const BOOL*, UINT))
    IDLE(GetVertexShaderConstantB, (UINT, BOOL*, UINT))
    IDLE(SetStreamSource, (UINT, IDirect3DVertexBuffer9*, UINT, UINT))
    IDLE(GetStreamSource, (UINT, IDirect3DVertexBuffer9**, UINT*, UINT*))
    IDLE(SetStreamSourceFreq, (UINT, UINT))
    IDLE(GetStreamSourceFreq, (UINT, UINT*))
    IDLE(SetIndices, (IDirect3DIndexBuffer9*))
    IDLE(GetIndices, (IDirect3DIndexBuffer9**))
    IDLE(CreatePixelShader, (const DWORD*, IDirect3DPixelShader9**))
    IDLE(SetPixelShader, (IDirect3DPixelShader9*))
    IDLE(GetPixelShader, (IDirect3DPixelShader9**))
    IDLE(SetPixelShaderConstantF, (UINT, const float*, UINT))
    IDLE(GetPixelShaderConstantF, (UINT, float*, UINT))
    IDLE(SetPixelShaderConstantI, (UINT, const int*, UINT))
    IDLE(GetPixelShaderConstantI, (UINT, int*, UINT))
    IDLE(SetPixelShaderConstantB, (UINT, const BOOL*, UINT))
    IDLE(GetPixelShaderConstantB, (UINT, BOOL*, UINT))
    IDLE(DrawRectPatch, (UINT, const float*, const D3DRECTPATCH_INFO*))
    IDLE(DrawTriPatch, (UINT, const float*, const D3DTRIPATCH_INFO*))
    IDLE(DeletePatch, (UINT))
    IDLE(CreateQuery, (D3DQUERYTYPE, IDirect3DQuery9**))
};

class IdleDirect3D : public IdleUnknown<IDirect3D9Ex>
{
public:
    IDLE(RegisterSoftwareDevice, (void*))
    IDLE_PLAIN(UINT, GetAdapterCount, ())
    IDLE(GetAdapterIdentifier, (UINT, DWORD, D3DADAPTER_IDENTIFIER9*))
    IDLE_PLAIN(UINT, GetAdapterModeCount, (UINT, D3DFORMAT))
    IDLE(EnumAdapterModes, (UINT, D3DFORMAT, UINT, D3DDISPLAYMODE*))
    IDLE(GetAdapterDisplayMode, (UINT, D3DDISPLAYMODE*))
    IDLE(CheckDeviceType, (UINT, D3DDEVTYPE, D3DFORMAT, D3DFORMAT, BOOL))
    IDLE(CheckDeviceFormat, (UINT, D3DDEVTYPE, D3DFORMAT, DWORD, D3DRESOURCETYPE, D3DFORMAT))
    IDLE(CheckDeviceMultiSampleType, (UINT, D3DDEVTYPE, D3DFORMAT, BOOL, D3DMULTISAMPLE_TYPE, DWORD*))
    IDLE(CheckDepthStencilMatch, (UINT, D3DDEVTYPE, D3DFORMAT, D3DFORMAT, D3DFORMAT))
    IDLE(CheckDeviceFormatConversion, (UINT, D3DDEVTYPE, D3DFORMAT, D3DFORMAT))
    IDLE(GetDeviceCaps, (UINT, D3DDEVTYPE, D3DCAPS9*))
    IDLE_PLAIN(HMONITOR, GetAdapterMonitor, (UINT))
    IDLE(CreateDevice, (UINT, D3DDEVTYPE, HWND, DWORD, D3DPRESENT_PARAMETERS*, IDirect3DDevice9**))
    IDLE_PLAIN(UINT, GetAdapterModeCountEx, (UINT, const D3DDISPLAYMODEFILTER*))
    IDLE(EnumAdapterModesEx, (UINT, const D3DDISPLAYMODEFILTER*, UINT, D3DDISPLAYMODEEX*))
    IDLE(GetAdapterDisplayModeEx, (UINT, D3DDISPLAYMODEEX*, D3DDISPLAYROTATION*))
    IDLE(CreateDeviceEx,
         (UINT, D3DDEVTYPE, HWND, DWORD, D3DPRESENT_PARAMETERS*, D3DDISPLAYMODEEX*, IDirect3DDevice9Ex**))
    IDLE(GetAdapterLUID, (UINT, LUID*))
};

#undef IDLE_PLAIN
#undef IDLE
