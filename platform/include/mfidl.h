// Media Foundation's graph: sources, descriptors, topologies, the session, and the sink that hands samples to a
// callback.
#pragma once

#include "mfobjects.h"

struct IMFByteStream;
struct IMFCollection;
struct IPropertyStore;

using MFTIME = LONGLONG;  // in 100 ns

enum
{
    MF_RESOLUTION_MEDIASOURCE = 0x1,
    MF_RESOLUTION_BYTESTREAM = 0x2,
    MF_RESOLUTION_CONTENT_DOES_NOT_HAVE_TO_MATCH_EXTENSION_OR_MIME_TYPE = 0x10,
    MF_RESOLUTION_KEEP_BYTE_STREAM_ALIVE_ON_FAIL = 0x20,
    MF_RESOLUTION_READ = 0x10000,
    MF_RESOLUTION_WRITE = 0x20000
};

enum MF_OBJECT_TYPE
{
    MF_OBJECT_MEDIASOURCE = 0,
    MF_OBJECT_BYTESTREAM = 1,
    MF_OBJECT_INVALID = 2
};

DEFINE_GUID(IID_IMFSourceResolver, 0xfbe5a32d, 0xa497, 0x4b61, 0xbb, 0x85, 0x97, 0xb1, 0xa8, 0x48, 0xa6, 0xe3);
// Makes a media source from a path. The path is that of a file: no other scheme is served.
struct IMFSourceResolver : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE CreateObjectFromURL(LPCWSTR pwszURL, DWORD dwFlags, IPropertyStore* pProps,
                                                          MF_OBJECT_TYPE* pObjectType, IUnknown** ppObject) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateObjectFromByteStream(IMFByteStream* pByteStream, LPCWSTR pwszURL,
                                                                 DWORD dwFlags, IPropertyStore* pProps,
                                                                 MF_OBJECT_TYPE* pObjectType, IUnknown** ppObject) = 0;
    virtual HRESULT STDMETHODCALLTYPE BeginCreateObjectFromURL(LPCWSTR pwszURL, DWORD dwFlags, IPropertyStore* pProps,
                                                               IUnknown** ppIUnknownCancelCookie,
                                                               IMFAsyncCallback* pCallback, IUnknown* punkState) = 0;
    virtual HRESULT STDMETHODCALLTYPE EndCreateObjectFromURL(IMFAsyncResult* pResult, MF_OBJECT_TYPE* pObjectType,
                                                             IUnknown** ppObject) = 0;
    virtual HRESULT STDMETHODCALLTYPE BeginCreateObjectFromByteStream(IMFByteStream* pByteStream, LPCWSTR pwszURL,
                                                                      DWORD dwFlags, IPropertyStore* pProps,
                                                                      IUnknown** ppIUnknownCancelCookie,
                                                                      IMFAsyncCallback* pCallback,
                                                                      IUnknown* punkState) = 0;
    virtual HRESULT STDMETHODCALLTYPE EndCreateObjectFromByteStream(IMFAsyncResult* pResult,
                                                                    MF_OBJECT_TYPE* pObjectType,
                                                                    IUnknown** ppObject) = 0;
    virtual HRESULT STDMETHODCALLTYPE CancelObjectCreation(IUnknown* pIUnknownCancelCookie) = 0;
};
PLATFORM_INTERFACE_IID(IMFSourceResolver);

DEFINE_GUID(IID_IMFMediaTypeHandler, 0xe93dcf6c, 0x4b07, 0x4e1e, 0x81, 0x23, 0xaa, 0x16, 0xed, 0x6e, 0xad, 0xf5);
// The media types a stream can have, best first. A new handler has no current type: MF_E_NOT_INITIALIZED. One of a
// file's stream has its only type.
struct IMFMediaTypeHandler : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE IsMediaTypeSupported(IMFMediaType* pMediaType, IMFMediaType** ppMediaType) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMediaTypeCount(DWORD* pdwTypeCount) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMediaTypeByIndex(DWORD dwIndex, IMFMediaType** ppType) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetCurrentMediaType(IMFMediaType* pMediaType) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCurrentMediaType(IMFMediaType** ppMediaType) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMajorType(GUID* pguidMajorType) = 0;
};
PLATFORM_INTERFACE_IID(IMFMediaTypeHandler);

DEFINE_GUID(IID_IMFStreamDescriptor, 0x56c03d9c, 0x9dbb, 0x45f5, 0xab, 0x4b, 0xd8, 0x0f, 0x47, 0xc0, 0x59, 0x38);
struct IMFStreamDescriptor : public IMFAttributes
{
    virtual HRESULT STDMETHODCALLTYPE GetStreamIdentifier(DWORD* pdwStreamIdentifier) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMediaTypeHandler(IMFMediaTypeHandler** ppMediaTypeHandler) = 0;
};
PLATFORM_INTERFACE_IID(IMFStreamDescriptor);

// The length of a presentation, UINT64, in 100 ns.
DEFINE_GUID(MF_PD_DURATION, 0x6c990d33, 0xbb8e, 0x477a, 0x85, 0x98, 0x0d, 0x5d, 0x96, 0xfc, 0xd8, 0x8a);

DEFINE_GUID(IID_IMFPresentationDescriptor, 0x03cb2711, 0x24d7, 0x4db6, 0xa1, 0x7f, 0xf3, 0xa7, 0xa4, 0x79, 0xa5, 0x36);
// The streams of a source and which of them are to be played. A new descriptor has none of them selected; that of a
// file has all. A clone has the same stream descriptors and a selection of its own.
struct IMFPresentationDescriptor : public IMFAttributes
{
    virtual HRESULT STDMETHODCALLTYPE GetStreamDescriptorCount(DWORD* pdwDescriptorCount) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetStreamDescriptorByIndex(DWORD dwIndex, BOOL* pfSelected,
                                                                 IMFStreamDescriptor** ppDescriptor) = 0;
    virtual HRESULT STDMETHODCALLTYPE SelectStream(DWORD dwDescriptorIndex) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeselectStream(DWORD dwDescriptorIndex) = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IMFPresentationDescriptor** ppPresentationDescriptor) = 0;
};
PLATFORM_INTERFACE_IID(IMFPresentationDescriptor);

enum MFMEDIASOURCE_CHARACTERISTICS
{
    MFMEDIASOURCE_IS_LIVE = 0x1,
    MFMEDIASOURCE_CAN_SEEK = 0x2,
    MFMEDIASOURCE_CAN_PAUSE = 0x4,
    MFMEDIASOURCE_HAS_SLOW_SEEK = 0x8
};

DEFINE_GUID(IID_IMFMediaSource, 0x279a808d, 0xaec7, 0x40c8, 0x9c, 0x6b, 0xa6, 0xb4, 0x92, 0xc7, 0x8a, 0x66);
// Shutdown releases what the source holds; every other operation gives MF_E_SHUTDOWN afterwards.
struct IMFMediaSource : public IMFMediaEventGenerator
{
    virtual HRESULT STDMETHODCALLTYPE GetCharacteristics(DWORD* pdwCharacteristics) = 0;
    virtual HRESULT STDMETHODCALLTYPE
    CreatePresentationDescriptor(IMFPresentationDescriptor** ppPresentationDescriptor) = 0;
    virtual HRESULT STDMETHODCALLTYPE Start(IMFPresentationDescriptor* pPresentationDescriptor,
                                            const GUID* pguidTimeFormat, const PROPVARIANT* pvarStartPosition) = 0;
    virtual HRESULT STDMETHODCALLTYPE Stop() = 0;
    virtual HRESULT STDMETHODCALLTYPE Pause() = 0;
    virtual HRESULT STDMETHODCALLTYPE Shutdown() = 0;
};
PLATFORM_INTERFACE_IID(IMFMediaSource);

DEFINE_GUID(IID_IMFMediaStream, 0xd182108f, 0x4ec6, 0x443f, 0xaa, 0x42, 0xa7, 0x11, 0x06, 0xec, 0x82, 0x5f);
// One stream of a source. Each RequestSample asks for one sample, which comes as an event; its token, which may be
// null, is an attribute of that sample.
struct IMFMediaStream : public IMFMediaEventGenerator
{
    virtual HRESULT STDMETHODCALLTYPE GetMediaSource(IMFMediaSource** ppMediaSource) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetStreamDescriptor(IMFStreamDescriptor** ppStreamDescriptor) = 0;
    virtual HRESULT STDMETHODCALLTYPE RequestSample(IUnknown* pToken) = 0;
};
PLATFORM_INTERFACE_IID(IMFMediaStream);

using TOPOID = UINT64;

enum MF_TOPOLOGY_TYPE : unsigned int
{
    MF_TOPOLOGY_OUTPUT_NODE = 0,
    MF_TOPOLOGY_SOURCESTREAM_NODE = 1,
    MF_TOPOLOGY_TRANSFORM_NODE = 2,
    MF_TOPOLOGY_TEE_NODE = 3,
    MF_TOPOLOGY_MAX = 0xffffffff
};

DEFINE_GUID(MF_TOPONODE_SOURCE, 0x835c58ec, 0xe075, 0x4bc7, 0xbc, 0xba, 0x4d, 0xe0, 0x00, 0xdf, 0x9a, 0xe6);
DEFINE_GUID(MF_TOPONODE_PRESENTATION_DESCRIPTOR, 0x835c58ed, 0xe075, 0x4bc7, 0xbc, 0xba, 0x4d, 0xe0, 0x00, 0xdf, 0x9a,
            0xe6);
DEFINE_GUID(MF_TOPONODE_STREAM_DESCRIPTOR, 0x835c58ee, 0xe075, 0x4bc7, 0xbc, 0xba, 0x4d, 0xe0, 0x00, 0xdf, 0x9a, 0xe6);
DEFINE_GUID(MF_TOPONODE_WORKQUEUE_ID, 0x494bbcf8, 0xb031, 0x4e38, 0x97, 0xc4, 0xd5, 0x42, 0x2d, 0xd6, 0x18, 0xdc);
DEFINE_GUID(MF_TOPONODE_STREAMID, 0x14932f9b, 0x9087, 0x4bb4, 0x84, 0x12, 0x51, 0x67, 0x14, 0x5c, 0xbe, 0x04);
DEFINE_GUID(MF_TOPONODE_NOSHUTDOWN_ON_REMOVE, 0x14932f9c, 0x9087, 0x4bb4, 0x84, 0x12, 0x51, 0x67, 0x14, 0x5c, 0xbe,
            0x04);

DEFINE_GUID(IID_IMFTopologyNode, 0x83cf873a, 0xf6da, 0x4bc8, 0x82, 0x3f, 0xba, 0xcf, 0xd5, 0x5d, 0xc4, 0x30);
struct IMFTopologyNode : public IMFAttributes
{
    virtual HRESULT STDMETHODCALLTYPE SetObject(IUnknown* pObject) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetObject(IUnknown** ppObject) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetNodeType(MF_TOPOLOGY_TYPE* pType) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTopoNodeID(TOPOID* pID) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetTopoNodeID(TOPOID ullTopoID) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInputCount(DWORD* pcInputs) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetOutputCount(DWORD* pcOutputs) = 0;
    virtual HRESULT STDMETHODCALLTYPE ConnectOutput(DWORD dwOutputIndex, IMFTopologyNode* pDownstreamNode,
                                                    DWORD dwInputIndexOnDownstreamNode) = 0;
    virtual HRESULT STDMETHODCALLTYPE DisconnectOutput(DWORD dwOutputIndex) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInput(DWORD dwInputIndex, IMFTopologyNode** ppUpstreamNode,
                                               DWORD* pdwOutputIndexOnUpstreamNode) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetOutput(DWORD dwOutputIndex, IMFTopologyNode** ppDownstreamNode,
                                                DWORD* pdwInputIndexOnDownstreamNode) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetOutputPrefType(DWORD dwOutputIndex, IMFMediaType* pType) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetOutputPrefType(DWORD dwOutputIndex, IMFMediaType** ppType) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetInputPrefType(DWORD dwInputIndex, IMFMediaType* pType) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInputPrefType(DWORD dwInputIndex, IMFMediaType** ppType) = 0;
    virtual HRESULT STDMETHODCALLTYPE CloneFrom(IMFTopologyNode* pNode) = 0;
};
PLATFORM_INTERFACE_IID(IMFTopologyNode);

DEFINE_GUID(IID_IMFTopology, 0x83cf873a, 0xf6da, 0x4bc8, 0x82, 0x3f, 0xba, 0xcf, 0xd5, 0x5d, 0xc4, 0x33);
// A graph of nodes. The session takes a partial one: a decoder between source and output need not be in it.
struct IMFTopology : public IMFAttributes
{
    virtual HRESULT STDMETHODCALLTYPE GetTopologyID(TOPOID* pID) = 0;
    virtual HRESULT STDMETHODCALLTYPE AddNode(IMFTopologyNode* pNode) = 0;
    virtual HRESULT STDMETHODCALLTYPE RemoveNode(IMFTopologyNode* pNode) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetNodeCount(WORD* pwNodes) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetNode(WORD wIndex, IMFTopologyNode** ppNode) = 0;
    virtual HRESULT STDMETHODCALLTYPE Clear() = 0;
    virtual HRESULT STDMETHODCALLTYPE CloneFrom(IMFTopology* pTopology) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetNodeByID(TOPOID qwTopoNodeID, IMFTopologyNode** ppNode) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSourceNodeCollection(IMFCollection** ppCollection) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetOutputNodeCollection(IMFCollection** ppCollection) = 0;
};
PLATFORM_INTERFACE_IID(IMFTopology);

struct IMFClock;

enum MFSESSION_SETTOPOLOGY_FLAGS
{
    MFSESSION_SETTOPOLOGY_IMMEDIATE = 0x1,
    MFSESSION_SETTOPOLOGY_NORESOLUTION = 0x2,
    MFSESSION_SETTOPOLOGY_CLEAR_CURRENT = 0x4
};

DEFINE_GUID(IID_IMFMediaSession, 0x90377834, 0x21d0, 0x4dee, 0x82, 0x14, 0xba, 0x2e, 0x3e, 0x6c, 0x11, 0x27);
// Plays a topology. The operations only ask. An event reports when something is done, and its result. Only Shutdown
// is complete when it returns.
struct IMFMediaSession : public IMFMediaEventGenerator
{
    virtual HRESULT STDMETHODCALLTYPE SetTopology(DWORD dwSetTopologyFlags, IMFTopology* pTopology) = 0;
    virtual HRESULT STDMETHODCALLTYPE ClearTopologies() = 0;
    virtual HRESULT STDMETHODCALLTYPE Start(const GUID* pguidTimeFormat, const PROPVARIANT* pvarStartPosition) = 0;
    virtual HRESULT STDMETHODCALLTYPE Pause() = 0;
    virtual HRESULT STDMETHODCALLTYPE Stop() = 0;
    virtual HRESULT STDMETHODCALLTYPE Close() = 0;
    virtual HRESULT STDMETHODCALLTYPE Shutdown() = 0;
    virtual HRESULT STDMETHODCALLTYPE GetClock(IMFClock** ppClock) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSessionCapabilities(DWORD* pdwCaps) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetFullTopology(DWORD dwGetFullTopologyFlags, TOPOID TopoId,
                                                      IMFTopology** ppFullTopology) = 0;
};
PLATFORM_INTERFACE_IID(IMFMediaSession);

DEFINE_GUID(IID_IMFClockStateSink, 0xf6696e82, 0x74f7, 0x4f3d, 0xa1, 0x78, 0x8a, 0x5e, 0x09, 0xc3, 0x65, 0x9f);
// Called when the presentation's clock starts, stops, pauses, goes on, or changes its rate. System times are in 100 ns.
struct IMFClockStateSink : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE OnClockStart(MFTIME hnsSystemTime, LONGLONG llClockStartOffset) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnClockStop(MFTIME hnsSystemTime) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnClockPause(MFTIME hnsSystemTime) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnClockRestart(MFTIME hnsSystemTime) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnClockSetRate(MFTIME hnsSystemTime, float flRate) = 0;
};
PLATFORM_INTERFACE_IID(IMFClockStateSink);

struct IMFPresentationClock;

DEFINE_GUID(IID_IMFSampleGrabberSinkCallback, 0x8c7b80bf, 0xee42, 0x4b59, 0xb1, 0xdf, 0x55, 0x66, 0x8e, 0x1b, 0xdc,
            0xa8);
// Called with every sample, on a thread of the session, one call at a time. The buffer is the sink's and is valid only
// during the call. Times are in 100 ns; a sample without a time or a duration has the largest or a zero value there.
struct IMFSampleGrabberSinkCallback : public IMFClockStateSink
{
    virtual HRESULT STDMETHODCALLTYPE OnSetPresentationClock(IMFPresentationClock* pPresentationClock) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnProcessSample(REFGUID guidMajorMediaType, DWORD dwSampleFlags,
                                                      LONGLONG llSampleTime, LONGLONG llSampleDuration,
                                                      const BYTE* pSampleBuffer, DWORD dwSampleSize) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnShutdown() = 0;
};
PLATFORM_INTERFACE_IID(IMFSampleGrabberSinkCallback);

// UINT32, on the activation object of a sample-grabber sink: samples are not held back until they are due.
DEFINE_GUID(MF_SAMPLEGRABBERSINK_IGNORE_CLOCK, 0x0efda2c0, 0x2b69, 0x4e2e, 0xab, 0x8d, 0x46, 0xdc, 0xbf, 0xf7, 0xd2,
            0x5d);

DEFINE_GUID(IID_IMFGetService, 0xfa993888, 0x4383, 0x415a, 0xa9, 0x30, 0xdd, 0x47, 0x2a, 0x8c, 0xf6, 0xf7);
// An object's further interfaces, by service.
struct IMFGetService : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetService(REFGUID guidService, REFIID riid, LPVOID* ppvObject) = 0;
};
PLATFORM_INTERFACE_IID(IMFGetService);

DEFINE_GUID(MF_RATE_CONTROL_SERVICE, 0x866fa297, 0xb802, 0x4bf8, 0x9d, 0xc9, 0x5e, 0x3b, 0x6a, 0x9f, 0x53, 0xc9);

DEFINE_GUID(IID_IMFRateControl, 0x88ddcd21, 0x03c3, 0x4275, 0x91, 0xed, 0x55, 0xee, 0x39, 0x29, 0x32, 0x8f);
// The rate of playing: 1 is normal, 0 is scrubbing, where each start shows one place.
struct IMFRateControl : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE SetRate(BOOL fThin, float flRate) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRate(BOOL* pfThin, float* pflRate) = 0;
};
PLATFORM_INTERFACE_IID(IMFRateControl);

// Takes a reference on each of the types, of which there must be one at least.
STDAPI MFCreateStreamDescriptor(DWORD dwStreamIdentifier, DWORD cMediaTypes, IMFMediaType** apMediaTypes,
                                IMFStreamDescriptor** ppDescriptor);
STDAPI MFCreatePresentationDescriptor(DWORD cStreamDescriptors, IMFStreamDescriptor** apStreamDescriptors,
                                      IMFPresentationDescriptor** ppPresentationDescriptor);
STDAPI MFCreateSourceResolver(IMFSourceResolver** ppISourceResolver);
STDAPI MFCreateMediaSession(IMFAttributes* pConfiguration, IMFMediaSession** ppMediaSession);
STDAPI MFCreateTopology(IMFTopology** ppTopo);
STDAPI MFCreateTopologyNode(MF_TOPOLOGY_TYPE NodeType, IMFTopologyNode** ppNode);
// The callback gets samples of the given media type; major type and subtype decide.
STDAPI MFCreateSampleGrabberSinkActivate(IMFMediaType* pIMFMediaType,
                                         IMFSampleGrabberSinkCallback* pIMFSampleGrabberSinkCallback,
                                         IMFActivate** ppIActivate);
STDAPI MFGetService(IUnknown* punkObject, REFGUID guidService, REFIID riid, LPVOID* ppvObject);

struct IMFStreamSink;

#define MEDIASINK_FIXED_STREAMS 0x00000001
#define MEDIASINK_CANNOT_MATCH_CLOCK 0x00000002
#define MEDIASINK_RATELESS 0x00000004

DEFINE_GUID(IID_IMFMediaSink, 0x6ef2a660, 0x47c0, 0x4666, 0xb1, 0x3d, 0xcb, 0xb7, 0x17, 0xf2, 0xfa, 0x2c);
// Where samples end up. It follows a presentation clock through its IMFClockStateSink. Shutdown releases what it
// holds; every other operation gives MF_E_SHUTDOWN afterwards.
struct IMFMediaSink : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetCharacteristics(DWORD* pdwCharacteristics) = 0;
    virtual HRESULT STDMETHODCALLTYPE AddStreamSink(DWORD dwStreamSinkIdentifier, IMFMediaType* pMediaType,
                                                    IMFStreamSink** ppStreamSink) = 0;
    virtual HRESULT STDMETHODCALLTYPE RemoveStreamSink(DWORD dwStreamSinkIdentifier) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetStreamSinkCount(DWORD* pcStreamSinkCount) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetStreamSinkByIndex(DWORD dwIndex, IMFStreamSink** ppStreamSink) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetStreamSinkById(DWORD dwStreamSinkIdentifier, IMFStreamSink** ppStreamSink) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetPresentationClock(IMFPresentationClock* pPresentationClock) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPresentationClock(IMFPresentationClock** ppPresentationClock) = 0;
    virtual HRESULT STDMETHODCALLTYPE Shutdown() = 0;
};
PLATFORM_INTERFACE_IID(IMFMediaSink);

DEFINE_GUID(IID_IMFFinalizableMediaSink, 0xeaecb74a, 0x9a50, 0x42ce, 0x95, 0x41, 0x6a, 0x7f, 0x57, 0xaa, 0x4a, 0xd7);
// A sink whose work isn't done with its last sample. BeginFinalize completes the work, and then invokes the callback,
// once; EndFinalize with the result that the callback got returns how it went. A BeginFinalize that fails doesn't
// invoke the callback. The result lives at least until EndFinalize returns, also for a caller without a reference to
// it.
struct IMFFinalizableMediaSink : public IMFMediaSink
{
    virtual HRESULT STDMETHODCALLTYPE BeginFinalize(IMFAsyncCallback* pCallback, IUnknown* punkState) = 0;
    virtual HRESULT STDMETHODCALLTYPE EndFinalize(IMFAsyncResult* pResult) = 0;
};
PLATFORM_INTERFACE_IID(IMFFinalizableMediaSink);

enum MFSTREAMSINK_MARKER_TYPE
{
    MFSTREAMSINK_MARKER_DEFAULT = 0,
    MFSTREAMSINK_MARKER_ENDOFSEGMENT = 1,
    MFSTREAMSINK_MARKER_TICK = 2,
    MFSTREAMSINK_MARKER_EVENT = 3
};

DEFINE_GUID(IID_IMFStreamSink, 0x0a97b3cf, 0x8e7c, 0x4a3d, 0x8f, 0x8c, 0x0c, 0x84, 0x3d, 0xc2, 0x47, 0xfb);
// One stream of a sink. It asks for each sample with MEStreamSinkRequestSample. When everything before a marker is
// done, it reports MEStreamSinkMarker with the context value of that marker.
struct IMFStreamSink : public IMFMediaEventGenerator
{
    virtual HRESULT STDMETHODCALLTYPE GetMediaSink(IMFMediaSink** ppMediaSink) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetIdentifier(DWORD* pdwIdentifier) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMediaTypeHandler(IMFMediaTypeHandler** ppHandler) = 0;
    virtual HRESULT STDMETHODCALLTYPE ProcessSample(IMFSample* pSample) = 0;
    virtual HRESULT STDMETHODCALLTYPE PlaceMarker(MFSTREAMSINK_MARKER_TYPE eMarkerType,
                                                  const PROPVARIANT* pvarMarkerValue,
                                                  const PROPVARIANT* pvarContextValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE Flush() = 0;
};
PLATFORM_INTERFACE_IID(IMFStreamSink);

// An MP4 file of H.264 video. The bytes before a sample's end are in pIByteStream when ProcessSample returns; the index
// is written by the sink's finalisation. The last release of the byte stream closes the file. There is no sound:
// pAudioMediaType is null.
STDAPI MFCreateMPEG4MediaSink(IMFByteStream* pIByteStream, IMFMediaType* pVideoMediaType, IMFMediaType* pAudioMediaType,
                              IMFMediaSink** ppIMediaSink);
