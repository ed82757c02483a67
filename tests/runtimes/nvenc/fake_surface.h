// A surface in memory whose references and locks are counted, and whose lock can fail; and the device it belongs to.
#pragma once

#include <cstdint>
#include <vector>

#include "pictures.h"
#include "support/idle_d3d9.h"

// Is asked for its interfaces and nothing else: a call of any other operation is a failure of the test.
class FakeDevice final : public IdleDevice
{
public:
    // The one that sessions and surfaces have unless a test says otherwise. It starts with one reference.
    static FakeDevice& Get();

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;

protected:
    HRESULT OnIdle() override;
};

// The runtime may ask for its device and its description and may lock it. Any other call is a failure of the test.
class FakeSurface final : public IdleSurface
{
public:
    // A8R8G8B8, or NV12 by its four letters. Rows are longer than the picture, and the bytes after it are filled.
    FakeSurface(std::uint32_t uiWidth, std::uint32_t uiHeight, D3DFORMAT eFormat = D3DFMT_A8R8G8B8,
                FakeDevice& device = FakeDevice::Get());
    // Expects that the runtime holds no reference and no lock.
    ~FakeSurface() override;
    FakeSurface(const FakeSurface&) = delete;
    FakeSurface& operator=(const FakeSurface&) = delete;

    static D3DFORMAT Nv12() { return static_cast<D3DFORMAT>(0x3231564E); }

    std::uint8_t* Row(std::uint32_t y) { return m_bytes.data() + std::size_t{y} * m_uiPitch; }
    std::uint32_t Pitch() const { return m_uiPitch; }
    std::uint32_t Width() const { return m_uiWidth; }
    std::uint32_t Height() const { return m_uiHeight; }

    ULONG References() const { return m_uiReferences; }
    int Locks() const { return m_nLocks; }
    void FailLocks(bool bFail) { m_bFailLocks = bFail; }

    HRESULT STDMETHODCALLTYPE GetDevice(IDirect3DDevice9** ppDevice) override;
    HRESULT STDMETHODCALLTYPE GetDesc(D3DSURFACE_DESC* pDesc) override;
    HRESULT STDMETHODCALLTYPE LockRect(D3DLOCKED_RECT* pLocked, const RECT* pRect, DWORD dwFlags) override;
    HRESULT STDMETHODCALLTYPE UnlockRect() override;

protected:
    HRESULT OnIdle() override;

private:
    const std::uint32_t m_uiWidth;
    const std::uint32_t m_uiHeight;
    const D3DFORMAT m_eFormat;
    FakeDevice& m_device;
    const std::uint32_t m_uiPitch;
    std::vector<std::uint8_t> m_bytes;
    int m_nLocks = 0;
    bool m_bLocked = false;
    bool m_bFailLocks = false;
};

void Paint(FakeSurface& surface, const BgrPicture& picture);
