// A surface in memory whose references and locks are counted, and whose lock can fail.
#pragma once

#include <cstdint>
#include <vector>

#include <windows.h>

#include <d3d9.h>

class FakeSurface final : public IDirect3DSurface9
{
public:
    // A8R8G8B8, or NV12 by its four letters. Rows are longer than the picture, and the bytes behind it are filled.
    FakeSurface(std::uint32_t uiWidth, std::uint32_t uiHeight, D3DFORMAT eFormat = D3DFMT_A8R8G8B8);
    // Expects that everybody has given it back.
    ~FakeSurface();
    FakeSurface(const FakeSurface&) = delete;
    FakeSurface& operator=(const FakeSurface&) = delete;

    static D3DFORMAT Nv12() { return static_cast<D3DFORMAT>(0x3231564E); }

    std::uint8_t* Row(std::uint32_t y) { return m_bytes.data() + std::size_t{y} * m_uiPitch; }
    std::uint32_t Pitch() const { return m_uiPitch; }
    std::uint32_t Width() const { return m_uiWidth; }
    std::uint32_t Height() const { return m_uiHeight; }

    int References() const { return m_nReferences; }
    int Locks() const { return m_nLocks; }
    void FailLocks(bool bFail) { m_bFailLocks = bFail; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++m_nReferences); }
    ULONG STDMETHODCALLTYPE Release() override { return static_cast<ULONG>(--m_nReferences); }

    HRESULT STDMETHODCALLTYPE GetDesc(D3DSURFACE_DESC* pDesc) override;
    HRESULT STDMETHODCALLTYPE LockRect(D3DLOCKED_RECT* pLocked, const RECT* pRect, DWORD dwFlags) override;
    HRESULT STDMETHODCALLTYPE UnlockRect() override;

    // Not the runtime's business: a call of any of these is a failure of the test.
    HRESULT STDMETHODCALLTYPE GetDevice(IDirect3DDevice9** ppDevice) override;
    HRESULT STDMETHODCALLTYPE SetPrivateData(REFGUID guid, const void* pData, DWORD dwSize, DWORD dwFlags) override;
    HRESULT STDMETHODCALLTYPE GetPrivateData(REFGUID guid, void* pData, DWORD* pdwSize) override;
    HRESULT STDMETHODCALLTYPE FreePrivateData(REFGUID guid) override;
    DWORD STDMETHODCALLTYPE SetPriority(DWORD dwPriority) override;
    DWORD STDMETHODCALLTYPE GetPriority() override;
    void STDMETHODCALLTYPE PreLoad() override;
    D3DRESOURCETYPE STDMETHODCALLTYPE GetType() override;
    HRESULT STDMETHODCALLTYPE GetContainer(REFIID riid, void** ppContainer) override;
    HRESULT STDMETHODCALLTYPE GetDC(HDC* phdc) override;
    HRESULT STDMETHODCALLTYPE ReleaseDC(HDC hdc) override;

private:
    const std::uint32_t m_uiWidth;
    const std::uint32_t m_uiHeight;
    const D3DFORMAT m_eFormat;
    const std::uint32_t m_uiPitch;
    std::vector<std::uint8_t> m_bytes;
    int m_nReferences = 1;
    int m_nLocks = 0;
    bool m_bLocked = false;
    bool m_bFailLocks = false;
};
