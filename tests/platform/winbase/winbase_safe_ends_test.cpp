// What Windows leaves undefined and the platform gives a harmless end, and what its versions differ in.
#include <string>

#include "platform/winbase/version_script.h"
#include "support/short_memory.h"
#include "winbase_testing.h"

using namespace winbase_testing;

namespace
{

BOOL TryOnAnotherThread(CRITICAL_SECTION* pSection)
{
    BOOL bEntered = FALSE;
    Thread other([&] {
        bEntered = TryEnterCriticalSection(pSection);
        LeaveCriticalSection(pSection);
    });
    other.Join();
    return bEntered;
}

TEST(WinbaseSafeEnds, LeavingASectionWithoutAnOwnerDoesNothing)
{
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    LeaveCriticalSection(&section);
    EnterCriticalSection(&section);
    LeaveCriticalSection(&section);
    LeaveCriticalSection(&section);
    EXPECT_TRUE(TryOnAnotherThread(&section));
    DeleteCriticalSection(&section);
}

TEST(WinbaseSafeEnds, LeavingASectionOfAnotherThreadDoesNothing)
{
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    EnterCriticalSection(&section);
    Thread other([&] { LeaveCriticalSection(&section); });
    other.Join();
    EXPECT_FALSE(TryOnAnotherThread(&section));
    LeaveCriticalSection(&section);
    EXPECT_TRUE(TryOnAnotherThread(&section));
    DeleteCriticalSection(&section);
}

// As on Windows, where initialising a section neither fails nor throws.
TEST(WinbaseSafeEnds, ASectionNeedsNoMemory)
{
    CRITICAL_SECTION section;
    BOOL bEntered = FALSE;
    unsigned uiRefused = 0;
    {
        const CShortMemory memory(0, ~std::size_t{0});
        InitializeCriticalSection(&section);
        EnterCriticalSection(&section);
        bEntered = TryEnterCriticalSection(&section);
        LeaveCriticalSection(&section);
        LeaveCriticalSection(&section);
        DeleteCriticalSection(&section);
        uiRefused = memory.GetRefused();
    }
    EXPECT_TRUE(bEntered);
    EXPECT_EQ(uiRefused, 0U);
}

TEST(WinbaseSafeEnds, AWaitNeedsNoMemory)
{
    const Handle never(AutoResetEvent());
    const Handle later(AutoResetEvent());
    const HANDLE ahBoth[] = {never, later};
    DWORD dwTimeOut = WAIT_FAILED;
    DWORD dwAny = WAIT_FAILED;
    unsigned uiRefused = 0;
    {
        const CShortMemory memory(0, ~std::size_t{0});
        dwTimeOut = WaitForMultipleObjects(2, ahBoth, TRUE, 1);
        SetEvent(later);
        dwAny = WaitForMultipleObjects(2, ahBoth, FALSE, INFINITE);
        uiRefused = memory.GetRefused();
    }
    EXPECT_EQ(uiRefused, 0U);
    EXPECT_EQ(dwTimeOut, static_cast<DWORD>(WAIT_TIMEOUT));
    EXPECT_EQ(dwAny, WAIT_OBJECT_0 + 1);
}

TEST(WinbaseSafeEnds, DeletedSectionCanBeDeletedLeftAndEntered)
{
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    DeleteCriticalSection(&section);
    DeleteCriticalSection(&section);
    LeaveCriticalSection(&section);
    EnterCriticalSection(&section);
    EXPECT_FALSE(TryEnterCriticalSection(&section));
}

TEST(WinbaseSafeEnds, SectionMayBeDeletedWhileItsOwnerIsInside)
{
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    EnterCriticalSection(&section);
    EnterCriticalSection(&section);
    DeleteCriticalSection(&section);
    LeaveCriticalSection(&section);
}

TEST(WinbaseSafeEnds, SectionMayBeDeletedThatAnEndedThreadNeverLeft)
{
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    {
        Thread owner([&] { EnterCriticalSection(&section); });
    }
    EXPECT_FALSE(TryEnterCriticalSection(&section));
    DeleteCriticalSection(&section);
}

TEST(WinbaseSafeEnds, InvalidHandleIsRefusedByWaits)
{
    EXPECT_EQ(LastErrorOf([] { EXPECT_EQ(WaitForSingleObject(INVALID_HANDLE_VALUE, 0), WAIT_FAILED); }),
              static_cast<DWORD>(ERROR_INVALID_HANDLE));
    EXPECT_EQ(LastErrorOf([] { EXPECT_FALSE(CloseHandle(INVALID_HANDLE_VALUE)); }),
              static_cast<DWORD>(ERROR_INVALID_HANDLE));
    EXPECT_EQ(LastErrorOf([] { EXPECT_FALSE(CloseHandle(nullptr)); }), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    EXPECT_EQ(LastErrorOf([] { EXPECT_EQ(WaitForMultipleObjects(1, nullptr, FALSE, 0), WAIT_FAILED); }),
              static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST(WinbaseSafeEnds, ClosedHandleIsNeverGivenAgain)
{
    Handle first(AutoResetEvent());
    const HANDLE hClosed = first.Detach();
    CloseHandle(hClosed);
    for (int i = 0; i < 1000; ++i)
    {
        const Handle next(AutoResetEvent(true));
        ASSERT_NE(static_cast<HANDLE>(next), hClosed);
    }
    EXPECT_EQ(WaitForSingleObject(hClosed, 0), WAIT_FAILED);
}

TEST(WinbaseSafeEnds, WaitOutlivesItsHandle)
{
    const wchar_t* const pwszName = L"winbase_safe_ends_test.closed";
    Handle waited(CreateEventW(nullptr, TRUE, FALSE, pwszName));
    const Handle set(OpenEventW(EVENT_ALL_ACCESS, FALSE, pwszName));
    const HANDLE hWaited = waited.Detach();
    DWORD dwResult = WAIT_FAILED;
    Thread waiter([&] { dwResult = WaitForSingleObject(hWaited, INFINITE); });
    EXPECT_FALSE(waiter.HasEnded(50));
    CloseHandle(hWaited);
    SetEvent(set);
    EXPECT_TRUE(waiter.HasEnded(c_dwLong));
    EXPECT_EQ(dwResult, WAIT_OBJECT_0);
}

TEST(WinbaseSafeEnds, SuspendedThreadCannotBeMade)
{
    const auto body = [](LPVOID) -> DWORD { return 0; };
    EXPECT_EQ(
        LastErrorOf([&] { EXPECT_EQ(CreateThread(nullptr, 0, body, nullptr, CREATE_SUSPENDED, nullptr), nullptr); }),
        static_cast<DWORD>(ERROR_NOT_SUPPORTED));
}

TEST(WinbaseSafeEnds, ThreadIdsDoNotComeAgain)
{
    DWORD dwLast = 0;
    for (int i = 0; i < 50; ++i)
    {
        DWORD dwId = 0;
        const Handle thread(CreateThread(
            nullptr, 0, [](LPVOID) -> DWORD { return 0; }, nullptr, 0, &dwId));
        WaitForSingleObject(thread, INFINITE);
        ASSERT_GT(dwId, dwLast);
        dwLast = dwId;
    }
}

TEST(WinbaseSafeEnds, UnknownModulesAreRefused)
{
    int nNoModule = 0;
    const auto hWrong = reinterpret_cast<HMODULE>(&nNoModule);
    wchar_t wsz[16] = {};
    EXPECT_FALSE(FreeLibrary(hWrong));
    EXPECT_FALSE(GetProcAddress(hWrong, "TestAnswer"));
    EXPECT_EQ(GetModuleFileNameW(hWrong, wsz, 16), 0U);
    EXPECT_FALSE(DisableThreadLibraryCalls(hWrong));
}

TEST(WinbaseSafeEnds, DebugTextsDoNoHarm)
{
    OutputDebugStringA("text %s %n");
    OutputDebugStringW(L"text %s %n");
    OutputDebugStringA(nullptr);
    OutputDebugStringW(nullptr);
}

TEST(WinbaseSafeEnds, WaitForAllRefusesOneObjectTwice)
{
    const Handle a(AutoResetEvent(true));
    const HANDLE aHandles[] = {a, a};
    EXPECT_EQ(LastErrorOf([&] { EXPECT_EQ(WaitForMultipleObjects(2, aHandles, TRUE, 0), WAIT_FAILED); }),
              static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_TRUE(IsSet(a));
}

TEST(WinbaseSafeEnds, EmptyVariableDiffersFromAMissingOneInTheLastError)
{
    const wchar_t* const pwszName = L"WINBASE_SAFE_ENDS_TEST";
    wchar_t wsz[8] = {L'x', L'\0'};
    SetEnvironmentVariableW(pwszName, L"");
    EXPECT_EQ(LastErrorOf([&] { EXPECT_EQ(GetEnvironmentVariableW(pwszName, wsz, 8), 0U); }),
              static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_STREQ(wsz, L"");
    SetEnvironmentVariableW(pwszName, nullptr);
    EXPECT_EQ(LastErrorOf([&] { EXPECT_EQ(GetEnvironmentVariableW(pwszName, wsz, 8), 0U); }),
              static_cast<DWORD>(ERROR_ENVVAR_NOT_FOUND));
}

TEST(WinbaseSafeEnds, CutFileNameEndsWithANul)
{
    wchar_t wszFull[1024] = {};
    GetModuleFileNameW(nullptr, wszFull, 1024);
    wchar_t wsz[5] = {};
    EXPECT_EQ(GetModuleFileNameW(nullptr, wsz, 5), 5U);
    EXPECT_EQ(std::wstring(wsz), std::wstring(wszFull, 4));
}

TEST(WinbaseSafeEnds, VersionIsTheOneThatUnawareProgramsAreGiven)
{
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    ASSERT_TRUE(GetVersionExW(&version));
    EXPECT_EQ(version.dwMajorVersion, 6U);
    EXPECT_EQ(version.dwMinorVersion, 2U);
    version.dwOSVersionInfoSize = 8;
    EXPECT_EQ(LastErrorOf([&] { EXPECT_FALSE(GetVersionExW(&version)); }),
              static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
}

// 276 is the record's size where its text has 16-bit characters.
TEST(WinbaseSafeEnds, VersionIsGivenForTheSizeOfShorterCharacters)
{
    OSVERSIONINFOW version{};
    std::fill(std::begin(version.szCSDVersion), std::end(version.szCSDVersion), L'x');
    version.dwOSVersionInfoSize = 276;
    ASSERT_TRUE(GetVersionExW(&version));
    EXPECT_EQ(version.dwOSVersionInfoSize, 276U);
    EXPECT_EQ(version.dwMajorVersion, 6U);
    EXPECT_EQ(version.dwMinorVersion, 2U);
    // 20 bytes of numbers and 64 characters of 4 bytes lie within the 276 bytes.
    EXPECT_EQ(version.szCSDVersion[63], L'\0');
    EXPECT_EQ(version.szCSDVersion[64], L'x');
}

TEST(WinbaseSafeEnds, VersionIsTheOneThatATestSets)
{
    VersionScript_Set(6, 1);
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = 276;
    ASSERT_TRUE(GetVersionExW(&version));
    EXPECT_EQ(version.dwMajorVersion, 6U);
    EXPECT_EQ(version.dwMinorVersion, 1U);
    VersionScript_Reset();
    ASSERT_TRUE(GetVersionExW(&version));
    EXPECT_EQ(version.dwMinorVersion, 2U);
}

TEST(WinbaseSafeEnds, WidestVectorsAreReportedAsTheCompilerDetectsThem)
{
    __builtin_cpu_init();
    EXPECT_EQ(IsProcessorFeaturePresent(PF_AVX512F_INSTRUCTIONS_AVAILABLE) != 0,
              __builtin_cpu_supports("avx512f") != 0);
}

}  // namespace
