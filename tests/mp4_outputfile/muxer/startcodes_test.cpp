// Start codes of three and four bytes become four.
#include <gtest/gtest.h>

#include <random>

#include "mp4_outputfile/muxer/startcodes.h"
#include "muxing.h"

namespace
{
struct SNormalized
{
    Bytes m_vOut;
    std::vector<std::size_t> m_vOffsets;
    bool operator==(const SNormalized&) const = default;
};

SNormalized Normalize(const Bytes& vPacket)
{
    SNormalized result{{9, 9}, {7}};  // what was there before is gone
    NormalizeStartCodes(vPacket, result.m_vOut, result.m_vOffsets);
    return result;
}

// The definition, a byte at a time; signed arithmetic, so that short packets need no care.
SNormalized Define(const Bytes& vPacket)
{
    SNormalized result;
    const long long n = static_cast<long long>(vPacket.size());
    const auto is = [&vPacket](long long i, const Bytes& vCode) {
        for (std::size_t k = 0; k < vCode.size(); ++k)
        {
            if (vPacket.at(static_cast<std::size_t>(i) + k) != vCode[k]) return false;
        }
        return true;
    };
    long long i = 0;
    while (i < n)
    {
        bool bThree = false;
        if (i == 0) bThree = n >= 3 && is(0, g_vStart3);
        if (i > 0) bThree = i < n - 3 && vPacket[static_cast<std::size_t>(i - 1)] != 0 && is(i, g_vStart3);
        const bool bFour = !bThree && i < n - 4 && is(i, g_vStart4);
        if (bThree || bFour)
        {
            result.m_vOffsets.push_back(result.m_vOut.size());
            result.m_vOut.insert(result.m_vOut.end(), g_vStart4.begin(), g_vStart4.end());
            i += bThree ? 3 : 4;
            continue;
        }
        result.m_vOut.push_back(vPacket[static_cast<std::size_t>(i)]);
        ++i;
    }
    return result;
}
}  // namespace

TEST(NormalizeStartCodes, ThreeAndFourBytesBecomeFour)
{
    EXPECT_EQ(Normalize({0, 0, 1, 0x67, 7, 0, 0, 0, 1, 0x68, 8, 0, 0, 1, 0x65, 9}),
              (SNormalized{{0, 0, 0, 1, 0x67, 7, 0, 0, 0, 1, 0x68, 8, 0, 0, 0, 1, 0x65, 9}, {0, 6, 12}}));
}

TEST(NormalizeStartCodes, OfManyZerosOnlyTheLastOneBelongsToTheCode)
{
    EXPECT_EQ(Normalize({0, 0, 0, 0, 0, 1, 0x65}), (SNormalized{{0, 0, 0, 0, 0, 1, 0x65}, {2}}));
    EXPECT_EQ(Normalize({5, 0, 0, 0, 0, 1, 0x65}), (SNormalized{{5, 0, 0, 0, 0, 1, 0x65}, {2}}));
}

TEST(NormalizeStartCodes, ACodeAtTheVeryEndIsNone)
{
    EXPECT_EQ(Normalize({0x65, 0, 0, 1}), (SNormalized{{0x65, 0, 0, 1}, {}}));
    EXPECT_EQ(Normalize({0x65, 0, 0, 0, 1}), (SNormalized{{0x65, 0, 0, 0, 1}, {}}));
    EXPECT_EQ(Normalize({0, 0, 0, 1}), (SNormalized{{0, 0, 0, 1}, {}}));
    EXPECT_EQ(Normalize({0x65, 0, 0, 1, 7}), (SNormalized{{0x65, 0, 0, 0, 1, 7}, {1}}));
}

TEST(NormalizeStartCodes, APacketShorterThanACodeIsCopied)
{
    EXPECT_EQ(Normalize({}), (SNormalized{}));
    EXPECT_EQ(Normalize({0}), (SNormalized{{0}, {}}));
    EXPECT_EQ(Normalize({0, 0}), (SNormalized{{0, 0}, {}}));
    EXPECT_EQ(Normalize({0, 1}), (SNormalized{{0, 1}, {}}));
    EXPECT_EQ(Normalize({1}), (SNormalized{{1}, {}}));
}

TEST(NormalizeStartCodes, APacketOfThreeBytesMayBeACodeAlone)
{
    EXPECT_EQ(Normalize({0, 0, 1}), (SNormalized{{0, 0, 0, 1}, {0}}));
}

TEST(NormalizeStartCodes, CodesWithNothingBetweenThem)
{
    EXPECT_EQ(Normalize({0, 0, 1, 0, 0, 1, 0, 0, 0, 1, 5}),
              (SNormalized{{0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 5}, {0, 4, 8}}));
}

TEST(NormalizeStartCodes, RoomIsReservedForTheWorstPacket)
{
    Bytes vOut;
    std::vector<std::size_t> vOffsets;
    NormalizeStartCodes(Bytes(1000, 3), vOut, vOffsets);
    EXPECT_GE(vOut.capacity(), 2U * 1000U + 64U);
}

TEST(NormalizeStartCodes, EveryShortPacketOfZerosOnesAndOthers)
{
    for (std::size_t uiSize = 0; uiSize <= 10; ++uiSize)
    {
        std::size_t uiPackets = 1;
        for (std::size_t ui = 0; ui < uiSize; ++ui)
        {
            uiPackets *= 3;
        }
        for (std::size_t uiNumber = 0; uiNumber < uiPackets; ++uiNumber)
        {
            Bytes vPacket;
            std::size_t uiRest = uiNumber;
            for (std::size_t ui = 0; ui < uiSize; ++ui, uiRest /= 3)
            {
                vPacket.push_back(static_cast<std::uint8_t>(uiRest % 3));
            }
            ASSERT_EQ(Normalize(vPacket), Define(vPacket)) << testing::PrintToString(vPacket);
        }
    }
}

TEST(NormalizeStartCodes, RandomPacketsFullOfZerosAndOnes)
{
    std::mt19937 random(10);
    for (int nPacket = 0; nPacket < 20000; ++nPacket)
    {
        Bytes vPacket(random() % 300);
        const unsigned uiOthers = random() % 6;
        for (std::uint8_t& b : vPacket)
        {
            const unsigned uiKind = random() % (4 + uiOthers);
            b = static_cast<std::uint8_t>(uiKind < 3 ? 0 : uiKind == 3 ? 1 : random());
        }
        ASSERT_EQ(Normalize(vPacket), Define(vPacket)) << testing::PrintToString(vPacket);
    }
}
