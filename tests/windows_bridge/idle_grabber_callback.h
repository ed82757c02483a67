// A callback of a sample grabber that does nothing. It isn't counted: it outlives what is given it.
#pragma once

#include <windows.h>

#include <mfidl.h>

namespace windows_bridge
{

class CIdleGrabberCallback : public IMFSampleGrabberSinkCallback
{
public:
    STDMETHODIMP QueryInterface(REFIID riid, void** ppObject) override
    {
        const bool bKnown =
            riid == IID_IUnknown || riid == IID_IMFClockStateSink || riid == IID_IMFSampleGrabberSinkCallback;
        *ppObject = bKnown ? this : nullptr;
        return bKnown ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }

    STDMETHODIMP OnClockStart(MFTIME, LONGLONG) override { return S_OK; }
    STDMETHODIMP OnClockStop(MFTIME) override { return S_OK; }
    STDMETHODIMP OnClockPause(MFTIME) override { return S_OK; }
    STDMETHODIMP OnClockRestart(MFTIME) override { return S_OK; }
    STDMETHODIMP OnClockSetRate(MFTIME, float) override { return S_OK; }
    STDMETHODIMP OnSetPresentationClock(IMFPresentationClock*) override { return S_OK; }
    STDMETHODIMP OnProcessSample(REFGUID, DWORD, LONGLONG, LONGLONG, const BYTE*, DWORD) override { return S_OK; }
    STDMETHODIMP OnShutdown() override { return S_OK; }
};

}  // namespace windows_bridge
