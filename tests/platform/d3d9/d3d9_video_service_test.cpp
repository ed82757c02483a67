#include <dxva2api.h>

#include "d3d9_testing.h"

using namespace d3d9_testing;

namespace
{

class D3D9VideoService : public WithDevice
{
protected:
    void SetUp() override
    {
        WithDevice::SetUp();
        ASSERT_EQ(DXVA2CreateVideoService(m_pDevice.Get(), IID_IDirectXVideoProcessorService, m_pService.PutVoid()),
                  S_OK);
    }

    HRESULT Create(UINT uiWidth, UINT uiBackBuffers, IDirect3DSurface9** ppSurface, DWORD dwUsage = 0)
    {
        return m_pService->CreateSurface(uiWidth, 16, uiBackBuffers, c_eNv12, D3DPOOL_DEFAULT, dwUsage,
                                         DXVA2_VideoProcessorRenderTarget, ppSurface, nullptr);
    }

    ComPtr<IDirectXVideoProcessorService> m_pService;
};

TEST_F(D3D9VideoService, MakesASurfaceOfItsDevice)
{
    ComPtr<IDirect3DSurface9> pSurface;
    ASSERT_EQ(Create(32, 0, pSurface.Put()), D3D_OK);
    D3DSURFACE_DESC desc{};
    pSurface->GetDesc(&desc);
    EXPECT_EQ(desc.Format, c_eNv12);
    EXPECT_EQ(desc.Width, 32U);
    EXPECT_EQ(desc.Height, 16U);
    ComPtr<IDirect3DDevice9> pDevice;
    pSurface->GetDevice(pDevice.Put());
    EXPECT_EQ(pDevice.Get(), m_pDevice.Get());
}

TEST_F(D3D9VideoService, BackBuffersAreSurfacesBesides)
{
    IDirect3DSurface9* apSurfaces[3] = {};
    ASSERT_EQ(Create(32, 2, apSurfaces), D3D_OK);
    for (IDirect3DSurface9* pSurface : apSurfaces)
    {
        ASSERT_TRUE(pSurface);
        EXPECT_EQ(pSurface->Release(), 0U);
    }
}

TEST_F(D3D9VideoService, FailureLeavesNoSurface)
{
    auto* const pUntouched = reinterpret_cast<IDirect3DSurface9*>(this);
    IDirect3DSurface9* apSurfaces[2] = {pUntouched, pUntouched};
    EXPECT_EQ(Create(0, 1, apSurfaces), D3DERR_INVALIDCALL);
    EXPECT_EQ(apSurfaces[0], nullptr);
    EXPECT_EQ(apSurfaces[1], nullptr);
    EXPECT_EQ(Create(32, 0, apSurfaces, D3DUSAGE_RENDERTARGET), D3DERR_INVALIDCALL);
    EXPECT_EQ(Create(32, 0, nullptr), D3DERR_INVALIDCALL);
    EXPECT_EQ(Create(32, 0xFFFFFFFF, apSurfaces), D3DERR_INVALIDCALL);
    D3D9Script_FailCall(D3D9Call::CreateSurface, 1, D3DERR_OUTOFVIDEOMEMORY);
    EXPECT_EQ(Create(32, 1, apSurfaces), D3DERR_OUTOFVIDEOMEMORY);
    EXPECT_EQ(apSurfaces[0], nullptr);
}

TEST_F(D3D9VideoService, HoldsTheDevice)
{
    EXPECT_EQ(References(m_pDevice.Get()), 2U);
    m_pService = nullptr;
    EXPECT_EQ(References(m_pDevice.Get()), 1U);
}

TEST_F(D3D9VideoService, AnswersForItsInterfacesOnly)
{
    EXPECT_TRUE(m_pService.As<IDirectXVideoAccelerationService>());
    EXPECT_FALSE(m_pService.As<IDirect3DDevice9>());
    void* p = this;
    EXPECT_EQ(DXVA2CreateVideoService(m_pDevice.Get(), IID_IDirect3DDevice9, &p), E_NOINTERFACE);
    EXPECT_EQ(p, nullptr);
    EXPECT_EQ(DXVA2CreateVideoService(nullptr, IID_IDirectXVideoProcessorService, &p), E_INVALIDARG);
    EXPECT_EQ(DXVA2CreateVideoService(m_pDevice.Get(), IID_IDirectXVideoProcessorService, nullptr), E_POINTER);
}

TEST_F(D3D9VideoService, HasNoVideoProcessor)
{
    UINT uiCount = 0;
    GUID* pGuids = nullptr;
    EXPECT_EQ(m_pService->GetVideoProcessorDeviceGuids(nullptr, &uiCount, &pGuids), E_NOTIMPL);
}

}  // namespace
