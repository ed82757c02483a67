// A disk that is full, by a limit of the system.
#pragma once

#include <csignal>

#include <sys/resource.h>

namespace test_support
{

// No file of the process grows beyond that many bytes, as long as it lives: writing fails as it does on a full disk.
class CFullDisk
{
public:
    explicit CFullDisk(rlim_t nBytes) : m_pfnBefore(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit full{nBytes, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &full);
    }
    ~CFullDisk()
    {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_pfnBefore);
    }
    CFullDisk(const CFullDisk&) = delete;
    CFullDisk& operator=(const CFullDisk&) = delete;

private:
    void (*m_pfnBefore)(int);
    rlimit m_before{};
};

}  // namespace test_support
