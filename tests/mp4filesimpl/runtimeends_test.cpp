// The ends of the count of format objects, seen in what Media Foundation is asked for.
#include <gtest/gtest.h>

#include <mfapi.h>

#include "common/modulestate.h"
#include "platform/mediafoundation/startup_probe.h"

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

}  // namespace
