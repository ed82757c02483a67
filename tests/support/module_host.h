// A minimal host: loads the module file and reaches everything through its factory.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "hostapi/iqmimageformat.h"
#include "hostapi/iqminputimagefile.h"
#include "hostapi/iqmoutputimagefile.h"

namespace test_support
{

// One reference on a file object. Movable, gives the reference back at its end.
template <class TFile>
class FileRef
{
public:
    FileRef() = default;
    explicit FileRef(TFile* pFile) : m_pFile(pFile) {}
    FileRef(FileRef&& other) noexcept : m_pFile(other.m_pFile) { other.m_pFile = nullptr; }
    FileRef& operator=(FileRef&& other) noexcept
    {
        std::swap(m_pFile, other.m_pFile);
        return *this;
    }
    ~FileRef() { Reset(); }

    void Reset()
    {
        if (m_pFile) m_pFile->Release();
        m_pFile = nullptr;
    }
    TFile* operator->() const { return m_pFile; }
    TFile* Get() const { return m_pFile; }
    explicit operator bool() const { return m_pFile != nullptr; }

private:
    TFile* m_pFile = nullptr;
};

using InputFile = FileRef<IQmInputImageFile>;
using OutputFile = FileRef<IQmOutputImageFile>;

// One format object of the module. The module file is loaded by the first and stays loaded.
class ModuleHost
{
public:
    ModuleHost();  // throws std::runtime_error when the module can't be loaded or makes no format object
    ~ModuleHost();
    ModuleHost(const ModuleHost&) = delete;
    ModuleHost& operator=(const ModuleHost&) = delete;

    IQmImageFormat* Format() const { return m_pFormat; }
    InputFile OpenInput(const std::filesystem::path& path) const;
    OutputFile OpenOutput(const std::filesystem::path& path) const;

    static PQmModuleConstructor Factory();

private:
    CQmClass* m_pClass = nullptr;
    IQmImageFormat* m_pFormat = nullptr;
};

// An input file's whole list of frame times, as the host gets it.
std::vector<double> CachedTimes(IQmInputImageFile* pFile);

}  // namespace test_support
