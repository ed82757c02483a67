// The end of a reading graph: the object that the session calls with every sample.
#pragma once

#include <atomic>
#include <cstdint>

#include <windows.h>

#include <mfidl.h>

#include "mp4filesimpl/framestore.h"

// Hands the samples to a frame store of its own, which lives as long as the session holds a reference here.
class SampleGrabberCB : public IMFSampleGrabberSinkCallback
{
public:
    // Creates a grabber with one reference. E_OUTOFMEMORY, or E_FAIL when the system has no events left.
    static HRESULT Create(SampleGrabberCB** ppGrabber, std::uint64_t uiMostPixelBytes = CFrameStore::MOST_PIXEL_BYTES);

    CFrameStore& GetStore() { return m_Store; }

    STDMETHODIMP QueryInterface(REFIID riid, void** ppObject) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    // The clock is not used.
    STDMETHODIMP OnClockStart(MFTIME hnsSystemTime, LONGLONG llClockStartOffset) override;
    STDMETHODIMP OnClockStop(MFTIME hnsSystemTime) override;
    STDMETHODIMP OnClockPause(MFTIME hnsSystemTime) override;
    STDMETHODIMP OnClockRestart(MFTIME hnsSystemTime) override;
    STDMETHODIMP OnClockSetRate(MFTIME hnsSystemTime, float flRate) override;
    STDMETHODIMP OnSetPresentationClock(IMFPresentationClock* pPresentationClock) override;

    STDMETHODIMP OnProcessSample(REFGUID guidMajorMediaType, DWORD dwSampleFlags, LONGLONG llSampleTime,
                                 LONGLONG llSampleDuration, const BYTE* pSampleBuffer, DWORD dwSampleSize) override;
    STDMETHODIMP OnShutdown() override;

protected:
    explicit SampleGrabberCB(std::uint64_t uiMostPixelBytes);
    virtual ~SampleGrabberCB() = default;

private:
    std::atomic<ULONG> m_nRefCount;
    CFrameStore m_Store;
};
