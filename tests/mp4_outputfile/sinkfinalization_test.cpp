// The end of a file that a scripted sink writes, with a clock that passes at once.
#include "mp4_outputfile/sinkfinalization.h"

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <mfapi.h>

#include "passing_clock.h"
#include "support/idle_async_result.h"
#include "support/short_memory.h"
#include "support/temporary_folder.h"

namespace
{

using testing::ElementsAre;

// The result that the callback gets. It is gone after its last release.
class CFinalResult : public CIdleAsyncResult
{
public:
    explicit CFinalResult(std::atomic<int>& nResults) : m_nResults(nResults) { ++m_nResults; }
    ~CFinalResult() override { --m_nResults; }

private:
    std::atomic<int>& m_nResults;
};

// Calls back when and how a test asks for it.
class CScriptedSink : public IMFFinalizableMediaSink
{
public:
    ~CScriptedSink()
    {
        Join();
        if (m_pCallback != nullptr) m_pCallback->Release();
    }

    STDMETHODIMP QueryInterface(REFIID riid, void** ppObject) override
    {
        const bool bKnown = m_bFinalizable && riid == IID_IMFFinalizableMediaSink;
        *ppObject = bKnown ? this : nullptr;
        if (bKnown) AddRef();
        return bKnown ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_nRefCount; }
    STDMETHODIMP_(ULONG) Release() override { return --m_nRefCount; }

    STDMETHODIMP GetCharacteristics(DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP AddStreamSink(DWORD, IMFMediaType*, IMFStreamSink**) override { return E_NOTIMPL; }
    STDMETHODIMP RemoveStreamSink(DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP GetStreamSinkCount(DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP GetStreamSinkByIndex(DWORD, IMFStreamSink**) override { return E_NOTIMPL; }
    STDMETHODIMP GetStreamSinkById(DWORD, IMFStreamSink**) override { return E_NOTIMPL; }
    STDMETHODIMP SetPresentationClock(IMFPresentationClock*) override { return E_NOTIMPL; }
    STDMETHODIMP GetPresentationClock(IMFPresentationClock**) override { return E_NOTIMPL; }
    STDMETHODIMP Shutdown() override
    {
        m_vCalls.emplace_back("Shutdown");
        return S_OK;
    }

    STDMETHODIMP BeginFinalize(IMFAsyncCallback* pCallback, IUnknown* pState) override
    {
        m_vCalls.emplace_back(pState == nullptr ? "BeginFinalize" : "BeginFinalize with a state");
        if (FAILED(m_hrBegin)) return m_hrBegin;
        pCallback->AddRef();
        m_pCallback = pCallback;
        if (m_funcBegun) m_funcBegun();
        return S_OK;
    }
    STDMETHODIMP EndFinalize(IMFAsyncResult* pResult) override
    {
        m_vCalls.emplace_back("EndFinalize");
        m_pEnded = pResult;
        return E_FAIL;  // isn't looked at
    }

    // The result lives no longer than this call, unless the callback counts it.
    void CallBack()
    {
        auto* const pResult = new CFinalResult(m_nResults);
        m_pInvokedWith = pResult;
        EXPECT_EQ(m_pCallback->Invoke(pResult), S_OK);
        pResult->Release();
    }
    void CallBackOnAThread()
    {
        m_worker = std::thread([this] { CallBack(); });
    }
    void Join()
    {
        if (m_worker.joinable()) m_worker.join();
    }

    bool m_bFinalizable = true;
    HRESULT m_hrBegin = S_OK;
    std::function<void()> m_funcBegun;

    std::vector<std::string> m_vCalls;
    IMFAsyncCallback* m_pCallback = nullptr;  // one reference
    IMFAsyncResult* m_pInvokedWith = nullptr;
    IMFAsyncResult* m_pEnded = nullptr;
    std::atomic<int> m_nResults{0};  // that live
    std::atomic<ULONG> m_nRefCount{1};

private:
    std::thread m_worker;
};

class SinkFinalization : public testing::Test
{
protected:
    ~SinkFinalization() override { EXPECT_EQ(m_sink.m_nRefCount, 1U) << "the sink's references"; }

    void Finalize() { FinalizeSink(&m_sink, L"no such folder/target.mp4"); }

    CPassingClock m_clock;
    CScriptedSink m_sink;
};

TEST_F(SinkFinalization, ASinkThatCallsBackBeforeBeginReturnsIsFinished)
{
    m_sink.m_funcBegun = [this] { m_sink.CallBack(); };
    Finalize();
    EXPECT_THAT(m_sink.m_vCalls, ElementsAre("BeginFinalize", "EndFinalize", "Shutdown"));
    EXPECT_EQ(m_sink.m_pEnded, m_sink.m_pInvokedWith);
}

TEST_F(SinkFinalization, TheResultLivesUntilItHasBeenUsed)
{
    m_clock.m_funcPassed = [this] {
        if (m_clock.GetPassedMs() == 1000) m_sink.CallBackOnAThread();
        Sleep(1);
    };
    Finalize();
    EXPECT_THAT(m_sink.m_vCalls, ElementsAre("BeginFinalize", "EndFinalize", "Shutdown"));
    EXPECT_EQ(m_sink.m_pEnded, m_sink.m_pInvokedWith);
    m_sink.Join();
    EXPECT_EQ(m_sink.m_nResults, 0);
}

TEST_F(SinkFinalization, TheCallbackIsLeftAllocated)
{
    m_sink.m_funcBegun = [this] { m_sink.CallBack(); };
    Finalize();
    m_sink.m_pCallback->AddRef();
    EXPECT_EQ(m_sink.m_pCallback->Release(), 2U);  // the test's and the one of its creation
}

TEST_F(SinkFinalization, TheCallbackIsAnAsyncCallbackForTheDefaultQueue)
{
    m_sink.m_funcBegun = [this] { m_sink.CallBack(); };
    Finalize();
    for (const IID& iid : {IID_IUnknown, IID_IMFAsyncCallback})
    {
        IUnknown* pObject = nullptr;
        EXPECT_EQ(m_sink.m_pCallback->QueryInterface(iid, reinterpret_cast<void**>(&pObject)), S_OK);
        EXPECT_EQ(pObject, m_sink.m_pCallback);
        pObject->Release();
    }
    IUnknown* pOther = m_sink.m_pCallback;
    EXPECT_EQ(m_sink.m_pCallback->QueryInterface(IID_IMFMediaSink, reinterpret_cast<void**>(&pOther)), E_NOINTERFACE);
    EXPECT_EQ(pOther, nullptr);
    DWORD dwFlags = 7;
    DWORD dwQueue = 8;
    EXPECT_EQ(m_sink.m_pCallback->GetParameters(&dwFlags, &dwQueue), S_OK);
    EXPECT_EQ(dwFlags, 7U);
    EXPECT_EQ(dwQueue, 8U);
}

TEST_F(SinkFinalization, ASinkThatNeedsNoneIsLeftAsItIs)
{
    m_sink.m_bFinalizable = false;
    Finalize();
    EXPECT_TRUE(m_sink.m_vCalls.empty());
}

TEST_F(SinkFinalization, ABeginThatFailsIsNotWaitedFor)
{
    m_sink.m_hrBegin = E_FAIL;
    Finalize();
    EXPECT_THAT(m_sink.m_vCalls, ElementsAre("BeginFinalize", "Shutdown"));
}

TEST_F(SinkFinalization, ASinkThatCallsBackMuchLaterIsFinished)
{
    m_clock.m_funcPassed = [this] {
        if (m_clock.GetPassedMs() == 9 * 60 * 1000) m_sink.CallBack();
    };
    Finalize();
    EXPECT_THAT(m_sink.m_vCalls, ElementsAre("BeginFinalize", "EndFinalize", "Shutdown"));
}

// A byte every nine minutes, five times.
TEST_F(SinkFinalization, ASinkWhoseTargetGrowsIsWaitedForAsLongAsItDoes)
{
    const test_support::TemporaryFile target;
    std::size_t uiSize = 0;
    m_clock.m_funcPassed = [&] {
        if (m_clock.GetPassedMs() < (uiSize + 1) * 9 * 60 * 1000) return;
        test_support::WriteBytes(target.Path(), std::vector<std::uint8_t>(++uiSize));
        if (uiSize == 5) m_sink.CallBack();
    };
    FinalizeSink(&m_sink, target.Path().wstring().c_str());
    EXPECT_THAT(m_sink.m_vCalls, ElementsAre("BeginFinalize", "EndFinalize", "Shutdown"));
    EXPECT_EQ(uiSize, 5U);
}

// Its shutdown may wait for the end that never comes.
TEST_F(SinkFinalization, ASinkThatNeverCallsBackIsLeftAsItIsAfterTenMinutesAndMayCallBackLater)
{
    Finalize();
    EXPECT_THAT(m_sink.m_vCalls, ElementsAre("BeginFinalize"));
    EXPECT_EQ(m_clock.GetPassedMs(), 10U * 60 * 1000);
    m_sink.CallBack();
    m_sink.m_pInvokedWith->Release();  // what the callback keeps
}

TEST_F(SinkFinalization, WithoutMemoryTheSinkIsOnlyShutDown)
{
    {
        const CShortMemory memory(1);
        Finalize();
    }
    EXPECT_THAT(m_sink.m_vCalls, ElementsAre("Shutdown"));
}

}  // namespace
