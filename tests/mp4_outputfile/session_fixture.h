// An output object over a scripted media session, with a real format object.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "mp4_outputfile/mediafoundationwriter.h"
#include "output_fixture.h"
#include "writing_session.h"

class OpenWriter : public CMediaFoundationWriter
{
public:
    using CMediaFoundationWriter::IsRunning;
    using CMediaFoundationWriter::m_pHandover;
    using CMediaFoundationWriter::m_hWriterThread;
};

class SessionTest : public OutputTest
{
protected:
    void SetUp() override
    {
        OutputTest::SetUp();
        m_pFormat->Choose(L"HQ");
        m_pFormat->m_vCalls.clear();
    }

    void TearDown() override
    {
        EXPECT_EQ(m_record.m_nSessions, 0);
        OutputTest::TearDown();
    }

    static HANDLE ThreadOf(OpenOutputFile& file)
    {
        return static_cast<CMediaFoundationWriter&>(*file.m_pEncoder).*(&OpenWriter::m_hWriterThread);
    }

    // Black and white are the ends of the studio range, whatever the coefficients: 16 and 235, without colour.
    static constexpr std::uint8_t m_bBlack = 16;
    static constexpr std::uint8_t m_bWhite = 235;

    // A picture of one grey level, 0 or 255, that is announced as even.
    QmStatus WriteGrey(OpenOutputFile& file, std::uint8_t bLevel)
    {
        const Bytes vPixels(m_vPixels.size(), bLevel);
        return file.WriteNextFrame(vPixels.data());
    }

    // Every second byte of a picture that the session took. Those between them are 128, or one less where the
    // arithmetic of white falls short of it.
    static Bytes LumaOf(const Bytes& vRows)
    {
        Bytes vLuma;
        for (std::size_t ui = 0; ui < vRows.size(); ui += 2)
        {
            vLuma.push_back(vRows[ui]);
            EXPECT_NEAR(vRows[ui + 1], 128, 1) << ui;
        }
        return vLuma;
    }

    // The first byte of each picture that the session took.
    std::vector<int> TakenLevels() const
    {
        std::vector<int> vLevels;
        for (const Bytes& vRows : m_record.Pictures())
            vLevels.push_back(vRows.at(0));
        return vLevels;
    }

    // Those of the record, from the first that is pszFirst on, but for "Finalize", whose time is the writer thread's.
    std::vector<std::string> CallsFrom(const char* pszFirst) const
    {
        std::vector<std::string> vCalls = m_record.Calls();
        vCalls.erase(vCalls.begin(), std::find(vCalls.begin(), vCalls.end(), pszFirst));
        std::erase(vCalls, "Finalize");
        return vCalls;
    }

    int CountCalls(const std::string& strCall) const
    {
        const std::vector<std::string> vCalls = m_record.Calls();
        return static_cast<int>(std::count(vCalls.begin(), vCalls.end(), strCall));
    }

    void WaitForCall(const std::string& strCall) const
    {
        for (int i = 0; i < 60000 && CountCalls(strCall) == 0; ++i)
            Sleep(1);
        ASSERT_GT(CountCalls(strCall), 0);
    }

    void WaitForStart() const
    {
        ASSERT_NE(m_record.m_pHandover, nullptr);
        ASSERT_EQ(WaitForSingleObject(m_record.m_pHandover->m_hSessionStarted, 60000), WAIT_OBJECT_0);
    }

    static void WaitForEnd(OpenOutputFile& file)
    {
        ASSERT_EQ(WaitForSingleObject(ThreadOf(file), 60000), WAIT_OBJECT_0);
    }

    static bool IsSet(HANDLE hEvent) { return WaitForSingleObject(hEvent, 0) == WAIT_OBJECT_0; }

    WritingRecord m_record;
};
