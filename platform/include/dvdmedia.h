// The format blocks of video streams that AM_MEDIA_TYPE points to.
#pragma once

#include <cstddef>

#include "strmif.h"
#include "windows.h"

#define AMCONTROL_USED 0x00000001

#define AMINTERLACE_IsInterlaced 0x0001
#define AMINTERLACE_1FieldPerSample 0x0002
#define AMINTERLACE_Field1First 0x0004

// FORMAT_VideoInfo2
struct tagVIDEOINFOHEADER2
{
    RECT rcSource;
    RECT rcTarget;
    DWORD dwBitRate;
    DWORD dwBitErrorRate;
    REFERENCE_TIME AvgTimePerFrame;  // in 100 ns
    DWORD dwInterlaceFlags;
    DWORD dwCopyProtectFlags;
    DWORD dwPictAspectRatioX;
    DWORD dwPictAspectRatioY;
    DWORD dwControlFlags;
    DWORD dwReserved2;
    BITMAPINFOHEADER bmiHeader;
};
using VIDEOINFOHEADER2 = tagVIDEOINFOHEADER2;

// FORMAT_MPEG2_VIDEO: MPEG-2 and H.264
struct tagMPEG2VIDEOINFO
{
    VIDEOINFOHEADER2 hdr;
    DWORD dwStartTimeCode;
    DWORD cbSequenceHeader;
    DWORD dwProfile;  // H.264: profile_idc
    DWORD dwLevel;
    DWORD dwFlags;
    DWORD dwSequenceHeader[1];
};
using MPEG2VIDEOINFO = tagMPEG2VIDEOINFO;

// Readers of these blocks find the picture's size and the profile at fixed places, whichever of the two it is.
static_assert(offsetof(MPEG2VIDEOINFO, hdr) + offsetof(VIDEOINFOHEADER2, bmiHeader) +
                  offsetof(BITMAPINFOHEADER, biWidth) ==
              76);
static_assert(offsetof(MPEG2VIDEOINFO, hdr) + offsetof(VIDEOINFOHEADER2, bmiHeader) +
                  offsetof(BITMAPINFOHEADER, biHeight) ==
              80);
static_assert(offsetof(MPEG2VIDEOINFO, dwProfile) == 120);
static_assert(sizeof(VIDEOINFOHEADER2) == 112);
