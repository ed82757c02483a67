// The scripted runtime's file, as the module finds it by its bare name.
#pragma once

#include <string>

#include <windows.h>

// Its folders lie beside the program that uses it.
class FakeRuntimeLoader
{
public:
    FakeRuntimeLoader() = default;
    // The next user is to find its own: whatever a session left loaded goes too.
    ~FakeRuntimeLoader();
    FakeRuntimeLoader(const FakeRuntimeLoader&) = delete;
    FakeRuntimeLoader& operator=(const FakeRuntimeLoader&) = delete;

    // Has the module find that build of the runtime ("full", "noversion", "nocreate"), or none ("none"), and lets the
    // latest FakeRuntime take its calls. Throws std::runtime_error when there is no such file.
    void Use(const std::string& strBuild);
    // Where the file of a build lies.
    static std::wstring FolderOf(const std::string& strBuild);
    // Whether the runtime is still loaded after this object has freed it.
    bool IsLoadedByOthers();

private:
    void Release();

    std::wstring m_wszFile;
    HMODULE m_hRuntime = nullptr;
};
