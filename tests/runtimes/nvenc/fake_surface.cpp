#include "fake_surface.h"

#include <gtest/gtest.h>

namespace
{

HRESULT Unexpected()
{
    ADD_FAILURE() << "the runtime called a function of the surface that isn't its business";
    return E_NOTIMPL;
}

}  // namespace

FakeSurface::FakeSurface(std::uint32_t uiWidth, std::uint32_t uiHeight, D3DFORMAT eFormat)
    : m_uiWidth(uiWidth),
      m_uiHeight(uiHeight),
      m_eFormat(eFormat),
      m_uiPitch((eFormat == D3DFMT_A8R8G8B8 ? 4 * uiWidth : uiWidth) + 48),
      m_bytes(std::size_t{m_uiPitch} * (eFormat == D3DFMT_A8R8G8B8 ? uiHeight : uiHeight + (uiHeight + 1) / 2), 0xA5)
{}

FakeSurface::~FakeSurface()
{
    EXPECT_EQ(m_nReferences, 1);
    EXPECT_FALSE(m_bLocked);
}

HRESULT FakeSurface::QueryInterface(REFIID, void** ppv)
{
    *ppv = nullptr;
    return Unexpected();
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

HRESULT FakeSurface::GetDevice(IDirect3DDevice9**)
{
    return Unexpected();
}

HRESULT FakeSurface::SetPrivateData(REFGUID, const void*, DWORD, DWORD)
{
    return Unexpected();
}

HRESULT FakeSurface::GetPrivateData(REFGUID, void*, DWORD*)
{
    return Unexpected();
}

HRESULT FakeSurface::FreePrivateData(REFGUID)
{
    return Unexpected();
}

DWORD FakeSurface::SetPriority(DWORD)
{
    Unexpected();
    return 0;
}

DWORD FakeSurface::GetPriority()
{
    Unexpected();
    return 0;
}

void FakeSurface::PreLoad()
{
    Unexpected();
}

D3DRESOURCETYPE FakeSurface::GetType()
{
    Unexpected();
    return D3DRTYPE_SURFACE;
}

HRESULT FakeSurface::GetContainer(REFIID, void**)
{
    return Unexpected();
}

HRESULT FakeSurface::GetDC(HDC*)
{
    return Unexpected();
}

HRESULT FakeSurface::ReleaseDC(HDC)
{
    return Unexpected();
}
