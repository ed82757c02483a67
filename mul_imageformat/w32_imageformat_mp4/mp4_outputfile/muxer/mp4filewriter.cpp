#include "mp4_outputfile/muxer/mp4filewriter.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "common/bigendian.h"
#include "mp4_outputfile/muxer/moovbox.h"
#include "mp4_outputfile/muxer/startcodes.h"

namespace
{
constexpr std::uint8_t g_abFtyp[32] = {0,   0,   0,   32,  'f', 't', 'y', 'p', 'i', 's', 'o', 'm', 0,   0,   2,   0,
                                       'i', 's', 'o', 'm', 'i', 's', 'o', '2', 'a', 'v', 'c', '1', 'm', 'p', '4', '1'};
constexpr std::uint64_t g_uiMdatSizeOffset = 40;              // in the file
constexpr std::uint32_t g_uiUnfinishedMdatSize = 0x1ABECEDA;  // the mark of a file that wasn't finished

// Samples and NALs that memory is taken for at the start: an hour of video at 50 frames a second.
constexpr std::size_t g_uiExpectedSamples = 200000;

void PatchFirstPacket(CQmByteArray& baFirstPacket, const SNalPatch& patch)
{
    const std::size_t uiSize = baFirstPacket.GetSize();
    if (patch.m_nOffset >= uiSize) return;
    const std::size_t uiOffset = static_cast<std::size_t>(patch.m_nOffset);
    std::memcpy(baFirstPacket.GetData(uiOffset), &patch.m_nLengthBE,
                std::min(sizeof patch.m_nLengthBE, uiSize - uiOffset));
}
}  // namespace

CMp4FileWriter::CMp4FileWriter()
{
    m_log.m_vecSampleSizes.reserve(g_uiExpectedSamples);
    m_log.m_vecNalPatches.reserve(g_uiExpectedSamples);
}

void CMp4FileWriter::Open(const CQmStringW& strPath, EPacketLayout eLayout, std::uint32_t uiWidth,
                          std::uint32_t uiHeight)
{
    m_eLayout = eLayout;
    m_uiWidth = uiWidth;
    m_uiHeight = uiHeight;
    m_file.Open(strPath);
    if (m_file.IsOpen()) WriteMp4Preamble(m_file);
}

void WriteMp4Preamble(CTargetFile& file)
{
    file.Write(g_abFtyp, sizeof g_abFtyp);
    file.Write32(8);
    file.Write("free", 4);
    file.Write32(g_uiUnfinishedMdatSize);
    file.Write("mdat", 4);
}

bool CMp4FileWriter::IsOpen() const
{
    const CSectionLock lock(m_csFile.Get());
    return m_file.IsOpen();
}

bool CMp4FileWriter::LogPacket(std::span<const std::uint8_t> packet)
try
{
    const CSectionLock lock(m_csFile.Get());
    if (m_bAbandoned) return false;
    if (m_eLayout == EPacketLayout::Amf)
    {
        ::LogPacket(m_log, m_eLayout, packet, FindStartCodes(packet));
        m_file.Write(packet.data(), packet.size());
        return true;
    }

    std::vector<std::uint8_t> out;
    std::vector<std::size_t> nalOffsets;
    NormalizeStartCodes(packet, out, nalOffsets);
    if (out.empty()) return true;
    ::LogPacket(m_log, m_eLayout, out, nalOffsets);
    m_file.Write(out.data(), out.size());
    return true;
}
catch (const std::bad_alloc&)
{
    Abandon();
    return false;
}

void CMp4FileWriter::Abandon()
{
    const CSectionLock lock(m_csFile.Get());
    m_file.Close();
    m_bAbandoned = true;
}

void CMp4FileWriter::WriteNalLengths()
{
    const CSectionLock lock(m_csFile.Get());
    CGrowingArray<SNalPatch>& patches = m_log.m_vecNalPatches;
    if (!m_file.IsOpen() || patches.empty()) return;
    const std::uint64_t uiLastLength = m_log.m_nMdatBytes - m_log.m_nLastNalStart - 4;
    patches.back().m_nLengthBE = ToBigEndian32(static_cast<std::uint32_t>(uiLastLength));
    for (std::size_t ui = 0; ui < patches.size(); ++ui)
    {
        const SNalPatch& patch = patches[ui];
        m_file.Seek(patch.m_nOffset + g_uiMdatPayloadOffset);
        m_file.Write(&patch.m_nLengthBE, sizeof patch.m_nLengthBE);
        PatchFirstPacket(m_log.m_baFirstPacket, patch);
    }
    patches.Release();
}

void CMp4FileWriter::Finish(const CGrowingArray<double>& vecFrameTimes)
{
    const CSectionLock lock(m_csFile.Get());
    const SMovie movie{vecFrameTimes,
                       m_log.m_vecSampleSizes,
                       m_log.m_vecKeySamples,
                       static_cast<std::uint16_t>(m_uiWidth),
                       static_cast<std::uint16_t>(m_uiHeight),
                       m_log.m_baFirstPacket,
                       m_eLayout,
                       m_log.m_nPpsOffset};
    if (m_file.SeekToEnd() && WriteMoovBox(m_file, movie) && m_file.Seek(g_uiMdatSizeOffset))
    {
        m_file.Write32(static_cast<std::uint32_t>(m_log.m_nMdatBytes + 8));
    }
    m_file.Close();
    m_log.m_vecSampleSizes.Release();
    m_log.m_vecKeySamples.Release();
}
