#include <algorithm>
#include <filesystem>
#include <string>

#include "support/temporary_folder.h"
#include "winbase_testing.h"

using namespace winbase_testing;

namespace
{

constexpr const wchar_t* c_pwszLibrary = L"winbase_testlibrary.dll";

template <typename Function>
Function* Entry(HMODULE hModule, const char* pszName)
{
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(hModule, pszName)));
}

TEST(WinbaseLibrary, IsFoundByNameAndGivesItsEntries)
{
    const HMODULE hModule = LoadLibraryW(c_pwszLibrary);
    ASSERT_TRUE(hModule);
    auto* const pfnAnswer = Entry<int()>(hModule, "TestAnswer");
    ASSERT_TRUE(pfnAnswer);
    EXPECT_EQ(pfnAnswer(), 42);
    EXPECT_TRUE(FreeLibrary(hModule));
}

TEST(WinbaseLibrary, EveryWayOfLoadingGivesTheSameLibrary)
{
    const HMODULE hWide = LoadLibraryW(c_pwszLibrary);
    const HMODULE hNarrow = LoadLibraryA("winbase_testlibrary.dll");
    const HMODULE hExtended = LoadLibraryExW(c_pwszLibrary, nullptr, LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
    const HMODULE hWithoutEnding = LoadLibraryW(L"winbase_testlibrary");
    EXPECT_TRUE(hWide);
    EXPECT_EQ(hNarrow, hWide);
    EXPECT_EQ(hExtended, hWide);
    EXPECT_EQ(hWithoutEnding, hWide);
    EXPECT_EQ(GetModuleHandleW(c_pwszLibrary), hWide);
    EXPECT_EQ(GetModuleHandleA("winbase_testlibrary.dll"), hWide);
    for (int i = 0; i < 4; ++i)
    {
        EXPECT_TRUE(FreeLibrary(hWide));
    }
    EXPECT_FALSE(GetModuleHandleW(c_pwszLibrary));
}

TEST(WinbaseLibrary, LoadedOneIsFoundByItsNameInAnyForm)
{
    const HMODULE hModule = LoadLibraryW(L"winbase_testlibrary");
    ASSERT_TRUE(hModule);
    EXPECT_EQ(GetModuleHandleW(L"winbase_testlibrary"), hModule);
    EXPECT_EQ(GetModuleHandleW(L"winbase_testlibrary.dll"), hModule);
    EXPECT_EQ(GetModuleHandleW(L"WINBASE_TestLibrary.DLL"), hModule);
    EXPECT_FALSE(GetModuleHandleW(L"winbase_testlibrar"));
    EXPECT_TRUE(FreeLibrary(hModule));
}

TEST(WinbaseLibrary, StaysAsLongAsItsLoadsAreCounted)
{
    int nDetached = 0;
    const HMODULE hModule = LoadLibraryW(c_pwszLibrary);
    ASSERT_TRUE(hModule);
    LoadLibraryW(c_pwszLibrary);
    Entry<void(int*)>(hModule, "TestCountDetach")(&nDetached);
    EXPECT_EQ(Entry<int()>(hModule, "TestAttachCount")(), 1);
    EXPECT_EQ(Entry<void*()>(hModule, "TestInstance")(), static_cast<void*>(hModule));
    EXPECT_TRUE(FreeLibrary(hModule));
    EXPECT_EQ(nDetached, 0);
    EXPECT_EQ(Entry<int()>(hModule, "TestAnswer")(), 42);
    EXPECT_TRUE(FreeLibrary(hModule));
    EXPECT_EQ(nDetached, 1);
    EXPECT_FALSE(GetModuleHandleW(c_pwszLibrary));
}

TEST(WinbaseLibrary, MissingOneIsNotFound)
{
    EXPECT_EQ(LastErrorOf([] { EXPECT_FALSE(LoadLibraryW(L"winbase_no_such_library.dll")); }),
              static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
    EXPECT_EQ(LastErrorOf([] { EXPECT_FALSE(LoadLibraryA("winbase_no_such_library")); }),
              static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
    EXPECT_EQ(LastErrorOf([] { EXPECT_FALSE(GetModuleHandleW(L"winbase_no_such_library.dll")); }),
              static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
}

TEST(WinbaseLibrary, MissingEntryIsNotFound)
{
    const HMODULE hModule = LoadLibraryW(c_pwszLibrary);
    ASSERT_TRUE(hModule);
    EXPECT_EQ(LastErrorOf([=] { EXPECT_FALSE(GetProcAddress(hModule, "TestNoSuchEntry")); }),
              static_cast<DWORD>(ERROR_PROC_NOT_FOUND));
    // The library calls this one, but it belongs to another.
    EXPECT_EQ(LastErrorOf([=] { EXPECT_FALSE(GetProcAddress(hModule, "DisableThreadLibraryCalls")); }),
              static_cast<DWORD>(ERROR_PROC_NOT_FOUND));
    FreeLibrary(hModule);
}

TEST(WinbaseLibrary, OneThatRefusesIsNotLoaded)
{
    EXPECT_EQ(LastErrorOf([] { EXPECT_FALSE(LoadLibraryW(L"winbase_refusinglibrary.dll")); }),
              static_cast<DWORD>(ERROR_DLL_INIT_FAILED));
    EXPECT_FALSE(GetModuleHandleW(L"winbase_refusinglibrary.dll"));
}

TEST(WinbaseLibrary, FileThatIsNoLibraryIsABadOne)
{
    const test_support::TemporaryFolder folder;
    const std::filesystem::path path = folder / "file.dll";
    test_support::WriteText(path,
                            "This is not a library, and long enough for the head of one. " + std::string(4096, '.'));
    EXPECT_EQ(LastErrorOf([&] { EXPECT_FALSE(LoadLibraryW(path.wstring().c_str())); }),
              static_cast<DWORD>(ERROR_BAD_EXE_FORMAT));
}

TEST(WinbaseLibrary, NoModuleCannotBeFreed)
{
    EXPECT_FALSE(FreeLibrary(nullptr));
}

TEST(WinbaseLibrary, FileNameIsTheFullPath)
{
    const HMODULE hModule = LoadLibraryW(c_pwszLibrary);
    ASSERT_TRUE(hModule);
    wchar_t wsz[1024] = {};
    const DWORD nLength = GetModuleFileNameW(hModule, wsz, 1024);
    EXPECT_EQ(nLength, std::wstring(wsz).size());
    const std::filesystem::path path(wsz);
    EXPECT_TRUE(path.is_absolute());
    EXPECT_EQ(path.stem(), L"winbase_testlibrary");
    EXPECT_TRUE(std::filesystem::exists(path));
    FreeLibrary(hModule);
}

TEST(WinbaseLibrary, FileNameOfNullIsTheProgram)
{
    wchar_t wsz[1024] = {};
    const DWORD nLength = GetModuleFileNameW(nullptr, wsz, 1024);
    EXPECT_EQ(nLength, std::wstring(wsz).size());
    EXPECT_EQ(std::filesystem::path(wsz).stem(), L"winbase_test");
    EXPECT_TRUE(GetModuleHandleW(nullptr));
}

TEST(WinbaseLibrary, ABufferTooSmallForTheFileNameIsReported)
{
    wchar_t wsz[6] = {L'x', L'x', L'x', L'x', L'x', L'x'};
    EXPECT_EQ(LastErrorOf([&] { EXPECT_EQ(GetModuleFileNameW(nullptr, wsz, 5), 5U); }),
              static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    EXPECT_EQ(wsz[5], L'x') << "written past the buffer";
}

}  // namespace
