// What the tests of the base share.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

namespace winbase_testing
{

// Longer than anything takes that happens at all.
constexpr DWORD c_dwLong = 20'000;

// Closes its handle.
class Handle
{
public:
    explicit Handle(HANDLE h = nullptr) : m_h(h) {}
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle()
    {
        if (m_h)
        {
            CloseHandle(m_h);
        }
    }
    operator HANDLE() const { return m_h; }
    HANDLE Detach()
    {
        const HANDLE h = m_h;
        m_h = nullptr;
        return h;
    }

private:
    HANDLE m_h;
};

inline HANDLE AutoResetEvent(bool bSet = false)
{
    return CreateEventW(nullptr, FALSE, bSet ? TRUE : FALSE, nullptr);
}
inline HANDLE ManualResetEvent(bool bSet = false)
{
    return CreateEventW(nullptr, TRUE, bSet ? TRUE : FALSE, nullptr);
}

inline bool IsSet(HANDLE h)
{
    return WaitForSingleObject(h, 0) == WAIT_OBJECT_0;
}

// Runs a callable on a thread of its own; the destructor waits for its end.
template <typename Body>
class Thread
{
public:
    explicit Thread(Body body) : m_body(std::move(body)), m_h(CreateThread(nullptr, 0, &Run, this, 0, nullptr)) {}
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
    ~Thread()
    {
        Join();
        CloseHandle(m_h);
    }
    HANDLE Get() const { return m_h; }
    void Join() { WaitForSingleObject(m_h, INFINITE); }
    bool HasEnded(DWORD dwWithin = 0) const { return WaitForSingleObject(m_h, dwWithin) == WAIT_OBJECT_0; }

private:
    static DWORD WINAPI Run(LPVOID pThread)
    {
        static_cast<Thread*>(pThread)->m_body();
        return 0;
    }

    Body m_body;
    HANDLE m_h;
};

// The last error that body leaves.
template <typename Body>
DWORD LastErrorOf(Body body)
{
    SetLastError(0xDEAD);
    body();
    return GetLastError();
}

}  // namespace winbase_testing
