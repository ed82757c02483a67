#include "platform/mediafoundation/reading/nal_units.h"

#include <algorithm>
#include <array>

namespace mediafoundation
{
namespace
{

// What is read of a sample at a time in search of start codes. A broken file may claim any size for a sample, and the
// first slice is near the beginning.
constexpr std::size_t WINDOW = 4096;
constexpr std::size_t START_CODE = 3;

constexpr int AVC_SLICE = 1;
constexpr int AVC_IDR_SLICE = 5;
constexpr int AVC_SEI = 6;
constexpr int AVC_DELIMITER = 9;
constexpr int AVC_FILLER = 12;

constexpr int HEVC_LAST_SLICE = 31;
constexpr int HEVC_IDR_W_RADL = 19;
constexpr int HEVC_IDR_N_LP = 20;

}  // namespace

NalLayout::NalLayout(const AVCodecParameters& parameters)
{
    const std::uint8_t* pConfiguration = parameters.extradata;
    const int nSize = parameters.extradata_size;
    if (parameters.codec_id == AV_CODEC_ID_H264)
    {
        m_codec = AV_CODEC_ID_H264;
        m_uiLengthBytes = nSize >= 7 && pConfiguration[0] == 1 ? (pConfiguration[4] & 3U) + 1 : 0;
    }
    else if (parameters.codec_id == AV_CODEC_ID_HEVC)
    {
        m_codec = AV_CODEC_ID_HEVC;
        const bool bStartCode =
            nSize >= 3 && pConfiguration[0] == 0 && pConfiguration[1] == 0 && pConfiguration[2] <= 1;
        m_uiLengthBytes = nSize >= 23 && !bStartCode ? (pConfiguration[21] & 3U) + 1 : 0;
    }
}

NalLayout::Answer NalLayout::FreshStartAt(std::uint8_t uiHeader) const
{
    if (m_codec == AV_CODEC_ID_H264)
    {
        const int nType = uiHeader & 0x1f;
        const bool bSlice = nType >= AVC_SLICE && nType <= AVC_IDR_SLICE;
        return !bSlice ? Answer::LookOn : nType == AVC_IDR_SLICE ? Answer::Yes : Answer::No;
    }
    const int nType = (uiHeader >> 1) & 0x3f;
    const bool bIdr = nType == HEVC_IDR_W_RADL || nType == HEVC_IDR_N_LP;
    return nType > HEVC_LAST_SLICE ? Answer::LookOn : bIdr ? Answer::Yes : Answer::No;
}

void NalLayout::Visit(const std::uint8_t* pSample, std::size_t uiSize,
                      const std::function<bool(std::uint8_t)>& visit) const
{
    if (m_uiLengthBytes == 0)
    {
        for (std::size_t i = 0; i + 4 <= uiSize; ++i)
        {
            if (pSample[i] == 0 && pSample[i + 1] == 0 && pSample[i + 2] == 1 && !visit(pSample[i + 3])) return;
        }
        return;
    }
    std::size_t uiAt = 0;
    while (uiSize - uiAt > m_uiLengthBytes)
    {
        std::size_t uiLength = 0;
        for (std::size_t i = 0; i < m_uiLengthBytes; ++i)
        {
            uiLength = uiLength * 256 + pSample[uiAt + i];
        }
        uiAt += m_uiLengthBytes;
        if (uiLength > 0 && !visit(pSample[uiAt])) return;
        if (uiLength >= uiSize - uiAt) return;
        uiAt += uiLength;
    }
}

NalLayout::Answer NalLayout::FirstAnswer(const std::uint8_t* pSample, std::size_t uiSize) const
{
    Answer answer = Answer::LookOn;
    Visit(pSample, uiSize, [&](std::uint8_t uiHeader) {
        answer = FreshStartAt(uiHeader);
        return answer == Answer::LookOn;
    });
    return answer;
}

bool NalLayout::IsFreshStart(const std::uint8_t* pSample, std::size_t uiSize) const
{
    return FirstAnswer(pSample, uiSize) == Answer::Yes;
}

bool NalLayout::FindFreshStartCode(const Read& read, std::size_t uiSize) const
{
    std::array<std::uint8_t, WINDOW> aWindow;
    std::size_t uiAt = 0;
    while (uiSize - uiAt > START_CODE)
    {
        const std::size_t uiPart = std::min(aWindow.size(), uiSize - uiAt);
        if (!read(uiAt, aWindow.data(), uiPart)) return false;
        const Answer answer = FirstAnswer(aWindow.data(), uiPart);
        if (answer != Answer::LookOn) return answer == Answer::Yes;
        uiAt += uiPart - START_CODE;  // a code may begin at the window's end
    }
    return false;
}

bool NalLayout::IsFreshStart(const Read& read, std::size_t uiSize) const
{
    if (m_uiLengthBytes == 0) return FindFreshStartCode(read, uiSize);
    std::size_t uiAt = 0;
    std::uint8_t aHead[5] = {};
    while (uiSize - uiAt > m_uiLengthBytes)
    {
        if (!read(uiAt, aHead, m_uiLengthBytes + 1)) return false;
        std::size_t uiLength = 0;
        for (std::size_t i = 0; i < m_uiLengthBytes; ++i)
        {
            uiLength = uiLength * 256 + aHead[i];
        }
        uiAt += m_uiLengthBytes;
        if (uiLength > 0)
        {
            const Answer answer = FreshStartAt(aHead[m_uiLengthBytes]);
            if (answer != Answer::LookOn) return answer == Answer::Yes;
        }
        if (uiLength >= uiSize - uiAt) return false;
        uiAt += uiLength;
    }
    return false;
}

bool NalLayout::IsDisposable(const std::uint8_t* pSample, std::size_t uiSize) const
{
    if (m_codec != AV_CODEC_ID_H264) return false;
    bool bSlices = false;
    bool bOthers = false;
    Visit(pSample, uiSize, [&](std::uint8_t uiHeader) {
        const int nType = uiHeader & 0x1f;
        const int nReference = (uiHeader >> 5) & 3;
        const bool bDisposableSlice = nType == AVC_SLICE && nReference == 0;
        bSlices = bSlices || bDisposableSlice;
        bOthers = !bDisposableSlice && nType != AVC_SEI && nType != AVC_DELIMITER && nType != AVC_FILLER;
        return !bOthers;
    });
    return bSlices && !bOthers;
}

}  // namespace mediafoundation
