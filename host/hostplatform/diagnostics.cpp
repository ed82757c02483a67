// Lines of diagnostics and who takes them.
#include "hostapi/hostplatform.h"

#include <atomic>
#include <mutex>
#include <new>
#include <string>
#include <utility>

#include "host/hostplatform/diagformat.h"

namespace
{

struct SDiagPlace
{
    const char* m_pszFile;
    int m_nLine;
};

// Plain data on purpose: it needs no clean-up when a thread ends, which some systems do after the library is gone.
thread_local SDiagPlace t_place = {"", 0};
thread_local bool t_bInSink = false;

// Guards the sink and is held while it runs, so that lines come one at a time and a sink that was replaced is never
// called again. Recursive because a sink may put another one in its place.
std::recursive_mutex g_mutexSink;
PQmDiagSink g_pfnSink = nullptr;
void* g_pSinkUser = nullptr;

// Tells those who write lines whether to bother; whether there still is a sink is looked up under the lock.
std::atomic<bool> g_bSinkSet = false;

class CInSink
{
public:
    CInSink() { t_bInSink = true; }
    ~CInSink() { t_bInSink = false; }
};

void CallSink(const SDiagPlace& place, const wchar_t* pwszText)
{
    const std::lock_guard lock(g_mutexSink);
    if (g_pfnSink == nullptr) return;
    const CInSink inSink;
    g_pfnSink(place.m_pszFile, place.m_nLine, pwszText, g_pSinkUser);
}

}  // namespace

void DiagOutputExW_hlp(const char* pszFile, int nLine, int)
{
    t_place = {pszFile == nullptr ? "" : pszFile, nLine};
}

void DiagOutputExW(const wchar_t* pwszFormat, ...)
{
    const SDiagPlace place = std::exchange(t_place, {"", 0});
    if (pwszFormat == nullptr || t_bInSink || !g_bSinkSet.load(std::memory_order_relaxed)) return;

    std::va_list args;
    va_start(args, pwszFormat);
    try
    {
        CallSink(place, FormatDiagText(pwszFormat, args).c_str());
    }
    catch (const std::bad_alloc&)
    {
        // A line that there is no memory for is lost. Diagnostics never fail what they describe.
    }
    va_end(args);
}

void QM_SetDiagSink(PQmDiagSink pfnSink, void* pUser)
{
    const std::lock_guard lock(g_mutexSink);
    g_pfnSink = pfnSink;
    g_pSinkUser = pUser;
    g_bSinkSet.store(pfnSink != nullptr, std::memory_order_relaxed);
}
