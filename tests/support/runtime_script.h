// A test's access to a software encoder runtime.
#pragma once

#include <cstring>
#include <stdexcept>

#include <windows.h>

namespace test_support
{

// The script of a runtime, which is loaded as long as the object lives; the script is reset at both ends. TTable is its
// table of functions.
template <class TTable>
class RuntimeScript
{
public:
    // The runtime's file, and its entry that gives the table. It is looked for where the module looks, so not in the
    // current folder. Throws std::runtime_error without such a runtime.
    RuntimeScript(const wchar_t* pwszFile, const char* pszEntry)
        : m_hRuntime(LoadLibraryExW(pwszFile, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32))
    {
        if (!m_hRuntime) throw std::runtime_error("no encoder runtime");
        const auto pfn = GetProcAddress(m_hRuntime, pszEntry);
        if (!pfn) throw std::runtime_error("an encoder runtime that takes no script");
        const TTable* (*pfnGetScript)() = nullptr;
        static_assert(sizeof pfnGetScript == sizeof pfn);
        std::memcpy(&pfnGetScript, &pfn, sizeof pfn);
        m_pScript = pfnGetScript();
        m_pScript->Reset();
    }
    ~RuntimeScript()
    {
        m_pScript->Reset();
        FreeLibrary(m_hRuntime);
    }
    RuntimeScript(const RuntimeScript&) = delete;
    RuntimeScript& operator=(const RuntimeScript&) = delete;

    const TTable* operator->() const { return m_pScript; }

private:
    HMODULE m_hRuntime;
    const TTable* m_pScript = nullptr;
};

}  // namespace test_support
