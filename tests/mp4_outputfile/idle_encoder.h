// An encoder that does nothing that it is asked for: what scripted encoders begin with.
#pragma once

#include <atomic>

#include <windows.h>

#include <codecapi.h>
#include <mftransform.h>
#include <strmif.h>

// Belongs to the test, which has one reference.
class CIdleEncoder : public IMFTransform, public ICodecAPI
{
public:
    virtual ~CIdleEncoder() = default;

    STDMETHODIMP QueryInterface(REFIID riid, void** ppObject) override
    {
        *ppObject = nullptr;
        if (riid == IID_IMFTransform) *ppObject = static_cast<IMFTransform*>(this);
        if (riid == IID_ICodecAPI && m_bWithProperties) *ppObject = static_cast<ICodecAPI*>(this);
        if (*ppObject == nullptr) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_nRefCount; }
    STDMETHODIMP_(ULONG) Release() override { return --m_nRefCount; }

    STDMETHODIMP GetStreamLimits(DWORD*, DWORD*, DWORD*, DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP GetStreamCount(DWORD*, DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP GetStreamIDs(DWORD, DWORD*, DWORD, DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP GetInputStreamInfo(DWORD, MFT_INPUT_STREAM_INFO*) override { return E_NOTIMPL; }
    STDMETHODIMP GetOutputStreamInfo(DWORD, MFT_OUTPUT_STREAM_INFO*) override { return E_NOTIMPL; }
    STDMETHODIMP GetAttributes(IMFAttributes**) override { return E_NOTIMPL; }
    STDMETHODIMP GetInputStreamAttributes(DWORD, IMFAttributes**) override { return E_NOTIMPL; }
    STDMETHODIMP GetOutputStreamAttributes(DWORD, IMFAttributes**) override { return E_NOTIMPL; }
    STDMETHODIMP DeleteInputStream(DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP AddInputStreams(DWORD, DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP GetInputAvailableType(DWORD, DWORD, IMFMediaType**) override { return E_NOTIMPL; }
    STDMETHODIMP GetOutputAvailableType(DWORD, DWORD, IMFMediaType**) override { return E_NOTIMPL; }
    STDMETHODIMP SetInputType(DWORD, IMFMediaType*, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP SetOutputType(DWORD, IMFMediaType*, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP GetInputCurrentType(DWORD, IMFMediaType**) override { return E_NOTIMPL; }
    STDMETHODIMP GetOutputCurrentType(DWORD, IMFMediaType**) override { return E_NOTIMPL; }
    STDMETHODIMP GetInputStatus(DWORD, DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP GetOutputStatus(DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP SetOutputBounds(LONGLONG, LONGLONG) override { return E_NOTIMPL; }
    STDMETHODIMP ProcessEvent(DWORD, IMFMediaEvent*) override { return E_NOTIMPL; }
    STDMETHODIMP ProcessMessage(MFT_MESSAGE_TYPE, ULONG_PTR) override { return E_NOTIMPL; }
    STDMETHODIMP ProcessInput(DWORD, IMFSample*, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP ProcessOutput(DWORD, DWORD, MFT_OUTPUT_DATA_BUFFER*, DWORD*) override { return E_NOTIMPL; }

    STDMETHODIMP IsSupported(const GUID*) override { return E_NOTIMPL; }
    STDMETHODIMP IsModifiable(const GUID*) override { return E_NOTIMPL; }
    STDMETHODIMP GetParameterRange(const GUID*, VARIANT*, VARIANT*, VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetParameterValues(const GUID*, VARIANT**, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP GetDefaultValue(const GUID*, VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetValue(const GUID*, VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP SetValue(const GUID*, VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP RegisterForEvent(const GUID*, LONG_PTR) override { return E_NOTIMPL; }
    STDMETHODIMP UnregisterForEvent(const GUID*) override { return E_NOTIMPL; }
    STDMETHODIMP SetAllDefaults() override { return E_NOTIMPL; }
    STDMETHODIMP SetValueWithNotify(const GUID*, VARIANT*, GUID**, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP SetAllDefaultsWithNotify(GUID**, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP GetAllSettings(IStream*) override { return E_NOTIMPL; }
    STDMETHODIMP SetAllSettings(IStream*) override { return E_NOTIMPL; }
    STDMETHODIMP SetAllSettingsWithNotify(IStream*, GUID**, ULONG*) override { return E_NOTIMPL; }

    bool m_bWithProperties = true;
    std::atomic<ULONG> m_nRefCount{1};
};
