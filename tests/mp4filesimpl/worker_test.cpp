// Where the worker plays, and which picture comes under which index: on a session whose every step is known.
#include <algorithm>
#include <chrono>
#include <future>
#include <random>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "scripted_file.h"

namespace
{

using testing::ElementsAre;

class Worker : public testing::Test
{
protected:
    CFormatReference m_format;
};

SScript EvenScript(std::size_t uiCount)
{
    SScript script;
    script.m_vTimesMs = EvenTimes(uiCount, 40);
    return script;
}

// The state of the store at a start.
struct SSetUp
{
    std::uint64_t m_uiStart;
    std::uint64_t m_uiEnd;
    std::uint64_t m_uiLast;
    std::size_t m_uiStored;

    bool operator==(const SSetUp&) const = default;
};

// Notes the window of every start of a script's session. The store is filled in by the test, once there is one.
struct SWindowNotes
{
    std::atomic<CFrameStore*> m_pStore{nullptr};
    std::mutex m_mtx;
    std::vector<SSetUp> m_vSetUps;

    std::function<void(int)> Noter()
    {
        return [this](int) {
            const SFrameWindow window = m_pStore.load()->GetWindow();
            const std::lock_guard notes(m_mtx);
            m_vSetUps.push_back({window.m_uiStart, window.m_uiEnd, window.m_uiLast, m_pStore.load()->CountFrames()});
        };
    }

    std::vector<SSetUp> Get()
    {
        const std::lock_guard notes(m_mtx);
        return m_vSetUps;
    }
};

// Holds after these pictures.
std::function<bool(std::size_t)> HoldAfter(std::set<std::size_t> pictures)
{
    return [pictures](std::size_t uiPicture) { return pictures.contains(uiPicture); };
}

TEST_F(Worker, FramesReadInOrderAreTheRightOnes)
{
    CScriptedFile file(m_format.Get(), EvenScript(300));
    for (std::uint32_t i = 0; i < 300; ++i)
        ASSERT_EQ(file.ReadNumber(i), static_cast<int>(i));
}

TEST_F(Worker, FramesReadBackwardsAreTheRightOnes)
{
    CScriptedFile file(m_format.Get(), EvenScript(60));
    for (std::uint32_t i = 60; i-- > 0;)
        ASSERT_EQ(file.ReadNumber(i), static_cast<int>(i));
}

TEST_F(Worker, FramesReadAtRandomAreTheRightOnes)
{
    CScriptedFile file(m_format.Get(), EvenScript(500));
    std::mt19937 random(4711);
    for (int i = 0; i < 200; ++i)
    {
        const std::uint32_t uiIndex = random() % 500;
        ASSERT_EQ(file.ReadNumber(uiIndex), static_cast<int>(uiIndex)) << i;
        if (random() % 3 != 0) continue;
        ASSERT_EQ(file.ReadNumber(uiIndex), static_cast<int>(uiIndex)) << i << ", again";
    }
}

TEST_F(Worker, TheFirstWindowOfALongFileIs48Frames)
{
    SWindowNotes notes;
    SScript script = EvenScript(200);
    script.m_fnOnStart = notes.Noter();
    CScriptedFile file(m_format.Get(), script);
    notes.m_pStore = &file.Store();
    EXPECT_EQ(file.ReadNumber(0), 0);
    file.WaitForRest();
    ASSERT_FALSE(notes.Get().empty());
    EXPECT_EQ(notes.Get()[0], (SSetUp{0, 47, 47, 0}));
    EXPECT_THAT(file.Session().Calls(), testing::Not(testing::Contains("SetRate 0")));
}

TEST_F(Worker, TheFirstWindowOfAShortFileEndsAtItsLastFrame)
{
    SWindowNotes notes;
    SScript script = EvenScript(10);
    script.m_fnOnStart = notes.Noter();
    CScriptedFile file(m_format.Get(), script);
    notes.m_pStore = &file.Store();
    EXPECT_EQ(file.ReadNumber(0), 0);
    file.WaitForRest();
    EXPECT_THAT(notes.Get(), ElementsAre(SSetUp{0, 9, 9, 0}));
    EXPECT_EQ(file.ReadNumber(9), 9);
}

TEST_F(Worker, AJumpBackwardsEmptiesTheStoreSetsTheRateAndStartsAtTheFrame)
{
    SWindowNotes notes;
    SScript script = EvenScript(300);
    script.m_fnHold = HoldAfter({108});
    script.m_fnOnStart = notes.Noter();
    CScriptedFile file(m_format.Get(), script);
    notes.m_pStore = &file.Store();
    EXPECT_EQ(file.ReadNumber(200), 200);
    file.WaitForRest();
    const std::size_t uiBefore = file.Session().Calls().size();
    const std::size_t uiSetUps = notes.Get().size();

    EXPECT_EQ(file.ReadNumber(100), 100);
    file.WaitForRest();
    std::vector<std::string> vCalls = file.Session().Calls();
    vCalls.erase(vCalls.begin(), vCalls.begin() + static_cast<std::ptrdiff_t>(uiBefore));
    EXPECT_THAT(vCalls, ElementsAre("SetRate 0", "Start 4000", "Pause"));
    // The window ends at its start when the one before began after the request.
    EXPECT_EQ(notes.Get().at(uiSetUps), (SSetUp{100, 100, 299, 0}));
    EXPECT_FALSE(file.IsStored(200));
    EXPECT_TRUE(file.IsStored(110));  // 8 + 1, and the two that were on their way
    EXPECT_FALSE(file.IsStored(111));
}

// --- walks back

// So long that no play comes to its end before it is paused.
constexpr std::size_t LONG = 10'000;

// Reads these frames and lets the worker come to rest after each. Returns the calls that the session got meanwhile.
std::vector<std::string> CallsOfReading(CScriptedFile& file, const std::vector<std::uint32_t>& vFrames)
{
    const std::size_t uiBefore = file.Session().Calls().size();
    for (const std::uint32_t ui : vFrames)
    {
        EXPECT_EQ(file.ReadNumber(ui), static_cast<int>(ui));
        file.WaitForRest();
    }
    const std::vector<std::string> vCalls = file.Session().Calls();
    return {vCalls.begin() + static_cast<std::ptrdiff_t>(uiBefore), vCalls.end()};
}

TEST_F(Worker, ASingleStepBackIsAPlayFromItsFrame)
{
    CScriptedFile file(m_format.Get(), EvenScript(LONG));
    CallsOfReading(file, {0, 200});
    EXPECT_THAT(CallsOfReading(file, {199}), ElementsAre("SetRate 0", "Start 7960", "Pause"));
}

TEST_F(Worker, TheSecondStepBackBringsAWindowInOnePlayThatTheNextStepsNeedNoOtherFor)
{
    CScriptedFile file(m_format.Get(), EvenScript(LONG));
    CallsOfReading(file, {0, 200, 199});
    EXPECT_THAT(CallsOfReading(file, {198}), ElementsAre("SetRate 0", "Start 6040", "Pause"));  // frame 151
    std::vector<std::uint32_t> vSteps;
    for (std::uint32_t ui = 197; ui >= 151; --ui)
        vSteps.push_back(ui);
    EXPECT_THAT(CallsOfReading(file, vSteps), testing::IsEmpty());
    EXPECT_THAT(CallsOfReading(file, {150}), ElementsAre("SetRate 0", "Start 4120", "Pause"));  // frame 103
    EXPECT_TRUE(file.IsStored(103));
    EXPECT_FALSE(file.IsStored(102));
}

TEST_F(Worker, AWalkBackNearTheBeginningStartsThere)
{
    CScriptedFile file(m_format.Get(), EvenScript(LONG));
    CallsOfReading(file, {0, 200, 20, 19});
    EXPECT_THAT(CallsOfReading(file, {18, 17, 1, 0}), ElementsAre("SetRate 0", "Start 0", "Pause"));
}

TEST_F(Worker, AWalkBackThatAsksForEachFrameTwiceIsOne)
{
    CScriptedFile file(m_format.Get(), EvenScript(LONG));
    CallsOfReading(file, {0, 200, 200, 199, 199});
    EXPECT_THAT(CallsOfReading(file, {198, 198, 197, 197}), ElementsAre("SetRate 0", "Start 6040", "Pause"));
}

TEST_F(Worker, AWalkThatTurnsRoundReadsOn)
{
    CScriptedFile file(m_format.Get(), EvenScript(LONG));
    for (const int nFrame : {200, 199, 198, 197, 198, 199, 200, 201, 202, 203, 202, 201, 200, 199, 150, 151, 149, 148})
        ASSERT_EQ(file.ReadNumber(static_cast<std::uint32_t>(nFrame)), nFrame);
}

// With two pictures at most a window is one frame.
TEST_F(Worker, AWalkBackBringsNoMoreThanTheStoreTakes)
{
    SScript script = EvenScript(LONG);
    CScriptedFile file(m_format.Get(), script, script.m_vTimesMs, 1);
    CallsOfReading(file, {200, 199});
    EXPECT_THAT(CallsOfReading(file, {198}), ElementsAre("SetRate 0", "Start 7920", "Pause"));
    for (std::uint32_t ui = 197; ui > 100; --ui)
        ASSERT_EQ(file.ReadNumber(ui), static_cast<int>(ui));
}

TEST_F(Worker, AWalkBackOverFramesThatTheFileDoesNotHaveRefusesThose)
{
    CScriptedFile file(m_format.Get(), EvenScript(100), EvenTimes(110, 40));
    EXPECT_EQ(file.ReadNumber(0), 0);
    for (std::uint32_t ui = 110; ui-- > 80;)
        ASSERT_EQ(file.ReadNumber(ui), ui < 100 ? static_cast<int>(ui) : QM_ERR_FAIL) << ui;
}

// After its sixth picture the session waits for a call: the store isn't full.
TEST_F(Worker, ARequestThatThePlayDoesNotServePausesItAtOnce)
{
    SScript script = EvenScript(300);
    script.m_nLate = 0;
    script.m_fnHold = HoldAfter({5, 208});
    CScriptedFile file(m_format.Get(), script);
    EXPECT_EQ(file.ReadNumber(0), 0);
    EXPECT_EQ(file.ReadNumber(200), 200);
    file.WaitForRest();
    EXPECT_THAT(file.Session().Calls(),
                ElementsAre("SetTopology", "Start", "Pause", "SetRate 0", "Start 8000", "Pause"));
    EXPECT_LE(file.Session().Delivered(), 6U + 9U);
}

TEST_F(Worker, AJumpForwardsHasAWindowOf8)
{
    SWindowNotes notes;
    SScript script = EvenScript(300);
    script.m_fnOnStart = notes.Noter();
    CScriptedFile file(m_format.Get(), script);
    notes.m_pStore = &file.Store();
    EXPECT_EQ(file.ReadNumber(0), 0);
    file.WaitForRest();
    EXPECT_EQ(file.ReadNumber(150), 150);
    file.WaitForRest();
    EXPECT_EQ(notes.Get().back(), (SSetUp{150, 158, 299, 0}));
}

// Frames 0 to 48 fill the store. The request for the frame after the first is near enough to the tail that the play
// continues after it, from where it was paused.
TEST_F(Worker, TheNextFrameIsSequentialAndThePlayContinuesAfterTheTail)
{
    SScript script = EvenScript(300);
    script.m_nLate = 0;
    script.m_fnHold = HoldAfter({48, 49});
    CScriptedFile file(m_format.Get(), script);
    EXPECT_EQ(file.ReadNumber(0), 0);
    file.WaitForRest();
    EXPECT_EQ(file.Store().CountFrames(), 49U);
    EXPECT_THAT(file.Session().Calls(), ElementsAre("SetTopology", "Start", "Pause"));

    EXPECT_EQ(file.ReadNumber(0), 0);  // the same frame: the oldest of 49 is not among the newest 48
    file.WaitForRest();
    EXPECT_THAT(file.Session().Calls(), ElementsAre("SetTopology", "Start", "Pause"));

    EXPECT_EQ(file.ReadNumber(1), 1);
    file.WaitForRest();
    EXPECT_THAT(file.Session().Calls(), ElementsAre("SetTopology", "Start", "Pause", "Start 1960", "Pause"));
    EXPECT_FALSE(file.IsStored(0));
    EXPECT_TRUE(file.IsStored(49));
}

TEST_F(Worker, AStoredFrameNearTheTailIsNoReasonToSeek)
{
    SScript script = EvenScript(300);
    script.m_nLate = 0;
    script.m_fnHold = HoldAfter({108, 112});
    CScriptedFile file(m_format.Get(), script);
    EXPECT_EQ(file.ReadNumber(100), 100);
    file.WaitForRest();  // 100 to 108 are stored
    const std::size_t uiBefore = file.Session().Calls().size();
    EXPECT_EQ(file.ReadNumber(104), 104);  // not sequential: one of the newest 8
    file.WaitForRest();
    std::vector<std::string> vCalls = file.Session().Calls();
    vCalls.erase(vCalls.begin(), vCalls.begin() + static_cast<std::ptrdiff_t>(uiBefore));
    EXPECT_THAT(vCalls, ElementsAre("Start 4360", "Pause"));
    EXPECT_FALSE(file.IsStored(103));
    EXPECT_TRUE(file.IsStored(109));
}

TEST_F(Worker, TheLastFrameStartsNoNewPlay)
{
    CScriptedFile file(m_format.Get(), EvenScript(20));
    EXPECT_EQ(file.ReadNumber(0), 0);
    file.WaitForRest();
    EXPECT_EQ(file.ReadNumber(19), 19);
    file.WaitForRest();
    EXPECT_EQ(file.ReadNumber(18), 18);
    file.WaitForRest();
    EXPECT_THAT(file.Session().Calls(), ElementsAre("SetTopology", "Start"));
}

TEST_F(Worker, AFileThatWasPlayedToItsEndPlaysAgain)
{
    CScriptedFile file(m_format.Get(), EvenScript(100));
    EXPECT_EQ(file.ReadNumber(99), 99);
    file.WaitForRest();
    EXPECT_EQ(file.ReadNumber(3), 3);
    EXPECT_EQ(file.ReadNumber(99), 99);
    EXPECT_EQ(file.ReadNumber(0), 0);
}

// In order, with a rest after each frame. From the 49th picture on, every one fills the store again, and three more are
// on their way then.
TEST_F(Worker, TheStoreHoldsNoMoreThanItsLimitAndWhatWasOnItsWay)
{
    SScript script = EvenScript(120);
    script.m_nLate = 3;
    script.m_fnHold = [](std::size_t uiPicture) { return uiPicture >= 48; };
    CScriptedFile file(m_format.Get(), script);
    for (std::uint32_t i = 0; i < 60; ++i)
    {
        ASSERT_EQ(file.ReadNumber(i), static_cast<int>(i));
        file.WaitForRest();
        ASSERT_LE(file.Store().CountFrames(), 49U + 3U) << i;
        ASSERT_TRUE(file.IsStored(i + 48)) << i;
    }
}

TEST_F(Worker, ASessionWithoutRatesServesAllTheSame)
{
    SScript script = EvenScript(300);
    script.m_bNoRates = true;
    CScriptedFile file(m_format.Get(), script);
    for (const int nIndex : {250, 10, 11, 200})
        EXPECT_EQ(file.ReadNumber(static_cast<std::uint32_t>(nIndex)), nIndex);
}

// --- frames that share a millisecond ---

// Ten frames to the millisecond, then a run of 120 in one, then ten again.
std::vector<std::uint64_t> CrowdedTimes()
{
    std::vector<std::uint64_t> vTimes;
    for (std::uint64_t i = 0; i < 50; ++i)
        vTimes.push_back(i / 10);
    vTimes.insert(vTimes.end(), 120, 7);
    for (std::uint64_t i = 0; i < 50; ++i)
        vTimes.push_back(9 + i / 10);
    return vTimes;
}

TEST_F(Worker, FramesOfOneMillisecondAreDistinguished)
{
    SScript script;
    script.m_vTimesMs = CrowdedTimes();
    CScriptedFile file(m_format.Get(), script);
    std::mt19937 random(7);
    for (int i = 0; i < 60; ++i)
    {
        const std::uint32_t uiIndex = random() % static_cast<std::uint32_t>(script.m_vTimesMs.size());
        ASSERT_EQ(file.ReadNumber(uiIndex), static_cast<int>(uiIndex)) << i;
    }
    for (std::uint32_t i = 0; i < script.m_vTimesMs.size(); ++i)
        ASSERT_EQ(file.ReadNumber(i), static_cast<int>(i));
    for (auto i = static_cast<std::uint32_t>(script.m_vTimesMs.size()); i-- > 0;)
        ASSERT_EQ(file.ReadNumber(i), static_cast<int>(i));
}

TEST_F(Worker, AFrameFurtherOnInItsMillisecondIsOnePlayFromWhereTheSessionWasPaused)
{
    SScript script;
    script.m_vTimesMs.assign(160, 5);
    std::atomic<std::size_t> uiHoldAfter{108};
    script.m_fnHold = [&](std::size_t uiPicture) { return uiPicture == uiHoldAfter || uiPicture == 48; };
    script.m_nLate = 0;
    CScriptedFile file(m_format.Get(), script);
    EXPECT_EQ(file.ReadNumber(0), 0);  // 0 to 48 are stored
    file.WaitForRest();
    EXPECT_EQ(file.ReadNumber(100), 100);  // 100 to 108
    file.WaitForRest();
    EXPECT_FALSE(file.IsStored(99));
    uiHoldAfter = 11;
    EXPECT_EQ(file.ReadNumber(3), 3);
    file.WaitForRest();
    EXPECT_FALSE(file.IsStored(2));
    EXPECT_TRUE(file.IsStored(11));
    EXPECT_EQ(file.ReadNumber(40), 40);
    file.WaitForRest();
    EXPECT_FALSE(file.IsStored(39));
    EXPECT_TRUE(file.IsStored(48));
    EXPECT_THAT(file.Session().Calls(), ElementsAre("SetTopology", "Start", "Pause", "Resume", "Pause", "SetRate 0",
                                                    "Start 5", "Pause", "Resume", "Pause"));
}

TEST_F(Worker, AFrameFurtherBackInItsMillisecondIsOnePlayFromTheFirstOfThem)
{
    SScript script;
    script.m_vTimesMs.assign(2000, 5);
    CScriptedFile file(m_format.Get(), script);
    EXPECT_EQ(file.ReadNumber(1500), 1500);
    file.WaitForRest();
    const std::size_t uiBefore = file.Session().Calls().size();
    EXPECT_EQ(file.ReadNumber(1000), 1000);
    file.WaitForRest();
    std::vector<std::string> vCalls = file.Session().Calls();
    vCalls.erase(vCalls.begin(), vCalls.begin() + static_cast<std::ptrdiff_t>(uiBefore));
    EXPECT_THAT(vCalls, ElementsAre("SetRate 0", "Start 5", "Pause"));
}

// The session goes by other times than the list, in which all frames share one. A position in the middle of that
// millisecond would bring the session back to its first frame.
TEST_F(Worker, AListThatTheSessionDoesNotAgreeWithLeadsToNoWrongPicture)
{
    CScriptedFile file(m_format.Get(), EvenScript(200), std::vector<std::uint64_t>(200, 0));
    for (std::uint32_t i = 0; i < 200; ++i)
        ASSERT_EQ(file.ReadNumber(i), static_cast<int>(i));
    std::mt19937 random(3);
    for (int i = 0; i < 40; ++i)
    {
        const std::uint32_t uiIndex = random() % 200;
        ASSERT_EQ(file.ReadNumber(uiIndex), static_cast<int>(uiIndex)) << i;
    }
}

TEST_F(Worker, ATimeThatFallsRefusesFrames)
{
    std::vector<std::uint64_t> vTimes = EvenTimes(100, 40);
    vTimes[50] = 0;
    CScriptedFile file(m_format.Get(), EvenScript(100), vTimes);
    EXPECT_EQ(file.ReadNumber(0), QM_ERR_FAIL);
    EXPECT_EQ(file.ReadNumber(70), QM_ERR_FAIL);
    EXPECT_TRUE(file.Session().Calls().empty());
}

// --- large pictures ---

// The store holds three pictures, and the session has always more on their way.
TEST_F(Worker, SamplesThatTheStoreHasNoMemoryForComeAgain)
{
    for (const bool bOneMillisecond : {false, true})
    {
        SScript script = EvenScript(120);
        if (bOneMillisecond) script.m_vTimesMs.assign(120, 5);
        script.m_nLate = 3;
        CScriptedFile file(m_format.Get(), script, script.m_vTimesMs, 3 * 24);
        for (std::uint32_t i = 0; i < 60; ++i)
        {
            ASSERT_EQ(file.ReadNumber(i), static_cast<int>(i)) << bOneMillisecond;
            ASSERT_LE(file.Store().CountFrames(), 3U);
        }
        std::mt19937 random(5);
        for (int i = 0; i < 40; ++i)
        {
            const std::uint32_t uiIndex = random() % 120;
            ASSERT_EQ(file.ReadNumber(uiIndex), static_cast<int>(uiIndex)) << i << ", " << bOneMillisecond;
            ASSERT_LE(file.Store().CountFrames(), 3U);
        }
    }
}

// --- requests that can't be served ---

TEST_F(Worker, AFrameThatTheFileDoesNotHaveIsRefusedAndTheOthersAreServed)
{
    CScriptedFile file(m_format.Get(), EvenScript(100), EvenTimes(120, 40));
    EXPECT_EQ(file.ReadNumber(50), 50);
    EXPECT_EQ(file.ReadNumber(110), QM_ERR_FAIL);
    EXPECT_EQ(file.ReadNumber(99), 99);
    EXPECT_EQ(file.ReadNumber(100), QM_ERR_FAIL);
    EXPECT_EQ(file.ReadNumber(0), 0);
}

TEST_F(Worker, FramesListedAfterTheEndDoNotKeepTheSessionStarting)
{
    CScriptedFile file(m_format.Get(), EvenScript(10), EvenTimes(12, 40));
    EXPECT_EQ(file.ReadNumber(9), 9);
    file.WaitForRest();
    Sleep(100);
    const int nStarts = static_cast<int>(file.Session().Calls().size());
    Sleep(100);
    EXPECT_EQ(static_cast<int>(file.Session().Calls().size()), nStarts);
    EXPECT_EQ(file.ReadNumber(3), 3);
}

// The session has ended and can't continue after the stored frames. A seek to their millisecond brings old ones.
TEST_F(Worker, FramesListedAfterTheEndInAMillisecondThatOthersShareAreRefused)
{
    SScript script;
    script.m_vTimesMs.assign(30, 5);
    CScriptedFile file(m_format.Get(), script, std::vector<std::uint64_t>(60, 5));
    for (const int nIndex : {0, 28, 29, 29})
        EXPECT_EQ(file.ReadNumber(static_cast<std::uint32_t>(nIndex)), nIndex);
    for (const std::uint32_t uiIndex : {30U, 31U, 45U, 59U})
        EXPECT_EQ(file.ReadNumber(uiIndex), QM_ERR_FAIL) << uiIndex;
    for (const int nIndex : {29, 28, 3, 29})
        EXPECT_EQ(file.ReadNumber(static_cast<std::uint32_t>(nIndex)), nIndex);
    file.WaitForRest();
    Sleep(100);
    const int nStarts = file.Session().CountStarts();
    Sleep(100);
    EXPECT_EQ(file.Session().CountStarts(), nStarts);
}

TEST_F(Worker, ARefusedFirstPlayEndsEveryRequestAtOnce)
{
    SScript script = EvenScript(100);
    script.m_fnStarted = [](int) { return E_FAIL; };
    CScriptedFile file(m_format.Get(), script);
    EXPECT_EQ(file.ReadNumber(0), QM_ERR_FAIL);
    EXPECT_EQ(file.ReadNumber(1), QM_ERR_FAIL);
    EXPECT_EQ(file.Session().CountStarts(), 1);
}

TEST_F(Worker, AFirstStartThatFailsEndsEveryRequestAtOnce)
{
    SScript script = EvenScript(100);
    script.m_fnStart = [](int) { return E_FAIL; };
    CScriptedFile file(m_format.Get(), script);
    EXPECT_EQ(file.ReadNumber(0), QM_ERR_FAIL);
    EXPECT_EQ(file.ReadNumber(1), QM_ERR_FAIL);
    EXPECT_EQ(file.Session().CountStarts(), 1);
}

TEST_F(Worker, ALaterStartThatFailsEndsTheWaitingRequest)
{
    SScript script = EvenScript(200);
    script.m_fnStart = [](int nStart) { return nStart == 0 ? S_OK : E_FAIL; };
    CScriptedFile file(m_format.Get(), script);
    EXPECT_EQ(file.ReadNumber(0), 0);
    file.WaitForRest();
    EXPECT_EQ(file.ReadNumber(150), QM_ERR_FAIL);
    EXPECT_EQ(file.ReadNumber(151), QM_ERR_FAIL);
    EXPECT_EQ(file.ReadNumber(0), QM_ERR_FAIL);
    EXPECT_EQ(file.Session().CountStarts(), 2);
}

TEST_F(Worker, TwoFailedSeeksAreForgiven)
{
    SScript script = EvenScript(200);
    script.m_fnStarted = [](int nStart) { return nStart == 1 || nStart == 2 ? E_FAIL : S_OK; };
    CScriptedFile file(m_format.Get(), script);
    EXPECT_EQ(file.ReadNumber(0), 0);
    file.WaitForRest();
    EXPECT_EQ(file.ReadNumber(150), 150);
}

TEST_F(Worker, SeeksThatGoOnFailingEndTheRequest)
{
    SScript script = EvenScript(200);
    script.m_fnStarted = [](int nStart) { return nStart >= 1 && nStart <= 3 ? E_FAIL : S_OK; };
    CScriptedFile file(m_format.Get(), script);
    EXPECT_EQ(file.ReadNumber(0), 0);
    file.WaitForRest();
    EXPECT_EQ(file.ReadNumber(150), QM_ERR_FAIL);
    EXPECT_EQ(file.Session().CountCalls("Start 6000"), 3);
    EXPECT_EQ(file.ReadNumber(150), 150);
    EXPECT_EQ(file.ReadNumber(5), 5);
}

TEST_F(Worker, ASampleThatIsTooShortRefusesItsFrameOnly)
{
    SScript script = EvenScript(100);
    script.m_uiShortSample = 60;
    CScriptedFile file(m_format.Get(), script);
    EXPECT_EQ(file.ReadNumber(60), QM_ERR_FAIL);
    EXPECT_EQ(file.ReadNumber(59), 59);
    EXPECT_EQ(file.ReadNumber(60), QM_ERR_FAIL);
    EXPECT_EQ(file.ReadNumber(61), 61);
}

TEST_F(Worker, ARefusedRequestLeavesTheBufferAlone)
{
    CScriptedFile file(m_format.Get(), EvenScript(10), EvenTimes(20, 40));
    std::vector<unsigned char> vPixels(24, 0x5A);
    EXPECT_EQ(file.ReadFrame(15, vPixels.data(), nullptr, nullptr), QM_ERR_FAIL);
    EXPECT_EQ(vPixels, std::vector<unsigned char>(24, 0x5A));
}

// Otherwise it would decode the whole file into the store.
TEST_F(Worker, ASessionThatTheWorkerGivesUpIsStopped)
{
    SScript script = EvenScript(100);
    script.m_uiStuckAt = 3;
    CScriptedFile file(m_format.Get(), script);
    auto read = std::async(std::launch::async, [&file] { return file.ReadNumber(5); });
    file.Session().WaitUntilStuckAfter("Start");
    file.Session().Report(MEError, E_FAIL);
    EXPECT_EQ(read.get(), QM_ERR_FAIL);
    const auto begin = std::chrono::steady_clock::now();
    while (file.Session().CountCalls("Stop") == 0 &&
           std::chrono::steady_clock::now() - begin < std::chrono::seconds(10))
        Sleep(1);
    EXPECT_THAT(file.Session().Calls(), ElementsAre("SetTopology", "Start", "Stop"));
}

// --- events and pauses out of turn ---

TEST_F(Worker, EndsOfAnEarlierPlayDoNotEndTheCurrentOne)
{
    SScript script = EvenScript(300);
    script.m_fnStale = [](int) { return std::vector<MediaEventType>{MESessionPaused, MESessionEnded}; };
    CScriptedFile file(m_format.Get(), script);
    std::mt19937 random(11);
    for (int i = 0; i < 60; ++i)
    {
        const std::uint32_t uiIndex = random() % 300;
        ASSERT_EQ(file.ReadNumber(uiIndex), static_cast<int>(uiIndex)) << i;
    }
}

TEST_F(Worker, AnErrorOfAnEarlierPlayDoesNotEndTheCurrentOne)
{
    SScript script = EvenScript(300);
    script.m_fnStale = [](int) { return std::vector<MediaEventType>{MEError}; };
    CScriptedFile file(m_format.Get(), script);
    EXPECT_EQ(file.ReadNumber(0), 0);
    file.WaitForRest();
    EXPECT_EQ(file.ReadNumber(150), 150);
    file.WaitForRest();
    EXPECT_EQ(file.Session().CountStarts(), 2);
}

// The session delivers on after it. Another start would number those pictures from its own place.
TEST_F(Worker, AnErrorThatTheSessionSurvivesDoesNotEndThePlay)
{
    SScript script = EvenScript(300);
    script.m_uiStuckAt = 150;
    CScriptedFile file(m_format.Get(), script);
    EXPECT_EQ(file.ReadNumber(0), 0);
    file.WaitForRest();
    auto read = std::async(std::launch::async, [&file] { return file.ReadNumber(150); });
    file.Session().WaitUntilStuckAfter("Start 6000");
    file.Session().Report(MEError, E_FAIL);
    file.Session().WaitUntilEventsAreTaken();
    Sleep(50);  // several times as long as the worker takes to begin a play
    file.Session().GoOn();
    EXPECT_EQ(read.get(), 150);
    EXPECT_EQ(file.Session().CountStarts(), 2);
}

TEST_F(Worker, OnePlayIsPausedOnce)
{
    SScript script = EvenScript(300);
    script.m_nLate = 20;  // each wants the pause again
    script.m_fnHold = HoldAfter({48});
    CScriptedFile file(m_format.Get(), script);
    EXPECT_EQ(file.ReadNumber(0), 0);
    file.WaitForRest();
    EXPECT_EQ(file.Session().CountCalls("Pause"), 1);
}

TEST_F(Worker, APauseThatFailsIsTriedAgain)
{
    SScript script = EvenScript(3000);
    script.m_fnPause = [](int nPause) { return nPause == 1 ? E_FAIL : S_OK; };
    script.m_fnPaused = [](int nPause) { return nPause == 2 ? E_FAIL : S_OK; };
    script.m_pace = std::chrono::milliseconds(1);
    CScriptedFile file(m_format.Get(), script);
    EXPECT_EQ(file.ReadNumber(0), 0);
    file.WaitForRest();
    EXPECT_EQ(file.ReadNumber(100), 100);
    file.WaitForRest();
    EXPECT_EQ(file.Session().CountCalls("Pause"), 4);
    EXPECT_LT(file.Session().Delivered(), 1500U);
    EXPECT_EQ(file.ReadNumber(101), 101);
}

}  // namespace
