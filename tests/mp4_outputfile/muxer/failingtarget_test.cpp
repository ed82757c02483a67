// A target file that fails: a program of its own, since its file takes the place of the host's.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "mp4_outputfile/muxer/mp4filewriter.h"
#include "muxing.h"

using testing::ElementsAre;

struct SQmFile
{
    Bytes m_vBytes;
    std::size_t m_uiPosition = 0;
    std::vector<std::string> m_vCalls;  // as far as they succeeded
    int m_nFailingCall = -1;            // number of the write or seek that fails, from 0; the ones after it succeed
    int m_nCalls = 0;
    Bytes m_vAtFailure;  // what the file held then

    QmStatus Call(const std::string& strCall)
    {
        const bool bFails = m_nCalls++ == m_nFailingCall;
        if (bFails) m_vAtFailure = m_vBytes;
        if (!bFails) m_vCalls.push_back(strCall);
        return bFails ? QM_ERR_FAIL : QM_OK;
    }
};

namespace
{
SQmFile* g_pFile = nullptr;

const Bytes g_vMark = {0x1A, 0xBE, 0xCE, 0xDA};

const Bytes g_vPacket = Join({g_vStart4, {0x67, 0x64, 0x00, 0x28}, g_vStart4, {0x68, 0xEE}, g_vStart4, Nal(0x65, 40)});

// Writes a file of three packets from its opening to its close. Every packet is taken, whatever becomes of the writes.
void WriteFile(SQmFile& file)
{
    g_pFile = &file;
    CMp4FileWriter writer;
    writer.Open(CQmStringW(L"scripted"), EPacketLayout::Nvenc, 64, 48);
    EXPECT_TRUE(writer.IsOpen());
    for (int n = 0; n < 3; ++n)
        EXPECT_TRUE(writer.LogPacket(g_vPacket));
    writer.WriteNalLengths();
    writer.Finish({0.0, 40.0, 80.0});
    EXPECT_FALSE(writer.IsOpen());
    g_pFile = nullptr;
}
}  // namespace

// --- in the place of the host's ---

QmStatus QM_OpenFile(const wchar_t*, int, int, int, QmFileHandle* phFile)
{
    *phFile = g_pFile;
    return QM_OK;
}

QmStatus QM_CloseFile(QmFileHandle hFile)
{
    hFile->m_vCalls.emplace_back("close");
    return QM_OK;
}

QmStatus QM_WriteFile(QmFileHandle hFile, const void* pBuffer, std::uint64_t uiBytes, void*, void*)
{
    const QmStatus nStatus = hFile->Call("write " + std::to_string(uiBytes));
    if (nStatus != QM_OK) return nStatus;
    const auto* const pBytes = static_cast<const std::uint8_t*>(pBuffer);
    const std::size_t uiEnd = hFile->m_uiPosition + static_cast<std::size_t>(uiBytes);
    if (hFile->m_vBytes.size() < uiEnd) hFile->m_vBytes.resize(uiEnd);
    std::copy(pBytes, pBytes + uiBytes, hFile->m_vBytes.begin() + static_cast<std::ptrdiff_t>(hFile->m_uiPosition));
    hFile->m_uiPosition = uiEnd;
    return QM_OK;
}

QmStatus QM_SeekFile(QmFileHandle hFile, std::int64_t nOffset, int nOrigin)
{
    const bool bEnd = nOrigin == QM_SEEK_END;
    const QmStatus nStatus = hFile->Call(bEnd ? "seek end" : "seek " + std::to_string(nOffset));
    if (nStatus != QM_OK) return nStatus;
    hFile->m_uiPosition = bEnd ? hFile->m_vBytes.size() : static_cast<std::size_t>(nOffset);
    return QM_OK;
}

// --- tests ---

TEST(TargetFile, IsWrittenPieceByPieceAndItsSizeComesLast)
{
    SQmFile file;
    WriteFile(file);
    EXPECT_EQ(std::vector(file.m_vCalls.begin(), file.m_vCalls.begin() + 8),
              (std::vector<std::string>{"write 32", "write 4", "write 4", "write 4", "write 4", "write 58", "write 58",
                                        "write 58"}));
    // A seek and a write for each of nine NALs, then `moov`, then the size.
    ASSERT_EQ(file.m_vCalls.size(), 8U + 18U + 5U);
    EXPECT_EQ(file.m_vCalls[8], "seek 48");
    EXPECT_EQ(file.m_vCalls[9], "write 4");
    const std::string strMoov = "write " + std::to_string(file.m_vBytes.size() - 48 - 3 * 58);
    EXPECT_THAT(std::vector(file.m_vCalls.begin() + 26, file.m_vCalls.end()),
                ElementsAre("seek end", strMoov, "seek 40", "write 4", "close"));
}

// A disk that is full for a moment, for one: what came after it would lie at another place than it was logged at.
TEST(TargetFile, NothingIsWrittenAfterACallThatFailedAndTheMarkOfAnUnfinishedFileStays)
{
    SQmFile whole;
    WriteFile(whole);
    for (int nCall = 0; nCall < whole.m_nCalls; ++nCall)
    {
        SQmFile file;
        file.m_nFailingCall = nCall;
        WriteFile(file);
        EXPECT_EQ(file.m_vBytes, file.m_vAtFailure) << "call " << nCall;
        EXPECT_EQ(file.m_vCalls.back(), "close");
        if (nCall < 4) continue;  // the mark isn't there yet
        ASSERT_GE(file.m_vBytes.size(), 44U);
        EXPECT_EQ(Bytes(file.m_vBytes.begin() + 40, file.m_vBytes.begin() + 44), g_vMark) << "call " << nCall;
    }
}
