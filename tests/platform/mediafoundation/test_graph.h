// A graph from a file to a callback that keeps what it gets, driven through the public interfaces only.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "mfapi.h"
#include "mferror.h"
#include "mfidl.h"
#include "platform/com/com_object.h"
#include "platform/com/com_ptr.h"

namespace mftest
{

using platform::ComPtr;

struct GrabbedSample
{
    std::string m_bytes;
    std::int64_t m_nTime = 0;
    std::int64_t m_nDuration = 0;
};

class TestGrabber final : public platform::ComObject<platform::Implements<IMFSampleGrabberSinkCallback>,
                                                     platform::Answers<IMFClockStateSink>>
{
public:
    using Hook = std::function<void(std::size_t uiCount)>;

    // Called on the session's thread after every sample, with the number of samples so far.
    void SetHook(Hook hook);
    // What samples are answered with from now on, the one whose hook sets it included.
    void SetAnswer(HRESULT hr);
    std::vector<GrabbedSample> TakeSamples();
    std::size_t Count() const;
    // The clock's calls and the shut-down so far, a word each.
    std::vector<std::string> Calls() const;

    HRESULT STDMETHODCALLTYPE OnClockStart(MFTIME, LONGLONG) override { return Note("start"); }
    HRESULT STDMETHODCALLTYPE OnClockStop(MFTIME) override { return Note("stop"); }
    HRESULT STDMETHODCALLTYPE OnClockPause(MFTIME) override { return Note("pause"); }
    HRESULT STDMETHODCALLTYPE OnClockRestart(MFTIME) override { return Note("restart"); }
    HRESULT STDMETHODCALLTYPE OnClockSetRate(MFTIME, float) override { return Note("rate"); }
    HRESULT STDMETHODCALLTYPE OnSetPresentationClock(IMFPresentationClock*) override { return Note("clock"); }
    HRESULT STDMETHODCALLTYPE OnProcessSample(REFGUID guidMajorMediaType, DWORD dwSampleFlags, LONGLONG llSampleTime,
                                              LONGLONG llSampleDuration, const BYTE* pSampleBuffer,
                                              DWORD dwSampleSize) override;
    HRESULT STDMETHODCALLTYPE OnShutdown() override { return Note("shutdown"); }

private:
    HRESULT Note(const char* pszCall);

    mutable std::mutex m_lock;
    Hook m_hook;
    HRESULT m_hrAnswer = S_OK;
    std::vector<GrabbedSample> m_samples;
    std::vector<std::string> m_calls;
    std::size_t m_uiCount = 0;
};

// Everything that a caller needs to play a file's first video stream. The platform is up as long as it lives.
class TestGraph
{
public:
    TestGraph();
    ~TestGraph();
    TestGraph(const TestGraph&) = delete;
    TestGraph& operator=(const TestGraph&) = delete;

    // Makes all objects and gives the session its topology. The status of the first call that failed.
    HRESULT Open(const std::string& path, REFGUID subtype = MFVideoFormat_YUY2);
    HRESULT OpenSource(const std::string& path);
    HRESULT BuildTopology(REFGUID subtype, bool bNoShutdown = false);

    IMFMediaSession& Session() { return *m_session; }
    IMFMediaSource& Source() { return *m_source; }
    IMFTopology& Topology() { return *m_topology; }
    IMFActivate& Activate() { return *m_activate; }
    TestGrabber& Grabber() { return *m_grabber; }

    HRESULT Start();                              // go on, or from the beginning
    HRESULT StartAt(std::int64_t nMilliseconds);  // as callers do, from whole milliseconds
    HRESULT SetRate(float fRate);

    struct Event
    {
        HRESULT m_hrGet = S_OK;
        MediaEventType m_type = MEUnknown;
        HRESULT m_hrStatus = S_OK;
        bool operator==(const Event&) const = default;
    };
    Event NextEvent(DWORD dwFlags = 0);
    // Waits for the event of that type, dropping others; its status. A failing GetEvent ends the wait with its status.
    HRESULT WaitFor(MediaEventType type);
    // Plays from a place until so many samples came or the presentation ended, and pauses: the samples, which can be
    // more than asked for by those under way at the pause.
    std::vector<GrabbedSample> PlayFrom(std::int64_t nMilliseconds, std::size_t uiSamples);

    void ReleaseAll();

private:
    ComPtr<IMFMediaSource> m_source;
    ComPtr<IMFMediaSession> m_session;
    ComPtr<TestGrabber> m_grabber;
    ComPtr<IMFActivate> m_activate;
    ComPtr<IMFTopology> m_topology;
};

// From UTF-8.
std::wstring Widen(const std::string& path);

}  // namespace mftest
