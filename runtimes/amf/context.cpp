#include "runtimes/amf/context.h"

#include "runtimes/amf/buffer.h"
#include "runtimes/amf/surface.h"

namespace amfruntime
{
namespace
{

using platform::ComPtr;

AMF_RESULT MakeDevice(ComPtr<IDirect3DDevice9>& pDevice)
{
    ComPtr<IDirect3D9Ex> pDirect3D;
    if (FAILED(Direct3DCreate9Ex(D3D_SDK_VERSION, pDirect3D.Put())))
    {
        return AMF_DIRECTX_FAILED;
    }
    // The back buffer is never shown.
    D3DPRESENT_PARAMETERS parameters{};
    parameters.BackBufferWidth = 1;
    parameters.BackBufferHeight = 1;
    parameters.BackBufferFormat = D3DFMT_A8R8G8B8;
    parameters.SwapEffect = D3DSWAPEFFECT_DISCARD;
    parameters.Windowed = TRUE;
    const HRESULT hr =
        pDirect3D->CreateDevice(D3DADAPTER_DEFAULT, D3DDEVTYPE_HAL, nullptr,
                                D3DCREATE_HARDWARE_VERTEXPROCESSING | D3DCREATE_MULTITHREADED | D3DCREATE_FPU_PRESERVE,
                                &parameters, pDevice.Put());
    return SUCCEEDED(hr) ? AMF_OK : AMF_NO_DEVICE;
}

AMF_RESULT ResultOf(HRESULT hr)
{
    return hr == E_OUTOFMEMORY || hr == D3DERR_OUTOFVIDEOMEMORY ? AMF_OUT_OF_MEMORY : AMF_DIRECTX_FAILED;
}

}  // namespace

Context::Context()
{
    Script::Get().CountIn(&AmfRuntimeObjects::uiContexts);
}

Context::~Context()
{
    if (!m_bTerminated)
    {
        Script::Get().OnBreach(&AmfRuntimeBreaches::uiContextsNotTerminated);
        ReportEnd();
    }
    Script::Get().CountOut(&AmfRuntimeObjects::uiContexts);
}

void Context::ReportEnd() const
{
    AmfRuntimeObjects left{};
    left.uiInitializedComponents = m_pRecord->uiInitializedComponents;
    left.uiSurfaces = m_pRecord->uiSurfaces;
    left.uiBuffers = m_pRecord->uiBuffers;
    Script::Get().OnContextEnded(left);
}

AMF_RESULT Context::Terminate()
{
    return Answer(AMF_CALL_CONTEXT_TERMINATE, [&] {
        ComPtr<IDirect3DDevice9> pDevice;
        const std::lock_guard lock(m_mutex);
        if (!m_bTerminated)
        {
            ReportEnd();
        }
        m_bTerminated = true;
        std::swap(pDevice, m_pDevice);
        return AMF_OK;
    });
}

AMF_RESULT Context::InitDX9(void* pDX9Device)
{
    return Answer(AMF_CALL_CONTEXT_INIT_DX9, [&] {
        const std::lock_guard lock(m_mutex);
        if (m_pDevice)
        {
            return OutOfOrder(AMF_ALREADY_INITIALIZED);
        }
        ComPtr<IDirect3DDevice9> pDevice;
        AMF_RESULT eResult = AMF_OK;
        if (pDX9Device)
        {
            pDevice = ComPtr(static_cast<IUnknown*>(pDX9Device)).As<IDirect3DDevice9>();
            eResult = pDevice ? AMF_OK : AMF_NO_DEVICE;
        }
        else
        {
            eResult = MakeDevice(pDevice);
        }
        if (eResult == AMF_OK)
        {
            m_pDevice = std::move(pDevice);
            m_bTerminated = false;
        }
        return eResult;
    });
}

void* Context::GetDX9Device(AMF_DX_VERSION required)
{
    void* pDevice = nullptr;
    Answer(AMF_CALL_CONTEXT_GET_DX9_DEVICE, [&] {
        // The context keeps its own reference.
        pDevice = required == AMF_DX9 ? Device().Get() : nullptr;
        return AMF_OK;
    });
    return pDevice;
}

AMF_RESULT Context::LockDX9()
{
    m_deviceMutex.lock();
    return AMF_OK;
}

AMF_RESULT Context::UnlockDX9()
{
    m_deviceMutex.unlock();
    return AMF_OK;
}

AMF_RESULT Context::AllocBuffer(AMF_MEMORY_TYPE type, amf_size size, AMFBuffer** ppBuffer)
{
    return AnswerWith(AMF_CALL_CONTEXT_ALLOC_BUFFER, ppBuffer, [&] {
        if (type != AMF_MEMORY_HOST)
        {
            return AMF_NOT_SUPPORTED;
        }
        *ppBuffer = new Buffer(m_pRecord, std::vector<std::uint8_t>(size));
        return AMF_OK;
    });
}

AMF_RESULT Context::AllocSurface(AMF_MEMORY_TYPE type, AMF_SURFACE_FORMAT format, amf_int32 width, amf_int32 height,
                                 AMFSurface** ppSurface)
{
    return AnswerWith(AMF_CALL_CONTEXT_ALLOC_SURFACE, ppSurface, [&] {
        if (type != AMF_MEMORY_DX9)
        {
            return AMF_NOT_SUPPORTED;
        }
        return MakeSurface(format, width, height, ppSurface);
    });
}

bool Context::HasDevice() const
{
    const std::lock_guard lock(m_mutex);
    return bool(m_pDevice);
}

ComPtr<IDirect3DDevice9> Context::Device() const
{
    const std::lock_guard lock(m_mutex);
    return m_pDevice;
}

AMF_RESULT Context::MakeSurface(AMF_SURFACE_FORMAT eFormat, amf_int32 nWidth, amf_int32 nHeight, AMFSurface** ppSurface)
{
    const D3DFORMAT eNative = Surface::Direct3DFormat(eFormat);
    if (eNative == D3DFMT_UNKNOWN)
    {
        return AMF_SURFACE_FORMAT_NOT_SUPPORTED;
    }
    if (nWidth <= 0 || nHeight <= 0 || (eFormat == AMF_SURFACE_NV12 && ((nWidth | nHeight) & 1) != 0))
    {
        return AMF_INVALID_ARG;
    }
    const ComPtr<IDirect3DDevice9> pDevice = Device();
    if (!pDevice)
    {
        return OutOfOrder(AMF_NO_DEVICE);
    }
    ComPtr<IDirect3DSurface9> pNative;
    const HRESULT hr = pDevice->CreateOffscreenPlainSurface(static_cast<UINT>(nWidth), static_cast<UINT>(nHeight),
                                                            eNative, D3DPOOL_DEFAULT, pNative.Put(), nullptr);
    if (FAILED(hr))
    {
        return ResultOf(hr);
    }
    *ppSurface = new Surface(m_pRecord, std::move(pNative), eFormat, nWidth, nHeight);
    return AMF_OK;
}

}  // namespace amfruntime
