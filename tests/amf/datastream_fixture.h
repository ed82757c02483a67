// What the tests of data streams share.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "amf/common/DataStream.h"
#include "fake_amf.h"

class DataStreamTest : public testing::Test
{
protected:
    // A failed check returns that result and leaves exactly this line.
    void ExpectLine(AMF_RESULT eResult, AMF_RESULT eExpected, const std::wstring& strText)
    {
        EXPECT_EQ(eResult, eExpected);
        ASSERT_EQ(m_fake.m_vLines.size(), 1U);
        const FakeAmf::SLine line = m_fake.m_vLines[0];
        m_fake.m_vLines.clear();
        EXPECT_EQ(line.m_strText, strText);
        EXPECT_EQ(line.m_strScope, m_strScope);
        EXPECT_EQ(line.m_nLevel, 0);
        EXPECT_EQ(line.m_nArguments, 0);
        EXPECT_GT(line.m_nLine, 0);
        EXPECT_EQ(line.m_strSource.substr(0, 16), L"mul_imageformat/");
    }

    // At most uiSize bytes, with AMF_OK.
    static std::string ReadFrom(AMFDataStream* pStream, std::size_t uiSize)
    {
        std::string strBytes(uiSize, '?');
        amf_size uiRead = 0;
        EXPECT_EQ(pStream->Read(strBytes.data(), uiSize, &uiRead), AMF_OK);
        return strBytes.substr(0, uiRead);
    }

    static void WriteTo(AMFDataStream* pStream, const std::string& strBytes)
    {
        amf_size uiWritten = 0;
        EXPECT_EQ(pStream->Write(strBytes.data(), strBytes.size(), &uiWritten), AMF_OK);
        EXPECT_EQ(uiWritten, strBytes.size());
    }

    static amf_int64 PositionOf(AMFDataStream* pStream)
    {
        amf_int64 nPosition = -1;
        EXPECT_EQ(pStream->GetPosition(&nPosition), AMF_OK);
        return nPosition;
    }

    static amf_int64 SizeOf(AMFDataStream* pStream)
    {
        amf_int64 nSize = -1;
        EXPECT_EQ(pStream->GetSize(&nSize), AMF_OK);
        return nSize;
    }

    FakeAmf m_fake;
    std::wstring m_strScope;
};

// Gives its reference back at the end.
class CStreamPtr
{
public:
    explicit CStreamPtr(AMFDataStream* pStream = nullptr) : m_pStream(pStream) {}
    ~CStreamPtr()
    {
        if (m_pStream != nullptr) m_pStream->Release();
    }
    CStreamPtr(const CStreamPtr&) = delete;
    CStreamPtr& operator=(const CStreamPtr&) = delete;

    AMFDataStream** Out() { return &m_pStream; }
    operator AMFDataStream*() const { return m_pStream; }
    AMFDataStream* operator->() const { return m_pStream; }

private:
    AMFDataStream* m_pStream;
};
