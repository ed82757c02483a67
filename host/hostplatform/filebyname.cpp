// Operations on files by name: copying, moving, removing.
#include "hostapi/hostplatform.h"

#include <algorithm>
#include <memory>
#include <new>
#include <string>

#include "host/hostplatform/nativefile.h"

namespace
{

constexpr std::size_t COPY_STEP = 1024 * 1024;

class CProgress
{
public:
    CProgress(PQmFileProgress pfnProgress, void* pUser) : m_pfnProgress(pfnProgress), m_pUser(pUser) {}

    // False when the operation is to stop.
    bool Report(std::uint64_t uiDone, std::uint64_t uiTotal) const
    {
        return m_pfnProgress == nullptr || m_pfnProgress(uiDone, uiTotal, m_pUser);
    }

private:
    PQmFileProgress m_pfnProgress;
    void* m_pUser;
};

bool IsPath(const wchar_t* pwszPath)
{
    return pwszPath != nullptr && *pwszPath != L'\0';
}

// A file beside the target that takes the target's bytes until they are complete. Its destructor removes it unless it
// was renamed. So a failed copy leaves no part of itself, and an existing target as it was.
class CPartialFile
{
public:
    bool Create(const wchar_t* pwszTarget)
    {
        constexpr int MAX_ATTEMPTS = 100;
        // Not made from the target's name, which may have the greatest length already.
        const std::wstring strFolder(pwszTarget, FindNativeFileName(pwszTarget));
        for (int i = 0; i < MAX_ATTEMPTS && !m_bCreated; ++i)
        {
            m_strPath = strFolder + L"~copy" + std::to_wstring(i) + L".part";
            m_bCreated = m_file.Open(m_strPath.c_str(), EFileAccess::CreateNew, false);
            if (!m_bCreated && !NativePathExists(m_strPath.c_str())) break;  // the name isn't the reason
        }
        return m_bCreated;
    }

    ~CPartialFile()
    {
        if (!m_bCreated) return;
        m_file.Close();
        RemoveNativeFile(m_strPath.c_str());
    }

    CNativeFile& File() { return m_file; }

    bool FinishAs(const wchar_t* pwszTarget, bool bReplace)
    {
        if (!m_file.Close()) return false;
        if (RenameNativeFile(m_strPath.c_str(), pwszTarget, bReplace) != ERenameResult::Done) return false;
        m_bCreated = false;
        return true;
    }

private:
    CNativeFile m_file;
    std::wstring m_strPath;
    bool m_bCreated = false;
};

bool CopyBytes(CNativeFile& source, CNativeFile& target, std::uint64_t uiTotal, const CProgress& progress)
{
    const auto pBuffer = std::make_unique<unsigned char[]>(COPY_STEP);
    std::uint64_t uiDone = 0;
    std::size_t uiRead = 0;
    do
    {
        if (!source.ReadAt(uiDone, pBuffer.get(), COPY_STEP, &uiRead)) return false;
        if (!target.WriteAt(uiDone, pBuffer.get(), uiRead)) return false;
        uiDone += uiRead;
        if (uiRead != 0 && !progress.Report(uiDone, std::max(uiDone, uiTotal))) return false;  // the source may grow
    } while (uiRead == COPY_STEP);
    return true;
}

QmStatus CopyWithProgress(const wchar_t* pwszFrom, const wchar_t* pwszTo, bool bOverwrite, const CProgress& progress)
{
    CNativeFile source;
    std::uint64_t uiTotal = 0;
    if (!source.Open(pwszFrom, EFileAccess::Read, true) || !source.GetSize(&uiTotal)) return QM_ERR_FILEOPEN;
    if (!bOverwrite && NativePathExists(pwszTo)) return QM_ERR_FILEOPEN;
    if (!progress.Report(0, uiTotal)) return QM_ERR_FAIL;

    CPartialFile target;
    if (!target.Create(pwszTo)) return QM_ERR_FILEOPEN;
    if (!CopyBytes(source, target.File(), uiTotal, progress)) return QM_ERR_FAIL;
    target.File().TakeAttributesOf(source);
    source.Close();  // the target may be the same file, which Windows doesn't replace while it is open
    return target.FinishAs(pwszTo, bOverwrite) ? QM_OK : QM_ERR_FAIL;
}

QmStatus MoveWithProgress(const wchar_t* pwszFrom, const wchar_t* pwszTo, bool bOverwrite, const CProgress& progress)
{
    std::uint64_t uiTotal = 0;
    if (!GetNativeFileSize(pwszFrom, &uiTotal)) return QM_ERR_FILEOPEN;
    if (!bOverwrite && NativePathExists(pwszTo)) return QM_ERR_FILEOPEN;
    if (!progress.Report(0, uiTotal)) return QM_ERR_FAIL;

    switch (RenameNativeFile(pwszFrom, pwszTo, bOverwrite))
    {
    case ERenameResult::Done:
        progress.Report(uiTotal, uiTotal);
        return QM_OK;
    case ERenameResult::Failed:
        return QM_ERR_FAIL;
    case ERenameResult::OtherDevice:
        break;
    }
    const QmStatus nStatus = CopyWithProgress(pwszFrom, pwszTo, bOverwrite, progress);
    if (nStatus != QM_OK) return nStatus;
    return RemoveNativeFile(pwszFrom) ? QM_OK : QM_ERR_FAIL;
}

}  // namespace

QmStatus QM_GetFileSizeFromName(const wchar_t* pwszPath, std::uint64_t* puiSize)
{
    if (puiSize == nullptr) return QM_ERR_FAIL;
    if (!IsPath(pwszPath)) return QM_ERR_FILEOPEN;
    try
    {
        return GetNativeFileSize(pwszPath, puiSize) ? QM_OK : QM_ERR_FILEOPEN;
    }
    catch (const std::bad_alloc&)
    {
        return QM_ERR_FAIL;
    }
}

QmStatus QM_CopyFile(const wchar_t* pwszFrom, const wchar_t* pwszTo, bool bOverwrite, PQmFileProgress pfnProgress,
                     void* pUser, std::uint32_t)
{
    if (!IsPath(pwszFrom) || !IsPath(pwszTo)) return QM_ERR_FILEOPEN;
    try
    {
        return CopyWithProgress(pwszFrom, pwszTo, bOverwrite, CProgress(pfnProgress, pUser));
    }
    catch (const std::bad_alloc&)
    {
        return QM_ERR_FAIL;
    }
}

QmStatus QM_MoveFile(const wchar_t* pwszFrom, const wchar_t* pwszTo, bool bOverwrite, PQmFileProgress pfnProgress,
                     void* pUser, std::uint32_t)
{
    if (!IsPath(pwszFrom) || !IsPath(pwszTo)) return QM_ERR_FILEOPEN;
    try
    {
        return MoveWithProgress(pwszFrom, pwszTo, bOverwrite, CProgress(pfnProgress, pUser));
    }
    catch (const std::bad_alloc&)
    {
        return QM_ERR_FAIL;
    }
}

QmStatus QM_RemoveFile(const wchar_t* pwszPath, std::uint32_t)
{
    if (!IsPath(pwszPath)) return QM_ERR_FAIL;
    try
    {
        return RemoveNativeFile(pwszPath) ? QM_OK : QM_ERR_FAIL;
    }
    catch (const std::bad_alloc&)
    {
        return QM_ERR_FAIL;
    }
}
