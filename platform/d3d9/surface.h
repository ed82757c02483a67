// A surface in memory.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/com/com_ptr.h"
#include "platform/d3d9/unused_operations.h"

namespace d3d9
{

// "NV12" read as four bytes. One plane of 8-bit luma, then one of interleaved U and V at half size both ways.
inline constexpr auto c_eFormatNv12 = static_cast<D3DFORMAT>(MAKEFOURCC('N', 'V', '1', '2'));

// The most that a surface or a back buffer measures in either direction.
inline constexpr UINT c_uiMaxExtent = 16384;

class Surface : public UnusedSurface
{
public:
    // A surface of that device, all bytes zero. D3DERR_INVALIDCALL for a size, format or pool that can't be,
    // D3DERR_OUTOFVIDEOMEMORY without memory. *ppSurface is null on failure.
    static HRESULT Create(IDirect3DDevice9* pDevice, UINT uiWidth, UINT uiHeight, D3DFORMAT eFormat, D3DPOOL ePool,
                          IDirect3DSurface9** ppSurface);

    // What IDirect3DDevice9::ColorFill does.
    HRESULT Fill(const RECT* pRect, D3DCOLOR color);
    bool BelongsTo(const IDirect3DDevice9* pDevice) const { return m_pDevice.Get() == pDevice; }

    HRESULT STDMETHODCALLTYPE GetDevice(IDirect3DDevice9** ppDevice) override;
    D3DRESOURCETYPE STDMETHODCALLTYPE GetType() override { return D3DRTYPE_SURFACE; }
    HRESULT STDMETHODCALLTYPE GetContainer(REFIID riid, void** ppContainer) override;
    HRESULT STDMETHODCALLTYPE GetDesc(D3DSURFACE_DESC* pDesc) override;
    HRESULT STDMETHODCALLTYPE LockRect(D3DLOCKED_RECT* pLocked, const RECT* pRect, DWORD dwFlags) override;
    HRESULT STDMETHODCALLTYPE UnlockRect() override;

private:
    struct FreeBytes
    {
        void operator()(std::uint8_t* pBytes) const;
    };
    using Bytes = std::unique_ptr<std::uint8_t[], FreeBytes>;

    Surface(IDirect3DDevice9* pDevice, const D3DSURFACE_DESC& desc, std::size_t uiPitch, Bytes pBytes);

    // Whether the rectangle has an area that lies within the surface.
    bool Holds(const RECT& rect) const;
    RECT Whole() const { return {0, 0, static_cast<LONG>(m_desc.Width), static_cast<LONG>(m_desc.Height)}; }
    void FillArgb(const RECT& rect, D3DCOLOR color);
    void FillNv12(const RECT& rect, D3DCOLOR color);

    const platform::ComPtr<IDirect3DDevice9> m_pDevice;
    const D3DSURFACE_DESC m_desc;
    const std::size_t m_uiPitch;
    const Bytes m_pBytes;
    bool m_bLocked = false;
};

}  // namespace d3d9
