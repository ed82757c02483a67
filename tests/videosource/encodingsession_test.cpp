// The module's writer with the system's session and the system's encoder, and a sink of the test's own in the place of
// the system's: one access unit for each picture, at its time, and the order in which a written stream ends.
#include <algorithm>
#include <atomic>
#include <filesystem>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <mfapi.h>

#include "common/saferelease.h"
#include "mp4_outputfile/h264encoder.h"
#include "mp4_outputfile/mediafoundationwriter.h"
#include "recording_sink.h"
#include "session_record.h"
#include "support/ffmpeg.h"
#include "support/file_contents.h"
#include "support/moved_clock.h"
#include "support/picture_attributes.h"
#include "support/temporary_folder.h"
#include "system_session_fixture.h"
#include "windows_bridge/bridge.h"
#include "windows_bridge/encoder.h"

namespace
{

using namespace system_session;
using testing::ElementsAreArray;

// A file of the module's writer, whose sink is the test's. The writer's clock stands still, so it doesn't stop a slow
// session. When the test has waited for longer than LIMIT_MS the clock is moved, and the writer ends the session.
class CEncodedFile
{
public:
    CEncodedFile()
    {
        m_sink.reset(new CRecordingSink(MFVideoFormat_H264));
        g_pSink = m_sink.get();
        m_alarm = std::thread([this] {
            while (!m_bDone)
            {
                if (WaitForSingleObject(m_hPicture, LIMIT_MS) == WAIT_OBJECT_0) continue;
                m_bStalled = true;
                while (!m_bDone && WaitForSingleObject(m_hPicture, 50) == WAIT_TIMEOUT)
                    test_support::MoveClock(20000);
            }
        });
    }
    // A test that ends early leaves its file open. The alarm must still be there when the writer waits for its session.
    ~CEncodedFile()
    {
        if (m_bOpen) Close();
        m_bDone = true;
        SetEvent(m_hPicture);
        m_alarm.join();
        CloseHandle(m_hPicture);
        g_pSink = nullptr;
    }

    HRESULT Open(const wchar_t* pwszCode)
    {
        m_bOpen = true;
        return m_writer.Open({m_strPath, WIDTH, HEIGHT, WIDTH, HEIGHT, UNKNOWN_FRAME_COUNT, pwszCode});
    }
    bool Write(unsigned uiNumber, double dTime)
    {
        SetEvent(m_hPicture);
        m_times.m_dFrameTime = dTime;
        ApplyFrameTimeRule(m_times);
        m_times.m_dPrevElapsed = m_times.m_dElapsed;
        const Bytes vPixels = HostPixels(uiNumber);
        const SQmImageAttributes attributes = test_support::PictureAttributes(WIDTH, HEIGHT);
        return m_writer.WriteFrame(uiNumber, {vPixels.data(), attributes, attributes}, m_times) == EPictureFate::Taken;
    }
    void Close()
    {
        SetEvent(m_hPicture);
        m_bOpen = false;
        m_writer.Close(m_times);
        EXPECT_FALSE(m_bStalled) << "a wait took longer than " << LIMIT_MS << " ms";
    }

    TOwned<CRecordingSink> m_sink;
    const test_support::TemporaryFolder m_folder;

    static CRecordingSink* g_pSink;  // what the graph gets in the place of the system's

private:
    const CQmStringW m_strPath{(m_folder / "target.mp4").wstring().c_str()};
    CMediaFoundationWriter m_writer;
    SFrameTimes m_times;
    bool m_bOpen = false;
    const HANDLE m_hPicture = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    std::atomic<bool> m_bDone{false};
    std::atomic<bool> m_bStalled{false};
    std::thread m_alarm;
};
CRecordingSink* CEncodedFile::g_pSink = nullptr;

TOwned<IMFTransform> FindEncoder()
{
    IMFTransform* pEncoder = nullptr;
    FindH264Encoder(&pEncoder);
    return TOwned<IMFTransform>(pEncoder);
}

class EncodingSession : public SystemSession
{
protected:
    // Of the system, before they are filled.
    static const windows_bridge::SEncoderGaps& FillGaps()
    {
        static const windows_bridge::SEncoderGaps gaps = [] {
            windows_bridge::SEncoderGaps found;
            EXPECT_EQ(MFStartup(MF_VERSION, MFSTARTUP_FULL), S_OK);
            if (const TOwned<IMFTransform> pEncoder = FindEncoder())
            {
                EXPECT_EQ(windows_bridge::FindEncoderGaps(pEncoder.get(), &found), S_OK);
                windows_bridge::FillEncoderGaps(pEncoder.get(), found);
            }
            return found;
        }();
        return gaps;
    }
    void SetUp() override
    {
        if (!FindEncoder()) GTEST_SKIP() << "this system has no encoder from YUY2 to H.264";
        FillGaps();
    }
};

// When this fails under Wine, a gap is closed, and the bridge needn't fill it.
TEST_F(EncodingSession, WinesEncoderForgetsItsInputTypeAndMovesTheTimes)
{
    constexpr LONGLONG THOUSAND_HOURS = 36'000'000'000'000;
    EXPECT_EQ(FillGaps().m_bForgetsInputType, windows_bridge::IsWine());
    EXPECT_EQ(FillGaps().m_hnsLate, windows_bridge::IsWine() ? THOUSAND_HOURS : 0);
}

// Where an access unit begins in the stream, and its times.
struct SUnit
{
    std::int64_t m_nPosition;
    LONGLONG m_hnsTime;
    LONGLONG m_hnsDuration;
};

// One access unit for each picture, at its time, also where B pictures change the order; and each is that picture.
TEST_F(EncodingSession, EachPictureIsEncodedOnceAtItsTime)
{
    CEncodedFile file;
    ASSERT_EQ(file.Open(L"HQ"), S_OK);
    for (std::size_t ui = 0; ui < g_vTimes.size(); ++ui)
        ASSERT_TRUE(file.Write(static_cast<unsigned>(ui), g_vTimes[ui])) << ui;
    file.Close();

    const std::filesystem::path path = file.m_folder / "stream.h264";
    Bytes vStream;
    std::vector<SUnit> vUnits;
    for (const SSinkSample& sample : file.m_sink->GetSamples())
    {
        vUnits.push_back({static_cast<std::int64_t>(vStream.size()), sample.m_hnsTime, sample.m_hnsDuration});
        vStream.insert(vStream.end(), sample.m_vBytes.begin(), sample.m_vBytes.end());
    }
    const auto isEarlier = [](const SUnit& a, const SUnit& b) { return a.m_hnsTime < b.m_hnsTime; };
    const bool bReordered = !std::is_sorted(vUnits.begin(), vUnits.end(), isEarlier);
    EXPECT_TRUE(bReordered || !windows_bridge::IsWine()) << "this shows nothing of B pictures";
    std::sort(vUnits.begin(), vUnits.end(), isEarlier);
    Texts vTexts;
    std::vector<std::int64_t> vPositions;
    for (const SUnit& unit : vUnits)
    {
        vTexts.push_back("sample " + std::to_string(unit.m_hnsTime) + "+" + std::to_string(unit.m_hnsDuration));
        vPositions.push_back(unit.m_nPosition);
    }
    EXPECT_THAT(vTexts, ElementsAreArray(SampleTexts(g_vTimes)));

    test_support::WriteBytes(path, vStream);
    EXPECT_THAT(test_support::PictureValues(path, "pkt_pos"), ElementsAreArray(vPositions))
        << "a unit's time isn't that of its picture";
    std::vector<int> vNumbers;
    for (const Bytes& vPicture : test_support::DecodePlain(path, WIDTH, HEIGHT))
        vNumbers.push_back(ReadNumber(vPicture, 1));
    EXPECT_THAT(vNumbers, ElementsAreArray(NumbersUpTo(g_vTimes.size())));
}

// Its session waits for the picture from the start on.
TEST_F(EncodingSession, AFileOfOnePictureIsClosedAtOnce)
{
    CEncodedFile file;
    ASSERT_EQ(file.Open(L"HQ"), S_OK);
    ASSERT_TRUE(file.Write(1, 0.0));
    file.Close();
    EXPECT_EQ(file.m_sink->GetSamples().size(), 1U);
}

// Each for the first time: a session may ask a source for more than there is, and shuts a sink down once more.
TEST_F(EncodingSession, TheSinkIsFinishedAfterTheSessionHasEnded)
{
    CEncodedFile file;
    ASSERT_EQ(file.Open(L"FST"), S_OK);
    for (unsigned ui = 0; ui < 4; ++ui)
        ASSERT_TRUE(file.Write(ui, ui * 20.0)) << ui;
    file.Close();

    const Texts vOfInterest{"stream 212",    "source 211",    "sink marker 1",   "session 107",
                            "sink finalize", "sink shutdown", "source shutdown", "call Shutdown"};
    Texts vEnd;
    for (const std::string& text : CSessionRecord::Get())
    {
        const bool bOfInterest = std::find(vOfInterest.begin(), vOfInterest.end(), text) != vOfInterest.end();
        if (bOfInterest && std::find(vEnd.begin(), vEnd.end(), text) == vEnd.end()) vEnd.push_back(text);
    }
    EXPECT_THAT(vEnd, ElementsAreArray(vOfInterest));
    EXPECT_TRUE(FallsTo(1, [&] { return file.m_sink->CountReferences(); }));
}

}  // namespace

// --- in place of the system's ---

STDAPI MFCreateMPEG4MediaSink(IMFByteStream*, IMFMediaType*, IMFMediaType*, IMFMediaSink** ppSink)
{
    if (CEncodedFile::g_pSink == nullptr) return E_UNEXPECTED;
    *ppSink = CEncodedFile::g_pSink;
    (*ppSink)->AddRef();
    return S_OK;
}
