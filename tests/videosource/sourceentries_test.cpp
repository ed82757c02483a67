// Every operation of source and stream in every state.
#include <functional>

#include <mferror.h>

#include "counted_item.h"
#include "events_fixture.h"

namespace
{

enum EState : int
{
    NEW,
    STOPPED,
    PAUSED,
    STARTED,
    SHUT_DOWN,
    STATE_COUNT
};
const char* const g_apszStates[] = {"new", "stopped", "paused", "started", "shut down"};

// What an operation gives and reports.
struct SOutcome
{
    HRESULT m_hr;
    std::vector<std::string> m_vEvents;
};

class SourceEntries : public SourceEventsTest
{
protected:
    void MakeIn(EState eState)
    {
        CEventRecord::SetHook(nullptr);
        if (m_pSource) m_pSource->Shutdown();
        m_pStream.reset();
        CEventRecord::Clear();
        m_owner.m_nEndOfInput = 0;
        if (eState == NEW) Make();
        if (eState == STOPPED) MakeStopped();
        if (eState == PAUSED) MakePaused();
        if (eState == STARTED) MakeStarted();
        if (eState == SHUT_DOWN)
        {
            MakeStarted();
            ASSERT_EQ(Source().Shutdown(), S_OK);
            CEventRecord::Take();
        }
    }

    // aOutcomes has one for each state, without that of a state in which there is nothing to call.
    void ExpectOutcomes(const char* pszName, const std::function<HRESULT()>& operation,
                        std::initializer_list<std::pair<EState, SOutcome>> outcomes)
    {
        for (const auto& [eState, outcome] : outcomes)
        {
            SCOPED_TRACE(std::string(pszName) + ", " + g_apszStates[eState]);
            MakeIn(eState);
            EXPECT_EQ(operation(), outcome.m_hr);
            EXPECT_EQ(CEventRecord::Take(), outcome.m_vEvents);
        }
    }
    void ExpectSameUnlessShutDown(const char* pszName, const std::function<HRESULT()>& operation, HRESULT hr,
                                  std::vector<std::string> vEvents = {})
    {
        ExpectOutcomes(pszName, operation,
                       {{NEW, {hr, vEvents}},
                        {STOPPED, {hr, vEvents}},
                        {PAUSED, {hr, vEvents}},
                        {STARTED, {hr, vEvents}},
                        {SHUT_DOWN, {MF_E_SHUTDOWN, {}}}});
    }
};

TEST_F(SourceEntries, StatesAreLeftByTheOperationsThatMayLeaveThem)
{
    ExpectOutcomes("Start", [this] { return Start(); },
                   {{NEW, {S_OK, {"source 205 stream", "source 201 at 0", "stream 202 at 0"}}},
                    {STOPPED, {S_OK, {"source 206 stream", "source 201 at 0", "stream 202 at 0"}}},
                    {PAUSED, {S_OK, {"source 206 stream", "source 201 at 0 actual 0", "stream 202 at 0"}}},
                    {STARTED, {S_OK, {"source 206 stream", "source 201 at 0 actual 0", "stream 202 at 0"}}},
                    {SHUT_DOWN, {MF_E_SHUTDOWN, {}}}});
    ExpectOutcomes("Start at a position", [this] { return StartAt(8); },
                   {{NEW, {S_OK, {"source 205 stream", "source 201 at 8", "stream 202 at 8"}}},
                    {STOPPED, {S_OK, {"source 206 stream", "source 201 at 8", "stream 202 at 8"}}},
                    {PAUSED, {S_OK, {"source 206 stream", "source 203 at 8", "stream 204 at 8"}}},
                    {STARTED, {S_OK, {"source 206 stream", "source 203 at 8", "stream 204 at 8"}}},
                    {SHUT_DOWN, {MF_E_SHUTDOWN, {}}}});
    ExpectOutcomes("Stop", [this] { return Source().Stop(); },
                   {{NEW, {MF_E_INVALID_STATE_TRANSITION, {}}},
                    {STOPPED, {S_OK, {"stream 208", "source 207"}}},
                    {PAUSED, {S_OK, {"stream 208", "source 207"}}},
                    {STARTED, {S_OK, {"stream 208", "source 207"}}},
                    {SHUT_DOWN, {MF_E_SHUTDOWN, {}}}});
    ExpectOutcomes("Pause", [this] { return Source().Pause(); },
                   {{NEW, {MF_E_INVALID_STATE_TRANSITION, {}}},
                    {STOPPED, {MF_E_INVALID_STATE_TRANSITION, {}}},
                    {PAUSED, {MF_E_INVALID_STATE_TRANSITION, {}}},
                    {STARTED, {S_OK, {"stream 210", "source 209"}}},
                    {SHUT_DOWN, {MF_E_SHUTDOWN, {}}}});
    ExpectOutcomes("Shutdown", [this] { return Source().Shutdown(); },
                   {{NEW, {S_OK, {"source shutdown"}}},
                    {STOPPED, {S_OK, {"stream shutdown", "source shutdown"}}},
                    {PAUSED, {S_OK, {"stream shutdown", "source shutdown"}}},
                    {STARTED, {S_OK, {"stream shutdown", "source shutdown"}}},
                    {SHUT_DOWN, {MF_E_SHUTDOWN, {}}}});
}

TEST_F(SourceEntries, OtherOperationsOfTheSourceServeInEveryStateButAfterTheShutdown)
{
    ExpectSameUnlessShutDown(
        "GetCharacteristics",
        [this] {
            DWORD dwFlags = 0;
            const HRESULT hr = Source().GetCharacteristics(&dwFlags);
            EXPECT_EQ(dwFlags, SUCCEEDED(hr) ? 6U : 0U);
            return hr;
        },
        S_OK);
    ExpectSameUnlessShutDown(
        "CreatePresentationDescriptor",
        [this] {
            IMFPresentationDescriptor* pDescriptor = nullptr;
            const HRESULT hr = Source().CreatePresentationDescriptor(&pDescriptor);
            EXPECT_EQ(pDescriptor != nullptr, SUCCEEDED(hr));
            if (pDescriptor != nullptr) pDescriptor->Release();
            return hr;
        },
        S_OK);
    ExpectSameUnlessShutDown(
        "GetEvent",
        [this] {
            TakeEvents(Source());
            IMFMediaEvent* pEvent = nullptr;
            return Source().GetEvent(MF_EVENT_FLAG_NO_WAIT, &pEvent);
        },
        MF_E_NO_EVENTS_AVAILABLE);
    ExpectSameUnlessShutDown("QueueEvent", [this] { return Source().QueueEvent(MEError, GUID_NULL, E_FAIL, nullptr); },
                             S_OK, {"source 1 failed 80004005"});
    // S_FALSE is what the recorded queues give.
    ExpectSameUnlessShutDown(
        "BeginGetEvent", [this] { return Source().BeginGetEvent(nullptr, nullptr); }, S_FALSE);
    ExpectSameUnlessShutDown(
        "EndGetEvent", [this] { return Source().EndGetEvent(nullptr, nullptr); }, S_FALSE);
}

// The shutdown is reported before what else is wrong with a call.
TEST_F(SourceEntries, AfterTheShutdownEveryCallOfTheSourceIsRefusedWhateverItsArguments)
{
    MakeIn(SHUT_DOWN);
    EXPECT_EQ(Source().GetCharacteristics(nullptr), HRESULT{MF_E_SHUTDOWN});
    EXPECT_EQ(Source().CreatePresentationDescriptor(nullptr), HRESULT{MF_E_SHUTDOWN});
    EXPECT_EQ(Source().Start(nullptr, nullptr, nullptr), HRESULT{MF_E_SHUTDOWN});
    EXPECT_EQ(Source().GetEvent(0, nullptr), HRESULT{MF_E_SHUTDOWN});
    // Counting references and asking for interfaces go on.
    EXPECT_TRUE(Query<IMFMediaSource>(&Source(), IID_IMFMediaSource));
}

TEST_F(SourceEntries, NullPointersAreRefused)
{
    MakeIn(STARTED);
    EXPECT_EQ(Source().GetCharacteristics(nullptr), HRESULT{E_POINTER});
    EXPECT_EQ(Source().CreatePresentationDescriptor(nullptr), HRESULT{E_POINTER});
    EXPECT_EQ(Source().QueryInterface(IID_IUnknown, nullptr), HRESULT{E_POINTER});
    EXPECT_EQ(Stream().GetMediaSource(nullptr), HRESULT{E_POINTER});
    EXPECT_EQ(Stream().GetStreamDescriptor(nullptr), HRESULT{E_POINTER});
    EXPECT_EQ(Stream().QueryInterface(IID_IUnknown, nullptr), HRESULT{E_POINTER});
}

TEST_F(SourceEntries, ARequestIsServedAsTheStateSays)
{
    const auto request = [this] { return Request(1); };
    ExpectOutcomes("RequestSample", request,
                   {{STOPPED, {MF_E_INVALIDREQUEST, {}}},
                    {PAUSED, {S_OK, {}}},
                    {STARTED, {S_OK, {"stream 213 sample 0+10000"}}},
                    {SHUT_DOWN, {E_UNEXPECTED, {}}}});
}

TEST_F(SourceEntries, OtherOperationsOfTheStreamServeInEveryStateButAfterTheShutdown)
{
    const auto expect = [this](const char* pszName, const std::function<HRESULT()>& operation, HRESULT hr,
                               HRESULT hrShutDown, std::vector<std::string> vEvents = {}) {
        ExpectOutcomes(pszName, operation,
                       {{STOPPED, {hr, vEvents}},
                        {PAUSED, {hr, vEvents}},
                        {STARTED, {hr, vEvents}},
                        {SHUT_DOWN, {hrShutDown, {}}}});
    };
    expect(
        "GetMediaSource",
        [this] {
            IMFMediaSource* pSource = nullptr;
            const HRESULT hr = Stream().GetMediaSource(&pSource);
            EXPECT_EQ(pSource, SUCCEEDED(hr) ? m_pSource.get() : nullptr);
            if (pSource != nullptr) pSource->Release();
            return hr;
        },
        S_OK, E_UNEXPECTED);
    expect(
        "GetStreamDescriptor",
        [this] {
            BOOL bSelected = FALSE;
            IMFStreamDescriptor* pExpected = nullptr;
            EXPECT_EQ(m_pDescriptor->GetStreamDescriptorByIndex(0, &bSelected, &pExpected), S_OK);
            IMFStreamDescriptor* pDescriptor = nullptr;
            const HRESULT hr = Stream().GetStreamDescriptor(&pDescriptor);
            EXPECT_EQ(pDescriptor, SUCCEEDED(hr) ? pExpected : nullptr);
            pExpected->Release();
            if (pDescriptor != nullptr) pDescriptor->Release();
            return hr;
        },
        S_OK, E_UNEXPECTED);
    expect(
        "GetEvent",
        [this] {
            TakeEvents(Stream());
            IMFMediaEvent* pEvent = nullptr;
            return Stream().GetEvent(MF_EVENT_FLAG_NO_WAIT, &pEvent);
        },
        MF_E_NO_EVENTS_AVAILABLE, MF_E_SHUTDOWN);
    expect("QueueEvent", [this] { return Stream().QueueEvent(MEError, GUID_NULL, E_FAIL, nullptr); }, S_OK,
           MF_E_SHUTDOWN, {"stream 1 failed 80004005"});
    expect(
        "BeginGetEvent", [this] { return Stream().BeginGetEvent(nullptr, nullptr); }, S_FALSE, MF_E_SHUTDOWN);
    expect(
        "EndGetEvent", [this] { return Stream().EndGetEvent(nullptr, nullptr); }, S_FALSE, MF_E_SHUTDOWN);
}

}  // namespace
