#include "platform/mediafoundation/representation.h"

#include <cstring>
#include <vector>

#include "dvdmedia.h"
#include "mfapi.h"
#include "mferror.h"
#include "objbase.h"
#include "uuids.h"

namespace mediafoundation
{
namespace
{

constexpr LONGLONG HUNDRED_NANOSECONDS = 10000000;  // per second
constexpr WORD COMPRESSED_BIT_COUNT = 24;

GUID GuidOf(IMFMediaType* pType, REFGUID key)
{
    GUID value = GUID_NULL;
    (void)pType->GetGUID(key, &value);
    return value;
}

UINT32 NumberOf(IMFMediaType* pType, REFGUID key)
{
    UINT32 unValue = 0;
    (void)pType->GetUINT32(key, &unValue);
    return unValue;
}

void FillHeader(IMFMediaType* pType, const GUID& subtype, VIDEOINFOHEADER2& header)
{
    UINT32 unWidth = 0;
    UINT32 unHeight = 0;
    (void)MFGetAttributeSize(pType, MF_MT_FRAME_SIZE, &unWidth, &unHeight);
    header.rcSource.right = static_cast<LONG>(unWidth);
    header.rcSource.bottom = static_cast<LONG>(unHeight);
    header.rcTarget = header.rcSource;
    header.dwBitRate = NumberOf(pType, MF_MT_AVG_BITRATE);

    UINT32 unNumerator = 0;
    UINT32 unDenominator = 0;
    (void)MFGetAttributeRatio(pType, MF_MT_FRAME_RATE, &unNumerator, &unDenominator);
    if (unNumerator > 0)
    {
        header.AvgTimePerFrame = HUNDRED_NANOSECONDS * unDenominator / unNumerator;
    }
    UINT32 unAspectX = 1;
    UINT32 unAspectY = 1;
    (void)MFGetAttributeRatio(pType, MF_MT_PIXEL_ASPECT_RATIO, &unAspectX, &unAspectY);
    header.dwPictAspectRatioX = unWidth * unAspectX;
    header.dwPictAspectRatioY = unHeight * unAspectY;

    header.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    header.bmiHeader.biWidth = static_cast<LONG>(unWidth);
    header.bmiHeader.biHeight = static_cast<LONG>(unHeight);
    header.bmiHeader.biPlanes = 1;
    header.bmiHeader.biBitCount = COMPRESSED_BIT_COUNT;
    header.bmiHeader.biCompression = subtype.Data1;
}

// The whole format block in memory of the caller's, at least as long as an MPEG2VIDEOINFO.
HRESULT MakeFormatBlock(IMFMediaType* pType, const GUID& subtype, AM_MEDIA_TYPE& type)
{
    const bool bMpeg2 = subtype == MFVideoFormat_H264 || subtype == MFVideoFormat_MPEG2;
    std::vector<UINT8> sequenceHeader;
    UINT32 cbSequenceHeader = 0;
    if (bMpeg2 && SUCCEEDED(pType->GetBlobSize(MF_MT_MPEG_SEQUENCE_HEADER, &cbSequenceHeader)))
    {
        sequenceHeader.resize(cbSequenceHeader);
        const HRESULT hr =
            pType->GetBlob(MF_MT_MPEG_SEQUENCE_HEADER, sequenceHeader.data(), cbSequenceHeader, &cbSequenceHeader);
        if (FAILED(hr)) return hr;
    }
    const std::size_t uiBlock = sizeof(MPEG2VIDEOINFO) + sequenceHeader.size();
    auto* pBlock = static_cast<BYTE*>(CoTaskMemAlloc(uiBlock));
    if (pBlock == nullptr) return E_OUTOFMEMORY;
    std::memset(pBlock, 0, uiBlock);

    MPEG2VIDEOINFO info = {};
    FillHeader(pType, subtype, info.hdr);
    if (bMpeg2)
    {
        info.cbSequenceHeader = cbSequenceHeader;
        info.dwProfile = NumberOf(pType, MF_MT_MPEG2_PROFILE);
        info.dwLevel = NumberOf(pType, MF_MT_MPEG2_LEVEL);
        info.dwFlags = NumberOf(pType, MF_MT_MPEG2_FLAGS);
    }
    std::memcpy(pBlock, &info, sizeof(info));
    if (!sequenceHeader.empty())
    {
        std::memcpy(pBlock + offsetof(MPEG2VIDEOINFO, dwSequenceHeader), sequenceHeader.data(), sequenceHeader.size());
    }
    type.formattype = bMpeg2 ? FORMAT_MPEG2_VIDEO : FORMAT_VideoInfo2;
    type.cbFormat = static_cast<ULONG>(bMpeg2 ? uiBlock : sizeof(VIDEOINFOHEADER2));
    type.pbFormat = pBlock;
    return S_OK;
}

}  // namespace

HRESULT MakeRepresentation(IMFMediaType* pType, AM_MEDIA_TYPE** ppRepresentation)
{
    AM_MEDIA_TYPE type = {};
    type.majortype = GuidOf(pType, MF_MT_MAJOR_TYPE);
    type.subtype = GuidOf(pType, MF_MT_SUBTYPE);
    type.formattype = FORMAT_None;
    type.bTemporalCompression = NumberOf(pType, MF_MT_ALL_SAMPLES_INDEPENDENT) != 0 ? FALSE : TRUE;
    type.bFixedSizeSamples = NumberOf(pType, MF_MT_FIXED_SIZE_SAMPLES) != 0 ? TRUE : FALSE;
    type.lSampleSize = NumberOf(pType, MF_MT_SAMPLE_SIZE);
    if (type.majortype == GUID_NULL) return MF_E_INVALIDMEDIATYPE;
    if (type.majortype == MFMediaType_Video)
    {
        const HRESULT hr = MakeFormatBlock(pType, type.subtype, type);
        if (FAILED(hr)) return hr;
    }
    auto* pRepresentation = static_cast<AM_MEDIA_TYPE*>(CoTaskMemAlloc(sizeof(AM_MEDIA_TYPE)));
    if (pRepresentation == nullptr)
    {
        CoTaskMemFree(type.pbFormat);
        return E_OUTOFMEMORY;
    }
    *pRepresentation = type;
    *ppRepresentation = pRepresentation;
    return S_OK;
}

void FreeRepresentation(AM_MEDIA_TYPE* pRepresentation)
{
    if (pRepresentation == nullptr) return;
    if (pRepresentation->pUnk != nullptr) pRepresentation->pUnk->Release();
    CoTaskMemFree(pRepresentation->pbFormat);
    CoTaskMemFree(pRepresentation);
}

}  // namespace mediafoundation
