// The trace of the runtime, and that nothing of a runtime is used after its unloading.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "amf/common/amffactoryhelper.h"
#include "amf/common/amftrace.h"
#include "fake_amf.h"

using testing::ElementsAre;

namespace
{

TEST(AmfTrace, WritersAreSwitchedByTheirNames)
{
    FakeAmf fake;
    AMFFactoryHelper helper;
    ASSERT_EQ(helper.Init(), AMF_OK);
    EXPECT_FALSE(AMFTraceEnableWriter(L"Console", true));
    fake.m_bWriterWasEnabled = true;
    EXPECT_TRUE(AMFTraceEnableWriter(L"DebugOutput", false));
    EXPECT_THAT(fake.m_vWriters, ElementsAre(L"+Console", L"-DebugOutput"));
}

TEST(AmfTrace, TheObjectIsFoundOnceAndThroughAnInitOfItsOwn)
{
    FakeAmf fake;
    AMFFactoryHelper helper;
    ASSERT_EQ(helper.Init(), AMF_OK);
    EXPECT_EQ(g_AMFTrace.load(), nullptr);
    fake.m_vCalls.clear();
    fake.m_vVersionsAsked.clear();

    AMFTraceEnableWriter(L"Console", true);
    AMFTraceEnableWriter(L"DebugOutput", true);
    EXPECT_THAT(fake.m_vCalls, ElementsAre("AMFInit", "trace"));
    EXPECT_THAT(fake.m_vVersionsAsked, ElementsAre(0x0001000400090000U));
    EXPECT_EQ(g_AMFTrace.load(), helper.GetTrace());
    EXPECT_EQ(g_AMFDebug.load(), nullptr);
}

TEST(AmfTrace, TheDebugObjectIsFoundInTheSameWay)
{
    FakeAmf fake;
    AMFFactoryHelper helper;
    ASSERT_EQ(helper.Init(), AMF_OK);
    fake.m_vCalls.clear();
    AMFAssertsEnable(true);
    EXPECT_TRUE(AMFAssertsEnabled());
    AMFAssertsEnable(false);
    EXPECT_FALSE(AMFAssertsEnabled());
    EXPECT_THAT(fake.m_vCalls, ElementsAre("AMFInit", "debug"));
    EXPECT_EQ(g_AMFDebug.load(), helper.GetDebug());
}

TEST(AmfTrace, ItDoesNotKeepTheRuntimeLoaded)
{
    const FakeAmf fake;
    AMFFactoryHelper helper;
    ASSERT_EQ(helper.Init(), AMF_OK);
    AMFTraceEnableWriter(L"Console", true);
    AMFAssertsEnabled();
    EXPECT_EQ(helper.Terminate(), AMF_OK);
    EXPECT_FALSE(FakeAmf::IsLoaded());
}

TEST(AmfTrace, ItEndsWithTheRuntimeAndIsFoundAgainInTheNextOne)
{
    FakeAmf fake;
    AMFFactoryHelper helper;
    for (int i = 0; i < 3; ++i)
    {
        ASSERT_EQ(helper.Init(), AMF_OK);
        AMFTraceEnableWriter(L"Console", true);
        AMFAssertsEnabled();
        EXPECT_EQ(g_AMFTrace.load(), helper.GetTrace());
        ASSERT_EQ(helper.Terminate(), AMF_OK);
        EXPECT_EQ(g_AMFTrace.load(), nullptr);
        EXPECT_EQ(g_AMFDebug.load(), nullptr);
    }
    EXPECT_EQ(fake.m_vWriters.size(), 3U);
}

TEST(AmfTrace, AHelperThatWasCountedOutOnceKeepsIt)
{
    const FakeAmf fake;
    AMFFactoryHelper helper;
    ASSERT_EQ(helper.Init(), AMF_OK);
    ASSERT_EQ(helper.Init(), AMF_OK);
    AMFTraceEnableWriter(L"Console", true);
    ASSERT_EQ(helper.Terminate(), AMF_OK);
    EXPECT_EQ(g_AMFTrace.load(), helper.GetTrace());
}

TEST(AmfTrace, WithoutAHelperEachCallLoadsTheRuntimeForItself)
{
    FakeAmf fake;
    AMFTraceEnableWriter(L"Console", true);
    EXPECT_FALSE(FakeAmf::IsLoaded());
    EXPECT_EQ(g_AMFTrace.load(), nullptr);
    AMFTraceEnableWriter(L"Console", false);
    EXPECT_THAT(fake.m_vWriters, ElementsAre(L"+Console", L"-Console"));
    EXPECT_THAT(fake.m_vCalls, ElementsAre("AMFInit", "trace", "AMFInit", "trace"));
}

TEST(AmfTrace, WithoutARuntimeNothingHappens)
{
    for (const wchar_t* pwszBuild : {L"none", L"noinit"})
    {
        const FakeAmf fake(pwszBuild);
        EXPECT_FALSE(AMFTraceEnableWriter(L"Console", true));
        AMFTraceW(L"source", 1, AMF_TRACE_ERROR, L"scope", L"text");
        EXPECT_FALSE(AMFAssertsEnabled());
        EXPECT_EQ(AMFFormatResult(AMF_EOF), L"AMF_ERROR 23 : : ");
        EXPECT_FALSE(FakeAmf::IsLoaded());
    }
}

TEST(AmfTrace, ARuntimeThatFailsToStartHasNoTrace)
{
    FakeAmf fake;
    fake.m_eInit = AMF_FAIL;
    EXPECT_FALSE(AMFTraceEnableWriter(L"Console", true));
    fake.m_eInit = AMF_OK;
    fake.m_bFactory = false;
    EXPECT_FALSE(AMFTraceEnableWriter(L"Console", true));
    fake.m_bFactory = true;
    fake.m_eGetTrace = AMF_FAIL;
    EXPECT_FALSE(AMFTraceEnableWriter(L"Console", true));
    EXPECT_TRUE(fake.m_vWriters.empty());
    EXPECT_FALSE(FakeAmf::IsLoaded());
}

TEST(AmfTrace, ALineHasItsPlaceLevelAndScope)
{
    FakeAmf fake;
    AMFTraceW(L"source", 12, AMF_TRACE_ERROR, L"scope", L"text");
    ASSERT_EQ(fake.m_vLines.size(), 1U);
    EXPECT_EQ(fake.m_vLines[0].m_strSource, L"source");
    EXPECT_EQ(fake.m_vLines[0].m_nLine, 12);
    EXPECT_EQ(fake.m_vLines[0].m_nLevel, 0);
    EXPECT_EQ(fake.m_vLines[0].m_strScope, L"scope");
    EXPECT_EQ(fake.m_vLines[0].m_nArguments, 0);
    EXPECT_EQ(fake.m_vLines[0].m_strText, L"text");
}

TEST(AmfTrace, AResultsTextHasItsNumberAndTheRuntimesText)
{
    const FakeAmf fake;
    EXPECT_EQ(AMFFormatResult(AMF_OUT_OF_MEMORY), L"AMF_ERROR 6 : AMF_OUT_OF_MEMORY: ");
    EXPECT_EQ(AMFFormatResult(static_cast<AMF_RESULT>(-1)), L"AMF_ERROR -1 : : ");
}

}  // namespace
