// From the older description of a video stream to a media type.
#include <cstdint>
#include <cstdlib>
#include <numeric>

#include "dvdmedia.h"
#include "mfapi.h"
#include "mferror.h"

namespace mediafoundation
{
namespace
{

constexpr std::uint64_t HUNDRED_NANOSECONDS = 10000000;  // per second
constexpr WORD BITS_OF_YUY2 = 16;

// The ratio in lowest terms. Nothing is set for one without a value, or whose terms need more than 32 bits.
HRESULT SetRatio(IMFMediaType* pType, REFGUID guidKey, std::uint64_t uiNumerator, std::uint64_t uiDenominator)
{
    if (uiNumerator == 0 || uiDenominator == 0) return S_OK;
    const std::uint64_t uiDivisor = std::gcd(uiNumerator, uiDenominator);
    uiNumerator /= uiDivisor;
    uiDenominator /= uiDivisor;
    if (uiNumerator > UINT32_MAX || uiDenominator > UINT32_MAX) return S_OK;
    return MFSetAttributeRatio(pType, guidKey, static_cast<UINT32>(uiNumerator), static_cast<UINT32>(uiDenominator));
}

GUID SubtypeOf(const VIDEOINFOHEADER2& header, const GUID* pSubtype)
{
    if (pSubtype != nullptr) return *pSubtype;
    GUID subtype = MFVideoFormat_Base;
    subtype.Data1 = header.bmiHeader.biCompression;
    return subtype;
}

}  // namespace
}  // namespace mediafoundation

STDAPI MFInitMediaTypeFromVideoInfoHeader2(IMFMediaType* pMFType, const VIDEOINFOHEADER2* pVIH2, UINT32 cbBufSize,
                                           const GUID* pSubtype)
{
    using namespace mediafoundation;
    if (pMFType == nullptr || pVIH2 == nullptr) return E_POINTER;
    if (cbBufSize < sizeof(VIDEOINFOHEADER2)) return E_INVALIDARG;
    const BITMAPINFOHEADER& bitmap = pVIH2->bmiHeader;
    // A negative height stands for rows from top to bottom, which these formats have anyway.
    const auto unHeight = static_cast<UINT32>(std::llabs(bitmap.biHeight));
    if (bitmap.biWidth <= 0 || unHeight == 0) return MF_E_INVALIDMEDIATYPE;
    const auto unWidth = static_cast<UINT32>(bitmap.biWidth);

    HRESULT hr = pMFType->DeleteAllItems();
    if (SUCCEEDED(hr)) hr = pMFType->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    if (SUCCEEDED(hr)) hr = pMFType->SetGUID(MF_MT_SUBTYPE, SubtypeOf(*pVIH2, pSubtype));
    if (SUCCEEDED(hr)) hr = MFSetAttributeSize(pMFType, MF_MT_FRAME_SIZE, unWidth, unHeight);
    if (SUCCEEDED(hr) && pVIH2->AvgTimePerFrame > 0)
    {
        hr = SetRatio(pMFType, MF_MT_FRAME_RATE, HUNDRED_NANOSECONDS,
                      static_cast<std::uint64_t>(pVIH2->AvgTimePerFrame));
    }
    // The header has the shape of the whole picture, the type that of one pixel.
    if (SUCCEEDED(hr))
    {
        hr = SetRatio(pMFType, MF_MT_PIXEL_ASPECT_RATIO, std::uint64_t{pVIH2->dwPictAspectRatioX} * unHeight,
                      std::uint64_t{pVIH2->dwPictAspectRatioY} * unWidth);
    }
    if (SUCCEEDED(hr))
    {
        hr = pMFType->SetUINT32(MF_MT_INTERLACE_MODE, (pVIH2->dwInterlaceFlags & AMINTERLACE_IsInterlaced) != 0
                                                          ? MFVideoInterlace_MixedInterlaceOrProgressive
                                                          : MFVideoInterlace_Progressive);
    }
    if (SUCCEEDED(hr) && pVIH2->dwBitRate > 0) hr = pMFType->SetUINT32(MF_MT_AVG_BITRATE, pVIH2->dwBitRate);
    if (SUCCEEDED(hr) && bitmap.biBitCount == BITS_OF_YUY2)
    {
        hr = pMFType->SetUINT32(MF_MT_DEFAULT_STRIDE, (unWidth * 2 + 3) & ~UINT32{3});
    }
    if (SUCCEEDED(hr) && bitmap.biSizeImage > 0) hr = pMFType->SetUINT32(MF_MT_SAMPLE_SIZE, bitmap.biSizeImage);
    if (SUCCEEDED(hr)) hr = pMFType->SetUINT32(MF_MT_FIXED_SIZE_SAMPLES, TRUE);
    if (SUCCEEDED(hr)) hr = pMFType->SetUINT32(MF_MT_ALL_SAMPLES_INDEPENDENT, TRUE);
    return hr;
}
