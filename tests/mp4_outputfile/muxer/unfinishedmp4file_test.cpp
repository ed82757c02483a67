// A file whose index there is no memory for: a program of its own, since it takes the place of what writes the index.
#include <gtest/gtest.h>

#include "mp4_outputfile/muxer/moovbox.h"
#include "mp4_outputfile/muxer/mp4filewriter.h"
#include "muxing.h"

bool WriteMoovBox(CTargetFile&, const SMovie&)
{
    return false;
}

TEST(UnfinishedMp4File, KeepsTheMarkOfAnUnfinishedFile)
{
    const TemporaryFile file;
    CMp4FileWriter writer;
    writer.Open(WidePath(file), EPacketLayout::Nvenc, 64, 48);
    const Bytes vPicture = Nal(0x65, 100);
    EXPECT_TRUE(writer.LogPacket(Join({g_vStart4, vPicture})));
    writer.WriteNalLengths();
    writer.Finish({0.0});
    EXPECT_FALSE(writer.IsOpen());

    const Bytes vFile = file.Bytes();
    ASSERT_EQ(vFile.size(), 48U + 104U);
    EXPECT_EQ(Bytes(vFile.begin() + 40, vFile.begin() + 48), (Bytes{0x1A, 0xBE, 0xCE, 0xDA, 'm', 'd', 'a', 't'}));
    EXPECT_EQ(Bytes(vFile.begin() + 48, vFile.end()), Prefixed(vPicture));
}
