// A video file that the module writes.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "hostapi/iqmoutputimagefile.h"
#include "parts/targetfile.h"
#include "session.h"

namespace qmhost
{

// One file that is written. Whatever the module refuses is thrown as Failure, which also says what is left at the path:
// the module opens the file under its own name, and a broken one stays.
class OutputVideo
{
public:
    // Makes the module's object; the file itself is opened by the first frame. strPath is UTF-8; uiCodec is a row of
    // the format's codec table. The session must outlive the object.
    OutputVideo(const Session& session, std::string strPath, std::uint32_t uiCodec,
                const SQmImageAttributes& attributes);
    ~OutputVideo();
    OutputVideo(const OutputVideo&) = delete;
    OutputVideo& operator=(const OutputVideo&) = delete;

    // Writes the next frame: rows at the pitch of the attributes.
    void WriteFrame(double dTimeMs, const void* pPixels);

    // Finishes the file and checks that it holds every frame: the module doesn't report a write to disk that failed.
    // complete, if given, is called between the two, when the module has let the file go; it may replace the file. A
    // std::runtime_error of it is thrown after the check; its text goes on after "'OUT.mp4' is written and finished,
    // but ". A file that only lacks the upper bits of a size isn't refused.
    void Close(const std::function<void()>& complete = {});

    // After Close: whether the file is whole, but opens in no program before it is repaired, since the size of its
    // media data is cut to 32 bits.
    bool NeedsRepair() const { return m_bNeedsRepair; }

    // Written so far.
    std::uint32_t Frames() const { return m_uiFrames; }

    // Gives the file up, and says in a few words what is left of it.
    std::string Abandon();

private:
    struct ReleaseFile
    {
        void operator()(IQmOutputImageFile* pFile) const { pFile->Release(); }
    };

    // Runs one operation of the module's object.
    template <class TCall>
    void Do(const char* pszOperation, const std::string& strWhat, TCall call);

    // Lets the module's object go, once.
    void Release();

    // Throws Failure when the system has refused bytes of the file. The module drops the status of its writes.
    void RequireNoLoss(const std::string& strWhere);

    // What is wrong with the file that was written, "" for nothing.
    std::string ReadBack();

    const Session& m_session;
    std::string m_strPath;
    TargetFile m_target;
    std::int32_t m_nFormatReferences;  // without the module's object
    std::unique_ptr<IQmOutputImageFile, ReleaseFile> m_pFile;
    std::uint32_t m_uiFrames = 0;  // written
    bool m_bNeedsRepair = false;
    std::uint32_t m_uiLosses;  // files that had lost bytes before this one
};

}  // namespace qmhost
