// Memory that runs out on demand, for the whole program that links this.
#pragma once

#include <cstddef>

// As long as it lives, requests of uiLeast to uiMost bytes find no memory. One at a time.
class CShortMemory
{
public:
    CShortMemory(std::size_t uiLeast, std::size_t uiMost);
    ~CShortMemory();
    CShortMemory(const CShortMemory&) = delete;
    CShortMemory& operator=(const CShortMemory&) = delete;

    // Requests that were refused.
    unsigned GetRefused() const;
};
