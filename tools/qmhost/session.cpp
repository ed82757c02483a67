#include "session.h"

#include <cstring>
#include <optional>

#include "parts/failure.h"
#include "parts/text.h"

namespace qmhost
{
namespace
{

constexpr const char* FACTORY = "QM_ConstructorForCQmImageFormatMP4";
constexpr const char* FORMAT_INTERFACE = "IQmImageFormat";
constexpr const wchar_t* TIMES_ITEM = L"AcqTimesCache";

Library LoadModule(const std::filesystem::path& path)
{
    try
    {
        return Library(path);
    }
    catch (const std::exception& e)
    {
        throw Failure("loading the module", QM_ERR_FILEOPEN, e.what());
    }
}

// The format object's interface with one reference of our own. The object itself comes without any.
IQmImageFormat* MakeFormat(const Library& library, const std::filesystem::path& pathModule)
{
    const auto strModule = Quoted(Utf8FromPath(pathModule));
    const auto pfnFactory = reinterpret_cast<PQmModuleConstructor>(library.Find(FACTORY));
    if (!pfnFactory) throw Failure("loading the module", QM_ERR_NOTIMPL, strModule + " doesn't export " + FACTORY);
    IQmInterface* const pObject = pfnFactory(__FILE__, __LINE__);
    if (!pObject) throw Failure(FACTORY, QM_ERR_FAIL, strModule + " gave no format object");

    CQmClass* const pClass = pObject->GetQmClass();
    pClass->AddRef();
    auto* const pFormat = static_cast<IQmImageFormat*>(pClass->QueryInterface(FORMAT_INTERFACE));
    pClass->Release();
    if (!pFormat) throw Failure("QueryInterface", QM_ERR_NOTIMPL, strModule + " has no " + FORMAT_INTERFACE);
    return pFormat;
}

// What the system says of a path that didn't open, to go with the module's answer.
std::string WhyNotOpen(const std::string& strPath)
{
    std::error_code error;
    const auto status = std::filesystem::status(PathFromUtf8(strPath), error);
    if (status.type() == std::filesystem::file_type::not_found) return " doesn't exist";
    if (std::filesystem::is_directory(status)) return " is a directory";
    return " can't be opened as MP4 video";
}

}  // namespace

Session::Session(const std::filesystem::path& pathModule, Diagnostics& diagnostics)
    : m_diagnostics(diagnostics), m_library(LoadModule(pathModule)), m_pFormat(MakeFormat(m_library, pathModule))
{}

std::wstring HostPath(const std::string& strPath, std::string_view operation)
{
    auto wide = WideFromUtf8(strPath);
    if (!wide) throw Failure(operation, QM_ERR_FILEOPEN, Quoted(strPath) + " isn't UTF-8");
    return *std::move(wide);
}

InputFile::InputFile(const Session& session, std::string strPath) : m_session(session), m_strPath(std::move(strPath))
{
    Open();
}

void InputFile::Reopen()
{
    const SQmImageAttributes before = m_attributes;
    m_pFile.reset();
    Open();
    if (m_attributes.m_uiWidth != before.m_uiWidth || m_attributes.m_uiHeight != before.m_uiHeight ||
        m_attributes.m_uiWidthBytes != before.m_uiWidthBytes ||
        m_attributes.m_uiSequenceCount != before.m_uiSequenceCount)
    {
        throw Failure("GetImageAttributes", QM_ERR_FAIL, Quoted(m_strPath) + " has changed while it was read");
    }
}

void InputFile::Open()
{
    IQmInputImageFile* pFile = nullptr;
    const QmStatus nStatus = m_session.Format().CreateInputFileForPath(
        CQmStringW(HostPath(m_strPath, "CreateInputFileForPath").c_str()), &pFile);
    m_pFile.reset(pFile);
    Require(nStatus, "CreateInputFileForPath", Quoted(m_strPath));

    const QmStatus nOpened = m_pFile->GetImageAttributes(&m_attributes);
    if (nOpened != QM_OK) throw Failure("GetImageAttributes", nOpened, Quoted(m_strPath) + WhyNotOpen(m_strPath));
}

SQmExperiment InputFile::Experiment()
{
    SQmExperiment experiment;
    Require(m_pFile->GetExperiment(experiment), "GetExperiment", Quoted(m_strPath));
    return experiment;
}

double InputFile::FrameTimeMs(std::uint32_t uiFrame)
{
    SQmPictureMetadata metadata;
    Require(m_pFile->GetPictureMetadata(uiFrame, metadata, 0), "GetPictureMetadata",
            "frame " + std::to_string(uiFrame) + " of " + Quoted(m_strPath));
    return metadata.m_dTime;
}

std::vector<double> InputFile::AllTimesMs()
{
    CQmByteArray block;
    Require(m_pFile->GetCacheItem(TIMES_ITEM, &block), "GetCacheItem", "the frame times of " + Quoted(m_strPath));
    std::vector<double> vTimes(block.GetSize() / sizeof(double));
    if (!vTimes.empty()) std::memcpy(vTimes.data(), block.GetData(0), vTimes.size() * sizeof(double));
    if (vTimes.size() != FrameCount())
    {
        throw Failure("GetCacheItem", QM_ERR_FAIL,
                      Quoted(m_strPath) + " has " + std::to_string(FrameCount()) + " frames, but " +
                          std::to_string(vTimes.size()) + " frame times");
    }
    return vTimes;
}

PictureView InputFile::ReadFrame(std::uint32_t uiFrame)
{
    m_vPixels.resize(std::size_t{m_attributes.m_uiWidthBytes} * m_attributes.m_uiHeight);
    Require(m_pFile->ReadFrame(uiFrame, m_vPixels.data(), nullptr, nullptr), "ReadFrame",
            "frame " + std::to_string(uiFrame) + " of " + Quoted(m_strPath));
    return {m_vPixels.data(), m_attributes.m_uiWidth, m_attributes.m_uiHeight, m_attributes.m_uiWidthBytes};
}

InputFile::Preview InputFile::ReadPreview(PictureSize size, bool bAutoContrast)
{
    const std::uint32_t uiPitch = RowPitch(size.m_uiWidth);
    Preview preview;
    preview.m_vPixels.resize(std::size_t{uiPitch} * size.m_uiHeight);
    preview.m_view = {preview.m_vPixels.data(), size.m_uiWidth, size.m_uiHeight, uiPitch};
    Require(m_pFile->GetPreviewBitmap(&size.m_uiWidth, &size.m_uiHeight, preview.m_vPixels.data(), nullptr,
                                      bAutoContrast, nullptr, nullptr),
            "GetPreviewBitmap", "the preview of " + Quoted(m_strPath));
    return preview;
}

}  // namespace qmhost
