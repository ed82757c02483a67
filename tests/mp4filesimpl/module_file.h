// The module as a host gets it: loaded from its file beside the program, reached through its one factory.
#pragma once

#include <string>

#include <windows.h>

#include "hostapi/iqmimageformat.h"

class CModuleFile
{
public:
    CModuleFile()
    {
        wchar_t wszProgram[1024] = {};
        GetModuleFileNameW(nullptr, wszProgram, 1023);
        std::wstring strFile = wszProgram;
        strFile.resize(strFile.find_last_of(L"/\\") + 1);
        // Stays loaded: a report of a leak names the functions that made it.
        m_hModule = LoadLibraryW((strFile + L"imageformat_mp4.dll").c_str());
        if (m_hModule == nullptr) return;
        m_pfnConstructor = reinterpret_cast<PQmModuleConstructor>(
            reinterpret_cast<void*>(GetProcAddress(m_hModule, "QM_ConstructorForCQmImageFormatMP4")));
    }

    HMODULE Handle() const { return m_hModule; }
    PQmModuleConstructor Constructor() const { return m_pfnConstructor; }

private:
    HMODULE m_hModule = nullptr;
    PQmModuleConstructor m_pfnConstructor = nullptr;
};

// A format object with one reference.
class CLoadedFormat
{
public:
    CLoadedFormat()
    {
        static const CModuleFile module;
        if (module.Constructor() == nullptr) return;
        m_pInterface = module.Constructor()(__FILE__, __LINE__);
        m_pFormat = static_cast<IQmImageFormat*>(m_pInterface->GetQmClass()->QueryInterface("IQmImageFormat"));
    }
    ~CLoadedFormat()
    {
        if (m_pInterface != nullptr) m_pInterface->GetQmClass()->Release();
    }
    CLoadedFormat(const CLoadedFormat&) = delete;
    CLoadedFormat& operator=(const CLoadedFormat&) = delete;

    IQmImageFormat* operator->() const { return m_pFormat; }
    IQmImageFormat* Get() const { return m_pFormat; }
    CQmClass* Class() const { return m_pInterface->GetQmClass(); }

private:
    IQmInterface* m_pInterface = nullptr;
    IQmImageFormat* m_pFormat = nullptr;
};
