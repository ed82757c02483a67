#include "mp4_outputfile/h264encoder.h"

#include <algorithm>
#include <cwchar>

#include <codecapi.h>
#include <mferror.h>
#include <objbase.h>
#include <strmif.h>

#include "common/saferelease.h"

namespace
{

constexpr UINT32 BASELINE = 66;
constexpr UINT32 MAIN = 77;
constexpr UINT32 HIGH = 100;

// FST has a higher number than LQ. Its speed and its wide range of QP make it the fastest all the same.
constexpr SEncoderQuality QUALITIES[] = {
    {L"HQ", 100, MAIN, HIGH, 100, 2, 0, 30},
    {L"NQ", 80, MAIN, HIGH, 100, 2, 0, 30},
    {L"LQ", 70, MAIN, HIGH, 50, 0, 0, 30},
    {L"FST", 75, BASELINE, BASELINE, 0, 0, 1, 51},
};

constexpr UINT32 LEAST_BIT_RATE = 30000;
constexpr UINT32 WORKER_THREADS = 16;

// The size that the system's structure has with 16-bit characters, also where they are wider.
constexpr DWORD VERSION_INFO_BYTES = 276;

void SetProperty(ICodecAPI* pCodec, const GUID& guidProperty, UINT32 uiValue)
{
    VARIANT value{};
    value.vt = VT_UI4;
    value.ulVal = uiValue;
    pCodec->SetValue(&guidProperty, &value);
}

}  // namespace

const SEncoderQuality& FindEncoderQuality(const wchar_t* pwszCode)
{
    for (const SEncoderQuality& quality : QUALITIES)
    {
        if (std::wcscmp(pwszCode, quality.m_pwszCode) == 0) return quality;
    }
    return QUALITIES[0];
}

bool IsOldSystem()
{
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = VERSION_INFO_BYTES;
    GetVersionExW(&version);
    return version.dwMajorVersion < 6 || (version.dwMajorVersion == 6 && version.dwMinorVersion < 2);
}

UINT32 CalcAverageBitRate(std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    return std::max(uiHeight * uiWidth * 3 / 2, LEAST_BIT_RATE);
}

HRESULT FindH264Encoder(IMFTransform** ppTransform)
{
    const MFT_REGISTER_TYPE_INFO input = {MFMediaType_Video, MFVideoFormat_YUY2};
    const MFT_REGISTER_TYPE_INFO output = {MFMediaType_Video, MFVideoFormat_H264};
    constexpr UINT32 FLAGS = MFT_ENUM_FLAG_SYNCMFT | MFT_ENUM_FLAG_LOCALMFT | MFT_ENUM_FLAG_SORTANDFILTER;

    IMFActivate** ppEncoders = nullptr;
    UINT32 uiEncoders = 0;
    HRESULT hr = MFTEnumEx(MFT_CATEGORY_VIDEO_ENCODER, FLAGS, &input, &output, &ppEncoders, &uiEncoders);
    if (SUCCEEDED(hr) && uiEncoders == 0) hr = MF_E_TOPO_CODEC_NOT_FOUND;
    if (SUCCEEDED(hr)) hr = ppEncoders[0]->ActivateObject(IID_IMFTransform, reinterpret_cast<void**>(ppTransform));
    for (UINT32 i = 0; i < uiEncoders; ++i)
        SafeRelease(&ppEncoders[i]);
    CoTaskMemFree(ppEncoders);
    return hr;
}

// In this order: some encoders take a quality only once they work by quality.
void SetEncoderQuality(IMFTransform* pTransform, const SEncoderQuality& quality, bool bOldSystem)
{
    ICodecAPI* pCodec = nullptr;
    if (FAILED(pTransform->QueryInterface(IID_ICodecAPI, reinterpret_cast<void**>(&pCodec)))) return;

    SetProperty(pCodec, CODECAPI_AVEncCommonRateControlMode, eAVEncCommonRateControlMode_Quality);
    SetProperty(pCodec, CODECAPI_AVEncCommonQuality, quality.m_uiQuality);
    if (!bOldSystem)
    {
        SetProperty(pCodec, CODECAPI_AVEncCommonQualityVsSpeed, quality.m_uiQualityVsSpeed);
        if (quality.m_uiBPictures != 0)
            SetProperty(pCodec, CODECAPI_AVEncMPVDefaultBPictureCount, quality.m_uiBPictures);
        SetProperty(pCodec, CODECAPI_AVEncVideoMinQP, quality.m_uiMinQP);
        SetProperty(pCodec, CODECAPI_AVEncVideoMaxQP, quality.m_uiMaxQP);
        SetProperty(pCodec, CODECAPI_AVEncNumWorkerThreads, WORKER_THREADS);
    }
    SafeRelease(&pCodec);
}
