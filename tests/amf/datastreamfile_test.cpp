// Data streams on files: how they are opened and shared, what they read and write, and their failed checks.
#include <filesystem>
#include <string>

#include "amf/common/DataStreamFile.h"
#include "datastream_fixture.h"
#include "support/temporary_folder.h"

using test_support::ReadText;
using test_support::WriteText;

namespace
{

class DataStreamFile : public DataStreamTest
{
protected:
    DataStreamFile() { m_strScope = L"AMFDataStreamFileImpl"; }

    AMF_RESULT Open(int nAccess, int nShare = AMF_FILE_SHARE_READ_WRITE) { return OpenOf(m_stream, nAccess, nShare); }
    AMF_RESULT OpenOf(AMFDataStream* pStream, int nAccess, int nShare) const
    {
        return pStream->Open(m_strPath.c_str(), static_cast<AMF_STREAM_OPEN>(nAccess),
                             static_cast<AMF_FILE_SHARE>(nShare));
    }

    const test_support::TemporaryFolder m_folder;
    const std::filesystem::path m_file = m_folder / std::filesystem::path(u8"\u00E4\u65E5.bin");
    const std::wstring m_strPath = m_folder.Path().wstring() + L"/\u00E4\u65E5.bin";
    const CStreamPtr m_stream{new AMFDataStreamFileImpl};
};

// --- access modes

TEST_F(DataStreamFile, AccessZeroReadsAFileThatExists)
{
    EXPECT_EQ(Open(0), AMF_FAIL);
    WriteText(m_file, "old\n\x1A\r\n");
    ASSERT_EQ(Open(0), AMF_OK);
    EXPECT_EQ(ReadFrom(m_stream, 100), "old\n\x1A\r\n") << "no byte is translated";
    EXPECT_EQ(m_stream->Write("x", 1, nullptr), AMF_FAIL);
}

TEST_F(DataStreamFile, AccessOneWritesANewOrEmptiedFile)
{
    for (const char* pszText : {"one", "2"})
    {
        ASSERT_EQ(Open(1), AMF_OK);
        WriteTo(m_stream, pszText);
        char chRead = 0;
        EXPECT_EQ(m_stream->Read(&chRead, 1, nullptr), AMF_FAIL);
        EXPECT_EQ(m_stream->Close(), AMF_OK);
        EXPECT_EQ(ReadText(m_file), pszText);
    }
}

TEST_F(DataStreamFile, AccessTwoReadsAndWritesANewOrEmptiedFile)
{
    for (const char* pszText : {"one\n", "2"})
    {
        ASSERT_EQ(Open(2), AMF_OK);
        WriteTo(m_stream, pszText);
        EXPECT_EQ(m_stream->Seek(AMF_SEEK_BEGIN, 0, nullptr), AMF_OK);
        EXPECT_EQ(ReadFrom(m_stream, 100), pszText);
        EXPECT_EQ(m_stream->Close(), AMF_OK);
        EXPECT_EQ(ReadText(m_file), pszText);
    }
}

TEST_F(DataStreamFile, AccessThreeReadsAndWritesAtTheEndOfANewOrExistingFile)
{
    ASSERT_EQ(Open(3), AMF_OK);
    WriteTo(m_stream, "one");
    ASSERT_EQ(Open(3), AMF_OK);
    EXPECT_EQ(ReadFrom(m_stream, 2), "on");
    WriteTo(m_stream, "2");
    EXPECT_EQ(m_stream->Seek(AMF_SEEK_BEGIN, 0, nullptr), AMF_OK);
    WriteTo(m_stream, "3");
    EXPECT_EQ(m_stream->Close(), AMF_OK);
    EXPECT_EQ(ReadText(m_file), "one23");
}

TEST_F(DataStreamFile, ModesThatThereAreNotGiveFour)
{
    WriteText(m_file, "old");
    EXPECT_EQ(Open(4), AMF_INVALID_ARG);
    EXPECT_EQ(Open(-1), AMF_INVALID_ARG);
    EXPECT_EQ(Open(1, 4), AMF_INVALID_ARG);
    EXPECT_EQ(Open(1, -1), AMF_INVALID_ARG);
    EXPECT_EQ(ReadText(m_file), "old");
}

TEST_F(DataStreamFile, OnlyItsUsersModeDecidesWhoMayOpenANewFile)
{
    ASSERT_EQ(Open(1), AMF_OK);
    EXPECT_EQ(m_stream->Close(), AMF_OK);
    using std::filesystem::perms;
    const perms owner = std::filesystem::status(m_file).permissions() & perms::owner_all;
    EXPECT_EQ(owner & (perms::owner_read | perms::owner_write), perms::owner_read | perms::owner_write);
}

// --- sharing modes: what a second stream may do while the first reads

TEST_F(DataStreamFile, SharingForbidsWhatItSays)
{
    const struct
    {
        int nShare;
        bool bReads;
        bool bWrites;
    } aCases[] = {{0, false, false}, {1, true, false}, {2, false, true}, {3, true, true}};
    WriteText(m_file, "old");
    for (const auto& use : aCases)
    {
        SCOPED_TRACE(use.nShare);
        ASSERT_EQ(Open(0, use.nShare), AMF_OK);
        const CStreamPtr second(new AMFDataStreamFileImpl);
        EXPECT_EQ(OpenOf(second, 0, 3), use.bReads ? AMF_OK : AMF_FAIL);
        EXPECT_EQ(OpenOf(second, 1, 3), use.bWrites ? AMF_OK : AMF_FAIL);
        EXPECT_EQ(OpenOf(second, 2, 3), use.bReads && use.bWrites ? AMF_OK : AMF_FAIL);
        EXPECT_EQ(OpenOf(second, 3, 3), use.bReads && use.bWrites ? AMF_OK : AMF_FAIL);
    }
}

// --- operations

TEST_F(DataStreamFile, OpenClosesTheFileThatIsOpen)
{
    ASSERT_EQ(Open(1, AMF_FILE_SHARE_EXCLUSIVE), AMF_OK);
    WriteTo(m_stream, "one");
    ASSERT_EQ(Open(0, AMF_FILE_SHARE_EXCLUSIVE), AMF_OK);
    EXPECT_EQ(m_stream->Open(L"", AMF_STREAM_READ, AMF_FILE_SHARE_READ_WRITE), AMF_FAIL);
    const CStreamPtr second(new AMFDataStreamFileImpl);
    EXPECT_EQ(OpenOf(second, 0, AMF_FILE_SHARE_EXCLUSIVE), AMF_OK) << "a failed open has closed it too";
}

TEST_F(DataStreamFile, TheLastReleaseClosesTheFile)
{
    {
        const CStreamPtr first(new AMFDataStreamFileImpl);
        ASSERT_EQ(OpenOf(first, 1, AMF_FILE_SHARE_EXCLUSIVE), AMF_OK);
        EXPECT_EQ(Open(0), AMF_FAIL);
    }
    EXPECT_EQ(Open(0), AMF_OK);
}

TEST_F(DataStreamFile, ReadAtTheEndGives23)
{
    WriteText(m_file, "abc");
    ASSERT_EQ(Open(0), AMF_OK);
    EXPECT_EQ(ReadFrom(m_stream, 2), "ab");
    EXPECT_EQ(ReadFrom(m_stream, 2), "c") << "what is left";
    char chRead = 0;
    EXPECT_EQ(m_stream->Read(&chRead, 1, nullptr), AMF_EOF);
    EXPECT_EQ(ReadFrom(m_stream, 0), "") << "no bytes are no end";
}

TEST_F(DataStreamFile, PositionsAndSizes)
{
    WriteText(m_file, "abcdef");
    ASSERT_EQ(Open(0), AMF_OK);
    EXPECT_TRUE(m_stream->IsSeekable());
    amf_int64 nPosition = 0;
    EXPECT_EQ(m_stream->Seek(AMF_SEEK_END, -1, &nPosition), AMF_OK);
    EXPECT_EQ(nPosition, 5);
    EXPECT_EQ(m_stream->Seek(AMF_SEEK_CURRENT, -3, &nPosition), AMF_OK);
    EXPECT_EQ(nPosition, 2);
    EXPECT_EQ(ReadFrom(m_stream, 1), "c");
    EXPECT_EQ(PositionOf(m_stream), 3);
    EXPECT_EQ(SizeOf(m_stream), 6);
    EXPECT_EQ(m_stream->Seek(AMF_SEEK_BEGIN, 1, nullptr), AMF_OK);
    EXPECT_EQ(PositionOf(m_stream), 1);
}

TEST_F(DataStreamFile, AFailedSeekGivesOne)
{
    WriteText(m_file, "abcdef");
    ASSERT_EQ(Open(0), AMF_OK);
    amf_int64 nPosition = 77;
    EXPECT_EQ(m_stream->Seek(AMF_SEEK_BEGIN, -1, &nPosition), AMF_FAIL);
    EXPECT_EQ(m_stream->Seek(static_cast<AMF_SEEK_ORIGIN>(3), 0, &nPosition), AMF_FAIL);
    EXPECT_EQ(nPosition, 77);
    EXPECT_EQ(PositionOf(m_stream), 0);
}

TEST_F(DataStreamFile, CountsNeedNotBeAskedFor)
{
    ASSERT_EQ(Open(2), AMF_OK);
    EXPECT_EQ(m_stream->Write("abc", 3, nullptr), AMF_OK);
    EXPECT_EQ(m_stream->Seek(AMF_SEEK_BEGIN, 0, nullptr), AMF_OK);
    char achRead[3] = {};
    EXPECT_EQ(m_stream->Read(achRead, 3, nullptr), AMF_OK);
    EXPECT_EQ(std::string(achRead, 3), "abc");
}

TEST_F(DataStreamFile, AnythingThatCannotBeOpenedGivesOne)
{
    const std::wstring strFolder = m_folder.Path().wstring();
    EXPECT_EQ(m_stream->Open(strFolder.c_str(), AMF_STREAM_READ, AMF_FILE_SHARE_READ_WRITE), AMF_FAIL);
    EXPECT_EQ(m_stream->Open((strFolder + L"/none/file").c_str(), AMF_STREAM_WRITE, AMF_FILE_SHARE_READ_WRITE),
              AMF_FAIL);
    EXPECT_TRUE(m_fake.m_vLines.empty());
}

TEST_F(DataStreamFile, CloseOfAClosedOneGivesZero)
{
    EXPECT_EQ(m_stream->Close(), AMF_OK);
    ASSERT_EQ(Open(1), AMF_OK);
    EXPECT_EQ(m_stream->Close(), AMF_OK);
    EXPECT_EQ(m_stream->Close(), AMF_OK);
}

// --- failed checks

TEST_F(DataStreamFile, ANullPathGivesFour)
{
    ExpectLine(m_stream->Open(nullptr, AMF_STREAM_READ, AMF_FILE_SHARE_READ), AMF_INVALID_ARG,
               L"Assertion failed: pFilePath != NULL");
}

TEST_F(DataStreamFile, NullResultsGiveSeven)
{
    ExpectLine(m_stream->GetPosition(nullptr), AMF_INVALID_POINTER, L"Assertion failed: pPosition != NULL");
    ExpectLine(m_stream->GetSize(nullptr), AMF_INVALID_POINTER, L"Assertion failed: pSize != NULL");
}

TEST_F(DataStreamFile, AClosedOneGives16)
{
    char chByte = 'x';
    amf_int64 nResult = 77;
    ExpectLine(m_stream->Read(&chByte, 1, nullptr), AMF_FILE_NOT_OPEN,
               L"Assertion failed: m_iFileDescriptor != -1 Read() - File not open");
    ExpectLine(m_stream->Write(&chByte, 1, nullptr), AMF_FILE_NOT_OPEN,
               L"Assertion failed: m_iFileDescriptor != -1 Write() - File not Open");
    ExpectLine(m_stream->Seek(AMF_SEEK_BEGIN, 0, &nResult), AMF_FILE_NOT_OPEN,
               L"Assertion failed: m_iFileDescriptor != -1 Seek() - File not Open");
    ExpectLine(m_stream->GetPosition(&nResult), AMF_FILE_NOT_OPEN,
               L"Assertion failed: m_iFileDescriptor != -1 GetPosition() - File not Open");
    ExpectLine(m_stream->GetSize(&nResult), AMF_FILE_NOT_OPEN,
               L"Assertion failed: m_iFileDescriptor != -1 GetSize() - File not open");
    EXPECT_EQ(nResult, 77);
}

TEST_F(DataStreamFile, NullDataGivesSeven)
{
    ASSERT_EQ(Open(2), AMF_OK);
    ExpectLine(m_stream->Read(nullptr, 1, nullptr), AMF_INVALID_POINTER,
               L"Assertion failed: pData != NULL Read() - pData==NULL");
    ExpectLine(m_stream->Write(nullptr, 1, nullptr), AMF_INVALID_POINTER,
               L"Assertion failed: pData != NULL Write() - pData==NULL");
}

TEST(DataStreamFileAlone, ChecksWorkWithoutARuntime)
{
    const FakeAmf none(L"none");
    const CStreamPtr stream(new AMFDataStreamFileImpl);
    EXPECT_EQ(stream->GetSize(nullptr), AMF_INVALID_POINTER);
}

}  // namespace
