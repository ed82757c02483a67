#include "platform/d3d9/device.h"

#include "platform/d3d9/script.h"
#include "platform/d3d9/surface.h"

namespace d3d9
{

Device::Device(IDirect3D9* pDirect3D, const D3DDEVICE_CREATION_PARAMETERS& parameters)
    : m_pDirect3D(pDirect3D), m_parameters(parameters)
{}

HRESULT Device::GetDirect3D(IDirect3D9** ppD3D9)
{
    return ppD3D9 ? m_pDirect3D.CopyTo(ppD3D9) : D3DERR_INVALIDCALL;
}

HRESULT Device::GetCreationParameters(D3DDEVICE_CREATION_PARAMETERS* pParameters)
{
    if (!pParameters)
    {
        return D3DERR_INVALIDCALL;
    }
    *pParameters = m_parameters;
    return D3D_OK;
}

HRESULT Device::ColorFill(IDirect3DSurface9* pSurface, const RECT* pRect, D3DCOLOR color)
{
    // Every surface of this platform is a Surface.
    auto* const pOwn = static_cast<Surface*>(pSurface);
    if (!pOwn || !pOwn->BelongsTo(this))
    {
        return D3DERR_INVALIDCALL;
    }
    return pOwn->Fill(pRect, color);
}

HRESULT Device::CreateOffscreenPlainSurface(UINT uiWidth, UINT uiHeight, D3DFORMAT eFormat, D3DPOOL ePool,
                                            IDirect3DSurface9** ppSurface, HANDLE* phShared)
{
    if (!ppSurface)
    {
        return D3DERR_INVALIDCALL;
    }
    *ppSurface = nullptr;
    const HRESULT hrScripted = ScriptedResult(D3D9Call::CreateOffscreenPlainSurface);
    if (FAILED(hrScripted))
    {
        return hrScripted;
    }
    if (phShared)
    {
        return D3DERR_INVALIDCALL;
    }
    return Surface::Create(this, uiWidth, uiHeight, eFormat, ePool, ppSurface);
}

}  // namespace d3d9
