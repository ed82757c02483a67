// Data streams in memory.
#include <limits>
#include <string>

#include "amf/common/DataStreamMemory.h"
#include "datastream_fixture.h"

namespace
{

class DataStreamMemory : public DataStreamTest
{
protected:
    DataStreamMemory() { m_strScope = L"AMFDataStreamMemoryImpl"; }

    // The position after the seek.
    amf_int64 SeekTo(AMF_SEEK_ORIGIN eOrigin, amf_int64 nOffset)
    {
        amf_int64 nPosition = -1;
        EXPECT_EQ(m_stream->Seek(eOrigin, nOffset, &nPosition), AMF_OK);
        EXPECT_EQ(PositionOf(m_stream), nPosition);
        return nPosition;
    }

    const CStreamPtr m_stream{new AMFDataStreamMemoryImpl};
};

TEST_F(DataStreamMemory, OpenDoesNothingAndGivesZero)
{
    EXPECT_EQ(m_stream->Open(nullptr, AMF_STREAM_READ, AMF_FILE_SHARE_EXCLUSIVE), AMF_OK);
    WriteTo(m_stream, "abc");
    EXPECT_EQ(m_stream->Open(L"path", AMF_STREAM_WRITE, AMF_FILE_SHARE_EXCLUSIVE), AMF_OK);
    EXPECT_EQ(SizeOf(m_stream), 3);
    EXPECT_EQ(PositionOf(m_stream), 3);
    EXPECT_TRUE(m_stream->IsSeekable());
}

TEST_F(DataStreamMemory, WritesGrowItAndKeepWhatItHolds)
{
    std::string strAll;
    for (int i = 0; i < 100; ++i)
    {
        const std::string strPart(static_cast<std::size_t>(i * 37), static_cast<char>('a' + i % 26));
        WriteTo(m_stream, strPart);
        strAll += strPart;
        ASSERT_EQ(SizeOf(m_stream), static_cast<amf_int64>(strAll.size()));
    }
    EXPECT_EQ(SeekTo(AMF_SEEK_BEGIN, 0), 0);
    EXPECT_EQ(ReadFrom(m_stream, strAll.size() + 10), strAll);
}

TEST_F(DataStreamMemory, AWriteInTheMiddleReplacesAndGrowsOnlyPastTheEnd)
{
    WriteTo(m_stream, "abcdef");
    SeekTo(AMF_SEEK_BEGIN, 2);
    WriteTo(m_stream, "XY");
    EXPECT_EQ(SizeOf(m_stream), 6);
    EXPECT_EQ(PositionOf(m_stream), 4);
    WriteTo(m_stream, "1234");
    EXPECT_EQ(SizeOf(m_stream), 8);
    SeekTo(AMF_SEEK_BEGIN, 0);
    EXPECT_EQ(ReadFrom(m_stream, 100), "abXY1234");
}

TEST_F(DataStreamMemory, ReadGivesWhatIsLeftAndNoMoreAtTheEnd)
{
    WriteTo(m_stream, "abc");
    EXPECT_EQ(ReadFrom(m_stream, 5), "");
    SeekTo(AMF_SEEK_BEGIN, 1);
    EXPECT_EQ(ReadFrom(m_stream, 1), "b");
    EXPECT_EQ(ReadFrom(m_stream, 5), "c");
    EXPECT_EQ(PositionOf(m_stream), 3);
    char chRead = 0;
    EXPECT_EQ(m_stream->Read(&chRead, 1, nullptr), AMF_OK);
}

TEST_F(DataStreamMemory, SeekCountsBackFromTheEnd)
{
    WriteTo(m_stream, "abcdef");
    EXPECT_EQ(SeekTo(AMF_SEEK_END, 2), 4);
    EXPECT_EQ(SeekTo(AMF_SEEK_END, 0), 6);
    EXPECT_EQ(SeekTo(AMF_SEEK_BEGIN, 1), 1);
    EXPECT_EQ(SeekTo(AMF_SEEK_CURRENT, 2), 3);
    EXPECT_EQ(SeekTo(AMF_SEEK_CURRENT, -1), 2);
}

TEST_F(DataStreamMemory, SeekStaysInsideTheStream)
{
    WriteTo(m_stream, "abcdef");
    constexpr amf_int64 MOST = std::numeric_limits<amf_int64>::max();
    constexpr amf_int64 LEAST = std::numeric_limits<amf_int64>::min();
    EXPECT_EQ(SeekTo(AMF_SEEK_BEGIN, 7), 6);
    EXPECT_EQ(SeekTo(AMF_SEEK_BEGIN, -1), 0);
    EXPECT_EQ(SeekTo(AMF_SEEK_BEGIN, 3), 3);
    EXPECT_EQ(SeekTo(AMF_SEEK_CURRENT, MOST), 6);
    EXPECT_EQ(SeekTo(AMF_SEEK_CURRENT, LEAST), 0);
    EXPECT_EQ(SeekTo(AMF_SEEK_END, -1), 6);
    EXPECT_EQ(SeekTo(AMF_SEEK_END, 7), 0);
    EXPECT_EQ(SeekTo(AMF_SEEK_END, LEAST), 6);
    EXPECT_EQ(SeekTo(AMF_SEEK_END, MOST), 0);
}

TEST_F(DataStreamMemory, SeekFromAnotherOriginGivesOne)
{
    amf_int64 nPosition = 77;
    EXPECT_EQ(m_stream->Seek(static_cast<AMF_SEEK_ORIGIN>(3), 0, &nPosition), AMF_FAIL);
    EXPECT_EQ(nPosition, 77);
}

TEST_F(DataStreamMemory, CloseEmptiesIt)
{
    WriteTo(m_stream, "abc");
    EXPECT_EQ(m_stream->Close(), AMF_OK);
    EXPECT_EQ(SizeOf(m_stream), 0);
    EXPECT_EQ(PositionOf(m_stream), 0);
    WriteTo(m_stream, "de");
    SeekTo(AMF_SEEK_BEGIN, 0);
    EXPECT_EQ(ReadFrom(m_stream, 10), "de");
}

TEST_F(DataStreamMemory, NoBytesAreWrittenWithoutMemoryForThem)
{
    EXPECT_EQ(m_stream->Write("", 0, nullptr), AMF_OK);
    EXPECT_EQ(SizeOf(m_stream), 0);
}

// --- failed checks

TEST_F(DataStreamMemory, NullResultsGiveSevenUnderTheSameName)
{
    ExpectLine(m_stream->GetPosition(nullptr), AMF_INVALID_POINTER,
               L"Assertion failed: pPosition != NULL GetPosition() - pPosition==NULL");
    ExpectLine(m_stream->GetSize(nullptr), AMF_INVALID_POINTER,
               L"Assertion failed: pSize != NULL GetPosition() - pSize==NULL");
}

TEST_F(DataStreamMemory, NullDataGivesSeven)
{
    ExpectLine(m_stream->Read(nullptr, 1, nullptr), AMF_INVALID_POINTER,
               L"Assertion failed: pData != NULL Read() - pData==NULL");
    ExpectLine(m_stream->Write(nullptr, 1, nullptr), AMF_INVALID_POINTER,
               L"Assertion failed: pData != NULL Write() - pData==NULL");
}

TEST_F(DataStreamMemory, ReadBeforeTheFirstWriteGives13)
{
    char chRead = 0;
    ExpectLine(m_stream->Read(&chRead, 1, nullptr), AMF_NOT_INITIALIZED,
               L"Assertion failed: m_pMemory != NULL Read() - Stream is not allocated");
}

TEST_F(DataStreamMemory, AWriteThatFindsNoMemoryGivesSixAndChangesNothing)
{
    WriteTo(m_stream, "abc");
    const char chByte = 'x';
    amf_size uiWritten = 77;
    for (const amf_size uiSize : {amf_size{1} << 60, std::numeric_limits<amf_size>::max()})
    {
        ExpectLine(m_stream->Write(&chByte, uiSize, &uiWritten), AMF_OUT_OF_MEMORY,
                   L"AMF_ERROR 6 : AMF_OUT_OF_MEMORY: Realloc(m_pos + iSize) Write() - Stream is not allocated");
    }
    EXPECT_EQ(uiWritten, 77U);
    EXPECT_EQ(SizeOf(m_stream), 3);
    EXPECT_EQ(PositionOf(m_stream), 3);
    SeekTo(AMF_SEEK_BEGIN, 0);
    EXPECT_EQ(ReadFrom(m_stream, 10), "abc");
}

}  // namespace
