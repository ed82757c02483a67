// Sessions that take the rate 0 at its word: a start then shows one picture or none, and the session waits.
#include <algorithm>
#include <random>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "scripted_file.h"

namespace
{

class Scrub : public testing::Test
{
protected:
    static SScript Script(int nScrubbed)
    {
        SScript script;
        script.m_vTimesMs = EvenTimes(300, 40);
        script.m_nScrubbed = nScrubbed;
        return script;
    }

    // The calls from the first "SetRate 0" to the start after it.
    static std::vector<std::string> FirstCallsFromTheRateOn(CScriptedFile& file, std::size_t uiCount)
    {
        const std::vector<std::string> vCalls = file.Session().Calls();
        auto it = std::find(vCalls.begin(), vCalls.end(), "SetRate 0");
        std::vector<std::string> vFirst;
        for (; it != vCalls.end() && vFirst.size() < uiCount; ++it)
            vFirst.push_back(*it);
        return vFirst;
    }

    CFormatReference m_format;
};

// How many pictures a scrub shows, and whether the session reports it before its start.
class ScrubOf : public Scrub, public testing::WithParamInterface<std::tuple<int, bool>>
{
protected:
    static SScript Script()
    {
        SScript script = Scrub::Script(std::get<0>(GetParam()));
        script.m_bScrubReportFirst = std::get<1>(GetParam());
        return script;
    }
};

TEST_P(ScrubOf, FramesReadInOrderAreTheRightOnes)
{
    CScriptedFile file(m_format.Get(), Script());
    ASSERT_EQ(file.ReadNumber(150), 150);
    for (std::uint32_t i = 0; i < 300; ++i)
        ASSERT_EQ(file.ReadNumber(i), static_cast<int>(i));
    EXPECT_EQ(file.Session().CountCalls("SetRate 0"), 1);
}

TEST_P(ScrubOf, FramesThatShareMillisecondsAreTheRightOnes)
{
    SScript script = Script();
    for (std::size_t ui = 0; ui < script.m_vTimesMs.size(); ++ui)
        script.m_vTimesMs[ui] = ui / 3;
    CScriptedFile file(m_format.Get(), script);
    for (const std::uint32_t uiIndex : {0u, 151u, 152u, 153u, 154u, 155u, 200u, 199u, 198u, 100u, 101u, 102u, 7u, 8u})
        ASSERT_EQ(file.ReadNumber(uiIndex), static_cast<int>(uiIndex));
}

TEST_P(ScrubOf, FramesReadBackwardsAreTheRightOnes)
{
    CScriptedFile file(m_format.Get(), Script());
    for (std::uint32_t i = 300; i-- > 0;)
        ASSERT_EQ(file.ReadNumber(i), static_cast<int>(i));
    EXPECT_EQ(file.Session().CountCalls("SetRate 0"), 1);
}

TEST_P(ScrubOf, FramesReadAtRandomAreTheRightOnes)
{
    CScriptedFile file(m_format.Get(), Script());
    std::mt19937 random(4711);
    for (int i = 0; i < 200; ++i)
    {
        const std::uint32_t uiIndex = random() % 300;
        ASSERT_EQ(file.ReadNumber(uiIndex), static_cast<int>(uiIndex)) << i;
    }
    EXPECT_EQ(file.Session().CountCalls("SetRate 0"), 1);
}

// The play that scrubbed is followed by one, and each of the jumps after it has one.
TEST_P(ScrubOf, TheRateIsSetTo0OnceAndThenToOneThatPlays)
{
    CScriptedFile file(m_format.Get(), Script());
    for (const std::uint32_t uiIndex : {0u, 200u, 100u, 250u, 3u})
    {
        ASSERT_EQ(file.ReadNumber(uiIndex), static_cast<int>(uiIndex));
        file.WaitForRest();
    }
    EXPECT_EQ(file.Session().CountCalls("SetRate 0"), 1);
    EXPECT_EQ(file.Session().CountCalls("SetRate 1"), 4);
}

INSTANTIATE_TEST_SUITE_P(Pictures, ScrubOf, testing::Combine(testing::Values(0, 1), testing::Bool()),
                         [](const auto& scrub) {
                             return std::string(std::get<0>(scrub.param) == 0 ? "None" : "One") +
                                    (std::get<1>(scrub.param) ? "_ReportedBeforeTheStart" : "");
                         });

TEST_F(Scrub, APlayThatShowedNothingIsRepeatedAtARateThatPlays)
{
    CScriptedFile file(m_format.Get(), Script(0));
    ASSERT_EQ(file.ReadNumber(0), 0);
    file.WaitForRest();
    ASSERT_EQ(file.ReadNumber(200), 200);
    EXPECT_THAT(FirstCallsFromTheRateOn(file, 4),
                testing::ElementsAre("SetRate 0", "Start 8000", "SetRate 1", "Start 8000"));
}

TEST_F(Scrub, APlayThatShowedItsPictureIsContinuedAtARateThatPlays)
{
    CScriptedFile file(m_format.Get(), Script(1));
    ASSERT_EQ(file.ReadNumber(0), 0);
    file.WaitForRest();
    ASSERT_EQ(file.ReadNumber(200), 200);
    file.WaitForRest();
    EXPECT_THAT(FirstCallsFromTheRateOn(file, 4),
                testing::ElementsAre("SetRate 0", "Start 8000", "SetRate 1", "Start 8040"));
    ASSERT_EQ(file.ReadNumber(201), 201);
}

// One picture for each start is enough to read the file.
TEST_F(Scrub, ASessionThatShowsOnePictureAtAnyRateIsRead)
{
    SScript script = Script(1);
    script.m_bKeepsRate = true;
    CScriptedFile file(m_format.Get(), script);
    for (const std::uint32_t uiIndex : {0u, 200u, 201u, 202u, 100u, 299u, 5u})
        ASSERT_EQ(file.ReadNumber(uiIndex), static_cast<int>(uiIndex));
}

// Three plays without the frame refuse it. The one that shows that the session scrubs isn't one of them.
TEST_F(Scrub, ASessionThatShowsNothingAtAnyRateRefusesTheFrame)
{
    SScript script = Script(0);
    script.m_bKeepsRate = true;
    CScriptedFile file(m_format.Get(), script);
    ASSERT_EQ(file.ReadNumber(0), 0);
    file.WaitForRest();
    const int nBefore = file.Session().CountStarts();
    EXPECT_EQ(file.ReadNumber(200), QM_ERR_FAIL);
    EXPECT_EQ(file.Session().CountStarts() - nBefore, 4);
    EXPECT_EQ(file.ReadNumber(100), QM_ERR_FAIL);
    EXPECT_EQ(file.Session().CountStarts() - nBefore, 7);
}

// It may be of this play or of an earlier one. The play is paused, and what it brings has the right numbers.
TEST_F(Scrub, ThatIsReportedBeforeAStartPausesThePlay)
{
    SScript script = Script(-1);
    script.m_fnStale = [](int nStart) {
        return nStart == 0 ? std::vector<MediaEventType>()
                           : std::vector<MediaEventType>(1, MESessionScrubSampleComplete);
    };
    CScriptedFile file(m_format.Get(), script);
    for (const std::uint32_t uiIndex : {0u, 200u, 201u, 100u, 101u, 50u, 5u})
    {
        ASSERT_EQ(file.ReadNumber(uiIndex), static_cast<int>(uiIndex));
        file.WaitForRest();
    }
    EXPECT_EQ(file.Session().CountCalls("SetRate 0"), 1);
    EXPECT_EQ(file.Session().CountCalls("Pause"), file.Session().CountStarts());
}

// It rests already. By the call, or by its event.
TEST_F(Scrub, ThatIsReportedBeforeAStartOfASessionThatRefusesThePauseEndsThePlay)
{
    for (const bool bByItsEvent : {false, true})
    {
        SScript script = Script(0);
        script.m_bScrubReportFirst = true;
        const auto fnRefuse = [](int nPause) { return nPause == 1 ? E_FAIL : S_OK; };
        (bByItsEvent ? script.m_fnPaused : script.m_fnPause) = fnRefuse;
        CScriptedFile file(m_format.Get(), script);
        ASSERT_EQ(file.ReadNumber(0), 0);
        file.WaitForRest();
        for (const std::uint32_t uiIndex : {200u, 201u, 100u})
            ASSERT_EQ(file.ReadNumber(uiIndex), static_cast<int>(uiIndex)) << bByItsEvent;
    }
}

}  // namespace
