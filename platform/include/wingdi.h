// The head of a device-independent bitmap, which media formats carry.
#pragma once

#include "windef.h"

#define BI_RGB 0
#define BI_BITFIELDS 3

struct tagBITMAPINFOHEADER
{
    DWORD biSize;
    LONG biWidth;
    LONG biHeight;
    WORD biPlanes;
    WORD biBitCount;
    DWORD biCompression;
    DWORD biSizeImage;
    LONG biXPelsPerMeter;
    LONG biYPelsPerMeter;
    DWORD biClrUsed;
    DWORD biClrImportant;
};
using BITMAPINFOHEADER = tagBITMAPINFOHEADER;
using PBITMAPINFOHEADER = BITMAPINFOHEADER*;
using LPBITMAPINFOHEADER = BITMAPINFOHEADER*;
