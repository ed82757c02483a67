#include "mp4filesimpl/boxwalk.h"

#include <array>
#include <cstring>
#include <new>
#include <stdexcept>

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
// could keep the walk busy for hours; a file that needs more headers than this on the way to its times isn't served.
constexpr std::uint32_t MAX_BOX_HEADERS = 1'000'000;

std::uint32_t FromBigEndian(const unsigned char* pBytes)
{
    return std::uint32_t{pBytes[0]} << 24 | std::uint32_t{pBytes[1]} << 16 | std::uint32_t{pBytes[2]} << 8 | pBytes[3];
}

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
          m_bFoundStts(bFoundStts)
    {}

    QmStatus Walk(std::int64_t nPosition, std::uint32_t uiTarget);

private:
    template <std::size_t N>
    bool Read(std::array<unsigned char, N>& aBytes)
    {
        return QM_ReadFile(m_hFile, aBytes.data(), N, nullptr, nullptr) == QM_OK;
    }

    bool ReadTimescale();
    QmStatus ReadSampleTable(std::uint64_t uiFileSize);
    bool AppendSamples(std::uint32_t uiCount, std::uint32_t uiDelta, std::uint64_t& uiRoom);

    QmFileHandle m_hFile;
    std::vector<std::uint64_t>& m_vTimes;
    std::int32_t& m_nTimescale;
    bool& m_bFoundMdhd;
    bool& m_bFoundMinf;
    bool& m_bFoundStts;
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
        const std::uint32_t uiSize = FromBigEndian(aSize.data());
        std::uint32_t uiType = 0;
        std::memcpy(&uiType, aType.data(), sizeof uiType);

        const std::int64_t nBelow = nPosition + BOX_HEADER_BYTES;
        const auto StepOver = [&] {
            nPosition += uiSize;
            return QM_SeekFile(m_hFile, nPosition, QM_SEEK_BEGIN) == QM_OK;
        };

        if (uiType != uiTarget)
        {
            // A size of 0, "to the end of the file", would read the same header for ever. A size of 1, which
            // announces 64 bits, isn't understood and moves on by its one byte.
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
            // Not examined: a track with a broken media box is told by the flags that stay clear.
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
            return ReadSampleTable(uiFileSize);

        default:
            return QM_ERR_FAIL;  // found, but nothing is known of what lies in such a box
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
    const bool bNarrow = FromBigEndian(aVersion.data()) == 0;
    if (!(bNarrow ? Read(aTimes) : Read(aWideTimes))) return false;

    std::array<unsigned char, 4> aTimescale;
    if (!Read(aTimescale)) return false;
    m_nTimescale = static_cast<std::int32_t>(FromBigEndian(aTimescale.data()));
    return true;
}

QmStatus CBoxWalk::ReadSampleTable(std::uint64_t uiFileSize)
{
    std::array<unsigned char, 4> aVersion;
    std::array<unsigned char, 4> aEntryCount;
    if (!Read(aVersion) || !Read(aEntryCount)) return QM_ERR_FAIL;

    std::uint64_t uiRoom = uiFileSize;  // a sample takes at least a byte of its file
    for (std::uint32_t uiEntries = FromBigEndian(aEntryCount.data()); uiEntries > 0; --uiEntries)
    {
        std::array<unsigned char, 8> aEntry;
        if (!Read(aEntry)) return QM_ERR_FAIL;
        m_bFoundStts = AppendSamples(FromBigEndian(aEntry.data()), FromBigEndian(aEntry.data() + 4), uiRoom);
        if (!m_bFoundStts) return QM_ERR_FAIL;
    }
    return QM_OK;
}

// Gives false when the file can't hold uiCount more samples, or memory can't hold their times.
bool CBoxWalk::AppendSamples(std::uint32_t uiCount, std::uint32_t uiDelta, std::uint64_t& uiRoom)
try
{
    if (uiCount > uiRoom) return false;
    uiRoom -= uiCount;
    std::uint64_t uiTime = m_vTimes.empty() ? 0 : m_vTimes.back();
    for (; uiCount > 0; --uiCount)
        m_vTimes.push_back(uiTime += uiDelta);
    return true;
}
catch (const std::bad_alloc&)
{
    return false;
}
catch (const std::length_error&)
{
    return false;
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

    vTimes.push_back(0);  // the start of the first frame; every sum behind it is an end and the next one's start
    std::int32_t nTimescale = 0;
    bool bFoundMdhd = false;
    bool bFoundMinf = false;
    bool bFoundStts = false;
    const QmStatus nStatus = WalkBoxes(hFile, 0, BOX_MOOV, vTimes, nTimescale, bFoundMdhd, bFoundMinf, bFoundStts);
    QM_CloseFile(hFile);
    if (nStatus != QM_OK) return nStatus;
    if (nTimescale == 0) return QM_ERR_FAIL;

    // Widened with its sign: a timescale of 2^31 and more is a huge divisor that makes every time 0.
    const std::uint64_t uiTimescale = static_cast<std::uint64_t>(std::int64_t{nTimescale});
    for (std::uint64_t& uiTime : vTimes)
        uiTime = uiTime * 1000 / uiTimescale;
    vTimes.pop_back();  // the end of the last frame
    return bFoundMdhd && bFoundMinf && bFoundStts ? QM_OK : QM_ERR_FAIL;
}
