#include "support/module_host.h"

#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace test_support
{

namespace
{

// At the end of a program the search for leaks comes after the clean-up of all libraries that the module loads. One of
// them changes its thread's storage there to an invalid address, and the search crashes on it. So the search is made
// before the clean-up. What static objects hold isn't a leak then either.
void LookForLeaksBeforeLibrariesGo()
{
#if defined(__SANITIZE_ADDRESS__)
    std::atexit(__lsan_do_leak_check);
#endif
}

}  // namespace

PQmModuleConstructor ModuleHost::Factory()
{
    static const PQmModuleConstructor pfnFactory = [] {
        const HMODULE hModule = LoadLibraryW(std::filesystem::path(QM_MODULE_FILE).wstring().c_str());
        if (!hModule) throw std::runtime_error("the module file " QM_MODULE_FILE " can't be loaded");
        const auto pfn = GetProcAddress(hModule, "QM_ConstructorForCQmImageFormatMP4");
        if (!pfn) throw std::runtime_error("the module has no factory");
        LookForLeaksBeforeLibrariesGo();
        PQmModuleConstructor pfnConstructor = nullptr;
        static_assert(sizeof pfnConstructor == sizeof pfn);
        std::memcpy(&pfnConstructor, &pfn, sizeof pfn);
        return pfnConstructor;
    }();
    return pfnFactory;
}

ModuleHost::ModuleHost()
{
    IQmInterface* const pRoot = Factory()(__FILE__, __LINE__);
    if (!pRoot) throw std::runtime_error("the factory gave no object");
    m_pClass = pRoot->GetQmClass();
    m_pFormat = static_cast<IQmImageFormat*>(m_pClass->QueryInterface("IQmImageFormat"));
    if (!m_pFormat) throw std::runtime_error("the object is no image format");
}

ModuleHost::~ModuleHost()
{
    m_pClass->Release();
}

InputFile ModuleHost::OpenInput(const std::filesystem::path& path) const
{
    IQmInputImageFile* pFile = nullptr;
    m_pFormat->CreateInputFileForPath(CQmStringW(path.wstring().c_str()), &pFile);
    return InputFile(pFile);
}

OutputFile ModuleHost::OpenOutput(const std::filesystem::path& path) const
{
    IQmOutputImageFile* pFile = nullptr;
    m_pFormat->CreateOutputFileForPath(CQmStringW(path.wstring().c_str()), &pFile);
    return OutputFile(pFile);
}

std::vector<double> CachedTimes(IQmInputImageFile* pFile)
{
    CQmByteArray block;
    if (pFile->GetCacheItem(L"AcqTimesCache", &block) != QM_OK) return {};
    std::vector<double> vTimes(block.GetSize() / sizeof(double));
    if (!vTimes.empty()) std::memcpy(vTimes.data(), block.GetData(0), vTimes.size() * sizeof(double));
    return vTimes;
}

}  // namespace test_support
