// Files muxed from what a real encoder made, as independent programs see them.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "mp4_outputfile/samplelog.h"
#include "tests/mp4_outputfile/bytes.h"
#include "tests/mp4_outputfile/tempfile.h"

namespace
{
// What a command prints, to both outputs. It must succeed.
std::string Run(const std::string& strCommand)
{
    FILE* pPipe = popen((strCommand + " 2>&1").c_str(), "r");
    if (pPipe == nullptr) return "no pipe";
    std::string strText;
    std::array<char, 4096> aBuffer;
    for (std::size_t uiRead = 0; (uiRead = fread(aBuffer.data(), 1, aBuffer.size(), pPipe)) != 0;)
    {
        strText.append(aBuffer.data(), uiRead);
    }
    EXPECT_EQ(pclose(pPipe), 0) << strCommand << "\n" << strText;
    return strText;
}

// An Annex B stream of nFrames pictures, one packet each, without B pictures.
Bytes Encode(int nFrames, const std::string& strOptions)
{
    const CTempFile stream(".h264");
    Run("ffmpeg -nostdin -v error -f lavfi -i testsrc2=size=320x240:rate=25 -frames:v " + std::to_string(nFrames) +
        " -pix_fmt yuv420p -c:v libx264 -preset veryfast -bf 0 -g 12 -threads 1 " + strOptions + " -f h264 " +
        stream.Path());
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

// Cuts a stream into access units: a new one begins at the first NAL behind a slice that is no further slice of the
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

enum class ELayout
{
    Nvenc,
    Amf
};

void Mux(const CTempFile& file, const std::vector<Bytes>& vUnits, const std::vector<double>& vTimes, ELayout eLayout)
{
    SSampleLog log;
    SNalLog nals;
    log.m_hFile = file.Create();
    WriteMp4Preamble(log.m_hFile);
    std::uint32_t uiFrame = 0;
    for (const Bytes& vUnit : vUnits)
    {
        ++uiFrame;
        if (eLayout == ELayout::Nvenc)
        {
            LogNvencPacket(log, nals, vUnit);
        }
        else
        {
            LogAmfPacket(log, nals, vUnit.data(), vUnit.size(), uiFrame);
        }
    }
    WriteNalLengths(log, nals);
    FinishMp4File(log, ToGrowingArray(vTimes), 320, 240,
                  eLayout == ELayout::Nvenc ? g_uiNvencSpsLengthOffset : g_uiAmfSpsLengthOffset);
}

// The times of all packets in ticks of 0.1 ms, one a line: the sums of the cut distances.
std::string ExpectedTimes(const std::vector<double>& vTimes)
{
    std::ostringstream text;
    long long nTicks = 0;
    for (std::size_t ui = 0; ui < vTimes.size(); ++ui)
    {
        text << nTicks << "," << nTicks << "\n";
        if (ui + 1 < vTimes.size()) nTicks += static_cast<long long>((vTimes[ui + 1] - vTimes[ui]) * 10000.0 / 1000.0);
    }
    return text.str();
}

// Of the track's edit the file says a tenth of its true length, as it does of the track's duration. Programs that keep
// to edits show that tenth and go on to the next key picture at most; the whole track is seen without edits.
const std::string g_strWholeTrack = " -ignore_editlist 1 -i ";
// Decoding alone, in the file's own ticks: the program would otherwise round times to a frame rate that it guesses.
const std::string g_strDecode = " -enc_time_base -1 -f null -";

std::string PacketTimes(const std::string& strInput)
{
    return Run("ffprobe -v warning -select_streams v -show_entries packet=pts,dts -of csv=p=0" + strInput);
}

// K for each packet that begins with a key picture, _ for the others.
std::string KeyPackets(const std::string& strInput)
{
    return Run("ffprobe -v warning -select_streams v -show_entries packet=flags -of csv=p=0" + strInput + " | cut -c1");
}

// A checksum for each decoded picture.
std::string DecodedPictures(const std::string& strInput)
{
    return Run("ffmpeg -nostdin -v error" + strInput +
               " -vsync passthrough -f framemd5 - | grep -v '^#' | sed 's/.*,//'");
}

std::size_t Lines(const std::string& strText)
{
    return static_cast<std::size_t>(std::count(strText.begin(), strText.end(), '\n'));
}

void ExpectAGoodFile(const Bytes& vStream, ELayout eLayout, std::size_t uiFrames)
{
    const CTempFile stream(".h264");
    std::ofstream(stream.Path(), std::ios::binary)
        .write(reinterpret_cast<const char*>(vStream.data()), static_cast<std::streamsize>(vStream.size()));
    const std::vector<Bytes> vUnits = SplitAccessUnits(vStream, eLayout == ELayout::Amf);
    ASSERT_EQ(vUnits.size(), uiFrames);
    const std::vector<double> vTimes = IrregularTimes(uiFrames);
    const CTempFile file;
    Mux(file, vUnits, vTimes, eLayout);

    EXPECT_EQ(
        Run("ffprobe -v warning -show_entries stream=codec_name,width,height,time_base -of csv=p=0 " + file.Path()),
        "h264,320,240,1/10000\n");
    EXPECT_EQ(PacketTimes(g_strWholeTrack + file.Path()), ExpectedTimes(vTimes));
    EXPECT_EQ(KeyPackets(g_strWholeTrack + file.Path()), KeyPackets(" -i " + stream.Path()));
    EXPECT_EQ(Run("ffmpeg -nostdin -v warning" + g_strWholeTrack + file.Path() + g_strDecode), "");
    const std::string strPictures = DecodedPictures(g_strWholeTrack + file.Path());
    EXPECT_EQ(Lines(strPictures), uiFrames);
    EXPECT_EQ(strPictures, DecodedPictures(" -i " + stream.Path())) << "every picture, and the right ones";

    const std::string strEditTimes = PacketTimes(" -i " + file.Path());
    EXPECT_FALSE(strEditTimes.empty());
    EXPECT_EQ(strEditTimes, ExpectedTimes(vTimes).substr(0, strEditTimes.size()));
    // The edit of a single picture lasts no time, and a program that keeps to it has nothing to show.
    if (uiFrames > 1)
    {
        EXPECT_EQ(Run("ffmpeg -nostdin -v warning -i " + file.Path() + g_strDecode), "");
    }
}
}  // namespace

TEST(MuxedFile, OfTheNvencLayoutIsReadByFfmpegWithoutAWarning)
{
    ExpectAGoodFile(Encode(60, ""), ELayout::Nvenc, 60);
}

TEST(MuxedFile, OfPicturesWithSeveralSlicesIsReadByFfmpegWithoutAWarning)
{
    ExpectAGoodFile(Encode(30, "-x264-params slices=4"), ELayout::Nvenc, 30);
}

TEST(MuxedFile, OfTheAmfLayoutIsReadByFfmpegWithoutAWarning)
{
    ExpectAGoodFile(Encode(60, "-x264-params aud=1"), ELayout::Amf, 60);
}

TEST(MuxedFile, OfOnePictureIsReadByFfmpegWithoutAWarning)
{
    ExpectAGoodFile(Encode(1, ""), ELayout::Nvenc, 1);
}
