// Logging packets. What the two encoders' packets have in common is less than it seems; see the two loggers.
#include "mp4_outputfile/muxer/samplelog.h"

#include <cstring>
#include <new>

#include "common/bigendian.h"
#include "mp4_outputfile/muxer/startcodes.h"

namespace
{
constexpr std::uint8_t g_bIdrSlice = 0x65;  // of the highest reference class; others aren't told as keys
constexpr std::uint8_t g_bPps = 0x68;
constexpr std::uint8_t g_bDelimiter = 0x09;
constexpr std::uint8_t g_bIntraOnly = 0x10;  // a delimiter's byte for primary picture type 0

// Stand where a length isn't known yet and never reach the file. They tell, in a dump, a packet's first NAL.
constexpr std::uint32_t g_uiFirstNalPlaceholder = 2;
constexpr std::uint32_t g_uiFurtherNalPlaceholder = 0xFFFFFFFFU;

void KeepFirstPacket(SSampleLog& log, const std::uint8_t* pPacket, std::size_t uiSize)
{
    if (log.m_nMdatBytes != 0) return;
    if (log.m_baFirstPacket.SetData(pPacket, uiSize, EQmByteArrayModeOp::Replace, EQmByteArrayModeAlloc::Default) !=
        QM_OK)
    {
        throw std::bad_alloc();  // without its parameter sets no picture of the file could be decoded
    }
}

// Room for all that one packet adds. Memory that runs out later would leave NALs of a packet that isn't in the file,
// and their lengths would be written into the packet that comes next.
void MakeRoom(SSampleLog& log, SNalLog& nals, std::size_t uiNals)
{
    log.m_vecSampleSizes.reserve(log.m_vecSampleSizes.size() + 1);
    log.m_vecKeySamples.reserve(log.m_vecKeySamples.size() + uiNals);
    nals.m_vecNalPatches.reserve(nals.m_vecNalPatches.size() + uiNals);
}

// A NAL begins at uiOffset of the packet being logged: the one before it ends there.
void BeginNal(const SSampleLog& log, SNalLog& nals, std::size_t uiOffset, bool bFirstOfPacket)
{
    const std::uint64_t uiStart = log.m_nMdatBytes + uiOffset;
    if (!nals.m_vecNalPatches.empty())
    {
        const std::uint64_t uiLength = uiStart - 4 - nals.m_nLastNalStart;
        nals.m_vecNalPatches.back().m_nLengthBE = ToBigEndian32(static_cast<std::uint32_t>(uiLength));
    }
    nals.m_nLastNalStart = uiStart;
    const std::uint32_t uiPlaceholder = bFirstOfPacket ? g_uiFirstNalPlaceholder : g_uiFurtherNalPlaceholder;
    nals.m_vecNalPatches.push_back({uiStart, ToBigEndian32(uiPlaceholder)});
}

void AddSample(SSampleLog& log, std::size_t uiSize)
{
    log.m_vecSampleSizes.push_back(static_cast<std::uint32_t>(uiSize));
    log.m_nMdatBytes += uiSize;
}

void WritePacket(const SSampleLog& log, const std::uint8_t* pPacket, std::size_t uiSize)
{
    if (log.m_hFile == nullptr) return;
    // The result isn't looked at: encoding goes on over a full disk, and the file stays as long as it is.
    QM_WriteFile(log.m_hFile, pPacket, uiSize, nullptr, nullptr);
}

// Where 00 00 00 01 stands in a packet of AMF. The search ends 6 bytes before the packet does; one of 6 bytes or fewer
// has nothing to be searched. Ones are rare in encoded data, and so are looked for first.
std::vector<std::size_t> FindStartCodes(const std::uint8_t* pPacket, std::size_t uiSize)
{
    std::vector<std::size_t> offsets;
    if (uiSize <= 6) return offsets;
    const std::uint8_t* pSearch = pPacket + 3;
    const std::uint8_t* const pEnd = pPacket + uiSize - 3;
    while (const void* pFound = std::memchr(pSearch, 1, static_cast<std::size_t>(pEnd - pSearch)))
    {
        const std::uint8_t* const pOne = static_cast<const std::uint8_t*>(pFound);
        pSearch = pOne + 1;
        if (pOne[-1] == 0 && pOne[-2] == 0 && pOne[-3] == 0)
        {
            offsets.push_back(static_cast<std::size_t>(pOne - pPacket) - 3);
        }
    }
    return offsets;
}
}  // namespace

void LogNvencPacket(SSampleLog& log, SNalLog& nals, const std::vector<std::uint8_t>& packet)
{
    std::vector<std::uint8_t> out;
    std::vector<std::size_t> nalOffsets;
    NormalizeStartCodes(packet, out, nalOffsets);
    if (out.empty()) return;

    MakeRoom(log, nals, nalOffsets.size());
    KeepFirstPacket(log, out.data(), out.size());
    const std::uint32_t uiSample = static_cast<std::uint32_t>(log.m_vecSampleSizes.size());
    for (const std::size_t uiOffset : nalOffsets)
    {
        // A packet of nothing but 00 00 01 has a start code with no NAL.
        const std::uint8_t bType = uiOffset + 4 < out.size() ? out[uiOffset + 4] : 0;
        if (bType == g_bIdrSlice) log.m_vecKeySamples.push_back(uiSample);
        if (bType == g_bPps) log.m_nPpsOffset = static_cast<std::uint32_t>(uiOffset);
        BeginNal(log, nals, uiOffset, uiOffset == nalOffsets.front());
    }
    AddSample(log, out.size());
    WritePacket(log, out.data(), out.size());
}

void LogAmfPacket(SSampleLog& log, SNalLog& nals, const std::uint8_t* pPacket, std::size_t uiSize,
                  std::uint32_t uiFrameNumber)
{
    const std::vector<std::size_t> nalOffsets = FindStartCodes(pPacket, uiSize);
    MakeRoom(log, nals, nalOffsets.size());
    KeepFirstPacket(log, pPacket, uiSize);
    for (const std::size_t uiOffset : nalOffsets)
    {
        const std::uint8_t* const pNal = pPacket + uiOffset + 4;
        const bool bFirst = uiOffset == nalOffsets.front();
        if (pNal[0] == g_bPps) log.m_nPpsOffset = static_cast<std::uint32_t>(uiOffset);
        if (bFirst && pNal[0] == g_bDelimiter && pNal[1] == g_bIntraOnly) log.m_vecKeySamples.push_back(uiFrameNumber);
        BeginNal(log, nals, uiOffset, bFirst);
    }
    WritePacket(log, pPacket, uiSize);
    AddSample(log, uiSize);
}
