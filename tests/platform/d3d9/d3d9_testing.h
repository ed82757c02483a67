// What the tests of Direct3D 9 share.
#pragma once

#include <windows.h>

#include <d3d9.h>

#include <gtest/gtest.h>

#include "platform/com/com_ptr.h"
#include "platform/d3d9/d3d9_script.h"

namespace d3d9_testing
{

using platform::ComPtr;

constexpr auto c_eNv12 = static_cast<D3DFORMAT>(0x3231564E);

// References on an object, as its Release returns them.
inline ULONG References(IUnknown* p)
{
    p->AddRef();
    return p->Release();
}

inline D3DPRESENT_PARAMETERS PresentParameters()
{
    D3DPRESENT_PARAMETERS parameters{};
    parameters.BackBufferWidth = 640;
    parameters.BackBufferHeight = 480;
    parameters.BackBufferFormat = D3DFMT_A8R8G8B8;
    parameters.SwapEffect = D3DSWAPEFFECT_DISCARD;
    parameters.Windowed = TRUE;
    parameters.PresentationInterval = D3DPRESENT_INTERVAL_IMMEDIATE;
    return parameters;
}

// Tests with a device; the script is empty before and after each.
class WithDevice : public testing::Test
{
protected:
    void SetUp() override
    {
        D3D9Script_Reset();
        ASSERT_EQ(Direct3DCreate9Ex(D3D_SDK_VERSION, m_pDirect3D.Put()), D3D_OK);
        D3DPRESENT_PARAMETERS parameters = PresentParameters();
        ASSERT_EQ(m_pDirect3D->CreateDevice(0, D3DDEVTYPE_HAL, nullptr, D3DCREATE_HARDWARE_VERTEXPROCESSING,
                                            &parameters, m_pDevice.Put()),
                  D3D_OK);
    }
    void TearDown() override { D3D9Script_Reset(); }

    ComPtr<IDirect3DSurface9> MakeSurface(UINT uiWidth, UINT uiHeight, D3DFORMAT eFormat = D3DFMT_A8R8G8B8,
                                          D3DPOOL ePool = D3DPOOL_DEFAULT)
    {
        ComPtr<IDirect3DSurface9> pSurface;
        EXPECT_EQ(m_pDevice->CreateOffscreenPlainSurface(uiWidth, uiHeight, eFormat, ePool, pSurface.Put(), nullptr),
                  D3D_OK);
        return pSurface;
    }

    ComPtr<IDirect3D9Ex> m_pDirect3D;
    ComPtr<IDirect3DDevice9> m_pDevice;
};

}  // namespace d3d9_testing
