#include <cstring>
#include <functional>
#include <string>

#include "d3d9_testing.h"

using namespace d3d9_testing;

namespace
{

class D3D9Device : public WithDevice
{
protected:
    // The result of CreateDevice with one thing changed.
    HRESULT CreateWith(const std::function<void(D3DPRESENT_PARAMETERS&)>& change)
    {
        D3DPRESENT_PARAMETERS parameters = PresentParameters();
        change(parameters);
        return Create(0, D3DDEVTYPE_HAL, D3DCREATE_HARDWARE_VERTEXPROCESSING, &parameters);
    }
    HRESULT CreateWithFlags(DWORD dwFlags)
    {
        D3DPRESENT_PARAMETERS parameters = PresentParameters();
        return Create(0, D3DDEVTYPE_HAL, dwFlags, &parameters);
    }
    HRESULT Create(UINT uiAdapter, D3DDEVTYPE eType, DWORD dwFlags, D3DPRESENT_PARAMETERS* pParameters)
    {
        auto* const pUntouched = reinterpret_cast<IDirect3DDevice9*>(this);
        IDirect3DDevice9* pDevice = pUntouched;
        const HRESULT hr = m_pDirect3D->CreateDevice(uiAdapter, eType, nullptr, dwFlags, pParameters, &pDevice);
        EXPECT_NE(pDevice, pUntouched);
        EXPECT_EQ(pDevice != nullptr, SUCCEEDED(hr));
        if (pDevice)
        {
            pDevice->Release();
        }
        return hr;
    }
};

TEST_F(D3D9Device, OtherSdkVersionsAreNotAvailable)
{
    auto* pDirect3D = reinterpret_cast<IDirect3D9Ex*>(this);
    EXPECT_EQ(Direct3DCreate9Ex(31, &pDirect3D), D3DERR_NOTAVAILABLE);
    EXPECT_EQ(pDirect3D, nullptr);
    EXPECT_EQ(Direct3DCreate9Ex(D3D_SDK_VERSION, nullptr), D3DERR_INVALIDCALL);
}

TEST_F(D3D9Device, ThereIsOneAdapterAndItHasAName)
{
    EXPECT_EQ(m_pDirect3D->GetAdapterCount(), 1U);
    D3DADAPTER_IDENTIFIER9 identifier;
    std::memset(&identifier, 0xAA, sizeof(identifier));
    EXPECT_EQ(m_pDirect3D->GetAdapterIdentifier(0, 0, &identifier), D3D_OK);
    EXPECT_FALSE(std::string(identifier.Description).empty());
    EXPECT_EQ(m_pDirect3D->GetAdapterIdentifier(1, 0, &identifier), D3DERR_INVALIDCALL);
    EXPECT_EQ(m_pDirect3D->GetAdapterIdentifier(0, 0, nullptr), D3DERR_INVALIDCALL);
}

TEST_F(D3D9Device, SizeOfTheBackBufferMustBePossible)
{
    EXPECT_EQ(CreateWith([](auto& p) { p.BackBufferWidth = 0; }), D3DERR_INVALIDCALL);
    EXPECT_EQ(CreateWith([](auto& p) { p.BackBufferHeight = 0; }), D3DERR_INVALIDCALL);
    EXPECT_EQ(CreateWith([](auto& p) { p.BackBufferWidth = 16385; }), D3DERR_INVALIDCALL);
    EXPECT_EQ(CreateWith([](auto& p) { p.BackBufferHeight = 0xFFFFFFFF; }), D3DERR_INVALIDCALL);
    EXPECT_EQ(CreateWith([](auto& p) { p.BackBufferWidth = p.BackBufferHeight = 1; }), D3D_OK);
    EXPECT_EQ(CreateWith([](auto& p) { p.BackBufferWidth = p.BackBufferHeight = 16384; }), D3D_OK);
}

TEST_F(D3D9Device, PresentParametersMustBePossible)
{
    EXPECT_EQ(CreateWith([](auto&) {}), D3D_OK);
    EXPECT_EQ(CreateWith([](auto& p) { p.SwapEffect = static_cast<D3DSWAPEFFECT>(0); }), D3DERR_INVALIDCALL);
    EXPECT_EQ(CreateWith([](auto& p) { p.SwapEffect = static_cast<D3DSWAPEFFECT>(6); }), D3DERR_INVALIDCALL);
    EXPECT_EQ(CreateWith([](auto& p) { p.Windowed = FALSE; }), D3DERR_INVALIDCALL);
    EXPECT_EQ(CreateWith([](auto& p) { p.PresentationInterval = 3; }), D3DERR_INVALIDCALL);
    EXPECT_EQ(CreateWith([](auto& p) { p.PresentationInterval = D3DPRESENT_INTERVAL_TWO; }), D3DERR_INVALIDCALL);
    EXPECT_EQ(CreateWith([](auto& p) { p.FullScreen_RefreshRateInHz = 60; }), D3DERR_INVALIDCALL);
    EXPECT_EQ(CreateWith([](auto& p) { p.BackBufferCount = 31; }), D3DERR_INVALIDCALL);
    EXPECT_EQ(CreateWith([](auto& p) { p.BackBufferFormat = D3DFMT_YUY2; }), D3DERR_NOTAVAILABLE);
    EXPECT_EQ(CreateWith([](auto& p) { p.BackBufferFormat = D3DFMT_UNKNOWN; }), D3D_OK);
    EXPECT_EQ(CreateWith([](auto& p) { p.BackBufferFormat = D3DFMT_X8R8G8B8; }), D3D_OK);
}

TEST_F(D3D9Device, NoBackBufferMeansOne)
{
    D3DPRESENT_PARAMETERS parameters = PresentParameters();
    EXPECT_EQ(Create(0, D3DDEVTYPE_HAL, D3DCREATE_HARDWARE_VERTEXPROCESSING, &parameters), D3D_OK);
    EXPECT_EQ(parameters.BackBufferCount, 1U);
}

TEST_F(D3D9Device, AdapterAndTypeMustExist)
{
    D3DPRESENT_PARAMETERS parameters = PresentParameters();
    const DWORD dwFlags = D3DCREATE_HARDWARE_VERTEXPROCESSING;
    EXPECT_EQ(Create(1, D3DDEVTYPE_HAL, dwFlags, &parameters), D3DERR_INVALIDCALL);
    EXPECT_EQ(Create(0, static_cast<D3DDEVTYPE>(0), dwFlags, &parameters), D3DERR_INVALIDCALL);
    EXPECT_EQ(Create(0, static_cast<D3DDEVTYPE>(5), dwFlags, &parameters), D3DERR_INVALIDCALL);
    EXPECT_EQ(Create(0, D3DDEVTYPE_REF, dwFlags, &parameters), D3DERR_NOTAVAILABLE);
    EXPECT_EQ(Create(0, D3DDEVTYPE_HAL, dwFlags, nullptr), D3DERR_INVALIDCALL);
    EXPECT_EQ(m_pDirect3D->CreateDevice(0, D3DDEVTYPE_HAL, nullptr, dwFlags, &parameters, nullptr), D3DERR_INVALIDCALL);
}

TEST_F(D3D9Device, VerticesAreProcessedInExactlyOnePlace)
{
    EXPECT_EQ(CreateWithFlags(0), D3DERR_INVALIDCALL);
    EXPECT_EQ(CreateWithFlags(D3DCREATE_MULTITHREADED), D3DERR_INVALIDCALL);
    EXPECT_EQ(CreateWithFlags(D3DCREATE_SOFTWARE_VERTEXPROCESSING), D3D_OK);
    EXPECT_EQ(CreateWithFlags(D3DCREATE_HARDWARE_VERTEXPROCESSING | D3DCREATE_MULTITHREADED), D3D_OK);
    EXPECT_EQ(CreateWithFlags(D3DCREATE_HARDWARE_VERTEXPROCESSING | D3DCREATE_SOFTWARE_VERTEXPROCESSING),
              D3DERR_INVALIDCALL);
    EXPECT_EQ(CreateWithFlags(D3DCREATE_HARDWARE_VERTEXPROCESSING | D3DCREATE_PUREDEVICE), D3D_OK);
    EXPECT_EQ(CreateWithFlags(D3DCREATE_SOFTWARE_VERTEXPROCESSING | D3DCREATE_PUREDEVICE), D3DERR_INVALIDCALL);
}

TEST_F(D3D9Device, ReportsHowItWasMade)
{
    D3DDEVICE_CREATION_PARAMETERS parameters{};
    EXPECT_EQ(m_pDevice->GetCreationParameters(&parameters), D3D_OK);
    EXPECT_EQ(parameters.AdapterOrdinal, 0U);
    EXPECT_EQ(parameters.DeviceType, D3DDEVTYPE_HAL);
    EXPECT_EQ(parameters.BehaviorFlags, static_cast<DWORD>(D3DCREATE_HARDWARE_VERTEXPROCESSING));
    EXPECT_EQ(m_pDevice->GetCreationParameters(nullptr), D3DERR_INVALIDCALL);
    EXPECT_EQ(m_pDevice->TestCooperativeLevel(), D3D_OK);
}

TEST_F(D3D9Device, HoldsTheObjectThatMadeIt)
{
    EXPECT_EQ(References(m_pDirect3D.Get()), 2U);
    ComPtr<IDirect3D9> pDirect3D;
    EXPECT_EQ(m_pDevice->GetDirect3D(pDirect3D.Put()), D3D_OK);
    EXPECT_EQ(pDirect3D.Get(), m_pDirect3D.Get());
    EXPECT_EQ(References(m_pDirect3D.Get()), 3U);
    pDirect3D = nullptr;
    m_pDevice = nullptr;
    EXPECT_EQ(References(m_pDirect3D.Get()), 1U);
}

TEST_F(D3D9Device, AnswersForItsInterfaces)
{
    EXPECT_TRUE(m_pDirect3D.As<IDirect3D9>());
    EXPECT_TRUE(m_pDirect3D.As<IUnknown>());
    EXPECT_EQ(m_pDirect3D.As<IUnknown>().Get(), m_pDirect3D.As<IDirect3D9>().As<IUnknown>().Get());
    EXPECT_TRUE(m_pDevice.As<IDirect3DDevice9>());
    EXPECT_FALSE(m_pDevice.As<IDirect3D9>());
    EXPECT_FALSE(m_pDevice.As<IDirect3DSurface9>());
}

TEST_F(D3D9Device, WhatItDoesNotDoIsAnInvalidCall)
{
    EXPECT_EQ(m_pDevice->BeginScene(), D3DERR_INVALIDCALL);
    EXPECT_EQ(m_pDevice->Present(nullptr, nullptr, nullptr, nullptr), D3DERR_INVALIDCALL);
    EXPECT_EQ(m_pDevice->GetAvailableTextureMem(), 0U);
    EXPECT_EQ(m_pDirect3D->GetAdapterModeCount(0, D3DFMT_X8R8G8B8), 0U);
    EXPECT_EQ(m_pDirect3D->GetAdapterMonitor(0), nullptr);
}

}  // namespace
