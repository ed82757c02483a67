// Pictures in media data without an index.
#include <random>

#include <gmock/gmock.h>

#include "memory_bytes.h"
#include "muxed_bytes.h"
#include "parts/picturesplit.h"
#include "support/repetitions.h"

namespace qmhost
{
namespace
{

using namespace muxed_bytes;
using testing::ElementsAre;

SplitPictures Split(const std::string& strMedia)
{
    MemoryBytes source(strMedia);
    return FindPictures(source, 0);
}

// Four bytes in front of each NAL.
const auto NVENC_SIZES = ElementsAre(16 + 8 + 104, 304, 16 + 8 + 44, 70004, 54);

TEST(PictureSplit, StartCodes)
{
    const std::string strMedia = Media(NVENC_PICTURES, 0);
    const SplitPictures found = Split(strMedia);
    EXPECT_EQ(found.m_eMuxer, EMuxer::Nvenc);
    EXPECT_THAT(found.m_vSizes, NVENC_SIZES);
    EXPECT_THAT(found.m_vKeys, ElementsAre(1, 3));
    EXPECT_THAT(found.m_vSequenceSets, ElementsAre(SEQUENCE_SET));
    EXPECT_THAT(found.m_vPictureSets, ElementsAre(PICTURE_SET));
    EXPECT_EQ(found.m_uiEnd, strMedia.size());
    EXPECT_EQ(found.m_uiCut, 0U);
    EXPECT_FALSE(found.m_uiIndex);
    EXPECT_FALSE(found.m_uiDamage);
    EXPECT_FALSE(found.m_bReordered);
}

TEST(PictureSplit, LengthsUpToAnyNal)
{
    constexpr std::size_t NALS = 9;
    for (std::size_t uiLengths = 0; uiLengths <= NALS; ++uiLengths)
    {
        const std::string strMedia = Media(NVENC_PICTURES, uiLengths);
        const SplitPictures found = Split(strMedia);
        EXPECT_THAT(found.m_vSizes, NVENC_SIZES) << uiLengths;
        EXPECT_EQ(found.m_uiEnd, strMedia.size()) << uiLengths;
        EXPECT_THAT(found.m_vSequenceSets, ElementsAre(SEQUENCE_SET)) << uiLengths;
    }
}

// The close was ended in the middle of four bytes.
TEST(PictureSplit, LengthOfWhichSomeBytesWereWritten)
{
    for (const std::size_t uiLengths : {0, 1, 4, 6, 7})
    {
        for (std::size_t uiBytes = 1; uiBytes < 4; ++uiBytes)
        {
            std::string strMedia = Media(NVENC_PICTURES, uiLengths);
            const std::string strNext = Media(NVENC_PICTURES, uiLengths + 1);
            std::size_t uiAt = 0;
            for (std::size_t i = 0; i < uiLengths; ++i)
                uiAt = Media(NVENC_PICTURES, 0).find(START_CODE, uiAt + 4);
            strMedia.replace(uiAt, uiBytes, strNext.substr(uiAt, uiBytes));
            EXPECT_THAT(Split(strMedia).m_vSizes, NVENC_SIZES) << uiLengths << " " << uiBytes;
        }
    }
}

TEST(PictureSplit, LastLengthOfWhichSomeBytesWereWritten)
{
    const std::vector<Picture> vPictures = {{SEQUENCE_SET, PICTURE_SET, Idr(100)}, {Inter(300)}, {Inter(70000)}};
    const std::string strStream = Media(vPictures, 4);
    const std::string strLengths = Media(vPictures, 5);
    const std::size_t uiAt = strStream.size() - 70004;
    for (std::size_t uiBytes = 0; uiBytes <= 4; ++uiBytes)
    {
        const std::string strMedia = strLengths.substr(0, uiAt + uiBytes) + strStream.substr(uiAt + uiBytes);
        EXPECT_THAT(Split(strMedia).m_vSizes, ElementsAre(128, 304, 70004)) << uiBytes;
    }
}

TEST(PictureSplit, DelimitersBeginThePicturesOfAmf)
{
    for (const std::size_t uiLengths : {0, 3, 100})
    {
        const SplitPictures found = Split(Media(AMF_PICTURES, uiLengths));
        EXPECT_EQ(found.m_eMuxer, EMuxer::Amf);
        EXPECT_THAT(found.m_vSizes, ElementsAre(6 + 16 + 8 + 104, 6 + 304, 6 + 64));
        EXPECT_THAT(found.m_vKeys, ElementsAre(1));
    }
}

TEST(PictureSplit, SeveralSlicesAreOnePicture)
{
    const std::vector<Picture> vPictures = {{SEQUENCE_SET, PICTURE_SET, Idr(20), Idr(30, false), Idr(40, false)},
                                            {Inter(20), Inter(30, false), Inter(40, false)}};
    for (const std::size_t uiLengths : {0, 4, 100})
        EXPECT_THAT(Split(Media(vPictures, uiLengths)).m_vSizes, ElementsAre(24 + 102, 102));
}

TEST(PictureSplit, LastPictureThatLacksASlice)
{
    const std::vector<Picture> vPictures = {
        {SEQUENCE_SET, PICTURE_SET, Idr(20), Idr(30, false)}, {Inter(20), Inter(30, false)}, {Inter(25)}};
    const SplitPictures found = Split(Media(vPictures, 0));
    EXPECT_EQ(found.m_vSizes.size(), 2U);
    EXPECT_EQ(found.m_uiCut, 29U);
}

TEST(PictureSplit, ParameterSetsWithoutASlice)
{
    std::vector<Picture> vPictures = NVENC_PICTURES;
    vPictures.push_back({SEQUENCE_SET, PICTURE_SET});
    for (const std::size_t uiLengths : {0, 100})
    {
        const SplitPictures found = Split(Media(vPictures, uiLengths));
        EXPECT_THAT(found.m_vSizes, NVENC_SIZES);
        EXPECT_EQ(found.m_uiCut, 24U);
    }
}

// Bytes of the last start code are left: up to two of them can also be a picture's.
TEST(PictureSplit, CutInAStartCode)
{
    const std::string strMedia = Media(NVENC_PICTURES, 0);
    for (const std::size_t uiBytes : {0, 1, 2, 3, 4})
    {
        const SplitPictures found = Split(strMedia + START_CODE.substr(0, uiBytes));
        EXPECT_THAT(found.m_vSizes, NVENC_SIZES) << uiBytes;
        EXPECT_EQ(found.m_uiEnd, strMedia.size()) << uiBytes;
        EXPECT_EQ(found.m_uiCut, 0U) << uiBytes;
        EXPECT_EQ(found.m_bLastUnproven, uiBytes < 3) << uiBytes;
    }
}

// Of the last slice there is its first byte, which doesn't say whether it begins a picture.
TEST(PictureSplit, CutAfterTheFirstByteOfASlice)
{
    EXPECT_THAT(Split(Media(NVENC_PICTURES, 0) + START_CODE + "\x61").m_vSizes, NVENC_SIZES);
    EXPECT_EQ(Split(Media(NVENC_PICTURES, 0) + START_CODE + "\x61").m_uiCut, 5U);
    EXPECT_THAT(Split(Finished(NVENC_PICTURES) + Word(50) + "\x61").m_vSizes, NVENC_SIZES);
    EXPECT_EQ(Split(Finished(NVENC_PICTURES) + Word(50) + "\x61").m_uiCut, 5U);

    const std::vector<Picture> vTwoSlices = {{SEQUENCE_SET, PICTURE_SET, Idr(20), Idr(30, false)}, {Inter(20)}};
    const SplitPictures found = Split(Media(vTwoSlices, 0) + START_CODE + "\x61");
    EXPECT_EQ(found.m_vSizes.size(), 1U);
    EXPECT_EQ(found.m_uiCut, 24U + 5U);
}

TEST(PictureSplit, LengthThatReachesPastTheEnd)
{
    const std::string strMedia = Finished(NVENC_PICTURES);
    for (const std::size_t uiMissing : {1, 10, 48})
    {
        const SplitPictures found = Split(strMedia.substr(0, strMedia.size() - uiMissing));
        EXPECT_EQ(found.m_vSizes.size(), 4U) << uiMissing;
        EXPECT_EQ(found.m_uiEnd, strMedia.size() - 54) << uiMissing;
        EXPECT_EQ(found.m_uiCut, 54U - uiMissing) << uiMissing;
    }
}

// A write that the system didn't take as a whole ends with a page. A whole picture may end there too.
TEST(PictureSplit, StartCodesThatEndWithAPage)
{
    std::vector<Picture> vPictures = NVENC_PICTURES;
    const std::size_t uiMore = 4096 - Media(vPictures, 0).size() % 4096;
    vPictures.push_back({Inter(uiMore - 4)});
    for (const std::size_t uiLengths : {0, 1, 100})
    {
        const SplitPictures found = Split(Media(vPictures, uiLengths));
        EXPECT_EQ(found.m_vSizes.size(), 6U);
        EXPECT_EQ(found.m_bLastUnproven, uiLengths == 0);
    }
}

// When lengths are there, all slices had been written: a picture may have fewer of them than others.
TEST(PictureSplit, PicturesOfDifferentNumbersOfSlices)
{
    const std::vector<Picture> vPictures = {{SEQUENCE_SET, PICTURE_SET, Idr(20), Idr(30, false)}, {Inter(25)}};
    for (const std::size_t uiLengths : {1, 5})
        EXPECT_EQ(Split(Media(vPictures, uiLengths)).m_vSizes.size(), 2U) << uiLengths;
}

// Half a length is the number of another place, at which a NAL's first byte stands by chance.
TEST(PictureSplit, HalfALengthThatLeadsIntoItsNal)
{
    std::string strSlice = Inter(800);  // 00 00 03 20
    strSlice[0x301 + 4] = '\x61';       // 00 00 03 01 leads here
    const std::vector<Picture> vPictures = {{SEQUENCE_SET, PICTURE_SET, Idr(100)}, {strSlice}, {Inter(50)}};
    std::string strMedia = Media(vPictures, 3);
    strMedia.replace(128, 3, std::string("\0\0\3", 3));
    const SplitPictures found = Split(strMedia);
    EXPECT_THAT(found.m_vSizes, ElementsAre(128, 804, 54));
    EXPECT_FALSE(found.m_uiDamage);
}

// A length that ends in 1 looks like half of one.
TEST(PictureSplit, LengthThatEndsInOne)
{
    const std::vector<Picture> vPictures = {{SEQUENCE_SET, PICTURE_SET, Idr(100)}, {Inter(0x301)}, {Inter(50)}};
    for (const std::size_t uiLengths : {4, 5})
        EXPECT_THAT(Split(Media(vPictures, uiLengths)).m_vSizes, ElementsAre(128, 0x305, 54)) << uiLengths;
    EXPECT_THAT(Split(Finished(vPictures) + WithLength(Inter(60)) + MuxerIndex({})).m_vSizes,
                ElementsAre(128, 0x305, 54, 64));
}

TEST(PictureSplit, IndexAfterThePictures)
{
    const std::string strMedia = Finished(NVENC_PICTURES);
    const std::string strIndex = MuxerIndex({});
    for (std::size_t uiBytes = 5; uiBytes <= strIndex.size(); ++uiBytes)
    {
        const SplitPictures found = Split(strMedia + strIndex.substr(0, uiBytes));
        EXPECT_THAT(found.m_vSizes, NVENC_SIZES) << uiBytes;
        EXPECT_EQ(found.m_uiIndex, strMedia.size()) << uiBytes;
        EXPECT_FALSE(found.m_uiDamage) << uiBytes;
    }
}

TEST(PictureSplit, EndsAtDamage)
{
    const std::string strMedia = Finished(NVENC_PICTURES);
    std::string strDamaged = strMedia;
    const std::size_t uiAt = 128 + 304;  // the third picture
    strDamaged.replace(uiAt, 40, std::string(40, '\0'));
    const SplitPictures found = Split(strDamaged);
    EXPECT_EQ(found.m_vSizes.size(), 1U);  // the end of the second one is no longer certain
    ASSERT_TRUE(found.m_uiDamage);
    EXPECT_EQ(*found.m_uiDamage, 128U);
}

const std::vector<Picture> LONG_PICTURES = {
    {SEQUENCE_SET, PICTURE_SET, Idr(5000)}, {Inter(6000)}, {Inter(7000)}, {Inter(8000)}, {Inter(9000)}};

// A page that is lost holds the start code between the second and the third picture.
TEST(PictureSplit, HoleOverAStartCode)
{
    std::string strMedia = Media(LONG_PICTURES, 0);
    const std::size_t uiHole = 5028 + 4000;
    strMedia.replace(uiHole, 4096, std::string(4096, '\0'));
    SplitPictures found = Split(strMedia);
    EXPECT_THAT(found.m_vSizes, ElementsAre(5028, 6004 + 7004, 8004, 9004));
    EXPECT_EQ(found.m_uiDamage, uiHole - (Inter(6000)[uiHole - 5028 - 5] == '\0' ? 1 : 0));
    EXPECT_EQ(found.m_uiSure, 1U);
    EXPECT_EQ(found.m_uiSureEnd, 5028U);
    found.KeepSure();
    EXPECT_THAT(found.m_vSizes, ElementsAre(5028));
    EXPECT_EQ(found.m_uiEnd, 5028U);
}

// A 1 after a hole may be any byte, so the next picture isn't found.
TEST(PictureSplit, HoleUpToAStartCode)
{
    std::string strMedia = Media(LONG_PICTURES, 0);
    strMedia.replace(5028 + 6004 - 50, 50, std::string(50, '\0'));
    const SplitPictures found = Split(strMedia);
    EXPECT_EQ(found.m_vSizes.size(), 4U);
    EXPECT_EQ(found.m_uiSure, 1U);
    EXPECT_TRUE(found.m_uiDamage);
}

TEST(PictureSplit, ZerosUpToTheEnd)
{
    const std::string strMedia = Media(LONG_PICTURES, 0) + std::string(10'000, '\0');
    const SplitPictures found = Split(strMedia);
    EXPECT_EQ(found.m_vSizes.size(), 4U);
    EXPECT_EQ(found.m_uiSure, 4U);
    EXPECT_EQ(found.m_uiDamage, Media(LONG_PICTURES, 0).size());
}

// A NAL without a first byte that one can have.
TEST(PictureSplit, WrongFirstByte)
{
    std::string strMedia = Media(LONG_PICTURES, 0);
    strMedia[5028 + 6004 + 4] = '\xFF';
    const SplitPictures found = Split(strMedia);
    EXPECT_THAT(found.m_vSizes, ElementsAre(5028, 6004, 7004 + 8004, 9004));
    EXPECT_EQ(found.m_uiDamage, 5028U + 6004U);
    EXPECT_EQ(found.m_uiSure, 2U);
}

TEST(PictureSplit, WrongLengthBeforeStartCodes)
{
    std::string strMedia = Media(LONG_PICTURES, 5);
    strMedia.replace(5028, 4, Word(0x00345678));
    const SplitPictures found = Split(strMedia);
    EXPECT_EQ(found.m_uiDamage, 5028U);
    EXPECT_EQ(found.m_uiSure, 0U);
    EXPECT_EQ(found.m_vSizes.back(), 9004U);
}

// Pages reach the disk in any order: here the first one still has its start codes.
TEST(PictureSplit, LengthsAfterAStartCode)
{
    const std::string strMedia =
        Media(LONG_PICTURES, 0).substr(0, 5028 + 4) + Media(LONG_PICTURES, 100).substr(5028 + 4);
    for (const std::string& strAfter : {std::string(), MuxerIndex({}), START_CODE + Inter(500)})
    {
        const SplitPictures found = Split(strMedia + strAfter);
        EXPECT_EQ(found.m_uiSure, 1U);
        EXPECT_TRUE(found.m_uiDamage);
    }
}

TEST(PictureSplit, NoPictures)
{
    for (const std::string& strMedia :
         {std::string(), std::string(3, '\0'), START_CODE, std::string(100, '\0'), std::string(100, 'x')})
    {
        const SplitPictures found = Split(strMedia);
        EXPECT_TRUE(found.m_vSizes.empty());
        EXPECT_EQ(found.m_uiEnd, 0U);
    }
}

TEST(PictureSplit, BPicturesAreSeen)
{
    // First macroblock 0, type 1 or 6: the bits 1 010 and 1 00111.
    const auto slice = [](char c) { return std::string("\x41") + c + std::string(20, 'x'); };
    EXPECT_TRUE(Split(WithLength(slice('\xA0'))).m_bReordered);
    EXPECT_TRUE(Split(WithLength(slice('\x9C'))).m_bReordered);
    EXPECT_FALSE(Split(WithLength(slice('\xE0'))).m_bReordered);  // type 0
    EXPECT_FALSE(Split(WithLength(slice('\x98'))).m_bReordered);  // type 5
    EXPECT_FALSE(Split(WithLength(slice('\x88'))).m_bReordered);  // type 7
}

// Lengths that end in 1 look like half of one, and each NAL with a start code is looked through. Neither takes a look
// at all data after it.
TEST(PictureSplit, ReadsEachByteAFewTimes)
{
    std::vector<Picture> vPictures = {{SEQUENCE_SET, PICTURE_SET, Idr(100)}};
    vPictures.resize(150, {Inter(0x18001)});
    for (const std::size_t uiLengths : {0, 75, 1000})
    {
        const std::string strMedia = Media(vPictures, uiLengths);
        MemoryBytes source(strMedia);
        EXPECT_EQ(FindPictures(source, 0).m_vSizes.size(), 150U);
        EXPECT_LE(source.BytesRead(), 4 * strMedia.size()) << uiLengths;
    }
}

// --- data that may hold anything ---

// A walk that moves on reads each block a few times at most.
void ExpectSane(const std::string& strMedia)
{
    MemoryBytes source(strMedia);
    const SplitPictures found = FindPictures(source, 0);
    std::uint64_t uiSum = 0;
    for (const std::uint32_t uiSize : found.m_vSizes)
        uiSum += uiSize;
    EXPECT_EQ(uiSum, found.m_uiEnd);
    EXPECT_LE(found.m_uiEnd + found.m_uiCut, strMedia.size());
    EXPECT_LE(source.Reads(), 10U);
}

TEST(HostilePictures, EveryTruncation)
{
    const std::vector<Picture> vPictures = {{SEQUENCE_SET, PICTURE_SET, Idr(100)}, {Inter(300)}, {Inter(50)}};
    for (const std::size_t uiLengths : {0, 3, 100})
    {
        const std::string strMedia = Media(vPictures, uiLengths);
        for (std::size_t uiSize = 0; uiSize <= strMedia.size(); ++uiSize)
            ExpectSane(strMedia.substr(0, uiSize));
    }
}

TEST(HostilePictures, RandomBytes)
{
    std::mt19937 random(4711);
    constexpr char BYTES[] = {0, 0, 0, 1, 1, 2, 3, 0x09, 0x10, 0x61, 0x65, 0x67, 0x68, 'm', 'o', 'v', '\x80', '\xFF'};
    for (int i = 0; i < test_support::Repetitions(5'000); ++i)
    {
        std::string strMedia(random() % 200, '\0');
        for (char& c : strMedia)
            c = BYTES[random() % sizeof BYTES];
        ExpectSane(strMedia);
    }
}

TEST(HostilePictures, ChangedBytes)
{
    std::mt19937 random(815);
    const std::vector<Picture> vPictures = {{SEQUENCE_SET, PICTURE_SET, Idr(100)}, {Inter(300)}, {Inter(50)}};
    for (int i = 0; i < test_support::Repetitions(5'000); ++i)
    {
        std::string strMedia = Media(vPictures, random() % 7);
        for (unsigned uiChanges = random() % 4; uiChanges > 0; --uiChanges)
            strMedia[random() % strMedia.size()] = static_cast<char>(random() % 3 == 0 ? 0 : random());
        ExpectSane(strMedia);
    }
}

}  // namespace
}  // namespace qmhost
