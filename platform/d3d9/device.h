// A device that makes surfaces in memory and draws nothing.
#pragma once

#include "platform/com/com_ptr.h"
#include "platform/d3d9/unused_device.h"

namespace d3d9
{

class Device : public UnusedDevice
{
public:
    // Holds pDirect3D.
    Device(IDirect3D9* pDirect3D, const D3DDEVICE_CREATION_PARAMETERS& parameters);

    HRESULT STDMETHODCALLTYPE TestCooperativeLevel() override { return D3D_OK; }
    HRESULT STDMETHODCALLTYPE GetDirect3D(IDirect3D9** ppD3D9) override;
    HRESULT STDMETHODCALLTYPE GetCreationParameters(D3DDEVICE_CREATION_PARAMETERS* pParameters) override;
    HRESULT STDMETHODCALLTYPE ColorFill(IDirect3DSurface9* pSurface, const RECT* pRect, D3DCOLOR color) override;
    HRESULT STDMETHODCALLTYPE CreateOffscreenPlainSurface(UINT uiWidth, UINT uiHeight, D3DFORMAT eFormat, D3DPOOL ePool,
                                                          IDirect3DSurface9** ppSurface, HANDLE* phShared) override;

private:
    const platform::ComPtr<IDirect3D9> m_pDirect3D;
    const D3DDEVICE_CREATION_PARAMETERS m_parameters;
};

}  // namespace d3d9
