#include "platform/d3d9/surface.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "platform/d3d9/script.h"

namespace d3d9
{
namespace
{

// Rows start at places that suit wide vector code. With this alignment most widths have bytes between the rows, as on
// real devices, so that code that takes the width for the pitch fails.
constexpr std::size_t c_uiPitchAlignment = 256;

// 0 for a format that no surface has.
std::size_t BytesPerPixel(D3DFORMAT eFormat)
{
    return eFormat == D3DFMT_A8R8G8B8 ? 4 : eFormat == c_eFormatNv12 ? 1 : 0;
}

std::size_t PitchOf(D3DFORMAT eFormat, UINT uiWidth)
{
    const std::size_t uiUnaligned = uiWidth * BytesPerPixel(eFormat) + (eFormat == c_eFormatNv12 ? uiWidth % 2 : 0);
    return (uiUnaligned + c_uiPitchAlignment - 1) / c_uiPitchAlignment * c_uiPitchAlignment;
}

std::size_t RowsOf(D3DFORMAT eFormat, UINT uiHeight)
{
    return eFormat == c_eFormatNv12 ? std::size_t{uiHeight} + (uiHeight + 1) / 2 : uiHeight;
}

bool IsPool(D3DPOOL ePool)
{
    return ePool == D3DPOOL_DEFAULT || ePool == D3DPOOL_SYSTEMMEM || ePool == D3DPOOL_SCRATCH;
}

}  // namespace

void Surface::FreeBytes::operator()(std::uint8_t* pBytes) const
{
    std::free(pBytes);
}

HRESULT Surface::Create(IDirect3DDevice9* pDevice, UINT uiWidth, UINT uiHeight, D3DFORMAT eFormat, D3DPOOL ePool,
                        IDirect3DSurface9** ppSurface)
{
    *ppSurface = nullptr;
    if (uiWidth == 0 || uiHeight == 0 || uiWidth > c_uiMaxExtent || uiHeight > c_uiMaxExtent ||
        BytesPerPixel(eFormat) == 0 || !IsPool(ePool))
    {
        return D3DERR_INVALIDCALL;
    }
    const std::size_t uiPitch = PitchOf(eFormat, uiWidth);
    const std::size_t uiSize = uiPitch * RowsOf(eFormat, uiHeight);
    Bytes pBytes(static_cast<std::uint8_t*>(std::aligned_alloc(c_uiPitchAlignment, uiSize)));
    if (!pBytes)
    {
        return D3DERR_OUTOFVIDEOMEMORY;
    }
    std::memset(pBytes.get(), 0, uiSize);

    D3DSURFACE_DESC desc{};
    desc.Format = eFormat;
    desc.Type = D3DRTYPE_SURFACE;
    desc.Pool = ePool;
    desc.Width = uiWidth;
    desc.Height = uiHeight;
    *ppSurface = new (std::nothrow) Surface(pDevice, desc, uiPitch, std::move(pBytes));
    return *ppSurface ? D3D_OK : E_OUTOFMEMORY;
}

Surface::Surface(IDirect3DDevice9* pDevice, const D3DSURFACE_DESC& desc, std::size_t uiPitch, Bytes pBytes)
    : m_pDevice(pDevice), m_desc(desc), m_uiPitch(uiPitch), m_pBytes(std::move(pBytes))
{}

bool Surface::Holds(const RECT& rect) const
{
    const RECT whole = Whole();
    return rect.left >= 0 && rect.top >= 0 && rect.left < rect.right && rect.top < rect.bottom &&
           rect.right <= whole.right && rect.bottom <= whole.bottom;
}

HRESULT Surface::GetDevice(IDirect3DDevice9** ppDevice)
{
    return ppDevice ? m_pDevice.CopyTo(ppDevice) : D3DERR_INVALIDCALL;
}

HRESULT Surface::GetContainer(REFIID riid, void** ppContainer)
{
    // A surface that is part of no texture and no swap chain is contained in the device.
    return ppContainer ? m_pDevice->QueryInterface(riid, ppContainer) : D3DERR_INVALIDCALL;
}

HRESULT Surface::GetDesc(D3DSURFACE_DESC* pDesc)
{
    if (!pDesc)
    {
        return D3DERR_INVALIDCALL;
    }
    *pDesc = m_desc;
    return D3D_OK;
}

HRESULT Surface::LockRect(D3DLOCKED_RECT* pLocked, const RECT* pRect, DWORD /*dwFlags*/)
{
    const HRESULT hrScripted = ScriptedResult(D3D9Call::LockRect);
    if (FAILED(hrScripted))
    {
        return hrScripted;
    }
    if (!pLocked || m_bLocked || (pRect && !Holds(*pRect)))
    {
        return D3DERR_INVALIDCALL;
    }
    const std::size_t uiOffset = pRect ? static_cast<std::size_t>(pRect->top) * m_uiPitch +
                                             static_cast<std::size_t>(pRect->left) * BytesPerPixel(m_desc.Format)
                                       : 0;
    pLocked->Pitch = static_cast<INT>(m_uiPitch);
    pLocked->pBits = m_pBytes.get() + uiOffset;
    m_bLocked = true;
    return D3D_OK;
}

HRESULT Surface::UnlockRect()
{
    if (!m_bLocked)
    {
        return D3DERR_INVALIDCALL;
    }
    m_bLocked = false;
    return D3D_OK;
}

HRESULT Surface::Fill(const RECT* pRect, D3DCOLOR color)
{
    if (m_bLocked || m_desc.Pool != D3DPOOL_DEFAULT || (pRect && !Holds(*pRect)))
    {
        return D3DERR_INVALIDCALL;
    }
    const RECT rect = pRect ? *pRect : Whole();
    if (m_desc.Format == c_eFormatNv12)
    {
        FillNv12(rect, color);
    }
    else
    {
        FillArgb(rect, color);
    }
    return D3D_OK;
}

void Surface::FillArgb(const RECT& rect, D3DCOLOR color)
{
    // The bytes of a pixel are those of its colour, lowest first.
    const std::uint8_t aPixel[] = {LOBYTE(color), LOBYTE(color >> 8), LOBYTE(color >> 16), LOBYTE(color >> 24)};
    for (LONG y = rect.top; y < rect.bottom; ++y)
    {
        std::uint8_t* const pRow = m_pBytes.get() + static_cast<std::size_t>(y) * m_uiPitch;
        for (LONG x = rect.left; x < rect.right; ++x)
        {
            std::memcpy(pRow + static_cast<std::size_t>(x) * sizeof(aPixel), aPixel, sizeof(aPixel));
        }
    }
}

void Surface::FillNv12(const RECT& rect, D3DCOLOR color)
{
    const std::uint8_t uiY = LOBYTE(color >> 16);
    const std::uint8_t uiU = LOBYTE(color >> 8);
    const std::uint8_t uiV = LOBYTE(color);
    for (LONG y = rect.top; y < rect.bottom; ++y)
    {
        std::memset(m_pBytes.get() + static_cast<std::size_t>(y) * m_uiPitch + rect.left, uiY,
                    static_cast<std::size_t>(rect.right - rect.left));
    }
    // Every pair of chroma values that a pixel of the rectangle has a share in.
    for (LONG y = rect.top / 2; y < (rect.bottom + 1) / 2; ++y)
    {
        std::uint8_t* const pRow =
            m_pBytes.get() + (std::size_t{m_desc.Height} + static_cast<std::size_t>(y)) * m_uiPitch;
        for (LONG x = rect.left / 2; x < (rect.right + 1) / 2; ++x)
        {
            pRow[2 * x] = uiU;
            pRow[2 * x + 1] = uiV;
        }
    }
}

}  // namespace d3d9
