#include "mp4_outputfile/targetgrowth.h"

#include "common/waits.h"
#include "hostapi/hostplatform.h"

namespace
{

constexpr DWORD LOOK_EVERY_MS = 1000;

}  // namespace

CTargetGrowth::CTargetGrowth(const wchar_t* pwszPath)
    : m_pwszPath(pwszPath), m_uiSize(ReadSize()), m_uiGrownAt(GetMilliseconds())
{}

DWORD CTargetGrowth::AwaitAny(const HANDLE* phAny, DWORD dwCount)
{
    for (;;)
    {
        const DWORD dwResult = ::AwaitAny(phAny, dwCount, LOOK_EVERY_MS);
        if (dwResult != WAIT_TIMEOUT) return dwResult;

        const std::uint64_t uiSize = ReadSize();
        const std::uint64_t uiNow = GetMilliseconds();
        if (uiSize > m_uiSize) m_uiGrownAt = uiNow;
        m_uiSize = uiSize;
        if (uiNow - m_uiGrownAt >= SILENCE_LIMIT_MS) return WAIT_TIMEOUT;
    }
}

std::uint64_t CTargetGrowth::ReadSize() const
{
    std::uint64_t uiSize = 0;
    return QM_GetFileSizeFromName(m_pwszPath, &uiSize) == QM_OK ? uiSize : 0;
}
