// The load of the AMF runtime: its order, its failures, and how long it lasts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "amf/common/amffactoryhelper.h"
#include "fake_amf.h"
#include "support/current_folder.h"

using testing::ElementsAre;

namespace
{

TEST(AmfFactory, InitAsksForItsVersionAndTakesTheSingletons)
{
    FakeAmf fake;
    AMFFactoryHelper helper;
    EXPECT_EQ(helper.Init(), AMF_OK);
    EXPECT_THAT(fake.m_vCalls, ElementsAre("AMFInit", "AMFQueryVersion", "trace", "debug"));
    EXPECT_THAT(fake.m_vVersionsAsked, ElementsAre(0x0001000400090000U));
    EXPECT_NE(helper.GetFactory(), nullptr);
    EXPECT_NE(helper.GetTrace(), nullptr);
    EXPECT_NE(helper.GetDebug(), nullptr);
    EXPECT_EQ(helper.AMFQueryVersion(), 0x00010004000E0003U);
}

TEST(AmfFactory, BeforeInitThereIsNothing)
{
    const AMFFactoryHelper helper;
    EXPECT_EQ(helper.GetFactory(), nullptr);
    EXPECT_EQ(helper.GetTrace(), nullptr);
    EXPECT_EQ(helper.GetDebug(), nullptr);
    EXPECT_EQ(helper.AMFQueryVersion(), 0U);
}

TEST(AmfFactory, TheSecondInitOnlyCounts)
{
    FakeAmf fake;
    AMFFactoryHelper helper;
    EXPECT_EQ(helper.Init(), AMF_OK);
    fake.m_vCalls.clear();
    EXPECT_EQ(helper.Init(), AMF_OK);
    EXPECT_TRUE(fake.m_vCalls.empty());
    EXPECT_EQ(helper.Terminate(), AMF_OK);
}

TEST(AmfFactory, TwoInitCallsAndOneTerminateKeepTheRuntimeLoaded)
{
    const FakeAmf fake;
    AMFFactoryHelper helper;
    EXPECT_EQ(helper.Init(), AMF_OK);
    EXPECT_EQ(helper.Init(), AMF_OK);
    EXPECT_EQ(helper.Terminate(), AMF_OK);
    EXPECT_TRUE(FakeAmf::IsLoaded());
    EXPECT_NE(helper.GetFactory(), nullptr);
    EXPECT_EQ(helper.Terminate(), AMF_OK);
    EXPECT_FALSE(FakeAmf::IsLoaded());
    EXPECT_EQ(helper.GetFactory(), nullptr);
    EXPECT_EQ(helper.GetTrace(), nullptr);
    EXPECT_EQ(helper.GetDebug(), nullptr);
}

TEST(AmfFactory, TerminateWithNothingLoadedGivesZero)
{
    AMFFactoryHelper helper;
    EXPECT_EQ(helper.Terminate(), AMF_OK);
    EXPECT_EQ(helper.Terminate(), AMF_OK);
}

TEST(AmfFactory, ItIsLoadedAgainAfterItsEnd)
{
    FakeAmf fake;
    AMFFactoryHelper helper;
    EXPECT_EQ(helper.Init(), AMF_OK);
    EXPECT_EQ(helper.Terminate(), AMF_OK);
    fake.m_vCalls.clear();
    EXPECT_EQ(helper.Init(), AMF_OK);
    EXPECT_THAT(fake.m_vCalls, ElementsAre("AMFInit", "AMFQueryVersion", "trace", "debug"));
    EXPECT_TRUE(FakeAmf::IsLoaded());
    EXPECT_EQ(helper.Terminate(), AMF_OK);
    EXPECT_FALSE(FakeAmf::IsLoaded());
}

TEST(AmfFactory, TheEndOfTheHelperIsOneTerminate)
{
    const FakeAmf fake;
    {
        AMFFactoryHelper helper;
        EXPECT_EQ(helper.Init(), AMF_OK);
        EXPECT_TRUE(FakeAmf::IsLoaded());
    }
    EXPECT_FALSE(FakeAmf::IsLoaded());
}

TEST(AmfFactory, WithoutTheFileInitGivesOne)
{
    const FakeAmf none(L"none");
    const HMODULE hInstalled = LoadLibraryExW(AMF_DLL_NAME, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (hInstalled != nullptr)
    {
        FreeLibrary(hInstalled);
        GTEST_SKIP() << "this machine has the runtime";
    }
    AMFFactoryHelper helper;
    EXPECT_EQ(helper.Init(), AMF_FAIL);
    EXPECT_EQ(helper.Init(), AMF_FAIL);
    EXPECT_EQ(helper.Terminate(), AMF_OK);
}

TEST(AmfFactory, AFileInTheCurrentFolderOrOnThePathIsNotLoaded)
{
    const std::wstring strFolder = FakeAmf::FolderOf(L"full");
    const HMODULE hFile = LoadLibraryW((strFolder + L"/" + AMF_DLL_NAME).c_str());
    ASSERT_NE(hFile, nullptr);
    FreeLibrary(hFile);

    // A machine with the runtime has its own loaded, with none of these calls.
    const FakeAmf fake(L"none");
    SetEnvironmentVariableW(L"IMAGEFORMAT_MP4_RUNTIMES", nullptr);
    const CScopedVariable path(L"PATH", strFolder);
    const test_support::CurrentFolder current(strFolder);
    AMFFactoryHelper helper;
    helper.Init();
    EXPECT_TRUE(fake.m_vCalls.empty());
    helper.Terminate();
}

TEST(AmfFactory, WithoutAnEntryInitGivesOneEachTime)
{
    for (const wchar_t* pwszBuild : {L"noinit", L"noversion"})
    {
        const FakeAmf fake(pwszBuild);
        AMFFactoryHelper helper;
        EXPECT_EQ(helper.Init(), AMF_FAIL);
        EXPECT_EQ(helper.Init(), AMF_FAIL);
        EXPECT_EQ(helper.Terminate(), AMF_OK);
        EXPECT_FALSE(FakeAmf::IsLoaded());
    }
}

TEST(AmfFactory, WhatTheRuntimeReturnsIsReturned)
{
    FakeAmf fake;
    AMFFactoryHelper helper;
    fake.m_eInit = AMF_NOT_SUPPORTED;
    EXPECT_EQ(helper.Init(), AMF_NOT_SUPPORTED);
    EXPECT_THAT(fake.m_vCalls, ElementsAre("AMFInit"));
    fake.m_eInit = AMF_OK;
    fake.m_eQueryVersion = AMF_NO_DEVICE;
    EXPECT_EQ(helper.Init(), AMF_NO_DEVICE);
    EXPECT_THAT(fake.m_vCalls, ElementsAre("AMFInit", "AMFInit", "AMFQueryVersion"));
}

TEST(AmfFactory, AStartThatFailedHalfWayIsTriedAgainAndNotReportedAsDone)
{
    FakeAmf fake;
    AMFFactoryHelper helper;
    fake.m_eQueryVersion = AMF_FAIL;
    EXPECT_EQ(helper.Init(), AMF_FAIL);
    EXPECT_TRUE(FakeAmf::IsLoaded()) << "the file stays";
    EXPECT_EQ(helper.Init(), AMF_FAIL);

    fake.m_eQueryVersion = AMF_OK;
    EXPECT_EQ(helper.Init(), AMF_OK);
    EXPECT_NE(helper.GetTrace(), nullptr);
    EXPECT_EQ(helper.Terminate(), AMF_OK);
    EXPECT_FALSE(FakeAmf::IsLoaded()) << "loaded once, however often Init was called";
}

TEST(AmfFactory, OneTerminateFreesTheFileOfAStartThatFailed)
{
    FakeAmf fake;
    fake.m_eInit = AMF_FAIL;
    AMFFactoryHelper helper;
    EXPECT_EQ(helper.Init(), AMF_FAIL);
    EXPECT_EQ(helper.Terminate(), AMF_OK);
    EXPECT_FALSE(FakeAmf::IsLoaded());
}

TEST(AmfFactory, ARuntimeThatGivesNoFactoryIsAFailure)
{
    FakeAmf fake;
    fake.m_bFactory = false;
    AMFFactoryHelper helper;
    EXPECT_EQ(helper.Init(), AMF_FAIL);
}

TEST(AmfFactory, ARuntimeWithoutTraceAndDebugServes)
{
    FakeAmf fake;
    fake.m_eGetTrace = AMF_NOT_IMPLEMENTED;
    fake.m_eGetDebug = AMF_NOT_IMPLEMENTED;
    AMFFactoryHelper helper;
    EXPECT_EQ(helper.Init(), AMF_OK);
    EXPECT_NE(helper.GetFactory(), nullptr);
    EXPECT_EQ(helper.GetTrace(), nullptr);
    EXPECT_EQ(helper.GetDebug(), nullptr);
}

}  // namespace
