// What is remembered of each packet.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "mp4_outputfile/muxer/mp4filewriter.h"
#include "muxing.h"
#include "support/repetitions.h"

namespace
{
using Numbers = std::vector<std::uint32_t>;

// The log of a file that couldn't be opened: its packets are logged all the same.
struct SLogs
{
    explicit SLogs(EPacketLayout eLayout) { m_writer.Open(CQmStringW(), eLayout, 64, 48); }

    void Add(const Bytes& vPacket) { EXPECT_TRUE(m_writer.LogPacket(vPacket)); }

    std::vector<std::uint64_t> Offsets() const
    {
        std::vector<std::uint64_t> vOffsets;
        for (const SNalPatch& patch : ToVector(m_log.m_vecNalPatches))
        {
            vOffsets.push_back(patch.m_nOffset);
        }
        return vOffsets;
    }
    // The bytes that would go to the file over each start code.
    std::vector<Bytes> Lengths() const
    {
        std::vector<Bytes> vLengths;
        for (const SNalPatch& patch : ToVector(m_log.m_vecNalPatches))
        {
            Bytes vLength(4);
            std::memcpy(vLength.data(), &patch.m_nLengthBE, 4);
            vLengths.push_back(vLength);
        }
        return vLengths;
    }

    CMp4FileWriter m_writer;
    const SSampleLog& m_log = m_writer.GetLog();
};

struct SNvencLogs : SLogs
{
    SNvencLogs() : SLogs(EPacketLayout::Nvenc) {}
};

struct SAmfLogs : SLogs
{
    SAmfLogs() : SLogs(EPacketLayout::Amf) {}
};

const Bytes g_vFirstPlaceholder = {0, 0, 0, 2};
const Bytes g_vFurtherPlaceholder = {0xFF, 0xFF, 0xFF, 0xFF};
const Bytes g_vDelimiter = {0x09, 0x10};
using Offsets = std::vector<std::uint64_t>;
}  // namespace

TEST(SampleLog, BeginsWithoutAPps)
{
    const SSampleLog log;
    EXPECT_EQ(log.m_nPpsOffset, 0xFFFFFFFFU);
    EXPECT_EQ(log.m_nMdatBytes, 0U);
    EXPECT_EQ(sizeof(SNalPatch), 16U);
}

TEST(NvencPacket, KnownExampleOfThreeNals)
{
    SNvencLogs logs;
    logs.Add(Join({g_vStart4, Nal(0x67, 12), g_vStart4, Nal(0x68, 4), g_vStart4, Nal(0x65, 100)}));
    EXPECT_EQ(logs.Offsets(), (Offsets{0, 16, 24}));
    EXPECT_EQ(logs.Lengths(), (std::vector<Bytes>{{0, 0, 0, 12}, {0, 0, 0, 4}, g_vFurtherPlaceholder}));
    EXPECT_EQ(logs.m_log.m_nMdatBytes, 128U);
    EXPECT_EQ(logs.m_log.m_nPpsOffset, 16U);
    EXPECT_EQ(logs.m_log.m_nLastNalStart, 24U);

    logs.Add(Join({g_vStart4, Nal(0x41, 50)}));
    EXPECT_EQ(logs.Offsets(), (Offsets{0, 16, 24, 128}));
    EXPECT_EQ(logs.Lengths(), (std::vector<Bytes>{{0, 0, 0, 12}, {0, 0, 0, 4}, {0, 0, 0, 100}, g_vFirstPlaceholder}));
    EXPECT_EQ(ToVector(logs.m_log.m_vecSampleSizes), (Numbers{128, 54}));
    EXPECT_EQ(ToVector(logs.m_log.m_vecKeySamples), Numbers{0});
}

TEST(NvencPacket, AnEmptyPacketLeavesNoTrace)
{
    SNvencLogs logs;
    logs.Add({});
    EXPECT_TRUE(logs.m_log.m_vecSampleSizes.empty());
    EXPECT_TRUE(logs.m_log.m_vecNalPatches.empty());
    EXPECT_EQ(logs.m_log.m_nMdatBytes, 0U);
    EXPECT_EQ(logs.m_log.m_baFirstPacket.GetSize(), 0U);
}

TEST(NvencPacket, EmptyPacketsCountForNothingThatFollows)
{
    SNvencLogs logs;
    const Bytes vIdr = Join({g_vStart4, Nal(0x65, 9)});
    for (const Bytes& vPacket : {Bytes(), vIdr, Bytes(), Join({g_vStart4, Nal(0x65, 20)})})
        logs.Add(vPacket);
    EXPECT_EQ(ToVector(logs.m_log.m_vecSampleSizes), (Numbers{13, 24}));
    EXPECT_EQ(ToVector(logs.m_log.m_vecKeySamples), (Numbers{0, 1}));
    EXPECT_EQ(FromByteArray(logs.m_log.m_baFirstPacket), vIdr);
}

TEST(NvencPacket, SizesAndOffsetsAreThoseOfTheNormalisedPacket)
{
    SNvencLogs logs;
    logs.Add(Join({g_vStart3, Nal(0x67, 10), g_vStart3, Nal(0x68, 5), g_vStart3, Nal(0x65, 20)}));
    EXPECT_EQ(ToVector(logs.m_log.m_vecSampleSizes), Numbers{3 * 4 + 35});
    EXPECT_EQ(logs.Offsets(), (Offsets{0, 14, 23}));
    EXPECT_EQ(logs.m_log.m_nPpsOffset, 14U);
    EXPECT_EQ(FromByteArray(logs.m_log.m_baFirstPacket),
              Join({g_vStart4, Nal(0x67, 10), g_vStart4, Nal(0x68, 5), g_vStart4, Nal(0x65, 20)}));
}

TEST(NvencPacket, KeySamplesAreNumberedFromZero)
{
    SNvencLogs logs;
    for (int n = 0; n < 7; ++n)
    {
        logs.Add(Join({g_vStart4, Nal(n % 3 == 0 ? 0x65 : 0x41, 30)}));
    }
    EXPECT_EQ(ToVector(logs.m_log.m_vecKeySamples), (Numbers{0, 3, 6}));
}

TEST(NvencPacket, AnIdrPictureOfSeveralSlicesIsListedOncePerSlice)
{
    SNvencLogs logs;
    logs.Add(Join({g_vStart4, Nal(0x41, 9)}));
    logs.Add(Join({g_vStart4, Nal(0x65, 9), g_vStart3, Nal(0x65, 9), g_vStart3, Nal(0x65, 9)}));
    EXPECT_EQ(ToVector(logs.m_log.m_vecKeySamples), (Numbers{1, 1, 1}));
}

TEST(NvencPacket, AKeyFrameOfAnotherReferenceClassIsNotMarked)
{
    SNvencLogs logs;
    logs.Add(Join({g_vStart4, Nal(0x25, 9)}));
    logs.Add(Join({g_vStart4, Nal(0x45, 9)}));
    EXPECT_TRUE(logs.m_log.m_vecKeySamples.empty());
}

TEST(NvencPacket, APpsInALaterPacketMovesTheOffsetToItsPlaceThere)
{
    SNvencLogs logs;
    logs.Add(Join({g_vStart4, Nal(0x67, 12), g_vStart4, Nal(0x68, 4), g_vStart4, Nal(0x65, 100)}));
    const Bytes vFirst = FromByteArray(logs.m_log.m_baFirstPacket);
    logs.Add(Join({g_vStart4, Nal(0x67, 30), g_vStart4, Nal(0x68, 4), g_vStart4, Nal(0x65, 100)}));
    EXPECT_EQ(logs.m_log.m_nPpsOffset, 34U);
    EXPECT_EQ(FromByteArray(logs.m_log.m_baFirstPacket), vFirst) << "only the first packet is kept";
}

TEST(NvencPacket, OnlyTheNalsOwnFirstByteCounts)
{
    SNvencLogs logs;
    logs.Add(Join({g_vStart4, {0x41, 0x65, 0x68, 0x65}}));
    EXPECT_TRUE(logs.m_log.m_vecKeySamples.empty());
    EXPECT_EQ(logs.m_log.m_nPpsOffset, g_uiNoPpsOffset);
}

TEST(NvencPacket, APacketWithoutStartCodesBelongsToTheNalBefore)
{
    SNvencLogs logs;
    logs.Add(Join({g_vStart4, Nal(0x65, 10)}));
    logs.Add(Nal(0x33, 20));
    logs.Add(Join({g_vStart4, Nal(0x41, 10)}));
    EXPECT_EQ(logs.Lengths(), (std::vector<Bytes>{{0, 0, 0, 30}, g_vFirstPlaceholder}));
    EXPECT_EQ(ToVector(logs.m_log.m_vecSampleSizes), (Numbers{14, 20, 14}));
}

TEST(NvencPacket, APacketThatIsAStartCodeAloneIsLoggedWithoutANal)
{
    SNvencLogs logs;
    logs.Add({0, 0, 1});
    EXPECT_EQ(logs.Offsets(), Offsets{0});
    EXPECT_EQ(ToVector(logs.m_log.m_vecSampleSizes), Numbers{4});
    EXPECT_TRUE(logs.m_log.m_vecKeySamples.empty());
    logs.Add({0x65, 0x65});
    EXPECT_EQ(logs.m_log.m_nMdatBytes, 6U);
}

TEST(AmfPacket, KnownLayoutOfADelimiterAndThreeNals)
{
    SAmfLogs logs;
    logs.Add(
        Join({g_vStart4, g_vDelimiter, g_vStart4, Nal(0x67, 12), g_vStart4, Nal(0x68, 4), g_vStart4, Nal(0x65, 100)}));
    EXPECT_EQ(logs.Offsets(), (Offsets{0, 6, 22, 30}));
    EXPECT_EQ(logs.Lengths(), (std::vector<Bytes>{{0, 0, 0, 2}, {0, 0, 0, 12}, {0, 0, 0, 4}, g_vFurtherPlaceholder}));
    EXPECT_EQ(logs.m_log.m_nPpsOffset, 22U);
    EXPECT_EQ(ToVector(logs.m_log.m_vecKeySamples), Numbers{1});
    EXPECT_EQ(logs.m_log.m_nMdatBytes, 134U);
}

TEST(AmfPacket, APpsInALaterPacketMovesTheOffsetToItsPlaceThere)
{
    SAmfLogs logs;
    const Bytes vFirst =
        Join({g_vStart4, g_vDelimiter, g_vStart4, Nal(0x67, 12), g_vStart4, Nal(0x68, 4), g_vStart4, Nal(0x65, 100)});
    logs.Add(vFirst);
    logs.Add(
        Join({g_vStart4, g_vDelimiter, g_vStart4, Nal(0x67, 30), g_vStart4, Nal(0x68, 4), g_vStart4, Nal(0x65, 100)}));
    EXPECT_EQ(logs.m_log.m_nPpsOffset, 40U);  // after 6 bytes and 34
    EXPECT_EQ(FromByteArray(logs.m_log.m_baFirstPacket), vFirst) << "only the first packet is kept";
}

TEST(AmfPacket, KeySamplesAreNumberedFromOne)
{
    SAmfLogs logs;
    for (int n = 0; n < 7; ++n)
    {
        const Bytes vDelimiter = {0x09, static_cast<std::uint8_t>(n % 3 == 0 ? 0x10 : 0x30)};
        logs.Add(Join({g_vStart4, vDelimiter, g_vStart4, Nal(0x41, 30)}));
    }
    EXPECT_EQ(ToVector(logs.m_log.m_vecKeySamples), (Numbers{1, 4, 7}));
}

TEST(AmfPacket, OnlyTheDelimiterIsTheSignOfAKey)
{
    SAmfLogs logs;
    logs.Add(Join({g_vStart4, Nal(0x65, 30)}));
    logs.Add(Join({g_vStart4, {0x09, 0x30}, g_vStart4, Nal(0x65, 30)}));
    EXPECT_TRUE(logs.m_log.m_vecKeySamples.empty());
    // Further back in the buffer it is no sign of a key.
    logs.Add(Join({g_vStart4, Nal(0x06, 5), g_vStart4, g_vDelimiter, g_vStart4, Nal(0x65, 30)}));
    EXPECT_TRUE(logs.m_log.m_vecKeySamples.empty());
    // After bytes that belong to no NAL it is one.
    logs.Add(Join({{7, 7}, g_vStart4, g_vDelimiter, g_vStart4, Nal(0x41, 30)}));
    EXPECT_EQ(ToVector(logs.m_log.m_vecKeySamples), Numbers{4});
}

TEST(AmfPacket, StartCodesOfThreeBytesAreNotSeenAndNothingIsRewritten)
{
    SAmfLogs logs;
    const Bytes vPacket = Join({g_vStart4, g_vDelimiter, g_vStart3, Nal(0x68, 12), g_vStart4, Nal(0x41, 30)});
    logs.Add(vPacket);
    EXPECT_EQ(logs.Offsets(), (Offsets{0, 21}));
    EXPECT_EQ(logs.m_log.m_nPpsOffset, g_uiNoPpsOffset);
    EXPECT_EQ(ToVector(logs.m_log.m_vecSampleSizes), Numbers{static_cast<std::uint32_t>(vPacket.size())});
    EXPECT_EQ(FromByteArray(logs.m_log.m_baFirstPacket), vPacket);
}

TEST(AmfPacket, ADelimiterAloneIsNotSearched)
{
    SAmfLogs logs;
    logs.Add(Join({g_vStart4, g_vDelimiter}));
    EXPECT_TRUE(logs.m_log.m_vecNalPatches.empty());
    EXPECT_TRUE(logs.m_log.m_vecKeySamples.empty());
    EXPECT_EQ(ToVector(logs.m_log.m_vecSampleSizes), Numbers{6});
}

TEST(AmfPacket, ABufferOfLessThanSixBytesIsNotSearched)
{
    for (std::size_t uiSize = 0; uiSize < 6; ++uiSize)
    {
        SAmfLogs logs;
        Bytes vPacket = Join({g_vStart4, {0x68}});
        vPacket.resize(uiSize);
        vPacket.shrink_to_fit();  // memory checkers see a read past it
        logs.Add(vPacket);
        EXPECT_TRUE(logs.m_log.m_vecNalPatches.empty()) << uiSize;
        EXPECT_EQ(logs.m_log.m_nPpsOffset, g_uiNoPpsOffset) << uiSize;
        EXPECT_EQ(ToVector(logs.m_log.m_vecSampleSizes), Numbers{static_cast<std::uint32_t>(uiSize)});
        EXPECT_EQ(logs.m_log.m_nMdatBytes, uiSize);
    }
}

TEST(AmfPacket, TheSearchEndsSixBytesBeforeTheBuffer)
{
    SAmfLogs logs;
    logs.Add(Join({Bytes(10, 7), g_vStart4, {0x68, 1}}));
    EXPECT_TRUE(logs.m_log.m_vecNalPatches.empty()) << "at n - 6";
    logs.Add(Join({Bytes(10, 7), g_vStart4, {0x68, 1, 2}}));
    EXPECT_EQ(logs.Offsets(), Offsets{16 + 10}) << "at n - 7";
}

TEST(AmfPacket, FindsWhatAByteByByteSearchFinds)
{
    std::mt19937 random(11);
    const int nPackets = test_support::FullFromAQuarter(20000);
    for (int nPacket = 0; nPacket < nPackets; ++nPacket)
    {
        Bytes vPacket(random() % 120);
        for (std::uint8_t& b : vPacket)
        {
            const unsigned uiKind = random() % 7;
            b = static_cast<std::uint8_t>(uiKind < 4 ? 0 : uiKind == 4 ? 1 : uiKind == 5 ? 0x68 : random());
        }
        Offsets vExpected;
        std::uint32_t uiPps = g_uiNoPpsOffset;
        for (std::size_t i = 0; i + 6 < vPacket.size(); ++i)
        {
            if (std::memcmp(vPacket.data() + i, g_vStart4.data(), 4) != 0) continue;
            vExpected.push_back(i);
            if (vPacket[i + 4] == 0x68) uiPps = static_cast<std::uint32_t>(i);
        }
        SAmfLogs logs;
        logs.Add(vPacket);
        ASSERT_EQ(logs.Offsets(), vExpected) << testing::PrintToString(vPacket);
        ASSERT_EQ(logs.m_log.m_nPpsOffset, uiPps) << testing::PrintToString(vPacket);
    }
}
