// The ends of the count of format objects, seen in what Media Foundation is asked for.
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <mfapi.h>

#include "common/modulestate.h"
#include "platform/mediafoundation/startup_probe.h"
#include "scripted_file.h"

namespace
{

class RuntimeEnds : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(g_nFormatObjects, 0);
        ASSERT_TRUE(SUCCEEDED(MFStartup(MF_VERSION, 0)));
        m_uiBefore = mediafoundation::GetStartupCounts().m_uiShutdowns;
    }
    void TearDown() override { g_nFormatObjects = 0; }

    unsigned Shutdowns() const { return mediafoundation::GetStartupCounts().m_uiShutdowns - m_uiBefore; }

    unsigned m_uiBefore = 0;
};

TEST_F(RuntimeEnds, AnObjectThatWasNeverCountedShutsDownLikeALastOneAndTheCountStaysZero)
{
    StopModuleRuntime();
    EXPECT_EQ(Shutdowns(), 1U);
    EXPECT_EQ(g_nFormatObjects, 0);
}

TEST_F(RuntimeEnds, ANegativeCountShutsNothingDownAndStays)
{
    g_nFormatObjects = -2;
    StopModuleRuntime();
    EXPECT_EQ(Shutdowns(), 0U);
    EXPECT_EQ(g_nFormatObjects, -2);
    MFShutdown();
}

TEST_F(RuntimeEnds, AnObjectThatIsNotTheLastShutsNothingDown)
{
    g_nFormatObjects = 2;
    StopModuleRuntime();
    EXPECT_EQ(Shutdowns(), 0U);
    EXPECT_EQ(g_nFormatObjects, 1);
    StopModuleRuntime();
    EXPECT_EQ(Shutdowns(), 1U);
    EXPECT_EQ(g_nFormatObjects, 0);
}

// The host may release the format object first.
TEST(RuntimeOfAFile, AnInputFileThatHoldsTheLastFormatObjectEndsItsGraphBeforeMediaFoundation)
{
    const auto Shutdowns = [] { return mediafoundation::GetStartupCounts().m_uiShutdowns; };
    const unsigned uiBefore = Shutdowns();
    std::vector<std::string> vCalls;
    SScript script;
    script.m_vTimesMs = EvenTimes(100, 40);
    script.m_fnOnShutdown = [&] {
        if (Shutdowns() != uiBefore) vCalls.emplace_back("Media Foundation was shut down");
        vCalls.emplace_back("the session shuts down");
    };
    auto pFormat = std::make_unique<CFormatReference>();
    auto pFile = std::make_unique<CScriptedFile>(pFormat->Get(), script);
    EXPECT_EQ(pFile->ReadNumber(5), 5);
    pFormat.reset();
    EXPECT_EQ(g_nFormatObjects, 1);
    EXPECT_EQ(Shutdowns(), uiBefore);
    pFile.reset();
    if (Shutdowns() != uiBefore) vCalls.emplace_back("Media Foundation was shut down");
    EXPECT_THAT(vCalls, testing::ElementsAre("the session shuts down", "Media Foundation was shut down"));
    EXPECT_EQ(Shutdowns(), uiBefore + 1);
    EXPECT_EQ(g_nFormatObjects, 0);
}

}  // namespace
