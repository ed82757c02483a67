// The one stream of a VideoSource: a request waits for the host's next picture and makes a sample of it.
#pragma once

#include <cstdint>

#include <windows.h>

#include <mfidl.h>
#include <strmif.h>

#include <dvdmedia.h>

#include "common/criticalsection.h"
#include "videosource/eventgenerator.h"
#include "videosource/samplequeue.h"

class VideoSource;

// The time of a sample is the sum of the durations before it, from 0: pictures of no duration have equal times.
class VideoStream : public CEventGenerator<IMFMediaStream>
{
public:
    // Called by the source, which it takes a reference on until ShutdownStream. E_OUTOFMEMORY, or why it has no queue
    // of events.
    static HRESULT Create(VideoSource* pSource, IMFStreamDescriptor* pStreamDescriptor, std::uint32_t nFrameCount,
                          VideoStream** ppStream);

    STDMETHODIMP QueryInterface(REFIID riid, void** ppObject) override;

    // After the shutdown these return E_UNEXPECTED, and the event operations MF_E_SHUTDOWN.
    STDMETHODIMP GetMediaSource(IMFMediaSource** ppSource) override;
    STDMETHODIMP GetStreamDescriptor(IMFStreamDescriptor** ppDescriptor) override;
    // Waits without limit until the frame-ready event is set, and takes the picture: as a sample event when the source
    // is started, into the queue when it is paused. When it is stopped the picture is lost, and the result is
    // MF_E_INVALIDREQUEST. The frame-taken event is set in each case, also when no sample could be made. The stream's
    // last picture leaves the frame-ready event set.
    //
    // Any number of threads may call. They are served one after the other, each with a picture of its own.
    STDMETHODIMP RequestSample(IUnknown* pToken) override;

    // For the source, under its lock.

    // While it is held, no request is served: none reads the state, makes a sample or delivers one.
    CRITICAL_SECTION* GetLock() { return m_cs.Get(); }
    LONGLONG GetNextSampleTime();
    void EmptyQueue();
    // Delivers what was queued, up to the first failure, which is returned. At the stream's end, its end is reported
    // first, and after each sample too.
    HRESULT Resume();
    void ShutdownStream();

protected:
    VideoStream(VideoSource* pSource, IMFStreamDescriptor* pStreamDescriptor, std::uint32_t nFrameCount);
    ~VideoStream() override;

    VideoSource* ShareSource();
    HRESULT TakePicture(VideoSource& source, IUnknown* pToken);
    HRESULT ServeRequest(VideoSource& source, IUnknown* pToken, bool* pbAtEnd);
    HRESULT MakeSample(const VideoSource& source, IMFSample** ppSample);
    HRESULT Deliver(IUnknown* pSample, bool bAtEnd);
    bool IsAtEnd(const VideoSource& source) const;

    CCriticalSection m_csRequest;              // held by the request that waits and is served
    LONGLONG m_nNextSampleTime = 0;            // in 100 ns
    bool m_bDiscontinuity = false;             // for a source with gaps, which the host's pictures don't have
    std::uint32_t m_nFrameCount;               // what the source had when the stream was made
    std::uint32_t m_nRequests = 0;             // served so far
    const VIDEOINFOHEADER2* m_pVideoInfo;      // the source's
    VideoSource* m_pSource;                    // one reference; null after the shutdown
    IMFStreamDescriptor* m_pStreamDescriptor;  // one reference; null after the shutdown
    SampleQueue m_sampleQueue;
};
