// The place of a virtual operation in its table, which is what a library of another maker calls it by.
#pragma once

#include <cstdint>
#include <cstring>

namespace test_support
{

// A pointer to a virtual operation holds, in the C++ ABI of both builds, 1 + 8 times its place in the table. A virtual
// destructor takes two places there.
template <typename Operation>
std::uintptr_t SlotOf(Operation operation)
{
    std::uintptr_t uiFirstWord = 0;
    std::memcpy(&uiFirstWord, &operation, sizeof(uiFirstWord));
    return (uiFirstWord - 1) / sizeof(void*);
}

}  // namespace test_support
