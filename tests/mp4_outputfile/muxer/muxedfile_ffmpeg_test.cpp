// Files muxed from what a real encoder made, as independent programs see them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "mp4_outputfile/muxer/mp4filewriter.h"
#include "muxing.h"
#include "support/ffmpeg_judge.h"

namespace
{
using namespace test_support;

// An Annex B stream of nFrames pictures, one packet each, without B pictures.
Bytes Encode(int nFrames, const std::string& strOptions)
{
    const TemporaryFile stream;
    RunFfmpeg("-f lavfi -i testsrc2=size=320x240:rate=25 -frames:v " + std::to_string(nFrames) +
                  " -pix_fmt yuv420p -c:v libx264 -preset veryfast -bf 0 -g 12 -threads 1 " + strOptions + " -f h264 " +
                  Quoted(stream.Path()),
              Complaints::Warnings);
    return stream.Bytes();
}

// Where the NALs of a stream begin: each start code with the zeros of it.
std::vector<std::size_t> FindNals(const Bytes& vStream)
{
    std::vector<std::size_t> vNals;
    for (std::size_t ui = 0; ui + 3 < vStream.size(); ++ui)
    {
        if (vStream[ui] != 0 || vStream[ui + 1] != 0 || vStream[ui + 2] != 1) continue;
        vNals.push_back(ui != 0 && vStream[ui - 1] == 0 ? ui - 1 : ui);
    }
    return vNals;
}

// Cuts a stream into access units: a new one begins at the first NAL after a slice that is no further slice of the
// same picture. bFourBytes rewrites every start code to four bytes.
std::vector<Bytes> SplitAccessUnits(const Bytes& vStream, bool bFourBytes)
{
    std::vector<std::size_t> vNals = FindNals(vStream);
    std::vector<Bytes> vUnits;
    bool bSliceSeen = true;
    vNals.push_back(vStream.size());
    for (std::size_t ui = 0; ui + 1 < vNals.size(); ++ui)
    {
        const std::size_t uiCode = vStream[vNals[ui] + 2] == 1 ? 3 : 4;
        const std::uint8_t* pNal = &vStream[vNals[ui] + uiCode];
        const int nType = pNal[0] & 0x1F;
        const bool bSlice = nType == 1 || nType == 5;
        const bool bFurtherSlice = bSlice && (pNal[1] & 0x80) == 0;  // first_mb_in_slice isn't 0
        if (bSliceSeen && !bFurtherSlice)
        {
            vUnits.emplace_back();
            bSliceSeen = false;
        }
        bSliceSeen = bSliceSeen || bSlice;
        const std::size_t uiBegin = vNals[ui] + (bFourBytes ? uiCode : 0);
        if (bFourBytes) vUnits.back().insert(vUnits.back().end(), g_vStart4.begin(), g_vStart4.end());
        vUnits.back().insert(vUnits.back().end(), vStream.begin() + static_cast<std::ptrdiff_t>(uiBegin),
                             vStream.begin() + static_cast<std::ptrdiff_t>(vNals[ui + 1]));
    }
    return vUnits;
}

// Irregular times in milliseconds, with gaps of a fraction of a tick, of seconds and of hours.
std::vector<double> IrregularTimes(std::size_t uiCount)
{
    std::vector<double> vTimes = {0.0, 33.4, 66.7, 100.05, 1000.9, 3601000.9, 3601020.93, 10801020.0};
    while (vTimes.size() < uiCount)
    {
        vTimes.push_back(vTimes.back() + 7.77 + static_cast<double>(vTimes.size() * 31 % 101));
    }
    vTimes.resize(uiCount);
    return vTimes;
}

void Mux(const TemporaryFile& file, const std::vector<Bytes>& vUnits, const std::vector<double>& vTimes,
         EPacketLayout eLayout)
{
    CMp4FileWriter writer;
    writer.Open(WidePath(file), eLayout, 320, 240);
    for (const Bytes& vUnit : vUnits)
    {
        EXPECT_TRUE(writer.LogPacket(vUnit));
    }
    writer.WriteNalLengths();
    writer.Finish(ToGrowingArray(vTimes));
}

void ExpectAGoodFile(const Bytes& vStream, EPacketLayout eLayout, std::size_t uiFrames)
{
    const TemporaryFolder folder;
    const std::filesystem::path stream = folder / "stream.h264";
    WriteBytes(stream, vStream);
    const std::vector<Bytes> vUnits = SplitAccessUnits(vStream, eLayout == EPacketLayout::Amf);
    ASSERT_EQ(vUnits.size(), uiFrames);
    const std::vector<double> vTimes = IrregularTimes(uiFrames);
    const TemporaryFile file;
    Mux(file, vUnits, vTimes, eLayout);

    ExpectReadByFfmpeg(file.Path(), 320, 240, vTimes);
    EXPECT_EQ(KeyPackets(WholeTrack(file.Path())), KeyPackets(WholeTrack(stream)));
    const std::vector<std::string> vPictures = DecodedPictures(WholeTrack(file.Path()));
    EXPECT_EQ(vPictures.size(), uiFrames);
    EXPECT_EQ(vPictures, DecodedPictures(WholeTrack(stream))) << "every picture, and the right ones";
}
}  // namespace

TEST(MuxedFile, OfTheNvencLayoutIsReadByFfmpegWithoutAWarning)
{
    ExpectAGoodFile(Encode(60, ""), EPacketLayout::Nvenc, 60);
}

TEST(MuxedFile, OfPicturesWithSeveralSlicesIsReadByFfmpegWithoutAWarning)
{
    ExpectAGoodFile(Encode(30, "-x264-params slices=4"), EPacketLayout::Nvenc, 30);
}

TEST(MuxedFile, OfTheAmfLayoutIsReadByFfmpegWithoutAWarning)
{
    ExpectAGoodFile(Encode(60, "-x264-params aud=1"), EPacketLayout::Amf, 60);
}

TEST(MuxedFile, OfOnePictureIsReadByFfmpegWithoutAWarning)
{
    ExpectAGoodFile(Encode(1, ""), EPacketLayout::Nvenc, 1);
}
