// Media Foundation's basic interfaces: attributes, media types, samples, events, activation objects.
#pragma once

#include "propidl.h"
#include "unknwn.h"
#include "windows.h"

using QWORD = std::uint64_t;

struct IMFAsyncCallback;

enum MF_ATTRIBUTE_TYPE
{
    MF_ATTRIBUTE_UINT32 = VT_UI4,
    MF_ATTRIBUTE_UINT64 = VT_UI8,
    MF_ATTRIBUTE_DOUBLE = VT_R8,
    MF_ATTRIBUTE_GUID = VT_CLSID,
    MF_ATTRIBUTE_STRING = VT_LPWSTR,
    MF_ATTRIBUTE_BLOB = VT_VECTOR | VT_UI1,
    MF_ATTRIBUTE_IUNKNOWN = VT_UNKNOWN
};

// Which items a comparison of two attribute stores looks at.
enum MF_ATTRIBUTES_MATCH_TYPE
{
    MF_ATTRIBUTES_MATCH_OUR_ITEMS = 0,
    MF_ATTRIBUTES_MATCH_THEIR_ITEMS = 1,
    MF_ATTRIBUTES_MATCH_ALL_ITEMS = 2,
    MF_ATTRIBUTES_MATCH_INTERSECTION = 3,
    MF_ATTRIBUTES_MATCH_SMALLER = 4
};

DEFINE_GUID(IID_IMFAttributes, 0x2cd2d921, 0xc447, 0x44a7, 0xa1, 0x3c, 0x4a, 0xda, 0xbf, 0xc2, 0x47, 0xe3);
// Values under GUIDs. Every getter gives MF_E_ATTRIBUTENOTFOUND for a missing key and MF_E_INVALIDTYPE for a value of
// another type. What GetItem, GetAllocatedString and GetAllocatedBlob hand out is the caller's: PropVariantClear,
// CoTaskMemFree. All operations are safe from any thread.
struct IMFAttributes : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetItem(REFGUID guidKey, PROPVARIANT* pValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetItemType(REFGUID guidKey, MF_ATTRIBUTE_TYPE* pType) = 0;
    virtual HRESULT STDMETHODCALLTYPE CompareItem(REFGUID guidKey, REFPROPVARIANT Value, BOOL* pbResult) = 0;
    virtual HRESULT STDMETHODCALLTYPE Compare(IMFAttributes* pTheirs, MF_ATTRIBUTES_MATCH_TYPE MatchType,
                                              BOOL* pbResult) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetUINT32(REFGUID guidKey, UINT32* punValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetUINT64(REFGUID guidKey, UINT64* punValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDouble(REFGUID guidKey, double* pfValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetGUID(REFGUID guidKey, GUID* pguidValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetStringLength(REFGUID guidKey, UINT32* pcchLength) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetString(REFGUID guidKey, LPWSTR pwszValue, UINT32 cchBufSize,
                                                UINT32* pcchLength) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetAllocatedString(REFGUID guidKey, LPWSTR* ppwszValue, UINT32* pcchLength) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBlobSize(REFGUID guidKey, UINT32* pcbBlobSize) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBlob(REFGUID guidKey, UINT8* pBuf, UINT32 cbBufSize, UINT32* pcbBlobSize) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetAllocatedBlob(REFGUID guidKey, UINT8** ppBuf, UINT32* pcbSize) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetUnknown(REFGUID guidKey, REFIID riid, LPVOID* ppv) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetItem(REFGUID guidKey, REFPROPVARIANT Value) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteItem(REFGUID guidKey) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteAllItems() = 0;
    virtual HRESULT STDMETHODCALLTYPE SetUINT32(REFGUID guidKey, UINT32 unValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetUINT64(REFGUID guidKey, UINT64 unValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetDouble(REFGUID guidKey, double fValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetGUID(REFGUID guidKey, REFGUID guidValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetString(REFGUID guidKey, LPCWSTR wszValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetBlob(REFGUID guidKey, const UINT8* pBuf, UINT32 cbBufSize) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetUnknown(REFGUID guidKey, IUnknown* pUnknown) = 0;
    virtual HRESULT STDMETHODCALLTYPE LockStore() = 0;
    virtual HRESULT STDMETHODCALLTYPE UnlockStore() = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCount(UINT32* pcItems) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetItemByIndex(UINT32 unIndex, GUID* pguidKey, PROPVARIANT* pValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE CopyAllItems(IMFAttributes* pDest) = 0;
};
PLATFORM_INTERFACE_IID(IMFAttributes);

#define MF_MEDIATYPE_EQUAL_MAJOR_TYPES 0x00000001
#define MF_MEDIATYPE_EQUAL_FORMAT_TYPES 0x00000002
#define MF_MEDIATYPE_EQUAL_FORMAT_DATA 0x00000004
#define MF_MEDIATYPE_EQUAL_FORMAT_USER_DATA 0x00000008

DEFINE_GUID(IID_IMFMediaType, 0x44ae0fa8, 0xea31, 0x4109, 0x8d, 0x2e, 0x4c, 0xae, 0x49, 0x97, 0xc5, 0x55);
// The format of a stream, held in its attributes. GetRepresentation builds the same facts in an older shape;
// what it gives is released by FreeRepresentation with the same GUID.
struct IMFMediaType : public IMFAttributes
{
    virtual HRESULT STDMETHODCALLTYPE GetMajorType(GUID* pguidMajorType) = 0;
    virtual HRESULT STDMETHODCALLTYPE IsCompressedFormat(BOOL* pfCompressed) = 0;
    virtual HRESULT STDMETHODCALLTYPE IsEqual(IMFMediaType* pIMediaType, DWORD* pdwFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRepresentation(GUID guidRepresentation, LPVOID* ppvRepresentation) = 0;
    virtual HRESULT STDMETHODCALLTYPE FreeRepresentation(GUID guidRepresentation, LPVOID pvRepresentation) = 0;
};
PLATFORM_INTERFACE_IID(IMFMediaType);

DEFINE_GUID(IID_IMFMediaBuffer, 0x045fa593, 0x8799, 0x42b8, 0xbc, 0x8d, 0x89, 0x68, 0xc6, 0x45, 0x35, 0x07);
// A block of memory and the number of its bytes in use, which is 0 at first. The memory may be used between Lock and
// Unlock. SetCurrentLength refuses more than the block holds with E_INVALIDARG. Lengths are in bytes.
struct IMFMediaBuffer : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE Lock(BYTE** ppbBuffer, DWORD* pcbMaxLength, DWORD* pcbCurrentLength) = 0;
    virtual HRESULT STDMETHODCALLTYPE Unlock() = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCurrentLength(DWORD* pcbCurrentLength) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetCurrentLength(DWORD cbCurrentLength) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMaxLength(DWORD* pcbMaxLength) = 0;
};
PLATFORM_INTERFACE_IID(IMFMediaBuffer);

DEFINE_GUID(IID_IMFSample, 0xc40a00f2, 0xb93a, 0x4d80, 0xae, 0x8c, 0x5a, 0x1c, 0x63, 0x4f, 0x58, 0xe4);
// A list of buffers with a time and a duration in 100 ns, which a new sample hasn't got: MF_E_NO_SAMPLE_TIMESTAMP,
// MF_E_NO_SAMPLE_DURATION. ConvertToContiguousBuffer leaves the sample with one buffer: E_UNEXPECTED without any.
struct IMFSample : public IMFAttributes
{
    virtual HRESULT STDMETHODCALLTYPE GetSampleFlags(DWORD* pdwSampleFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetSampleFlags(DWORD dwSampleFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSampleTime(LONGLONG* phnsSampleTime) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetSampleTime(LONGLONG hnsSampleTime) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSampleDuration(LONGLONG* phnsSampleDuration) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetSampleDuration(LONGLONG hnsSampleDuration) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBufferCount(DWORD* pdwBufferCount) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBufferByIndex(DWORD dwIndex, IMFMediaBuffer** ppBuffer) = 0;
    virtual HRESULT STDMETHODCALLTYPE ConvertToContiguousBuffer(IMFMediaBuffer** ppBuffer) = 0;
    virtual HRESULT STDMETHODCALLTYPE AddBuffer(IMFMediaBuffer* pBuffer) = 0;
    virtual HRESULT STDMETHODCALLTYPE RemoveBufferByIndex(DWORD dwIndex) = 0;
    virtual HRESULT STDMETHODCALLTYPE RemoveAllBuffers() = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTotalLength(DWORD* pcbTotalLength) = 0;
    virtual HRESULT STDMETHODCALLTYPE CopyToBuffer(IMFMediaBuffer* pBuffer) = 0;
};
PLATFORM_INTERFACE_IID(IMFSample);

DEFINE_GUID(IID_IMFAsyncResult, 0xac6b7889, 0x0740, 0x4d51, 0x86, 0x19, 0x90, 0x59, 0x94, 0xa5, 0x5c, 0xc6);
struct IMFAsyncResult : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetState(IUnknown** ppunkState) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetStatus() = 0;
    virtual HRESULT STDMETHODCALLTYPE SetStatus(HRESULT hrStatus) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetObject(IUnknown** ppObject) = 0;
    virtual IUnknown* STDMETHODCALLTYPE GetStateNoAddRef() = 0;
};
PLATFORM_INTERFACE_IID(IMFAsyncResult);

DEFINE_GUID(IID_IMFAsyncCallback, 0xa27003cf, 0x2354, 0x4f2a, 0x8d, 0x6a, 0xab, 0x7c, 0xff, 0x15, 0x43, 0x7e);
struct IMFAsyncCallback : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetParameters(DWORD* pdwFlags, DWORD* pdwQueue) = 0;
    virtual HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult* pAsyncResult) = 0;
};
PLATFORM_INTERFACE_IID(IMFAsyncCallback);

using MediaEventType = DWORD;

enum : MediaEventType
{
    MEUnknown = 0,
    MEError = 1,
    MEExtendedType = 2,
    MENonFatalError = 3,
    MESessionUnknown = 100,
    MESessionTopologySet = 101,
    MESessionTopologiesCleared = 102,
    MESessionStarted = 103,
    MESessionPaused = 104,
    MESessionStopped = 105,
    MESessionClosed = 106,
    MESessionEnded = 107,
    MESessionRateChanged = 108,
    MESessionScrubSampleComplete = 109,
    MESessionCapabilitiesChanged = 110,
    MESessionTopologyStatus = 111,
    MESessionNotifyPresentationTime = 112,
    MENewPresentation = 113,
    MEBufferingStarted = 122,
    MEBufferingStopped = 123,
    MESourceUnknown = 200,
    MESourceStarted = 201,
    MEStreamStarted = 202,
    MESourceSeeked = 203,
    MEStreamSeeked = 204,
    MENewStream = 205,
    MEUpdatedStream = 206,
    MESourceStopped = 207,
    MEStreamStopped = 208,
    MESourcePaused = 209,
    MEStreamPaused = 210,
    MEEndOfPresentation = 211,
    MEEndOfStream = 212,
    MEMediaSample = 213,
    MEStreamTick = 214,
    MEStreamThinMode = 215,
    MEStreamFormatChanged = 216,
    MESourceRateChanged = 217,
    MESinkUnknown = 300,
    MEStreamSinkStarted = 301,
    MEStreamSinkStopped = 302,
    MEStreamSinkPaused = 303,
    MEStreamSinkRateChanged = 304,
    MEStreamSinkRequestSample = 305,
    MEStreamSinkMarker = 306,
    MEReservedMax = 10000
};

DEFINE_GUID(IID_IMFMediaEvent, 0xdf598932, 0xf10c, 0x4e39, 0xbb, 0xa2, 0xc3, 0x08, 0xf1, 0x01, 0xda, 0xa3);
// One event: what happened, whether it went well, a value, and attributes.
struct IMFMediaEvent : public IMFAttributes
{
    virtual HRESULT STDMETHODCALLTYPE GetType(MediaEventType* pmet) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetExtendedType(GUID* pguidExtendedType) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetStatus(HRESULT* phrStatus) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetValue(PROPVARIANT* pvValue) = 0;
};
PLATFORM_INTERFACE_IID(IMFMediaEvent);

#define MF_EVENT_FLAG_NO_WAIT 0x00000001

DEFINE_GUID(IID_IMFMediaEventGenerator, 0x2cd0bd52, 0xbcd5, 0x4b89, 0xb6, 0x2c, 0xea, 0xdc, 0x0c, 0x03, 0x1e, 0x7d);
// GetEvent waits for an event, or with MF_EVENT_FLAG_NO_WAIT returns MF_E_NO_EVENTS_AVAILABLE instead. BeginGetEvent
// has the callback invoked once, on another thread, when there is an event, which EndGetEvent then takes; from the one
// to the other GetEvent returns MF_E_MULTIPLE_SUBSCRIBERS. After the generator's shut-down every waiting and every
// later call returns MF_E_SHUTDOWN, and a callback that waits is invoked.
struct IMFMediaEventGenerator : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetEvent(DWORD dwFlags, IMFMediaEvent** ppEvent) = 0;
    virtual HRESULT STDMETHODCALLTYPE BeginGetEvent(IMFAsyncCallback* pCallback, IUnknown* punkState) = 0;
    virtual HRESULT STDMETHODCALLTYPE EndGetEvent(IMFAsyncResult* pResult, IMFMediaEvent** ppEvent) = 0;
    virtual HRESULT STDMETHODCALLTYPE QueueEvent(MediaEventType met, REFGUID guidExtendedType, HRESULT hrStatus,
                                                 const PROPVARIANT* pvValue) = 0;
};
PLATFORM_INTERFACE_IID(IMFMediaEventGenerator);

DEFINE_GUID(IID_IMFMediaEventQueue, 0x36f846fc, 0x2256, 0x48b6, 0xb5, 0x8e, 0xe2, 0xb6, 0x38, 0x31, 0x65, 0x81);
// The events of a generator that is written against these interfaces: it passes its own operations on to the queue.
// Shutdown ends waits and invokes a callback that waits. It doesn't wait for callbacks, so a caller may hold locks that
// they take.
struct IMFMediaEventQueue : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetEvent(DWORD dwFlags, IMFMediaEvent** ppEvent) = 0;
    virtual HRESULT STDMETHODCALLTYPE BeginGetEvent(IMFAsyncCallback* pCallback, IUnknown* punkState) = 0;
    virtual HRESULT STDMETHODCALLTYPE EndGetEvent(IMFAsyncResult* pResult, IMFMediaEvent** ppEvent) = 0;
    virtual HRESULT STDMETHODCALLTYPE QueueEvent(IMFMediaEvent* pEvent) = 0;
    virtual HRESULT STDMETHODCALLTYPE QueueEventParamVar(MediaEventType met, REFGUID guidExtendedType, HRESULT hrStatus,
                                                         const PROPVARIANT* pvValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE QueueEventParamUnk(MediaEventType met, REFGUID guidExtendedType, HRESULT hrStatus,
                                                         IUnknown* pUnk) = 0;
    virtual HRESULT STDMETHODCALLTYPE Shutdown() = 0;
};
PLATFORM_INTERFACE_IID(IMFMediaEventQueue);

DEFINE_GUID(IID_IMFActivate, 0x7fee9e9a, 0x4a89, 0x47a6, 0x89, 0x9c, 0xb6, 0xa5, 0x3a, 0x70, 0xfb, 0x67);
// An object that makes another one when it is needed. ActivateObject gives the same object until it is shut down or
// detached.
struct IMFActivate : public IMFAttributes
{
    virtual HRESULT STDMETHODCALLTYPE ActivateObject(REFIID riid, void** ppv) = 0;
    virtual HRESULT STDMETHODCALLTYPE ShutdownObject() = 0;
    virtual HRESULT STDMETHODCALLTYPE DetachObject() = 0;
};
PLATFORM_INTERFACE_IID(IMFActivate);

// What a transform takes or gives, for looking one up.
struct MFT_REGISTER_TYPE_INFO
{
    GUID guidMajorType;
    GUID guidSubtype;
};

enum MF_FILE_ACCESSMODE
{
    MF_ACCESSMODE_READ = 1,
    MF_ACCESSMODE_WRITE = 2,
    MF_ACCESSMODE_READWRITE = 3
};

// What MFCreateFile does with an existing file; every mode but the first creates a missing one.
enum MF_FILE_OPENMODE
{
    MF_OPENMODE_FAIL_IF_NOT_EXIST = 0,
    MF_OPENMODE_FAIL_IF_EXIST = 1,
    MF_OPENMODE_RESET_IF_EXIST = 2,
    MF_OPENMODE_APPEND_IF_EXIST = 3,
    MF_OPENMODE_DELETE_IF_EXIST = 4
};

enum MF_FILE_FLAGS
{
    MF_FILEFLAGS_NONE = 0x0,
    MF_FILEFLAGS_NOBUFFERING = 0x1,
    MF_FILEFLAGS_ALLOW_WRITE_SHARING = 0x2
};

enum MFBYTESTREAM_SEEK_ORIGIN
{
    msoBegin = 0,
    msoCurrent = 1
};

#define MFBYTESTREAM_IS_READABLE 0x00000001
#define MFBYTESTREAM_IS_WRITABLE 0x00000002
#define MFBYTESTREAM_IS_SEEKABLE 0x00000004

DEFINE_GUID(IID_IMFByteStream, 0xad4c1b00, 0x4bf7, 0x422f, 0x91, 0x75, 0x75, 0x66, 0x93, 0xd9, 0x13, 0x0d);
// Bytes and a position among them. A position after the end is allowed; a write there leaves a gap of zeros.
struct IMFByteStream : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetCapabilities(DWORD* pdwCapabilities) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetLength(QWORD* pqwLength) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetLength(QWORD qwLength) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCurrentPosition(QWORD* pqwPosition) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetCurrentPosition(QWORD qwPosition) = 0;
    virtual HRESULT STDMETHODCALLTYPE IsEndOfStream(BOOL* pfEndOfStream) = 0;
    virtual HRESULT STDMETHODCALLTYPE Read(BYTE* pb, ULONG cb, ULONG* pcbRead) = 0;
    virtual HRESULT STDMETHODCALLTYPE BeginRead(BYTE* pb, ULONG cb, IMFAsyncCallback* pCallback,
                                                IUnknown* punkState) = 0;
    virtual HRESULT STDMETHODCALLTYPE EndRead(IMFAsyncResult* pResult, ULONG* pcbRead) = 0;
    virtual HRESULT STDMETHODCALLTYPE Write(const BYTE* pb, ULONG cb, ULONG* pcbWritten) = 0;
    virtual HRESULT STDMETHODCALLTYPE BeginWrite(const BYTE* pb, ULONG cb, IMFAsyncCallback* pCallback,
                                                 IUnknown* punkState) = 0;
    virtual HRESULT STDMETHODCALLTYPE EndWrite(IMFAsyncResult* pResult, ULONG* pcbWritten) = 0;
    virtual HRESULT STDMETHODCALLTYPE Seek(MFBYTESTREAM_SEEK_ORIGIN SeekOrigin, LONGLONG llSeekOffset,
                                           DWORD dwSeekFlags, QWORD* pqwCurrentPosition) = 0;
    virtual HRESULT STDMETHODCALLTYPE Flush() = 0;
    virtual HRESULT STDMETHODCALLTYPE Close() = 0;
};
PLATFORM_INTERFACE_IID(IMFByteStream);
