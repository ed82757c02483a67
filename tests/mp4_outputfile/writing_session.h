// A media session that writes no file: it takes pictures from a hand-over as a media source does, and misbehaves where
// a test asks for it. A program that links this gets it in the place of the system's graph, with a clock that passes at
// once when the session stands still.
#pragma once

#include <atomic>
#include <climits>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <windows.h>

#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>

#include "mp4_outputfile/encoderbackend.h"
#include "mp4_outputfile/picturehandover.h"
#include "support/bytes.h"
#include "support/idle_session.h"
#include "support/scripted_events.h"

// What a session does. Changed before the graph is made.
struct SWritingScript
{
    bool m_bNoMemory = false;    // for the graph
    HRESULT m_hrBuild = S_OK;    // of the graph; negative leaves it empty
    bool m_bWithSession = true;  // the graph has a session, not a source alone
    HRESULT m_hrSetTopology = S_OK;
    int m_nReportsFrom = 0;  // number of the start, from 0, from which on it reports its start and its source's
    int m_nReportsUntil = INT_MAX;     // and from which on it doesn't any more
    bool m_bStartsSilently = false;    // its source's start is reported where its own isn't, too
    int m_nTakesFrom = 0;              // and with which it begins to take pictures
    int m_nTakesUntil = INT_MAX;       // takes so many pictures until it is started again
    int m_nTakesAtMost = INT_MAX;      // and so many in all
    int m_nEndsAfter = INT_MAX;        // ends by itself after so many
    int m_nFailsAfter = INT_MAX;       // reports an error after so many
    int m_nFailsAt = INT_MAX;          // and reports it when a picture waits and it has taken so many
    bool m_bTakesInStart = false;      // a picture that waits is taken before Start returns
    bool m_bStopDropsPicture = false;  // asks for none after a stop before the next one is handed over
    int m_nFailedWaits = 0;            // so many waits for the thread's end can't be done
    bool m_bEnds = true;               // reports its end when the stream has ended
    bool m_bEndsStopped = false;       // and when it stands still, too
    bool m_bEndsWhenWoken = false;     // but only when the source is woken once more
};

// What a graph was to be built with.
struct SGraphSettings
{
    std::wstring m_wszPath;
    std::vector<std::uint32_t> m_vNumbers;  // width and height as encoded, then as described, and the sequence count
    std::wstring m_wszCode;
};

// What happens to all sessions of a test, in the order in which it happens: "Build", "SetTopology", "Start", "Stop",
// "Finalize", "Shutdown source", "Shutdown", "Taken", "Taken last"; "Rest 50", "Await 100" for a picture to be taken,
// "Join 20000" and "Join for ever" for the thread to end. A wait "while it grows", the target that is, is noted once.
class WritingRecord
{
public:
    WritingRecord();
    ~WritingRecord();

    std::vector<std::string> Calls() const;
    std::vector<Bytes> Pictures() const;    // that were taken: rows of YUY2 without padding
    std::vector<double> Durations() const;  // of the pictures that were taken, in milliseconds

    SWritingScript m_script;
    std::function<void(const CPictureHandover&)> m_funcBuilt;  // called for each graph before it is made
    std::atomic<int> m_nSessions{0};                           // that live
    std::atomic<int> m_nSources{0};
    int m_nWaitsFailed = 0;
    std::vector<DWORD> m_vMissedStarts;       // the limits of waits for the source's start that ended at them
    SGraphSettings m_settings;                // of the newest graph
    CPictureHandover* m_pHandover = nullptr;  // of the newest graph

    void Note(const std::string& strCall);
    void NoteOnce(const std::string& strCall);  // if it isn't the newest already
    // Whether this is called on the thread that made the record.
    bool IsHostThread() const { return std::this_thread::get_id() == m_idHost; }
    void NotePicture(Bytes vRows, double dDuration);
    void NoteSettings(const SEncoderSettings& settings);

private:
    const std::thread::id m_idHost = std::this_thread::get_id();
    mutable std::mutex m_mtx;
    std::vector<std::string> m_vCalls;
    std::vector<Bytes> m_vPictures;
    std::vector<double> m_vDurations;
};

class WritingSession : public CIdleSession
{
public:
    WritingSession(WritingRecord& record, CPictureHandover& handover);
    virtual ~WritingSession();

    // Nothing but another start gets a picture taken, or the end reported.
    bool StandsStill();
    bool NeverEnds();
    // It was started, and all that it has reported was taken.
    bool HasReported();
    // What waits for a picture gets none when it is woken.
    void ShutDownSource();

    STDMETHODIMP QueryInterface(REFIID, void** ppObject) override;
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_nRefCount; }
    STDMETHODIMP_(ULONG) Release() override;

    STDMETHODIMP BeginGetEvent(IMFAsyncCallback* pCallback, IUnknown*) override { return m_events.Begin(pCallback); }
    STDMETHODIMP EndGetEvent(IMFAsyncResult*, IMFMediaEvent** ppEvent) override { return m_events.End(ppEvent); }
    STDMETHODIMP SetTopology(DWORD dwFlags, IMFTopology* pTopology) override;
    STDMETHODIMP Start(const GUID* pguidTimeFormat, const PROPVARIANT* pvarPosition) override;
    STDMETHODIMP Stop() override;
    STDMETHODIMP Shutdown() override;

private:
    void Run();
    bool ServeSource();
    void TakePicture();
    bool Plays() const { return m_bActive && m_nStarts > m_record.m_script.m_nTakesFrom; }
    bool Takes() const
    {
        const SWritingScript& script = m_record.m_script;
        return Plays() && m_nTakenSinceStart < script.m_nTakesUntil && m_nTaken < script.m_nTakesAtMost;
    }

    WritingRecord& m_record;
    CPictureHandover& m_handover;
    std::atomic<ULONG> m_nRefCount{1};

    CScriptedEvents m_events;
    std::mutex m_mtx;
    bool m_bShutDown = false;
    bool m_bSourceShutDown = false;
    bool m_bActive = false;  // started, and not stopped since
    bool m_bOver = false;    // has reported its end, or an error
    bool m_bStreamEnded = false;
    int m_nStarts = 0;
    int m_nTaken = 0;
    int m_nTakenSinceStart = 0;
    std::thread m_source;
};

// Its source, as far as the graph knows it.
class WritingSource : public IMFMediaSource
{
public:
    // pSession may be null, and is given a reference.
    WritingSource(WritingRecord& record, WritingSession* pSession);
    virtual ~WritingSource();

    STDMETHODIMP QueryInterface(REFIID, void** ppObject) override;
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_nRefCount; }
    STDMETHODIMP_(ULONG) Release() override;

    STDMETHODIMP GetEvent(DWORD, IMFMediaEvent**) override { return E_NOTIMPL; }
    STDMETHODIMP BeginGetEvent(IMFAsyncCallback*, IUnknown*) override { return E_NOTIMPL; }
    STDMETHODIMP EndGetEvent(IMFAsyncResult*, IMFMediaEvent**) override { return E_NOTIMPL; }
    STDMETHODIMP QueueEvent(MediaEventType, REFGUID, HRESULT, const PROPVARIANT*) override { return E_NOTIMPL; }

    STDMETHODIMP GetCharacteristics(DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP CreatePresentationDescriptor(IMFPresentationDescriptor**) override { return E_NOTIMPL; }
    STDMETHODIMP Start(IMFPresentationDescriptor*, const GUID*, const PROPVARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP Stop() override { return E_NOTIMPL; }
    STDMETHODIMP Pause() override { return E_NOTIMPL; }
    STDMETHODIMP Shutdown() override;

private:
    WritingRecord& m_record;
    WritingSession* const m_pSession;
    std::atomic<ULONG> m_nRefCount{1};
    std::atomic<bool> m_bShutDown{false};
};
