// Memory that runs out on demand, for the whole program that links this.
#pragma once

#include <cstddef>

// As long as it lives, some requests find no memory. One at a time.
//
// Natively these are the requests of the whole process, `new`, malloc, calloc and realloc, also in the libraries that
// it uses. On Windows it is the program's own `new` only: each library has its own allocator there.
class CShortMemory
{
public:
    // Those of uiLeast to uiMost bytes.
    CShortMemory(std::size_t uiLeast, std::size_t uiMost);
    // Which requests a number counts.
    enum class ERequests
    {
        All,
        New  // of C++ only: libraries in C that don't survive missing memory get all of theirs
    };

    // The uiRequest-th, counted from 1, and no other.
    explicit CShortMemory(unsigned uiRequest, ERequests eCounted = ERequests::All);
    ~CShortMemory();
    CShortMemory(const CShortMemory&) = delete;
    CShortMemory& operator=(const CShortMemory&) = delete;

    // Requests that were refused.
    unsigned GetRefused() const;

    // Whether the requests of libraries count. A test that needs them is skipped where they don't.
    static bool ReachesLibraries();
};
