// Threads that must not outlive the runtime's file.
#pragma once

namespace amfruntime
{

// An object with a thread. When the file is unloaded, or the process ends, the threads of those that clients have left
// are stopped. Where that can't be waited for, the file stays loaded as long as they run.
class OpenThread
{
public:
    OpenThread(const OpenThread&) = delete;
    OpenThread& operator=(const OpenThread&) = delete;

protected:
    OpenThread() = default;
    ~OpenThread() = default;

    // The last act of a constructor, and the first of a destructor.
    void Register();
    void Unregister();

    // Returns after the thread's end.
    virtual void StopThread() = 0;

private:
    friend class OpenThreads;

    OpenThread* m_pPrevious = nullptr;
    OpenThread* m_pNext = nullptr;
};

}  // namespace amfruntime
