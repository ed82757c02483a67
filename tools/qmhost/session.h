// The module and its objects, held by C++ rules: what is acquired here is given back in the right order.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "hostapi/hostmeta.h"
#include "hostapi/iqmimageformat.h"
#include "hostapi/iqminputimagefile.h"
#include "parts/picturesize.h"
#include "parts/timetable.h"
#include "system.h"

namespace qmhost
{

class Diagnostics;

// A file-format module in this process, and the format object that its factory gave. Everything made from it must be
// gone before it goes itself.
class Session
{
public:
    // Throws Failure when the library doesn't load or isn't such a module. diagnostics must outlive the session.
    Session(const std::filesystem::path& pathModule, Diagnostics& diagnostics);

    IQmImageFormat& Format() const { return *m_pFormat; }
    Diagnostics& Diag() const { return m_diagnostics; }

private:
    struct ReleaseFormat
    {
        void operator()(IQmImageFormat* pFormat) const { pFormat->GetQmClass()->Release(); }
    };
    Diagnostics& m_diagnostics;
    Library m_library;  // before what it made, so that it goes last
    std::unique_ptr<IQmImageFormat, ReleaseFormat> m_pFormat;
};

// A path for the host's interfaces. Throws Failure of that operation for text that isn't UTF-8.
std::wstring HostPath(const std::string& strPath, std::string_view operation);

// One file that is read. Whatever the module refuses is thrown as Failure.
class InputFile
{
public:
    // Opens the file, so that the attributes are known. strPath is UTF-8. The session must outlive the object.
    InputFile(const Session& session, std::string strPath);

    // Starts again with a new object of the module. An object whose first pictures are damaged may read nothing more,
    // not even what is undamaged. Throws Failure as well when the file has another shape now.
    void Reopen();

    const std::string& Path() const { return m_strPath; }
    const SQmImageAttributes& Attributes() const { return m_attributes; }
    std::uint32_t FrameCount() const { return m_attributes.m_uiSequenceCount; }

    SQmExperiment Experiment();
    // The time of one frame, milliseconds.
    double FrameTimeMs(std::uint32_t uiFrame);
    // The times of all frames, milliseconds, read in one piece.
    std::vector<double> AllTimesMs();

    // Fills the object's one picture buffer. The view holds until the next call. uiFrame must be below FrameCount().
    PictureView ReadFrame(std::uint32_t uiFrame);

    // The first frame at a size of the caller's choice.
    struct Preview
    {
        std::vector<unsigned char> m_vPixels;
        PictureView m_view;  // of m_vPixels
    };
    Preview ReadPreview(PictureSize size, bool bAutoContrast);

private:
    struct ReleaseFile
    {
        void operator()(IQmInputImageFile* pFile) const { pFile->Release(); }
    };
    void Open();

    const Session& m_session;
    std::string m_strPath;
    std::unique_ptr<IQmInputImageFile, ReleaseFile> m_pFile;
    SQmImageAttributes m_attributes;
    std::vector<unsigned char> m_vPixels;
};

}  // namespace qmhost
