// What stands before the samples, and what is done to the file when it is closed.
#include <algorithm>
#include <cstring>

#include "common/bigendian.h"
#include "mp4_outputfile/muxer/moovbox.h"
#include "mp4_outputfile/muxer/samplelog.h"

namespace
{
constexpr std::uint8_t g_abFtyp[32] = {0,   0,   0,   32,  'f', 't', 'y', 'p', 'i', 's', 'o', 'm', 0,   0,   2,   0,
                                       'i', 's', 'o', 'm', 'i', 's', 'o', '2', 'a', 'v', 'c', '1', 'm', 'p', '4', '1'};
constexpr std::int64_t g_nMdatSizeOffset = 40;                // in the file
constexpr std::uint32_t g_uiUnfinishedMdatSize = 0x1ABECEDA;  // tells a file that was never closed

void Write(QmFileHandle hFile, const void* pBytes, std::size_t uiSize)
{
    QM_WriteFile(hFile, pBytes, uiSize, nullptr, nullptr);
}

void Write32(QmFileHandle hFile, std::uint32_t uiValue)
{
    const std::uint32_t uiBigEndian = ToBigEndian32(uiValue);
    Write(hFile, &uiBigEndian, sizeof uiBigEndian);
}

void PatchMdatSize(QmFileHandle hFile, std::uint32_t uiSize)
{
    QM_SeekFile(hFile, g_nMdatSizeOffset, QM_SEEK_BEGIN);
    Write32(hFile, uiSize);
}

void PatchFirstPacket(CQmByteArray& baFirstPacket, const SNalPatch& patch)
{
    const std::size_t uiSize = baFirstPacket.GetSize();
    if (patch.m_nOffset >= uiSize) return;
    const std::size_t uiOffset = static_cast<std::size_t>(patch.m_nOffset);
    std::memcpy(baFirstPacket.GetData(uiOffset), &patch.m_nLengthBE,
                std::min(sizeof patch.m_nLengthBE, uiSize - uiOffset));
}
}  // namespace

void WriteMp4Preamble(QmFileHandle hFile)
{
    Write(hFile, g_abFtyp, sizeof g_abFtyp);
    Write32(hFile, 8);
    Write(hFile, "free", 4);
    Write32(hFile, g_uiUnfinishedMdatSize);
    Write(hFile, "mdat", 4);
}

void WriteNalLengths(SSampleLog& log, SNalLog& nals)
{
    if (log.m_hFile == nullptr || nals.m_vecNalPatches.empty()) return;
    const std::uint64_t uiLastLength = log.m_nMdatBytes - nals.m_nLastNalStart - 4;
    nals.m_vecNalPatches.back().m_nLengthBE = ToBigEndian32(static_cast<std::uint32_t>(uiLastLength));
    for (std::size_t ui = 0; ui < nals.m_vecNalPatches.size(); ++ui)
    {
        const SNalPatch& patch = nals.m_vecNalPatches[ui];
        QM_SeekFile(log.m_hFile, static_cast<std::int64_t>(patch.m_nOffset + g_uiMdatPayloadOffset), QM_SEEK_BEGIN);
        Write(log.m_hFile, &patch.m_nLengthBE, sizeof patch.m_nLengthBE);
        PatchFirstPacket(log.m_baFirstPacket, patch);
    }
    nals.m_vecNalPatches.Release();
}

void FinishMp4File(SSampleLog& log, const CGrowingArray<double>& vecFrameTimes, std::uint32_t uiWidth,
                   std::uint32_t uiHeight, std::uint32_t uiSpsLengthOffset)
{
    if (log.m_hFile != nullptr)
    {
        PatchMdatSize(log.m_hFile, static_cast<std::uint32_t>(log.m_nMdatBytes + 8));
        QM_SeekFile(log.m_hFile, 0, QM_SEEK_END);
        const bool bWhole = WriteMoovBox(log.m_hFile, vecFrameTimes, log.m_vecSampleSizes,
                                         static_cast<std::uint16_t>(uiWidth), static_cast<std::uint16_t>(uiHeight),
                                         log.m_baFirstPacket, uiSpsLengthOffset, log.m_vecKeySamples, log.m_nPpsOffset);
        if (!bWhole) PatchMdatSize(log.m_hFile, g_uiUnfinishedMdatSize);
        QM_CloseFile(log.m_hFile);
        log.m_hFile = nullptr;
    }
    log.m_vecSampleSizes.Release();
    log.m_vecKeySamples.Release();
}
