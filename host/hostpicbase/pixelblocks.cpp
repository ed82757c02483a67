#include "host/hostpicbase/pixelblocks.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(pMemory, uiSize) ((void)(pMemory), (void)(uiSize))
#define ASAN_UNPOISON_MEMORY_REGION(pMemory, uiSize) ((void)(pMemory), (void)(uiSize))
#endif

namespace
{

// Vector code reads and writes whole registers: rows begin at a multiple of the widest one, and the block has one more
// after the last row.
constexpr std::size_t ALIGNMENT = 64;
constexpr std::size_t SLACK = 64;

// Smaller blocks cost the C library next to nothing.
constexpr std::size_t LEAST_KEPT_SIZE = 256 * 1024;
// A reader frees its pictures in groups, as many as it makes then. When a picture has been freed, living and idle ones
// together hold no more than the living ones once did, counted since there were none.
constexpr std::size_t MOST_IDLE_BLOCKS = 64;
constexpr std::size_t MOST_IDLE_BYTES = 384 * 1024 * 1024;

// Lies directly before the pixels.
struct SHead
{
    void* m_pBlock;        // as the C library gave it
    std::size_t m_uiSize;  // of the pixels
};

unsigned char* PixelsIn(void* pBlock, std::size_t uiSize)
{
    const auto uiFirst = reinterpret_cast<std::uintptr_t>(pBlock) + sizeof(SHead);
    auto* const pPixels = static_cast<unsigned char*>(pBlock) + sizeof(SHead) + (0 - uiFirst) % ALIGNMENT;
    new (pPixels - sizeof(SHead)) SHead{pBlock, uiSize};
    return pPixels;
}

SHead& HeadOf(unsigned char* pPixels)
{
    return *std::launder(reinterpret_cast<SHead*>(pPixels - sizeof(SHead)));
}

// Blocks without a picture, the one that was freed last at the end: its bytes may still be in the processor's cache.
class CIdleBlocks
{
public:
    // An idle block of exactly that size for a picture, or null.
    unsigned char* Take(std::size_t uiSize)
    {
        const std::lock_guard lock(m_mutex);
        for (std::size_t i = m_uiCount; i-- > 0;)
        {
            if (HeadOf(m_aBlocks[i]).m_uiSize != uiSize) continue;
            m_uiLivingBytes += uiSize;
            return Remove(i);
        }
        return nullptr;
    }

    // Counts a picture whose block is a new one.
    void Count(std::size_t uiSize)
    {
        const std::lock_guard lock(m_mutex);
        m_uiLivingBytes += uiSize;
        m_uiMostLivingBytes = std::max(m_uiMostLivingBytes, m_uiLivingBytes);
    }

    // Counts a picture less and keeps its pixels. What is too much goes back to the system, the oldest first, and so
    // everything after the last picture.
    void Keep(unsigned char* pPixels)
    {
        CReturned returned;  // after the lock: other files' pictures don't wait for it
        const std::lock_guard lock(m_mutex);
        const std::size_t uiSize = HeadOf(pPixels).m_uiSize;
        m_uiLivingBytes -= uiSize;
        m_uiIdleBytes += uiSize;
        m_aBlocks[m_uiCount++] = pPixels;
        ASAN_POISON_MEMORY_REGION(pPixels, uiSize);
        if (m_uiLivingBytes == 0) m_uiMostLivingBytes = 0;
        while (m_uiCount > MOST_IDLE_BLOCKS || m_uiIdleBytes > MOST_IDLE_BYTES ||
               m_uiLivingBytes + m_uiIdleBytes > m_uiMostLivingBytes)
        {
            returned.Add(Remove(0));
        }
    }

    // Gives everything that is idle back to the system. Whether there was anything.
    bool ReturnAll()
    {
        CReturned returned;
        const std::lock_guard lock(m_mutex);
        const bool bAny = m_uiCount > 0;
        while (m_uiCount > 0)
            returned.Add(Remove(0));
        return bAny;
    }

    std::size_t GetBytes()
    {
        const std::lock_guard lock(m_mutex);
        return m_uiIdleBytes;
    }

private:
    // Blocks that go back to the system when it goes.
    class CReturned
    {
    public:
        CReturned() = default;
        ~CReturned()
        {
            for (std::size_t i = 0; i < m_uiCount; ++i)
                std::free(m_aBlocks[i]);
        }
        CReturned(const CReturned&) = delete;
        CReturned& operator=(const CReturned&) = delete;

        void Add(unsigned char* pPixels) { m_aBlocks[m_uiCount++] = HeadOf(pPixels).m_pBlock; }

    private:
        std::array<void*, MOST_IDLE_BLOCKS + 1> m_aBlocks;
        std::size_t m_uiCount = 0;
    };

    unsigned char* Remove(std::size_t uiIndex)
    {
        unsigned char* const pPixels = m_aBlocks[uiIndex];
        std::copy(m_aBlocks.data() + uiIndex + 1, m_aBlocks.data() + m_uiCount, m_aBlocks.data() + uiIndex);
        --m_uiCount;
        const std::size_t uiSize = HeadOf(pPixels).m_uiSize;
        m_uiIdleBytes -= uiSize;
        ASAN_UNPOISON_MEMORY_REGION(pPixels, uiSize);
        return pPixels;
    }

    std::mutex m_mutex;
    std::array<unsigned char*, MOST_IDLE_BLOCKS + 1> m_aBlocks{};
    std::size_t m_uiCount = 0;
    std::size_t m_uiIdleBytes = 0;
    std::size_t m_uiLivingBytes = 0;      // of large pictures
    std::size_t m_uiMostLivingBytes = 0;  // since there were none
};

// Never destroyed: a picture may be freed after the objects of other files are gone.
CIdleBlocks& IdleBlocks()
{
    alignas(CIdleBlocks) static unsigned char s_aMemory[sizeof(CIdleBlocks)];
    static CIdleBlocks* const s_pBlocks = new (s_aMemory) CIdleBlocks;
    return *s_pBlocks;
}

void* AllocateBlock(std::size_t uiSize, bool bZero)
{
    const std::size_t uiBlock = sizeof(SHead) + ALIGNMENT - 1 + uiSize + SLACK;
    // The system's memory is zero already, so a large block needs no clearing.
    return bZero ? std::calloc(uiBlock, 1) : std::malloc(uiBlock);
}

}  // namespace

unsigned char* AllocatePixels(std::size_t uiSize, bool bZero) noexcept
{
    const bool bLarge = uiSize >= LEAST_KEPT_SIZE;
    unsigned char* const pIdle = bLarge ? IdleBlocks().Take(uiSize) : nullptr;
    if (pIdle != nullptr)
    {
        if (bZero) std::memset(pIdle, 0, uiSize);
        return pIdle;
    }
    void* pBlock = AllocateBlock(uiSize, bZero);
    if (pBlock == nullptr && IdleBlocks().ReturnAll()) pBlock = AllocateBlock(uiSize, bZero);
    if (pBlock == nullptr) return nullptr;
    if (bLarge) IdleBlocks().Count(uiSize);
    return PixelsIn(pBlock, uiSize);
}

std::size_t GetIdlePixelBytes() noexcept
{
    return IdleBlocks().GetBytes();
}

void FreePixels(unsigned char* pPixels) noexcept
{
    if (pPixels == nullptr) return;
    const SHead& head = HeadOf(pPixels);
    if (head.m_uiSize >= LEAST_KEPT_SIZE)
        IdleBlocks().Keep(pPixels);
    else
        std::free(head.m_pBlock);
}
