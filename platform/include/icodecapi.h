// ICodecAPI: the settings of an encoder.
#pragma once

#include "oaidl.h"

struct IStream;

DEFINE_GUID(IID_ICodecAPI, 0x901db4c7, 0x31ce, 0x41a2, 0x85, 0xdc, 0x8f, 0xa0, 0xbf, 0x41, 0xb8, 0xda);
// Settings under the GUIDs of codecapi.h. What GetParameterValues gives is freed with CoTaskMemFree.
struct ICodecAPI : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE IsSupported(const GUID* Api) = 0;
    virtual HRESULT STDMETHODCALLTYPE IsModifiable(const GUID* Api) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetParameterRange(const GUID* Api, VARIANT* ValueMin, VARIANT* ValueMax,
                                                        VARIANT* SteppingDelta) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetParameterValues(const GUID* Api, VARIANT** Values, ULONG* ValuesCount) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDefaultValue(const GUID* Api, VARIANT* Value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetValue(const GUID* Api, VARIANT* Value) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetValue(const GUID* Api, VARIANT* Value) = 0;
    virtual HRESULT STDMETHODCALLTYPE RegisterForEvent(const GUID* Api, LONG_PTR userData) = 0;
    virtual HRESULT STDMETHODCALLTYPE UnregisterForEvent(const GUID* Api) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetAllDefaults() = 0;
    virtual HRESULT STDMETHODCALLTYPE SetValueWithNotify(const GUID* Api, VARIANT* Value, GUID** ChangedParam,
                                                         ULONG* ChangedParamCount) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetAllDefaultsWithNotify(GUID** ChangedParam, ULONG* ChangedParamCount) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetAllSettings(IStream* a) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetAllSettings(IStream* a) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetAllSettingsWithNotify(IStream* a, GUID** ChangedParam,
                                                               ULONG* ChangedParamCount) = 0;
};
PLATFORM_INTERFACE_IID(ICodecAPI);
