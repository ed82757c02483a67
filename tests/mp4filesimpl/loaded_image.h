// What a loaded module file holds in memory, by the names of its sections.
#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>

#include <windows.h>

struct SLoadedImage
{
    HMODULE m_hModule = nullptr;
    const void* m_pFunction = nullptr;  // one of its exported functions; PE images don't need it

    // Empty if it can't be found out.
    std::filesystem::path Path() const
    {
        wchar_t wszPath[4096] = {};
        return GetModuleFileNameW(m_hModule, wszPath, 4095) == 0 ? std::wstring() : std::wstring(wszPath);
    }

    // The section as it lies in memory, with what the loader has changed. Empty if the file has none of this name.
    std::span<const unsigned char> Section(const char* pszName) const;
};
