// The operations of a device that this platform has no use for: no drawing, no textures, no shaders.
#pragma once

#include "d3d9.h"
#include "platform/com/com_object.h"

namespace d3d9
{

class UnusedDevice : public platform::ComObject<platform::Implements<IDirect3DDevice9>>
{
public:
    UINT STDMETHODCALLTYPE GetAvailableTextureMem() override { return {}; }
    HRESULT STDMETHODCALLTYPE EvictManagedResources() override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetDeviceCaps(D3DCAPS9*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetDisplayMode(UINT, D3DDISPLAYMODE*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE SetCursorProperties(UINT, UINT, IDirect3DSurface9*) override
    {
        return D3DERR_INVALIDCALL;
    }
    void STDMETHODCALLTYPE SetCursorPosition(int, int, DWORD) override {}
    BOOL STDMETHODCALLTYPE ShowCursor(BOOL) override { return {}; }
    HRESULT STDMETHODCALLTYPE CreateAdditionalSwapChain(D3DPRESENT_PARAMETERS*, IDirect3DSwapChain9**) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE GetSwapChain(UINT, IDirect3DSwapChain9**) override { return D3DERR_INVALIDCALL; }
    UINT STDMETHODCALLTYPE GetNumberOfSwapChains() override { return {}; }
    HRESULT STDMETHODCALLTYPE Reset(D3DPRESENT_PARAMETERS*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE Present(const RECT*, const RECT*, HWND, const RGNDATA*) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE GetBackBuffer(UINT, UINT, D3DBACKBUFFER_TYPE, IDirect3DSurface9**) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE GetRasterStatus(UINT, D3DRASTER_STATUS*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE SetDialogBoxMode(BOOL) override { return D3DERR_INVALIDCALL; }
    void STDMETHODCALLTYPE SetGammaRamp(UINT, DWORD, const D3DGAMMARAMP*) override {}
    void STDMETHODCALLTYPE GetGammaRamp(UINT, D3DGAMMARAMP*) override {}
    HRESULT STDMETHODCALLTYPE CreateTexture(UINT, UINT, UINT, DWORD, D3DFORMAT, D3DPOOL, IDirect3DTexture9**,
                                            HANDLE*) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE CreateVolumeTexture(UINT, UINT, UINT, UINT, DWORD, D3DFORMAT, D3DPOOL,
                                                  IDirect3DVolumeTexture9**, HANDLE*) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE CreateCubeTexture(UINT, UINT, DWORD, D3DFORMAT, D3DPOOL, IDirect3DCubeTexture9**,
                                                HANDLE*) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE CreateVertexBuffer(UINT, DWORD, DWORD, D3DPOOL, IDirect3DVertexBuffer9**,
                                                 HANDLE*) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE CreateIndexBuffer(UINT, DWORD, D3DFORMAT, D3DPOOL, IDirect3DIndexBuffer9**,
                                                HANDLE*) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE CreateRenderTarget(UINT, UINT, D3DFORMAT, D3DMULTISAMPLE_TYPE, DWORD, BOOL,
                                                 IDirect3DSurface9**, HANDLE*) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE CreateDepthStencilSurface(UINT, UINT, D3DFORMAT, D3DMULTISAMPLE_TYPE, DWORD, BOOL,
                                                        IDirect3DSurface9**, HANDLE*) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE UpdateSurface(IDirect3DSurface9*, const RECT*, IDirect3DSurface9*, const POINT*) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE UpdateTexture(IDirect3DBaseTexture9*, IDirect3DBaseTexture9*) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE GetRenderTargetData(IDirect3DSurface9*, IDirect3DSurface9*) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE GetFrontBufferData(UINT, IDirect3DSurface9*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE StretchRect(IDirect3DSurface9*, const RECT*, IDirect3DSurface9*, const RECT*,
                                          D3DTEXTUREFILTERTYPE) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE SetRenderTarget(DWORD, IDirect3DSurface9*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetRenderTarget(DWORD, IDirect3DSurface9**) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE SetDepthStencilSurface(IDirect3DSurface9*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetDepthStencilSurface(IDirect3DSurface9**) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE BeginScene() override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE EndScene() override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE Clear(DWORD, const D3DRECT*, DWORD, D3DCOLOR, float, DWORD) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE SetTransform(D3DTRANSFORMSTATETYPE, const D3DMATRIX*) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE GetTransform(D3DTRANSFORMSTATETYPE, D3DMATRIX*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE MultiplyTransform(D3DTRANSFORMSTATETYPE, const D3DMATRIX*) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE SetViewport(const D3DVIEWPORT9*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetViewport(D3DVIEWPORT9*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE SetMaterial(const D3DMATERIAL9*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetMaterial(D3DMATERIAL9*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE SetLight(DWORD, const D3DLIGHT9*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetLight(DWORD, D3DLIGHT9*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE LightEnable(DWORD, BOOL) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetLightEnable(DWORD, BOOL*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE SetClipPlane(DWORD, const float*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetClipPlane(DWORD, float*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE SetRenderState(D3DRENDERSTATETYPE, DWORD) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetRenderState(D3DRENDERSTATETYPE, DWORD*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE CreateStateBlock(D3DSTATEBLOCKTYPE, IDirect3DStateBlock9**) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE BeginStateBlock() override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE EndStateBlock(IDirect3DStateBlock9**) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE SetClipStatus(const D3DCLIPSTATUS9*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetClipStatus(D3DCLIPSTATUS9*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetTexture(DWORD, IDirect3DBaseTexture9**) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE SetTexture(DWORD, IDirect3DBaseTexture9*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetTextureStageState(DWORD, D3DTEXTURESTAGESTATETYPE, DWORD*) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE SetTextureStageState(DWORD, D3DTEXTURESTAGESTATETYPE, DWORD) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE GetSamplerState(DWORD, D3DSAMPLERSTATETYPE, DWORD*) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE SetSamplerState(DWORD, D3DSAMPLERSTATETYPE, DWORD) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE ValidateDevice(DWORD*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE SetPaletteEntries(UINT, const PALETTEENTRY*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetPaletteEntries(UINT, PALETTEENTRY*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE SetCurrentTexturePalette(UINT) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetCurrentTexturePalette(UINT*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE SetScissorRect(const RECT*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetScissorRect(RECT*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE SetSoftwareVertexProcessing(BOOL) override { return D3DERR_INVALIDCALL; }
    BOOL STDMETHODCALLTYPE GetSoftwareVertexProcessing() override { return {}; }
    HRESULT STDMETHODCALLTYPE SetNPatchMode(float) override { return D3DERR_INVALIDCALL; }
    float STDMETHODCALLTYPE GetNPatchMode() override { return {}; }
    HRESULT STDMETHODCALLTYPE DrawPrimitive(D3DPRIMITIVETYPE, UINT, UINT) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE DrawIndexedPrimitive(D3DPRIMITIVETYPE, INT, UINT, UINT, UINT, UINT) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE DrawPrimitiveUP(D3DPRIMITIVETYPE, UINT, const void*, UINT) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE DrawIndexedPrimitiveUP(D3DPRIMITIVETYPE, UINT, UINT, UINT, const void*, D3DFORMAT,
                                                     const void*, UINT) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE ProcessVertices(UINT, UINT, UINT, IDirect3DVertexBuffer9*, IDirect3DVertexDeclaration9*,
                                              DWORD) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE CreateVertexDeclaration(const D3DVERTEXELEMENT9*, IDirect3DVertexDeclaration9**) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE SetVertexDeclaration(IDirect3DVertexDeclaration9*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetVertexDeclaration(IDirect3DVertexDeclaration9**) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE SetFVF(DWORD) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetFVF(DWORD*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE CreateVertexShader(const DWORD*, IDirect3DVertexShader9**) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE SetVertexShader(IDirect3DVertexShader9*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetVertexShader(IDirect3DVertexShader9**) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE SetVertexShaderConstantF(UINT, const float*, UINT) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetVertexShaderConstantF(UINT, float*, UINT) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE SetVertexShaderConstantI(UINT, const int*, UINT) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetVertexShaderConstantI(UINT, int*, UINT) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE SetVertexShaderConstantB(UINT, const BOOL*, UINT) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetVertexShaderConstantB(UINT, BOOL*, UINT) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE SetStreamSource(UINT, IDirect3DVertexBuffer9*, UINT, UINT) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE GetStreamSource(UINT, IDirect3DVertexBuffer9**, UINT*, UINT*) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE SetStreamSourceFreq(UINT, UINT) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetStreamSourceFreq(UINT, UINT*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE SetIndices(IDirect3DIndexBuffer9*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetIndices(IDirect3DIndexBuffer9**) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE CreatePixelShader(const DWORD*, IDirect3DPixelShader9**) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE SetPixelShader(IDirect3DPixelShader9*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetPixelShader(IDirect3DPixelShader9**) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE SetPixelShaderConstantF(UINT, const float*, UINT) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetPixelShaderConstantF(UINT, float*, UINT) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE SetPixelShaderConstantI(UINT, const int*, UINT) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetPixelShaderConstantI(UINT, int*, UINT) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE SetPixelShaderConstantB(UINT, const BOOL*, UINT) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetPixelShaderConstantB(UINT, BOOL*, UINT) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE DrawRectPatch(UINT, const float*, const D3DRECTPATCH_INFO*) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE DrawTriPatch(UINT, const float*, const D3DTRIPATCH_INFO*) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE DeletePatch(UINT) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE CreateQuery(D3DQUERYTYPE, IDirect3DQuery9**) override { return D3DERR_INVALIDCALL; }
};

}  // namespace d3d9
