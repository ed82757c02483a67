// What is alive of a context, counted for the reports of the script.
#pragma once

#include <atomic>
#include <memory>

#include "runtimes/amf/script.h"

namespace amfruntime
{

// Shared by a context and everything that came from it. Any thread.
struct ContextRecord
{
    std::atomic<std::uint32_t> uiInitializedComponents = 0;
    std::atomic<std::uint32_t> uiSurfaces = 0;
    std::atomic<std::uint32_t> uiBuffers = 0;
};

// Counts an object in as long as it lives, in its context's record and in the process.
class CountedIn
{
public:
    CountedIn(std::shared_ptr<ContextRecord> pRecord, std::atomic<std::uint32_t> ContextRecord::*pOfContext,
              std::uint32_t AmfRuntimeObjects::*pOfProcess)
        : m_pRecord(std::move(pRecord)), m_pOfContext(pOfContext), m_pOfProcess(pOfProcess)
    {
        ++((*m_pRecord).*m_pOfContext);
        Script::Get().CountIn(m_pOfProcess);
    }
    ~CountedIn()
    {
        --((*m_pRecord).*m_pOfContext);
        Script::Get().CountOut(m_pOfProcess);
    }
    CountedIn(const CountedIn&) = delete;
    CountedIn& operator=(const CountedIn&) = delete;

private:
    const std::shared_ptr<ContextRecord> m_pRecord;
    std::atomic<std::uint32_t> ContextRecord::*const m_pOfContext;
    std::uint32_t AmfRuntimeObjects::*const m_pOfProcess;
};

}  // namespace amfruntime
