// The muxed file as it lies on disk.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "mp4_outputfile/muxer/mp4filewriter.h"
#include "muxing.h"
#include "support/muxed_file.h"
#include "support/short_memory.h"

namespace
{
using Numbers = std::vector<std::uint32_t>;

const Bytes g_vPreamble = {0,   0,   0,   0x20, 'f', 't', 'y', 'p', 'i',  's',  'o',  'm',  0,   0,   2,   0,
                           'i', 's', 'o', 'm',  'i', 's', 'o', '2', 'a',  'v',  'c',  '1',  'm', 'p', '4', '1',
                           0,   0,   0,   8,    'f', 'r', 'e', 'e', 0x1A, 0xBE, 0xCE, 0xDA, 'm', 'd', 'a', 't'};

const Bytes g_vSps = {0x67, 0x64, 0x00, 0x28, 0xAC, 0xB2};
const Bytes g_vPps = {0x68, 0xEE, 0x3C, 0xB0};

// A muxed file under way: opened, with its preamble written.
class CMuxer : public CMp4FileWriter
{
public:
    explicit CMuxer(EPacketLayout eLayout) { Open(WidePath(m_target), eLayout, 320, 240); }

    void Log(const Bytes& vPacket) { EXPECT_TRUE(LogPacket(vPacket)); }
    void Close(const std::vector<double>& vTimes)
    {
        WriteNalLengths();
        Finish(ToGrowingArray(vTimes));
    }

    using CMp4FileWriter::m_file;
    using CMp4FileWriter::m_log;
    TemporaryFile m_target;
};

Bytes Repeat(const Bytes& vBytes, std::size_t uiCount)
{
    Bytes vAll;
    for (std::size_t ui = 0; ui < uiCount; ++ui)
    {
        vAll.insert(vAll.end(), vBytes.begin(), vBytes.end());
    }
    return vAll;
}

// Logs a packet for which memory runs out at its uiCall-th request; before it uiFilling NALs in two packets, if any.
// Returns whether it did. The file is compared with what it should be in either case.
bool ExpectTheFileToEndAtALostPacket(EPacketLayout eLayout, std::size_t uiFilling, unsigned uiCall)
{
    const bool bAmf = eLayout == EPacketLayout::Amf;
    const Bytes vBegin = bAmf ? Join({g_vStart4, {0x09, 0x10}}) : Bytes();
    const std::size_t uiNals = bAmf ? 4 : 3;
    const Bytes vPacket = Join({vBegin, g_vStart4, g_vSps, g_vStart4, g_vPps, g_vStart4, Nal(0x65, 90)});
    const Bytes vFilling = Repeat(Join({g_vStart4, Nal(0x41, 3)}), uiFilling == 0 ? 0 : uiFilling - uiNals);

    CMuxer muxer(eLayout);
    Bytes vFile = g_vPreamble;
    if (uiFilling != 0)
    {
        muxer.Log(vPacket);
        muxer.Log(vFilling);
        vFile = Join({vFile, vPacket, vFilling});
    }
    bool bLost = false;
    {
        const CShortMemory memory(uiCall);
        bLost = !muxer.LogPacket(vPacket);
        EXPECT_EQ(bLost, memory.GetRefused() != 0);
    }
    EXPECT_EQ(muxer.IsAbandoned(), bLost);
    EXPECT_EQ(muxer.LogPacket(vPacket), !bLost) << "no later packet, either";
    muxer.Close({0.0, 1.0, 2.0, 3.0});
    EXPECT_EQ(muxer.m_target.Bytes() == vFile, bLost) << uiCall;
    return bLost;
}
}  // namespace

TEST(Mp4FileWriter, BeginsWithThePreamble)
{
    const TemporaryFile file;
    CTargetFile target;
    target.Open(WidePath(file));
    WriteMp4Preamble(target);
    target.Close();
    ASSERT_EQ(g_vPreamble.size(), 48U);
    EXPECT_EQ(file.Bytes(), g_vPreamble);
}

TEST(Mp4FileWriter, WhoseWriterDiedHoldsThePlaceholderAndTheStreamWithStartCodes)
{
    const Bytes vPacket = Join({g_vStart4, g_vSps, g_vStart4, g_vPps, g_vStart4, Nal(0x65, 40)});
    CMuxer muxer(EPacketLayout::Nvenc);
    muxer.Log(vPacket);
    muxer.Abandon();
    EXPECT_EQ(muxer.m_target.Bytes(), Join({g_vPreamble, vPacket}));
}

TEST(Mp4FileWriter, OfNvencHasLengthsInPlaceOfStartCodesOfAnySize)
{
    CMuxer muxer(EPacketLayout::Nvenc);
    muxer.Log(Join({g_vStart3, g_vSps, g_vStart4, g_vPps, g_vStart3, Nal(0x65, 400)}));
    muxer.Log({});
    muxer.Log(Join({g_vStart4, Nal(0x41, 70)}));
    muxer.Log(Join({g_vStart3, Nal(0x41, 71), g_vStart3, Nal(0x01, 300)}));
    muxer.Close({0.0, 40.0, 79.95});

    const SMuxedFile file = ReadMuxedFile(muxer.m_target.Bytes());
    const Bytes vFirst = Join({Prefixed(g_vSps), Prefixed(g_vPps), Prefixed(Nal(0x65, 400))});
    EXPECT_EQ(file.m_vMdat, Join({vFirst, Prefixed(Nal(0x41, 70)), Prefixed(Nal(0x41, 71)), Prefixed(Nal(0x01, 300))}));
    EXPECT_EQ(file.m_uiMdatSize, file.m_vMdat.size() + 8);
    EXPECT_EQ(file.m_moov.m_vSizes, (Numbers{4 + 6 + 4 + 4 + 4 + 400, 74, 75 + 304}));
    EXPECT_EQ(file.m_moov.m_vDeltas, (Numbers{400, 399, 399}));
    EXPECT_EQ(file.m_moov.m_vKeySamples, Numbers{0}) << "samples count from 0 on this path";
    EXPECT_EQ(file.m_moov.m_uiSamplesInChunk, 3U);
    EXPECT_EQ(file.m_moov.m_vProfile, (Bytes{0x64, 0x00, 0x28}));
    EXPECT_EQ(file.m_moov.m_vSps, g_vSps);
    EXPECT_EQ(file.m_moov.m_uiPpsLength, 5U);
    EXPECT_EQ(file.m_moov.m_vPps, Join({g_vPps, {0}}));
    EXPECT_EQ(file.m_moov.m_uiAvcCSize, 6U + 4U + 20U);
    EXPECT_EQ(file.m_moov.m_uiMovieDuration, 799U);
    EXPECT_EQ(file.m_moov.m_uiTrackDuration, 79U);
    EXPECT_EQ(FromByteArray(muxer.m_log.m_baFirstPacket), vFirst) << "patched like the file";
}

TEST(Mp4FileWriter, OfAmfKeepsItsDelimiters)
{
    const Bytes vKey = {0x09, 0x10};
    const Bytes vOther = {0x09, 0x30};
    CMuxer muxer(EPacketLayout::Amf);
    muxer.Log(Join({g_vStart4, vKey, g_vStart4, g_vSps, g_vStart4, g_vPps, g_vStart4, Nal(0x65, 400)}));
    muxer.Log(Join({g_vStart4, vOther, g_vStart4, Nal(0x41, 70)}));
    muxer.Log(Join({g_vStart4, vKey, g_vStart4, Nal(0x65, 80)}));
    muxer.Close({0.0, 33.4, 66.7});

    const SMuxedFile file = ReadMuxedFile(muxer.m_target.Bytes());
    EXPECT_EQ(file.m_vMdat, Join({Prefixed(vKey), Prefixed(g_vSps), Prefixed(g_vPps), Prefixed(Nal(0x65, 400)),
                                  Prefixed(vOther), Prefixed(Nal(0x41, 70)), Prefixed(vKey), Prefixed(Nal(0x65, 80))}));
    EXPECT_EQ(file.m_moov.m_vSizes, (Numbers{6 + 10 + 8 + 404, 6 + 74, 6 + 84}));
    EXPECT_EQ(file.m_moov.m_vKeySamples, (Numbers{1, 3})) << "frames count from 1 on this path";
    EXPECT_EQ(file.m_moov.m_vSps, g_vSps);
    EXPECT_EQ(file.m_moov.m_vPps, Join({g_vPps, {0}}));
}

TEST(Mp4FileWriter, ASingleNalGetsItsLengthAtTheClose)
{
    CMuxer muxer(EPacketLayout::Nvenc);
    muxer.Log(Join({g_vStart3, Nal(0x65, 1000)}));
    muxer.Close({0.0});
    const SMuxedFile file = ReadMuxedFile(muxer.m_target.Bytes());
    EXPECT_EQ(file.m_vMdat, Prefixed(Nal(0x65, 1000)));
}

TEST(Mp4FileWriter, WithoutAnyPacketHasAnEmptyMdatAndAMoov)
{
    CMuxer muxer(EPacketLayout::Nvenc);
    muxer.Close({0.0, 10.0});
    const SMuxedFile file = ReadMuxedFile(muxer.m_target.Bytes());
    EXPECT_EQ(file.m_uiMdatSize, 8U);
    EXPECT_TRUE(file.m_moov.m_vSizes.empty());
    EXPECT_EQ(file.m_moov.m_vDeltas, (Numbers{100, 100}));
    EXPECT_EQ(file.m_moov.m_vPps, (Bytes{0x68, 0xEE, 0x3C, 0xB0, 0}));
}

TEST(Mp4FileWriter, WithoutAnyFrameHasAnEmptyMdatAndAMoov)
{
    CMuxer muxer(EPacketLayout::Amf);
    muxer.Close({});
    const SMuxedFile file = ReadMuxedFile(muxer.m_target.Bytes());
    EXPECT_EQ(file.m_uiMdatSize, 8U);
    EXPECT_TRUE(file.m_moov.m_vDeltas.empty());
}

TEST(Mp4FileWriter, OfAPacketThatIsAStartCodeAloneHoldsAnEmptyNal)
{
    CMuxer muxer(EPacketLayout::Nvenc);
    muxer.Log({0, 0, 1});
    muxer.Close({0.0});
    const SMuxedFile file = ReadMuxedFile(muxer.m_target.Bytes());
    EXPECT_EQ(file.m_vMdat, (Bytes{0, 0, 0, 0}));
    EXPECT_TRUE(file.m_moov.m_vSps.empty());
}

TEST(Mp4FileWriter, TheCloseReleasesTheSamplesAndTheFile)
{
    CMuxer muxer(EPacketLayout::Nvenc);
    muxer.Log(Join({g_vStart4, Nal(0x65, 10)}));
    muxer.Close({0.0});
    EXPECT_FALSE(muxer.IsOpen());
    EXPECT_EQ(muxer.m_log.m_vecSampleSizes.capacity(), 0U);
    EXPECT_EQ(muxer.m_log.m_vecKeySamples.capacity(), 0U);
}

TEST(Mp4FileWriter, ThatCouldNotBeOpenedIsLoggedAndNothingIsWritten)
{
    const test_support::TemporaryFolder folder;
    CMp4FileWriter writer;
    writer.Open(CQmStringW(folder.Path().wstring().c_str()), EPacketLayout::Nvenc, 320, 240);
    ASSERT_FALSE(writer.IsOpen());
    EXPECT_TRUE(writer.LogPacket(Join({g_vStart4, Nal(0x65, 10)})));
    EXPECT_EQ(ToVector(writer.GetLog().m_vecSampleSizes), Numbers{14});
    writer.WriteNalLengths();
    writer.Finish({0.0});
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

// At every request of the first packet of a file, and of one in whose middle the list of NALs needs another block.
TEST(Mp4FileWriter, APacketThatThereIsNoMemoryForEndsTheFileUnfinished)
{
    CGrowingArray<SNalPatch> array;
    array.reserve(1);  // a block
    for (const EPacketLayout eLayout : {EPacketLayout::Nvenc, EPacketLayout::Amf})
    {
        const std::size_t uiNals = eLayout == EPacketLayout::Amf ? 4 : 3;
        for (const std::size_t uiFilling : {std::size_t{0}, array.capacity() - (uiNals - 1)})
        {
            unsigned uiCall = 1;
            while (ExpectTheFileToEndAtALostPacket(eLayout, uiFilling, uiCall))
            {
                ++uiCall;
            }
            EXPECT_GT(uiCall, 1U);
        }
    }
}

// At every request of the close. An index that is cut short anywhere would count as a whole one.
TEST(Mp4FileWriter, WithoutMemoryForItsIndexAFileKeepsTheMarkOfAnUnfinishedOne)
{
    if (!CShortMemory::ReachesLibraries()) GTEST_SKIP() << "byte arrays take their memory from another allocator here";
    const auto close = [](unsigned uiCall, unsigned* puiRefused) {
        CMuxer muxer(EPacketLayout::Nvenc);
        muxer.Log(Join({g_vStart4, g_vSps, g_vStart4, g_vPps, g_vStart4, Nal(0x65, 10)}));
        const CGrowingArray<double> times{0.0};
        {
            const CShortMemory memory(uiCall);
            muxer.WriteNalLengths();
            muxer.Finish(times);
            *puiRefused = memory.GetRefused();
        }
        return muxer.m_target.Bytes();
    };
    unsigned uiRefused = 0;
    const Bytes vWhole = close(0, &uiRefused);
    ASSERT_EQ(uiRefused, 0U);
    unsigned uiUnfinished = 0;
    for (unsigned uiCall = 1; uiCall == 1 || uiRefused != 0; ++uiCall)
    {
        const Bytes vFile = close(uiCall, &uiRefused);
        ASSERT_GE(vFile.size(), 48U);
        const bool bMarked = Bytes(vFile.begin() + 40, vFile.begin() + 44) == Bytes{0x1A, 0xBE, 0xCE, 0xDA};
        EXPECT_TRUE(bMarked || vFile == vWhole) << "request " << uiCall;
        if (bMarked) ++uiUnfinished;
    }
    EXPECT_GT(uiUnfinished, 5U);  // the box grows in several steps
}

// Packets whose bodies are holes of a sparse file: each is logged with its first bytes, then the log and the file are
// moved on as if the rest had been written. What is then at stake, the patches and the sizes, is the module's own work.
TEST(Mp4FileWriter, OfMoreThan4GiBHasItsLengthsInPlaceAndKeepsTheLow32BitsOfItsSize)
{
    constexpr std::uint64_t uiHole = 0x60000000;  // 1.5 GiB
    CMuxer muxer(EPacketLayout::Nvenc);
    const auto grow = [&muxer](const Bytes& vHead) {
        muxer.Log(vHead);
        muxer.m_log.m_nMdatBytes += uiHole;
        muxer.m_log.m_vecSampleSizes.back() += static_cast<std::uint32_t>(uiHole);
        EXPECT_TRUE(muxer.m_file.Seek(48 + muxer.m_log.m_nMdatBytes));
    };
    grow(Join({g_vStart4, g_vSps, g_vStart4, g_vPps, g_vStart4, Nal(0x65, 10)}));
    grow(Join({g_vStart4, Nal(0x41, 10)}));
    grow(Join({g_vStart4, Nal(0x41, 10)}));
    const Bytes vAfter = Nal(0x41, 33);
    muxer.Log(Join({g_vStart4, vAfter}));
    muxer.Log(Join({g_vStart3, Nal(0x65, 12), g_vStart3, Nal(0x65, 13)}));
    const std::uint64_t uiAfter = 3 * uiHole + 10 + 8 + 14 + 14 + 14;
    const std::uint64_t uiMdat = uiAfter + 37 + 16 + 17;
    ASSERT_GT(uiAfter, std::uint64_t{1} << 32);
    EXPECT_EQ(muxer.m_log.m_nMdatBytes, uiMdat);
    muxer.Close({0.0, 10.0, 20.0, 30.0, 40.0});

    std::ifstream stream(muxer.m_target.Path(), std::ios::binary);
    const auto read = [&stream](std::uint64_t uiOffset, std::size_t uiSize) {
        Bytes vBytes(uiSize);
        stream.seekg(static_cast<std::streamoff>(uiOffset));
        stream.read(reinterpret_cast<char*>(vBytes.data()), static_cast<std::streamsize>(uiSize));
        EXPECT_TRUE(stream.good()) << uiOffset;
        return vBytes;
    };
    EXPECT_EQ(read(40, 8),
              Join({Bytes32(static_cast<std::uint32_t>((uiMdat + 8) % 4294967296ULL)), {'m', 'd', 'a', 't'}}));
    EXPECT_EQ(read(48, 4), (Bytes{0, 0, 0, 6}));
    EXPECT_EQ(read(48 + 18, 5), Join({Bytes32(uiHole + 10), {0x65}}));
    EXPECT_EQ(read(48 + 32 + uiHole, 5), Join({Bytes32(uiHole + 10), {0x41}}));
    EXPECT_EQ(read(48 + 46 + 2 * uiHole, 5), Join({Bytes32(uiHole + 10), {0x41}}));
    EXPECT_EQ(read(48 + uiAfter, 70), Join({Prefixed(vAfter), Prefixed(Nal(0x65, 12)), Prefixed(Nal(0x65, 13))}));

    const std::uint64_t uiSize = std::filesystem::file_size(muxer.m_target.Path());
    const SMuxedMoov moov = ReadMoov(read(48 + uiMdat, uiSize - 48 - uiMdat));
    EXPECT_EQ(moov.m_vSps, g_vSps);
    EXPECT_EQ(moov.m_vSizes, (Numbers{uiHole + 32, uiHole + 14, uiHole + 14, 37, 33}));
    EXPECT_EQ(moov.m_vKeySamples, (Numbers{0, 4, 4}));
}

// A place whose low half is that of the first packet's length.
TEST(Mp4FileWriter, ANalThatBeginsAt4GiBLeavesTheFirstPacketAlone)
{
    CMuxer muxer(EPacketLayout::Nvenc);
    muxer.Log(Join({g_vStart4, g_vSps, g_vStart4, g_vPps, g_vStart4, Nal(0x65, 10)}));
    muxer.m_log.m_nMdatBytes = std::uint64_t{1} << 32;
    muxer.m_log.m_vecSampleSizes.back() = 0xFFFFFFFF;
    EXPECT_TRUE(muxer.m_file.Seek(48 + muxer.m_log.m_nMdatBytes));
    muxer.Log(Join({g_vStart4, Nal(0x41, 33)}));
    muxer.Log(Join({g_vStart4, Nal(0x41, 34)}));
    muxer.Close({0.0, 10.0, 20.0});

    std::ifstream stream(muxer.m_target.Path(), std::ios::binary);
    const std::uint64_t uiMoov = 48 + (std::uint64_t{1} << 32) + 37 + 38;
    Bytes vMoov(std::filesystem::file_size(muxer.m_target.Path()) - uiMoov);
    stream.seekg(static_cast<std::streamoff>(uiMoov));
    stream.read(reinterpret_cast<char*>(vMoov.data()), static_cast<std::streamsize>(vMoov.size()));
    ASSERT_TRUE(stream.good());
    const SMuxedMoov moov = ReadMoov(vMoov);
    EXPECT_EQ(moov.m_vSps, g_vSps);
}
