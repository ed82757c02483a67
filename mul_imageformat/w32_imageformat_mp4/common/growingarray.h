// A growing array for lists as long as a file: sizes, times and NALs of hours of acquisition.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <type_traits>
#include <vector>

// Takes memory in blocks and never moves its entries. A contiguous array holds all entries twice while it grows, and
// its smaller copies leave gaps in the heap. So the memory is that of the entries, and at most one block more.
//
// Used like the standard containers. Indices aren't checked. May throw std::bad_alloc when it grows.
template <class T>
class CGrowingArray
{
    static_assert(std::is_trivially_copyable_v<T>, "blocks are left unset until an entry is put there");

public:
    CGrowingArray() = default;
    CGrowingArray(std::initializer_list<T> values)
    {
        for (const T& value : values)
        {
            push_back(value);
        }
    }

    std::size_t size() const { return m_uiSize; }
    bool empty() const { return m_uiSize == 0; }
    std::size_t capacity() const { return m_vBlocks.size() * s_uiBlock; }

    T& operator[](std::size_t ui) { return m_vBlocks[ui / s_uiBlock][ui % s_uiBlock]; }
    const T& operator[](std::size_t ui) const { return m_vBlocks[ui / s_uiBlock][ui % s_uiBlock]; }
    T& back() { return (*this)[m_uiSize - 1]; }
    const T& back() const { return (*this)[m_uiSize - 1]; }

    void reserve(std::size_t uiCount)
    {
        while (capacity() < uiCount)
        {
            m_vBlocks.push_back(std::make_unique_for_overwrite<T[]>(s_uiBlock));
        }
    }

    void push_back(const T& value)
    {
        reserve(m_uiSize + 1);
        (*this)[m_uiSize] = value;
        ++m_uiSize;
    }

    // Empties it and frees all memory.
    void Release()
    {
        std::vector<std::unique_ptr<T[]>>().swap(m_vBlocks);
        m_uiSize = 0;
    }

private:
    // A block and the allocator's own data beside it fill whole pages. A block of whole pages would take one more page
    // for that data.
    static constexpr std::size_t s_uiBlock = ((std::size_t{1} << 20) - 64) / sizeof(T);
    std::vector<std::unique_ptr<T[]>> m_vBlocks;
    std::size_t m_uiSize = 0;
};
