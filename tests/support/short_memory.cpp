#include "support/short_memory.h"

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

#ifndef _WIN32
#include <dlfcn.h>
#endif

namespace
{
constexpr std::size_t g_uiNone = std::numeric_limits<std::size_t>::max();

std::atomic<std::size_t> g_uiLeast{g_uiNone};
std::atomic<std::size_t> g_uiMost{0};
std::atomic<unsigned> g_uiRequestsLeft{0};  // up to the one that is refused; 0: none is for its number
std::atomic<bool> g_bNewOnly{false};        // such a number counts `new` only
std::atomic<unsigned> g_uiRefused{0};

bool IsRefused(std::size_t uiSize, bool bNew)
{
    if (uiSize >= g_uiLeast && uiSize <= g_uiMost) return true;
    if (g_bNewOnly && !bNew) return false;
    unsigned uiLeft = g_uiRequestsLeft;
    while (uiLeft != 0 && !g_uiRequestsLeft.compare_exchange_weak(uiLeft, uiLeft - 1))
    {}
    return uiLeft == 1;
}

bool Refuses(std::size_t uiSize, bool bNew)
{
    if (!IsRefused(uiSize, bNew)) return false;
    ++g_uiRefused;
    return true;
}
}  // namespace

CShortMemory::CShortMemory(std::size_t uiLeast, std::size_t uiMost)
{
    g_uiRefused = 0;
    g_uiMost = uiMost;
    g_uiLeast = uiLeast;
}

CShortMemory::CShortMemory(unsigned uiRequest, ERequests eCounted)
{
    g_uiRefused = 0;
    g_bNewOnly = eCounted == ERequests::New;
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

#ifdef _WIN32

bool CShortMemory::ReachesLibraries()
{
    return false;
}

static void* Allocate(std::size_t uiSize)
{
    return std::malloc(uiSize);
}

#else

bool CShortMemory::ReachesLibraries()
{
    return true;
}

// A program's symbols come before those of its libraries, so these are found by all of them. What they stand in front
// of is the C library's allocator, or a sanitizer's. This file is not built with a sanitizer: the first calls come
// before a sanitizer has started.
namespace
{
template <class TFunction>
TFunction* FindNext(TFunction*& pfnNext, const char* pszName)
{
    if (pfnNext == nullptr) pfnNext = reinterpret_cast<TFunction*>(dlsym(RTLD_NEXT, pszName));
    return pfnNext;
}

void* (*g_pfnMalloc)(std::size_t) = nullptr;
void* (*g_pfnCalloc)(std::size_t, std::size_t) = nullptr;
void* (*g_pfnRealloc)(void*, std::size_t) = nullptr;

void* Allocate(std::size_t uiSize)
{
    return FindNext(g_pfnMalloc, "malloc")(uiSize);
}
}  // namespace

extern "C" void* malloc(std::size_t uiSize) noexcept
{
    return Refuses(uiSize, false) ? nullptr : FindNext(g_pfnMalloc, "malloc")(uiSize);
}

extern "C" void* calloc(std::size_t uiCount, std::size_t uiSize) noexcept
{
    return Refuses(uiCount * uiSize, false) ? nullptr : FindNext(g_pfnCalloc, "calloc")(uiCount, uiSize);
}

extern "C" void* realloc(void* pBlock, std::size_t uiSize) noexcept
{
    return Refuses(uiSize, false) ? nullptr : FindNext(g_pfnRealloc, "realloc")(pBlock, uiSize);
}

#endif

void* operator new(std::size_t uiSize, const std::nothrow_t&) noexcept
{
    if (uiSize == 0) uiSize = 1;
    return Refuses(uiSize, true) ? nullptr : Allocate(uiSize);
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
