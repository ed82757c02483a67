// Which stream a URL opens; the table and the references of streams.
#include <filesystem>
#include <string>

#include "amf/common/DataStreamFactory.h"
#include "datastream_fixture.h"
#include "support/slot_of.h"
#include "support/temporary_folder.h"

using test_support::ReadText;
using test_support::SlotOf;

namespace
{

class DataStreamFactory : public DataStreamTest
{
protected:
    DataStreamFactory() { m_strScope = L"AMFDataStreamFileImpl"; }

    static AMF_RESULT OpenForWriting(const std::wstring& strUrl, CStreamPtr& stream)
    {
        return OpenDataStream(strUrl.c_str(), AMF_STREAM_WRITE, AMF_FILE_SHARE_READ_WRITE, stream.Out());
    }

    const test_support::TemporaryFolder m_folder;
    const std::wstring m_strFolder = m_folder.Path().wstring();
};

TEST_F(DataStreamFactory, WithoutAProtocolItIsTheFileOfThatPath)
{
    CStreamPtr stream;
    ASSERT_EQ(OpenForWriting(m_strFolder + L"/plain", stream), AMF_OK);
    WriteTo(stream, "plain");
    EXPECT_EQ(stream->Close(), AMF_OK);
    EXPECT_EQ(ReadText(m_folder / "plain"), "plain");
}

TEST_F(DataStreamFactory, WhatFollowsTheFirstSeparatorIsThePath)
{
    CStreamPtr stream;
    ASSERT_EQ(OpenForWriting(L"file://" + m_strFolder + L"/file", stream), AMF_OK);
    WriteTo(stream, "file");
    EXPECT_EQ(stream->Close(), AMF_OK);
    EXPECT_EQ(ReadText(m_folder / "file"), "file");

    CStreamPtr none;
    EXPECT_EQ(OpenForWriting(L"file://memory://x", none), AMF_FAIL) << "a file of an impossible name";
    EXPECT_EQ(static_cast<AMFDataStream*>(none), nullptr);
}

TEST_F(DataStreamFactory, MemoryIsAStreamOfItsOwn)
{
    CStreamPtr stream;
    ASSERT_EQ(OpenForWriting(L"memory://", stream), AMF_OK);
    WriteTo(stream, "abc");
    EXPECT_EQ(stream->Seek(AMF_SEEK_END, 1, nullptr), AMF_OK) << "counts back, as memory does";
    EXPECT_EQ(ReadFrom(stream, 10), "c");
}

TEST_F(DataStreamFactory, AnyOtherProtocolGivesTen)
{
    for (const wchar_t* pwszUrl : {L"http://host/path", L"FILE://x", L"Memory://", L"://x", L" file://x"})
    {
        CStreamPtr stream;
        EXPECT_EQ(OpenForWriting(pwszUrl, stream), AMF_NOT_SUPPORTED);
        EXPECT_EQ(static_cast<AMFDataStream*>(stream), nullptr);
    }
}

TEST_F(DataStreamFactory, ANullUrlGivesFour)
{
    AMFDataStream* pStream = reinterpret_cast<AMFDataStream*>(&m_fake);
    ExpectLine(OpenDataStream(nullptr, AMF_STREAM_READ, AMF_FILE_SHARE_READ, &pStream), AMF_INVALID_ARG,
               L"Assertion failed: pFileUrl != NULL");
    EXPECT_EQ(pStream, nullptr);
    EXPECT_EQ(OpenDataStream(L"memory://", AMF_STREAM_READ, AMF_FILE_SHARE_READ, nullptr), AMF_INVALID_POINTER);
}

TEST_F(DataStreamFactory, AStreamThatCannotBeOpenedIsNotGiven)
{
    CStreamPtr stream;
    EXPECT_EQ(OpenDataStream((m_strFolder + L"/none").c_str(), AMF_STREAM_READ, AMF_FILE_SHARE_READ, stream.Out()),
              AMF_FAIL);
    EXPECT_EQ(static_cast<AMFDataStream*>(stream), nullptr);
}

TEST_F(DataStreamFactory, ReferencesAreCounted)
{
    AMFDataStream* pStream = nullptr;
    ASSERT_EQ(OpenDataStream(L"memory://", AMF_STREAM_READ, AMF_FILE_SHARE_READ, &pStream), AMF_OK);
    EXPECT_EQ(pStream->Acquire(), 2);
    EXPECT_EQ(pStream->Release(), 1);

    void* pFound = nullptr;
    EXPECT_EQ(pStream->QueryInterface(AMFDataStream::IID(), &pFound), AMF_OK);
    EXPECT_EQ(pFound, pStream);
    EXPECT_EQ(pStream->Release(), 1);
    EXPECT_EQ(pStream->QueryInterface(AMFInterface::IID(), &pFound), AMF_OK);
    EXPECT_EQ(pFound, static_cast<AMFInterface*>(pStream));
    EXPECT_EQ(pStream->Release(), 1);
    EXPECT_EQ(pStream->QueryInterface(AMFBuffer::IID(), &pFound), AMF_NO_INTERFACE);
    EXPECT_EQ(pFound, nullptr);
    EXPECT_EQ(pStream->QueryInterface(AMFInterface::IID(), nullptr), AMF_INVALID_POINTER);
    EXPECT_EQ(pStream->Release(), 0);
}

TEST(DataStreamTable, OperationsHaveTheirPlaces)
{
    EXPECT_EQ(SlotOf(&AMFDataStream::Open), 3U);
    EXPECT_EQ(SlotOf(&AMFDataStream::Close), 4U);
    EXPECT_EQ(SlotOf(&AMFDataStream::Read), 5U);
    EXPECT_EQ(SlotOf(&AMFDataStream::Write), 6U);
    EXPECT_EQ(SlotOf(&AMFDataStream::Seek), 7U);
    EXPECT_EQ(SlotOf(&AMFDataStream::GetPosition), 8U);
    EXPECT_EQ(SlotOf(&AMFDataStream::GetSize), 9U);
    EXPECT_EQ(SlotOf(&AMFDataStream::IsSeekable), 10U);
}

}  // namespace
