// Waits for a file that another component writes, as long as it grows.
#pragma once

#include <cstdint>

#include <windows.h>

// For one thread. A finalisation may take long on a slow disk, and writes all the time then. One that has stopped
// doesn't.
class CTargetGrowth
{
public:
    // Milliseconds without growth after which the writer counts as gone.
    static constexpr std::uint64_t SILENCE_LIMIT_MS = 10 * 60 * 1000;

    // The file at pwszPath need not exist; the text outlives this object. The limit begins here.
    explicit CTargetGrowth(const wchar_t* pwszPath);

    // Waits until one of the handles is signalled. WAIT_TIMEOUT when the file hasn't grown for the limit; else as
    // WaitForMultipleObjects.
    DWORD AwaitAny(const HANDLE* phAny, DWORD dwCount);

private:
    std::uint64_t ReadSize() const;

    const wchar_t* m_pwszPath;
    std::uint64_t m_uiSize;     // when it was last looked at; 0 without a file
    std::uint64_t m_uiGrownAt;  // when that was seen first
};
