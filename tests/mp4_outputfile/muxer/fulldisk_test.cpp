// A disk that is full while a file is closed, with the host's library.
#include <gtest/gtest.h>

#include "mp4_outputfile/muxer/mp4filewriter.h"
#include "muxing.h"
#include "support/full_disk.h"
#include "support/muxed_file.h"

namespace
{
const Bytes g_vMark = {0x1A, 0xBE, 0xCE, 0xDA};

// Closes a file of uiSamples samples of 104 bytes while no file may grow beyond uiBytes.
Bytes CloseOnADiskOf(rlim_t nBytes, std::size_t uiSamples)
{
    const TemporaryFile file;
    CMp4FileWriter writer;
    writer.Open(WidePath(file), EPacketLayout::Nvenc, 64, 48);
    CGrowingArray<double> times;
    for (std::size_t ui = 0; ui < uiSamples; ++ui)
    {
        EXPECT_TRUE(writer.LogPacket(Join({g_vStart4, Nal(0x65, 100)})));
        times.push_back(40.0 * static_cast<double>(ui));
    }
    const test_support::CFullDisk disk(nBytes);
    writer.WriteNalLengths();
    writer.Finish(times);
    return file.Bytes();
}
}  // namespace

TEST(FullDisk, WhileTheIndexIsWrittenTheFileKeepsTheMarkOfAnUnfinishedOne)
{
    for (const std::size_t uiSamples : {std::size_t{3}, std::size_t{20000}})
    {
        const std::size_t uiMedia = 48 + 104 * uiSamples;
        const std::size_t uiWhole = CloseOnADiskOf(RLIM_INFINITY, uiSamples).size();
        ASSERT_GT(uiWhole, uiMedia + 600);
        for (const std::size_t uiBytes : {uiMedia, uiMedia + 1, uiMedia + 500, uiWhole - 1})
        {
            const Bytes vFile = CloseOnADiskOf(uiBytes, uiSamples);
            ASSERT_GE(vFile.size(), 48U);
            EXPECT_EQ(Bytes(vFile.begin() + 40, vFile.begin() + 44), g_vMark) << uiSamples << ", " << uiBytes;
        }
    }
}

TEST(FullDisk, ThatHoldsTheWholeFileDoesNoHarm)
{
    const std::size_t uiWhole = CloseOnADiskOf(RLIM_INFINITY, 3).size();
    const SMuxedFile file = ReadMuxedFile(CloseOnADiskOf(uiWhole, 3));
    EXPECT_EQ(file.m_moov.m_vSizes.size(), 3U);
}
