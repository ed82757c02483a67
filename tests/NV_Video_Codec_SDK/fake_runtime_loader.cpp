#include "fake_runtime_loader.h"

#include <stdexcept>

#include "fake_runtime.h"

namespace
{
std::wstring FolderOfProgram()
{
    wchar_t wszProgram[4096];
    const DWORD uiLength = GetModuleFileNameW(nullptr, wszProgram, 4096);
    const std::wstring wszPath(wszProgram, uiLength);
    return wszPath.substr(0, wszPath.find_last_of(L"/\\") + 1);
}
}  // namespace

FakeRuntimeLoader::~FakeRuntimeLoader()
{
    Release();
    while (HMODULE hLeft = GetModuleHandleW(m_wszFile.c_str()))
        FreeLibrary(hLeft);
}

void FakeRuntimeLoader::Use(const std::string& strBuild)
{
    Release();
    const std::wstring wszFolder = FolderOf(strBuild);
    m_wszFile = wszFolder + L"/nvEncodeAPI64.dll";

    // The search for the bare name ends in this folder, or, where Windows searches, at the file that is loaded already.
    SetEnvironmentVariableW(L"IMAGEFORMAT_MP4_RUNTIMES", wszFolder.c_str());
    if (strBuild == "none") return;
    m_hRuntime = LoadLibraryW(m_wszFile.c_str());
    if (!m_hRuntime) throw std::runtime_error("the scripted runtime \"" + strBuild + "\" can't be loaded");
    const auto pfnConnect = reinterpret_cast<FakeRuntimeConnectFunction>(
        reinterpret_cast<void*>(GetProcAddress(m_hRuntime, "FakeRuntimeConnect")));
    if (!pfnConnect) throw std::runtime_error("the scripted runtime has no way in");
    const SFakeRuntimeEntries entries = FakeRuntime::GetEntries();
    pfnConnect(&entries);
}

std::wstring FakeRuntimeLoader::FolderOf(const std::string& strBuild)
{
    return FolderOfProgram() + L"fakeruntimes/" + std::wstring(strBuild.begin(), strBuild.end());
}

bool FakeRuntimeLoader::IsLoadedByOthers()
{
    Release();
    return GetModuleHandleW(m_wszFile.c_str()) != nullptr;
}

void FakeRuntimeLoader::Release()
{
    if (m_hRuntime) FreeLibrary(m_hRuntime);
    m_hRuntime = nullptr;
}
