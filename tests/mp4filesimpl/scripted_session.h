// A media session without a file: plays numbered pictures into a sample grabber, keeps a record of the calls that it
// gets, and misbehaves where its script says so.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <windows.h>

#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>

#include "support/idle_session.h"
#include "support/scripted_events.h"

// What a session plays and how. Fixed while it lives.
struct SScript
{
    std::vector<std::uint64_t> m_vTimesMs;  // position of each picture
    std::uint32_t m_uiWidth = 4;
    std::uint32_t m_uiHeight = 2;
    std::uint32_t m_uiFirstNumber = 0;       // that the first picture carries
    std::size_t m_uiShortSample = SIZE_MAX;  // number of a picture that comes too short
    std::chrono::microseconds m_pace{100};   // from one picture to the next
    int m_nLate = 2;                         // pictures still delivered after a pause was asked for
    // Whether the session waits for a call after that picture: the code under test must make one there.
    std::function<bool(std::size_t)> m_fnHold = [](std::size_t) { return false; };
    bool m_bSilent = false;              // reports nothing but that it was stopped
    bool m_bMute = false;                // reports nothing at all
    std::size_t m_uiStuckAt = SIZE_MAX;  // the picture that never comes, with nothing after it
    bool m_bNoRates = false;             // has no rate control
    // Pictures of a play at rate 0: after them the session reports so and waits. Below 0, it plays at every rate alike.
    int m_nScrubbed = -1;
    bool m_bScrubReportFirst = false;  // before MESessionStarted, and the pictures come when a pause is asked for
    bool m_bKeepsRate = false;         // a rate other than 0 isn't taken
    HRESULT m_hrSetTopology = S_OK;
    HRESULT m_hrStop = S_OK;
    // By number of the call, from 0: what the call returns, and the status of its event.
    std::function<HRESULT(int)> m_fnStart = [](int) { return S_OK; };
    std::function<HRESULT(int)> m_fnStarted = [](int) { return S_OK; };
    std::function<HRESULT(int)> m_fnPause = [](int) { return S_OK; };
    std::function<HRESULT(int)> m_fnPaused = [](int) { return S_OK; };
    // Called by every Start, on the caller's thread.
    std::function<void(int)> m_fnOnStart = [](int) {};
    // Called by the first Shutdown.
    std::function<void()> m_fnOnShutdown = [] {};
    // Events that are sent just before the n-th MESessionStarted.
    std::function<std::vector<MediaEventType>(int)> m_fnStale = [](int) { return std::vector<MediaEventType>(); };
};

class SampleGrabberCB;

class CScriptedSession : public CIdleSession, public IMFGetService, public IMFRateControl
{
public:
    // pGrabber is not counted, and outlives the session's shut-down.
    CScriptedSession(SScript script, SampleGrabberCB* pGrabber);
    virtual ~CScriptedSession();

    // "Start", "Start 120" (milliseconds), "Resume" (a start without a position when it is paused), "SetRate 0",
    // "Pause", "Stop", "SetTopology", "Shutdown".
    std::vector<std::string> Calls() const;
    int CountCalls(const std::string& strCall) const;
    int CountStarts() const;  // wherever they began
    std::size_t Delivered() const { return m_uiDelivered; }
    // Has the session report something.
    void Report(MediaEventType eType, HRESULT hrStatus);
    // Returns when the events were taken and the next one is waited for.
    void WaitUntilEventsAreTaken();
    // Returns when the session is stuck after a call, and its events were taken.
    void WaitUntilStuckAfter(const std::string& strCall);
    // The picture at which the session is stuck comes now, and the others after it.
    void GoOn();

    STDMETHODIMP QueryInterface(REFIID riid, void** ppObject) override;
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_nRefCount; }
    STDMETHODIMP_(ULONG) Release() override;

    STDMETHODIMP BeginGetEvent(IMFAsyncCallback* pCallback, IUnknown*) override { return m_events.Begin(pCallback); }
    STDMETHODIMP EndGetEvent(IMFAsyncResult*, IMFMediaEvent** ppEvent) override { return m_events.End(ppEvent); }
    STDMETHODIMP SetTopology(DWORD dwFlags, IMFTopology* pTopology) override;
    STDMETHODIMP Start(const GUID* pguidTimeFormat, const PROPVARIANT* pvarPosition) override;
    STDMETHODIMP Pause() override;
    STDMETHODIMP Stop() override;
    STDMETHODIMP Shutdown() override;

    STDMETHODIMP GetService(REFGUID guidService, REFIID riid, LPVOID* ppObject) override;

    STDMETHODIMP SetRate(BOOL bThin, float fRate) override;
    STDMETHODIMP GetRate(BOOL*, float*) override { return E_NOTIMPL; }

private:
    enum class ECommand
    {
        Seek,
        Pause,
        Stop
    };
    struct SCommand
    {
        ECommand m_eCommand;
        std::size_t m_uiPicture;  // of a seek
        int m_nNumber;            // of the call
        bool m_bScrubs;           // of a seek: at rate 0
    };

    void Run();
    void Obey(const SCommand& command);
    void Scrub();
    void DeliverScrubbed();
    void DeliverNext();

    const SScript m_script;
    CScriptedEvents m_events;
    SampleGrabberCB* const m_pGrabber;
    std::atomic<ULONG> m_nRefCount{1};

    mutable std::mutex m_mtx;
    std::condition_variable m_cv;
    std::vector<std::string> m_vCalls;
    std::deque<SCommand> m_commands;
    bool m_bShutDown = false;
    int m_nStarts = 0;
    int m_nPauses = 0;
    std::size_t m_uiNext = 0;  // the next picture to deliver
    bool m_bPaused = false;
    bool m_bRateIs0 = false;
    bool m_bGoesOn = false;  // GoOn was called
    bool m_bStuck = false;   // waits for GoOn or a call

    bool m_bPlaying = false;   // the player's thread only, as is the next
    bool m_bHeld = false;      // waits for a call
    bool m_bScrubbed = false;  // waits after a play at rate 0
    std::atomic<std::size_t> m_uiDelivered{0};
    std::thread m_player;
};
