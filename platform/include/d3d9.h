// Direct3D 9, as far as it takes to have a device with surfaces in memory. The interfaces are whole, since the order of
// their operations is their binary form; operations without a word on them answer D3DERR_INVALIDCALL.
//
// Pointers to records that only such operations take stay opaque. One thread at a time uses a device and its surfaces;
// only references may be taken and given back from any.
#pragma once

#include "d3d9caps.h"
#include "d3d9types.h"
#include "unknwn.h"

#define D3D_SDK_VERSION 32
#define D3DADAPTER_DEFAULT 0

#define D3DCREATE_FPU_PRESERVE 0x00000002
#define D3DCREATE_MULTITHREADED 0x00000004
#define D3DCREATE_PUREDEVICE 0x00000010
#define D3DCREATE_SOFTWARE_VERTEXPROCESSING 0x00000020
#define D3DCREATE_HARDWARE_VERTEXPROCESSING 0x00000040
#define D3DCREATE_MIXED_VERTEXPROCESSING 0x00000080

#define _FACD3D 0x876
#define MAKE_D3DHRESULT(code) MAKE_HRESULT(1, _FACD3D, code)
#define D3D_OK S_OK
#define D3DERR_OUTOFVIDEOMEMORY MAKE_D3DHRESULT(380)
#define D3DERR_NOTFOUND MAKE_D3DHRESULT(2150)
#define D3DERR_DEVICELOST MAKE_D3DHRESULT(2152)
#define D3DERR_NOTAVAILABLE MAKE_D3DHRESULT(2154)
#define D3DERR_INVALIDDEVICE MAKE_D3DHRESULT(2155)
#define D3DERR_INVALIDCALL MAKE_D3DHRESULT(2156)
#define D3DERR_DEVICEREMOVED MAKE_D3DHRESULT(2160)

// Never seen from inside here.
enum D3DBACKBUFFER_TYPE : UINT;
enum D3DDISPLAYROTATION : UINT;
enum D3DPRIMITIVETYPE : UINT;
enum D3DQUERYTYPE : UINT;
enum D3DRENDERSTATETYPE : UINT;
enum D3DSAMPLERSTATETYPE : UINT;
enum D3DSTATEBLOCKTYPE : UINT;
enum D3DTEXTUREFILTERTYPE : UINT;
enum D3DTEXTURESTAGESTATETYPE : UINT;
enum D3DTRANSFORMSTATETYPE : UINT;
struct D3DCAPS9;
struct D3DCLIPSTATUS9;
struct D3DDISPLAYMODE;
struct D3DDISPLAYMODEEX;
struct D3DDISPLAYMODEFILTER;
struct D3DGAMMARAMP;
struct D3DLIGHT9;
struct D3DMATERIAL9;
struct D3DMATRIX;
struct D3DRASTER_STATUS;
struct D3DRECT;
struct D3DRECTPATCH_INFO;
struct D3DTRIPATCH_INFO;
struct D3DVERTEXELEMENT9;
struct D3DVIEWPORT9;
struct IDirect3DBaseTexture9;
struct IDirect3DCubeTexture9;
struct IDirect3DDevice9Ex;
struct IDirect3DIndexBuffer9;
struct IDirect3DPixelShader9;
struct IDirect3DQuery9;
struct IDirect3DStateBlock9;
struct IDirect3DSwapChain9;
struct IDirect3DTexture9;
struct IDirect3DVertexBuffer9;
struct IDirect3DVertexDeclaration9;
struct IDirect3DVertexShader9;
struct IDirect3DVolumeTexture9;
struct PALETTEENTRY;
struct RGNDATA;

struct IDirect3D9;
struct IDirect3DDevice9;

DEFINE_GUID(IID_IDirect3D9, 0x81bdcbca, 0x64d4, 0x426d, 0xae, 0x8d, 0xad, 0x01, 0x47, 0xf4, 0x27, 0x5c);
DEFINE_GUID(IID_IDirect3D9Ex, 0x02177241, 0x69fc, 0x400c, 0x8f, 0xf1, 0x93, 0xa4, 0x4d, 0xf6, 0x86, 0x1d);
DEFINE_GUID(IID_IDirect3DResource9, 0x05eec05d, 0x8f7d, 0x4362, 0xb9, 0x99, 0xd1, 0xba, 0xf3, 0x57, 0xc7, 0x04);
DEFINE_GUID(IID_IDirect3DSurface9, 0x0cfbaf3a, 0x9ff6, 0x429a, 0x99, 0xb3, 0xa2, 0x79, 0x6a, 0xf8, 0xb8, 0x9b);
DEFINE_GUID(IID_IDirect3DDevice9, 0xd0223b96, 0xbf7a, 0x43fd, 0x92, 0xbd, 0xa4, 0x3b, 0x0d, 0x82, 0xb9, 0xeb);

struct IDirect3DResource9 : public IUnknown
{
    // A new reference to the device.
    virtual HRESULT STDMETHODCALLTYPE GetDevice(IDirect3DDevice9** ppDevice) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetPrivateData(REFGUID, const void*, DWORD, DWORD) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPrivateData(REFGUID, void*, DWORD*) = 0;
    virtual HRESULT STDMETHODCALLTYPE FreePrivateData(REFGUID) = 0;
    virtual DWORD STDMETHODCALLTYPE SetPriority(DWORD) = 0;
    virtual DWORD STDMETHODCALLTYPE GetPriority() = 0;
    virtual void STDMETHODCALLTYPE PreLoad() = 0;
    virtual D3DRESOURCETYPE STDMETHODCALLTYPE GetType() = 0;
};
PLATFORM_INTERFACE_IID(IDirect3DResource9);

struct IDirect3DSurface9 : public IDirect3DResource9
{
    virtual HRESULT STDMETHODCALLTYPE GetContainer(REFIID riid, void** ppContainer) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDesc(D3DSURFACE_DESC* pDesc) = 0;
    // The rectangle, or the whole surface for null, until UnlockRect. Locking twice and unlocking what isn't locked is
    // D3DERR_INVALIDCALL. The chroma rows of NV12 follow the last luma row at the same pitch.
    virtual HRESULT STDMETHODCALLTYPE LockRect(D3DLOCKED_RECT* pLocked, const RECT* pRect, DWORD dwFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE UnlockRect() = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDC(HDC*) = 0;
    virtual HRESULT STDMETHODCALLTYPE ReleaseDC(HDC) = 0;
};
PLATFORM_INTERFACE_IID(IDirect3DSurface9);

struct IDirect3DDevice9 : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE TestCooperativeLevel() = 0;
    virtual UINT STDMETHODCALLTYPE GetAvailableTextureMem() = 0;
    virtual HRESULT STDMETHODCALLTYPE EvictManagedResources() = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDirect3D(IDirect3D9** ppD3D9) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDeviceCaps(D3DCAPS9*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDisplayMode(UINT, D3DDISPLAYMODE*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCreationParameters(D3DDEVICE_CREATION_PARAMETERS* pParameters) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetCursorProperties(UINT, UINT, IDirect3DSurface9*) = 0;
    virtual void STDMETHODCALLTYPE SetCursorPosition(int, int, DWORD) = 0;
    virtual BOOL STDMETHODCALLTYPE ShowCursor(BOOL) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateAdditionalSwapChain(D3DPRESENT_PARAMETERS*, IDirect3DSwapChain9**) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSwapChain(UINT, IDirect3DSwapChain9**) = 0;
    virtual UINT STDMETHODCALLTYPE GetNumberOfSwapChains() = 0;
    virtual HRESULT STDMETHODCALLTYPE Reset(D3DPRESENT_PARAMETERS*) = 0;
    virtual HRESULT STDMETHODCALLTYPE Present(const RECT*, const RECT*, HWND, const RGNDATA*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBackBuffer(UINT, UINT, D3DBACKBUFFER_TYPE, IDirect3DSurface9**) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRasterStatus(UINT, D3DRASTER_STATUS*) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetDialogBoxMode(BOOL) = 0;
    virtual void STDMETHODCALLTYPE SetGammaRamp(UINT, DWORD, const D3DGAMMARAMP*) = 0;
    virtual void STDMETHODCALLTYPE GetGammaRamp(UINT, D3DGAMMARAMP*) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateTexture(UINT, UINT, UINT, DWORD, D3DFORMAT, D3DPOOL, IDirect3DTexture9**,
                                                    HANDLE*) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateVolumeTexture(UINT, UINT, UINT, UINT, DWORD, D3DFORMAT, D3DPOOL,
                                                          IDirect3DVolumeTexture9**, HANDLE*) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateCubeTexture(UINT, UINT, DWORD, D3DFORMAT, D3DPOOL, IDirect3DCubeTexture9**,
                                                        HANDLE*) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateVertexBuffer(UINT, DWORD, DWORD, D3DPOOL, IDirect3DVertexBuffer9**,
                                                         HANDLE*) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateIndexBuffer(UINT, DWORD, D3DFORMAT, D3DPOOL, IDirect3DIndexBuffer9**,
                                                        HANDLE*) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateRenderTarget(UINT, UINT, D3DFORMAT, D3DMULTISAMPLE_TYPE, DWORD, BOOL,
                                                         IDirect3DSurface9**, HANDLE*) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateDepthStencilSurface(UINT, UINT, D3DFORMAT, D3DMULTISAMPLE_TYPE, DWORD, BOOL,
                                                                IDirect3DSurface9**, HANDLE*) = 0;
    virtual HRESULT STDMETHODCALLTYPE UpdateSurface(IDirect3DSurface9*, const RECT*, IDirect3DSurface9*,
                                                    const POINT*) = 0;
    virtual HRESULT STDMETHODCALLTYPE UpdateTexture(IDirect3DBaseTexture9*, IDirect3DBaseTexture9*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRenderTargetData(IDirect3DSurface9*, IDirect3DSurface9*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetFrontBufferData(UINT, IDirect3DSurface9*) = 0;
    virtual HRESULT STDMETHODCALLTYPE StretchRect(IDirect3DSurface9*, const RECT*, IDirect3DSurface9*, const RECT*,
                                                  D3DTEXTUREFILTERTYPE) = 0;
    // The rectangle, or the whole surface for null; not of a locked one. The colour of an NV12 surface is
    // D3DCOLOR_XYUV.
    virtual HRESULT STDMETHODCALLTYPE ColorFill(IDirect3DSurface9* pSurface, const RECT* pRect, D3DCOLOR color) = 0;
    // A lockable surface that holds its device. D3DFMT_A8R8G8B8 or NV12; phShared is null.
    virtual HRESULT STDMETHODCALLTYPE CreateOffscreenPlainSurface(UINT uiWidth, UINT uiHeight, D3DFORMAT eFormat,
                                                                  D3DPOOL ePool, IDirect3DSurface9** ppSurface,
                                                                  HANDLE* phShared) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetRenderTarget(DWORD, IDirect3DSurface9*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRenderTarget(DWORD, IDirect3DSurface9**) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetDepthStencilSurface(IDirect3DSurface9*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDepthStencilSurface(IDirect3DSurface9**) = 0;
    virtual HRESULT STDMETHODCALLTYPE BeginScene() = 0;
    virtual HRESULT STDMETHODCALLTYPE EndScene() = 0;
    virtual HRESULT STDMETHODCALLTYPE Clear(DWORD, const D3DRECT*, DWORD, D3DCOLOR, float, DWORD) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetTransform(D3DTRANSFORMSTATETYPE, const D3DMATRIX*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTransform(D3DTRANSFORMSTATETYPE, D3DMATRIX*) = 0;
    virtual HRESULT STDMETHODCALLTYPE MultiplyTransform(D3DTRANSFORMSTATETYPE, const D3DMATRIX*) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetViewport(const D3DVIEWPORT9*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetViewport(D3DVIEWPORT9*) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetMaterial(const D3DMATERIAL9*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMaterial(D3DMATERIAL9*) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetLight(DWORD, const D3DLIGHT9*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetLight(DWORD, D3DLIGHT9*) = 0;
    virtual HRESULT STDMETHODCALLTYPE LightEnable(DWORD, BOOL) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetLightEnable(DWORD, BOOL*) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetClipPlane(DWORD, const float*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetClipPlane(DWORD, float*) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetRenderState(D3DRENDERSTATETYPE, DWORD) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRenderState(D3DRENDERSTATETYPE, DWORD*) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateStateBlock(D3DSTATEBLOCKTYPE, IDirect3DStateBlock9**) = 0;
    virtual HRESULT STDMETHODCALLTYPE BeginStateBlock() = 0;
    virtual HRESULT STDMETHODCALLTYPE EndStateBlock(IDirect3DStateBlock9**) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetClipStatus(const D3DCLIPSTATUS9*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetClipStatus(D3DCLIPSTATUS9*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTexture(DWORD, IDirect3DBaseTexture9**) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetTexture(DWORD, IDirect3DBaseTexture9*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTextureStageState(DWORD, D3DTEXTURESTAGESTATETYPE, DWORD*) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetTextureStageState(DWORD, D3DTEXTURESTAGESTATETYPE, DWORD) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSamplerState(DWORD, D3DSAMPLERSTATETYPE, DWORD*) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetSamplerState(DWORD, D3DSAMPLERSTATETYPE, DWORD) = 0;
    virtual HRESULT STDMETHODCALLTYPE ValidateDevice(DWORD*) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetPaletteEntries(UINT, const PALETTEENTRY*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPaletteEntries(UINT, PALETTEENTRY*) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetCurrentTexturePalette(UINT) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCurrentTexturePalette(UINT*) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetScissorRect(const RECT*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetScissorRect(RECT*) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetSoftwareVertexProcessing(BOOL) = 0;
    virtual BOOL STDMETHODCALLTYPE GetSoftwareVertexProcessing() = 0;
    virtual HRESULT STDMETHODCALLTYPE SetNPatchMode(float) = 0;
    virtual float STDMETHODCALLTYPE GetNPatchMode() = 0;
    virtual HRESULT STDMETHODCALLTYPE DrawPrimitive(D3DPRIMITIVETYPE, UINT, UINT) = 0;
    virtual HRESULT STDMETHODCALLTYPE DrawIndexedPrimitive(D3DPRIMITIVETYPE, INT, UINT, UINT, UINT, UINT) = 0;
    virtual HRESULT STDMETHODCALLTYPE DrawPrimitiveUP(D3DPRIMITIVETYPE, UINT, const void*, UINT) = 0;
    virtual HRESULT STDMETHODCALLTYPE DrawIndexedPrimitiveUP(D3DPRIMITIVETYPE, UINT, UINT, UINT, const void*, D3DFORMAT,
                                                             const void*, UINT) = 0;
    virtual HRESULT STDMETHODCALLTYPE ProcessVertices(UINT, UINT, UINT, IDirect3DVertexBuffer9*,
                                                      IDirect3DVertexDeclaration9*, DWORD) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateVertexDeclaration(const D3DVERTEXELEMENT9*,
                                                              IDirect3DVertexDeclaration9**) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetVertexDeclaration(IDirect3DVertexDeclaration9*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetVertexDeclaration(IDirect3DVertexDeclaration9**) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetFVF(DWORD) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetFVF(DWORD*) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateVertexShader(const DWORD*, IDirect3DVertexShader9**) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetVertexShader(IDirect3DVertexShader9*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetVertexShader(IDirect3DVertexShader9**) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetVertexShaderConstantF(UINT, const float*, UINT) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetVertexShaderConstantF(UINT, float*, UINT) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetVertexShaderConstantI(UINT, const int*, UINT) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetVertexShaderConstantI(UINT, int*, UINT) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetVertexShaderConstantB(UINT, const BOOL*, UINT) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetVertexShaderConstantB(UINT, BOOL*, UINT) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetStreamSource(UINT, IDirect3DVertexBuffer9*, UINT, UINT) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetStreamSource(UINT, IDirect3DVertexBuffer9**, UINT*, UINT*) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetStreamSourceFreq(UINT, UINT) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetStreamSourceFreq(UINT, UINT*) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetIndices(IDirect3DIndexBuffer9*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetIndices(IDirect3DIndexBuffer9**) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreatePixelShader(const DWORD*, IDirect3DPixelShader9**) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetPixelShader(IDirect3DPixelShader9*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPixelShader(IDirect3DPixelShader9**) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetPixelShaderConstantF(UINT, const float*, UINT) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPixelShaderConstantF(UINT, float*, UINT) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetPixelShaderConstantI(UINT, const int*, UINT) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPixelShaderConstantI(UINT, int*, UINT) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetPixelShaderConstantB(UINT, const BOOL*, UINT) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPixelShaderConstantB(UINT, BOOL*, UINT) = 0;
    virtual HRESULT STDMETHODCALLTYPE DrawRectPatch(UINT, const float*, const D3DRECTPATCH_INFO*) = 0;
    virtual HRESULT STDMETHODCALLTYPE DrawTriPatch(UINT, const float*, const D3DTRIPATCH_INFO*) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeletePatch(UINT) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateQuery(D3DQUERYTYPE, IDirect3DQuery9**) = 0;
};
PLATFORM_INTERFACE_IID(IDirect3DDevice9);

struct IDirect3D9 : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE RegisterSoftwareDevice(void*) = 0;
    virtual UINT STDMETHODCALLTYPE GetAdapterCount() = 0;
    virtual HRESULT STDMETHODCALLTYPE GetAdapterIdentifier(UINT uiAdapter, DWORD dwFlags,
                                                           D3DADAPTER_IDENTIFIER9* pIdentifier) = 0;
    virtual UINT STDMETHODCALLTYPE GetAdapterModeCount(UINT, D3DFORMAT) = 0;
    virtual HRESULT STDMETHODCALLTYPE EnumAdapterModes(UINT, D3DFORMAT, UINT, D3DDISPLAYMODE*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetAdapterDisplayMode(UINT, D3DDISPLAYMODE*) = 0;
    virtual HRESULT STDMETHODCALLTYPE CheckDeviceType(UINT, D3DDEVTYPE, D3DFORMAT, D3DFORMAT, BOOL) = 0;
    virtual HRESULT STDMETHODCALLTYPE CheckDeviceFormat(UINT, D3DDEVTYPE, D3DFORMAT, DWORD, D3DRESOURCETYPE,
                                                        D3DFORMAT) = 0;
    virtual HRESULT STDMETHODCALLTYPE CheckDeviceMultiSampleType(UINT, D3DDEVTYPE, D3DFORMAT, BOOL, D3DMULTISAMPLE_TYPE,
                                                                 DWORD*) = 0;
    virtual HRESULT STDMETHODCALLTYPE CheckDepthStencilMatch(UINT, D3DDEVTYPE, D3DFORMAT, D3DFORMAT, D3DFORMAT) = 0;
    virtual HRESULT STDMETHODCALLTYPE CheckDeviceFormatConversion(UINT, D3DDEVTYPE, D3DFORMAT, D3DFORMAT) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDeviceCaps(UINT, D3DDEVTYPE, D3DCAPS9*) = 0;
    virtual HMONITOR STDMETHODCALLTYPE GetAdapterMonitor(UINT) = 0;
    // A device without a window, for surfaces. D3DERR_INVALIDCALL for parameters that no device could have,
    // D3DERR_NOTAVAILABLE for a device type or back buffer format that this machine has not. BackBufferCount 0
    // becomes 1.
    virtual HRESULT STDMETHODCALLTYPE CreateDevice(UINT uiAdapter, D3DDEVTYPE eType, HWND hFocusWindow,
                                                   DWORD dwBehaviorFlags, D3DPRESENT_PARAMETERS* pParameters,
                                                   IDirect3DDevice9** ppDevice) = 0;
};
PLATFORM_INTERFACE_IID(IDirect3D9);

struct IDirect3D9Ex : public IDirect3D9
{
    virtual UINT STDMETHODCALLTYPE GetAdapterModeCountEx(UINT, const D3DDISPLAYMODEFILTER*) = 0;
    virtual HRESULT STDMETHODCALLTYPE EnumAdapterModesEx(UINT, const D3DDISPLAYMODEFILTER*, UINT,
                                                         D3DDISPLAYMODEEX*) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetAdapterDisplayModeEx(UINT, D3DDISPLAYMODEEX*, D3DDISPLAYROTATION*) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateDeviceEx(UINT, D3DDEVTYPE, HWND, DWORD, D3DPRESENT_PARAMETERS*,
                                                     D3DDISPLAYMODEEX*, IDirect3DDevice9Ex**) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetAdapterLUID(UINT, LUID*) = 0;
};
PLATFORM_INTERFACE_IID(IDirect3D9Ex);

// The way in. uiSdkVersion is D3D_SDK_VERSION, else D3DERR_NOTAVAILABLE.
EXTERN_C WINBASEAPI HRESULT WINAPI Direct3DCreate9Ex(UINT uiSdkVersion, IDirect3D9Ex** ppD3D);
