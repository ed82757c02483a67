// The decoder's configuration: where the SPS and PPS are looked for, and what stands in for them.
#include <gtest/gtest.h>

#include "mp4_outputfile/muxer/avcconfiguration.h"
#include "mp4_outputfile/muxer/growingbox.h"
#include "mp4_outputfile/muxer/samplelog.h"
#include "muxing.h"

namespace
{
constexpr EPacketLayout g_eNvenc = EPacketLayout::Nvenc;
constexpr EPacketLayout g_eAmf = EPacketLayout::Amf;

const Bytes g_vSps = {0x67, 0x4D, 0x40, 0x1E, 0x99, 0x88, 0x77};
const Bytes g_vPps = {0x68, 0xEE, 0x38, 0x80};
const Bytes g_vIdr = Nal(0x65, 100);

const Bytes g_vNvencPacket = Join({Prefixed(g_vSps), Prefixed(g_vPps), Prefixed(g_vIdr)});
const Bytes g_vAmfPacket = Join({Prefixed({0x09, 0x10}), g_vNvencPacket});

Bytes AvcC(const Bytes& vFirstPacket, EPacketLayout eLayout, std::uint32_t uiPpsOffset)
{
    const CQmByteArray baPacket = ToByteArray(vFirstPacket);
    CGrowingBox box;
    AppendAvcConfiguration(box, baPacket, eLayout, uiPpsOffset);
    EXPECT_EQ(FromByteArray(baPacket), vFirstPacket) << "the packet isn't changed";
    return {box.Data(), box.Data() + box.Size()};
}

// The box around what it should hold.
Bytes Box(std::uint32_t uiSize, const Bytes& vContents)
{
    return Join({Bytes32(uiSize), {'a', 'v', 'c', 'C'}, vContents});
}

const Bytes g_vHead = {1, 0x4D, 0x40, 0x1E, 0xFF, 0xE1};
const Bytes g_vEmptyHead = {1, 0, 0, 0, 0xFF, 0xE1, 0, 0};
const Bytes g_vSpsPart = Join({g_vHead, {0, 7}, g_vSps});
const Bytes g_vNvencBuiltIn = {1, 0, 5, 0x68, 0xEE, 0x3C, 0xB0, 0};
const Bytes g_vAmfBuiltIn = {1, 0, 5, 0x68, 0xEE, 0x38, 0x80, 0};
}  // namespace

TEST(AvcConfiguration, OfTheNvencLayoutBeginsWithTheFirstNal)
{
    EXPECT_EQ(AvcC(g_vNvencPacket, g_eNvenc, 11), Box(7 + 4 + 20, Join({g_vSpsPart, {1, 0, 5}, g_vPps, {0}})));
}

TEST(AvcConfiguration, OfTheAmfLayoutBeginsAfterTheDelimiter)
{
    EXPECT_EQ(AvcC(g_vAmfPacket, g_eAmf, 17), Box(7 + 4 + 20, Join({g_vSpsPart, {1, 0, 5}, g_vPps, {0}})));
}

TEST(AvcConfiguration, APpsIsFollowedByAZeroThatItsLengthCounts)
{
    const Bytes vPps = {0x68, 1, 2, 3, 4, 5, 6};
    const Bytes vPacket = Join({Prefixed(g_vSps), Prefixed(vPps)});
    EXPECT_EQ(AvcC(vPacket, g_eNvenc, 11), Box(7 + 7 + 20, Join({g_vSpsPart, {1, 0, 8}, vPps, {0}})));
}

TEST(AvcConfiguration, WithoutAPpsTheBuiltInOneOfThePathIsTaken)
{
    const Bytes vNvenc = Join({Prefixed(g_vSps), Prefixed(g_vIdr)});
    EXPECT_EQ(AvcC(vNvenc, g_eNvenc, g_uiNoPpsOffset), Box(7 + 24, Join({g_vSpsPart, g_vNvencBuiltIn})));
    const Bytes vAmf = Join({Prefixed({0x09, 0x10}), vNvenc});
    EXPECT_EQ(AvcC(vAmf, g_eAmf, g_uiNoPpsOffset), Box(7 + 24, Join({g_vSpsPart, g_vAmfBuiltIn})));
}

TEST(AvcConfiguration, APpsOfAnotherFirstByteGivesTheBuiltInOne)
{
    // Logged like any packet of the encoder: 0x28 is a PPS of another reference class, and isn't looked for.
    SSampleLog log;
    const Bytes vPacket = Join({g_vStart4, g_vSps, g_vStart4, {0x28, 0xEE, 0x38, 0x80}, g_vStart4, g_vIdr});
    LogPacket(log, g_eNvenc, vPacket, {0, 11, 19});
    EXPECT_EQ(log.m_nPpsOffset, g_uiNoPpsOffset);
    EXPECT_EQ(AvcC(g_vNvencPacket, g_eNvenc, log.m_nPpsOffset), Box(7 + 24, Join({g_vSpsPart, g_vNvencBuiltIn})));
}

TEST(AvcConfiguration, APpsOfAnotherFirstByteGivesTheBuiltInOneOfTheAmfPathToo)
{
    SSampleLog log;
    const Bytes vPacket =
        Join({g_vStart4, {0x09, 0x10}, g_vStart4, g_vSps, g_vStart4, {0x28, 0xEE, 0x38, 0x80}, g_vStart4, g_vIdr});
    LogPacket(log, g_eAmf, vPacket, {0, 6, 17, 25});
    EXPECT_EQ(log.m_nPpsOffset, g_uiNoPpsOffset);
    EXPECT_EQ(AvcC(g_vAmfPacket, g_eAmf, log.m_nPpsOffset), Box(7 + 24, Join({g_vSpsPart, g_vAmfBuiltIn})));
}

TEST(AvcConfiguration, OfAnSpsOf64KiBOrMoreOnly16BitsOfItsSizeAreRead)
{
    const Bytes vSps = Nal(0x67, 65536 + 3);
    const Bytes vPacket = Join({Prefixed(vSps), Prefixed(g_vPps)});
    const Bytes vExpected = {1, 0xAB, 0xAB, 0xAB, 0xFF, 0xE1, 0, 3, 0x67, 0xAB, 0xAB};
    EXPECT_EQ(AvcC(vPacket, g_eNvenc, 65536 + 7), Box(3 + 4 + 20, Join({vExpected, {1, 0, 5}, g_vPps, {0}})));
}

TEST(AvcConfiguration, ItsSizeIsTakenModulo65536)
{
    const Bytes vSps = Nal(0x67, 65535);
    const Bytes vPacket = Join({Prefixed(vSps), Prefixed(g_vPps)});
    const Bytes vBox = AvcC(vPacket, g_eNvenc, 65535 + 4);
    EXPECT_EQ(vBox.size(), 65535U + 4U + 20U);
    EXPECT_EQ(WordAt(vBox, 0), 65535U + 4U + 20U - 65536U);

    const Bytes vWithoutPps = AvcC(vPacket, g_eNvenc, g_uiNoPpsOffset);
    EXPECT_EQ(vWithoutPps.size(), 65535U + 24U);
    EXPECT_EQ(WordAt(vWithoutPps, 0), 65535U + 24U - 65536U);
}

TEST(AvcConfiguration, APpsLengthKeepsItsLow16Bits)
{
    const Bytes vPps = Nal(0x68, 70000);
    const Bytes vPacket = Join({Prefixed(g_vSps), Prefixed(vPps)});
    const Bytes vBox = AvcC(vPacket, g_eNvenc, 11);
    EXPECT_EQ(vBox,
              Box((7 + 70000 + 20) % 65536, Join({g_vSpsPart, {1, 70001 % 65536 / 256, 70001 % 256}, vPps, {0}})));
}

TEST(AvcConfiguration, AnOffsetOfALaterPacketsPpsIsReadInTheFirst)
{
    // There, 16 bytes in, stand the zeros of the PPS and a 3, taken for a length.
    const Bytes vPacket = Join({Prefixed(g_vSps), Prefixed({0x68, 0, 0, 0}), {3, 0x65, 0x88, 0x84}, Bytes(20, 0x41)});
    EXPECT_EQ(AvcC(vPacket, g_eNvenc, 16), Box(7 + 3 + 20, Join({g_vSpsPart, {1, 0, 4}, {0x65, 0x88, 0x84}, {0}})));
}

TEST(AvcConfiguration, WithoutTheDelimiterTwoBytesOfANalAreReadAsTheSpsLength)
{
    // An AMF packet that begins with its SPS: at 8 stand the SPS's fifth and sixth bytes.
    const Bytes vSps = {0x67, 0x4D, 0x40, 0x1E, 0x00, 0x05, 0x11, 0x22, 0x33, 0x44, 0x55};
    const Bytes vPacket = Join({Prefixed(vSps), Prefixed(g_vIdr)});
    const Bytes vHead = {1, 0x22, 0x33, 0x44, 0xFF, 0xE1, 0, 5, 0x11, 0x22, 0x33, 0x44, 0x55};
    EXPECT_EQ(AvcC(vPacket, g_eAmf, g_uiNoPpsOffset), Box(5 + 24, Join({vHead, g_vAmfBuiltIn})));
}

TEST(AvcConfiguration, AnSpsThatLeavesThePacketIsEmpty)
{
    const Bytes vExpected = Box(24, Join({g_vEmptyHead, g_vNvencBuiltIn}));
    EXPECT_EQ(AvcC({0, 0, 0xFF, 0xF0, 0x67, 1, 2, 3}, g_eNvenc, g_uiNoPpsOffset), vExpected);
    EXPECT_EQ(AvcC({0, 0, 0, 5, 0x67, 1, 2, 3}, g_eNvenc, g_uiNoPpsOffset), vExpected) << "one byte short";
    EXPECT_EQ(AvcC({0, 0, 0}, g_eNvenc, g_uiNoPpsOffset), vExpected) << "half a length";
    EXPECT_EQ(AvcC({}, g_eNvenc, g_uiNoPpsOffset), vExpected) << "no packet came";
}

TEST(AvcConfiguration, AProfileBeyondThePacketIsZero)
{
    EXPECT_EQ(AvcC({0, 0, 0, 2, 0x67, 0x4D}, g_eNvenc, g_uiNoPpsOffset),
              Box(2 + 24, Join({{1, 0x4D, 0, 0, 0xFF, 0xE1, 0, 2, 0x67, 0x4D}, g_vNvencBuiltIn})));
}

TEST(AvcConfiguration, APpsThatLeavesThePacketGivesTheBuiltInOne)
{
    const Bytes vNvenc = Box(7 + 24, Join({g_vSpsPart, g_vNvencBuiltIn}));
    EXPECT_EQ(AvcC(Join({Prefixed(g_vSps), {0, 0, 0, 5}, g_vPps}), g_eNvenc, 11), vNvenc) << "one byte short";
    EXPECT_EQ(AvcC(Join({Prefixed(g_vSps), {0xFF, 0xFF, 0xFF, 0xFF}, g_vPps}), g_eNvenc, 11), vNvenc);
    EXPECT_EQ(AvcC(Join({Prefixed(g_vSps), {0, 0, 0}}), g_eNvenc, 11), vNvenc) << "less than a length";
    EXPECT_EQ(AvcC(Prefixed(g_vSps), g_eNvenc, 4000000), vNvenc);
    EXPECT_EQ(AvcC(Prefixed(g_vSps), g_eNvenc, 0xFFFFFFFE), vNvenc);
}
