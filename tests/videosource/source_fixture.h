// A media source with an owner of its pictures.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "picture_owner.h"
#include "videosource/videosource.h"

struct SComReleaser
{
    template <class TInterface>
    void operator()(TInterface* pInterface) const
    {
        pInterface->Release();
    }
};
// One reference.
template <class TInterface>
using TOwned = std::unique_ptr<TInterface, SComReleaser>;

// A reference of its own to an object, or null if it hasn't got the interface.
template <class TInterface>
TOwned<TInterface> Query(IUnknown* pObject, REFIID riid)
{
    void* pInterface = nullptr;
    if (pObject == nullptr || FAILED(pObject->QueryInterface(riid, &pInterface))) return nullptr;
    return TOwned<TInterface>(static_cast<TInterface*>(pInterface));
}

// An event as text: its number; "failed" and a status that is a failure; "at" and a time; "stream" for a stream;
// "sample" with time and duration for a sample; "actual" and the actual start. Times are in 100 ns.
std::string Describe(IMFMediaEvent* pEvent);

// A sample in plain values.
struct SSampleView
{
    Bytes m_vBytes;
    LONGLONG m_hnsTime = -1;
    LONGLONG m_hnsDuration = -1;
    bool m_bDiscontinuity = false;
    TOwned<IUnknown> m_pToken;
};

class VideoSourceTest : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    // A source, and with Make a descriptor too.
    void MakeConfigured(std::uint32_t nFrameCount);
    void Make(std::uint32_t nFrameCount = UNKNOWN_FRAME_COUNT);
    VideoSource& Source() { return *static_cast<VideoSource*>(m_pSource.get()); }
    // The stream that the source made with its first start.
    IMFMediaStream& Stream() { return *m_pStream; }

    // These two take the source's events up to that of the stream when the source has no stream yet.
    HRESULT Start();
    HRESULT StartAt(LONGLONG hnsTime);
    HRESULT Start(const PROPVARIANT& varPosition);
    // Asks for a sample. The picture waits already.
    HRESULT Request(std::uint8_t uiNumber, double dDuration = 1.0, IUnknown* pToken = nullptr);

    // Events that wait, taken and as text.
    static std::vector<std::string> TakeEvents(IMFMediaEventGenerator& generator);
    // Takes the next event of the stream, which is a sample.
    SSampleView TakeSample();

    CPictureOwner m_owner;
    TOwned<IMFMediaSource> m_pSource;
    TOwned<IMFPresentationDescriptor> m_pDescriptor;
    TOwned<IMFMediaStream> m_pStream;
};
