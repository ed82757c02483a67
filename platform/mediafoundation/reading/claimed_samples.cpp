#include "platform/mediafoundation/reading/claimed_samples.h"

#include <algorithm>

namespace mediafoundation
{
namespace
{

constexpr int MAX_BOXES = 65536;
constexpr int MAX_DEPTH = 16;

// Samples of a chunk that share one entry of the index, where they are so many.
constexpr std::uint64_t SAMPLES_PER_ENTRY = 1024;

bool HoldsBoxes(std::uint32_t uiType)
{
    switch (uiType)
    {
    case MKTAG('m', 'o', 'o', 'v'):
    case MKTAG('t', 'r', 'a', 'k'):
    case MKTAG('m', 'd', 'i', 'a'):
    case MKTAG('m', 'i', 'n', 'f'):
    case MKTAG('s', 't', 'b', 'l'):
    case MKTAG('u', 'd', 't', 'a'):
        return true;
    default:
        return false;
    }
}

class ClaimCounter
{
public:
    explicit ClaimCounter(AVIOContext* pIo) : m_pIo(pIo) {}

    // Boxes that reach beyond what holds them are looked at all the same: a reader may take what is there.
    void Walk(std::int64_t nAt, std::int64_t nEnd, int nDepth)
    {
        while (nEnd - nAt >= 8 && m_nBoxesLeft-- > 0)
        {
            if (avio_seek(m_pIo, nAt, SEEK_SET) < 0) return;
            std::int64_t nHead = 8;
            std::int64_t nBox = avio_rb32(m_pIo);
            const std::uint32_t uiType = avio_rl32(m_pIo);
            if (nBox == 1)
            {
                nHead = 16;
                nBox = static_cast<std::int64_t>(avio_rb64(m_pIo));
            }
            if (nBox == 0 || nBox > nEnd - nAt) nBox = nEnd - nAt;
            if (nBox < nHead) return;
            Visit(uiType, nAt + nHead, nAt + nBox, nDepth);
            nAt += nBox;
        }
    }

    std::uint64_t Claimed() const { return m_uiClaimed + m_uiChunks * (m_uiLargestChunk / SAMPLES_PER_ENTRY); }

private:
    void Visit(std::uint32_t uiType, std::int64_t nAt, std::int64_t nEnd, int nDepth)
    {
        switch (uiType)
        {
        case MKTAG('s', 't', 's', 'z'): {
            avio_skip(m_pIo, 4);
            const bool bOneSize = avio_rb32(m_pIo) != 0;
            const std::uint32_t uiCount = avio_rb32(m_pIo);
            m_uiClaimed += bOneSize ? uiCount : 0;
            break;
        }
        case MKTAG('s', 't', 'c', 'o'):
        case MKTAG('c', 'o', '6', '4'):
            avio_skip(m_pIo, 4);
            m_uiChunks += avio_rb32(m_pIo);
            break;
        case MKTAG('s', 't', 's', 'c'):
            VisitChunks(nEnd - nAt);
            break;
        default:
            if (HoldsBoxes(uiType) && nDepth < MAX_DEPTH) Walk(nAt, nEnd, nDepth + 1);
        }
    }

    void VisitChunks(std::int64_t nBytes)
    {
        avio_skip(m_pIo, 4);
        const std::int64_t nEntries = std::min<std::int64_t>(avio_rb32(m_pIo), nBytes / 12);
        for (std::int64_t i = 0; i < nEntries; ++i)
        {
            avio_skip(m_pIo, 4);
            m_uiLargestChunk = std::max<std::uint64_t>(m_uiLargestChunk, avio_rb32(m_pIo));
            avio_skip(m_pIo, 4);
        }
    }

    AVIOContext* m_pIo;
    int m_nBoxesLeft = MAX_BOXES;
    std::uint64_t m_uiClaimed = 0;
    std::uint64_t m_uiChunks = 0;        // of all tracks
    std::uint64_t m_uiLargestChunk = 0;  // of all tracks, in samples
};

}  // namespace

std::uint64_t CountClaimedSamples(AVIOContext* pIo)
{
    ClaimCounter counter(pIo);
    counter.Walk(0, avio_size(pIo), 0);
    return counter.Claimed();
}

}  // namespace mediafoundation
