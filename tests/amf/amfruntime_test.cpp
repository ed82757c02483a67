// How long the module keeps the AMF runtime loaded, and what it does on a machine without one.
#include <gtest/gtest.h>

#include <windows.h>

#include <mfapi.h>

#include "common/modulestate.h"
#include "fake_amf.h"
#include "mp4filesimpl/imageformatmp4.h"

namespace
{

bool IsLoaded()
{
    return FakeAmf::IsLoaded();
}

class AmfRuntime : public testing::Test
{
protected:
    FakeAmf m_fake;
};

class NoAmfRuntime : public testing::Test
{
protected:
    void SetUp() override
    {
        const HMODULE hInstalled = LoadLibraryExW(AMF_DLL_NAME, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
        if (hInstalled == nullptr) return;
        FreeLibrary(hInstalled);
        GTEST_SKIP() << "this machine has the runtime";
    }

    FakeAmf m_none{L"none"};
};

TEST_F(AmfRuntime, TheFirstFormatObjectLoadsItAndTheLastFreesIt)
{
    ASSERT_FALSE(IsLoaded());
    IQmInterface* pFirst = QM_ConstructorForCQmImageFormatMP4(__FILE__, __LINE__);
    EXPECT_EQ(g_nAmfInitResult, 0);
    EXPECT_TRUE(IsLoaded());
    IQmInterface* pSecond = QM_ConstructorForCQmImageFormatMP4(__FILE__, __LINE__);
    delete pFirst;
    EXPECT_TRUE(IsLoaded());
    delete pSecond;
    EXPECT_FALSE(IsLoaded());

    IQmInterface* pThird = QM_ConstructorForCQmImageFormatMP4(__FILE__, __LINE__);
    EXPECT_TRUE(IsLoaded());
    delete pThird;
    EXPECT_FALSE(IsLoaded());
}

// Of two objects one loads: a single end is enough to free what both had.
TEST_F(AmfRuntime, TheSecondFormatObjectDoesNotLoadItAgain)
{
    IQmInterface* pFirst = QM_ConstructorForCQmImageFormatMP4(__FILE__, __LINE__);
    IQmInterface* pSecond = QM_ConstructorForCQmImageFormatMP4(__FILE__, __LINE__);
    EXPECT_TRUE(IsLoaded());
    EXPECT_EQ(g_AMFFactory.Terminate(), 0);
    EXPECT_FALSE(IsLoaded());
    delete pSecond;
    delete pFirst;
}

TEST_F(AmfRuntime, AnObjectThatWasNeverCountedFreesItLikeALastOne)
{
    ASSERT_EQ(g_nFormatObjects, 0);
    ASSERT_EQ(g_AMFFactory.Init(), 0);
    ASSERT_TRUE(SUCCEEDED(MFStartup(MF_VERSION, 0)));
    StopModuleRuntime();
    EXPECT_EQ(g_nFormatObjects, 0);
    EXPECT_FALSE(IsLoaded());
}

TEST_F(AmfRuntime, ANegativeCountOfObjectsLeavesItLoaded)
{
    ASSERT_EQ(g_AMFFactory.Init(), 0);
    g_nFormatObjects = -2;
    StopModuleRuntime();
    EXPECT_EQ(g_nFormatObjects, -2);
    EXPECT_TRUE(IsLoaded());
    g_nFormatObjects = 0;
    EXPECT_EQ(g_AMFFactory.Terminate(), 0);
    EXPECT_FALSE(IsLoaded());
}

TEST_F(NoAmfRuntime, TheFormatObjectServesWithoutIt)
{
    IQmInterface* pObject = QM_ConstructorForCQmImageFormatMP4(__FILE__, __LINE__);
    ASSERT_NE(pObject, nullptr);
    EXPECT_NE(g_nAmfInitResult, 0);
    auto* pFormat = static_cast<IQmImageFormat*>(pObject->GetQmClass()->QueryInterface("IQmImageFormat"));
    ASSERT_NE(pFormat, nullptr);
    SQmCodecInfo info;
    EXPECT_EQ(pFormat->GetCodecInfo(4, &info), QM_OK);
    EXPECT_STREQ(info.m_wszCode, L"AMF1");
    EXPECT_EQ(pObject->GetQmClass()->Release(), 0);
}

}  // namespace
