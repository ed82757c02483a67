// Compiled against the platform's headers here and against Windows' in the Windows build: what holds in both is true.
#include <windows.h>

#include <initguid.h>

#include <d3d9.h>
#include <dxva2api.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace
{

constexpr HRESULT Hr(unsigned uiBits)
{
    return static_cast<HRESULT>(uiBits);
}

static_assert(D3D_SDK_VERSION == 32 && D3DADAPTER_DEFAULT == 0 && D3D_OK == 0);
static_assert(D3DERR_INVALIDCALL == Hr(0x8876086C) && D3DERR_NOTAVAILABLE == Hr(0x8876086A));
static_assert(D3DERR_OUTOFVIDEOMEMORY == Hr(0x8876017C) && D3DERR_NOTFOUND == Hr(0x88760866));
static_assert(D3DERR_DEVICELOST == Hr(0x88760868) && D3DERR_INVALIDDEVICE == Hr(0x8876086B));
static_assert(D3DERR_DEVICEREMOVED == Hr(0x88760870));
static_assert(D3DFMT_UNKNOWN == 0 && D3DFMT_R8G8B8 == 20 && D3DFMT_A8R8G8B8 == 21 && D3DFMT_X8R8G8B8 == 22);
static_assert(D3DFMT_R5G6B5 == 23 && D3DFMT_X1R5G5B5 == 24 && D3DFMT_A1R5G5B5 == 25 && D3DFMT_A2R10G10B10 == 35);
static_assert(D3DFMT_UYVY == 0x59565955 && D3DFMT_YUY2 == 0x32595559);
static_assert(D3DDEVTYPE_HAL == 1 && D3DDEVTYPE_REF == 2 && D3DDEVTYPE_SW == 3 && D3DDEVTYPE_NULLREF == 4);
static_assert(D3DPOOL_DEFAULT == 0 && D3DPOOL_MANAGED == 1 && D3DPOOL_SYSTEMMEM == 2 && D3DPOOL_SCRATCH == 3);
static_assert(D3DSWAPEFFECT_DISCARD == 1 && D3DSWAPEFFECT_FLIP == 2 && D3DSWAPEFFECT_COPY == 3);
static_assert(D3DSWAPEFFECT_OVERLAY == 4 && D3DSWAPEFFECT_FLIPEX == 5 && D3DMULTISAMPLE_NONE == 0);
static_assert(D3DRTYPE_SURFACE == 1 && D3DUSAGE_RENDERTARGET == 1 && D3DUSAGE_DYNAMIC == 0x200);
static_assert(D3DLOCK_READONLY == 0x10 && D3DLOCK_NOSYSLOCK == 0x800 && D3DLOCK_NOOVERWRITE == 0x1000);
static_assert(D3DLOCK_DISCARD == 0x2000 && D3DLOCK_DONOTWAIT == 0x4000 && D3DLOCK_NO_DIRTY_UPDATE == 0x8000);
static_assert(D3DCREATE_FPU_PRESERVE == 2 && D3DCREATE_MULTITHREADED == 4 && D3DCREATE_PUREDEVICE == 0x10);
static_assert(D3DCREATE_SOFTWARE_VERTEXPROCESSING == 0x20 && D3DCREATE_HARDWARE_VERTEXPROCESSING == 0x40);
static_assert(D3DCREATE_MIXED_VERTEXPROCESSING == 0x80);
static_assert(D3DPRESENT_INTERVAL_DEFAULT == 0 && D3DPRESENT_INTERVAL_ONE == 1 && D3DPRESENT_INTERVAL_TWO == 2);
static_assert(D3DPRESENT_INTERVAL_THREE == 4 && D3DPRESENT_INTERVAL_FOUR == 8);
static_assert(D3DPRESENT_INTERVAL_IMMEDIATE == 0x80000000);
static_assert(D3DPRESENT_BACK_BUFFERS_MAX == 3 && D3DPRESENT_BACK_BUFFERS_MAX_EX == 30);
static_assert(DXVA2_VideoDecoderRenderTarget == 0 && DXVA2_VideoProcessorRenderTarget == 1);
static_assert(DXVA2_VideoSoftwareRenderTarget == 2 && MAX_DEVICE_IDENTIFIER_STRING == 512);
static_assert(D3DCOLOR_XYUV(0xFF, 0x50, 0x28) == 0xFFFF5028 && D3DCOLOR_ARGB(1, 2, 3, 4) == 0x01020304);
static_assert(D3DCOLOR_AYUV(1, 2, 3, 4) == 0x01020304 && D3DCOLOR_XRGB(2, 3, 4) == 0xFF020304);

static_assert(sizeof(D3DFORMAT) == 4 && sizeof(D3DPOOL) == 4 && sizeof(D3DDEVTYPE) == 4);
static_assert(sizeof(D3DPRESENT_PARAMETERS) == 64 && offsetof(D3DPRESENT_PARAMETERS, hDeviceWindow) == 32);
static_assert(offsetof(D3DPRESENT_PARAMETERS, SwapEffect) == 24 && offsetof(D3DPRESENT_PARAMETERS, Windowed) == 40);
static_assert(offsetof(D3DPRESENT_PARAMETERS, PresentationInterval) == 60);
static_assert(sizeof(D3DLOCKED_RECT) == 16 && offsetof(D3DLOCKED_RECT, pBits) == 8);
static_assert(sizeof(D3DSURFACE_DESC) == 32 && offsetof(D3DSURFACE_DESC, Height) == 28);
static_assert(sizeof(D3DDEVICE_CREATION_PARAMETERS) == 24);
static_assert(sizeof(D3DADAPTER_IDENTIFIER9) == 1104 && offsetof(D3DADAPTER_IDENTIFIER9, DriverVersion) == 1056);

std::string Text(REFGUID guid)
{
    char sz[64];
    std::snprintf(sz, sizeof(sz), "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", static_cast<unsigned>(guid.Data1),
                  guid.Data2, guid.Data3, guid.Data4[0], guid.Data4[1], guid.Data4[2], guid.Data4[3], guid.Data4[4],
                  guid.Data4[5], guid.Data4[6], guid.Data4[7]);
    return sz;
}

TEST(D3D9Constants, InterfacesHaveThePublicGuids)
{
    EXPECT_EQ(Text(IID_IDirect3D9), "81bdcbca-64d4-426d-ae8d-ad0147f4275c");
    EXPECT_EQ(Text(IID_IDirect3D9Ex), "02177241-69fc-400c-8ff1-93a44df6861d");
    EXPECT_EQ(Text(IID_IDirect3DDevice9), "d0223b96-bf7a-43fd-92bd-a43b0d82b9eb");
    EXPECT_EQ(Text(IID_IDirect3DResource9), "05eec05d-8f7d-4362-b999-d1baf357c704");
    EXPECT_EQ(Text(IID_IDirect3DSurface9), "0cfbaf3a-9ff6-429a-99b3-a2796af8b89b");
    EXPECT_EQ(Text(IID_IDirectXVideoAccelerationService), "fc51a550-d5e7-11d9-af55-00054e43ff02");
    EXPECT_EQ(Text(IID_IDirectXVideoProcessorService), "fc51a552-d5e7-11d9-af55-00054e43ff02");
}

}  // namespace
