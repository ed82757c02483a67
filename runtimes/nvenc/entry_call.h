// What every entry does around its work: it is counted, may fail on request, finds its session, and catches every
// exception. Callers may be written in C.
#pragma once

#include <memory>
#include <new>

#include "runtimes/nvenc/script.h"
#include "runtimes/nvenc/session_registry.h"

namespace nvencruntime
{

template <typename Work>
NVENCSTATUS Answer(NvencRuntimeEntry eEntry, Work&& work) noexcept
{
    try
    {
        if (const std::optional<NVENCSTATUS> failure = Script::Get().OnCall(eEntry))
        {
            return *failure;
        }
        return work();
    }
    catch (const std::bad_alloc&)
    {
        return NV_ENC_ERR_OUT_OF_MEMORY;
    }
    catch (...)
    {
        return NV_ENC_ERR_GENERIC;
    }
}

// work takes the session.
template <typename Work>
NVENCSTATUS AnswerFor(NvencRuntimeEntry eEntry, void* pEncoder, Work&& work) noexcept
{
    return Answer(eEntry, [&]() -> NVENCSTATUS {
        if (!pEncoder)
        {
            return NV_ENC_ERR_INVALID_PTR;
        }
        const std::shared_ptr<Session> pSession = SessionRegistry::Get().Find(pEncoder);
        return pSession ? work(*pSession) : NV_ENC_ERR_INVALID_ENCODERDEVICE;
    });
}

// work takes the session and the record, which may be null only here.
template <typename Record, typename Work>
NVENCSTATUS AnswerWith(NvencRuntimeEntry eEntry, void* pEncoder, Record* pRecord, Work&& work) noexcept
{
    return AnswerFor(eEntry, pEncoder,
                     [&](Session& session) { return pRecord ? work(session, *pRecord) : NV_ENC_ERR_INVALID_PTR; });
}

}  // namespace nvencruntime
