#include "amf/common/amfthreadobj.h"

#include <new>

#include <process.h>

// --- AMFThread

AMFThread::AMFThread()
{
    try
    {
        m_thread = std::make_unique<AMFThreadObj>(this);
    }
    catch (const std::bad_alloc&)
    {
        // Start reports it.
    }
}

AMFThread::~AMFThread() = default;

bool AMFThread::Start()
{
    return m_thread && m_thread->Start();
}

bool AMFThread::RequestStop()
{
    return !m_thread || m_thread->RequestStop();
}

bool AMFThread::WaitForStop()
{
    return !m_thread || m_thread->WaitForStop();
}

bool AMFThread::StopRequested()
{
    return m_thread && m_thread->StopRequested();
}

bool AMFThread::IsRunning()
{
    return m_thread && m_thread->IsRunning();
}

// --- AMFThreadObj

AMFThreadObj::AMFThreadObj(AMFThread* pOwner) : m_pOwner(pOwner), m_pState(std::make_shared<SState>())
{
    if (!m_pState->m_csState.Lock()) throw std::bad_alloc();
    m_pState->m_csState.Unlock();
}

// The lock is held until the handle is stored. A thread that ends at once must not be taken for a running one.
bool AMFThreadObj::Start()
{
    const AMFSyncLock lock(m_pState->m_csState);
    if (m_pState->m_pThread != NO_THREAD) return true;
    if (!m_pState->m_StopEvent.HasHandle()) return false;
    m_pState->m_pThread = static_cast<std::uintptr_t>(_beginthread(ThreadProcedure, 0, this));
    return m_pState->m_pThread != NO_THREAD;
}

bool AMFThreadObj::RequestStop()
{
    const AMFSyncLock lock(m_pState->m_csState);
    if (m_pState->m_pThread != NO_THREAD) m_pState->m_StopEvent.ResetEvent();
    return true;
}

bool AMFThreadObj::WaitForStop()
{
    {
        const AMFSyncLock lock(m_pState->m_csState);
        if (m_pState->m_pThread == NO_THREAD) return true;
        if (m_pState->m_bInitFailed) return false;
    }
    const bool bSignalled = m_pState->m_StopEvent.Lock();
    const AMFSyncLock lock(m_pState->m_csState);
    return bSignalled && !m_pState->m_bInitFailed;
}

bool AMFThreadObj::StopRequested()
{
    return !m_pState->m_StopEvent.Lock(0);
}

bool AMFThreadObj::IsRunning()
{
    const AMFSyncLock lock(m_pState->m_csState);
    return m_pState->m_pThread != NO_THREAD;
}

void AMFThreadObj::Run()
{
    m_pOwner->Run();
}

bool AMFThreadObj::Init()
{
    return m_pOwner->Init();
}

bool AMFThreadObj::Terminate()
{
    return m_pOwner->Terminate();
}

// After the lock at the end this object may be gone.
void AMFThreadObj::ThreadProcedure(void* pThreadObj)
{
    auto* const pThis = static_cast<AMFThreadObj*>(pThreadObj);
    const std::shared_ptr<SState> pState = pThis->m_pState;
    const bool bInit = pThis->Init();
    if (bInit)
    {
        pThis->Run();
        pThis->Terminate();
    }

    const AMFSyncLock lock(pState->m_csState);
    if (bInit)
        pState->m_pThread = NO_THREAD;
    else
        pState->m_bInitFailed = true;  // the handle stays, but nothing would ever release a waiter
    if (!pState->m_StopEvent.Lock(0)) pState->m_StopEvent.SetEvent();
}
