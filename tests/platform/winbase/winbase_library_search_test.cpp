// Where the platform looks for a library, and under which names.
#include <filesystem>
#include <string>

#include "support/current_folder.h"
#include "support/temporary_folder.h"
#include "winbase_testing.h"

using namespace winbase_testing;
namespace fs = std::filesystem;

namespace
{

constexpr const wchar_t* c_pwszVariable = L"IMAGEFORMAT_MP4_RUNTIMES";

fs::path TestLibrary()
{
    wchar_t wsz[1024] = {};
    GetModuleFileNameW(nullptr, wsz, 1024);
    return fs::path(wsz).parent_path() / "winbase_testlibrary.so";
}

class WinbaseLibrarySearch : public testing::Test
{
protected:
    void TearDown() override { SetEnvironmentVariableW(c_pwszVariable, nullptr); }
    void Put(const char* pszName) { fs::copy_file(TestLibrary(), m_folder / pszName); }
    void SearchThereOnly() { SetEnvironmentVariableW(c_pwszVariable, m_folder.Path().wstring().c_str()); }

    // The file that is loaded for a name; empty if none is.
    static fs::path Loaded(const std::wstring& name)
    {
        const HMODULE hModule = LoadLibraryW(name.c_str());
        wchar_t wsz[1024] = {};
        if (hModule)
        {
            GetModuleFileNameW(hModule, wsz, 1024);
            FreeLibrary(hModule);
        }
        return wsz;
    }

    const test_support::TemporaryFolder m_folder;
};

TEST_F(WinbaseLibrarySearch, DirectoryOfTheVariableComesFirst)
{
    Put("winbase_testlibrary.so");
    SearchThereOnly();
    EXPECT_EQ(Loaded(L"winbase_testlibrary.dll"), m_folder / "winbase_testlibrary.so");
}

TEST_F(WinbaseLibrarySearch, NothingElseIsSearchedWhenTheVariableIsSet)
{
    SearchThereOnly();
    EXPECT_EQ(LastErrorOf([] { EXPECT_FALSE(LoadLibraryW(L"winbase_testlibrary.dll")); }),
              static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
    SetEnvironmentVariableW(c_pwszVariable, L"");
    EXPECT_EQ(LastErrorOf([] { EXPECT_FALSE(LoadLibraryW(L"winbase_testlibrary.dll")); }),
              static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
    SetEnvironmentVariableW(c_pwszVariable, nullptr);
    EXPECT_EQ(Loaded(L"winbase_testlibrary.dll"), TestLibrary());
}

// It would mean another directory in each current folder.
TEST_F(WinbaseLibrarySearch, RelativeDirectoryOfTheVariableNamesNone)
{
    Put("winbase_testlibrary.so");
    const test_support::CurrentFolder current(m_folder.Path().parent_path());
    const std::wstring name = m_folder.Path().filename().wstring();
    for (const std::wstring& directory : {name, L"./" + name})
    {
        SetEnvironmentVariableW(c_pwszVariable, directory.c_str());
        EXPECT_EQ(LastErrorOf([] { EXPECT_FALSE(LoadLibraryW(L"winbase_testlibrary.dll")); }),
                  static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
    }
    SearchThereOnly();
    EXPECT_EQ(Loaded(L"winbase_testlibrary.dll"), m_folder / "winbase_testlibrary.so");
}

TEST_F(WinbaseLibrarySearch, NameMayCarryTheSystemsPrefix)
{
    Put("libsome64.so");
    SearchThereOnly();
    EXPECT_EQ(Loaded(L"some64.dll"), m_folder / "libsome64.so");
    EXPECT_EQ(Loaded(L"some64.DLL"), m_folder / "libsome64.so");
    EXPECT_EQ(Loaded(L"some64"), m_folder / "libsome64.so");
    EXPECT_EQ(Loaded(L"some64.so"), m_folder / "libsome64.so");
    Put("some64.so");
    EXPECT_EQ(Loaded(L"some64.dll"), m_folder / "some64.so");
}

TEST_F(WinbaseLibrarySearch, DirectoryNextToThePlatformIsSearchedToo)
{
    const fs::path runtimes = TestLibrary().parent_path() / "runtimes";
    const fs::path file = runtimes / "winbase_in_runtimes.so";
    const bool bMade = fs::create_directories(runtimes);
    fs::copy_file(TestLibrary(), file, fs::copy_options::overwrite_existing);
    EXPECT_EQ(Loaded(L"winbase_in_runtimes.dll"), file);
    fs::remove(file);
    if (bMade)
    {
        std::error_code notEmpty;  // another program's libraries may have come meanwhile
        fs::remove(runtimes, notEmpty);
    }
}

TEST_F(WinbaseLibrarySearch, CurrentFolderIsNotSearched)
{
    Put("some.so");
    Put("winbase_testlibrary.so");
    const test_support::CurrentFolder current(m_folder.Path());
    EXPECT_EQ(Loaded(L"some.dll"), fs::path());
    EXPECT_EQ(Loaded(L"winbase_testlibrary.dll"), TestLibrary());
}

TEST_F(WinbaseLibrarySearch, NameWithADirectoryIsTakenAsItIs)
{
    Put("some.so");
    SetEnvironmentVariableW(c_pwszVariable, L"");
    EXPECT_EQ(Loaded((m_folder / "some.so").wstring()), m_folder / "some.so");
    EXPECT_EQ(Loaded((m_folder / "some.dll").wstring()), m_folder / "some.so");
    EXPECT_EQ(Loaded(m_folder.Path().wstring() + L"\\some.dll"), m_folder / "some.so");
    EXPECT_EQ(Loaded((m_folder / "some").wstring()), fs::path());
    Put("some.dll");
    EXPECT_EQ(Loaded((m_folder / "some.dll").wstring()), m_folder / "some.dll");
}

TEST_F(WinbaseLibrarySearch, LoadingWithoutRunningIsRefused)
{
    EXPECT_EQ(LastErrorOf(
                  [] { EXPECT_FALSE(LoadLibraryExW(L"winbase_testlibrary.dll", nullptr, LOAD_LIBRARY_AS_DATAFILE)); }),
              static_cast<DWORD>(ERROR_NOT_SUPPORTED));
    EXPECT_EQ(LastErrorOf([] { EXPECT_FALSE(LoadLibraryW(nullptr)); }), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
}

}  // namespace
