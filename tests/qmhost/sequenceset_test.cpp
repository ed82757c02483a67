// What sequence parameter sets say of their pictures.
#include <random>

#include <gtest/gtest.h>

#include "muxed_bytes.h"
#include "parts/sequenceset.h"
#include "support/repetitions.h"

namespace qmhost
{
namespace
{

// A set, bit by bit.
class Set
{
public:
    Set(unsigned char uiProfile) : m_bytes({0x67, uiProfile, 0, 31}) { Number(0); }
    Set& Bit(bool bBit)
    {
        if (m_uiBits++ % 8 == 0) m_bytes.push_back(0);
        if (bBit) m_bytes.back() = static_cast<unsigned char>(m_bytes.back() | (0x80 >> ((m_uiBits - 1) % 8)));
        return *this;
    }
    Set& Number(unsigned uiValue)
    {
        unsigned uiLength = 0;
        while (((uiValue + 1) >> (uiLength + 1)) != 0)
            ++uiLength;
        for (unsigned i = 0; i < uiLength; ++i)
            Bit(false);
        for (unsigned i = uiLength + 1; i > 0; --i)
            Bit((((uiValue + 1) >> (i - 1)) & 1) != 0);
        return *this;
    }
    // 4:2:0 of 8 bits, no scaling matrices.
    Set& PlainSamples() { return Number(1).Number(0).Number(0).Bit(false).Bit(false); }
    // Numbers of pictures, their order, references, then the size in macroblocks.
    Set& Size(unsigned uiColumns, unsigned uiRows)
    {
        return Number(4).Number(2).Number(1).Bit(false).Number(uiColumns - 1).Number(uiRows - 1);
    }
    Set& Crop(unsigned uiLeft, unsigned uiRight, unsigned uiTop, unsigned uiBottom)
    {
        return Bit(true).Number(uiLeft).Number(uiRight).Number(uiTop).Number(uiBottom);
    }
    Set& End() { return Bit(false).Bit(true); }
    // As a NAL holds it.
    std::vector<unsigned char> Nal() const
    {
        std::vector<unsigned char> vNal;
        unsigned uiZeros = 0;
        for (const unsigned char uiByte : m_bytes)
        {
            if (uiZeros >= 2 && uiByte <= 3)
            {
                vNal.push_back(3);
                uiZeros = 0;
            }
            vNal.push_back(uiByte);
            uiZeros = uiByte == 0 ? uiZeros + 1 : 0;
        }
        return vNal;
    }

private:
    std::vector<unsigned char> m_bytes;
    unsigned m_uiBits = 0;
};

void ExpectSize(const Set& set, std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    const auto found = ReadSequenceSet(set.Nal());
    ASSERT_TRUE(found);
    EXPECT_EQ(found->m_uiWidth, uiWidth);
    EXPECT_EQ(found->m_uiHeight, uiHeight);
}

TEST(SequenceSets, BytesOfAnEncoder)
{
    const std::string& strSet = muxed_bytes::SEQUENCE_SET;
    const auto set = ReadSequenceSet({reinterpret_cast<const unsigned char*>(strSet.data()), strSet.size()});
    ASSERT_TRUE(set);
    EXPECT_EQ(set->m_uiWidth, 1280U);
    EXPECT_EQ(set->m_uiHeight, 720U);
    EXPECT_EQ(set->m_uiProfile, 100);
    EXPECT_TRUE(set->HasSampleForm());
}

TEST(SequenceSets, WholeMacroblocks)
{
    ExpectSize(Set(77).Size(40, 23).Bit(true).Bit(true).Bit(false).End(), 640, 368);
    ExpectSize(Set(100).PlainSamples().Size(40, 23).Bit(true).Bit(true).Bit(false).End(), 640, 368);
}

TEST(SequenceSets, CroppedSides)
{
    ExpectSize(Set(77).Size(40, 23).Bit(true).Bit(true).Crop(0, 0, 0, 4).End(), 640, 360);
    ExpectSize(Set(77).Size(120, 68).Bit(true).Bit(true).Crop(1, 2, 0, 4).End(), 1914, 1080);
    ExpectSize(Set(100)
                   .Number(3)
                   .Bit(false)
                   .Number(0)
                   .Number(0)
                   .Bit(false)
                   .Bit(false)
                   .Size(2, 2)
                   .Bit(true)
                   .Bit(true)
                   .Crop(1, 0, 0, 3)
                   .End(),
               31, 29);
}

TEST(SequenceSets, Fields)
{
    ExpectSize(Set(77).Size(120, 34).Bit(false).Bit(false).Bit(true).Crop(0, 0, 0, 2).End(), 1920, 1080);
}

TEST(SequenceSets, ScalingMatrices)
{
    // The first list has its own entries, the others follow the rule.
    Set set(100);
    set.Number(1).Number(0).Number(0).Bit(false).Bit(true).Bit(true);
    for (int i = 0; i < 16; ++i)
        set.Number(static_cast<unsigned>(i % 2));
    for (int i = 1; i < 8; ++i)
        set.Bit(false);
    ExpectSize(set.Size(4, 4).Bit(true).Bit(true).Bit(false).End(), 64, 64);
}

TEST(SequenceSets, OrderOfPicturesInCycles)
{
    Set set(77);
    set.Number(4).Number(1).Bit(false).Number(3).Number(4).Number(2).Number(5).Number(6);
    ExpectSize(set.Number(1).Bit(false).Number(3).Number(3).Bit(true).Bit(true).Bit(false).End(), 64, 64);
}

TEST(SequenceSets, StuffedZeros)
{
    // A size whose numbers have long runs of zeros.
    ExpectSize(Set(77).Size(4095, 4095).Bit(true).Bit(true).Bit(false).End(), 65520, 65520);
}

TEST(SequenceSets, WrongOnes)
{
    const auto wrong = [](const Set& set) { return !ReadSequenceSet(set.Nal()); };
    EXPECT_TRUE(wrong(Set(77).Size(1, 1).Bit(true).Bit(true).Crop(0, 8, 0, 0).End()));
    EXPECT_TRUE(wrong(Set(77).Size(4096, 1).Bit(true).Bit(true).Bit(false).End()));
    EXPECT_TRUE(wrong(Set(77).Number(4)));
    std::vector<unsigned char> vOther = Set(77).Size(4, 4).Bit(true).Bit(true).Bit(false).End().Nal();
    vOther[0] = 0x68;
    EXPECT_FALSE(ReadSequenceSet(vOther));
    EXPECT_FALSE(ReadSequenceSet({}));
}

TEST(SequenceSets, AnyBytes)
{
    std::mt19937 random(99);
    for (int i = 0; i < test_support::Repetitions(50'000); ++i)
    {
        std::vector<unsigned char> vBytes(random() % 40);
        for (unsigned char& uiByte : vBytes)
            uiByte = static_cast<unsigned char>(random() % 4 == 0 ? random() : 0);
        if (!vBytes.empty()) vBytes[0] = 0x67;
        if (vBytes.size() > 1) vBytes[1] = random() % 2 == 0 ? 100 : 77;
        if (const auto set = ReadSequenceSet(vBytes))
        {
            EXPECT_GT(set->m_uiWidth, 0U);
            EXPECT_LE(set->m_uiHeight, 65535U);
        }
    }
}

}  // namespace
}  // namespace qmhost
