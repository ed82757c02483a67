// A media source between the thread that hands pictures over and those of a session.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <random>
#include <thread>

#include <gtest/gtest.h>

#include <mfapi.h>
#include <mferror.h>

#include "source_fixture.h"
#include "support/repetitions.h"

namespace
{

class SourceThreads : public VideoSourceTest
{
protected:
    void MakeStarted()
    {
        Make();
        ASSERT_EQ(Start(), S_OK);
        TakeEvents(Source());
        TakeEvents(Stream());
    }

    std::future<HRESULT> RequestOnAThread()
    {
        return std::async(std::launch::async, [this] { return Stream().RequestSample(nullptr); });
    }

    static bool Waits(const std::future<HRESULT>& result)
    {
        return result.wait_for(std::chrono::milliseconds(20)) == std::future_status::timeout;
    }

    void AwaitTaken()
    {
        WaitForSingleObject(m_owner.m_hFrameTaken, INFINITE);
        ResetEvent(m_owner.m_hFrameTaken);
    }
};

TEST_F(SourceThreads, ARequestWaitsForAPicture)
{
    MakeStarted();
    auto request = RequestOnAThread();
    EXPECT_TRUE(Waits(request));
    m_owner.HandOver(5);
    EXPECT_EQ(request.get(), S_OK);
    EXPECT_EQ(TakeSample().m_vBytes, CPictureOwner::PictureOf(5));
}

TEST_F(SourceThreads, ARequestThatWaitsHoldsUpNothingElse)
{
    MakeStarted();
    auto request = RequestOnAThread();
    EXPECT_TRUE(Waits(request));
    EXPECT_EQ(Source().Pause(), S_OK);
    EXPECT_EQ(Start(), S_OK);
    EXPECT_EQ(StartAt(4), S_OK);
    EXPECT_EQ(Source().Stop(), S_OK);
    EXPECT_EQ(Start(), S_OK);
    IMFStreamDescriptor* pDescriptor = nullptr;
    EXPECT_EQ(Stream().GetStreamDescriptor(&pDescriptor), S_OK);
    pDescriptor->Release();
    TakeEvents(Stream());
    m_owner.HandOver(5);
    EXPECT_EQ(request.get(), S_OK);
    EXPECT_EQ(TakeSample().m_vBytes, CPictureOwner::PictureOf(5));
}

// The event that announces a picture stays set until it is reset, and would let both go.
TEST_F(SourceThreads, TwoRequestsThatWaitTakeAPictureEach)
{
    MakeStarted();
    auto first = RequestOnAThread();
    EXPECT_TRUE(Waits(first));
    auto second = RequestOnAThread();
    EXPECT_TRUE(Waits(second));
    m_owner.HandOver(1);
    EXPECT_EQ(first.get(), S_OK);
    EXPECT_TRUE(Waits(second));
    EXPECT_TRUE(m_owner.TakeTaken());
    m_owner.HandOver(2);
    EXPECT_EQ(second.get(), S_OK);
    EXPECT_EQ(TakeSample().m_vBytes, CPictureOwner::PictureOf(1));
    EXPECT_EQ(TakeSample().m_vBytes, CPictureOwner::PictureOf(2));
    EXPECT_TRUE(TakeEvents(Stream()).empty());
}

// A session forgets its requests when it stops, and makes new ones when it starts again.
TEST_F(SourceThreads, ARequestFromBeforeAStopAndOneFromAfterItTakeAPictureEach)
{
    MakeStarted();
    auto before = RequestOnAThread();
    EXPECT_TRUE(Waits(before));
    ASSERT_EQ(Source().Stop(), S_OK);
    ASSERT_EQ(Start(), S_OK);
    TakeEvents(Stream());
    auto after = RequestOnAThread();
    EXPECT_TRUE(Waits(after));
    m_owner.HandOver(1);
    EXPECT_EQ(before.get(), S_OK);
    EXPECT_TRUE(Waits(after));
    m_owner.HandOver(2);
    EXPECT_EQ(after.get(), S_OK);
    EXPECT_EQ(TakeSample().m_vBytes, CPictureOwner::PictureOf(1));
    EXPECT_EQ(TakeSample().m_vBytes, CPictureOwner::PictureOf(2));
}

TEST_F(SourceThreads, APictureThatComesAfterAStopIsLost)
{
    MakeStarted();
    auto request = RequestOnAThread();
    EXPECT_TRUE(Waits(request));
    ASSERT_EQ(Source().Stop(), S_OK);
    TakeEvents(Stream());
    m_owner.HandOver(1);
    EXPECT_EQ(request.get(), HRESULT{MF_E_INVALIDREQUEST});
    EXPECT_TRUE(m_owner.TakeTaken());
    EXPECT_TRUE(TakeEvents(Stream()).empty());
}

TEST_F(SourceThreads, AShutdownDoesNotWaitForRequestsAndTheyFailWhenTheyAreWoken)
{
    MakeStarted();
    auto first = RequestOnAThread();
    auto second = RequestOnAThread();
    EXPECT_TRUE(Waits(first));
    EXPECT_TRUE(Waits(second));
    EXPECT_EQ(Source().Shutdown(), S_OK);
    SetEvent(m_owner.m_hFrameReady);
    EXPECT_EQ(first.get(), HRESULT{E_UNEXPECTED});
    EXPECT_EQ(second.get(), HRESULT{E_UNEXPECTED});
    EXPECT_FALSE(m_owner.TakeTaken());
}

// Source and stream go with the request that still uses them.
TEST_F(SourceThreads, ARequestOutlivesEveryOtherReference)
{
    MakeStarted();
    auto request = std::async(std::launch::async, [pStream = m_pStream.get()] {
        pStream->AddRef();
        const HRESULT hr = pStream->RequestSample(nullptr);
        pStream->Release();
        return hr;
    });
    EXPECT_TRUE(Waits(request));
    EXPECT_EQ(Source().Shutdown(), S_OK);
    m_pDescriptor.reset();
    m_pStream.reset();
    m_pSource.reset();
    SetEvent(m_owner.m_hFrameReady);
    EXPECT_EQ(request.get(), HRESULT{E_UNEXPECTED});
}

TEST_F(SourceThreads, AWaitForAnEventHoldsNoLockAndEndsWithTheShutdown)
{
    MakeStarted();
    const auto take = [](IMFMediaEventGenerator& generator) {
        IMFMediaEvent* pEvent = nullptr;
        return generator.GetEvent(0, &pEvent);
    };
    auto ofSource = std::async(std::launch::async, [&] { return take(Source()); });
    auto ofStream = std::async(std::launch::async, [&] { return take(Stream()); });
    EXPECT_TRUE(Waits(ofSource));
    EXPECT_TRUE(Waits(ofStream));
    DWORD dwFlags = 0;
    EXPECT_EQ(Source().GetCharacteristics(&dwFlags), S_OK);
    EXPECT_EQ(Source().Shutdown(), S_OK);
    EXPECT_EQ(ofSource.get(), HRESULT{MF_E_SHUTDOWN});
    EXPECT_EQ(ofStream.get(), HRESULT{MF_E_SHUTDOWN});
}

// A session asks for a sample as soon as the stream has reported its start. The call that starts may not have returned.
TEST_F(SourceThreads, ARequestThatFollowsTheStartEventAtOnceFindsTheSourceStarted)
{
    MakeStarted();
    const int nRounds = test_support::Repetitions(2000);
    for (int nRound = 0; nRound < nRounds; ++nRound)
    {
        ASSERT_EQ(Source().Stop(), S_OK);
        TakeEvents(Source());
        TakeEvents(Stream());
        m_owner.HandOver(1);
        auto request = std::async(std::launch::async, [this] {
            IMFMediaEvent* pEvent = nullptr;
            const HRESULT hr = Stream().GetEvent(0, &pEvent);
            if (pEvent != nullptr) pEvent->Release();
            return FAILED(hr) ? hr : Stream().RequestSample(nullptr);
        });
        ASSERT_EQ(Start(), S_OK);
        ASSERT_EQ(request.get(), S_OK) << nRound;
    }
}

// A session that stops, pauses, seeks and starts at will, while its requests are served: each picture that was taken
// without an error comes once, in the order of the pictures.
TEST_F(SourceThreads, NoPictureComesTwiceWhateverTheSessionDoes)
{
    MakeStarted();
    const int nPictures = std::min(250, test_support::Repetitions(250));
    const auto uiLast = static_cast<std::uint8_t>(nPictures + 1);
    std::atomic<bool> bCommanded{false};
    std::atomic<bool> bDone{false};
    const auto request = [&] {
        while (!bDone)
        {
            Stream().RequestSample(nullptr);
        }
    };
    std::thread aRequests[] = {std::thread(request), std::thread(request)};
    std::thread commands([&] {
        std::mt19937 random(7);
        while (!bCommanded)
        {
            switch (random() % 5)
            {
            case 0:
                Source().Pause();
                break;
            case 1:
                Source().Stop();
                break;
            case 2:
                StartAt(static_cast<LONGLONG>(random() % 100));
                break;
            default:
                Start();
                break;
            }
            TakeEvents(Source());
            std::this_thread::yield();
        }
    });
    auto events = std::async(std::launch::async, [this, uiLast] {
        std::vector<std::uint8_t> vNumbers;
        IMFMediaEvent* pEvent = nullptr;
        while ((vNumbers.empty() || vNumbers.back() != uiLast) && SUCCEEDED(Stream().GetEvent(0, &pEvent)))
        {
            const TOwned<IMFMediaEvent> pOwned(pEvent);
            MediaEventType eType = MEUnknown;
            pEvent->GetType(&eType);
            if (eType != MEMediaSample) continue;
            PROPVARIANT varSample;
            PropVariantInit(&varSample);
            pEvent->GetValue(&varSample);
            const auto pSample = Query<IMFSample>(varSample.punkVal, IID_IMFSample);
            PropVariantClear(&varSample);
            IMFMediaBuffer* pBuffer = nullptr;
            BYTE* pbBytes = nullptr;
            pSample->GetBufferByIndex(0, &pBuffer);
            pBuffer->Lock(&pbBytes, nullptr, nullptr);
            vNumbers.push_back(*pbBytes);
            pBuffer->Unlock();
            pBuffer->Release();
        }
        return vNumbers;
    });

    for (int n = 1; n <= nPictures; ++n)
    {
        m_owner.HandOver(static_cast<std::uint8_t>(n));
        AwaitTaken();
    }
    bCommanded = true;
    commands.join();
    // The commands may have refused every picture so far. This one comes to a source that stays started.
    EXPECT_EQ(Start(), S_OK);
    m_owner.HandOver(uiLast);
    AwaitTaken();
    EXPECT_EQ(events.wait_for(std::chrono::seconds(60)), std::future_status::ready);
    bDone = true;
    EXPECT_EQ(Source().Shutdown(), S_OK);
    SetEvent(m_owner.m_hFrameReady);
    for (std::thread& thread : aRequests)
    {
        thread.join();
    }
    const std::vector<std::uint8_t> vNumbers = events.get();
    EXPECT_TRUE(std::is_sorted(vNumbers.begin(), vNumbers.end()));
    EXPECT_EQ(std::adjacent_find(vNumbers.begin(), vNumbers.end()), vNumbers.end());
    ASSERT_FALSE(vNumbers.empty());
    EXPECT_EQ(vNumbers.back(), uiLast);
}

// The shutdown comes at any moment of a request.
TEST_F(SourceThreads, AShutdownAtAnyMomentEndsTheRequests)
{
    const int nRounds = test_support::Repetitions(300);
    for (int nRound = 0; nRound < nRounds; ++nRound)
    {
        if (m_pSource) m_pSource->Shutdown();
        m_pStream.reset();
        m_pDescriptor.reset();
        m_owner.m_nEndOfInput = 0;
        ResetEvent(m_owner.m_hFrameReady);
        MakeStarted();
        std::thread requests([this] {
            while (Stream().RequestSample(nullptr) == S_OK)
            {}
        });
        std::atomic<bool> bEnded{false};
        std::thread host([&] {
            for (int nPicture = 0; nPicture < 4 && !bEnded; ++nPicture)
            {
                m_owner.HandOver(1);
                while (!bEnded && WaitForSingleObject(m_owner.m_hFrameTaken, 1) != WAIT_OBJECT_0)
                {}
                ResetEvent(m_owner.m_hFrameTaken);
            }
        });
        for (int nYield = 0; nYield < nRound % 16; ++nYield)
        {
            std::this_thread::yield();
        }
        EXPECT_EQ(Source().Shutdown(), S_OK);
        SetEvent(m_owner.m_hFrameReady);
        requests.join();
        bEnded = true;
        host.join();
        ResetEvent(m_owner.m_hFrameTaken);
    }
}

}  // namespace
