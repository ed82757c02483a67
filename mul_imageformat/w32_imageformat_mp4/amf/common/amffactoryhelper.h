// Loads AMD's AMF runtime, and keeps it in the process as long as it is used.
#pragma once

#include <cstdint>

#include <windows.h>

#include "abi/amf/amf.h"

// One object per process, with static storage. Init and Terminate are called by one thread at a time.
class AMFFactoryHelper
{
public:
    AMFFactoryHelper() = default;
    virtual ~AMFFactoryHelper();
    AMFFactoryHelper(const AMFFactoryHelper&) = delete;
    AMFFactoryHelper& operator=(const AMFFactoryHelper&) = delete;

    // Loads the runtime and takes its singletons, or counts one user more when that has been done. AMF_OK; AMF_FAIL for
    // a missing file or entry; otherwise what the runtime returned.
    //
    // After a failure the file stays loaded if there is one. The next Init goes through all steps again.
    AMF_RESULT Init();

    // Counts one user out. With the last, and after an Init that failed, it frees the runtime. Always AMF_OK, also with
    // nothing loaded.
    AMF_RESULT Terminate();

    // Null before Init; they end with the last Terminate. After an Init that failed there may be a factory, but it
    // isn't to be used.
    AMFFactory* GetFactory() const { return m_pFactory; }
    AMFDebug* GetDebug() const { return m_pDebug; }
    AMFTrace* GetTrace() const { return m_pTrace; }
    // The version word of the runtime; 0 before Init. Stays after Terminate.
    std::uint64_t AMFQueryVersion() const { return m_AMFRuntimeVersion; }

private:
    AMF_RESULT Load();

    HMODULE m_hDLLHandle = nullptr;  // null when not loaded
    AMFFactory* m_pFactory = nullptr;
    AMFDebug* m_pDebug = nullptr;
    AMFTrace* m_pTrace = nullptr;
    std::uint64_t m_AMFRuntimeVersion = 0;
    std::int32_t m_iRefCount = 0;  // successful Init calls not yet ended by Terminate; atomic
};
