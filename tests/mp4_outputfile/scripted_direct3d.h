// Direct3D 9 with results that a test sets. It records its calls. Its surfaces lie in memory, with bytes between the
// rows, and can still be read after their last release.
//
// A program that links this gets it from Direct3DCreate9Ex, on every system: the program's own function comes before
// that of a library.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/idle_d3d9.h"

class ScriptedDirect3D;

// 32 bits for each pixel.
class MemorySurface : public IdleSurface
{
public:
    static constexpr std::uint8_t s_bUnwritten = 0x5A;

    MemorySurface(ScriptedDirect3D& d3d, UINT uiWidth, UINT uiHeight);

    HRESULT STDMETHODCALLTYPE LockRect(D3DLOCKED_RECT* pLocked, const RECT* pRect, DWORD dwFlags) override;
    HRESULT STDMETHODCALLTYPE UnlockRect() override;
    ULONG STDMETHODCALLTYPE Release() override;

    std::vector<std::uint8_t> GetRow(UINT y) const;       // the pixels
    std::vector<std::uint8_t> GetAfterRow(UINT y) const;  // the bytes up to the next row

    UINT m_uiWidth;
    UINT m_uiHeight;

private:
    ScriptedDirect3D& m_d3d;
    std::vector<std::uint8_t> m_vBytes;
};

class ScriptedDevice : public IdleDevice
{
public:
    explicit ScriptedDevice(ScriptedDirect3D& d3d) : m_d3d(d3d) {}

    ULONG STDMETHODCALLTYPE Release() override;
    HRESULT STDMETHODCALLTYPE ColorFill(IDirect3DSurface9* pSurface, const RECT* pRect, D3DCOLOR color) override;
    HRESULT STDMETHODCALLTYPE CreateOffscreenPlainSurface(UINT uiWidth, UINT uiHeight, D3DFORMAT eFormat, D3DPOOL ePool,
                                                          IDirect3DSurface9** ppSurface, HANDLE* phShared) override;

private:
    ScriptedDirect3D& m_d3d;
};

// The latest one made is the one that Direct3DCreate9Ex gives. Everything has no reference before it was asked for.
class ScriptedDirect3D : public IdleDirect3D
{
public:
    ScriptedDirect3D();
    ~ScriptedDirect3D() override;
    ScriptedDirect3D(const ScriptedDirect3D&) = delete;
    ScriptedDirect3D& operator=(const ScriptedDirect3D&) = delete;

    // --- what it does
    HRESULT m_hrCreate = S_OK;      // of Direct3DCreate9Ex
    HRESULT m_hrDevice = S_OK;      // of CreateDevice
    HRESULT m_hrIdentifier = S_OK;  // of GetAdapterIdentifier
    HRESULT m_hrSurface = S_OK;     // of CreateOffscreenPlainSurface
    HRESULT m_hrLock = S_OK;        // of LockRect
    HRESULT m_hrUnlock = S_OK;      // of UnlockRect, which unlocks all the same
    // Runs at the head of every call that is written down.
    std::function<void(const std::string& strCall)> m_funcCalled;

    // --- what it saw
    std::vector<std::string> m_vCalls;  // with their arguments; of a pointer only whether it is null
    std::vector<D3DPRESENT_PARAMETERS> m_vPresent;
    std::vector<std::unique_ptr<MemorySurface>> m_vSurfaces;
    ScriptedDevice m_device;

    HRESULT STDMETHODCALLTYPE CreateDevice(UINT uiAdapter, D3DDEVTYPE eType, HWND hFocusWindow, DWORD dwBehavior,
                                           D3DPRESENT_PARAMETERS* pPresent, IDirect3DDevice9** ppDevice) override;
    HRESULT STDMETHODCALLTYPE GetAdapterIdentifier(UINT uiAdapter, DWORD dwFlags,
                                                   D3DADAPTER_IDENTIFIER9* pIdentifier) override;
    ULONG STDMETHODCALLTYPE Release() override;

    HRESULT Create(UINT uiSdkVersion, IDirect3D9Ex** ppD3D);
    HRESULT CreateSurface(UINT uiWidth, UINT uiHeight, IDirect3DSurface9** ppSurface);
    void Note(const std::string& strCall);

private:
    ScriptedDirect3D* m_pBefore;
};
