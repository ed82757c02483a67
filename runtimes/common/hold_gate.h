// A gate at which the encoders of a process stop on request.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace runtimes
{

// Any thread.
class HoldGate
{
public:
    void Hold(bool bHold)
    {
        const std::lock_guard lock(m_mutex);
        m_bHold = bHold;
        m_changed.notify_all();
    }

    bool IsHeld() const
    {
        const std::lock_guard lock(m_mutex);
        return m_bHold;
    }

    // Waits while the gate is held, at most until bStop is set and Wake called.
    void Wait(const std::atomic<bool>& bStop)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return !m_bHold || bStop; });
    }

    void Wake()
    {
        const std::lock_guard lock(m_mutex);
        m_changed.notify_all();
    }

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_bHold = false;
};

}  // namespace runtimes
