#include "mp4filesimpl/boxwalk.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "common/bigendian.h"
#include "common/withoutexceptions.h"
#include "mp4filesimpl/heldbytes.h"

namespace
{

constexpr std::uint32_t BOX_MOOV = BoxType("moov");
constexpr std::uint32_t BOX_TRAK = BoxType("trak");
constexpr std::uint32_t BOX_MDIA = BoxType("mdia");
constexpr std::uint32_t BOX_MDHD = BoxType("mdhd");
constexpr std::uint32_t BOX_MINF = BoxType("minf");
constexpr std::uint32_t BOX_STBL = BoxType("stbl");
constexpr std::uint32_t BOX_STTS = BoxType("stts");

constexpr int BOX_HEADER_BYTES = 8;

// Boxes that one walk may look at. Sizes below 8 are taken as they stand, so a large file of nothing but tiny boxes
// could keep the walk busy for hours. A file that needs more headers than this on the way to its times fails.
constexpr std::uint32_t MAX_BOX_HEADERS = 1'000'000;

// Entries of the sample table that may be without samples. A table in the empty part of a sparse file has nothing else,
// and as many as 32 bits can count.
constexpr std::uint32_t MAX_EMPTY_ENTRIES = 1'000'000;

// Samples that are believed of a file of enough bytes. A million samples are eleven hours of video, and 8 MB of memory.
// A sparse file has a forged size too, so more of them need bytes that aren't zero. One for 16 samples is enough, since
// silent sound consists of zeros.
constexpr std::uint64_t SAMPLES_WITHOUT_PROOF = 1'000'000;
constexpr std::uint64_t SAMPLES_PER_HELD_BYTE = 16;

class CBoxWalk
{
public:
    CBoxWalk(QmFileHandle hFile, std::vector<std::uint64_t>& vTimes, std::int32_t& nTimescale, bool& bFoundMdhd,
             bool& bFoundMinf, bool& bFoundStts)
        : m_hFile(hFile),
          m_vTimes(vTimes),
          m_nTimescale(nTimescale),
          m_bFoundMdhd(bFoundMdhd),
          m_bFoundMinf(bFoundMinf),
          m_bFoundStts(bFoundStts),
          m_held(hFile)
    {}

    QmStatus Walk(std::int64_t nPosition, std::uint32_t uiTarget);

private:
    template <std::size_t N>
    bool Read(std::array<unsigned char, N>& aBytes)
    {
        return QM_ReadFile(m_hFile, aBytes.data(), N, nullptr, nullptr) == QM_OK;
    }

    bool ReadTimescale();
    QmStatus ReadSampleTable(std::int64_t nPosition, std::uint64_t uiFileSize);
    std::uint64_t FindProof(std::uint64_t uiSamples, std::uint64_t uiFileSize, std::int64_t nPosition);
    bool AppendSamples(std::uint32_t uiCount, std::uint32_t uiDelta);

    QmFileHandle m_hFile;
    std::vector<std::uint64_t>& m_vTimes;
    std::int32_t& m_nTimescale;
    bool& m_bFoundMdhd;
    bool& m_bFoundMinf;
    bool& m_bFoundStts;
    CHeldBytes m_held;
    std::uint32_t m_uiHeadersLeft = MAX_BOX_HEADERS;
};

QmStatus CBoxWalk::Walk(std::int64_t nPosition, std::uint32_t uiTarget)
{
    std::uint64_t uiFileSize = 0;
    if (QM_GetFileSize(m_hFile, &uiFileSize) != QM_OK) return QM_ERR_FAIL;

    for (;;)
    {
        if (nPosition < 0 || static_cast<std::uint64_t>(nPosition) >= uiFileSize) return QM_ERR_FAIL;
        if (m_uiHeadersLeft == 0) return QM_ERR_FAIL;
        --m_uiHeadersLeft;

        std::array<unsigned char, 4> aSize;
        std::array<unsigned char, 4> aType;
        if (!Read(aSize) || !Read(aType)) return QM_ERR_FAIL;
        const std::uint32_t uiSize = LoadBigEndian32(aSize.data());
        std::uint32_t uiType = 0;
        std::memcpy(&uiType, aType.data(), sizeof uiType);

        const std::int64_t nBelow = nPosition + BOX_HEADER_BYTES;
        const auto StepOver = [&] {
            nPosition += uiSize;
            return QM_SeekFile(m_hFile, nPosition, QM_SEEK_BEGIN) == QM_OK;
        };

        if (uiType != uiTarget)
        {
            // A size of 0, "to the end of the file", would read the same header without end. A size of 1, which
            // announces 64 bits, isn't understood: the walk moves on by one byte.
            if (uiSize == 0 || !StepOver()) return QM_ERR_FAIL;
            continue;
        }

        switch (uiTarget)
        {
        case BOX_MOOV:
            return Walk(nBelow, BOX_TRAK);

        case BOX_TRAK:
            return Walk(nBelow, BOX_MDIA);

        case BOX_MDIA:
            // Not examined: for a track with a broken media box the flags stay clear.
            Walk(nBelow, BOX_MDHD);
            return StepOver() ? QM_OK : QM_ERR_FAIL;

        case BOX_MDHD:
            if (!ReadTimescale()) return QM_ERR_FAIL;
            m_bFoundMdhd = true;
            if (m_bFoundMinf) return QM_OK;
            if (!StepOver()) return QM_ERR_FAIL;
            uiTarget = BOX_MINF;  // the sibling that holds the sample table
            continue;

        case BOX_MINF: {
            m_bFoundMinf = true;
            const QmStatus nStatus = Walk(nBelow, BOX_STBL);
            if (m_bFoundMdhd) return nStatus;
            return StepOver() ? QM_OK : QM_ERR_FAIL;
        }

        case BOX_STBL:
            return Walk(nBelow, BOX_STTS);

        case BOX_STTS:
            return ReadSampleTable(nBelow, uiFileSize);

        default:
            return QM_ERR_FAIL;  // found, but it isn't known what such a box holds
        }
    }
}

bool CBoxWalk::ReadTimescale()
{
    std::array<unsigned char, 4> aVersion;
    if (!Read(aVersion)) return false;

    // Times of creation and modification, wider in every version but the first.
    std::array<unsigned char, 8> aTimes;
    std::array<unsigned char, 16> aWideTimes;
    const bool bNarrow = LoadBigEndian32(aVersion.data()) == 0;
    if (!(bNarrow ? Read(aTimes) : Read(aWideTimes))) return false;

    std::array<unsigned char, 4> aTimescale;
    if (!Read(aTimescale)) return false;
    m_nTimescale = static_cast<std::int32_t>(LoadBigEndian32(aTimescale.data()));
    return true;
}

QmStatus CBoxWalk::ReadSampleTable(std::int64_t nPosition, std::uint64_t uiFileSize)
{
    std::array<unsigned char, 4> aVersion;
    std::array<unsigned char, 4> aEntryCount;
    if (!Read(aVersion) || !Read(aEntryCount)) return QM_ERR_FAIL;
    nPosition += 8;

    std::uint64_t uiSamples = 0;
    std::uint64_t uiBelieved = std::min(uiFileSize, SAMPLES_WITHOUT_PROOF);
    std::uint32_t uiEmptyEntries = 0;
    for (std::uint32_t uiEntries = LoadBigEndian32(aEntryCount.data()); uiEntries > 0; --uiEntries)
    {
        std::array<unsigned char, 8> aEntry;
        if (!Read(aEntry)) return QM_ERR_FAIL;
        nPosition += 8;
        const std::uint32_t uiCount = LoadBigEndian32(aEntry.data());
        uiSamples += uiCount;
        if (uiCount == 0) ++uiEmptyEntries;
        if (uiSamples > uiBelieved) uiBelieved = FindProof(uiSamples, uiFileSize, nPosition);
        m_bFoundStts = uiSamples <= uiBelieved && uiEmptyEntries <= MAX_EMPTY_ENTRIES &&
                       AppendSamples(uiCount, LoadBigEndian32(aEntry.data() + 4));
        if (!m_bFoundStts) return QM_ERR_FAIL;
    }
    return QM_OK;
}

// Returns the number of samples that the file proves, uiSamples or more if it can. The file's position is nPosition,
// before and after.
std::uint64_t CBoxWalk::FindProof(std::uint64_t uiSamples, std::uint64_t uiFileSize, std::int64_t nPosition)
{
    if (uiSamples > uiFileSize) return 0;
    const std::uint64_t uiHeld = m_held.CountUpTo(uiSamples / SAMPLES_PER_HELD_BYTE + 1);
    if (QM_SeekFile(m_hFile, nPosition, QM_SEEK_BEGIN) != QM_OK) return 0;
    return std::min(uiFileSize, uiHeld * SAMPLES_PER_HELD_BYTE);
}

// Returns false when there is no memory for their times.
bool CBoxWalk::AppendSamples(std::uint32_t uiCount, std::uint32_t uiDelta)
{
    return WithoutExceptions(false, [&] {
        // A long run takes its memory at once: growing step by step would take up to three times as much.
        if (uiCount > m_vTimes.size()) m_vTimes.reserve(m_vTimes.size() + uiCount);
        std::uint64_t uiTime = m_vTimes.empty() ? 0 : m_vTimes.back();
        for (; uiCount > 0; --uiCount)
            m_vTimes.push_back(uiTime += uiDelta);
        return true;
    });
}

// The times in ticks, scaled to milliseconds.
QmStatus ReadTimesOf(QmFileHandle hFile, std::vector<std::uint64_t>& vTimes)
{
    vTimes.push_back(0);  // the start of the first frame; each later sum is one frame's end and the next one's start
    std::int32_t nTimescale = 0;
    bool bFoundMdhd = false;
    bool bFoundMinf = false;
    bool bFoundStts = false;
    const QmStatus nStatus = WalkBoxes(hFile, 0, BOX_MOOV, vTimes, nTimescale, bFoundMdhd, bFoundMinf, bFoundStts);
    if (nStatus != QM_OK) return nStatus;
    if (nTimescale == 0) return QM_ERR_FAIL;

    // Widened with its sign: a timescale of 2^31 and more is a huge divisor that makes every time 0.
    const std::uint64_t uiTimescale = static_cast<std::uint64_t>(std::int64_t{nTimescale});
    for (std::uint64_t& uiTime : vTimes)
        uiTime = uiTime * 1000 / uiTimescale;
    vTimes.pop_back();  // the end of the last frame
    return bFoundMdhd && bFoundMinf && bFoundStts ? QM_OK : QM_ERR_FAIL;
}

}  // namespace

QmStatus WalkBoxes(QmFileHandle hFile, std::int64_t nStart, std::uint32_t uiTarget, std::vector<std::uint64_t>& vTimes,
                   std::int32_t& nTimescale, bool& bFoundMdhd, bool& bFoundMinf, bool& bFoundStts)
{
    return CBoxWalk(hFile, vTimes, nTimescale, bFoundMdhd, bFoundMinf, bFoundStts).Walk(nStart, uiTarget);
}

QmStatus ReadFrameTimes(const wchar_t* pwszPath, std::vector<std::uint64_t>& vTimes)
{
    QmFileHandle hFile = nullptr;
    if (QM_OpenFile(pwszPath, QM_FILE_READ, QM_SHARE_READ, -1, &hFile) != QM_OK) return QM_ERR_FILEOPEN;

    const QmStatus nStatus = WithoutExceptions(QM_ERR_FAIL, [&] { return ReadTimesOf(hFile, vTimes); });
    QM_CloseFile(hFile);
    return nStatus;
}
