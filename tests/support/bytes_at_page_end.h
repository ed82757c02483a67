// Bytes after which nothing can be read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#ifndef _WIN32
#include <sys/mman.h>
#include <unistd.h>
#endif

// The bytes end where a page begins that can't be read: a read past it ends the program. On Windows it is plain
// memory.
class CBytesAtPageEnd
{
public:
    explicit CBytesAtPageEnd(const std::vector<std::uint8_t>& vBytes)
    {
#ifdef _WIN32
        m_vBytes = vBytes;
        m_pBytes = m_vBytes.data();
#else
        const auto uiPage = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        const std::size_t uiData = (vBytes.size() + uiPage - 1) / uiPage * uiPage;
        m_uiMapped = uiData + uiPage;
        m_pMapped = mmap(nullptr, m_uiMapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        m_pBytes = static_cast<std::uint8_t*>(m_pMapped) + uiData - vBytes.size();
        std::memcpy(m_pBytes, vBytes.data(), vBytes.size());
        mprotect(static_cast<std::uint8_t*>(m_pMapped) + uiData, uiPage, PROT_NONE);
#endif
    }
    ~CBytesAtPageEnd()
    {
#ifndef _WIN32
        munmap(m_pMapped, m_uiMapped);
#endif
    }
    CBytesAtPageEnd(const CBytesAtPageEnd&) = delete;
    CBytesAtPageEnd& operator=(const CBytesAtPageEnd&) = delete;

    const std::uint8_t* Get() const
    {
        return m_pBytes;
    }

private:
    std::uint8_t* m_pBytes = nullptr;
#ifdef _WIN32
    std::vector<std::uint8_t> m_vBytes;
#else
    void* m_pMapped = nullptr;
    std::size_t m_uiMapped = 0;
#endif
};
