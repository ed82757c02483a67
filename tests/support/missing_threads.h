// Threads that can't be started, for a program that links this. Native builds only.
#pragma once

// As long as it lives, `_beginthread` starts none. One at a time.
class CMissingThreads
{
public:
    CMissingThreads();
    ~CMissingThreads();
    CMissingThreads(const CMissingThreads&) = delete;
    CMissingThreads& operator=(const CMissingThreads&) = delete;

    // Threads that were asked for since.
    static int GetRefused();
};
