// A Direct3D 9 surface of the caller's.
#pragma once

#include <memory>
#include <optional>

#include "abi/nvenc/nvEncodeAPI.h"
#include "runtimes/common/colour.h"

struct IDirect3DDevice9;
struct IDirect3DSurface9;

namespace nvencruntime
{

// Holds a reference on the surface. It is used on the calling thread only: a device is usually made for one thread.
class InputSurface
{
public:
    // Null if the surface isn't the device's, hasn't the format or is smaller than that many pixels.
    static std::shared_ptr<InputSurface> Open(const IDirect3DDevice9* pDevice, IDirect3DSurface9* pSurface,
                                              NV_ENC_BUFFER_FORMAT eFormat, std::uint32_t uiWidth,
                                              std::uint32_t uiHeight);
    ~InputSurface();
    InputSurface(const InputSurface&) = delete;
    InputSurface& operator=(const InputSurface&) = delete;

    const IDirect3DSurface9* Surface() const { return m_pSurface; }
    NV_ENC_BUFFER_FORMAT Format() const { return m_eFormat; }
    std::uint32_t Width() const { return m_uiWidth; }
    std::uint32_t Height() const { return m_uiHeight; }

    // Converts the upper left part of the surface, of even size and not larger than the surface. False if it can't be
    // locked.
    bool Read(std::uint32_t uiWidth, std::uint32_t uiHeight, const runtimes::Nv12View& target) const;

    // Of the registered part. Nothing if it can't be locked.
    std::optional<std::uint64_t> Checksum() const;

private:
    InputSurface(IDirect3DSurface9* pSurface, NV_ENC_BUFFER_FORMAT eFormat, std::uint32_t uiWidth,
                 std::uint32_t uiHeight, std::uint32_t uiSurfaceHeight);

    IDirect3DSurface9* const m_pSurface;
    const NV_ENC_BUFFER_FORMAT m_eFormat;
    const std::uint32_t m_uiWidth;  // as registered
    const std::uint32_t m_uiHeight;
    const std::uint32_t m_uiSurfaceHeight;
};

}  // namespace nvencruntime
