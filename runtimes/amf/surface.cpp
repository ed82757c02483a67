#include "runtimes/amf/surface.h"

#include <cstring>

namespace amfruntime
{
namespace
{

bool HoldsRegion(const NativePicture& picture, amf_int32 nX, amf_int32 nY, amf_int32 nWidth, amf_int32 nHeight)
{
    return nX >= 0 && nY >= 0 && nWidth > 0 && nHeight > 0 &&
           std::int64_t{nX} + nWidth <= std::int64_t{picture.uiWidth} &&
           std::int64_t{nY} + nHeight <= std::int64_t{picture.uiHeight};
}

// Rows and columns in bytes.
void CopyRows(const runtimes::SurfaceLock& target, std::uint32_t uiTargetRow, std::size_t uiTargetColumn,
              const runtimes::SurfaceLock& source, std::uint32_t uiSourceRow, std::size_t uiSourceColumn,
              std::uint32_t uiRows, std::size_t uiBytes)
{
    for (std::uint32_t ui = 0; ui < uiRows; ++ui)
    {
        std::memcpy(target.Row(uiTargetRow + ui) + uiTargetColumn, source.Row(uiSourceRow + ui) + uiSourceColumn,
                    uiBytes);
    }
}

}  // namespace

D3DFORMAT Surface::Direct3DFormat(AMF_SURFACE_FORMAT eFormat)
{
    switch (eFormat)
    {
    case AMF_SURFACE_BGRA:
        return D3DFMT_A8R8G8B8;
    case AMF_SURFACE_NV12:
        return runtimes::c_eD3dFormatNv12;
    default:
        return D3DFMT_UNKNOWN;
    }
}

Surface::Surface(std::shared_ptr<ContextRecord> pRecord, platform::ComPtr<IDirect3DSurface9> pNative,
                 AMF_SURFACE_FORMAT eFormat, amf_int32 nWidth, amf_int32 nHeight)
    : m_counted(std::move(pRecord), &ContextRecord::uiSurfaces, &AmfRuntimeObjects::uiSurfaces),
      m_pNative(std::move(pNative)),
      m_eFormat(eFormat),
      m_nWidth(nWidth),
      m_nHeight(nHeight)
{
    if (eFormat == AMF_SURFACE_NV12)
    {
        m_planes.emplace_back(this, AMF_PLANE_Y, 1, nWidth, nHeight);
        m_planes.emplace_back(this, AMF_PLANE_UV, 2, nWidth / 2, nHeight / 2);
    }
    else
    {
        m_planes.emplace_back(this, AMF_PLANE_PACKED, 4, nWidth, nHeight);
    }
}

Surface::~Surface()
{
    for (AMFSurfaceObserver* pObserver : m_observers)
    {
        pObserver->OnSurfaceDataRelease(this);
    }
}

AMFPlane* Surface::GetPlaneAt(amf_size index)
{
    return index < m_planes.size() ? &m_planes[index] : nullptr;
}

AMFPlane* Surface::GetPlane(AMF_PLANE_TYPE type)
{
    for (Plane& plane : m_planes)
    {
        if (plane.GetType() == type)
        {
            return &plane;
        }
    }
    return nullptr;
}

AMF_RESULT Surface::SetCrop(amf_int32 x, amf_int32 y, amf_int32 width, amf_int32 height)
{
    return x == 0 && y == 0 && width == m_nWidth && height == m_nHeight ? AMF_OK : AMF_NOT_SUPPORTED;
}

AMF_RESULT Surface::CopySurfaceRegion(AMFSurface* pDest, amf_int32 dstX, amf_int32 dstY, amf_int32 srcX, amf_int32 srcY,
                                      amf_int32 width, amf_int32 height)
{
    return Answer(AMF_CALL_SURFACE_COPY_REGION, [&] {
        if (!pDest)
        {
            return AMF_INVALID_POINTER;
        }
        if (pDest->GetFormat() != m_eFormat)
        {
            return AMF_INVALID_FORMAT;
        }
        NativePicture source;
        NativePicture target;
        AMF_RESULT eResult = FindNative(this, source);
        eResult = eResult == AMF_OK ? FindNative(pDest, target) : eResult;
        if (eResult != AMF_OK)
        {
            return eResult;
        }
        const bool bNv12 = m_eFormat == AMF_SURFACE_NV12;
        const bool bEven = ((dstX | dstY | srcX | srcY | width | height) & 1) == 0;
        if (!HoldsRegion(source, srcX, srcY, width, height) || !HoldsRegion(target, dstX, dstY, width, height) ||
            (bNv12 && !bEven))
        {
            return AMF_OUT_OF_RANGE;
        }
        const runtimes::SurfaceLock from(source.pSurface, D3DLOCK_READONLY);
        const runtimes::SurfaceLock to(target.pSurface, 0);
        if (!from || !to)
        {
            return AMF_DIRECTX_FAILED;
        }
        const auto uiPixel = static_cast<std::size_t>(bNv12 ? 1 : 4);
        const auto uiToRow = static_cast<std::uint32_t>(dstY);
        const auto uiFromRow = static_cast<std::uint32_t>(srcY);
        const auto uiRows = static_cast<std::uint32_t>(height);
        const std::size_t uiToColumn = uiPixel * static_cast<std::size_t>(dstX);
        const std::size_t uiFromColumn = uiPixel * static_cast<std::size_t>(srcX);
        const std::size_t uiBytes = uiPixel * static_cast<std::size_t>(width);
        CopyRows(to, uiToRow, uiToColumn, from, uiFromRow, uiFromColumn, uiRows, uiBytes);
        if (bNv12)
        {
            CopyRows(to, target.uiRowsToChroma + uiToRow / 2, uiToColumn, from, source.uiRowsToChroma + uiFromRow / 2,
                     uiFromColumn, uiRows / 2, uiBytes);
        }
        return AMF_OK;
    });
}

AMF_RESULT Surface::Plane::QueryInterface(const AMFGuid& interfaceID, void** ppInterface)
{
    if (!ppInterface)
    {
        return AMF_INVALID_POINTER;
    }
    const bool bKnown = interfaceID == AMFInterface::IID() || interfaceID == AMFPlane::IID();
    *ppInterface = bKnown ? this : nullptr;
    if (!bKnown)
    {
        return AMF_NO_INTERFACE;
    }
    Acquire();
    return AMF_OK;
}

void* Surface::Plane::GetNative()
{
    return Script::Get().IsNativeHidden(m_pSurface->m_eFormat) ? nullptr : m_pSurface->m_pNative.Get();
}

amf_int32 Surface::Plane::GetHPitch()
{
    const runtimes::SurfaceLock lock(m_pSurface->m_pNative.Get(), D3DLOCK_READONLY);
    return lock ? static_cast<amf_int32>(lock.Pitch()) : 0;
}

AMF_RESULT FindNative(AMFSurface* pSurface, NativePicture& picture)
{
    if (pSurface->GetMemoryType() != AMF_MEMORY_DX9)
    {
        return AMF_NOT_SUPPORTED;
    }
    AMFPlane* const pPlane = pSurface->GetPlaneAt(0);
    auto* const pNative = pPlane ? static_cast<IDirect3DSurface9*>(pPlane->GetNative()) : nullptr;
    D3DSURFACE_DESC desc{};
    if (!pNative || FAILED(pNative->GetDesc(&desc)) || desc.Format != Surface::Direct3DFormat(pSurface->GetFormat()))
    {
        return AMF_INVALID_ARG;
    }
    const amf_int32 nWidth = pPlane->GetWidth();
    const amf_int32 nHeight = pPlane->GetHeight();
    if (nWidth <= 0 || nHeight <= 0 || static_cast<std::uint32_t>(nWidth) > desc.Width ||
        static_cast<std::uint32_t>(nHeight) > desc.Height)
    {
        return AMF_INVALID_ARG;
    }
    picture = {pNative, static_cast<std::uint32_t>(nWidth), static_cast<std::uint32_t>(nHeight), desc.Height};
    return AMF_OK;
}

}  // namespace amfruntime
