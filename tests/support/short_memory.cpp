#include "support/short_memory.h"

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

namespace
{
constexpr std::size_t g_uiNone = std::numeric_limits<std::size_t>::max();

std::atomic<std::size_t> g_uiLeast{g_uiNone};
std::atomic<std::size_t> g_uiMost{0};
std::atomic<unsigned> g_uiRequestsLeft{0};  // up to the one that is refused; 0: none is for its number
std::atomic<unsigned> g_uiRefused{0};

bool IsRefused(std::size_t uiSize)
{
    if (uiSize >= g_uiLeast && uiSize <= g_uiMost) return true;
    unsigned uiLeft = g_uiRequestsLeft;
    while (uiLeft != 0 && !g_uiRequestsLeft.compare_exchange_weak(uiLeft, uiLeft - 1))
    {}
    return uiLeft == 1;
}
}  // namespace

CShortMemory::CShortMemory(std::size_t uiLeast, std::size_t uiMost)
{
    g_uiRefused = 0;
    g_uiMost = uiMost;
    g_uiLeast = uiLeast;
}

CShortMemory::CShortMemory(unsigned uiRequest)
{
    g_uiRefused = 0;
    g_uiRequestsLeft = uiRequest;
}

CShortMemory::~CShortMemory()
{
    g_uiLeast = g_uiNone;
    g_uiRequestsLeft = 0;
}

unsigned CShortMemory::GetRefused() const
{
    return g_uiRefused;
}

// The program's own, in place of the library's.

void* operator new(std::size_t uiSize, const std::nothrow_t&) noexcept
{
    if (IsRefused(uiSize))
    {
        ++g_uiRefused;
        return nullptr;
    }
    return std::malloc(uiSize == 0 ? 1 : uiSize);
}

void* operator new(std::size_t uiSize)
{
    void* const pBlock = operator new(uiSize, std::nothrow);
    if (pBlock == nullptr) throw std::bad_alloc();
    return pBlock;
}

void* operator new[](std::size_t uiSize, const std::nothrow_t&) noexcept
{
    return operator new(uiSize, std::nothrow);
}

void* operator new[](std::size_t uiSize)
{
    return operator new(uiSize);
}

void operator delete(void* pBlock) noexcept
{
    std::free(pBlock);
}

void operator delete(void* pBlock, std::size_t) noexcept
{
    std::free(pBlock);
}

void operator delete(void* pBlock, const std::nothrow_t&) noexcept
{
    std::free(pBlock);
}

void operator delete[](void* pBlock) noexcept
{
    std::free(pBlock);
}

void operator delete[](void* pBlock, std::size_t) noexcept
{
    std::free(pBlock);
}

void operator delete[](void* pBlock, const std::nothrow_t&) noexcept
{
    std::free(pBlock);
}
