// A Direct3D 9 surface's memory, as long as an object lives.
#pragma once

#include <cstddef>
#include <cstdint>

#include <windows.h>

#include <d3d9.h>

namespace runtimes
{

// "NV12" read as four bytes, as Direct3D names such formats.
inline constexpr auto c_eD3dFormatNv12 = static_cast<D3DFORMAT>(0x3231564E);

// The surface outlives the lock, which is used on one thread.
class SurfaceLock
{
public:
    // dwFlags: D3DLOCK_READONLY, or 0 to write.
    SurfaceLock(IDirect3DSurface9* pSurface, DWORD dwFlags)
        : m_pSurface(pSurface), m_bLocked(SUCCEEDED(pSurface->LockRect(&m_rect, nullptr, dwFlags)) && m_rect.pBits)
    {}
    ~SurfaceLock()
    {
        if (m_bLocked)
        {
            m_pSurface->UnlockRect();
        }
    }
    SurfaceLock(const SurfaceLock&) = delete;
    SurfaceLock& operator=(const SurfaceLock&) = delete;

    explicit operator bool() const { return m_bLocked; }
    std::uint8_t* Bits() const { return static_cast<std::uint8_t*>(m_rect.pBits); }
    std::ptrdiff_t Pitch() const { return m_rect.Pitch; }

    // The row of the surface, counted from its top. In NV12 the rows of chroma follow the last row of luma.
    std::uint8_t* Row(std::uint32_t uiRow) const { return Bits() + Pitch() * static_cast<std::ptrdiff_t>(uiRow); }

private:
    IDirect3DSurface9* const m_pSurface;
    D3DLOCKED_RECT m_rect{};
    const bool m_bLocked;
};

}  // namespace runtimes
