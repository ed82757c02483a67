#include "NV_Video_Codec_SDK/NvEncoder/NvEncoderD3D9.h"

#include <new>

#include "common/saferelease.h"

namespace
{
// The surface format of a buffer format, D3DFMT_UNKNOWN for those that the session doesn't take from Direct3D 9.
D3DFORMAT GetD3D9Format(NV_ENC_BUFFER_FORMAT eFormat)
{
    switch (eFormat)
    {
    case NV_ENC_BUFFER_FORMAT_NV12:
        return static_cast<D3DFORMAT>(MAKEFOURCC('N', 'V', '1', '2'));
    case NV_ENC_BUFFER_FORMAT_ARGB:
        return D3DFMT_A8R8G8B8;
    default:
        return D3DFMT_UNKNOWN;
    }
}

void ReleaseSurfaces(std::vector<NvEncInputFrame>& vFrames)
{
    for (NvEncInputFrame& frame : vFrames)
    {
        if (frame.inputPtr) static_cast<IDirect3DSurface9*>(frame.inputPtr)->Release();
    }
    vFrames.clear();
}
}  // namespace

NvEncoderD3D9::NvEncoderD3D9(IDirect3DDevice9* pD3D9Device, std::uint32_t uiWidth, std::uint32_t uiHeight,
                             NV_ENC_BUFFER_FORMAT eBufferFormat,
                             IDirectXVideoProcessorService* pDXVA2VideoProcessServices,
                             std::uint32_t uiExtraOutputDelay, bool bMotionEstimationOnly)
    : NvEncoder(NV_ENC_DEVICE_TYPE_DIRECTX, pD3D9Device, uiWidth, uiHeight, eBufferFormat, uiExtraOutputDelay,
                bMotionEstimationOnly, false),
      m_pD3D9Device(nullptr),
      m_pDXVA2VideoProcessServices(nullptr)
{
    constexpr const char* pszFunction = "NvEncoderD3D9::NvEncoderD3D9";
    if (!pD3D9Device) throw NVENCException(pszFunction, "Bad d3d9device ptr", NV_ENC_ERR_INVALID_PTR);
    if (GetD3D9Format(m_eBufferFormat) == D3DFMT_UNKNOWN)
    {
        throw NVENCException(pszFunction, "Unsupported Buffer format", NV_ENC_ERR_INVALID_PARAM);
    }
    if (!m_hEncoder) throw NVENCException(pszFunction, "Encoder Initialization failed", NV_ENC_ERR_INVALID_DEVICE);

    m_pD3D9Device = pD3D9Device;
    m_pD3D9Device->AddRef();
    m_pDXVA2VideoProcessServices = pDXVA2VideoProcessServices;
    if (m_pDXVA2VideoProcessServices) m_pDXVA2VideoProcessServices->AddRef();
}

NvEncoderD3D9::~NvEncoderD3D9()
{
    ReleaseD3D9Resources();
}

void NvEncoderD3D9::LeaveAllocated(NvEncoderD3D9* pEncoder)
{
    // The compiler may leave out a store that nothing reads, if it isn't volatile.
    using Pointer = NvEncoderD3D9* volatile;
    if (Pointer* const pLeft = new (std::nothrow) Pointer)
        *pLeft = pEncoder;
    else
        delete pEncoder;
}

void NvEncoderD3D9::AllocateInputBuffers(std::int32_t nInputBuffers)
{
    if (!m_hEncoder || !m_bEncoderInitialized)
    {
        throw NVENCException("NvEncoderD3D9::AllocateInputBuffers", "Encoder intialization failed",
                             NV_ENC_ERR_ENCODER_NOT_INITIALIZED);
    }
    const auto allocate = [this, nInputBuffers](bool bReferenceFrame) {
        std::vector<NvEncInputFrame>& vFrames = bReferenceFrame ? m_vReferenceFrames : m_vInputFrames;
        vFrames.reserve(nInputBuffers);
        std::vector<void*> vSurfaces;
        vSurfaces.reserve(nInputBuffers);
        try
        {
            for (std::int32_t i = 0; i < nInputBuffers; ++i)
                vSurfaces.push_back(CreateSurface());
            // Direct3D reports a surface's pitch with its lock only: it is 0 here, and so are the chroma offsets.
            RegisterResources(vSurfaces, NV_ENC_INPUT_RESOURCE_TYPE_DIRECTX, m_nMaxEncodeWidth, m_nMaxEncodeHeight, 0,
                              m_eBufferFormat, bReferenceFrame);
        }
        catch (...)
        {
            KeepForRelease(vSurfaces, vFrames);
            throw;
        }
    };
    allocate(false);
    if (m_bMotionEstimationOnly) allocate(true);
}

IDirect3DSurface9* NvEncoderD3D9::CreateSurface() const
{
    const D3DFORMAT eFormat = GetD3D9Format(m_eBufferFormat);
    IDirect3DSurface9* pSurface = nullptr;
    const HRESULT hr = m_pDXVA2VideoProcessServices
                           ? m_pDXVA2VideoProcessServices->CreateSurface(
                                 m_nMaxEncodeWidth, m_nMaxEncodeHeight, 0, eFormat, D3DPOOL_DEFAULT, 0,
                                 DXVA2_VideoProcessorRenderTarget, &pSurface, nullptr)
                           : m_pD3D9Device->CreateOffscreenPlainSurface(m_nMaxEncodeWidth, m_nMaxEncodeHeight, eFormat,
                                                                        D3DPOOL_DEFAULT, &pSurface, nullptr);
    if (FAILED(hr) || !pSurface)
    {
        throw NVENCException("NvEncoderD3D9::AllocateInputBuffers", "Failed to create d3d9Surfaces",
                             NV_ENC_ERR_OUT_OF_MEMORY);
    }
    return pSurface;
}

// A failure doesn't release surfaces at once. Those that have no frame yet get an empty one, so that they are released
// with the others. The ring isn't whole, so no frame is encoded with it. Memory for the frames was reserved.
void NvEncoderD3D9::KeepForRelease(const std::vector<void*>& vSurfaces, std::vector<NvEncInputFrame>& vFrames)
{
    for (std::size_t i = vFrames.size(); i < vSurfaces.size(); ++i)
    {
        NvEncInputFrame frame;
        frame.inputPtr = vSurfaces[i];
        vFrames.push_back(frame);
    }
}

void NvEncoderD3D9::ReleaseInputBuffers()
{
    ReleaseD3D9Resources();
}

// Once the session is gone so are the surfaces and the references: there is nothing left to do here.
void NvEncoderD3D9::ReleaseD3D9Resources()
{
    if (!m_hEncoder) return;
    UnregisterResources();
    ReleaseSurfaces(m_vInputFrames);
    ReleaseSurfaces(m_vReferenceFrames);
    SafeRelease(&m_pDXVA2VideoProcessServices);
    SafeRelease(&m_pD3D9Device);
}
