// A thread as something to wait for, and what the platform keeps for each thread.
#pragma once

#include <memory>

#include "platform/winbase/mutex_object.h"
#include "platform/winbase/waitable.h"

namespace winbase
{

class ThreadObject : public Waitable
{
public:
    explicit ThreadObject(DWORD dwId) : m_dwId(dwId) {}

    bool IsSignalled(DWORD /*dwThreadId*/) const override { return m_bEnded; }
    void Consume(DWORD /*dwThreadId*/) override {}

    DWORD Id() const { return m_dwId; }
    // STILL_ACTIVE until the thread has ended.
    DWORD ExitCode() const;
    void SetExitCode(DWORD dwExitCode);
    // From now on waits for the thread are satisfied.
    void End();

    int Priority() const;
    void SetPriority(int nPriority);

private:
    const DWORD m_dwId;
    DWORD m_dwExitCode = 0;
    bool m_bEnded = false;
    int m_nPriority = THREAD_PRIORITY_NORMAL;
};

// A thread id that no thread has had.
DWORD NextThreadId();

// The calling thread's object; made at the first call in a thread that CreateThread didn't start.
std::shared_ptr<ThreadObject> CurrentThreadObject();
// To be called first in a new thread: pThread is it, and ends after every other thread-local object of the thread.
void BecomeThread(std::shared_ptr<ThreadObject> pThread);

// The mutexes that the calling thread gives free when it ends.
void CurrentThreadOwns(std::shared_ptr<MutexObject> pMutex);
void CurrentThreadDisowns(const MutexObject& mutex);

}  // namespace winbase
