#include "mp4_outputfile/amfupload.h"

#include <cstring>

#include <windows.h>

#include <d3d9.h>

#include "common/saferelease.h"
#include "mp4_outputfile/hostpixels.h"

namespace
{

constexpr D3DCOLOR g_colorPaint = 0xFFFF5028;
constexpr amf_size g_uiPlanesOfNv12 = 2;

// The Direct3D surface of an AMF surface, which belongs to it. Null if it has none.
IDirect3DSurface9* GetNativeSurface(AMFSurface& surface)
{
    AMFPlane* const pPlane = surface.GetPlaneAt(0);
    return pPlane == nullptr ? nullptr : static_cast<IDirect3DSurface9*>(pPlane->GetNative());
}

// What the converter makes of the picture. Null if it makes nothing.
COwned<AMFData> Convert(AMFContext& context, AMFComponent& converter, const SHostPicture& picture,
                        std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    AMFSurface* pBgra = nullptr;
    context.AllocSurface(AMF_MEMORY_DX9, AMF_SURFACE_BGRA, static_cast<amf_int32>(uiWidth),
                         static_cast<amf_int32>(uiHeight), &pBgra);
    const COwned<AMFSurface> pOwner(pBgra);
    IDirect3DSurface9* const pNative = pBgra == nullptr ? nullptr : GetNativeSurface(*pBgra);
    // A surface that can't be locked holds anything but the picture.
    if (pNative == nullptr || !FillSurface(*pNative, picture, uiWidth, uiHeight)) return nullptr;

    // None of the results counts, only whether there is output.
    AMFData* pConverted = nullptr;
    converter.SubmitInput(pBgra);
    converter.Drain();
    converter.QueryOutput(&pConverted);
    return COwned<AMFData>(pConverted);
}

void CopyInto(AMFSurface& surface, AMFData& converted, std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    AMFSurface* pConverted = nullptr;
    converted.QueryInterface(AMFSurface::IID(), reinterpret_cast<void**>(&pConverted));
    const COwned<AMFSurface> pOwner(pConverted);
    if (pConverted == nullptr) return;
    pConverted->CopySurfaceRegion(&surface, 0, 0, 0, 0, static_cast<amf_int32>(uiWidth),
                                  static_cast<amf_int32>(uiHeight));
}

// Paints the surface, then clears both planes as far as they are the picture's. The second lies below the first.
void Paint(AMFContext& context, AMFSurface& surface, std::uint32_t uiWidth)
{
    auto* const pDevice = static_cast<IDirect3DDevice9*>(context.GetDX9Device(AMF_DX9));
    IDirect3DSurface9* const pNative = GetNativeSurface(surface);
    if (pNative == nullptr) return;
    if (pDevice != nullptr) pDevice->ColorFill(pNative, nullptr, g_colorPaint);

    D3DLOCKED_RECT locked{};
    pNative->LockRect(&locked, nullptr, 0);
    if (locked.pBits == nullptr) return;
    auto* pRow = static_cast<std::uint8_t*>(locked.pBits);
    for (amf_size uiPlane = 0; uiPlane < g_uiPlanesOfNv12; ++uiPlane)
    {
        AMFPlane* const pPlane = surface.GetPlaneAt(uiPlane);
        const amf_int32 nRows = pPlane == nullptr ? 0 : pPlane->GetHeight();
        for (amf_int32 nRow = 0; nRow < nRows; ++nRow, pRow += locked.Pitch)
        {
            std::memset(pRow, 0, uiWidth);
        }
    }
    pNative->UnlockRect();
}

}  // namespace

void UploadFrameToAmfSurface(AMFContext& context, AMFComponent& converter, AMFSurface& surface,
                             const SHostPicture& picture, std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    const COwned<AMFData> pConverted = Convert(context, converter, picture, uiWidth, uiHeight);
    if (pConverted != nullptr)
        CopyInto(surface, *pConverted, uiWidth, uiHeight);
    else
        Paint(context, surface, uiWidth);
}
