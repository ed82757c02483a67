// The built program repairing a finished file above 4 GiB.
#include <fstream>
#include <iterator>
#include <sstream>

#include <gmock/gmock.h>

#include "repair_fixture.h"
#include "support/mp4_boxes.h"
#include "support/temporary_folder.h"

namespace
{

using namespace repair_fixture;
using testing::HasSubstr;

// Changes what a box of the index holds, and the sizes of the boxes around it.
void SetPayload(std::string& strIndex, const std::string& strPath, const std::string& strPayload)
{
    const Bytes vIndex(strIndex.begin(), strIndex.end());
    const Mp4Box box = FindBox(vIndex, strPath);
    const std::size_t uiOld = box.m_uiEnd - box.m_uiPayload;
    for (std::size_t uiEnd = 0; uiEnd != std::string::npos;)
    {
        uiEnd = strPath.find('/', uiEnd + 1);
        const std::size_t uiHeader = FindBox(vIndex, strPath.substr(0, uiEnd)).m_uiHeader;
        SetWordAt(strIndex, uiHeader,
                  static_cast<std::uint32_t>(WordAt(strIndex, uiHeader) + strPayload.size() - uiOld));
    }
    strIndex.replace(box.m_uiPayload, uiOld, strPayload);
}

// A finished file above 4 GiB: the pictures of the written one again and again, each time from a key picture on. Those
// of some rounds have a filler NAL, which is a hole in the file. A decoder looks at each byte of it, so these are
// rounds of which no picture is read.
class LargeRepair : public RepairProgram
{
protected:
    LargeRepair() : RepairProgram(FolderForHoles()) {}

    static constexpr int ROUNDS = 12;
    static constexpr int PICTURES = ROUNDS * FRAMES;
    static constexpr std::uint32_t FILLER = 36'000'000;

    static bool HasFiller(int nPicture)
    {
        const int nRound = nPicture / FRAMES;
        return (nRound >= 1 && nRound <= 3) || nRound == 9 || nRound == 10;
    }

    void SetUp() override
    {
        const std::string strTables = "moov/trak/mdia/minf/stbl/";
        const std::size_t uiWrittenSizes =
            FindBox(Bytes(s_strIndex.begin(), s_strIndex.end()), strTables + "stsz").m_uiPayload + 12;
        std::string strTimes = Word(0) + Word(PICTURES);
        std::string strKeys = Word(0) + Word(ROUNDS);
        std::string strSizes = Word(0) + Word(0) + Word(PICTURES);
        std::ofstream file(m_strIn, std::ios::binary);
        file << s_strWritten.substr(0, MEDIA_BEGIN);
        for (int i = 0; i < PICTURES; ++i)
        {
            const auto uiFrame = static_cast<std::size_t>(i % FRAMES);
            const std::uint32_t uiSize = WordAt(s_strIndex, uiWrittenSizes + 4 * uiFrame);
            m_vTicksAndPlaces.push_back(10 * TimeMs(i));
            m_vTicksAndPlaces.push_back(static_cast<std::int64_t>(file.tellp()));
            if (uiFrame == 0)
            {
                m_uiWritten = 0;
                strKeys += Word(static_cast<std::uint32_t>(i));  // as NVENC1 counts them
            }
            file << s_strFinished.substr(m_uiWritten, uiSize);
            m_uiWritten += uiSize;
            strTimes += Word(1) + Word(static_cast<std::uint32_t>(10 * (TimeMs(i + 1) - TimeMs(i))));
            const bool bFiller = HasFiller(i);
            strSizes += Word(uiSize + (bFiller ? 4 + FILLER : 0));
            if (!bFiller) continue;
            file << Word(FILLER) << '\x0C';
            file.seekp(FILLER - 2, std::ios::cur);
            file << '\x80';
        }
        const std::uint64_t uiMediaEnd = static_cast<std::uint64_t>(file.tellp());
        ASSERT_GT(uiMediaEnd, std::uint64_t{1} << 32);
        std::string strIndex = s_strIndex;
        SetPayload(strIndex, strTables + "stts", strTimes);
        SetPayload(strIndex, strTables + "stss", strKeys);
        SetPayload(strIndex, strTables + "stsc", muxed_bytes::Words({0, 1, 1, PICTURES, 1}));
        SetPayload(strIndex, strTables + "stsz", strSizes);
        file << strIndex;
        file.seekp(40);
        file << Word(static_cast<std::uint32_t>(uiMediaEnd - 40));
        ASSERT_TRUE(file.good());
    }

    std::vector<std::int64_t> m_vTicksAndPlaces;  // of each picture

private:
    std::size_t m_uiWritten = 0;  // of the round
};

TEST_F(LargeRepair, FileAbove4GiB)
{
    // Before, neither this module nor other programs find the index.
    EXPECT_EQ(RunProgram(QMHOST_PROGRAM, {"times", m_strIn}).m_nStatus, 1);
    EXPECT_THAT(
        Succeed({"repair", m_strIn, m_strOut}),
        HasSubstr(" is a finished file with 288 pictures; the size of its media data, the durations of its track, "));
    EXPECT_EQ(fs::file_size(m_strOut), fs::file_size(m_strIn));
    // Not decoded: that would take long, since a decoder looks at each byte.
    std::istringstream lines(RunFfprobe("-v warning -select_streams v -of default=noprint_wrappers=1:nokey=1 "
                                        "-show_entries packet=pts,pos " +
                                            test_support::Quoted(m_strOut),
                                        Complaints::None));
    EXPECT_THAT(std::vector<std::int64_t>(std::istream_iterator<std::int64_t>(lines), {}),
                testing::ElementsAreArray(m_vTicksAndPlaces));

    std::string strTimes = "frame,time_ms\n";
    for (int i = 0; i < PICTURES; ++i)
        strTimes += std::to_string(i) + "," + std::to_string(TimeMs(i)) + "\n";
    EXPECT_EQ(Succeed({"times", m_strOut, "--csv"}), strTimes);
    // The first and the last one, and one that has both neighbours and more than half of the file's holes before it.
    const int nMiddle = PICTURES / 2 + 5;
    Succeed({"frames", m_strOut, "--raw", Target("out.bgr"), "--frames",
             "0," + std::to_string(PICTURES - 1) + "," + std::to_string(nMiddle)});
    std::string strExpected;
    for (const int nFrame : {0, FRAMES - 1, nMiddle % FRAMES})
        strExpected += WrittenPictures().substr(FRAME_BYTES * static_cast<std::size_t>(nFrame), FRAME_BYTES);
    EXPECT_TRUE(ReadText(Target("out.bgr")) == strExpected);
}

}  // namespace
