// A picture in a Direct3D 9 surface.
#pragma once

#include <vector>

#include "platform/com/com_ptr.h"
#include "runtimes/amf/context_record.h"
#include "runtimes/amf/data.h"
#include "runtimes/common/surface_lock.h"

namespace amfruntime
{

// BGRA or NV12, eight bits. One thread at a time uses it, as Direct3D 9 asks for; references may be taken and given
// back on any.
class Surface final : public Data<AMFSurface, AMF_DATA_SURFACE, AMF_MEMORY_DX9>
{
public:
    // The Direct3D format of a surface format; D3DFMT_UNKNOWN for one that this runtime hasn't.
    static D3DFORMAT Direct3DFormat(AMF_SURFACE_FORMAT eFormat);

    Surface(std::shared_ptr<ContextRecord> pRecord, platform::ComPtr<IDirect3DSurface9> pNative,
            AMF_SURFACE_FORMAT eFormat, amf_int32 nWidth, amf_int32 nHeight);

    AMF_SURFACE_FORMAT GetFormat() override { return m_eFormat; }
    amf_size GetPlanesCount() override { return m_planes.size(); }
    // Null for a plane that isn't there. Without a reference for the caller.
    AMFPlane* GetPlaneAt(amf_size index) override;
    AMFPlane* GetPlane(AMF_PLANE_TYPE type) override;
    AMF_FRAME_TYPE GetFrameType() override { return m_eFrameType; }
    void SetFrameType(AMF_FRAME_TYPE type) override { m_eFrameType = type; }
    // The whole surface only.
    AMF_RESULT SetCrop(amf_int32 x, amf_int32 y, amf_int32 width, amf_int32 height) override;
    // To another surface of the same format in Direct3D 9 memory. Both are locked meanwhile.
    AMF_RESULT CopySurfaceRegion(AMFSurface* pDest, amf_int32 dstX, amf_int32 dstY, amf_int32 srcX, amf_int32 srcY,
                                 amf_int32 width, amf_int32 height) override;
    void AddSurfaceObserver(AMFSurfaceObserver* pObserver) override { m_observers.push_back(pObserver); }
    void RemoveSurfaceObserver(AMFSurfaceObserver* pObserver) override { std::erase(m_observers, pObserver); }

private:
    // Its references are those of the surface.
    class Plane final : public AMFPlane
    {
    public:
        Plane(Surface* pSurface, AMF_PLANE_TYPE eType, amf_int32 nPixelBytes, amf_int32 nWidth, amf_int32 nHeight)
            : m_pSurface(pSurface), m_eType(eType), m_nPixelBytes(nPixelBytes), m_nWidth(nWidth), m_nHeight(nHeight)
        {}
        virtual ~Plane() = default;

        amf_long Acquire() override { return m_pSurface->Acquire(); }
        amf_long Release() override { return m_pSurface->Release(); }
        AMF_RESULT QueryInterface(const AMFGuid& interfaceID, void** ppInterface) override;
        AMF_PLANE_TYPE GetType() override { return m_eType; }
        // The IDirect3DSurface9, without a reference for the caller.
        void* GetNative() override;
        amf_int32 GetPixelSizeInBytes() override { return m_nPixelBytes; }
        amf_int32 GetOffsetX() override { return 0; }
        amf_int32 GetOffsetY() override { return 0; }
        amf_int32 GetWidth() override { return m_nWidth; }
        amf_int32 GetHeight() override { return m_nHeight; }
        // 0 while the surface can't be locked.
        amf_int32 GetHPitch() override;
        amf_int32 GetVPitch() override { return m_nHeight; }
        amf_bool IsTiled() override { return false; }

    private:
        Surface* m_pSurface;
        AMF_PLANE_TYPE m_eType;
        amf_int32 m_nPixelBytes;
        amf_int32 m_nWidth;
        amf_int32 m_nHeight;
    };

    ~Surface() override;

    const CountedIn m_counted;
    const platform::ComPtr<IDirect3DSurface9> m_pNative;
    const AMF_SURFACE_FORMAT m_eFormat;
    const amf_int32 m_nWidth;
    const amf_int32 m_nHeight;
    std::vector<Plane> m_planes;
    AMF_FRAME_TYPE m_eFrameType = AMF_FRAME_PROGRESSIVE;
    std::vector<AMFSurfaceObserver*> m_observers;
};

// The surface and its size, as a component reads it: through the interface, so that any implementation will do.
struct NativePicture
{
    IDirect3DSurface9* pSurface = nullptr;
    std::uint32_t uiWidth = 0;
    std::uint32_t uiHeight = 0;
    std::uint32_t uiRowsToChroma = 0;  // of NV12, from the first row of luma
};

// AMF_NOT_SUPPORTED for other memory than Direct3D 9's, AMF_INVALID_ARG for a surface whose native one is missing or
// doesn't fit it.
AMF_RESULT FindNative(AMFSurface* pSurface, NativePicture& picture);

}  // namespace amfruntime
