// The operations of surfaces and of the Direct3D object that this platform has no use for.
#pragma once

#include "d3d9.h"
#include "platform/com/com_object.h"

namespace d3d9
{

class UnusedSurface
    : public platform::ComObject<platform::Implements<IDirect3DSurface9>, platform::Answers<IDirect3DResource9>>
{
public:
    HRESULT STDMETHODCALLTYPE SetPrivateData(REFGUID, const void*, DWORD, DWORD) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE GetPrivateData(REFGUID, void*, DWORD*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE FreePrivateData(REFGUID) override { return D3DERR_INVALIDCALL; }
    DWORD STDMETHODCALLTYPE SetPriority(DWORD) override { return {}; }
    DWORD STDMETHODCALLTYPE GetPriority() override { return {}; }
    void STDMETHODCALLTYPE PreLoad() override {}
    HRESULT STDMETHODCALLTYPE GetDC(HDC*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE ReleaseDC(HDC) override { return D3DERR_INVALIDCALL; }
};

class UnusedDirect3D : public platform::ComObject<platform::Implements<IDirect3D9Ex>, platform::Answers<IDirect3D9>>
{
public:
    HRESULT STDMETHODCALLTYPE RegisterSoftwareDevice(void*) override { return D3DERR_INVALIDCALL; }
    UINT STDMETHODCALLTYPE GetAdapterModeCount(UINT, D3DFORMAT) override { return {}; }
    HRESULT STDMETHODCALLTYPE EnumAdapterModes(UINT, D3DFORMAT, UINT, D3DDISPLAYMODE*) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE GetAdapterDisplayMode(UINT, D3DDISPLAYMODE*) override { return D3DERR_INVALIDCALL; }
    HRESULT STDMETHODCALLTYPE CheckDeviceType(UINT, D3DDEVTYPE, D3DFORMAT, D3DFORMAT, BOOL) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE CheckDeviceFormat(UINT, D3DDEVTYPE, D3DFORMAT, DWORD, D3DRESOURCETYPE, D3DFORMAT) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE CheckDeviceMultiSampleType(UINT, D3DDEVTYPE, D3DFORMAT, BOOL, D3DMULTISAMPLE_TYPE,
                                                         DWORD*) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE CheckDepthStencilMatch(UINT, D3DDEVTYPE, D3DFORMAT, D3DFORMAT, D3DFORMAT) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE CheckDeviceFormatConversion(UINT, D3DDEVTYPE, D3DFORMAT, D3DFORMAT) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE GetDeviceCaps(UINT, D3DDEVTYPE, D3DCAPS9*) override { return D3DERR_INVALIDCALL; }
    HMONITOR STDMETHODCALLTYPE GetAdapterMonitor(UINT) override { return {}; }
    UINT STDMETHODCALLTYPE GetAdapterModeCountEx(UINT, const D3DDISPLAYMODEFILTER*) override { return {}; }
    HRESULT STDMETHODCALLTYPE EnumAdapterModesEx(UINT, const D3DDISPLAYMODEFILTER*, UINT, D3DDISPLAYMODEEX*) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE GetAdapterDisplayModeEx(UINT, D3DDISPLAYMODEEX*, D3DDISPLAYROTATION*) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE CreateDeviceEx(UINT, D3DDEVTYPE, HWND, DWORD, D3DPRESENT_PARAMETERS*, D3DDISPLAYMODEEX*,
                                             IDirect3DDevice9Ex**) override
    {
        return D3DERR_INVALIDCALL;
    }
    HRESULT STDMETHODCALLTYPE GetAdapterLUID(UINT, LUID*) override { return D3DERR_INVALIDCALL; }
};

}  // namespace d3d9
