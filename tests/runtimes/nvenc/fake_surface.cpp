#include "fake_surface.h"

#include <gtest/gtest.h>

FakeDevice& FakeDevice::Get()
{
    static FakeDevice s_device;
    return s_device;
}

HRESULT FakeDevice::QueryInterface(REFIID riid, void** ppv)
{
    *ppv = nullptr;
    if (riid != IID_IDirect3DDevice9)
    {
        return E_NOINTERFACE;
    }
    AddRef();
    *ppv = static_cast<IDirect3DDevice9*>(this);
    return S_OK;
}

HRESULT FakeDevice::OnIdle()
{
    ADD_FAILURE() << "the runtime called an operation of the device that it has no use for";
    return IdleDevice::OnIdle();
}

FakeSurface::FakeSurface(std::uint32_t uiWidth, std::uint32_t uiHeight, D3DFORMAT eFormat, FakeDevice& device)
    : m_uiWidth(uiWidth),
      m_uiHeight(uiHeight),
      m_eFormat(eFormat),
      m_device(device),
      m_uiPitch((eFormat == D3DFMT_A8R8G8B8 ? 4 * uiWidth : uiWidth) + 48),
      m_bytes(std::size_t{m_uiPitch} * (eFormat == D3DFMT_A8R8G8B8 ? uiHeight : uiHeight + (uiHeight + 1) / 2), 0xA5)
{}

FakeSurface::~FakeSurface()
{
    EXPECT_EQ(m_uiReferences, 1u);
    EXPECT_FALSE(m_bLocked);
}

HRESULT FakeSurface::GetDevice(IDirect3DDevice9** ppDevice)
{
    m_device.AddRef();
    *ppDevice = &m_device;
    return D3D_OK;
}

HRESULT FakeSurface::GetDesc(D3DSURFACE_DESC* pDesc)
{
    *pDesc = {};
    pDesc->Format = m_eFormat;
    pDesc->Type = D3DRTYPE_SURFACE;
    pDesc->Width = m_uiWidth;
    pDesc->Height = m_uiHeight;
    return D3D_OK;
}

HRESULT FakeSurface::LockRect(D3DLOCKED_RECT* pLocked, const RECT* pRect, DWORD)
{
    EXPECT_EQ(pRect, nullptr);
    if (m_bFailLocks || m_bLocked)
    {
        return D3DERR_INVALIDCALL;
    }
    ++m_nLocks;
    m_bLocked = true;
    pLocked->Pitch = static_cast<INT>(m_uiPitch);
    pLocked->pBits = m_bytes.data();
    return D3D_OK;
}

HRESULT FakeSurface::UnlockRect()
{
    EXPECT_TRUE(m_bLocked);
    m_bLocked = false;
    return D3D_OK;
}

HRESULT FakeSurface::OnIdle()
{
    ADD_FAILURE() << "the runtime called an operation of the surface that it has no use for";
    return IdleSurface::OnIdle();
}

void Paint(FakeSurface& surface, const BgrPicture& picture)
{
    PaintRows(surface.Row(0), surface.Pitch(), picture);
}
