// A picture that can't be decoded ends the play. It never makes another one come under its number.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "media_files.h"
#include "test_graph.h"

namespace mftest
{
namespace
{

// Small pictures are decoded on one thread, others on several.
constexpr Size SMALL = {96, 64};
constexpr Size FOR_SEVERAL_THREADS = {480, 352};
constexpr int MS_PER_FRAME = 40;

struct PacketPlace
{
    std::size_t m_uiPosition = 0;
    std::size_t m_uiSize = 0;
    std::int64_t m_nTime = 0;  // of presentation
};

std::vector<PacketPlace> Packets(const std::string& path)
{
    std::istringstream lines(
        RunFfprobe("-select_streams v:0 -show_entries packet=pts,size,pos -of csv=p=0 " + WholeTrack(path)));
    std::vector<PacketPlace> packets;
    for (std::string line; std::getline(lines, line);)
    {
        if (line.empty()) continue;
        std::replace(line.begin(), line.end(), ',', ' ');
        std::istringstream fields(line);
        PacketPlace place;
        fields >> place.m_nTime >> place.m_uiSize >> place.m_uiPosition;
        packets.push_back(place);
    }
    return packets;
}

class LostPictures : public ::testing::TestWithParam<Size>
{
protected:
    static Recipe OfSize()
    {
        Recipe recipe;
        recipe.m_nWidth = GetParam().m_nWidth;
        recipe.m_nHeight = GetParam().m_nHeight;
        return recipe;
    }

    void Make(const std::string& encoderOptions)
    {
        Recipe recipe = OfSize();
        recipe.m_encoder += " " + encoderOptions;
        m_path = m_directory / "video.mp4";
        MakeVideo(m_path, recipe);
        for (const std::string& picture : PlainDecode(m_path, GetParam()))
        {
            m_pictures.push_back(ToYuy2(picture, GetParam()));
        }
        m_packets = Packets(m_path);
        ASSERT_EQ(m_packets.size(), m_pictures.size());
    }

    // The number under which the sample at that place in decoding order is presented.
    std::size_t NumberOf(std::size_t uiSample) const
    {
        return static_cast<std::size_t>(
            std::count_if(m_packets.begin(), m_packets.end(),
                          [&](const PacketPlace& packet) { return packet.m_nTime < m_packets[uiSample].m_nTime; }));
    }

    // Overwrites the sample's NAL units with ones of a kind that no decoder knows: there is no picture in it then.
    void Destroy(std::size_t uiSample)
    {
        std::string file = ReadText(m_path);
        const PacketPlace& packet = m_packets[uiSample];
        SetWordAt(file, packet.m_uiPosition, static_cast<std::uint32_t>(packet.m_uiSize - 4));
        file[packet.m_uiPosition + 4] = 30;  // a NAL unit type without a meaning
        WriteText(m_path, file);
    }

    // Whatever is delivered under a number is that picture, or the play ends.
    void ExpectNoneUnderAnothersNumber(std::size_t uiFirst, const std::vector<GrabbedSample>& samples,
                                       std::size_t uiLost)
    {
        for (std::size_t i = 0; i < samples.size(); ++i)
        {
            const std::size_t k = uiFirst + i;
            EXPECT_NE(k, uiLost);
            // Pictures that refer to the lost one may look different, but never like another picture.
            const auto it = std::find(m_pictures.begin(), m_pictures.end(), samples[i].m_bytes);
            const bool bOther = it != m_pictures.end() && static_cast<std::size_t>(it - m_pictures.begin()) != k;
            EXPECT_FALSE(bOther) << "picture " << it - m_pictures.begin() << " came as " << k;
        }
    }

    void ExpectEndAtLoss(std::size_t uiLost)
    {
        for (const std::size_t uiFirst : {std::size_t{0}, uiLost - 3, uiLost})
        {
            TestGraph graph;
            ASSERT_EQ(graph.Open(m_path), S_OK);
            ASSERT_EQ(graph.WaitFor(MESessionTopologyStatus), S_OK);
            ASSERT_EQ(graph.StartAt(static_cast<std::int64_t>(uiFirst) * MS_PER_FRAME), S_OK);
            EXPECT_EQ(graph.WaitFor(MEError), MF_E_INVALID_STREAM_DATA) << uiFirst;
            EXPECT_EQ(graph.WaitFor(MESessionEnded), MF_E_INVALID_STREAM_DATA) << uiFirst;
            const auto samples = graph.Grabber().TakeSamples();
            EXPECT_LE(samples.size(), uiLost - uiFirst);
            ExpectNoneUnderAnothersNumber(uiFirst, samples, uiLost);
        }
    }

    TemporaryFolder m_directory;
    std::string m_path;
    std::vector<std::string> m_pictures;
    std::vector<PacketPlace> m_packets;
};

TEST_P(LostPictures, EndThePlayWhereTheyAreMissing)
{
    Make("-bf 2 -g 12 -x264-params b-adapt=0");
    constexpr std::size_t SAMPLE = 20;
    const std::size_t uiLost = NumberOf(SAMPLE);
    Destroy(SAMPLE);
    ExpectEndAtLoss(uiLost);
}

TEST_P(LostPictures, AllBeforeThemStillCome)
{
    Make("-bf 2 -g 12 -x264-params b-adapt=0");
    constexpr std::size_t SAMPLE = 20;
    const std::size_t uiLost = NumberOf(SAMPLE);
    Destroy(SAMPLE);
    TestGraph graph;
    ASSERT_EQ(graph.Open(m_path), S_OK);
    const auto samples = graph.PlayFrom(0, m_pictures.size());
    EXPECT_EQ(samples.size(), uiLost);
}

TEST_P(LostPictures, ThoseAfterTheNextKeyPictureHaveTheirNumbers)
{
    Make("-bf 2 -g 12 -x264-params b-adapt=0");
    Destroy(20);
    TestGraph graph;
    ASSERT_EQ(graph.Open(m_path), S_OK);
    for (const std::size_t k : {std::size_t{36}, std::size_t{40}, std::size_t{24}, std::size_t{59}, std::size_t{3}})
    {
        const auto samples = graph.PlayFrom(static_cast<std::int64_t>(k) * MS_PER_FRAME, 1);
        ASSERT_FALSE(samples.empty()) << k;
        EXPECT_TRUE(samples.front().m_bytes == m_pictures[k]) << k;
    }
}

TEST_P(LostPictures, WithoutReorderingToo)
{
    Make("-bf 0 -g 12");
    Destroy(20);
    ExpectEndAtLoss(20);
}

TEST_P(LostPictures, AmongKeyPicturesToo)
{
    Make("-g 1");
    Destroy(20);
    ExpectEndAtLoss(20);
    TestGraph graph;
    ASSERT_EQ(graph.Open(m_path), S_OK);
    for (const std::size_t k : {std::size_t{21}, std::size_t{19}, std::size_t{59}})
    {
        const auto samples = graph.PlayFrom(static_cast<std::int64_t>(k) * MS_PER_FRAME, 1);
        ASSERT_FALSE(samples.empty()) << k;
        EXPECT_TRUE(samples.front().m_bytes == m_pictures[k]) << k;
    }
}

// An MP4 file whose composition offsets are gone although its pictures are reordered: the times say nothing, and the
// pictures are counted.
class UselessTimes : public LostPictures
{
protected:
    void RenameCompositionOffsets()
    {
        std::string file = ReadText(m_path);
        const std::size_t uiBox = file.find("ctts");
        ASSERT_NE(uiBox, std::string::npos);
        file.replace(uiBox, 4, "free");
        WriteText(m_path, file);
    }

    // Lets neighbours in decoding order swap their times of presentation: distinct times, and a file that lies.
    void SwapPresentationTimes()
    {
        std::string file = ReadText(m_path);
        const std::size_t uiDuration = WordAt(file, file.find("stts") + 16);
        const std::size_t uiBox = file.find("ctts");
        ASSERT_NE(uiBox, std::string::npos);
        const std::size_t uiEntries = WordAt(file, uiBox + 8);
        int nSwapped = 0;
        for (std::size_t i = 0; i + 1 < uiEntries; ++i)
        {
            const std::size_t uiEntry = uiBox + 12 + 8 * i;
            const std::uint32_t uiFirst = WordAt(file, uiEntry + 4);
            const std::uint32_t uiSecond = WordAt(file, uiEntry + 12);
            const bool bSingle = WordAt(file, uiEntry) == 1 && WordAt(file, uiEntry + 8) == 1;
            if (!bSingle || uiFirst < uiDuration || uiFirst == uiSecond + uiDuration) continue;
            SetWordAt(file, uiEntry + 4, static_cast<std::uint32_t>(uiSecond + uiDuration));
            SetWordAt(file, uiEntry + 12, static_cast<std::uint32_t>(uiFirst - uiDuration));
            ++nSwapped;
            ++i;
        }
        ASSERT_GT(nSwapped, 5);
        WriteText(m_path, file);
    }

    void ExpectEveryPicture()
    {
        TestGraph graph;
        ASSERT_EQ(graph.Open(m_path), S_OK);
        for (const std::size_t uiStep : {7U, 1U, 23U})
        {
            for (std::size_t i = 0; i < m_pictures.size(); ++i)
            {
                const std::size_t k = i * uiStep % m_pictures.size();
                ASSERT_EQ(graph.SetRate(0), S_OK);
                const auto samples = graph.PlayFrom(static_cast<std::int64_t>(k) * MS_PER_FRAME, 2);
                ASSERT_FALSE(samples.empty()) << k;
                for (std::size_t j = 0; j < samples.size(); ++j)
                {
                    ASSERT_TRUE(samples[j].m_bytes == m_pictures[k + j]) << k << " + " << j;
                }
            }
        }
    }
};

TEST_P(UselessTimes, PicturesAreCountedWithoutCompositionOffsets)
{
    Make("-bf 3 -g 12 -x264-params b-adapt=0");
    RenameCompositionOffsets();
    ExpectEveryPicture();
}

TEST_P(UselessTimes, PicturesAreCountedWhereTheDecoderContradictsTheTimes)
{
    Make("-bf 3 -g 12 -x264-params b-adapt=0");
    SwapPresentationTimes();
    ExpectEveryPicture();
}

TEST_P(UselessTimes, ALostPictureIsNoticedByCounting)
{
    Make("-bf 3 -g 12 -x264-params b-adapt=0");
    constexpr std::size_t SAMPLE = 20;
    const std::size_t uiLost = NumberOf(SAMPLE);
    RenameCompositionOffsets();
    Destroy(SAMPLE);
    for (const std::size_t uiFirst : {std::size_t{0}, uiLost - 3})
    {
        TestGraph graph;
        ASSERT_EQ(graph.Open(m_path), S_OK);
        ASSERT_EQ(graph.WaitFor(MESessionTopologyStatus), S_OK);
        ASSERT_EQ(graph.StartAt(static_cast<std::int64_t>(uiFirst) * MS_PER_FRAME), S_OK);
        EXPECT_EQ(graph.WaitFor(MESessionEnded), MF_E_INVALID_STREAM_DATA);
        ExpectNoneUnderAnothersNumber(uiFirst, graph.Grabber().TakeSamples(), uiLost);
    }
}

std::string ExpGolomb(unsigned int uiValue)
{
    std::string bits;
    for (unsigned int i = uiValue + 1; i > 0; i /= 2)
    {
        bits.insert(bits.begin(), i % 2 == 0 ? '0' : '1');
    }
    return std::string(bits.size() - 1, '0') + bits;
}

// Sets or clears one bit of the bitstream restriction in the sequence parameter set: 0 is the flag that it is there,
// nReorderBit the first bit of the number of pictures reordered, which is 2.
void PatchRestriction(const std::string& path, bool bReorder)
{
    std::string file = ReadText(path);
    const std::size_t uiSps = file.find("avcC") + 4 + 8;
    const std::size_t uiLength = static_cast<unsigned char>(file[uiSps - 1]);
    std::string bits;
    for (std::size_t i = 0; i < 8 * uiLength; ++i)
    {
        bits += (file[uiSps + i / 8] >> (7 - i % 8) & 1) != 0 ? '1' : '0';
    }
    for (unsigned int uiMotion = 7; uiMotion <= 16; ++uiMotion)
    {
        // The flag; vectors over borders; no limits on bytes and bits; lengths of vectors.
        const std::string motion = ExpGolomb(uiMotion);
        const std::string head = "11" + ExpGolomb(0) + ExpGolomb(0) + motion + motion;
        const std::size_t uiFlag = bits.rfind(head + ExpGolomb(2));
        if (uiFlag == std::string::npos) continue;
        const std::size_t uiBit = uiFlag + (bReorder ? head.size() : 0);
        file[uiSps + uiBit / 8] = static_cast<char>(file[uiSps + uiBit / 8] ^ (0x80 >> uiBit % 8));
        WriteText(path, file);
        return;
    }
    throw std::runtime_error("no bitstream restriction");
}

// A stream that doesn't say how far it reorders, as many encoders write it, in a container that doesn't either. What
// follows the cleared flag means nothing.
TEST_P(LostPictures, NoneWhereTheStreamHidesItsReordering)
{
    Make("-bf 3 -g 12 -x264-params b-adapt=0:b-pyramid=normal");
    PatchRestriction(m_path, false);
    std::string file = ReadText(m_path);
    file.replace(file.find("ctts"), 4, "free");
    WriteText(m_path, file);

    TestGraph graph;
    ASSERT_EQ(graph.Open(m_path), S_OK);
    const auto samples = graph.PlayFrom(0, m_pictures.size() + 1);
    ASSERT_EQ(samples.size(), m_pictures.size());
    for (std::size_t k = 0; k < samples.size(); ++k)
    {
        EXPECT_TRUE(samples[k].m_bytes == m_pictures[k]) << k;
    }
}

// A stream that says it doesn't reorder, and does: the decoder gives the first pictures as they are decoded, and drops
// without a word what comes too late. The first one that it owes ends the play, before another could take its number.
TEST_P(UselessTimes, APictureThatTheDecoderDropsSilentlyIsNoticedAtOnce)
{
    Make("-bf 3 -g 12 -x264-params b-adapt=0:b-pyramid=normal");
    PatchRestriction(m_path, true);
    RenameCompositionOffsets();
    TestGraph graph;
    ASSERT_EQ(graph.Open(m_path), S_OK);
    ASSERT_EQ(graph.WaitFor(MESessionTopologyStatus), S_OK);
    ASSERT_EQ(graph.Start(), S_OK);
    EXPECT_EQ(graph.WaitFor(MESessionEnded), MF_E_INVALID_STREAM_DATA);
    EXPECT_LE(graph.Grabber().Count(), 2U);
}

// Joins two samples of VP9 to one that holds two pictures, as the codec allows: an index after them has their sizes.
void JoinSamples(const std::string& path, const PacketPlace& first, const PacketPlace& second, std::size_t uiSample)
{
    std::string index = "\xC9";  // two sizes of two bytes each
    for (const std::size_t uiSize : {first.m_uiSize, second.m_uiSize})
    {
        index += static_cast<char>(uiSize & 0xff);
        index += static_cast<char>(uiSize >> 8);
    }
    index += "\xC9";
    std::string file = ReadText(path);
    const auto grow = [&file, &index](std::size_t uiAt) {
        SetWordAt(file, uiAt, WordAt(file, uiAt) + static_cast<std::uint32_t>(index.size()));
    };
    file.insert(second.m_uiPosition + second.m_uiSize, index);
    grow(file.find("mdat") - 4);
    const std::size_t uiBox = file.find("stsz");
    const std::uint32_t uiCount = WordAt(file, uiBox + 12);
    SetWordAt(file, uiBox + 12, uiCount - 1);
    const std::size_t uiEntry = uiBox + 16 + 4 * uiSample;
    SetWordAt(file, uiEntry, static_cast<std::uint32_t>(first.m_uiSize + second.m_uiSize + index.size()));
    file.erase(uiEntry + 4, 4).insert(uiBox + 12 + 4 * uiCount, 4, '\0');
    WriteText(path, file);
}

// The decoder gives more pictures than the file has samples: there are numbers for as many as those, and no more.
TEST(SurplusPictures, AreNotDelivered)
{
    const TemporaryFolder directory;
    const std::string path = directory / "video.mp4";
    Recipe recipe;
    recipe.m_nFrames = 20;
    recipe.m_encoder = "-c:v libvpx-vp9 -deadline realtime -lag-in-frames 0 -auto-alt-ref 0 -g 250";
    MakeVideo(path, recipe);
    const std::vector<PacketPlace> packets = Packets(path);
    ASSERT_EQ(packets.size(), 20U);
    JoinSamples(path, packets[4], packets[5], 4);
    ASSERT_EQ(Packets(path).size(), 19U);
    ASSERT_EQ(PlainDecode(path, SMALL).size(), 20U);

    TestGraph graph;
    ASSERT_EQ(graph.Open(path), S_OK);
    ASSERT_EQ(graph.WaitFor(MESessionTopologyStatus), S_OK);
    ASSERT_EQ(graph.Start(), S_OK);
    EXPECT_EQ(graph.WaitFor(MESessionEnded), MF_E_INVALID_STREAM_DATA);
    EXPECT_EQ(graph.Grabber().Count(), 19U);
}

// A file that was cut off in the middle of its samples.
TEST_P(LostPictures, ACutOffFileEndsWithAnError)
{
    Recipe recipe = OfSize();
    recipe.m_encoder += " -bf 2 -g 12";
    recipe.m_output = "-movflags +faststart";
    m_path = m_directory / "video.mp4";
    MakeVideo(m_path, recipe);
    for (const std::string& picture : PlainDecode(m_path, GetParam()))
    {
        m_pictures.push_back(ToYuy2(picture, GetParam()));
    }
    const std::string whole = ReadText(m_path);
    WriteText(m_path, whole.substr(0, whole.size() * 3 / 4));
    TestGraph graph;
    ASSERT_EQ(graph.Open(m_path), S_OK);
    ASSERT_EQ(graph.WaitFor(MESessionTopologyStatus), S_OK);
    ASSERT_EQ(graph.Start(), S_OK);
    EXPECT_LT(graph.WaitFor(MESessionEnded), 0);
    const auto samples = graph.Grabber().TakeSamples();
    ASSERT_GT(samples.size(), m_pictures.size() / 3);
    ASSERT_LT(samples.size(), m_pictures.size());
    ExpectNoneUnderAnothersNumber(0, samples, m_pictures.size());
}

std::string SizeName(const testing::TestParamInfo<Size>& param)
{
    return std::to_string(param.param.m_nWidth) + "x" + std::to_string(param.param.m_nHeight);
}

INSTANTIATE_TEST_SUITE_P(Of, LostPictures, ::testing::Values(SMALL, FOR_SEVERAL_THREADS), SizeName);
INSTANTIATE_TEST_SUITE_P(Of, UselessTimes, ::testing::Values(SMALL, FOR_SEVERAL_THREADS), SizeName);

}  // namespace
}  // namespace mftest
