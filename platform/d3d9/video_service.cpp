#include <new>

#include "dxva2api.h"
#include "platform/com/com_ptr.h"
#include "platform/d3d9/script.h"
#include "platform/d3d9/surface.h"

namespace d3d9
{
namespace
{

using namespace platform;

// More surfaces at once than any video has need of.
constexpr UINT c_uiMaxBackBuffers = 255;

class VideoService
    : public ComObject<Implements<IDirectXVideoProcessorService>, Answers<IDirectXVideoAccelerationService>>
{
public:
    explicit VideoService(IDirect3DDevice9* pDevice) : m_pDevice(pDevice) {}

    HRESULT STDMETHODCALLTYPE CreateSurface(UINT uiWidth, UINT uiHeight, UINT uiBackBuffers, D3DFORMAT eFormat,
                                            D3DPOOL ePool, DWORD dwUsage, DWORD dwDxvaType,
                                            IDirect3DSurface9** ppSurface, HANDLE* phShared) override
    {
        if (!ppSurface || uiBackBuffers > c_uiMaxBackBuffers)
        {
            return D3DERR_INVALIDCALL;
        }
        HRESULT hr = ScriptedResult(D3D9Call::CreateSurface);
        if (SUCCEEDED(hr) && (dwUsage != 0 || phShared || dwDxvaType > DXVA2_VideoSoftwareRenderTarget))
        {
            hr = D3DERR_INVALIDCALL;
        }
        for (UINT i = 0; i <= uiBackBuffers; ++i)
        {
            ppSurface[i] = nullptr;
            if (SUCCEEDED(hr))
            {
                hr = Surface::Create(m_pDevice.Get(), uiWidth, uiHeight, eFormat, ePool, &ppSurface[i]);
            }
        }
        for (UINT i = 0; i <= uiBackBuffers && FAILED(hr); ++i)
        {
            if (ppSurface[i])
            {
                ppSurface[i]->Release();
                ppSurface[i] = nullptr;
            }
        }
        return hr;
    }

    HRESULT STDMETHODCALLTYPE RegisterVideoProcessorSoftwareDevice(void*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetVideoProcessorDeviceGuids(const DXVA2_VideoDesc*, UINT*, GUID**) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetVideoProcessorRenderTargets(REFGUID, const DXVA2_VideoDesc*, UINT*,
                                                             D3DFORMAT**) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetVideoProcessorSubStreamFormats(REFGUID, const DXVA2_VideoDesc*, D3DFORMAT, UINT*,
                                                                D3DFORMAT**) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetVideoProcessorCaps(REFGUID, const DXVA2_VideoDesc*, D3DFORMAT,
                                                    DXVA2_VideoProcessorCaps*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetProcAmpRange(REFGUID, const DXVA2_VideoDesc*, D3DFORMAT, UINT,
                                              DXVA2_ValueRange*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetFilterPropertyRange(REFGUID, const DXVA2_VideoDesc*, D3DFORMAT, UINT,
                                                     DXVA2_ValueRange*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE CreateVideoProcessor(REFGUID, const DXVA2_VideoDesc*, D3DFORMAT, UINT,
                                                   IDirectXVideoProcessor**) override
    {
        return E_NOTIMPL;
    }

private:
    const ComPtr<IDirect3DDevice9> m_pDevice;
};

}  // namespace
}  // namespace d3d9

HRESULT WINAPI DXVA2CreateVideoService(IDirect3DDevice9* pDevice, REFIID riid, void** ppService)
{
    if (!ppService)
    {
        return E_POINTER;
    }
    *ppService = nullptr;
    if (!pDevice)
    {
        return E_INVALIDARG;
    }
    const auto pService =
        platform::ComPtr<IDirectXVideoProcessorService>::Attach(new (std::nothrow) d3d9::VideoService(pDevice));
    return pService ? pService->QueryInterface(riid, ppService) : E_OUTOFMEMORY;
}
