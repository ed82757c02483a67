// The muxed file as it lies on disk.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "mp4_outputfile/muxer/samplelog.h"
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
struct SMuxer
{
    SMuxer()
    {
        m_log.m_hFile = Create(m_file);
        WriteMp4Preamble(m_log.m_hFile);
    }
    ~SMuxer()
    {
        if (m_log.m_hFile != nullptr) QM_CloseFile(m_log.m_hFile);
    }

    void Nvenc(const Bytes& vPacket) { LogNvencPacket(m_log, m_nals, vPacket); }
    void Amf(const Bytes& vPacket) { LogAmfPacket(m_log, m_nals, vPacket.data(), vPacket.size(), ++m_uiFrame); }
    void Close(const std::vector<double>& vTimes, std::uint32_t uiSpsLengthOffset)
    {
        WriteNalLengths(m_log, m_nals);
        FinishMp4File(m_log, ToGrowingArray(vTimes), 320, 240, uiSpsLengthOffset);
    }

    TemporaryFile m_file;
    SSampleLog m_log;
    SNalLog m_nals;
    std::uint32_t m_uiFrame = 0;
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

// Logs a packet for which memory runs out at its uiCall-th allocation, and one more; before them uiFilling NALs in two
// packets, if any. Gives whether it did; the file is held against what it should be in either case.
bool ExpectWholeFile(bool bAmf, std::size_t uiFilling, unsigned uiCall)
{
    const Bytes vKey = {0x09, 0x10};
    const Bytes vBegin = bAmf ? Join({g_vStart4, vKey}) : Bytes();
    const Bytes vPrefixedBegin = bAmf ? Prefixed(vKey) : Bytes();
    const std::size_t uiNals = bAmf ? 4 : 3;
    const Bytes vPacket = Join({vBegin, g_vStart4, g_vSps, g_vStart4, g_vPps, g_vStart4, Nal(0x65, 90)});
    const Bytes vPrefixed = Join({vPrefixedBegin, Prefixed(g_vSps), Prefixed(g_vPps), Prefixed(Nal(0x65, 90))});

    SMuxer muxer;
    Bytes vMdat;
    Numbers vSizes;
    Numbers vKeySamples;
    const auto log = [&](const Bytes& vBytes) { bAmf ? muxer.Amf(vBytes) : muxer.Nvenc(vBytes); };
    const auto expect = [&](const Bytes& vBytes, bool bKey) {
        vMdat.insert(vMdat.end(), vBytes.begin(), vBytes.end());
        // AMF's frames are counted by the caller, also one that is lost.
        if (bKey) vKeySamples.push_back(bAmf ? muxer.m_uiFrame : static_cast<std::uint32_t>(vSizes.size()));
        vSizes.push_back(static_cast<std::uint32_t>(vBytes.size()));
    };
    if (uiFilling != 0)
    {
        log(vPacket);
        expect(vPrefixed, true);
        log(Repeat(Join({g_vStart4, Nal(0x41, 3)}), uiFilling - uiNals));
        expect(Repeat(Prefixed(Nal(0x41, 3)), uiFilling - uiNals), false);
    }

    bool bFailed = false;
    {
        const CShortMemory memory(uiCall);
        try
        {
            log(vPacket);
        }
        catch (const std::bad_alloc&)
        {
            bFailed = true;
        }
        EXPECT_EQ(bFailed, memory.GetRefused() != 0);
    }
    if (!bFailed) expect(vPrefixed, true);
    log(Join({vBegin, g_vStart4, Nal(0x65, 200)}));
    expect(Join({vPrefixedBegin, Prefixed(Nal(0x65, 200))}), true);

    muxer.Close(std::vector<double>(vSizes.size(), 0.0), bAmf ? g_uiAmfSpsLengthOffset : g_uiNvencSpsLengthOffset);
    const SMuxedFile file = ReadMuxedFile(muxer.m_file.Bytes());
    EXPECT_TRUE(file.m_vMdat == vMdat);
    EXPECT_EQ(file.m_moov.m_vSizes, vSizes);
    EXPECT_EQ(file.m_moov.m_vKeySamples, vKeySamples);
    return bFailed;
}
}  // namespace

TEST(Mp4File, BeginsWithThePreamble)
{
    const TemporaryFile file;
    const QmFileHandle hFile = Create(file);
    WriteMp4Preamble(hFile);
    QM_CloseFile(hFile);
    ASSERT_EQ(g_vPreamble.size(), 48U);
    EXPECT_EQ(file.Bytes(), g_vPreamble);
}

TEST(Mp4File, WhoseWriterDiedHoldsThePlaceholderAndTheStreamWithStartCodes)
{
    const Bytes vPacket = Join({g_vStart4, g_vSps, g_vStart4, g_vPps, g_vStart4, Nal(0x65, 40)});
    SMuxer muxer;
    muxer.Nvenc(vPacket);
    QM_CloseFile(muxer.m_log.m_hFile);
    muxer.m_log.m_hFile = nullptr;
    EXPECT_EQ(muxer.m_file.Bytes(), Join({g_vPreamble, vPacket}));
}

TEST(Mp4File, OfNvencHasLengthsInPlaceOfStartCodesOfAnySize)
{
    SMuxer muxer;
    muxer.Nvenc(Join({g_vStart3, g_vSps, g_vStart4, g_vPps, g_vStart3, Nal(0x65, 400)}));
    muxer.Nvenc({});
    muxer.Nvenc(Join({g_vStart4, Nal(0x41, 70)}));
    muxer.Nvenc(Join({g_vStart3, Nal(0x41, 71), g_vStart3, Nal(0x01, 300)}));
    muxer.Close({0.0, 40.0, 79.95}, g_uiNvencSpsLengthOffset);

    const SMuxedFile file = ReadMuxedFile(muxer.m_file.Bytes());
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

TEST(Mp4File, OfAmfKeepsItsDelimiters)
{
    const Bytes vKey = {0x09, 0x10};
    const Bytes vOther = {0x09, 0x30};
    SMuxer muxer;
    muxer.Amf(Join({g_vStart4, vKey, g_vStart4, g_vSps, g_vStart4, g_vPps, g_vStart4, Nal(0x65, 400)}));
    muxer.Amf(Join({g_vStart4, vOther, g_vStart4, Nal(0x41, 70)}));
    muxer.Amf(Join({g_vStart4, vKey, g_vStart4, Nal(0x65, 80)}));
    muxer.Close({0.0, 33.4, 66.7}, g_uiAmfSpsLengthOffset);

    const SMuxedFile file = ReadMuxedFile(muxer.m_file.Bytes());
    EXPECT_EQ(file.m_vMdat, Join({Prefixed(vKey), Prefixed(g_vSps), Prefixed(g_vPps), Prefixed(Nal(0x65, 400)),
                                  Prefixed(vOther), Prefixed(Nal(0x41, 70)), Prefixed(vKey), Prefixed(Nal(0x65, 80))}));
    EXPECT_EQ(file.m_moov.m_vSizes, (Numbers{6 + 10 + 8 + 404, 6 + 74, 6 + 84}));
    EXPECT_EQ(file.m_moov.m_vKeySamples, (Numbers{1, 3})) << "frames count from 1 on this path";
    EXPECT_EQ(file.m_moov.m_vSps, g_vSps);
    EXPECT_EQ(file.m_moov.m_vPps, Join({g_vPps, {0}}));
}

TEST(Mp4File, ASingleNalGetsItsLengthAtTheClose)
{
    SMuxer muxer;
    muxer.Nvenc(Join({g_vStart3, Nal(0x65, 1000)}));
    muxer.Close({0.0}, g_uiNvencSpsLengthOffset);
    const SMuxedFile file = ReadMuxedFile(muxer.m_file.Bytes());
    EXPECT_EQ(file.m_vMdat, Prefixed(Nal(0x65, 1000)));
}

TEST(Mp4File, WithoutAnyPacketHasAnEmptyMdatAndAMoov)
{
    SMuxer muxer;
    muxer.Close({0.0, 10.0}, g_uiNvencSpsLengthOffset);
    const SMuxedFile file = ReadMuxedFile(muxer.m_file.Bytes());
    EXPECT_EQ(file.m_uiMdatSize, 8U);
    EXPECT_TRUE(file.m_moov.m_vSizes.empty());
    EXPECT_EQ(file.m_moov.m_vDeltas, (Numbers{100, 100}));
    EXPECT_EQ(file.m_moov.m_vPps, (Bytes{0x68, 0xEE, 0x3C, 0xB0, 0}));
}

TEST(Mp4File, WithoutAnyFrameHasAnEmptyMdatAndAMoov)
{
    SMuxer muxer;
    muxer.Close({}, g_uiAmfSpsLengthOffset);
    const SMuxedFile file = ReadMuxedFile(muxer.m_file.Bytes());
    EXPECT_EQ(file.m_uiMdatSize, 8U);
    EXPECT_TRUE(file.m_moov.m_vDeltas.empty());
}

TEST(Mp4File, OfAPacketThatIsAStartCodeAloneHoldsAnEmptyNal)
{
    SMuxer muxer;
    muxer.Nvenc({0, 0, 1});
    muxer.Close({0.0}, g_uiNvencSpsLengthOffset);
    const SMuxedFile file = ReadMuxedFile(muxer.m_file.Bytes());
    EXPECT_EQ(file.m_vMdat, (Bytes{0, 0, 0, 0}));
    EXPECT_TRUE(file.m_moov.m_vSps.empty());
}

TEST(Mp4File, TheCloseReleasesTheSamplesAndTheFile)
{
    SMuxer muxer;
    muxer.Nvenc(Join({g_vStart4, Nal(0x65, 10)}));
    muxer.Close({0.0}, g_uiNvencSpsLengthOffset);
    EXPECT_EQ(muxer.m_log.m_hFile, nullptr);
    EXPECT_EQ(muxer.m_log.m_vecSampleSizes.capacity(), 0U);
    EXPECT_EQ(muxer.m_log.m_vecKeySamples.capacity(), 0U);
}

TEST(Mp4File, ThatCouldNotBeOpenedIsLoggedAndNothingIsWritten)
{
    SSampleLog log;
    SNalLog nals;
    const test_support::TemporaryFolder folder;
    EXPECT_NE(QM_OpenFile(folder.Path().wstring().c_str(), QM_FILE_CREATE, QM_SHARE_NONE, -1, &log.m_hFile), QM_OK);
    ASSERT_EQ(log.m_hFile, nullptr);
    LogNvencPacket(log, nals, Join({g_vStart4, Nal(0x65, 10)}));
    EXPECT_EQ(ToVector(log.m_vecSampleSizes), Numbers{14});
    WriteNalLengths(log, nals);
    FinishMp4File(log, {0.0}, 320, 240, g_uiNvencSpsLengthOffset);
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

// At every allocation of the first packet of a file, and of one in whose middle the list of NALs needs another block.
TEST(Mp4File, IsWholeWithoutAPacketThatThereWasNoMemoryFor)
{
    CGrowingArray<SNalPatch> array;
    array.reserve(1);  // a block
    for (const bool bAmf : {false, true})
    {
        const std::size_t uiNals = bAmf ? 4 : 3;
        for (const std::size_t uiFilling : {std::size_t{0}, array.capacity() - (uiNals - 1)})
        {
            unsigned uiCall = 1;
            while (ExpectWholeFile(bAmf, uiFilling, uiCall))
            {
                ++uiCall;
            }
            EXPECT_GT(uiCall, 1U);
        }
    }
}

// Packets whose bodies are holes of a sparse file: each is logged with its first bytes, then the log and the file are
// moved on as if the rest had been written. What is then at stake, the patches and the sizes, is the module's own work.
TEST(Mp4File, OfMoreThan4GiBHasItsLengthsInPlaceAndKeepsTheLow32BitsOfItsSize)
{
    constexpr std::uint64_t uiHole = 0x60000000;  // 1.5 GiB
    SMuxer muxer;
    const auto grow = [&muxer](const Bytes& vHead) {
        muxer.Nvenc(vHead);
        muxer.m_log.m_nMdatBytes += uiHole;
        muxer.m_log.m_vecSampleSizes.back() += static_cast<std::uint32_t>(uiHole);
        QM_SeekFile(muxer.m_log.m_hFile, static_cast<std::int64_t>(48 + muxer.m_log.m_nMdatBytes), QM_SEEK_BEGIN);
    };
    grow(Join({g_vStart4, g_vSps, g_vStart4, g_vPps, g_vStart4, Nal(0x65, 10)}));
    grow(Join({g_vStart4, Nal(0x41, 10)}));
    grow(Join({g_vStart4, Nal(0x41, 10)}));
    const Bytes vBehind = Nal(0x41, 33);
    muxer.Nvenc(Join({g_vStart4, vBehind}));
    muxer.Nvenc(Join({g_vStart3, Nal(0x65, 12), g_vStart3, Nal(0x65, 13)}));
    const std::uint64_t uiBehind = 3 * uiHole + 10 + 8 + 14 + 14 + 14;
    const std::uint64_t uiMdat = uiBehind + 37 + 16 + 17;
    ASSERT_GT(uiBehind, std::uint64_t{1} << 32);
    EXPECT_EQ(muxer.m_log.m_nMdatBytes, uiMdat);
    muxer.Close({0.0, 10.0, 20.0, 30.0, 40.0}, g_uiNvencSpsLengthOffset);

    std::ifstream stream(muxer.m_file.Path(), std::ios::binary);
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
    EXPECT_EQ(read(48 + uiBehind, 70), Join({Prefixed(vBehind), Prefixed(Nal(0x65, 12)), Prefixed(Nal(0x65, 13))}));

    const std::uint64_t uiSize = std::filesystem::file_size(muxer.m_file.Path());
    const SMuxedMoov moov = ReadMoov(read(48 + uiMdat, uiSize - 48 - uiMdat));
    EXPECT_EQ(moov.m_vSps, g_vSps);
    EXPECT_EQ(moov.m_vSizes, (Numbers{uiHole + 32, uiHole + 14, uiHole + 14, 37, 33}));
    EXPECT_EQ(moov.m_vKeySamples, (Numbers{0, 4, 4}));
}

// A place whose low half is that of the first packet's length.
TEST(Mp4File, ANalThatBeginsAt4GiBLeavesTheFirstPacketAlone)
{
    SMuxer muxer;
    muxer.Nvenc(Join({g_vStart4, g_vSps, g_vStart4, g_vPps, g_vStart4, Nal(0x65, 10)}));
    muxer.m_log.m_nMdatBytes = std::uint64_t{1} << 32;
    muxer.m_log.m_vecSampleSizes.back() = 0xFFFFFFFF;
    QM_SeekFile(muxer.m_log.m_hFile, static_cast<std::int64_t>(48 + muxer.m_log.m_nMdatBytes), QM_SEEK_BEGIN);
    muxer.Nvenc(Join({g_vStart4, Nal(0x41, 33)}));
    muxer.Nvenc(Join({g_vStart4, Nal(0x41, 34)}));
    muxer.Close({0.0, 10.0, 20.0}, g_uiNvencSpsLengthOffset);

    std::ifstream stream(muxer.m_file.Path(), std::ios::binary);
    const std::uint64_t uiMoov = 48 + (std::uint64_t{1} << 32) + 37 + 38;
    Bytes vMoov(std::filesystem::file_size(muxer.m_file.Path()) - uiMoov);
    stream.seekg(static_cast<std::streamoff>(uiMoov));
    stream.read(reinterpret_cast<char*>(vMoov.data()), static_cast<std::streamsize>(vMoov.size()));
    ASSERT_TRUE(stream.good());
    const SMuxedMoov moov = ReadMoov(vMoov);
    EXPECT_EQ(moov.m_vSps, g_vSps);
}
