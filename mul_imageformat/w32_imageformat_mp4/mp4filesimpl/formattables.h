// What the format offers: six codecs, five steps of quality, and its capabilities. None of it depends on the machine: a
// codec whose encoder is missing is listed, and fails when it is used.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "hostapi/qmstatus.h"

struct SCodecRow
{
    const wchar_t* m_pwszCode;  // short code, by which the writer chooses its encoder
    const wchar_t* m_pwszName;  // display name
};

inline constexpr std::uint32_t CODEC_ROWS = 6;
inline constexpr SCodecRow g_aCodecRows[CODEC_ROWS] = {
    {L"HQ", L"H.264 High Quality"}, {L"NQ", L"H.264 Normal Quality"}, {L"LQ", L"H.264 Low Quality"},
    {L"FST", L"H.264 Fastest"},     {L"AMF1", L"H.264 AMD VCE"},      {L"NVENC1", L"H.264 Nvdia NVENC"},
};

inline constexpr std::uint32_t QUALITY_STEPS = 5;
inline constexpr wchar_t g_aQualityNames[QUALITY_STEPS][10] = {L"Lowest", L"Low", L"Medium", L"High", L"Highest"};
inline constexpr std::uint32_t g_aQualityValues[QUALITY_STEPS] = {1, 1, 1, 1, 1};
inline constexpr double g_aQualityParams[QUALITY_STEPS] = {0.9, 0.6, 0.3, 0.15, 0.05};

// The host's numbers for what the format and each of its input files can do. Their meaning is the host's.
inline constexpr std::int32_t g_anCapabilities[] = {6, 8, 9, 13, 15, 20, 21};

// QM_OK if the capability is listed, else QM_ERR_NOTSUPPORTED.
inline QmStatus FindCapability(std::int32_t nCapability)
{
    const auto pEnd = std::end(g_anCapabilities);
    return std::find(std::begin(g_anCapabilities), pEnd, nCapability) != pEnd ? QM_OK : QM_ERR_NOTSUPPORTED;
}
