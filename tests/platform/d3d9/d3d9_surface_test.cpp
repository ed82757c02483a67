#include <cstdint>
#include <cstring>

#include "d3d9_testing.h"

using namespace d3d9_testing;

namespace
{

// A locked surface as its bytes.
class Locked
{
public:
    explicit Locked(IDirect3DSurface9* pSurface) : m_pSurface(pSurface)
    {
        EXPECT_EQ(pSurface->LockRect(&m_rect, nullptr, 0), D3D_OK);
    }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;
    ~Locked() { EXPECT_EQ(m_pSurface->UnlockRect(), D3D_OK); }
    std::uint8_t* Row(std::ptrdiff_t y) { return static_cast<std::uint8_t*>(m_rect.pBits) + y * m_rect.Pitch; }
    std::ptrdiff_t Pitch() const { return m_rect.Pitch; }

private:
    IDirect3DSurface9* m_pSurface;
    D3DLOCKED_RECT m_rect{};
};

class D3D9Surface : public WithDevice
{
protected:
    HRESULT Create(UINT uiWidth, UINT uiHeight, D3DFORMAT eFormat, D3DPOOL ePool = D3DPOOL_DEFAULT,
                   HANDLE* phShared = nullptr)
    {
        auto* pSurface = reinterpret_cast<IDirect3DSurface9*>(this);
        const HRESULT hr =
            m_pDevice->CreateOffscreenPlainSurface(uiWidth, uiHeight, eFormat, ePool, &pSurface, phShared);
        EXPECT_EQ(pSurface != nullptr, SUCCEEDED(hr));
        if (pSurface && SUCCEEDED(hr))
        {
            pSurface->Release();
        }
        return hr;
    }
};

TEST_F(D3D9Surface, DescriptionIsWhatWasAskedFor)
{
    const auto pSurface = MakeSurface(100, 50, c_eNv12, D3DPOOL_SYSTEMMEM);
    D3DSURFACE_DESC desc;
    std::memset(&desc, 0xAA, sizeof(desc));
    EXPECT_EQ(pSurface->GetDesc(&desc), D3D_OK);
    EXPECT_EQ(desc.Format, c_eNv12);
    EXPECT_EQ(desc.Type, D3DRTYPE_SURFACE);
    EXPECT_EQ(desc.Usage, 0U);
    EXPECT_EQ(desc.Pool, D3DPOOL_SYSTEMMEM);
    EXPECT_EQ(desc.MultiSampleType, D3DMULTISAMPLE_NONE);
    EXPECT_EQ(desc.MultiSampleQuality, 0U);
    EXPECT_EQ(desc.Width, 100U);
    EXPECT_EQ(desc.Height, 50U);
    EXPECT_EQ(pSurface->GetDesc(nullptr), D3DERR_INVALIDCALL);
    EXPECT_EQ(pSurface->GetType(), D3DRTYPE_SURFACE);
}

TEST_F(D3D9Surface, OnlyTheTwoFormatsExist)
{
    EXPECT_EQ(Create(64, 64, D3DFMT_A8R8G8B8), D3D_OK);
    EXPECT_EQ(Create(64, 64, c_eNv12), D3D_OK);
    EXPECT_EQ(Create(64, 64, D3DFMT_X8R8G8B8), D3DERR_INVALIDCALL);
    EXPECT_EQ(Create(64, 64, D3DFMT_YUY2), D3DERR_INVALIDCALL);
    EXPECT_EQ(Create(64, 64, D3DFMT_UNKNOWN), D3DERR_INVALIDCALL);
}

TEST_F(D3D9Surface, SizeMustBePossible)
{
    EXPECT_EQ(Create(0, 64, D3DFMT_A8R8G8B8), D3DERR_INVALIDCALL);
    EXPECT_EQ(Create(64, 0, D3DFMT_A8R8G8B8), D3DERR_INVALIDCALL);
    EXPECT_EQ(Create(16385, 1, D3DFMT_A8R8G8B8), D3DERR_INVALIDCALL);
    EXPECT_EQ(Create(1, 0xFFFFFFFF, c_eNv12), D3DERR_INVALIDCALL);
    EXPECT_EQ(Create(1, 1, D3DFMT_A8R8G8B8), D3D_OK);
    EXPECT_EQ(Create(16384, 1, D3DFMT_A8R8G8B8), D3D_OK);
}

TEST_F(D3D9Surface, PoolAndSharingMustBePossible)
{
    EXPECT_EQ(Create(8, 8, D3DFMT_A8R8G8B8, D3DPOOL_SCRATCH), D3D_OK);
    EXPECT_EQ(Create(8, 8, D3DFMT_A8R8G8B8, D3DPOOL_MANAGED), D3DERR_INVALIDCALL);
    HANDLE hShared = nullptr;
    EXPECT_EQ(Create(8, 8, D3DFMT_A8R8G8B8, D3DPOOL_DEFAULT, &hShared), D3DERR_INVALIDCALL);
    EXPECT_EQ(m_pDevice->CreateOffscreenPlainSurface(8, 8, D3DFMT_A8R8G8B8, D3DPOOL_DEFAULT, nullptr, nullptr),
              D3DERR_INVALIDCALL);
}

TEST_F(D3D9Surface, KeepsWhatIsWrittenIntoEveryByte)
{
    const auto pSurface = MakeSurface(33, 7);
    {
        Locked locked(pSurface.Get());
        EXPECT_GE(locked.Pitch(), 33 * 4);
        for (int y = 0; y < 7; ++y)
        {
            for (int x = 0; x < 33 * 4; ++x)
            {
                locked.Row(y)[x] = static_cast<std::uint8_t>(x * 7 + y);
            }
        }
    }
    Locked locked(pSurface.Get());
    for (int y = 0; y < 7; ++y)
    {
        for (int x = 0; x < 33 * 4; ++x)
        {
            ASSERT_EQ(locked.Row(y)[x], static_cast<std::uint8_t>(x * 7 + y)) << x << ',' << y;
        }
    }
}

TEST_F(D3D9Surface, RowsAreAlignedForVectors)
{
    for (const UINT uiWidth : {1U, 17U, 64U, 100U, 641U})
    {
        for (const D3DFORMAT eFormat : {D3DFMT_A8R8G8B8, c_eNv12})
        {
            const auto pSurface = MakeSurface(uiWidth, 3, eFormat);
            Locked locked(pSurface.Get());
            EXPECT_EQ(locked.Pitch() % 64, 0);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(locked.Row(0)) % 64, 0U);
        }
    }
}

TEST_F(D3D9Surface, ChromaOfNv12FollowsTheLastRowOfLuma)
{
    const auto pSurface = MakeSurface(5, 3, c_eNv12);
    Locked locked(pSurface.Get());
    EXPECT_GE(locked.Pitch(), 6) << "five luma values need three pairs of chroma";
    for (int y = 0; y < 3 + 2; ++y)
    {
        for (int x = 0; x < 6; ++x)
        {
            locked.Row(y)[x] = 0x77;  // the address sanitizer watches
        }
    }
}

TEST_F(D3D9Surface, CanBeLockedOnce)
{
    const auto pSurface = MakeSurface(16, 16);
    D3DLOCKED_RECT rect{};
    EXPECT_EQ(pSurface->UnlockRect(), D3DERR_INVALIDCALL);
    EXPECT_EQ(pSurface->LockRect(&rect, nullptr, 0), D3D_OK);
    EXPECT_EQ(pSurface->LockRect(&rect, nullptr, 0), D3DERR_INVALIDCALL);
    EXPECT_EQ(pSurface->UnlockRect(), D3D_OK);
    EXPECT_EQ(pSurface->UnlockRect(), D3DERR_INVALIDCALL);
    EXPECT_EQ(pSurface->LockRect(&rect, nullptr, D3DLOCK_READONLY), D3D_OK);
    EXPECT_EQ(pSurface->UnlockRect(), D3D_OK);
    EXPECT_EQ(pSurface->LockRect(nullptr, nullptr, 0), D3DERR_INVALIDCALL);
    EXPECT_EQ(pSurface->UnlockRect(), D3DERR_INVALIDCALL) << "a lock that failed locks nothing";
}

TEST_F(D3D9Surface, RectangleOfALockStartsAtItsCorner)
{
    const auto pSurface = MakeSurface(16, 16);
    D3DLOCKED_RECT whole{};
    D3DLOCKED_RECT part{};
    pSurface->LockRect(&whole, nullptr, 0);
    pSurface->UnlockRect();
    const RECT rect = {3, 5, 16, 16};
    EXPECT_EQ(pSurface->LockRect(&part, &rect, 0), D3D_OK);
    EXPECT_EQ(part.Pitch, whole.Pitch);
    EXPECT_EQ(static_cast<std::uint8_t*>(part.pBits) - static_cast<std::uint8_t*>(whole.pBits),
              5 * whole.Pitch + 3 * 4);
    pSurface->UnlockRect();
}

TEST_F(D3D9Surface, RectangleMustLieWithinTheSurface)
{
    const auto pSurface = MakeSurface(16, 16);
    for (const RECT& rect : {RECT{0, 0, 17, 16}, RECT{0, 0, 16, 17}, RECT{-1, 0, 4, 4}, RECT{0, -1, 4, 4},
                             RECT{4, 0, 4, 4}, RECT{0, 5, 4, 4}})
    {
        D3DLOCKED_RECT locked{};
        EXPECT_EQ(pSurface->LockRect(&locked, &rect, 0), D3DERR_INVALIDCALL);
        EXPECT_EQ(locked.pBits, nullptr);
        EXPECT_EQ(m_pDevice->ColorFill(pSurface.Get(), &rect, 0), D3DERR_INVALIDCALL);
    }
}

TEST_F(D3D9Surface, FillPutsBlueFirstAndAlphaLast)
{
    const auto pSurface = MakeSurface(8, 4);
    EXPECT_EQ(m_pDevice->ColorFill(pSurface.Get(), nullptr, 0x04030201), D3D_OK);
    Locked locked(pSurface.Get());
    for (int y = 0; y < 4; ++y)
    {
        for (int x = 0; x < 8 * 4; ++x)
        {
            ASSERT_EQ(locked.Row(y)[x], x % 4 + 1);
        }
    }
}

TEST_F(D3D9Surface, FillOfARectangleLeavesTheRest)
{
    const auto pSurface = MakeSurface(8, 8);
    const RECT rect = {2, 3, 5, 4};
    EXPECT_EQ(m_pDevice->ColorFill(pSurface.Get(), &rect, 0xFFFFFFFF), D3D_OK);
    Locked locked(pSurface.Get());
    for (int y = 0; y < 8; ++y)
    {
        for (int x = 0; x < 8; ++x)
        {
            const bool bInside = x >= 2 && x < 5 && y == 3;
            for (int i = 0; i < 4; ++i)
            {
                ASSERT_EQ(locked.Row(y)[4 * x + i], bInside ? 0xFF : 0) << x << ',' << y;
            }
        }
    }
}

TEST_F(D3D9Surface, FillOfNv12TakesTheColourAsLumaAndChroma)
{
    const auto pSurface = MakeSurface(6, 4, c_eNv12);
    EXPECT_EQ(m_pDevice->ColorFill(pSurface.Get(), nullptr, 0xFFFF5028), D3D_OK);
    Locked locked(pSurface.Get());
    for (int x = 0; x < 6; ++x)
    {
        for (int y = 0; y < 4; ++y)
        {
            ASSERT_EQ(locked.Row(y)[x], 0xFF);
        }
        for (int y = 4; y < 6; ++y)
        {
            ASSERT_EQ(locked.Row(y)[x], x % 2 ? 0x28 : 0x50);
        }
    }
}

TEST_F(D3D9Surface, FillOfAnNv12RectangleReachesItsChroma)
{
    const auto pSurface = MakeSurface(8, 8, c_eNv12);
    const RECT rect = {2, 4, 6, 6};
    EXPECT_EQ(m_pDevice->ColorFill(pSurface.Get(), &rect, D3DCOLOR_XYUV(1, 2, 3)), D3D_OK);
    Locked locked(pSurface.Get());
    const auto expected = [](int x, int y) {
        if (y < 8)
        {
            return x >= 2 && x < 6 && y >= 4 && y < 6 ? 1 : 0;
        }
        return x >= 2 && x < 6 && y == 8 + 2 ? 2 + x % 2 : 0;
    };
    for (int y = 0; y < 12; ++y)
    {
        for (int x = 0; x < 8; ++x)
        {
            ASSERT_EQ(locked.Row(y)[x], expected(x, y)) << x << ',' << y;
        }
    }
}

TEST_F(D3D9Surface, FillNeedsAnUnlockedSurfaceOfTheDevicesOwn)
{
    const auto pSurface = MakeSurface(8, 8);
    {
        Locked locked(pSurface.Get());
        EXPECT_EQ(m_pDevice->ColorFill(pSurface.Get(), nullptr, 0), D3DERR_INVALIDCALL);
    }
    EXPECT_EQ(m_pDevice->ColorFill(nullptr, nullptr, 0), D3DERR_INVALIDCALL);
    const auto pInMemory = MakeSurface(8, 8, D3DFMT_A8R8G8B8, D3DPOOL_SYSTEMMEM);
    EXPECT_EQ(m_pDevice->ColorFill(pInMemory.Get(), nullptr, 0), D3DERR_INVALIDCALL);

    ComPtr<IDirect3DDevice9> pOther;
    D3DPRESENT_PARAMETERS parameters = PresentParameters();
    ASSERT_EQ(m_pDirect3D->CreateDevice(0, D3DDEVTYPE_HAL, nullptr, D3DCREATE_HARDWARE_VERTEXPROCESSING, &parameters,
                                        pOther.Put()),
              D3D_OK);
    EXPECT_EQ(pOther->ColorFill(pSurface.Get(), nullptr, 0), D3DERR_INVALIDCALL);
}

TEST_F(D3D9Surface, KeepsItsDeviceAlive)
{
    auto pSurface = MakeSurface(8, 8);
    EXPECT_EQ(References(m_pDevice.Get()), 2U);
    IDirect3DDevice9* const pRaw = m_pDevice.Get();
    m_pDevice = nullptr;
    ComPtr<IDirect3DDevice9> pDevice;
    EXPECT_EQ(pSurface->GetDevice(pDevice.Put()), D3D_OK);
    EXPECT_EQ(pDevice.Get(), pRaw);
    EXPECT_EQ(pDevice->TestCooperativeLevel(), D3D_OK);
    pSurface = nullptr;
    EXPECT_EQ(References(pDevice.Get()), 1U);
}

TEST_F(D3D9Surface, IsContainedInItsDevice)
{
    const auto pSurface = MakeSurface(8, 8);
    ComPtr<IDirect3DDevice9> pDevice;
    EXPECT_EQ(pSurface->GetContainer(IID_IDirect3DDevice9, pDevice.PutVoid()), D3D_OK);
    EXPECT_EQ(pDevice.Get(), m_pDevice.Get());
    void* p = nullptr;
    EXPECT_EQ(pSurface->GetContainer(IID_IDirect3DSurface9, &p), E_NOINTERFACE);
    EXPECT_EQ(pSurface->GetContainer(IID_IDirect3DDevice9, nullptr), D3DERR_INVALIDCALL);
    EXPECT_EQ(pSurface->GetDevice(nullptr), D3DERR_INVALIDCALL);
}

TEST_F(D3D9Surface, AnswersForItsInterfaces)
{
    const auto pSurface = MakeSurface(8, 8);
    EXPECT_TRUE(pSurface.As<IDirect3DResource9>());
    EXPECT_TRUE(pSurface.As<IUnknown>());
    EXPECT_FALSE(pSurface.As<IDirect3DDevice9>());
    HDC hdc = nullptr;
    EXPECT_EQ(pSurface->GetDC(&hdc), D3DERR_INVALIDCALL);
    EXPECT_EQ(pSurface->SetPriority(1), 0U);
}

}  // namespace
