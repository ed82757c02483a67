#include "mp4_outputfile/muxer/samplelog.h"

#include <new>

#include "common/bigendian.h"

namespace
{
constexpr std::uint8_t g_bIdrSlice = 0x65;  // of the highest reference class; others aren't marked as keys
constexpr std::uint8_t g_bPps = 0x68;
constexpr std::uint8_t g_bDelimiter = 0x09;
constexpr std::uint8_t g_bIntraOnly = 0x10;  // a delimiter's byte for primary picture type 0

// Stand where a length isn't known yet and never reach the file. In a dump they show a packet's first NAL.
constexpr std::uint32_t g_uiFirstNalPlaceholder = 2;
constexpr std::uint32_t g_uiFurtherNalPlaceholder = 0xFFFFFFFFU;

void KeepFirstPacket(SSampleLog& log, std::span<const std::uint8_t> packet)
{
    if (log.m_nMdatBytes != 0) return;
    if (log.m_baFirstPacket.SetData(packet.data(), packet.size(), EQmByteArrayModeOp::Replace,
                                    EQmByteArrayModeAlloc::Default) != QM_OK)
    {
        throw std::bad_alloc();  // without its parameter sets no picture of the file could be decoded
    }
}

// Takes the memory for all that one packet adds, so that nothing is logged of a packet that there is no memory for.
void ReserveMemory(SSampleLog& log, std::size_t uiNals)
{
    log.m_vecSampleSizes.reserve(log.m_vecSampleSizes.size() + 1);
    log.m_vecKeySamples.reserve(log.m_vecKeySamples.size() + uiNals);
    log.m_vecNalPatches.reserve(log.m_vecNalPatches.size() + uiNals);
}

// A byte of the packet, counted from a start code. A packet that is nothing but 00 00 01 has a start code without a
// NAL.
std::uint8_t ByteOfNal(std::span<const std::uint8_t> packet, std::size_t uiStartCode, std::size_t uiByte)
{
    const std::size_t uiOffset = uiStartCode + 4 + uiByte;
    return uiOffset < packet.size() ? packet[uiOffset] : 0;
}

void MarkKey(SSampleLog& log, EPacketLayout eLayout, std::span<const std::uint8_t> packet, std::size_t uiStartCode,
             bool bFirstOfPacket)
{
    const std::uint8_t bType = ByteOfNal(packet, uiStartCode, 0);
    const std::uint32_t uiSamplesBefore = static_cast<std::uint32_t>(log.m_vecSampleSizes.size());
    switch (eLayout)
    {
    case EPacketLayout::Nvenc:
        if (bType == g_bIdrSlice) log.m_vecKeySamples.push_back(uiSamplesBefore);
        break;

    case EPacketLayout::Amf:
        if (bFirstOfPacket && bType == g_bDelimiter && ByteOfNal(packet, uiStartCode, 1) == g_bIntraOnly)
        {
            log.m_vecKeySamples.push_back(uiSamplesBefore + 1);
        }
        break;
    }
}

// A NAL begins at uiOffset of the packet being logged: the one before it ends there.
void BeginNal(SSampleLog& log, std::size_t uiOffset, bool bFirstOfPacket)
{
    const std::uint64_t uiStart = log.m_nMdatBytes + uiOffset;
    if (!log.m_vecNalPatches.empty())
    {
        const std::uint64_t uiLength = uiStart - 4 - log.m_nLastNalStart;
        log.m_vecNalPatches.back().m_nLengthBE = ToBigEndian32(static_cast<std::uint32_t>(uiLength));
    }
    log.m_nLastNalStart = uiStart;
    const std::uint32_t uiPlaceholder = bFirstOfPacket ? g_uiFirstNalPlaceholder : g_uiFurtherNalPlaceholder;
    log.m_vecNalPatches.push_back({uiStart, ToBigEndian32(uiPlaceholder)});
}
}  // namespace

void LogPacket(SSampleLog& log, EPacketLayout eLayout, std::span<const std::uint8_t> packet,
               const std::vector<std::size_t>& nalOffsets)
{
    ReserveMemory(log, nalOffsets.size());
    KeepFirstPacket(log, packet);
    for (const std::size_t uiOffset : nalOffsets)
    {
        const bool bFirst = uiOffset == nalOffsets.front();
        MarkKey(log, eLayout, packet, uiOffset, bFirst);
        if (ByteOfNal(packet, uiOffset, 0) == g_bPps) log.m_nPpsOffset = static_cast<std::uint32_t>(uiOffset);
        BeginNal(log, uiOffset, bFirst);
    }
    log.m_vecSampleSizes.push_back(static_cast<std::uint32_t>(packet.size()));
    log.m_nMdatBytes += packet.size();
}
