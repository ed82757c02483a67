// The system's H.264 encoder, and what each codec of the table asks of it.
#pragma once

#include <cstdint>

#include <windows.h>

#include <mfapi.h>
#include <mfidl.h>
#include <mftransform.h>

// A row of the quality table. The properties are those of ICodecAPI with the same names.
struct SEncoderQuality
{
    const wchar_t* m_pwszCode;  // the codec's short code
    UINT32 m_uiQuality;         // CODECAPI_AVEncCommonQuality, 0 to 100
    UINT32 m_uiProfileOld;      // H.264 profile on a system before version 6.2
    UINT32 m_uiProfile;         // and on any other
    UINT32 m_uiQualityVsSpeed;  // 0 fastest, 100 best
    UINT32 m_uiBPictures;       // between two others; 0: not asked for
    UINT32 m_uiMinQP;
    UINT32 m_uiMaxQP;
};

// The row of the codec. The first row for any other code.
const SEncoderQuality& FindEncoderQuality(const wchar_t* pwszCode);

// Whether the system's version is below 6.2. Its encoder isn't asked for more than a quality.
bool IsOldSystem();

// 1.5 bits a second for each pixel of a picture, at least 30000. The product of the sizes wraps at 32 bits.
UINT32 CalcAverageBitRate(std::uint32_t uiWidth, std::uint32_t uiHeight);

// The first encoder from YUY2 to H.264 in the system's order. Nothing but a filled *ppTransform says that there is one.
HRESULT FindH264Encoder(IMFTransform** ppTransform);

// Sets the properties of the row, as far as the encoder has properties. What it refuses keeps its default.
void SetEncoderQuality(IMFTransform* pTransform, const SEncoderQuality& quality, bool bOldSystem);
