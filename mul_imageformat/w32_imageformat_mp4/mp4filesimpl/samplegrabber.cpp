#include "mp4filesimpl/samplegrabber.h"

#include <new>

#include <shlwapi.h>

HRESULT SampleGrabberCB::Create(SampleGrabberCB** ppGrabber, std::uint64_t uiMostPixelBytes)
{
    *ppGrabber = nullptr;
    SampleGrabberCB* pGrabber = new (std::nothrow) SampleGrabberCB(uiMostPixelBytes);
    if (pGrabber == nullptr) return E_OUTOFMEMORY;
    const HRESULT hr = pGrabber->m_Store.MakeEvents();
    if (FAILED(hr))
    {
        pGrabber->Release();
        return hr;
    }
    *ppGrabber = pGrabber;
    return S_OK;
}

SampleGrabberCB::SampleGrabberCB(std::uint64_t uiMostPixelBytes) : m_nRefCount(1), m_Store(uiMostPixelBytes) {}

STDMETHODIMP SampleGrabberCB::QueryInterface(REFIID riid, void** ppObject)
{
    static const QITAB aInterfaces[] = {
        {&IID_IMFSampleGrabberSinkCallback,
         static_cast<int>(OFFSETOFCLASS(IMFSampleGrabberSinkCallback, SampleGrabberCB))},
        {&IID_IMFClockStateSink, static_cast<int>(OFFSETOFCLASS(IMFClockStateSink, SampleGrabberCB))},
        {nullptr, 0},
    };
    return QISearch(this, aInterfaces, riid, ppObject);
}

STDMETHODIMP_(ULONG) SampleGrabberCB::AddRef()
{
    return ++m_nRefCount;
}

STDMETHODIMP_(ULONG) SampleGrabberCB::Release()
{
    const ULONG nLeft = --m_nRefCount;
    if (nLeft == 0) delete this;
    return nLeft;
}

// --- the clock ---

STDMETHODIMP SampleGrabberCB::OnClockStart(MFTIME, LONGLONG)
{
    return S_OK;
}

STDMETHODIMP SampleGrabberCB::OnClockStop(MFTIME)
{
    return S_OK;
}

STDMETHODIMP SampleGrabberCB::OnClockPause(MFTIME)
{
    return S_OK;
}

STDMETHODIMP SampleGrabberCB::OnClockRestart(MFTIME)
{
    return S_OK;
}

STDMETHODIMP SampleGrabberCB::OnClockSetRate(MFTIME, float)
{
    return S_OK;
}

STDMETHODIMP SampleGrabberCB::OnSetPresentationClock(IMFPresentationClock*)
{
    return S_OK;
}

STDMETHODIMP SampleGrabberCB::OnShutdown()
{
    return S_OK;
}

STDMETHODIMP SampleGrabberCB::OnProcessSample(REFGUID, DWORD, LONGLONG, LONGLONG llSampleDuration,
                                              const BYTE* pSampleBuffer, DWORD dwSampleSize)
{
    return m_Store.TakeSample(llSampleDuration, pSampleBuffer, dwSampleSize);
}
