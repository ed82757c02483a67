// A growable array for what a file's length decides: sizes, times and NALs of hours of acquisition.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <type_traits>
#include <vector>

// Takes memory in blocks and never moves what it holds: a contiguous array holds all entries twice while it grows, and
// leaves the smaller copies' places behind. So memory is that of the entries, but for a part of one block.
//
// Used as the standard's containers are; indices are trusted. May throw std::bad_alloc where it grows.
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

    // Empties it and gives all memory back.
    void Release()
    {
        std::vector<std::unique_ptr<T[]>>().swap(m_vBlocks);
        m_uiSize = 0;
    }

private:
    // A block takes whole pages together with what an allocator keeps beside it: a block of whole pages would begin
    // another one for that, and so once a block.
    static constexpr std::size_t s_uiBlock = ((std::size_t{1} << 20) - 64) / sizeof(T);
    std::vector<std::unique_ptr<T[]>> m_vBlocks;
    std::size_t m_uiSize = 0;
};
