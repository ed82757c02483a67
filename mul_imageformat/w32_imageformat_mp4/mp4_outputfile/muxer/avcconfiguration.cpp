#include "mp4_outputfile/muxer/avcconfiguration.h"

#include "common/bigendian.h"
#include "mp4_outputfile/muxer/growingbox.h"

namespace
{
// Count, length and bytes of the PPS that stands in when the stream showed none.
constexpr std::uint8_t g_abNvencPps[8] = {1, 0, 5, 0x68, 0xEE, 0x3C, 0xB0, 0};
constexpr std::uint8_t g_abAmfPps[8] = {1, 0, 5, 0x68, 0xEE, 0x38, 0x80, 0};

// Offset, in the first packet, of the low two bytes of the SPS's length. On AMF a delimiter of 6 bytes comes before it.
constexpr std::uint32_t SpsLengthOffset(EPacketLayout eLayout)
{
    return eLayout == EPacketLayout::Nvenc ? 2 : 8;
}

// The first packet as a run of bytes. A part is tested before it is read.
struct SPacketView
{
    explicit SPacketView(const CQmByteArray& baPacket) : m_pBytes(baPacket.GetData(0)), m_uiSize(baPacket.GetSize()) {}

    bool Holds(std::uint64_t uiOffset, std::uint64_t uiSize) const
    {
        return uiOffset <= m_uiSize && uiSize <= m_uiSize - uiOffset;
    }
    const std::uint8_t* At(std::uint32_t uiOffset) const { return m_pBytes + uiOffset; }

    const std::uint8_t* m_pBytes;
    std::size_t m_uiSize;
};

// Version, profile, compatibility and level, then the SPS after its length. Returns the SPS's size.
std::uint32_t AppendSps(CGrowingBox& box, const CQmByteArray& baFirstPacket, std::uint32_t uiLengthOffset)
{
    const SPacketView packet(baFirstPacket);
    // The length's high two bytes are not looked at: an SPS of 64 KiB or more has no place in this box.
    const bool bLength = packet.Holds(uiLengthOffset, 2);
    const std::uint32_t uiSize = bLength ? LoadBigEndian16(packet.At(uiLengthOffset)) : 0;
    const bool bSps = bLength && packet.Holds(uiLengthOffset, std::uint64_t{uiSize} + 2);

    std::uint8_t abHead[6] = {1, 0, 0, 0, 0xFF, 0xE1};  // 0xFF: lengths have 4 bytes; 0xE1: one SPS
    for (std::uint32_t uiByte = 1; uiByte <= 3; ++uiByte)
    {
        const std::uint32_t uiOffset = uiLengthOffset + 2 + uiByte;
        if (bSps && packet.Holds(uiOffset, 1)) abHead[uiByte] = *packet.At(uiOffset);
    }
    box.Append(abHead, sizeof abHead);
    if (!bSps)
    {
        box.Append16(0);
        return 0;
    }
    box.Append(packet.At(uiLengthOffset), uiSize + 2);
    return uiSize;
}

// The number of PPS, then the PPS after its length. Returns the size of both.
std::uint32_t AppendPps(CGrowingBox& box, const CQmByteArray& baFirstPacket, std::uint32_t uiOffset,
                        EPacketLayout eLayout)
{
    const SPacketView packet(baFirstPacket);
    const bool bLength = uiOffset != g_uiNoPpsOffset && packet.Holds(uiOffset, 4);
    const std::uint32_t uiSize = bLength ? LoadBigEndian32(packet.At(uiOffset)) : 0;
    if (!bLength || !packet.Holds(uiOffset, std::uint64_t{uiSize} + 4))
    {
        box.Append(eLayout == EPacketLayout::Nvenc ? g_abNvencPps : g_abAmfPps, sizeof g_abNvencPps);
        return sizeof g_abNvencPps;
    }
    // The PPS is followed by a zero byte, which its length counts. Readers take it as trailing zero bytes.
    box.Append8(1);
    box.Append16(static_cast<std::uint16_t>(uiSize + 1));
    box.Append(packet.At(uiOffset) + 4, uiSize);
    box.Append8(0);
    return uiSize + 4;
}
}  // namespace

void AppendAvcConfiguration(CGrowingBox& box, const CQmByteArray& baFirstPacket, EPacketLayout eLayout,
                            std::uint32_t uiPpsOffset)
{
    CGrowingBox contents;
    const std::uint32_t uiSps = AppendSps(contents, baFirstPacket, SpsLengthOffset(eLayout));
    const std::uint32_t uiPps = AppendPps(contents, baFirstPacket, uiPpsOffset, eLayout);
    // Of the size only 16 bits are kept.
    box.AppendHead(static_cast<std::uint16_t>(8 + 6 + 2 + uiSps + uiPps), "avcC");
    box.Append(contents);
}
