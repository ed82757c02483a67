// The state of the script: what the runtime has to do on request, and what it reports.
#pragma once

#include <mutex>
#include <new>
#include <optional>

#include "runtimes/amf/amf_script.h"
#include "runtimes/common/call_rules.h"
#include "runtimes/common/hold_gate.h"
#include "runtimes/common/picture_encoder.h"

namespace amfruntime
{

// One per process; every function may be called from any thread.
class Script
{
public:
    static Script& Get();

    void Reset();
    void FailCalls(AmfRuntimeCall eCall, std::uint32_t uiFirst, std::uint32_t uiCount, AMF_RESULT eResult);
    void ReportVersion(std::uint64_t ui64Version);
    void WithholdEnd(bool bWithhold);
    void DeliverSlowly(std::uint32_t uiQueries);
    void HideNativeSurfaces(AMF_SURFACE_FORMAT eFormat);
    std::uint32_t CountCalls(AmfRuntimeCall eCall) const;
    AmfRuntimeObjects CountObjects() const;
    RuntimeX264Settings GetX264Settings() const;
    AmfRuntimeBreaches GetBreaches() const;
    void EncodeUncompressed(bool bUncompressed);

    // Counts a call, and gives the result with which it is to end at once, if any.
    std::optional<AMF_RESULT> OnCall(AmfRuntimeCall eCall);
    std::uint64_t Version() const;
    bool IsEndWithheld() const;
    std::uint32_t QueriesBeforeOutput() const;
    bool IsNativeHidden(AMF_SURFACE_FORMAT eFormat) const;
    void SetX264Settings(const RuntimeX264Settings& settings);
    runtimes::EncoderPart Encoder() const;
    runtimes::HoldGate& Gate() { return m_gate; }

    // One object more or less.
    void CountIn(std::uint32_t AmfRuntimeObjects::*pCount);
    void CountOut(std::uint32_t AmfRuntimeObjects::*pCount, std::uint32_t uiHowMany = 1);

    // Breaches of the interface's rules, to be reported. A context's ends are reported with what was left of it.
    void OnContextEnded(const AmfRuntimeObjects& left);
    void OnBreach(std::uint32_t AmfRuntimeBreaches::*pCount, std::uint32_t uiHowMany = 1);

private:
    struct Rules
    {
        runtimes::CallRules<AMF_CALL_COUNT, AMF_RESULT> calls;
        std::uint64_t ui64Version = AMF_FULL_VERSION;
        std::uint32_t uiQueriesBeforeOutput = 0;
        bool bWithholdEnd = false;
        bool bUncompressed = false;
        AMF_SURFACE_FORMAT eHidden = AMF_SURFACE_UNKNOWN;
        AmfRuntimeBreaches breaches{};
    };

    mutable std::mutex m_mutex;
    Rules m_rules;
    AmfRuntimeObjects m_objects{};
    RuntimeX264Settings m_settings{};
    runtimes::HoldGate m_gate;
};

// What every scripted operation does around its work: it is counted, may end at once on request, and catches every
// exception.
template <typename Work>
AMF_RESULT Answer(AmfRuntimeCall eCall, Work&& work) noexcept
{
    try
    {
        if (const std::optional<AMF_RESULT> result = Script::Get().OnCall(eCall))
        {
            return *result;
        }
        return work();
    }
    catch (const std::bad_alloc&)
    {
        return AMF_OUT_OF_MEMORY;
    }
    catch (...)
    {
        return AMF_FAIL;
    }
}

// The same for an operation that hands out an object: without a success there is none.
template <typename Object, typename Work>
AMF_RESULT AnswerWith(AmfRuntimeCall eCall, Object** ppObject, Work&& work) noexcept
{
    if (ppObject)
    {
        *ppObject = nullptr;
    }
    return Answer(eCall, [&] { return ppObject ? work() : AMF_INVALID_POINTER; });
}

// Counts a call out of order, and gives the result that it returns.
AMF_RESULT OutOfOrder(AMF_RESULT eResult);

}  // namespace amfruntime
