#include "mp4filesimpl/streamformat.h"

#include <cstddef>

#include <mfapi.h>
#include <uuids.h>

#include "common/saferelease.h"

namespace
{

constexpr DWORD PROFILE_EXTENDED = 88;

constexpr std::uint32_t COMPONENTS = 3;
constexpr std::uint32_t BITS = 8;
// Wider rows would have more bits than 32-bit arithmetic holds.
constexpr std::uint32_t MOST_WIDTH = 0xFFFFFFFF / (COMPONENTS * BITS);

// The first byte after what is read of a block.
constexpr std::size_t PICTURE_SIZE_END =
    offsetof(VIDEOINFOHEADER2, bmiHeader) + offsetof(BITMAPINFOHEADER, biHeight) + 4;
constexpr std::size_t PROFILE_END = offsetof(MPEG2VIDEOINFO, dwProfile) + 4;
static_assert(PICTURE_SIZE_END == 84 && PROFILE_END == 124);

bool IsMpeg4Part2(REFGUID guidSubtype)
{
    return guidSubtype == MFVideoFormat_MP4S || guidSubtype == MFVideoFormat_M4S2 || guidSubtype == MFVideoFormat_MP4V;
}

}  // namespace

HRESULT FindStream(IMFPresentationDescriptor* pPresentation, REFGUID guidMajorType, IMFStreamDescriptor** ppDescriptor,
                   IMFMediaTypeHandler** ppHandler)
{
    *ppDescriptor = nullptr;
    *ppHandler = nullptr;
    DWORD dwCount = 0;
    HRESULT hr = pPresentation->GetStreamDescriptorCount(&dwCount);
    for (DWORD i = 0; SUCCEEDED(hr) && i < dwCount; ++i)
    {
        BOOL bSelected = FALSE;
        GUID guidStream = GUID_NULL;
        hr = pPresentation->GetStreamDescriptorByIndex(i, &bSelected, ppDescriptor);
        if (SUCCEEDED(hr)) hr = (*ppDescriptor)->GetMediaTypeHandler(ppHandler);
        if (SUCCEEDED(hr)) hr = (*ppHandler)->GetMajorType(&guidStream);
        if (SUCCEEDED(hr) && bSelected && guidStream == guidMajorType) return S_OK;

        if (SUCCEEDED(hr)) hr = pPresentation->DeselectStream(i);
        SafeRelease(ppHandler);
        SafeRelease(ppDescriptor);
    }
    return FAILED(hr) ? hr : S_FALSE;
}

HRESULT TakeRepresentation(IMFMediaTypeHandler* pHandler, DWORD dwIndex, AM_MEDIA_TYPE** ppFormat)
{
    *ppFormat = nullptr;
    IMFMediaType* pType = nullptr;
    HRESULT hr = pHandler->GetMediaTypeByIndex(dwIndex, &pType);
    if (SUCCEEDED(hr))
    {
        hr = pType->GetRepresentation(AM_MEDIA_TYPE_REPRESENTATION, reinterpret_cast<void**>(ppFormat));
    }
    SafeRelease(&pType);
    return hr;
}

HRESULT FindFormatBlock(IMFMediaTypeHandler* pHandler, const MPEG2VIDEOINFO** ppMpeg2,
                        const VIDEOINFOHEADER2** ppVideoInfo2)
{
    DWORD dwCount = 0;
    HRESULT hr = pHandler->GetMediaTypeCount(&dwCount);
    for (DWORD i = 0; SUCCEEDED(hr) && i < dwCount; ++i)
    {
        AM_MEDIA_TYPE* pFormat = nullptr;
        hr = TakeRepresentation(pHandler, i, &pFormat);
        if (FAILED(hr) || pFormat->majortype != MFMediaType_Video) continue;
        if (pFormat->pbFormat == nullptr || pFormat->cbFormat < PICTURE_SIZE_END) continue;
        if (pFormat->formattype == FORMAT_MPEG2_VIDEO)
        {
            *ppMpeg2 = reinterpret_cast<const MPEG2VIDEOINFO*>(pFormat->pbFormat);
            break;
        }
        if (pFormat->formattype == FORMAT_VideoInfo2)
        {
            *ppVideoInfo2 = reinterpret_cast<const VIDEOINFOHEADER2*>(pFormat->pbFormat);
            break;
        }
    }
    return hr;
}

bool FillPictureShape(const VIDEOINFOHEADER2& format, SQmImageAttributes* pAttributes)
{
    const std::uint32_t uiWidth = static_cast<std::uint32_t>(format.bmiHeader.biWidth);
    if (uiWidth > MOST_WIDTH) return false;
    // Rows of a bottom-up source have a negative height. Its absolute value in 32 bits exists for every one.
    const std::uint32_t uiHeight = static_cast<std::uint32_t>(format.bmiHeader.biHeight);
    pAttributes->m_uiWidth = uiWidth;
    pAttributes->m_uiHeight = format.bmiHeader.biHeight < 0 ? 0 - uiHeight : uiHeight;
    pAttributes->m_uiWidthBytes = ((uiWidth * (COMPONENTS * BITS) / 8 - 1) & ~3U) + 4;
    pAttributes->m_uiComponents = COMPONENTS;
    pAttributes->m_uiBitsInMemory = BITS;
    pAttributes->m_uiBitsSignificant = BITS;
    pAttributes->m_uiReservedAttr = 0;
    pAttributes->m_uiTileWidth = 0;
    pAttributes->m_uiTileHeight = 0;
    pAttributes->m_uiCompression = 1;
    pAttributes->m_dCompressionParam = 1.0;
    return true;
}

const GUID& ChooseRawSubtype(const AM_MEDIA_TYPE& format)
{
    if (IsMpeg4Part2(format.subtype)) return MFVideoFormat_NV12;
    if (format.pbFormat == nullptr || format.cbFormat < PROFILE_END) return MFVideoFormat_NV12;
    const auto* pBlock = reinterpret_cast<const MPEG2VIDEOINFO*>(format.pbFormat);
    return pBlock->dwProfile > PROFILE_EXTENDED ? MFVideoFormat_YUY2 : MFVideoFormat_NV12;
}

HRESULT ChooseOutputType(IMFMediaSource* pSource, IMFMediaType* pMediaType)
{
    IMFPresentationDescriptor* pPresentation = nullptr;
    IMFStreamDescriptor* pDescriptor = nullptr;
    IMFMediaTypeHandler* pHandler = nullptr;
    DWORD dwCount = 0;
    HRESULT hr = pSource->CreatePresentationDescriptor(&pPresentation);
    if (SUCCEEDED(hr)) hr = FindStream(pPresentation, MFMediaType_Video, &pDescriptor, &pHandler);
    if (hr == S_OK) hr = pHandler->GetMediaTypeCount(&dwCount);

    for (DWORD i = 0; SUCCEEDED(hr) && i < dwCount; ++i)
    {
        AM_MEDIA_TYPE* pFormat = nullptr;
        hr = TakeRepresentation(pHandler, i, &pFormat);
        if (FAILED(hr) || pFormat->majortype != MFMediaType_Video) continue;
        hr = pMediaType->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
        if (SUCCEEDED(hr)) hr = pMediaType->SetGUID(MF_MT_SUBTYPE, ChooseRawSubtype(*pFormat));
    }

    SafeRelease(&pHandler);
    SafeRelease(&pDescriptor);
    SafeRelease(&pPresentation);
    return hr;
}
