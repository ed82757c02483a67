#include "d3d9_testing.h"

using namespace d3d9_testing;

namespace
{

class D3D9Script : public WithDevice
{
protected:
    HRESULT CreateSurface()
    {
        ComPtr<IDirect3DSurface9> pSurface;
        const HRESULT hr =
            m_pDevice->CreateOffscreenPlainSurface(8, 8, D3DFMT_A8R8G8B8, D3DPOOL_DEFAULT, pSurface.Put(), nullptr);
        EXPECT_EQ(static_cast<bool>(pSurface), SUCCEEDED(hr));
        return hr;
    }
};

TEST_F(D3D9Script, TheNthCallFailsAndNoOther)
{
    D3D9Script_FailCall(D3D9Call::CreateOffscreenPlainSurface, 3, D3DERR_OUTOFVIDEOMEMORY);
    EXPECT_EQ(CreateSurface(), D3D_OK);
    EXPECT_EQ(CreateSurface(), D3D_OK);
    EXPECT_EQ(CreateSurface(), D3DERR_OUTOFVIDEOMEMORY);
    EXPECT_EQ(CreateSurface(), D3D_OK);
    EXPECT_EQ(D3D9Script_CallCount(D3D9Call::CreateOffscreenPlainSurface), 4U);
}

TEST_F(D3D9Script, DeviceAndEntryFailOnDemand)
{
    D3D9Script_FailCall(D3D9Call::Create9Ex, 1, D3DERR_NOTAVAILABLE);
    D3D9Script_FailCall(D3D9Call::CreateDevice, 1, D3DERR_DEVICELOST);
    ComPtr<IDirect3D9Ex> pDirect3D;
    EXPECT_EQ(Direct3DCreate9Ex(D3D_SDK_VERSION, pDirect3D.Put()), D3DERR_NOTAVAILABLE);
    EXPECT_FALSE(pDirect3D);
    ComPtr<IDirect3DDevice9> pDevice;
    D3DPRESENT_PARAMETERS parameters = PresentParameters();
    EXPECT_EQ(m_pDirect3D->CreateDevice(0, D3DDEVTYPE_HAL, nullptr, D3DCREATE_HARDWARE_VERTEXPROCESSING, &parameters,
                                        pDevice.Put()),
              D3DERR_DEVICELOST);
    EXPECT_FALSE(pDevice);
}

TEST_F(D3D9Script, LockFailsOnDemandAndLocksNothing)
{
    const auto pSurface = MakeSurface(8, 8);
    D3D9Script_FailCall(D3D9Call::LockRect, 1, D3DERR_DEVICELOST);
    D3DLOCKED_RECT rect{};
    EXPECT_EQ(pSurface->LockRect(&rect, nullptr, 0), D3DERR_DEVICELOST);
    EXPECT_EQ(pSurface->UnlockRect(), D3DERR_INVALIDCALL);
    EXPECT_EQ(pSurface->LockRect(&rect, nullptr, 0), D3D_OK);
    EXPECT_EQ(pSurface->UnlockRect(), D3D_OK);
}

TEST_F(D3D9Script, ResetForgetsFailuresAndCounts)
{
    D3D9Script_FailCall(D3D9Call::CreateOffscreenPlainSurface, 1, E_FAIL);
    D3D9Script_Reset();
    EXPECT_EQ(CreateSurface(), D3D_OK);
    EXPECT_EQ(D3D9Script_CallCount(D3D9Call::CreateOffscreenPlainSurface), 1U);
    EXPECT_EQ(D3D9Script_CallCount(D3D9Call::CreateDevice), 0U);
}

}  // namespace
