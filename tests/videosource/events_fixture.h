// A media source whose events are recorded.
#pragma once

#include <gmock/gmock.h>

#include "recorded_events.h"
#include "source_fixture.h"

class SourceEventsTest : public VideoSourceTest
{
protected:
    using Texts = std::vector<std::string>;

    void SetUp() override
    {
        CEventRecord::Clear();
        VideoSourceTest::SetUp();
    }
    void TearDown() override
    {
        CEventRecord::SetHook(nullptr);
        VideoSourceTest::TearDown();
    }

    void MakeStarted(std::uint32_t nFrameCount = UNKNOWN_FRAME_COUNT)
    {
        Make(nFrameCount);
        ASSERT_EQ(Start(), S_OK);
        CEventRecord::Take();
    }
    void MakePaused(std::uint32_t nFrameCount = UNKNOWN_FRAME_COUNT)
    {
        MakeStarted(nFrameCount);
        ASSERT_EQ(Source().Pause(), S_OK);
        CEventRecord::Take();
    }
    void MakeStopped()
    {
        MakeStarted();
        ASSERT_EQ(Source().Stop(), S_OK);
        CEventRecord::Take();
    }

    // Refuses each event that begins with this text from now on.
    static void Refuse(const std::string& start, HRESULT hr)
    {
        CEventRecord::SetHook([start, hr](const std::string& text) { return text.rfind(start, 0) == 0 ? hr : S_OK; });
    }
};
