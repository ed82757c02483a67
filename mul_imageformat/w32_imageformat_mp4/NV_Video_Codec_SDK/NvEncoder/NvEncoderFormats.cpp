// Geometry of the surfaces that a session takes.
#include "NV_Video_Codec_SDK/NvEncoder/NvEncoder.h"

namespace
{
struct SPixelFormat
{
    NV_ENC_BUFFER_FORMAT m_eFormat;
    std::uint32_t m_nBytes;         // per luma sample, or per pixel of a packed format
    std::uint32_t m_nChromaPlanes;  // 0 for a packed format, 1 for interleaved chroma
    bool m_bHalfPitch;              // a chroma row is half as long as a luma row
    bool m_bHalfHeight;             // a chroma plane has half the rows of the luma plane
};

constexpr SPixelFormat g_aPixelFormats[] = {
    {NV_ENC_BUFFER_FORMAT_NV12, 1, 1, false, true},         {NV_ENC_BUFFER_FORMAT_YV12, 1, 2, true, true},
    {NV_ENC_BUFFER_FORMAT_IYUV, 1, 2, true, true},          {NV_ENC_BUFFER_FORMAT_YUV444, 1, 2, false, false},
    {NV_ENC_BUFFER_FORMAT_YUV420_10BIT, 2, 1, false, true}, {NV_ENC_BUFFER_FORMAT_YUV444_10BIT, 2, 2, false, false},
    {NV_ENC_BUFFER_FORMAT_ARGB, 4, 0, false, false},        {NV_ENC_BUFFER_FORMAT_ARGB10, 4, 0, false, false},
    {NV_ENC_BUFFER_FORMAT_AYUV, 4, 0, false, false},        {NV_ENC_BUFFER_FORMAT_ABGR, 4, 0, false, false},
    {NV_ENC_BUFFER_FORMAT_ABGR10, 4, 0, false, false},
};

// pszFunction: the operation that gives up on a format outside the table.
const SPixelFormat& FindPixelFormat(NV_ENC_BUFFER_FORMAT eFormat, const char* pszFunction)
{
    for (const SPixelFormat& format : g_aPixelFormats)
    {
        if (format.m_eFormat == eFormat) return format;
    }
    throw NVENCException(pszFunction, "Invalid Buffer format", NV_ENC_ERR_INVALID_PARAM);
}

// Rounds up, also for the largest number.
constexpr std::uint32_t Half(std::uint32_t uiNumber)
{
    return uiNumber / 2 + uiNumber % 2;
}

std::uint32_t ChromaPitch(const SPixelFormat& format, std::uint32_t uiLumaPitch)
{
    if (format.m_nChromaPlanes == 0) return 0;
    return format.m_bHalfPitch ? Half(uiLumaPitch) : uiLumaPitch;
}

std::uint32_t ChromaHeight(const SPixelFormat& format, std::uint32_t uiLumaHeight)
{
    if (format.m_nChromaPlanes == 0) return 0;
    return format.m_bHalfHeight ? Half(uiLumaHeight) : uiLumaHeight;
}
}  // namespace

std::uint32_t NvEncoder::GetFrameSize() const
{
    const SPixelFormat& format = FindPixelFormat(m_eBufferFormat, "NvEncoder::GetFrameSize");
    // With half the rows the chroma planes together have the luma plane's row length, be they one or two.
    const std::uint32_t uiChromaRows =
        ChromaHeight(format, m_nHeight) * (format.m_bHalfHeight ? 1 : format.m_nChromaPlanes);
    return format.m_nBytes * m_nWidth * (m_nHeight + uiChromaRows);
}

std::uint32_t NvEncoder::GetWidthInBytes(NV_ENC_BUFFER_FORMAT eFormat, std::uint32_t uiWidth)
{
    return FindPixelFormat(eFormat, "NvEncoder::GetWidthInBytes").m_nBytes * uiWidth;
}

std::uint32_t NvEncoder::GetNumChromaPlanes(NV_ENC_BUFFER_FORMAT eFormat)
{
    return FindPixelFormat(eFormat, "NvEncoder::GetNumChromaPlanes").m_nChromaPlanes;
}

std::uint32_t NvEncoder::GetChromaPitch(NV_ENC_BUFFER_FORMAT eFormat, std::uint32_t uiLumaPitch)
{
    return ChromaPitch(FindPixelFormat(eFormat, "NvEncoder::GetChromaPitch"), uiLumaPitch);
}

std::uint32_t NvEncoder::GetChromaHeight(NV_ENC_BUFFER_FORMAT eFormat, std::uint32_t uiLumaHeight)
{
    return ChromaHeight(FindPixelFormat(eFormat, "NvEncoder::GetChromaHeight"), uiLumaHeight);
}

std::uint32_t NvEncoder::GetChromaWidthInBytes(NV_ENC_BUFFER_FORMAT eFormat, std::uint32_t uiLumaWidth)
{
    const SPixelFormat& format = FindPixelFormat(eFormat, "NvEncoder::GetChromaWidthInBytes");
    if (format.m_nChromaPlanes == 0) return 0;
    return format.m_nBytes * (format.m_bHalfPitch ? Half(uiLumaWidth) : uiLumaWidth);
}

void NvEncoder::GetChromaSubPlaneOffsets(NV_ENC_BUFFER_FORMAT eFormat, std::uint32_t uiPitch, std::uint32_t uiHeight,
                                         std::vector<std::uint32_t>& vOffsets)
{
    vOffsets.clear();
    const SPixelFormat& format = FindPixelFormat(eFormat, "NvEncoder::GetChromaSubPlaneOffsets");
    std::uint32_t uiOffset = uiPitch * uiHeight;
    for (std::uint32_t i = 0; i < format.m_nChromaPlanes; ++i)
    {
        vOffsets.push_back(uiOffset);
        uiOffset += ChromaPitch(format, uiPitch) * ChromaHeight(format, uiHeight);
    }
}
