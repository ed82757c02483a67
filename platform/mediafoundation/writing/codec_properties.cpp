#include "platform/mediafoundation/writing/codec_properties.h"

namespace mediafoundation
{
namespace
{

struct Property
{
    const GUID* m_pApi;
    std::uint32_t m_uiMin;
    std::uint32_t m_uiMax;
    std::uint32_t m_uiDefault;
    std::uint32_t EncoderSettings::*m_pSetting;  // null: the rate control
};

// Of the rate controls there are the bit rate's without constraints and the quality's, whose numbers are neighbours.
const std::array<Property, 7>& Properties()
{
    constexpr std::uint32_t BIT_RATE = eAVEncCommonRateControlMode_UnconstrainedVBR;
    constexpr std::uint32_t QUALITY = eAVEncCommonRateControlMode_Quality;
    static const std::array<Property, 7> s_aProperties = {{
        {&CODECAPI_AVEncCommonRateControlMode, BIT_RATE, QUALITY, BIT_RATE, nullptr},
        {&CODECAPI_AVEncCommonQuality, 0, 100, 65, &EncoderSettings::m_uiQuality},
        {&CODECAPI_AVEncCommonQualityVsSpeed, 0, 100, 33, &EncoderSettings::m_uiQualityVsSpeed},
        {&CODECAPI_AVEncMPVDefaultBPictureCount, 0, 2, 0, &EncoderSettings::m_uiBPictures},
        {&CODECAPI_AVEncVideoMinQP, 0, 51, 0, &EncoderSettings::m_uiMinQp},
        {&CODECAPI_AVEncVideoMaxQP, 0, 51, 51, &EncoderSettings::m_uiMaxQp},
        {&CODECAPI_AVEncNumWorkerThreads, 0, 16, 0, &EncoderSettings::m_uiThreads},
    }};
    return s_aProperties;
}

HRESULT Give(std::uint32_t uiValue, VARIANT* pValue)
{
    if (pValue == nullptr) return E_POINTER;
    *pValue = {};
    pValue->vt = VT_UI4;
    pValue->ulVal = uiValue;
    return S_OK;
}

}  // namespace

std::size_t CodecProperties::Find(const GUID* pApi)
{
    std::size_t i = 0;
    while (i < COUNT && (pApi == nullptr || *pApi != *Properties()[i].m_pApi))
    {
        ++i;
    }
    return i;
}

HRESULT CodecProperties::GetRange(const GUID* pApi, VARIANT* pMin, VARIANT* pMax, VARIANT* pStep) const
{
    const std::size_t uiFound = Find(pApi);
    if (uiFound == COUNT) return E_NOTIMPL;
    HRESULT hr = Give(Properties()[uiFound].m_uiMin, pMin);
    if (SUCCEEDED(hr)) hr = Give(Properties()[uiFound].m_uiMax, pMax);
    return FAILED(hr) ? hr : Give(1, pStep);
}

HRESULT CodecProperties::GetDefault(const GUID* pApi, VARIANT* pValue) const
{
    const std::size_t uiFound = Find(pApi);
    return uiFound == COUNT ? E_NOTIMPL : Give(Properties()[uiFound].m_uiDefault, pValue);
}

HRESULT CodecProperties::Get(const GUID* pApi, VARIANT* pValue) const
{
    const std::size_t uiFound = Find(pApi);
    return uiFound == COUNT ? E_NOTIMPL : Give(m_values[uiFound], pValue);
}

HRESULT CodecProperties::Set(const GUID* pApi, const VARIANT* pValue)
{
    const std::size_t uiFound = Find(pApi);
    if (uiFound == COUNT) return E_NOTIMPL;
    if (pValue == nullptr) return E_POINTER;
    const Property& property = Properties()[uiFound];
    if (pValue->vt != VT_UI4 || pValue->ulVal < property.m_uiMin || pValue->ulVal > property.m_uiMax)
    {
        return E_INVALIDARG;
    }
    m_values[uiFound] = pValue->ulVal;
    return S_OK;
}

void CodecProperties::SetAllDefaults()
{
    for (std::size_t i = 0; i < COUNT; ++i)
    {
        m_values[i] = Properties()[i].m_uiDefault;
    }
}

void CodecProperties::ApplyTo(EncoderSettings* pSettings) const
{
    for (std::size_t i = 0; i < COUNT; ++i)
    {
        if (Properties()[i].m_pSetting != nullptr)
        {
            pSettings->*Properties()[i].m_pSetting = m_values[i];
        }
        else
        {
            const bool bQuality = m_values[i] == eAVEncCommonRateControlMode_Quality;
            pSettings->m_rateControl =
                bQuality ? EncoderSettings::RateControl::Quality : EncoderSettings::RateControl::BitRate;
        }
    }
}

}  // namespace mediafoundation
