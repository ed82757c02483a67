#include "platform/mediafoundation/reading/claimed_samples.h"

#include <algorithm>
#include <vector>

namespace mediafoundation
{
namespace
{

constexpr int MAX_BOXES = 65536;
constexpr int MAX_DEPTH = 16;

// Samples of a chunk that share one entry of the index, where they are so many.
constexpr std::uint64_t SAMPLES_PER_ENTRY = 1024;

// Of the tables, in bytes.
constexpr std::int64_t TABLE_HEAD = 8;  // version, flags and number of entries
constexpr std::int64_t SIZES_HEAD = 12;

constexpr int STEP_BYTES = 64 * 1024;

// A file may begin with space that was set aside. Without a limit, a sparse file of many terabytes would be read for
// hours.
constexpr std::uint64_t ZEROS_ALLOWED = std::uint64_t{64} << 20;
constexpr std::uint64_t BYTES_PER_HELD_BYTE = 64;

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
            m_uiClaimed += bOneSize ? avio_rb32(m_pIo) : ReadEntryCount(nEnd - nAt - SIZES_HEAD, 4);
            break;
        }
        case MKTAG('s', 't', 't', 's'):
        case MKTAG('c', 't', 't', 's'):
            avio_skip(m_pIo, 4);
            m_uiClaimed += ReadEntryCount(nEnd - nAt - TABLE_HEAD, 8);
            break;
        case MKTAG('s', 't', 's', 's'):
            avio_skip(m_pIo, 4);
            m_uiClaimed += ReadEntryCount(nEnd - nAt - TABLE_HEAD, 4);
            break;
        case MKTAG('s', 't', 'c', 'o'):
        case MKTAG('c', 'o', '6', '4'): {
            avio_skip(m_pIo, 4);
            const std::uint64_t uiChunks = avio_rb32(m_pIo);
            m_uiChunks += uiChunks;
            m_uiClaimed += std::min(uiChunks, static_cast<std::uint64_t>(std::max<std::int64_t>(nEnd - nAt, 0)) / 4);
            break;
        }
        case MKTAG('s', 't', 's', 'c'):
            VisitChunks(nEnd - nAt - TABLE_HEAD);
            break;
        default:
            if (HoldsBoxes(uiType) && nDepth < MAX_DEPTH) Walk(nAt, nEnd, nDepth + 1);
        }
    }

    // Entries for which the box has bytes.
    std::uint64_t ReadEntryCount(std::int64_t nBytes, std::int64_t nEntryBytes)
    {
        return static_cast<std::uint64_t>(
            std::min<std::int64_t>(avio_rb32(m_pIo), std::max<std::int64_t>(nBytes, 0) / nEntryBytes));
    }

    // Chunks are numbered from 1: a 0 is the empty part of a sparse file.
    void VisitChunks(std::int64_t nBytes)
    {
        avio_skip(m_pIo, 4);
        const std::uint64_t uiEntries = ReadEntryCount(nBytes, 12);
        m_uiClaimed += uiEntries;
        for (std::uint64_t i = 0; i < uiEntries && avio_rb32(m_pIo) != 0; ++i)
        {
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

bool HoldsBytes(AVIOContext* pIo, std::uint64_t uiCount)
{
    if (avio_seek(pIo, 0, SEEK_SET) < 0) return false;
    std::vector<unsigned char> bytes(STEP_BYTES);
    std::uint64_t uiRead = 0;
    std::uint64_t uiHeld = 0;
    while (uiHeld < uiCount)
    {
        if (uiRead > ZEROS_ALLOWED + BYTES_PER_HELD_BYTE * uiHeld) return false;
        const int nRead = avio_read(pIo, bytes.data(), STEP_BYTES);
        if (nRead <= 0) return false;
        uiRead += static_cast<std::uint64_t>(nRead);
        uiHeld += static_cast<std::uint64_t>(nRead - std::count(bytes.begin(), bytes.begin() + nRead, 0));
    }
    return true;
}

}  // namespace mediafoundation
