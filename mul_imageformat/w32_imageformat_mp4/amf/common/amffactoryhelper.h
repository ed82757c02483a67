// Keeps AMD's AMF runtime in the process for as long as somebody counts on it.
#pragma once

#include <atomic>
#include <cstdint>

#include <windows.h>

// One object per process, with static storage. Init and Terminate are called by one thread at a time.
class AMFFactoryHelper
{
public:
    AMFFactoryHelper() = default;
    virtual ~AMFFactoryHelper();
    AMFFactoryHelper(const AMFFactoryHelper&) = delete;
    AMFFactoryHelper& operator=(const AMFFactoryHelper&) = delete;

    // Loads the runtime, or counts one user more when it is loaded. 0, or 1 on a machine that hasn't got it.
    std::int32_t Init();

    // Counts one user out and frees the runtime behind the last. Always 0, also with nothing loaded.
    std::int32_t Terminate();

private:
    HMODULE m_hDLLHandle = nullptr;            // null when not loaded
    std::atomic<std::int32_t> m_iRefCount{0};  // Init calls not yet ended by Terminate
};
