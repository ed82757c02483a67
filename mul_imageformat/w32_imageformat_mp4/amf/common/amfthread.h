// A thread that is asked to stop and ends by itself.
#pragma once

#include <cstdint>
#include <memory>

#include "amf/common/amfsync.h"

class AMFThreadObj;

// Derive from it and write Run. One thread at a time: after its end the object can be started again.
//
// The owner calls Start, RequestStop and WaitForStop, in this order and on one thread. The object isn't destroyed
// before WaitForStop has returned, and may be destroyed directly after it. RequestStop may be called by Run too; a
// WaitForStop without any RequestStop before it returns at once, also while the thread runs.
//
// Without memory for a thread Start returns false; everything else is as for an object that was never started.
class AMFThread
{
public:
    AMFThread();
    // Doesn't stop a running thread.
    virtual ~AMFThread();

    AMFThread(const AMFThread&) = delete;
    AMFThread& operator=(const AMFThread&) = delete;

    // True when a thread has been started, or runs already.
    virtual bool Start();
    // Asks a running thread to stop. Always true.
    virtual bool RequestStop();
    // Returns when the thread that was asked to stop has ended, with true. False for a thread whose Init failed.
    virtual bool WaitForStop();
    // Whether a thread was asked to stop and hasn't ended.
    virtual bool StopRequested();
    // True also after an Init that failed.
    virtual bool IsRunning();

    // The thread's own: Init, and if it returns true, Run and Terminate. They throw nothing.
    virtual void Run() = 0;
    virtual bool Init() { return true; }
    virtual bool Terminate() { return true; }

private:
    std::unique_ptr<AMFThreadObj> m_thread;  // null without memory for it
};
