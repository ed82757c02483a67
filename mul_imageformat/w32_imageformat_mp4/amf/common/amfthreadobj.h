// The thread of an AMFThread.
#pragma once

#include <cstdint>
#include <memory>

#include "amf/common/amfthread.h"

// Operations as in AMFThread.
class AMFThreadObj
{
public:
    // Throws std::bad_alloc. The owner outlives this object.
    explicit AMFThreadObj(AMFThread* pOwner);
    virtual ~AMFThreadObj() = default;

    AMFThreadObj(const AMFThreadObj&) = delete;
    AMFThreadObj& operator=(const AMFThreadObj&) = delete;

    virtual bool Start();
    virtual bool RequestStop();
    virtual bool WaitForStop();
    virtual bool StopRequested();
    virtual bool IsRunning();
    virtual void Run();
    virtual bool Init();
    virtual bool Terminate();

private:
    // No thread: what the C runtime returns instead of a handle.
    static constexpr std::uintptr_t NO_THREAD = ~std::uintptr_t{0};

    // What this object and its thread share. The thread holds a reference of its own: an owner that WaitForStop has
    // released may destroy this object while the thread takes its last steps.
    struct SState
    {
        AMFCriticalSection m_csState;          // guards what follows; the event is waited for without it
        std::uintptr_t m_pThread = NO_THREAD;  // the handle, which closes itself
        bool m_bInitFailed = false;

        // The reverse of its name: signalled while no stop is asked for, and after the end of the thread.
        AMFEvent m_StopEvent{true, true};
    };

    static void ThreadProcedure(void* pThreadObj);

    AMFThread* const m_pOwner;
    const std::shared_ptr<SState> m_pState;
};
