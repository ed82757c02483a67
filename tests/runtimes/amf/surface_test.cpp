#include <cstring>

#include "client.h"

namespace
{

// Bytes that tell their row and column.
std::uint8_t Mark(std::uint32_t uiRow, std::uint32_t uiColumn)
{
    return static_cast<std::uint8_t>(uiRow * 7 + uiColumn * 3 + 1);
}

class MappedSurface
{
public:
    explicit MappedSurface(AMFSurface* pSurface) : m_pNative(NativeOf(pSurface))
    {
        EXPECT_EQ(m_pNative->LockRect(&m_locked, nullptr, 0), D3D_OK);
    }
    ~MappedSurface() { EXPECT_EQ(m_pNative->UnlockRect(), D3D_OK); }
    MappedSurface(const MappedSurface&) = delete;
    MappedSurface& operator=(const MappedSurface&) = delete;

    std::uint8_t* Row(std::uint32_t uiRow) const
    {
        return static_cast<std::uint8_t*>(m_locked.pBits) + static_cast<std::ptrdiff_t>(uiRow) * m_locked.Pitch;
    }
    int Pitch() const { return m_locked.Pitch; }

private:
    IDirect3DSurface9* m_pNative;
    D3DLOCKED_RECT m_locked{};
};

void FillWithMarks(AMFSurface* pSurface, std::uint32_t uiRows, std::uint32_t uiColumns)
{
    const MappedSurface mapped(pSurface);
    for (std::uint32_t uiRow = 0; uiRow < uiRows; ++uiRow)
    {
        for (std::uint32_t uiColumn = 0; uiColumn < uiColumns; ++uiColumn)
        {
            mapped.Row(uiRow)[uiColumn] = Mark(uiRow, uiColumn);
        }
    }
}

class ReleaseObserver : public AMFSurfaceObserver
{
public:
    virtual ~ReleaseObserver() = default;
    void OnSurfaceDataRelease(AMFSurface*) override { ++m_nCalls; }

    int m_nCalls = 0;
};

}  // namespace

TEST_F(AmfRuntime, ABgraSurfaceHasOnePlane)
{
    const Held<AMFContext> pContext = MakeDeviceContext();
    {
        const Held<AMFSurface> pSurface = MakeSurface(pContext.Get(), AMF_SURFACE_BGRA, 70, 31);
        EXPECT_EQ(pSurface->GetDataType(), AMF_DATA_SURFACE);
        EXPECT_EQ(pSurface->GetMemoryType(), AMF_MEMORY_DX9);
        EXPECT_EQ(pSurface->GetFormat(), AMF_SURFACE_BGRA);
        ASSERT_EQ(pSurface->GetPlanesCount(), 1u);
        AMFPlane* const pPlane = pSurface->GetPlaneAt(0);
        EXPECT_EQ(pPlane, pSurface->GetPlane(AMF_PLANE_PACKED));
        EXPECT_EQ(pPlane->GetType(), AMF_PLANE_PACKED);
        EXPECT_EQ(pPlane->GetPixelSizeInBytes(), 4);
        EXPECT_EQ(pPlane->GetWidth(), 70);
        EXPECT_EQ(pPlane->GetHeight(), 31);
        EXPECT_EQ(pPlane->GetVPitch(), 31);
        EXPECT_EQ(pSurface->GetPlaneAt(1), nullptr);
        EXPECT_EQ(pSurface->GetPlane(AMF_PLANE_Y), nullptr);
        D3DSURFACE_DESC desc{};
        ASSERT_EQ(NativeOf(pSurface.Get())->GetDesc(&desc), D3D_OK);
        EXPECT_EQ(desc.Format, D3DFMT_A8R8G8B8);
        EXPECT_EQ(desc.Width, 70u);
        const int nPitch = MappedSurface(pSurface.Get()).Pitch();
        EXPECT_EQ(pPlane->GetHPitch(), nPitch);
    }
    EXPECT_EQ(pContext->Terminate(), AMF_OK);
}

TEST_F(AmfRuntime, AnNv12SurfaceHasTwoPlanesOfOneNativeSurface)
{
    const Held<AMFContext> pContext = MakeDeviceContext();
    {
        const Held<AMFSurface> pSurface = MakeSurface(pContext.Get(), AMF_SURFACE_NV12, 70, 30);
        ASSERT_EQ(pSurface->GetPlanesCount(), 2u);
        AMFPlane* const pLuma = pSurface->GetPlaneAt(0);
        AMFPlane* const pChroma = pSurface->GetPlaneAt(1);
        EXPECT_EQ(pLuma, pSurface->GetPlane(AMF_PLANE_Y));
        EXPECT_EQ(pChroma, pSurface->GetPlane(AMF_PLANE_UV));
        EXPECT_EQ(pLuma->GetNative(), pChroma->GetNative());
        EXPECT_EQ(pLuma->GetPixelSizeInBytes(), 1);
        EXPECT_EQ(pChroma->GetPixelSizeInBytes(), 2);
        EXPECT_EQ(pChroma->GetWidth(), 35);
        EXPECT_EQ(pChroma->GetHeight(), 15);
        D3DSURFACE_DESC desc{};
        ASSERT_EQ(NativeOf(pSurface.Get())->GetDesc(&desc), D3D_OK);
        EXPECT_EQ(static_cast<std::uint32_t>(desc.Format), 0x3231564Eu);
        EXPECT_EQ(pSurface->SetCrop(0, 0, 70, 30), AMF_OK);
        EXPECT_EQ(pSurface->SetCrop(0, 0, 70, 28), AMF_NOT_SUPPORTED);
    }
    EXPECT_EQ(pContext->Terminate(), AMF_OK);
}

TEST_F(AmfRuntime, OnlyWhatCanBeIsAllocated)
{
    const Held<AMFContext> pContext = MakeDeviceContext();
    AMFSurface* pSurface = reinterpret_cast<AMFSurface*>(1);
    const auto allocate = [&](AMF_MEMORY_TYPE eMemory, AMF_SURFACE_FORMAT eFormat, amf_int32 nWidth,
                              amf_int32 nHeight) {
        return pContext->AllocSurface(eMemory, eFormat, nWidth, nHeight, &pSurface);
    };
    EXPECT_EQ(allocate(AMF_MEMORY_HOST, AMF_SURFACE_NV12, 16, 16), AMF_NOT_SUPPORTED);
    EXPECT_EQ(allocate(AMF_MEMORY_DX9, AMF_SURFACE_YUY2, 16, 16), AMF_SURFACE_FORMAT_NOT_SUPPORTED);
    EXPECT_EQ(allocate(AMF_MEMORY_DX9, AMF_SURFACE_NV12, 15, 16), AMF_INVALID_ARG);
    EXPECT_EQ(allocate(AMF_MEMORY_DX9, AMF_SURFACE_BGRA, 0, 16), AMF_INVALID_ARG);
    EXPECT_EQ(allocate(AMF_MEMORY_DX9, AMF_SURFACE_BGRA, 16, -1), AMF_INVALID_ARG);
    EXPECT_EQ(allocate(AMF_MEMORY_DX9, AMF_SURFACE_BGRA, 1 << 20, 16), AMF_DIRECTX_FAILED);
    EXPECT_EQ(pSurface, nullptr);
    EXPECT_EQ(pContext->AllocSurface(AMF_MEMORY_DX9, AMF_SURFACE_BGRA, 16, 16, nullptr), AMF_INVALID_POINTER);
    EXPECT_EQ(pContext->Terminate(), AMF_OK);
}

TEST_F(AmfRuntime, ARegionIsCopiedToItsPlaceAndNowhereElse)
{
    const Held<AMFContext> pContext = MakeDeviceContext();
    {
        const Held<AMFSurface> pSource = MakeSurface(pContext.Get(), AMF_SURFACE_NV12, 40, 20);
        const Held<AMFSurface> pTarget = MakeSurface(pContext.Get(), AMF_SURFACE_NV12, 60, 30);
        FillWithMarks(pSource.Get(), 30, 40);
        ASSERT_EQ(pSource->CopySurfaceRegion(pTarget.Get(), 10, 12, 4, 6, 20, 8), AMF_OK);
        const MappedSurface mapped(pTarget.Get());
        for (std::uint32_t uiRow = 0; uiRow < 45; ++uiRow)
        {
            for (std::uint32_t uiColumn = 0; uiColumn < 60; ++uiColumn)
            {
                const bool bColumn = uiColumn >= 10 && uiColumn < 30;
                const bool bLuma = uiRow >= 12 && uiRow < 20;
                // Rows of chroma follow the 30 of luma there, and the 20 of luma in the source.
                const bool bChroma = uiRow >= 36 && uiRow < 40;
                const std::uint32_t uiFrom = bLuma ? uiRow - 6 : uiRow - 36 + 23;
                const int nExpected = bColumn && (bLuma || bChroma) ? Mark(uiFrom, uiColumn - 6) : 0;
                ASSERT_EQ(mapped.Row(uiRow)[uiColumn], nExpected) << uiRow << " " << uiColumn;
            }
        }
    }
    EXPECT_EQ(pContext->Terminate(), AMF_OK);
}

TEST_F(AmfRuntime, ARegionThatDoesNotFitIsRefused)
{
    const Held<AMFContext> pContext = MakeDeviceContext();
    {
        const Held<AMFSurface> pSource = MakeSurface(pContext.Get(), AMF_SURFACE_NV12, 40, 20);
        const Held<AMFSurface> pTarget = MakeSurface(pContext.Get(), AMF_SURFACE_NV12, 40, 20);
        const Held<AMFSurface> pOther = MakeSurface(pContext.Get(), AMF_SURFACE_BGRA, 40, 20);
        const auto copy = [&](AMFSurface* pTo, int nX, int nY, int nWidth, int nHeight) {
            return pSource->CopySurfaceRegion(pTo, nX, nY, 0, 0, nWidth, nHeight);
        };
        EXPECT_EQ(copy(pTarget.Get(), 2, 0, 40, 20), AMF_OUT_OF_RANGE);
        EXPECT_EQ(copy(pTarget.Get(), 0, -2, 40, 20), AMF_OUT_OF_RANGE);
        EXPECT_EQ(copy(pTarget.Get(), 0, 0, 0, 20), AMF_OUT_OF_RANGE);
        EXPECT_EQ(copy(pTarget.Get(), 0x7FFFFFFE, 0, 4, 20), AMF_OUT_OF_RANGE);
        EXPECT_EQ(copy(pTarget.Get(), 1, 0, 2, 2), AMF_OUT_OF_RANGE);
        EXPECT_EQ(copy(pOther.Get(), 0, 0, 40, 20), AMF_INVALID_FORMAT);
        EXPECT_EQ(copy(nullptr, 0, 0, 40, 20), AMF_INVALID_POINTER);
        {
            const MappedSurface mapped(pTarget.Get());
            EXPECT_EQ(copy(pTarget.Get(), 0, 0, 40, 20), AMF_DIRECTX_FAILED);
        }
        EXPECT_EQ(copy(pTarget.Get(), 0, 0, 40, 20), AMF_OK);
    }
    EXPECT_EQ(pContext->Terminate(), AMF_OK);
}

TEST_F(AmfRuntime, ASurfaceLivesAsLongAsItIsHeld)
{
    const Held<AMFContext> pContext = MakeDeviceContext();
    ReleaseObserver observer;
    Held<AMFSurface> pSurface = MakeSurface(pContext.Get(), AMF_SURFACE_BGRA, 16, 16);
    pSurface->AddSurfaceObserver(&observer);
    AMFPlane* const pPlane = pSurface->GetPlaneAt(0);
    EXPECT_EQ(pPlane->Acquire(), 2);
    EXPECT_EQ(pSurface.Release(), 1);
    EXPECT_EQ(m_script.CountObjects().uiSurfaces, 1u);
    EXPECT_EQ(observer.m_nCalls, 0);
    EXPECT_EQ(pPlane->Release(), 0);
    EXPECT_EQ(observer.m_nCalls, 1);
    EXPECT_EQ(m_script.CountObjects().uiSurfaces, 0u);
    EXPECT_EQ(pContext->Terminate(), AMF_OK);
}

TEST_F(AmfRuntime, AContextTakesADeviceOfItsClient)
{
    const Held<AMFContext> pFirst = MakeDeviceContext();
    const Held<AMFContext> pSecond = MakeContext();
    void* const pDevice = pFirst->GetDX9Device();
    EXPECT_EQ(pSecond->InitDX9(pDevice), AMF_OK);
    EXPECT_EQ(pSecond->GetDX9Device(), pDevice);
    {
        const Held<AMFSurface> pSurface = MakeSurface(pSecond.Get(), AMF_SURFACE_BGRA, 16, 16);
        EXPECT_EQ(pFirst->Terminate(), AMF_OK);
        IDirect3DDevice9* pOwner = nullptr;
        ASSERT_EQ(NativeOf(pSurface.Get())->GetDevice(&pOwner), D3D_OK);
        EXPECT_EQ(pOwner, pDevice);
        pOwner->Release();
    }
    EXPECT_EQ(pSecond->Terminate(), AMF_OK);
}

TEST_F(AmfRuntime, ABufferHasTheSizeThatWasAskedFor)
{
    const Held<AMFContext> pContext = MakeContext();
    {
        Held<AMFBuffer> pBuffer;
        ASSERT_EQ(pContext->AllocBuffer(AMF_MEMORY_HOST, 1000, pBuffer.Put()), AMF_OK);
        EXPECT_EQ(pBuffer->GetSize(), 1000u);
        std::memset(pBuffer->GetNative(), 5, 1000);
        EXPECT_EQ(pBuffer->SetSize(10), AMF_OK);
        EXPECT_EQ(pBuffer->GetSize(), 10u);
        EXPECT_EQ(pBuffer->SetSize(1001), AMF_OUT_OF_RANGE);
        AMFBuffer* pNone = nullptr;
        EXPECT_EQ(pContext->AllocBuffer(AMF_MEMORY_DX9, 1000, &pNone), AMF_NOT_SUPPORTED);
    }
    EXPECT_EQ(pContext->Terminate(), AMF_OK);
}
