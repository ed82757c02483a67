#include <string>

#include "winbase_testing.h"

using namespace winbase_testing;

namespace
{

constexpr const wchar_t* c_pwszName = L"WINBASE_ENVIRONMENT_TEST";

class WinbaseEnvironment : public testing::Test
{
protected:
    void TearDown() override { SetEnvironmentVariableW(c_pwszName, nullptr); }
};

TEST_F(WinbaseEnvironment, GivesWhatWasSet)
{
    const std::wstring value = L"gr\u00fc\u00df \u65e5\u672c";
    EXPECT_TRUE(SetEnvironmentVariableW(c_pwszName, value.c_str()));
    wchar_t wsz[32] = {};
    EXPECT_EQ(GetEnvironmentVariableW(c_pwszName, wsz, 32), value.size());
    EXPECT_EQ(wsz, value);
}

TEST_F(WinbaseEnvironment, TooSmallABufferGivesTheSizeThatIsNeeded)
{
    SetEnvironmentVariableW(c_pwszName, L"12345");
    wchar_t wsz[8] = {L'x', L'\0'};
    EXPECT_EQ(GetEnvironmentVariableW(c_pwszName, nullptr, 0), 6U);
    EXPECT_EQ(GetEnvironmentVariableW(c_pwszName, wsz, 5), 6U);
    EXPECT_EQ(GetEnvironmentVariableW(c_pwszName, wsz, 6), 5U);
    EXPECT_STREQ(wsz, L"12345");
}

TEST_F(WinbaseEnvironment, MissingOneIsNotFound)
{
    wchar_t wsz[8] = {};
    EXPECT_EQ(LastErrorOf([&] { EXPECT_EQ(GetEnvironmentVariableW(c_pwszName, wsz, 8), 0U); }),
              static_cast<DWORD>(ERROR_ENVVAR_NOT_FOUND));
}

TEST_F(WinbaseEnvironment, SettingNullRemoves)
{
    SetEnvironmentVariableW(c_pwszName, L"1");
    EXPECT_TRUE(SetEnvironmentVariableW(c_pwszName, nullptr));
    wchar_t wsz[8] = {};
    EXPECT_EQ(GetEnvironmentVariableW(c_pwszName, wsz, 8), 0U);
}

TEST(WinbaseVersion, IsOneOfTheWindowsNtFamily)
{
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    ASSERT_TRUE(GetVersionExW(&version));
    EXPECT_GE(version.dwMajorVersion, 6U);
    EXPECT_EQ(version.dwPlatformId, static_cast<DWORD>(VER_PLATFORM_WIN32_NT));
}

TEST(WinbaseVersion, RecordOfUnknownSizeIsRefused)
{
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = 8;
    EXPECT_FALSE(GetVersionExW(&version));
    EXPECT_EQ(version.dwMajorVersion, 0U);
}

}  // namespace
