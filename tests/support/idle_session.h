// A media session that does nothing that it is asked for: what scripted sessions begin with.
#pragma once

#include <windows.h>

#include <mfidl.h>

class CIdleSession : public IMFMediaSession
{
public:
    STDMETHODIMP GetEvent(DWORD, IMFMediaEvent**) override { return E_NOTIMPL; }
    STDMETHODIMP BeginGetEvent(IMFAsyncCallback*, IUnknown*) override { return E_NOTIMPL; }
    STDMETHODIMP EndGetEvent(IMFAsyncResult*, IMFMediaEvent**) override { return E_NOTIMPL; }
    STDMETHODIMP QueueEvent(MediaEventType, REFGUID, HRESULT, const PROPVARIANT*) override { return E_NOTIMPL; }

    STDMETHODIMP SetTopology(DWORD, IMFTopology*) override { return E_NOTIMPL; }
    STDMETHODIMP ClearTopologies() override { return E_NOTIMPL; }
    STDMETHODIMP Start(const GUID*, const PROPVARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP Pause() override { return E_NOTIMPL; }
    STDMETHODIMP Stop() override { return E_NOTIMPL; }
    STDMETHODIMP Close() override { return E_NOTIMPL; }
    STDMETHODIMP Shutdown() override { return E_NOTIMPL; }
    STDMETHODIMP GetClock(IMFClock**) override { return E_NOTIMPL; }
    STDMETHODIMP GetSessionCapabilities(DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP GetFullTopology(DWORD, TOPOID, IMFTopology**) override { return E_NOTIMPL; }
};
