// How long the AMF runtime stays loaded, on a file of its name, and what becomes of a machine without one.
#include <string>

#include <gtest/gtest.h>

#include <windows.h>

#include <mfapi.h>

#include "amf/common/amffactoryhelper.h"
#include "mp4filesimpl/imageformatmp4.h"
#include "common/modulestate.h"

namespace
{

constexpr wchar_t RUNTIME_FILE[] = L"amfrt64.dll";

bool IsLoaded()
{
    return GetModuleHandleW(RUNTIME_FILE) != nullptr;
}

// Sets a variable of the process for as long as it lives.
class CVariable
{
public:
    CVariable(const wchar_t* pwszName, const std::wstring& strValue) : m_pwszName(pwszName)
    {
        wchar_t wszBefore[16384] = {};
        m_bWasSet = GetEnvironmentVariableW(pwszName, wszBefore, 16384) != 0;
        m_strBefore = wszBefore;
        EXPECT_TRUE(SetEnvironmentVariableW(pwszName, strValue.c_str()));
    }
    ~CVariable() { SetEnvironmentVariableW(m_pwszName, m_bWasSet ? m_strBefore.c_str() : nullptr); }
    CVariable(const CVariable&) = delete;
    CVariable& operator=(const CVariable&) = delete;

private:
    const wchar_t* m_pwszName;
    bool m_bWasSet;
    std::wstring m_strBefore;
};

// Where a library is looked for by its bare name: the first is this repository's own place, the second Windows's.
class CRuntimeFolder
{
public:
    explicit CRuntimeFolder(const std::wstring& strFolder)
        : m_own(L"IMAGEFORMAT_MP4_RUNTIMES", strFolder), m_system(L"PATH", strFolder)
    {}

private:
    CVariable m_own;
    CVariable m_system;
};

std::wstring FolderBesideTheProgram(const wchar_t* pwszName)
{
    wchar_t wszProgram[4096] = {};
    GetModuleFileNameW(nullptr, wszProgram, 4095);
    std::wstring strFolder = wszProgram;
    strFolder.resize(strFolder.find_last_of(L"/\\") + 1);
    return strFolder + pwszName;
}

class AmfRuntime : public testing::Test
{
protected:
    const CRuntimeFolder m_folder{FolderBesideTheProgram(L"fakeamf")};
};

class NoAmfRuntime : public testing::Test
{
protected:
    void SetUp() override
    {
        const HMODULE hInstalled = LoadLibraryW(RUNTIME_FILE);
        if (hInstalled == nullptr) return;
        FreeLibrary(hInstalled);
        GTEST_SKIP() << "this machine has the runtime";
    }

    const CRuntimeFolder m_folder{FolderBesideTheProgram(L"nothing")};
};

TEST_F(AmfRuntime, TheFirstFormatObjectLoadsItAndTheLastFreesIt)
{
    ASSERT_FALSE(IsLoaded());
    IQmInterface* pFirst = ConstructImageFormatMP4(__FILE__, __LINE__);
    EXPECT_EQ(g_nAmfInitResult, 0);
    EXPECT_TRUE(IsLoaded());
    IQmInterface* pSecond = ConstructImageFormatMP4(__FILE__, __LINE__);
    delete pFirst;
    EXPECT_TRUE(IsLoaded());
    delete pSecond;
    EXPECT_FALSE(IsLoaded());

    IQmInterface* pThird = ConstructImageFormatMP4(__FILE__, __LINE__);
    EXPECT_TRUE(IsLoaded());
    delete pThird;
    EXPECT_FALSE(IsLoaded());
}

// Of two objects one loads: a single end is enough to free what both had.
TEST_F(AmfRuntime, TheSecondFormatObjectDoesNotLoadItAgain)
{
    IQmInterface* pFirst = ConstructImageFormatMP4(__FILE__, __LINE__);
    IQmInterface* pSecond = ConstructImageFormatMP4(__FILE__, __LINE__);
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

TEST_F(AmfRuntime, EveryInitNeedsATerminate)
{
    AMFFactoryHelper helper;
    EXPECT_EQ(helper.Init(), 0);
    EXPECT_EQ(helper.Init(), 0);
    EXPECT_EQ(helper.Terminate(), 0);
    EXPECT_TRUE(IsLoaded());
    EXPECT_EQ(helper.Terminate(), 0);
    EXPECT_FALSE(IsLoaded());
    EXPECT_EQ(helper.Terminate(), 0);
    EXPECT_EQ(helper.Init(), 0);
    EXPECT_TRUE(IsLoaded());
    EXPECT_EQ(helper.Terminate(), 0);
    EXPECT_FALSE(IsLoaded());
}

TEST_F(AmfRuntime, TheEndOfTheHelperFreesIt)
{
    {
        AMFFactoryHelper helper;
        EXPECT_EQ(helper.Init(), 0);
        EXPECT_TRUE(IsLoaded());
    }
    EXPECT_FALSE(IsLoaded());
}

TEST_F(NoAmfRuntime, InitGivesOneAndTerminateZero)
{
    AMFFactoryHelper helper;
    EXPECT_EQ(helper.Init(), 1);
    EXPECT_EQ(helper.Terminate(), 0);
}

TEST_F(NoAmfRuntime, TheFormatObjectServesWithoutIt)
{
    IQmInterface* pObject = ConstructImageFormatMP4(__FILE__, __LINE__);
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
