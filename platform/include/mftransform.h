// IMFTransform: an encoder or another step that turns samples into samples.
#pragma once

#include "mfobjects.h"

enum _MFT_INPUT_STATUS_FLAGS
{
    MFT_INPUT_STATUS_ACCEPT_DATA = 0x1
};

enum _MFT_INPUT_STREAM_INFO_FLAGS
{
    MFT_INPUT_STREAM_WHOLE_SAMPLES = 0x1,
    MFT_INPUT_STREAM_SINGLE_SAMPLE_PER_BUFFER = 0x2,
    MFT_INPUT_STREAM_FIXED_SAMPLE_SIZE = 0x4
};

enum _MFT_OUTPUT_STREAM_INFO_FLAGS
{
    MFT_OUTPUT_STREAM_WHOLE_SAMPLES = 0x1,
    MFT_OUTPUT_STREAM_SINGLE_SAMPLE_PER_BUFFER = 0x2,
    MFT_OUTPUT_STREAM_PROVIDES_SAMPLES = 0x100
};

enum _MFT_OUTPUT_STATUS_FLAGS
{
    MFT_OUTPUT_STATUS_SAMPLE_READY = 0x1
};

enum _MFT_SET_TYPE_FLAGS
{
    MFT_SET_TYPE_TEST_ONLY = 0x1
};

enum MFT_MESSAGE_TYPE
{
    MFT_MESSAGE_COMMAND_FLUSH = 0x0,
    MFT_MESSAGE_COMMAND_DRAIN = 0x1,
    MFT_MESSAGE_SET_D3D_MANAGER = 0x2,
    MFT_MESSAGE_NOTIFY_BEGIN_STREAMING = 0x10000000,
    MFT_MESSAGE_NOTIFY_END_STREAMING = 0x10000001,
    MFT_MESSAGE_NOTIFY_END_OF_STREAM = 0x10000002,
    MFT_MESSAGE_NOTIFY_START_OF_STREAM = 0x10000003
};

struct MFT_INPUT_STREAM_INFO
{
    LONGLONG hnsMaxLatency;
    DWORD dwFlags;
    DWORD cbSize;
    DWORD cbMaxLookahead;
    DWORD cbAlignment;
};

struct MFT_OUTPUT_STREAM_INFO
{
    DWORD dwFlags;
    DWORD cbSize;
    DWORD cbAlignment;
};

struct IMFCollection;

struct MFT_OUTPUT_DATA_BUFFER
{
    DWORD dwStreamID;
    IMFSample* pSample;  // the caller's, or null for a transform that provides samples
    DWORD dwStatus;
    IMFCollection* pEvents;
};

DEFINE_GUID(IID_IMFTransform, 0xbf94c121, 0x5b05, 0x4e6f, 0x80, 0x00, 0xba, 0x59, 0x89, 0x61, 0x41, 0x4d);
// Takes input with ProcessInput until it returns MF_E_NOTACCEPTING, and gives output with ProcessOutput until that
// returns MF_E_TRANSFORM_NEED_MORE_INPUT. After MFT_MESSAGE_COMMAND_DRAIN it gives all that is left of its input first.
struct IMFTransform : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetStreamLimits(DWORD* pdwInputMinimum, DWORD* pdwInputMaximum,
                                                      DWORD* pdwOutputMinimum, DWORD* pdwOutputMaximum) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetStreamCount(DWORD* pcInputStreams, DWORD* pcOutputStreams) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetStreamIDs(DWORD dwInputIDArraySize, DWORD* pdwInputIDs,
                                                   DWORD dwOutputIDArraySize, DWORD* pdwOutputIDs) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInputStreamInfo(DWORD dwInputStreamID, MFT_INPUT_STREAM_INFO* pStreamInfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetOutputStreamInfo(DWORD dwOutputStreamID,
                                                          MFT_OUTPUT_STREAM_INFO* pStreamInfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetAttributes(IMFAttributes** pAttributes) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInputStreamAttributes(DWORD dwInputStreamID, IMFAttributes** pAttributes) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetOutputStreamAttributes(DWORD dwOutputStreamID,
                                                                IMFAttributes** pAttributes) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteInputStream(DWORD dwStreamID) = 0;
    virtual HRESULT STDMETHODCALLTYPE AddInputStreams(DWORD cStreams, DWORD* adwStreamIDs) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInputAvailableType(DWORD dwInputStreamID, DWORD dwTypeIndex,
                                                            IMFMediaType** ppType) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetOutputAvailableType(DWORD dwOutputStreamID, DWORD dwTypeIndex,
                                                             IMFMediaType** ppType) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetInputType(DWORD dwInputStreamID, IMFMediaType* pType, DWORD dwFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetOutputType(DWORD dwOutputStreamID, IMFMediaType* pType, DWORD dwFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInputCurrentType(DWORD dwInputStreamID, IMFMediaType** ppType) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetOutputCurrentType(DWORD dwOutputStreamID, IMFMediaType** ppType) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInputStatus(DWORD dwInputStreamID, DWORD* pdwFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetOutputStatus(DWORD* pdwFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetOutputBounds(LONGLONG hnsLowerBound, LONGLONG hnsUpperBound) = 0;
    virtual HRESULT STDMETHODCALLTYPE ProcessEvent(DWORD dwInputStreamID, IMFMediaEvent* pEvent) = 0;
    virtual HRESULT STDMETHODCALLTYPE ProcessMessage(MFT_MESSAGE_TYPE eMessage, ULONG_PTR ulParam) = 0;
    virtual HRESULT STDMETHODCALLTYPE ProcessInput(DWORD dwInputStreamID, IMFSample* pSample, DWORD dwFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE ProcessOutput(DWORD dwFlags, DWORD cOutputBufferCount,
                                                    MFT_OUTPUT_DATA_BUFFER* pOutputSamples, DWORD* pdwStatus) = 0;
};
PLATFORM_INTERFACE_IID(IMFTransform);
