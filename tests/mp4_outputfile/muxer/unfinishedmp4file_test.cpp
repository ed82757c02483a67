// A file whose index there is no memory for: a program of its own, since it takes the place of what writes the index.
#include <gtest/gtest.h>

#include "mp4_outputfile/muxer/moovbox.h"
#include "mp4_outputfile/muxer/samplelog.h"
#include "muxing.h"

bool WriteMoovBox(QmFileHandle, const CGrowingArray<double>&, const CGrowingArray<std::uint32_t>&, std::uint16_t,
                  std::uint16_t, const CQmByteArray&, std::uint32_t, const CGrowingArray<std::uint32_t>&, std::uint32_t)
{
    return false;
}

TEST(UnfinishedMp4File, KeepsThePlaceholderThatTellsIt)
{
    const TemporaryFile file;
    SSampleLog log;
    SNalLog nals;
    log.m_hFile = Create(file);
    WriteMp4Preamble(log.m_hFile);
    const Bytes vPicture = Nal(0x65, 100);
    LogNvencPacket(log, nals, Join({g_vStart4, vPicture}));
    WriteNalLengths(log, nals);
    FinishMp4File(log, {0.0}, 64, 48, g_uiNvencSpsLengthOffset);
    EXPECT_EQ(log.m_hFile, nullptr);

    const Bytes vFile = file.Bytes();
    ASSERT_EQ(vFile.size(), 48U + 104U);
    EXPECT_EQ(Bytes(vFile.begin() + 40, vFile.begin() + 48), (Bytes{0x1A, 0xBE, 0xCE, 0xDA, 'm', 'd', 'a', 't'}));
    EXPECT_EQ(Bytes(vFile.begin() + 48, vFile.end()), Prefixed(vPicture));
}
