// Direct3D 9's records and numbers, as far as surfaces need them.
#pragma once

#include "guiddef.h"
#include "mmsystem.h"
#include "windef.h"
#include "winerror.h"

using D3DCOLOR = DWORD;
#define D3DCOLOR_ARGB(a, r, g, b)                                                                                      \
    (static_cast<D3DCOLOR>((((a)&0xffU) << 24) | (((r)&0xffU) << 16) | (((g)&0xffU) << 8) | ((b)&0xffU)))
#define D3DCOLOR_XRGB(r, g, b) D3DCOLOR_ARGB(0xff, r, g, b)
// A colour to fill a surface of a YUV format with.
#define D3DCOLOR_AYUV(a, y, u, v) D3DCOLOR_ARGB(a, y, u, v)
#define D3DCOLOR_XYUV(y, u, v) D3DCOLOR_ARGB(0xff, y, u, v)

// Formats beyond these are given by their four-character codes, NV12 among them.
enum D3DFORMAT : UINT
{
    D3DFMT_UNKNOWN = 0,
    D3DFMT_R8G8B8 = 20,
    D3DFMT_A8R8G8B8 = 21,  // bytes in memory: B, G, R, A
    D3DFMT_X8R8G8B8 = 22,
    D3DFMT_R5G6B5 = 23,
    D3DFMT_X1R5G5B5 = 24,
    D3DFMT_A1R5G5B5 = 25,
    D3DFMT_A2R10G10B10 = 35,
    D3DFMT_UYVY = MAKEFOURCC('U', 'Y', 'V', 'Y'),
    D3DFMT_YUY2 = MAKEFOURCC('Y', 'U', 'Y', '2'),
    D3DFMT_FORCE_DWORD = 0xffffffff
};

enum D3DDEVTYPE : UINT
{
    D3DDEVTYPE_HAL = 1,
    D3DDEVTYPE_REF = 2,
    D3DDEVTYPE_SW = 3,
    D3DDEVTYPE_NULLREF = 4
};

enum D3DPOOL : UINT
{
    D3DPOOL_DEFAULT = 0,
    D3DPOOL_MANAGED = 1,
    D3DPOOL_SYSTEMMEM = 2,
    D3DPOOL_SCRATCH = 3
};

enum D3DMULTISAMPLE_TYPE : UINT
{
    D3DMULTISAMPLE_NONE = 0
};

enum D3DSWAPEFFECT : UINT
{
    D3DSWAPEFFECT_DISCARD = 1,
    D3DSWAPEFFECT_FLIP = 2,
    D3DSWAPEFFECT_COPY = 3,
    D3DSWAPEFFECT_OVERLAY = 4,
    D3DSWAPEFFECT_FLIPEX = 5
};

enum D3DRESOURCETYPE : UINT
{
    D3DRTYPE_SURFACE = 1
};

#define D3DUSAGE_RENDERTARGET 0x00000001
#define D3DUSAGE_DYNAMIC 0x00000200

#define D3DLOCK_READONLY 0x0010
#define D3DLOCK_NOSYSLOCK 0x0800
#define D3DLOCK_NOOVERWRITE 0x1000
#define D3DLOCK_DISCARD 0x2000
#define D3DLOCK_DONOTWAIT 0x4000
#define D3DLOCK_NO_DIRTY_UPDATE 0x8000

#define D3DPRESENT_BACK_BUFFERS_MAX 3
#define D3DPRESENT_BACK_BUFFERS_MAX_EX 30

struct D3DPRESENT_PARAMETERS
{
    UINT BackBufferWidth;
    UINT BackBufferHeight;
    D3DFORMAT BackBufferFormat;
    UINT BackBufferCount;
    D3DMULTISAMPLE_TYPE MultiSampleType;
    DWORD MultiSampleQuality;
    D3DSWAPEFFECT SwapEffect;
    HWND hDeviceWindow;
    BOOL Windowed;
    BOOL EnableAutoDepthStencil;
    D3DFORMAT AutoDepthStencilFormat;
    DWORD Flags;
    UINT FullScreen_RefreshRateInHz;
    UINT PresentationInterval;
};

struct D3DDEVICE_CREATION_PARAMETERS
{
    UINT AdapterOrdinal;
    D3DDEVTYPE DeviceType;
    HWND hFocusWindow;
    DWORD BehaviorFlags;
};

#define MAX_DEVICE_IDENTIFIER_STRING 512

struct D3DADAPTER_IDENTIFIER9
{
    char Driver[MAX_DEVICE_IDENTIFIER_STRING];
    char Description[MAX_DEVICE_IDENTIFIER_STRING];
    char DeviceName[32];
    LARGE_INTEGER DriverVersion;
    DWORD VendorId;
    DWORD DeviceId;
    DWORD SubSysId;
    DWORD Revision;
    GUID DeviceIdentifier;
    DWORD WHQLLevel;
};

struct D3DSURFACE_DESC
{
    D3DFORMAT Format;
    D3DRESOURCETYPE Type;
    DWORD Usage;
    D3DPOOL Pool;
    D3DMULTISAMPLE_TYPE MultiSampleType;
    DWORD MultiSampleQuality;
    UINT Width;
    UINT Height;
};

// Pitch: bytes from one row to the next. pBits: the first byte of the rectangle.
struct D3DLOCKED_RECT
{
    INT Pitch;
    void* pBits;
};
