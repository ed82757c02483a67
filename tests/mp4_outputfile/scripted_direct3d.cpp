#include "scripted_direct3d.h"

#include <type_traits>

namespace
{
constexpr UINT g_uiBytesBetweenRows = 20;

ScriptedDirect3D* g_pDirect3D = nullptr;

template <typename TValue>
std::string Text(TValue value)
{
    if constexpr (std::is_pointer_v<TValue>)
        return value == nullptr ? "null" : "set";
    else
        return std::to_string(value);
}

template <typename... TValues>
std::string Call(const char* pszName, TValues... values)
{
    std::string strValues;
    ((strValues += (strValues.empty() ? "" : ", ") + Text(values)), ...);
    return std::string(pszName) + "(" + strValues + ")";
}
}  // namespace

HRESULT WINAPI Direct3DCreate9Ex(UINT uiSdkVersion, IDirect3D9Ex** ppD3D)
{
    return g_pDirect3D == nullptr ? E_FAIL : g_pDirect3D->Create(uiSdkVersion, ppD3D);
}

// --- the object after it

ScriptedDirect3D::ScriptedDirect3D() : m_device(*this), m_pBefore(g_pDirect3D)
{
    m_uiReferences = 0;
    m_device.m_uiReferences = 0;
    g_pDirect3D = this;
}

ScriptedDirect3D::~ScriptedDirect3D()
{
    g_pDirect3D = m_pBefore;
}

void ScriptedDirect3D::Note(const std::string& strCall)
{
    m_vCalls.push_back(strCall);
    if (m_funcCalled) m_funcCalled(strCall);
}

HRESULT ScriptedDirect3D::Create(UINT uiSdkVersion, IDirect3D9Ex** ppD3D)
{
    Note(Call("Direct3DCreate9Ex", uiSdkVersion));
    if (FAILED(m_hrCreate)) return m_hrCreate;
    AddRef();
    *ppD3D = this;
    return m_hrCreate;
}

HRESULT ScriptedDirect3D::CreateDevice(UINT uiAdapter, D3DDEVTYPE eType, HWND hFocusWindow, DWORD dwBehavior,
                                       D3DPRESENT_PARAMETERS* pPresent, IDirect3DDevice9** ppDevice)
{
    Note(Call("CreateDevice", uiAdapter, static_cast<int>(eType), hFocusWindow, dwBehavior));
    m_vPresent.push_back(*pPresent);
    if (FAILED(m_hrDevice)) return m_hrDevice;
    m_device.AddRef();
    *ppDevice = &m_device;
    return m_hrDevice;
}

HRESULT ScriptedDirect3D::GetAdapterIdentifier(UINT uiAdapter, DWORD dwFlags, D3DADAPTER_IDENTIFIER9* pIdentifier)
{
    Note(Call("GetAdapterIdentifier", uiAdapter, dwFlags, pIdentifier));
    return m_hrIdentifier;
}

ULONG ScriptedDirect3D::Release()
{
    Note("Direct3D released");
    return IdleDirect3D::Release();
}

HRESULT ScriptedDirect3D::CreateSurface(UINT uiWidth, UINT uiHeight, IDirect3DSurface9** ppSurface)
{
    if (FAILED(m_hrSurface)) return m_hrSurface;
    m_vSurfaces.push_back(std::make_unique<MemorySurface>(*this, uiWidth, uiHeight));
    *ppSurface = m_vSurfaces.back().get();
    return m_hrSurface;
}

// --- the device

HRESULT ScriptedDevice::CreateOffscreenPlainSurface(UINT uiWidth, UINT uiHeight, D3DFORMAT eFormat, D3DPOOL ePool,
                                                    IDirect3DSurface9** ppSurface, HANDLE* phShared)
{
    m_d3d.Note(Call("CreateOffscreenPlainSurface", uiWidth, uiHeight, static_cast<int>(eFormat),
                    static_cast<int>(ePool), phShared));
    return m_d3d.CreateSurface(uiWidth, uiHeight, ppSurface);
}

HRESULT ScriptedDevice::ColorFill(IDirect3DSurface9* pSurface, const RECT* pRect, D3DCOLOR color)
{
    m_d3d.Note(Call("ColorFill", pSurface, pRect, color));
    return S_OK;
}

ULONG ScriptedDevice::Release()
{
    m_d3d.Note("device released");
    return IdleDevice::Release();
}

// --- surfaces

MemorySurface::MemorySurface(ScriptedDirect3D& d3d, UINT uiWidth, UINT uiHeight)
    : m_uiWidth(uiWidth),
      m_uiHeight(uiHeight),
      m_d3d(d3d),
      m_vBytes(std::size_t{uiWidth * 4 + g_uiBytesBetweenRows} * uiHeight, s_bUnwritten)
{}

HRESULT MemorySurface::LockRect(D3DLOCKED_RECT* pLocked, const RECT* pRect, DWORD dwFlags)
{
    m_d3d.Note(Call("LockRect", pRect, dwFlags));
    if (FAILED(m_d3d.m_hrLock)) return m_d3d.m_hrLock;
    pLocked->Pitch = static_cast<INT>(m_uiWidth * 4 + g_uiBytesBetweenRows);
    pLocked->pBits = m_vBytes.data();
    return m_d3d.m_hrLock;
}

HRESULT MemorySurface::UnlockRect()
{
    m_d3d.Note("UnlockRect()");
    return m_d3d.m_hrUnlock;
}

ULONG MemorySurface::Release()
{
    m_d3d.Note("surface released");
    return IdleSurface::Release();
}

std::vector<std::uint8_t> MemorySurface::GetRow(UINT y) const
{
    const auto first = m_vBytes.begin() + std::ptrdiff_t{m_uiWidth * 4 + g_uiBytesBetweenRows} * y;
    return {first, first + m_uiWidth * 4};
}

std::vector<std::uint8_t> MemorySurface::GetAfterRow(UINT y) const
{
    const auto first = m_vBytes.begin() + std::ptrdiff_t{m_uiWidth * 4 + g_uiBytesBetweenRows} * y + m_uiWidth * 4;
    return {first, first + g_uiBytesBetweenRows};
}
