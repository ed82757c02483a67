// Media Foundation's start-up, media types and the names of formats and attributes.
#pragma once

#include "mfobjects.h"

#define MF_SDK_VERSION 0x2
#define MF_API_VERSION 0x0070
#define MF_VERSION (MF_SDK_VERSION << 16 | MF_API_VERSION)

#define MFSTARTUP_NOSOCKET 0x1
#define MFSTARTUP_LITE (MFSTARTUP_NOSOCKET)
#define MFSTARTUP_FULL 0

// Counted: the platform is up from the first MFStartup to the MFShutdown that matches it.
STDAPI MFStartup(ULONG Version, DWORD dwFlags = MFSTARTUP_FULL);
STDAPI MFShutdown();

STDAPI MFCreateAttributes(IMFAttributes** ppMFAttributes, UINT32 cInitialSize);
STDAPI MFCreateMediaType(IMFMediaType** ppMFType);

struct tagVIDEOINFOHEADER2;
using VIDEOINFOHEADER2 = tagVIDEOINFOHEADER2;
// Sets the attributes of uncompressed video that the header gives. pSubtype may be null: the compression's code is the
// subtype then. The rectangles are not looked at. cbBufSize is the size of the block in bytes, E_INVALIDARG if the
// header doesn't fit into it. MF_E_INVALIDMEDIATYPE without a size.
STDAPI MFInitMediaTypeFromVideoInfoHeader2(IMFMediaType* pMFType, const VIDEOINFOHEADER2* pVIH2, UINT32 cbBufSize,
                                           const GUID* pSubtype = nullptr);

// The content of a new buffer is undefined.
STDAPI MFCreateMemoryBuffer(DWORD cbMaxLength, IMFMediaBuffer** ppBuffer);
STDAPI MFCreateSample(IMFSample** ppIMFSample);

STDAPI MFCreateEventQueue(IMFMediaEventQueue** ppMediaEventQueue);
// pvValue may be null for an empty value. The event has a copy of it.
STDAPI MFCreateMediaEvent(MediaEventType met, REFGUID guidExtendedType, HRESULT hrStatus, const PROPVARIANT* pvValue,
                          IMFMediaEvent** ppEvent);

// UINT32: 1 on the first sample after a gap.
DEFINE_GUID(MFSampleExtension_Discontinuity, 0x9cdf01d9, 0xa0f0, 0x43ba, 0xb0, 0x77, 0xea, 0xa0, 0x6c, 0xbd, 0x72,
            0x8a);
// IUnknown: the token of the request that a stream made the sample for.
DEFINE_GUID(MFSampleExtension_Token, 0x8294da66, 0xf328, 0x4805, 0xb5, 0x51, 0x00, 0xde, 0xb4, 0xc5, 0x7a, 0x61);

enum MF_TOPOSTATUS
{
    MF_TOPOSTATUS_INVALID = 0,
    MF_TOPOSTATUS_READY = 100,
    MF_TOPOSTATUS_STARTED_SOURCE = 200,
    MF_TOPOSTATUS_DYNAMIC_CHANGED = 210,
    MF_TOPOSTATUS_SINK_SWITCHED = 300,
    MF_TOPOSTATUS_ENDED = 400
};

#define MFSESSIONCAP_START 0x00000001
#define MFSESSIONCAP_SEEK 0x00000002
#define MFSESSIONCAP_PAUSE 0x00000004
#define MFSESSIONCAP_RATE_FORWARD 0x00000010
#define MFSESSIONCAP_RATE_REVERSE 0x00000020
#define MFSESSIONCAP_DOES_NOT_USE_NETWORK 0x00000040

DEFINE_GUID(MF_EVENT_TOPOLOGY_STATUS, 0x30c5018d, 0x9a53, 0x454b, 0xad, 0x9e, 0x6d, 0x5f, 0x8f, 0xa7, 0xc4, 0x3b);

// UINT64, in 100 ns, on a source's start event: where a start that named no position has really started.
DEFINE_GUID(MF_EVENT_SOURCE_ACTUAL_START, 0xa8cc55a9, 0x6b31, 0x419f, 0x84, 0x5d, 0xff, 0xb3, 0x51, 0xa2, 0x43, 0x4b);

DEFINE_GUID(MFMediaType_Default, 0x81a412e6, 0x8103, 0x4b06, 0x85, 0x7f, 0x18, 0x62, 0x78, 0x10, 0x24, 0xac);
DEFINE_GUID(MFMediaType_Audio, 0x73647561, 0x0000, 0x0010, 0x80, 0x00, 0x00, 0xaa, 0x00, 0x38, 0x9b, 0x71);
DEFINE_GUID(MFMediaType_Video, 0x73646976, 0x0000, 0x0010, 0x80, 0x00, 0x00, 0xaa, 0x00, 0x38, 0x9b, 0x71);
DEFINE_GUID(MFMediaType_Image, 0x72178c23, 0xe45b, 0x11d5, 0xbc, 0x2a, 0x00, 0xb0, 0xd0, 0xf3, 0xf4, 0xab);
DEFINE_GUID(MFMediaType_Binary, 0x72178c25, 0xe45b, 0x11d5, 0xbc, 0x2a, 0x00, 0xb0, 0xd0, 0xf3, 0xf4, 0xab);
DEFINE_GUID(MFMediaType_Stream, 0xe436eb83, 0x524f, 0x11ce, 0x9f, 0x53, 0x00, 0x20, 0xaf, 0x0b, 0xa7, 0x70);

// A format named by a four-character code or a small number is a GUID of one family.
#define DEFINE_MEDIATYPE_GUID(name, format)                                                                            \
    DEFINE_GUID(name, format, 0x0000, 0x0010, 0x80, 0x00, 0x00, 0xaa, 0x00, 0x38, 0x9b, 0x71)

DEFINE_MEDIATYPE_GUID(MFVideoFormat_Base, 0x00000000);
DEFINE_MEDIATYPE_GUID(MFVideoFormat_RGB24, 20);
DEFINE_MEDIATYPE_GUID(MFVideoFormat_ARGB32, 21);
DEFINE_MEDIATYPE_GUID(MFVideoFormat_RGB32, 22);
DEFINE_MEDIATYPE_GUID(MFVideoFormat_AYUV, 0x56555941);  // 'AYUV'
DEFINE_MEDIATYPE_GUID(MFVideoFormat_YUY2, 0x32595559);  // 'YUY2'
DEFINE_MEDIATYPE_GUID(MFVideoFormat_YVYU, 0x55595659);  // 'YVYU'
DEFINE_MEDIATYPE_GUID(MFVideoFormat_UYVY, 0x59565955);  // 'UYVY'
DEFINE_MEDIATYPE_GUID(MFVideoFormat_NV12, 0x3231564e);  // 'NV12'
DEFINE_MEDIATYPE_GUID(MFVideoFormat_YV12, 0x32315659);  // 'YV12'
DEFINE_MEDIATYPE_GUID(MFVideoFormat_I420, 0x30323449);  // 'I420'
DEFINE_MEDIATYPE_GUID(MFVideoFormat_IYUV, 0x56555949);  // 'IYUV'
DEFINE_MEDIATYPE_GUID(MFVideoFormat_MP4S, 0x5334504d);  // 'MP4S'
DEFINE_MEDIATYPE_GUID(MFVideoFormat_M4S2, 0x3253344d);  // 'M4S2'
DEFINE_MEDIATYPE_GUID(MFVideoFormat_MP4V, 0x5634504d);  // 'MP4V'
DEFINE_MEDIATYPE_GUID(MFVideoFormat_WMV3, 0x33564d57);  // 'WMV3'
DEFINE_MEDIATYPE_GUID(MFVideoFormat_WVC1, 0x31435657);  // 'WVC1'
DEFINE_MEDIATYPE_GUID(MFVideoFormat_MJPG, 0x47504a4d);  // 'MJPG'
DEFINE_MEDIATYPE_GUID(MFVideoFormat_H264, 0x34363248);  // 'H264'
DEFINE_MEDIATYPE_GUID(MFVideoFormat_HEVC, 0x43564548);  // 'HEVC'
DEFINE_MEDIATYPE_GUID(MFVideoFormat_VP80, 0x30385056);  // 'VP80'
DEFINE_MEDIATYPE_GUID(MFVideoFormat_VP90, 0x30395056);  // 'VP90'
DEFINE_MEDIATYPE_GUID(MFVideoFormat_AV1, 0x31305641);   // 'AV01'
DEFINE_GUID(MFVideoFormat_MPEG2, 0xe06d8026, 0xdb46, 0x11cf, 0xb4, 0xd1, 0x00, 0x80, 0x5f, 0x6c, 0xbb, 0xea);

DEFINE_MEDIATYPE_GUID(MFAudioFormat_Base, 0x00000000);
DEFINE_MEDIATYPE_GUID(MFAudioFormat_PCM, 0x0001);
DEFINE_MEDIATYPE_GUID(MFAudioFormat_MP3, 0x0055);
DEFINE_MEDIATYPE_GUID(MFAudioFormat_AAC, 0x1610);

DEFINE_GUID(MF_MT_MAJOR_TYPE, 0x48eba18e, 0xf8c9, 0x4687, 0xbf, 0x11, 0x0a, 0x74, 0xc9, 0xf9, 0x6a, 0x8f);
DEFINE_GUID(MF_MT_SUBTYPE, 0xf7e34c9a, 0x42e8, 0x4714, 0xb7, 0x4b, 0xcb, 0x29, 0xd7, 0x2c, 0x35, 0xe5);
DEFINE_GUID(MF_MT_ALL_SAMPLES_INDEPENDENT, 0xc9173739, 0x5e56, 0x461c, 0xb7, 0x13, 0x46, 0xfb, 0x99, 0x5c, 0xb9, 0x5f);
DEFINE_GUID(MF_MT_FIXED_SIZE_SAMPLES, 0xb8ebefaf, 0xb718, 0x4e04, 0xb0, 0xa9, 0x11, 0x67, 0x75, 0xe3, 0x32, 0x1b);
DEFINE_GUID(MF_MT_COMPRESSED, 0x3afd0cee, 0x18f2, 0x4ba5, 0xa1, 0x10, 0x8b, 0xea, 0x50, 0x2e, 0x1f, 0x92);
DEFINE_GUID(MF_MT_SAMPLE_SIZE, 0xdad3ab78, 0x1990, 0x408b, 0xbc, 0xe2, 0xeb, 0xa6, 0x73, 0xda, 0xcc, 0x10);
// Two 32-bit values in one: width and height, numerator and denominator.
DEFINE_GUID(MF_MT_FRAME_SIZE, 0x1652c33d, 0xd6b2, 0x4012, 0xb8, 0x34, 0x72, 0x03, 0x08, 0x49, 0xa3, 0x7d);
DEFINE_GUID(MF_MT_FRAME_RATE, 0xc459a2e8, 0x3d2c, 0x4e44, 0xb1, 0x32, 0xfe, 0xe5, 0x15, 0x6c, 0x7b, 0xb0);
DEFINE_GUID(MF_MT_PIXEL_ASPECT_RATIO, 0xc6376a1e, 0x8d0a, 0x4027, 0xbe, 0x45, 0x6d, 0x9a, 0x0a, 0xd3, 0x9b, 0xb6);
DEFINE_GUID(MF_MT_INTERLACE_MODE, 0xe2724bb8, 0xe676, 0x4806, 0xb4, 0xb2, 0xa8, 0xd6, 0xef, 0xb4, 0x4c, 0xcd);
DEFINE_GUID(MF_MT_DEFAULT_STRIDE, 0x644b4e48, 0x1e02, 0x4516, 0xb0, 0xeb, 0xc0, 0x1c, 0xa9, 0xd4, 0x9a, 0xc6);
DEFINE_GUID(MF_MT_AVG_BITRATE, 0x20332624, 0xfb0d, 0x4d9e, 0xbd, 0x0d, 0xcb, 0xf6, 0x78, 0x6c, 0x10, 0x2e);
DEFINE_GUID(MF_MT_MPEG2_PROFILE, 0xad76a80b, 0x2d5c, 0x4e0b, 0xb3, 0x75, 0x64, 0xe5, 0x20, 0x13, 0x70, 0x36);
DEFINE_GUID(MF_MT_MPEG2_LEVEL, 0x96f66574, 0x11c5, 0x4015, 0x86, 0x66, 0xbf, 0xf5, 0x16, 0x43, 0x6d, 0xa7);
DEFINE_GUID(MF_MT_MPEG2_FLAGS, 0x31e3991d, 0xf701, 0x4b2f, 0xb4, 0x26, 0x8a, 0xe3, 0xbd, 0xa9, 0xe0, 0x4b);
DEFINE_GUID(MF_MT_MPEG_SEQUENCE_HEADER, 0x3c036de7, 0x3ad0, 0x4c9e, 0x92, 0x16, 0xee, 0x6d, 0x6a, 0xc2, 0x1c, 0xb3);
DEFINE_GUID(MF_MT_USER_DATA, 0xb6bc765f, 0x4c3b, 0x40a4, 0xbd, 0x51, 0x25, 0x35, 0xb6, 0x6f, 0xe0, 0x9d);
DEFINE_GUID(MF_MT_AUDIO_NUM_CHANNELS, 0x37e48bf5, 0x645e, 0x4c5b, 0x89, 0xde, 0xad, 0xa9, 0xe2, 0x9b, 0x69, 0x6a);
DEFINE_GUID(MF_MT_AUDIO_SAMPLES_PER_SECOND, 0x5faeeae7, 0x0290, 0x4c31, 0x9e, 0x8a, 0xc5, 0x34, 0xf6, 0x8d, 0x9d, 0xba);

// For GetRepresentation: an AM_MEDIA_TYPE.
DEFINE_GUID(AM_MEDIA_TYPE_REPRESENTATION, 0xe2e42ad2, 0x132c, 0x491e, 0xa2, 0x68, 0x3c, 0x7c, 0x2d, 0xca, 0x18, 0x1f);

enum MFVideoInterlaceMode
{
    MFVideoInterlace_Unknown = 0,
    MFVideoInterlace_Progressive = 2,
    MFVideoInterlace_FieldInterleavedUpperFirst = 3,
    MFVideoInterlace_FieldInterleavedLowerFirst = 4,
    MFVideoInterlace_FieldSingleUpper = 5,
    MFVideoInterlace_FieldSingleLower = 6,
    MFVideoInterlace_MixedInterlaceOrProgressive = 7
};

inline UINT32 HI32(UINT64 unPacked)
{
    return static_cast<UINT32>(unPacked >> 32);
}
inline UINT32 LO32(UINT64 unPacked)
{
    return static_cast<UINT32>(unPacked);
}
inline UINT64 Pack2UINT32AsUINT64(UINT32 unHigh, UINT32 unLow)
{
    return (UINT64{unHigh} << 32) | unLow;
}
inline HRESULT MFSetAttribute2UINT32asUINT64(IMFAttributes* pAttributes, REFGUID guidKey, UINT32 unHigh, UINT32 unLow)
{
    return pAttributes->SetUINT64(guidKey, Pack2UINT32AsUINT64(unHigh, unLow));
}
inline HRESULT MFGetAttribute2UINT32asUINT64(IMFAttributes* pAttributes, REFGUID guidKey, UINT32* punHigh,
                                             UINT32* punLow)
{
    UINT64 unPacked = 0;
    const HRESULT hr = pAttributes->GetUINT64(guidKey, &unPacked);
    if (SUCCEEDED(hr))
    {
        *punHigh = HI32(unPacked);
        *punLow = LO32(unPacked);
    }
    return hr;
}
inline HRESULT MFSetAttributeSize(IMFAttributes* pAttributes, REFGUID guidKey, UINT32 unWidth, UINT32 unHeight)
{
    return MFSetAttribute2UINT32asUINT64(pAttributes, guidKey, unWidth, unHeight);
}
inline HRESULT MFGetAttributeSize(IMFAttributes* pAttributes, REFGUID guidKey, UINT32* punWidth, UINT32* punHeight)
{
    return MFGetAttribute2UINT32asUINT64(pAttributes, guidKey, punWidth, punHeight);
}
inline HRESULT MFSetAttributeRatio(IMFAttributes* pAttributes, REFGUID guidKey, UINT32 unNumerator,
                                   UINT32 unDenominator)
{
    return MFSetAttribute2UINT32asUINT64(pAttributes, guidKey, unNumerator, unDenominator);
}
inline HRESULT MFGetAttributeRatio(IMFAttributes* pAttributes, REFGUID guidKey, UINT32* punNumerator,
                                   UINT32* punDenominator)
{
    return MFGetAttribute2UINT32asUINT64(pAttributes, guidKey, punNumerator, punDenominator);
}

// UINT32: 1 on a sample with which decoding can begin.
DEFINE_GUID(MFSampleExtension_CleanPoint, 0x9cdf01d8, 0xa0f0, 0x43ba, 0xb0, 0x77, 0xea, 0xa0, 0x6c, 0xbd, 0x72, 0x8a);

// A file as a byte stream. The path is that of a file: no other scheme is served.
STDAPI MFCreateFile(MF_FILE_ACCESSMODE AccessMode, MF_FILE_OPENMODE OpenMode, MF_FILE_FLAGS fFlags, LPCWSTR pwszFileURL,
                    IMFByteStream** ppIByteStream);

DEFINE_GUID(MFT_CATEGORY_VIDEO_ENCODER, 0xf79eac7d, 0xe545, 0x4387, 0xbd, 0xee, 0xd6, 0x47, 0xd7, 0xbd, 0xe4, 0x2a);

enum _MFT_ENUM_FLAG
{
    MFT_ENUM_FLAG_SYNCMFT = 0x00000001,
    MFT_ENUM_FLAG_ASYNCMFT = 0x00000002,
    MFT_ENUM_FLAG_HARDWARE = 0x00000004,
    MFT_ENUM_FLAG_FIELDOFUSE = 0x00000008,
    MFT_ENUM_FLAG_LOCALMFT = 0x00000010,
    MFT_ENUM_FLAG_TRANSCODE_ONLY = 0x00000020,
    MFT_ENUM_FLAG_SORTANDFILTER = 0x00000040,
    MFT_ENUM_FLAG_ALL = 0x0000003F
};

// The transforms that take pInputType and give pOutputType, where null means any, as objects that make them. The array
// is the caller's: every entry is released, and the array freed with CoTaskMemFree. No match is S_OK with a count of 0
// and no array.
STDAPI MFTEnumEx(GUID guidCategory, UINT32 Flags, const MFT_REGISTER_TYPE_INFO* pInputType,
                 const MFT_REGISTER_TYPE_INFO* pOutputType, IMFActivate*** pppMFTActivate, UINT32* pnumMFTActivate);
