// The codec properties of the H.264 encoder: which there are, and their values.
#pragma once

#include <array>
#include <cstddef>

#include "codecapi.h"
#include "icodecapi.h"
#include "platform/mediafoundation/writing/encoder_settings.h"

namespace mediafoundation
{

// One caller at a time. Every value is VT_UI4; E_INVALIDARG for another type and for a value out of range, E_NOTIMPL
// for a property that isn't one of these, E_POINTER for null.
class CodecProperties
{
public:
    CodecProperties() { SetAllDefaults(); }

    bool Has(const GUID* pApi) const { return Find(pApi) < COUNT; }
    HRESULT GetRange(const GUID* pApi, VARIANT* pMin, VARIANT* pMax, VARIANT* pStep) const;
    HRESULT GetDefault(const GUID* pApi, VARIANT* pValue) const;
    HRESULT Get(const GUID* pApi, VARIANT* pValue) const;
    HRESULT Set(const GUID* pApi, const VARIANT* pValue);
    void SetAllDefaults();

    void ApplyTo(EncoderSettings* pSettings) const;

private:
    static constexpr std::size_t COUNT = 7;
    static std::size_t Find(const GUID* pApi);  // COUNT: none

    std::array<std::uint32_t, COUNT> m_values{};
};

}  // namespace mediafoundation
