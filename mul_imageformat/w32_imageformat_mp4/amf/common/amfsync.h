// Events, mutexes, critical sections and semaphores with one interface.
#pragma once

#include "amf/common/amfsystem.h"

// Time-outs are in milliseconds. May be used by several threads at once.
class AMFSyncBase
{
public:
    // Waits for the object. What true means is each class's own.
    virtual bool Lock(std::uint32_t uiTimeout = AMF_INFINITE) = 0;
    virtual bool Unlock() = 0;
    virtual ~AMFSyncBase() = default;

    AMFSyncBase(const AMFSyncBase&) = delete;
    AMFSyncBase& operator=(const AMFSyncBase&) = delete;

protected:
    AMFSyncBase() = default;
};

class AMFEvent : public AMFSyncBase
{
public:
    explicit AMFEvent(bool bInitiallySignalled = false, bool bManualReset = false, const wchar_t* pwszName = nullptr);
    ~AMFEvent() override;

    // False when the system had no handle for it. All other operations then return false.
    bool HasHandle() const { return m_hEvent != nullptr; }
    bool SetEvent();
    bool ResetEvent();

    // True only when the event was signalled.
    bool Lock(std::uint32_t uiTimeout = AMF_INFINITE) override;
    // Does nothing and returns true.
    bool Unlock() override;
    // As Lock, but true also when the time is over.
    virtual bool LockTimeout(std::uint32_t uiTimeout = AMF_INFINITE);

private:
    HANDLE m_hEvent;
};

class AMFMutex : public AMFSyncBase
{
public:
    // With bOpenExisting it is the mutex that exists under that name.
    explicit AMFMutex(bool bInitiallyOwned = false, const wchar_t* pwszName = nullptr, bool bOpenExisting = false);
    ~AMFMutex() override;

    // Lock is true only when the mutex was free, and not when its owner has ended without releasing it, although the
    // caller then has it. Unlock is true for the owner. Without a handle both are false.
    bool Lock(std::uint32_t uiTimeout = AMF_INFINITE) override;
    bool Unlock() override;

private:
    HANDLE m_hMutex;  // null when it couldn't be made or opened
};

class AMFCriticalSection : public AMFSyncBase
{
public:
    AMFCriticalSection();
    ~AMFCriticalSection() override;

    // Lock waits as long as it takes, whatever the time-out. Both are true; without memory for the section false.
    bool Lock(std::uint32_t uiTimeout = AMF_INFINITE) override;
    bool Unlock() override;

private:
    CRITICAL_SECTION* m_pSection;
};

// Holds a lock during its lifetime. Only for one whose Lock can't fail.
class AMFSyncLock
{
public:
    explicit AMFSyncLock(AMFSyncBase& sync) : m_sync(sync) { m_sync.Lock(); }
    ~AMFSyncLock() { m_sync.Unlock(); }
    AMFSyncLock(const AMFSyncLock&) = delete;
    AMFSyncLock& operator=(const AMFSyncLock&) = delete;

private:
    AMFSyncBase& m_sync;
};

class AMFSemaphore : public AMFSyncBase
{
public:
    // No handle for a maximum below 1.
    AMFSemaphore(std::int32_t nInitialCount, std::int32_t nMaximumCount, const wchar_t* pwszName = nullptr);
    ~AMFSemaphore() override;

    // Lock is true only when the count was above 0, Unlock when it was below the maximum. Without a handle both are
    // true.
    bool Lock(std::uint32_t uiTimeout = AMF_INFINITE) override;
    bool Unlock() override;
    // In place of the former semaphore. Always true. No other thread uses this object during the call.
    virtual bool Create(std::int32_t nInitialCount, std::int32_t nMaximumCount, const wchar_t* pwszName = nullptr);

private:
    HANDLE m_hSemaphore = nullptr;
};
