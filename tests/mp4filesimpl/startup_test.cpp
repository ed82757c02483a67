// How often the module starts and shuts down Media Foundation.
#include <gtest/gtest.h>

#include "module_file.h"
#include "platform/mediafoundation/startup_probe.h"

namespace
{

TEST(Startup, TwoFormatObjectsStartMediaFoundationOnceAndTheLastOneShutsItDown)
{
    const mediafoundation::StartupCounts before = mediafoundation::GetStartupCounts();
    const auto Startups = [&] { return mediafoundation::GetStartupCounts().m_uiStartups - before.m_uiStartups; };
    const auto Shutdowns = [&] { return mediafoundation::GetStartupCounts().m_uiShutdowns - before.m_uiShutdowns; };
    {
        CLoadedFormat first;
        ASSERT_NE(first.Get(), nullptr);
        EXPECT_EQ(Startups(), 1U);
        {
            CLoadedFormat second;
            EXPECT_EQ(Startups(), 1U);
        }
        EXPECT_EQ(Shutdowns(), 0U);
    }
    EXPECT_EQ(Startups(), 1U);
    EXPECT_EQ(Shutdowns(), 1U);
    {
        CLoadedFormat third;
        EXPECT_EQ(Startups(), 2U);
    }
    EXPECT_EQ(Shutdowns(), 2U);
}

}  // namespace
