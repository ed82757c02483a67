// What an input file tells about its frames without decoding any: times, the experiment, the block of times.
#include <cwchar>
#include <vector>

#include "hostapi/hostplatform.h"
#include "mp4filesimpl/mp4inputfile.h"

namespace
{

constexpr wchar_t TIMES_CACHE_ITEM[] = L"AcqTimesCache";
constexpr double NO_DATE = -1.0;

}  // namespace

QmStatus CQmMP4InputFile::GetPictureMetadata(std::uint32_t uiIndex, SQmPictureMetadata& metadata, std::uint32_t)
{
    NeedOpen();

    metadata.SetToDefault();
    SQmPicturePlanes::Free(metadata.m_Planes);
    SQmPicturePlanes::Alloc(metadata.m_Planes, 1, 1);
    metadata.m_bMeta3 = 0;
    metadata.m_dMeta2 = 1.0;
    metadata.m_dMeta1 = 0;
    metadata.m_strMeta4.Empty();
    if (uiIndex < m_vFrameTimesMs.size()) metadata.m_dTime = static_cast<double>(m_vFrameTimesMs[uiIndex]);
    SQmPicturePlanes::MakeRGB(metadata.m_Planes);

    return FindFileDate();
}

// Keeps the date of the file's last writing, as far as the file tells it; no operation gives it out. A file that
// doesn't open any more is the one failure of GetPictureMetadata.
QmStatus CQmMP4InputFile::FindFileDate()
{
    if (m_dJulianDay != NO_DATE || !(m_strPath != L"")) return QM_OK;

    QmFileHandle hFile = nullptr;
    if (QM_OpenFile(m_strPath, QM_FILE_READ, QM_SHARE_READ, -1, &hFile) != QM_OK) return QM_ERR_FILEOPEN;
    std::tm written = {};
    const QmStatus nStatus = QM_GetFileTimes(hFile, nullptr, nullptr, &written);
    QM_CloseFile(hFile);
    if (nStatus == QM_OK) m_dJulianDay = CQmDateTime(written).GetJulianDayNumber();
    return QM_OK;
}

QmStatus CQmMP4InputFile::GetExperiment(SQmExperiment& experiment)
{
    NeedOpen();

    const std::uint32_t uiCount = static_cast<std::uint32_t>(m_vFrameTimesMs.size());
    SQmExperiment::Init(experiment, EQmExperimentType::TimeLoop, false, uiCount, 0, 0, 1);
    experiment.m_uiCount = uiCount;
    experiment.m_uiFirst = 0;

    SQmPictureMetadata first;
    SQmPictureMetadata last;
    GetPictureMetadata(0, first, 0);
    GetPictureMetadata(uiCount - 1, last, 0);

    // The plain mean. One frame has no distance to another, and its period is 0 / 0: not a number.
    experiment.m_dDuration = last.m_dTime - first.m_dTime;
    experiment.m_dPeriod = experiment.m_dDuration / (static_cast<double>(uiCount) - 1.0);
    experiment.m_dPeriod2 = experiment.m_dPeriod;
    experiment.m_dPeriod3 = experiment.m_dPeriod;
    return QM_OK;
}

// Gives the list as it stands, without opening the file: before that it is an empty block.
QmStatus CQmMP4InputFile::GetCacheItem(const wchar_t* pwszName, CQmByteArray* pData)
{
    if (std::wcscmp(pwszName, TIMES_CACHE_ITEM) != 0) return QM_ERR_NOTIMPL;

    const std::vector<double> vTimes(m_vFrameTimesMs.begin(), m_vFrameTimesMs.end());
    pData->SetData(vTimes.data(), vTimes.size() * sizeof(double), EQmByteArrayModeOp::Replace,
                   EQmByteArrayModeAlloc::Default);
    return QM_OK;
}
