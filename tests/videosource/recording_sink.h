// A sink that keeps what it gets.
#pragma once

#include <atomic>
#include <mutex>
#include <vector>

#include <windows.h>

#include <mfidl.h>

#include "source_fixture.h"
#include "support/bytes.h"

struct SSinkSample
{
    Bytes m_vBytes;
    LONGLONG m_hnsTime = -1;  // in 100 ns
    LONGLONG m_hnsDuration = -1;
    bool m_bKeyPicture = false;
};

// A sink of one video stream, which is the same object. It takes samples as fast as they come: it asks for one when the
// clock starts and for the next one when it has one.
//
// Notes in CSessionRecord, after "sink": "start", "restart", "pause", "stop" for the clock's states, "sample" with time
// and duration, "marker" with its number, "flush", "finalize", "shutdown".
class CRecordingSink : public IMFFinalizableMediaSink,
                       public IMFStreamSink,
                       public IMFMediaTypeHandler,
                       public IMFClockStateSink
{
public:
    // With one reference. It takes types of that subtype of video only.
    explicit CRecordingSink(REFGUID guidSubtype);

    std::vector<SSinkSample> GetSamples() const;
    ULONG CountReferences() { return AddRef(), Release(); }
    // The type that the session has set; null before that.
    TOwned<IMFMediaType> GetType() const;

    STDMETHODIMP QueryInterface(REFIID riid, void** ppObject) override;
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_nRefCount; }
    STDMETHODIMP_(ULONG) Release() override;

    // The sink
    STDMETHODIMP GetCharacteristics(DWORD* pdwCharacteristics) override;
    STDMETHODIMP AddStreamSink(DWORD, IMFMediaType*, IMFStreamSink**) override;
    STDMETHODIMP RemoveStreamSink(DWORD) override;
    STDMETHODIMP GetStreamSinkCount(DWORD* pdwCount) override;
    STDMETHODIMP GetStreamSinkByIndex(DWORD dwIndex, IMFStreamSink** ppStreamSink) override;
    STDMETHODIMP GetStreamSinkById(DWORD dwIdentifier, IMFStreamSink** ppStreamSink) override;
    STDMETHODIMP SetPresentationClock(IMFPresentationClock* pClock) override;
    STDMETHODIMP GetPresentationClock(IMFPresentationClock** ppClock) override;
    STDMETHODIMP Shutdown() override;
    STDMETHODIMP BeginFinalize(IMFAsyncCallback* pCallback, IUnknown* pState) override;
    STDMETHODIMP EndFinalize(IMFAsyncResult* pResult) override;

    // Its stream
    STDMETHODIMP GetEvent(DWORD dwFlags, IMFMediaEvent** ppEvent) override;
    STDMETHODIMP BeginGetEvent(IMFAsyncCallback* pCallback, IUnknown* pState) override;
    STDMETHODIMP EndGetEvent(IMFAsyncResult* pResult, IMFMediaEvent** ppEvent) override;
    STDMETHODIMP QueueEvent(MediaEventType eType, REFGUID guidExtendedType, HRESULT hrStatus,
                            const PROPVARIANT* pvarValue) override;
    STDMETHODIMP GetMediaSink(IMFMediaSink** ppSink) override;
    STDMETHODIMP GetIdentifier(DWORD* pdwIdentifier) override;
    STDMETHODIMP GetMediaTypeHandler(IMFMediaTypeHandler** ppHandler) override;
    STDMETHODIMP ProcessSample(IMFSample* pSample) override;
    STDMETHODIMP PlaceMarker(MFSTREAMSINK_MARKER_TYPE eType, const PROPVARIANT* pvarMarker,
                             const PROPVARIANT* pvarContext) override;
    STDMETHODIMP Flush() override;

    // What the stream takes
    STDMETHODIMP IsMediaTypeSupported(IMFMediaType* pType, IMFMediaType** ppClosest) override;
    STDMETHODIMP GetMediaTypeCount(DWORD* pdwCount) override;
    STDMETHODIMP GetMediaTypeByIndex(DWORD dwIndex, IMFMediaType** ppType) override;
    STDMETHODIMP SetCurrentMediaType(IMFMediaType* pType) override;
    STDMETHODIMP GetCurrentMediaType(IMFMediaType** ppType) override;
    STDMETHODIMP GetMajorType(GUID* pguidType) override;

    // The clock
    STDMETHODIMP OnClockStart(MFTIME hnsSystemTime, LONGLONG llOffset) override;
    STDMETHODIMP OnClockStop(MFTIME hnsSystemTime) override;
    STDMETHODIMP OnClockPause(MFTIME hnsSystemTime) override;
    STDMETHODIMP OnClockRestart(MFTIME hnsSystemTime) override;
    STDMETHODIMP OnClockSetRate(MFTIME hnsSystemTime, float fRate) override;

private:
    virtual ~CRecordingSink();

    HRESULT Report(MediaEventType eType, const PROPVARIANT* pvarValue = nullptr);
    TOwned<IMFMediaEventQueue> ShareQueue() const;
    void LeaveClock();

    const GUID m_guidSubtype;
    std::atomic<ULONG> m_nRefCount{1};
    std::atomic<bool> m_bRuns{false};  // the clock
    mutable std::mutex m_mtx;          // all below
    TOwned<IMFMediaEventQueue> m_pQueue;
    TOwned<IMFPresentationClock> m_pClock;
    TOwned<IMFMediaType> m_pType;
    std::vector<SSinkSample> m_vSamples;
};
