// Lines of diagnostics and their sink.
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

// Plain data on purpose: it needs no clean-up when a thread ends, which may be after the library was unloaded.
thread_local SDiagPlace t_place = {"", 0};
thread_local bool t_bInSink = false;

// Guards the sink and is held while it runs, so lines come one at a time and a replaced sink is never called again.
// Recursive, because a sink may replace itself.
std::recursive_mutex g_mutexSink;
PQmDiagSink g_pfnSink = nullptr;
void* g_pSinkUser = nullptr;

// Lets a writer of lines return early when there is no sink. Whether there still is one is checked under the lock.
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
        // Without memory the line is lost. Diagnostics never make the operation fail that they describe.
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
