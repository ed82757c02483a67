#include "runtimes/nvenc/input_surface.h"

#include "platform/com/com_ptr.h"
#include "runtimes/common/surface_lock.h"

namespace nvencruntime
{
namespace
{

bool HoldsFormat(D3DFORMAT eSurface, NV_ENC_BUFFER_FORMAT eFormat)
{
    switch (eFormat)
    {
    case NV_ENC_BUFFER_FORMAT_ARGB:
        return eSurface == D3DFMT_A8R8G8B8 || eSurface == D3DFMT_X8R8G8B8;
    case NV_ENC_BUFFER_FORMAT_NV12:
        return eSurface == runtimes::c_eD3dFormatNv12;
    default:
        return false;
    }
}

}  // namespace

std::shared_ptr<InputSurface> InputSurface::Open(const IDirect3DDevice9* pDevice, IDirect3DSurface9* pSurface,
                                                 NV_ENC_BUFFER_FORMAT eFormat, std::uint32_t uiWidth,
                                                 std::uint32_t uiHeight)
{
    platform::ComPtr<IDirect3DDevice9> pOwner;
    if (FAILED(pSurface->GetDevice(pOwner.Put())) || pOwner.Get() != pDevice)
    {
        return nullptr;
    }
    D3DSURFACE_DESC desc{};
    if (FAILED(pSurface->GetDesc(&desc)) || !HoldsFormat(desc.Format, eFormat) || desc.Width < uiWidth ||
        desc.Height < uiHeight)
    {
        return nullptr;
    }
    return std::shared_ptr<InputSurface>(new InputSurface(pSurface, eFormat, uiWidth, uiHeight, desc.Height));
}

InputSurface::InputSurface(IDirect3DSurface9* pSurface, NV_ENC_BUFFER_FORMAT eFormat, std::uint32_t uiWidth,
                           std::uint32_t uiHeight, std::uint32_t uiSurfaceHeight)
    : m_pSurface(pSurface),
      m_eFormat(eFormat),
      m_uiWidth(uiWidth),
      m_uiHeight(uiHeight),
      m_uiSurfaceHeight(uiSurfaceHeight)
{
    m_pSurface->AddRef();
}

InputSurface::~InputSurface()
{
    m_pSurface->Release();
}

bool InputSurface::Read(std::uint32_t uiWidth, std::uint32_t uiHeight, const runtimes::Nv12View& target) const
{
    const runtimes::SurfaceLock lock(m_pSurface, D3DLOCK_READONLY);
    if (!lock)
    {
        return false;
    }
    if (m_eFormat == NV_ENC_BUFFER_FORMAT_ARGB)
    {
        runtimes::ConvertBgraToNv12(lock.Bits(), lock.Pitch(), uiWidth, uiHeight, target);
    }
    else
    {
        // The chroma rows follow the last luma row of the surface.
        runtimes::CopyNv12(lock.Bits(), lock.Row(m_uiSurfaceHeight), lock.Pitch(), uiWidth, uiHeight, target);
    }
    return true;
}

std::optional<std::uint64_t> InputSurface::Checksum() const
{
    const runtimes::SurfaceLock lock(m_pSurface, D3DLOCK_READONLY);
    if (!lock)
    {
        return std::nullopt;
    }
    const bool bPacked = m_eFormat == NV_ENC_BUFFER_FORMAT_ARGB;
    const std::size_t uiRowBytes = std::size_t{m_uiWidth} * (bPacked ? 4 : 1);
    const std::uint32_t uiChromaRows = bPacked ? 0 : m_uiHeight / 2;
    std::uint64_t ui64Sum = 0xCBF29CE484222325;  // FNV-1a, 64 bits
    const auto addRow = [&](std::uint32_t uiRow) {
        const std::uint8_t* const pRow = lock.Row(uiRow);
        for (std::size_t ui = 0; ui < uiRowBytes; ++ui)
        {
            ui64Sum = (ui64Sum ^ pRow[ui]) * 0x100000001B3;
        }
    };
    for (std::uint32_t uiRow = 0; uiRow < m_uiHeight; ++uiRow)
    {
        addRow(uiRow);
    }
    for (std::uint32_t uiRow = 0; uiRow < uiChromaRows; ++uiRow)
    {
        addRow(m_uiSurfaceHeight + uiRow);
    }
    return ui64Sum;
}

}  // namespace nvencruntime
