// A mutex that belongs to a thread.
#pragma once

#include <memory>

#include "platform/winbase/waitable.h"

namespace winbase
{

class MutexObject : public Waitable, public std::enable_shared_from_this<MutexObject>
{
public:
    bool IsSignalled(DWORD dwThreadId) const override { return m_nDepth == 0 || m_dwOwner == dwThreadId; }
    void Consume(DWORD dwThreadId) override;
    bool IsAbandoned() const override { return m_bAbandoned; }
    // Registers the mutex with the thread that owns it, so that the end of the thread releases it.
    void OnAcquired() override;

    // By the calling thread; false if it isn't the owner.
    bool Release();
    // The owner has ended.
    void Abandon(DWORD dwOwner);

private:
    DWORD m_dwOwner = 0;
    DWORD m_nDepth = 0;
    bool m_bAbandoned = false;
};

}  // namespace winbase
