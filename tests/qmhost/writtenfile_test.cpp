// What a file that was just written may lack.
#include <gtest/gtest.h>

#include "memory_bytes.h"
#include "parts/writtenfile.h"
#include "support/box_builder.h"

namespace qmhost
{
namespace
{

using namespace test_support;
using test_support::Box;  // not that of the reader

constexpr std::uint32_t FRAMES = 3;

std::string MakeSizes(std::uint32_t uiCommon, std::uint32_t uiCount, const std::string& table)
{
    return Box("stsz", Word(0) + Word(uiCommon) + Word(uiCount) + table);
}

const std::string SIZES = MakeSizes(0, FRAMES, Word(5) + Word(4) + Word(3));
const std::string DATA = Box("mdat", "aaaaabbbbccc");

std::string MakeFile(const std::string& data, const std::string& sizes)
{
    return FileType() + Box("free", "") + data + Movie(TrackOfSizes(sizes));
}

std::string Problem(const std::string& file)
{
    MemoryBytes source(file);
    return WrittenFileProblem(source, FRAMES);
}

TEST(WrittenFile, Whole)
{
    EXPECT_EQ(Problem(MakeFile(DATA, SIZES)), "");
    EXPECT_EQ(Problem(MakeFile(DATA, MakeSizes(4, FRAMES, ""))), "");
    EXPECT_EQ(Problem(FileType() + Movie(TrackOfSizes(SIZES)) + DATA), "");
}

TEST(WrittenFile, Empty)
{
    EXPECT_EQ(Problem(""), "it is empty");
}

TEST(WrittenFile, NeverFinished)
{
    const std::string start = FileType() + Box("free", "");
    EXPECT_EQ(Problem(start + "\x1A\xBE\xCE\xDA" + "mdat"), "it was never finished and has no index");
    EXPECT_EQ(Problem(start + "\x1A\xBE\xCE\xDA" + "mdat" + "aaaaabbbbccc"), "it was never finished and has no index");
}

TEST(WrittenFile, WithoutAnIndex)
{
    EXPECT_EQ(Problem(FileType() + DATA), "it has no index");
    EXPECT_EQ(Problem(FileType()), "it has no index");
}

TEST(WrittenFile, EveryTruncation)
{
    const std::string file = MakeFile(DATA, SIZES);
    const std::size_t uiData = file.find("mdat") - 4;
    const std::size_t uiIndex = file.find("moov") - 4;
    EXPECT_EQ(Problem(file.substr(0, uiData + 10)), "its media data is cut off: 10 bytes of 20");
    EXPECT_EQ(Problem(file.substr(0, uiIndex + 10)), "its index is cut off");
    for (std::size_t uiSize = 0; uiSize < file.size(); ++uiSize)
        EXPECT_NE(Problem(file.substr(0, uiSize)), "") << uiSize;
}

TEST(WrittenFile, OtherNumberOfFrames)
{
    EXPECT_EQ(Problem(MakeFile(DATA, MakeSizes(0, 2, Word(5) + Word(4)))), "its index has 2");
    EXPECT_EQ(Problem(MakeFile(DATA, MakeSizes(1, 4, ""))), "its index has 4");
}

TEST(WrittenFile, BrokenIndex)
{
    EXPECT_EQ(Problem(MakeFile(DATA, Box("stsz", "short"))), "its index is broken");
    EXPECT_EQ(Problem(MakeFile(DATA, MakeSizes(0, FRAMES, Word(5)))), "its index is broken");
    EXPECT_EQ(Problem(MakeFile(DATA, Box("free", ""))), "its index is broken");
    EXPECT_EQ(Problem(FileType() + std::string(3, '\0') + '\4' + "abcd" + DATA), "its boxes are broken at byte 24");
}

TEST(WrittenFile, MissingData)
{
    EXPECT_EQ(Problem(MakeFile(Box("mdat", "aaaaabbbbcc"), SIZES)), "their 12 bytes aren't all there, only 11");
    EXPECT_EQ(Problem(MakeFile("", SIZES)), "their 12 bytes aren't all there, only 0");
    EXPECT_EQ(Problem(MakeFile(DATA, MakeSizes(0xFFFFFFFF, FRAMES, ""))),
              "their 12884901885 bytes aren't all there, only 12");
}

TEST(WrittenFile, LongTableOfSizes)
{
    constexpr std::uint32_t COUNT = 2500;  // several blocks
    std::string table;
    std::size_t uiSum = 0;
    for (std::uint32_t i = 0; i < COUNT; ++i)
    {
        table += Word(i % 7);
        uiSum += i % 7;
    }
    MemoryBytes whole(MakeFile(Box("mdat", std::string(uiSum, 'x')), MakeSizes(0, COUNT, table)));
    EXPECT_EQ(WrittenFileProblem(whole, COUNT), "");
    MemoryBytes less(MakeFile(Box("mdat", std::string(uiSum - 1, 'x')), MakeSizes(0, COUNT, table)));
    EXPECT_NE(WrittenFileProblem(less, COUNT), "");
}

// The size of `mdat` has 32 bits, of which a larger one keeps the low ones.
class WrittenLargeFile : public testing::Test
{
protected:
    // uiMedia: of the box `mdat`, with its header.
    static BytesWithHole Make(std::uint64_t uiMedia, const std::string& strEnd)
    {
        const std::string strStart = FileType() + Box("free", "");
        return {strStart + Word(static_cast<std::uint32_t>(uiMedia)) + "mdat", strStart.size() + uiMedia, strEnd};
    }
    static std::string ProblemOf(std::uint64_t uiMedia, const std::string& strEnd)
    {
        BytesWithHole source = Make(uiMedia, strEnd);
        return WrittenFileProblem(source, FRAMES);
    }
    static constexpr std::uint64_t GIB = std::uint64_t{1} << 30;
};

TEST_F(WrittenLargeFile, IsWholeWithAllItsFrames)
{
    const std::string strIndex = Movie(TrackOfSizes(SIZES));
    for (const std::uint64_t uiMedia : {4 * GIB, 4 * GIB + 1, 4 * GIB + 8, 6 * GIB, 8 * GIB - 1, 9 * GIB + 5})
    {
        BytesWithHole source = Make(uiMedia, strIndex);
        EXPECT_EQ(WrittenFileProblem(source, FRAMES), "") << uiMedia;
        BoxReader reader(source);
        const auto boxes = FindWrittenBoxes(reader);
        ASSERT_TRUE(boxes);
        EXPECT_TRUE(boxes->m_bSizeIsCut);
        EXPECT_EQ(boxes->m_uiMediaBytes, uiMedia - 8);
    }
    MemoryBytes small(MakeFile(DATA, SIZES));
    BoxReader reader(small);
    EXPECT_FALSE(FindWrittenBoxes(reader)->m_bSizeIsCut);
}

TEST_F(WrittenLargeFile, IsCheckedAsOthersAre)
{
    EXPECT_EQ(ProblemOf(6 * GIB, Movie(TrackOfSizes(MakeSizes(0, 2, Word(5) + Word(4))))), "its index has 2");
    // 6 GiB of pictures, and the header of `mdat` takes 8 bytes of the box.
    EXPECT_EQ(ProblemOf(6 * GIB, Movie(TrackOfSizes(MakeSizes(0x80000000, FRAMES, "")))),
              "their 6442450944 bytes aren't all there, only 6442450936");
    EXPECT_EQ(ProblemOf(6 * GIB, "12345678901234567890"), "no index is found at its end");
    EXPECT_EQ(ProblemOf(6 * GIB, Movie(TrackOfSizes(SIZES)) + "x"), "no index is found at its end");
    EXPECT_EQ(ProblemOf(4 * GIB + 0x1ABECEDA, "12345678"), "it was never finished and has no index");
}

}  // namespace
}  // namespace qmhost
