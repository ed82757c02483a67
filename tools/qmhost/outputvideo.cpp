#include "outputvideo.h"

#include <stdexcept>

#include "diagnostics.h"
#include "hostapi/hostplatform.h"
#include "parts/failure.h"
#include "parts/interruption.h"
#include "parts/text.h"
#include "parts/writtenfile.h"

namespace qmhost
{
namespace
{

// The time of a frame is in the module's list before its picture is written. After a picture that was refused, the
// file's later ones would have the times of those before them. So the first refused frame is the last one.
constexpr const char* REFUSED_FRAME = "; a refused frame ends the file, since later ones would get wrong times";

std::int32_t References(IQmImageFormat& format)
{
    CQmClass* const pClass = format.GetQmClass();
    pClass->AddRef();
    return pClass->Release();
}

}  // namespace

OutputVideo::OutputVideo(const Session& session, std::string strPath, std::uint32_t uiCodec,
                         const SQmImageAttributes& attributes)
    : m_session(session),
      m_strPath(std::move(strPath)),
      m_target(PathFromUtf8(m_strPath)),
      m_nFormatReferences(References(session.Format())),
      m_uiLosses(QM_GetLossCount())
{
    const CQmStringW strHostPath(HostPath(m_strPath, "CreateOutputFileForPath").c_str());
    IQmImageFormat& format = session.Format();
    Do("SetActiveCodec", "codec " + std::to_string(uiCodec), [&] { return format.SetActiveCodec(uiCodec); });
    Do("CreateOutputFileForPath", Quoted(m_strPath), [&] {
        IQmOutputImageFile* pFile = nullptr;
        const QmStatus nStatus = format.CreateOutputFileForPath(strHostPath, &pFile);
        m_pFile.reset(pFile);
        return nStatus == QM_OK && !pFile ? QM_ERR_FAIL : nStatus;
    });
    Do("SetImageAttributes",
       std::to_string(attributes.m_uiWidth) + " x " + std::to_string(attributes.m_uiHeight) + " pixels for " +
           Quoted(m_strPath),
       [&] { return m_pFile->SetImageAttributes(&attributes); });
}

OutputVideo::~OutputVideo()
{
    Release();
}

void OutputVideo::WriteFrame(double dTimeMs, const void* pPixels)
{
    const std::string strWhat = "frame " + std::to_string(m_uiFrames) + " of " + Quoted(m_strPath);
    Do("SetFrameTime", strWhat, [&] { return m_pFile->SetFrameTime(dTimeMs); });
    Do("WriteNextFrame", strWhat + REFUSED_FRAME, [&] { return m_pFile->WriteNextFrame(pPixels); });
    RequireNoLoss(", by frame " + std::to_string(m_uiFrames) + " at the latest");
    // A module may go on without a file when it couldn't open one. It is better reported now than at the end.
    if (m_uiFrames++ == 0 && !m_target.Exists())
        throw Failure("write", QM_ERR_FILEOPEN, "the first frame made no file " + Quoted(m_strPath));
}

void OutputVideo::Close(const std::function<void()>& complete)
{
    if (m_uiFrames == 0) ThrowIfInterrupted();  // there is no file then
    Do("CloseOutput", Quoted(m_strPath), [&] { return m_pFile->CloseOutput(); });
    Release();
    RequireNoLoss("");
    std::string strIncomplete;
    try
    {
        if (complete) complete();
    }
    catch (const std::runtime_error& e)
    {
        strIncomplete = e.what();  // what the module wrote is checked all the same
    }
    const std::string strProblem = ReadBack();
    if (!strProblem.empty())
    {
        throw Failure("write", QM_ERR_FAIL,
                      Quoted(m_strPath) + " doesn't hold the " + std::to_string(m_uiFrames) +
                          " frames written: " + strProblem + "; " + m_target.AfterFailure() +
                          (strIncomplete.empty() ? "" : ", and ") + strIncomplete);
    }
    if (!strIncomplete.empty())
        throw std::runtime_error(Quoted(m_strPath) + " is written and finished, but " + strIncomplete);
}

void OutputVideo::RequireNoLoss(const std::string& strWhere)
{
    if (QM_GetLossCount() == m_uiLosses) return;
    const std::string strDisk = m_target.DiskState();
    throw Failure("write", QM_ERR_FAIL,
                  "the system refused bytes of " + Quoted(m_strPath) + strWhere + strDisk + "; " + Abandon());
}

std::string OutputVideo::ReadBack()
try
{
    FileBytes bytes(PathFromUtf8(m_strPath));
    const std::string strProblem = WrittenFileProblem(bytes, m_uiFrames);
    if (!strProblem.empty()) return strProblem;
    BoxReader reader(bytes);
    const auto boxes = FindWrittenBoxes(reader);
    m_bNeedsRepair = boxes && boxes->m_bSizeIsCut;
    if (m_bNeedsRepair) return {};  // the module doesn't open it either
    const std::uint32_t uiThere = InputFile(m_session, m_strPath).FrameCount();
    return uiThere == m_uiFrames ? "" : "the module finds " + std::to_string(uiThere);
}
catch (const Failure& e)
{
    return e.what();
}

std::string OutputVideo::Abandon()
{
    Release();
    return m_target.AfterFailure();
}

void OutputVideo::Release()
{
    m_pFile.reset();
    // A module may have left references on its format object with the host: SetImageAttributes does. Whatever is left
    // over once the file's object is gone is given back here, so that the module can be closed in order.
    IQmImageFormat& format = m_session.Format();
    for (std::int32_t n = References(format); n > m_nFormatReferences; --n)
        format.GetQmClass()->Release();
}

template <class TCall>
void OutputVideo::Do(const char* pszOperation, const std::string& strWhat, TCall call)
{
    m_session.Diag().Forget();
    const QmStatus nStatus = call();
    if (nStatus == QM_OK) return;
    const std::string strReason = m_session.Diag().LastText();  // before the object goes, which may say more
    throw Failure(pszOperation, nStatus, strWhat + "; " + Abandon(), strReason);
}

}  // namespace qmhost
