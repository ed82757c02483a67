#include <cstdio>
#include <new>

#include "platform/d3d9/device.h"
#include "platform/d3d9/script.h"
#include "platform/d3d9/surface.h"
#include "platform/d3d9/unused_operations.h"

namespace d3d9
{
namespace
{

constexpr UINT c_uiAdapters = 1;

// Vertices are processed in exactly one of three places.
bool AreBehaviorFlags(DWORD dwFlags)
{
    const DWORD dwProcessing = dwFlags & (D3DCREATE_SOFTWARE_VERTEXPROCESSING | D3DCREATE_HARDWARE_VERTEXPROCESSING |
                                          D3DCREATE_MIXED_VERTEXPROCESSING);
    const bool bOne = dwProcessing != 0 && (dwProcessing & (dwProcessing - 1)) == 0;
    const bool bPure = (dwFlags & D3DCREATE_PUREDEVICE) != 0;
    return bOne && (!bPure || dwProcessing == D3DCREATE_HARDWARE_VERTEXPROCESSING);
}

bool IsExtent(UINT uiExtent)
{
    return uiExtent >= 1 && uiExtent <= c_uiMaxExtent;
}

// There are no windows here, so a back buffer can't take its size from one, and nothing can fill a screen.
bool ArePresentParameters(const D3DPRESENT_PARAMETERS& parameters)
{
    const UINT uiInterval = parameters.PresentationInterval;
    const bool bInterval = uiInterval == D3DPRESENT_INTERVAL_DEFAULT || uiInterval == D3DPRESENT_INTERVAL_ONE ||
                           uiInterval == D3DPRESENT_INTERVAL_IMMEDIATE;
    return IsExtent(parameters.BackBufferWidth) && IsExtent(parameters.BackBufferHeight) &&
           parameters.BackBufferCount <= D3DPRESENT_BACK_BUFFERS_MAX_EX && parameters.Windowed &&
           parameters.FullScreen_RefreshRateInHz == 0 && parameters.SwapEffect >= D3DSWAPEFFECT_DISCARD &&
           parameters.SwapEffect <= D3DSWAPEFFECT_FLIPEX && bInterval;
}

bool IsBackBufferFormat(D3DFORMAT eFormat)
{
    return eFormat == D3DFMT_UNKNOWN || eFormat == D3DFMT_A8R8G8B8 || eFormat == D3DFMT_X8R8G8B8;
}

class Direct3D : public UnusedDirect3D
{
public:
    UINT STDMETHODCALLTYPE GetAdapterCount() override { return c_uiAdapters; }

    HRESULT STDMETHODCALLTYPE GetAdapterIdentifier(UINT uiAdapter, DWORD /*dwFlags*/,
                                                   D3DADAPTER_IDENTIFIER9* pIdentifier) override
    {
        if (uiAdapter >= c_uiAdapters || !pIdentifier)
        {
            return D3DERR_INVALIDCALL;
        }
        *pIdentifier = {};
        std::snprintf(pIdentifier->Driver, sizeof(pIdentifier->Driver), "platform_d3d9");
        std::snprintf(pIdentifier->Description, sizeof(pIdentifier->Description), "Surfaces in memory");
        std::snprintf(pIdentifier->DeviceName, sizeof(pIdentifier->DeviceName), "memory");
        return D3D_OK;
    }

    HRESULT STDMETHODCALLTYPE CreateDevice(UINT uiAdapter, D3DDEVTYPE eType, HWND hFocusWindow, DWORD dwBehaviorFlags,
                                           D3DPRESENT_PARAMETERS* pParameters, IDirect3DDevice9** ppDevice) override
    {
        if (!ppDevice)
        {
            return D3DERR_INVALIDCALL;
        }
        *ppDevice = nullptr;
        const HRESULT hrScripted = ScriptedResult(D3D9Call::CreateDevice);
        if (FAILED(hrScripted))
        {
            return hrScripted;
        }
        if (uiAdapter >= c_uiAdapters || eType < D3DDEVTYPE_HAL || eType > D3DDEVTYPE_NULLREF ||
            !AreBehaviorFlags(dwBehaviorFlags) || !pParameters || !ArePresentParameters(*pParameters))
        {
            return D3DERR_INVALIDCALL;
        }
        if (eType != D3DDEVTYPE_HAL || !IsBackBufferFormat(pParameters->BackBufferFormat))
        {
            return D3DERR_NOTAVAILABLE;
        }
        if (pParameters->BackBufferCount == 0)
        {
            pParameters->BackBufferCount = 1;
        }
        *ppDevice = new (std::nothrow) Device(this, {uiAdapter, eType, hFocusWindow, dwBehaviorFlags});
        return *ppDevice ? D3D_OK : E_OUTOFMEMORY;
    }
};

}  // namespace
}  // namespace d3d9

using namespace d3d9;

HRESULT WINAPI Direct3DCreate9Ex(UINT uiSdkVersion, IDirect3D9Ex** ppD3D)
{
    if (!ppD3D)
    {
        return D3DERR_INVALIDCALL;
    }
    *ppD3D = nullptr;
    const HRESULT hrScripted = ScriptedResult(D3D9Call::Create9Ex);
    if (FAILED(hrScripted))
    {
        return hrScripted;
    }
    if (uiSdkVersion != D3D_SDK_VERSION)
    {
        return D3DERR_NOTAVAILABLE;
    }
    *ppD3D = new (std::nothrow) Direct3D;
    return *ppD3D ? D3D_OK : E_OUTOFMEMORY;
}
