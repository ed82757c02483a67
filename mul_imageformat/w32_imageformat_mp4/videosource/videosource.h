// The media source of a file that is written: it turns pictures that the host hands over into samples.
#pragma once

#include <atomic>
#include <cstdint>

#include <windows.h>

#include <mfidl.h>
#include <strmif.h>

#include <dvdmedia.h>

#include "videosource/eventgenerator.h"

class VideoStream;

// Frames that aren't counted beforehand: the stream ends when its owner says so.
constexpr std::uint32_t UNKNOWN_FRAME_COUNT = 0xFFFFFFFF;

// Makes a VideoSource and gives the interface riid of it. E_POINTER for a null ppObject, E_OUTOFMEMORY, E_NOINTERFACE,
// or why it has no queue of events. The caller releases the object, and calls Shutdown before the last release: source
// and stream hold each other until then.
HRESULT CreateVideoSource(REFIID riid, void** ppObject);

// One stream of YUY2 pictures. A session drives it from its own threads; any thread may call any operation. The owner
// keeps the pictures: all that Configure and ReportStarts get stays valid as long as the source or its stream exist.
//
// Locks, in the order in which one thread may hold them: the stream's lock of requests, the picture lock, the source's
// m_cs, the stream's m_cs. GetEvent holds none of them while it waits.
class VideoSource : public CEventGenerator<IMFMediaSource>
{
public:
    // The size is that of the encoded picture in pixels. Called once, before the source is used otherwise. Returns 0.
    //
    // *phFrameReady is a manual-reset event: a picture waits, or no more picture comes. The stream resets it, and sets
    // the manual-reset event *phFrameTaken when it has taken the picture. pPictureLock guards the picture at
    // pPictureBits, whose rows are rounded up to 4 bytes, and its duration *pSampleDuration in milliseconds.
    // *pbEndOfInput isn't 0 once the picture that is handed over is the last one. nFrameCount is the number of
    // pictures after which the stream ends by itself, or UNKNOWN_FRAME_COUNT.
    HRESULT Configure(std::uint32_t nWidth, std::uint32_t nHeight, const HANDLE* phFrameReady,
                      const HANDLE* phFrameTaken, CRITICAL_SECTION* pPictureLock, const BYTE* pPictureBits,
                      const std::atomic<std::uint32_t>* pbEndOfInput, std::uint32_t nFrameCount,
                      const double* pSampleDuration);
    // From now on each Start that succeeds sets the event *phStarted, and each Stop resets it: pictures can be
    // requested as long as it is set. Called before the source is started.
    void ReportStarts(const HANDLE* phStarted);
    // Valid after Configure, as long as the source exists.
    const VIDEOINFOHEADER2& GetVideoInfo() const { return m_videoInfo; }

    STDMETHODIMP QueryInterface(REFIID riid, void** ppObject) override;

    // After Shutdown each of these returns MF_E_SHUTDOWN, Shutdown too.
    STDMETHODIMP GetCharacteristics(DWORD* pdwCharacteristics) override;
    // The duration in it is a nominal one, with every frame of the length that m_videoInfo has.
    STDMETHODIMP CreatePresentationDescriptor(IMFPresentationDescriptor** ppDescriptor) override;
    // The position only goes into events and makes a start a seek: pictures come as the host hands them over.
    STDMETHODIMP Start(IMFPresentationDescriptor* pDescriptor, const GUID* pguidTimeFormat,
                       const PROPVARIANT* pvarStartPosition) override;
    // MF_E_INVALID_STATE_TRANSITION before the first Start, when there is no stream that could stop.
    STDMETHODIMP Stop() override;
    STDMETHODIMP Pause() override;
    // Drops samples, events and the stream. A RequestSample that waits goes on waiting until the owner sets the
    // frame-ready event, and fails then.
    STDMETHODIMP Shutdown() override;

protected:
    friend HRESULT CreateVideoSource(REFIID riid, void** ppObject);
    friend class VideoStream;

    enum EState : std::int32_t
    {
        STATE_STOPPED = 0,
        STATE_PAUSED = 1,
        STATE_STARTED = 2
    };

    VideoSource() = default;
    ~VideoSource() override;

    HRESULT MakePresentationDescriptor(IMFPresentationDescriptor** ppDescriptor);
    HRESULT AnnounceStream(IMFPresentationDescriptor* pDescriptor);
    HRESULT AnnounceStart(const PROPVARIANT& varTime, bool bActualStart);
    HRESULT ReportFailure(HRESULT hrFailure, const PROPVARIANT& varTime);

    const HANDLE* m_phFrameReady = nullptr;
    const HANDLE* m_phFrameTaken = nullptr;
    const double* m_pSampleDuration = nullptr;  // in milliseconds
    CRITICAL_SECTION* m_pPictureLock = nullptr;
    const BYTE* m_pPictureBits = nullptr;
    const std::atomic<std::uint32_t>* m_pbEndOfInput = nullptr;
    IMFPresentationDescriptor* m_pPresentationDescriptor = nullptr;  // one reference, from the first request for it
    VideoStream* m_pStream = nullptr;                                // one reference, from the first Start
    std::atomic<std::int32_t> m_eState{STATE_STOPPED};  // changed under m_cs, read by the stream without it
    std::uint32_t m_nWidth = 0;
    std::uint32_t m_nHeight = 0;
    VIDEOINFOHEADER2 m_videoInfo = {};
    std::uint32_t m_nFrameCount = UNKNOWN_FRAME_COUNT;
    const HANDLE* m_phStarted = nullptr;
};
