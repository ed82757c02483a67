#include "runtimes/amf/script.h"

#include "runtimes/amf/never_destroyed.h"

namespace amfruntime
{

Script& Script::Get()
{
    static NeverDestroyed<Script> s_script;
    return s_script.Get();
}

void Script::Reset()
{
    m_gate.Hold(false);
    const std::lock_guard lock(m_mutex);
    m_rules = Rules{};
}

void Script::FailCalls(AmfRuntimeCall eCall, std::uint32_t uiFirst, std::uint32_t uiCount, AMF_RESULT eResult)
{
    const std::lock_guard lock(m_mutex);
    m_rules.calls.Fail(eCall, uiFirst, uiCount, eResult);
}

void Script::ReportVersion(std::uint64_t ui64Version)
{
    const std::lock_guard lock(m_mutex);
    m_rules.ui64Version = ui64Version;
}

void Script::WithholdEnd(bool bWithhold)
{
    const std::lock_guard lock(m_mutex);
    m_rules.bWithholdEnd = bWithhold;
}

void Script::DeliverSlowly(std::uint32_t uiQueries)
{
    const std::lock_guard lock(m_mutex);
    m_rules.uiQueriesBeforeOutput = uiQueries;
}

void Script::HideNativeSurfaces(AMF_SURFACE_FORMAT eFormat)
{
    const std::lock_guard lock(m_mutex);
    m_rules.eHidden = eFormat;
}

std::uint32_t Script::CountCalls(AmfRuntimeCall eCall) const
{
    const std::lock_guard lock(m_mutex);
    return m_rules.calls.Count(eCall);
}

AmfRuntimeObjects Script::CountObjects() const
{
    const std::lock_guard lock(m_mutex);
    return m_objects;
}

RuntimeX264Settings Script::GetX264Settings() const
{
    const std::lock_guard lock(m_mutex);
    return m_settings;
}

void Script::EncodeUncompressed(bool bUncompressed)
{
    const std::lock_guard lock(m_mutex);
    m_rules.bUncompressed = bUncompressed;
}

runtimes::EncoderPart Script::Encoder() const
{
    const std::lock_guard lock(m_mutex);
    return m_rules.bUncompressed ? runtimes::EncoderPart::Pcm : runtimes::DefaultEncoderPart();
}

AmfRuntimeBreaches Script::GetBreaches() const
{
    const std::lock_guard lock(m_mutex);
    return m_rules.breaches;
}

std::optional<AMF_RESULT> Script::OnCall(AmfRuntimeCall eCall)
{
    const std::lock_guard lock(m_mutex);
    return m_rules.calls.OnCall(eCall);
}

std::uint64_t Script::Version() const
{
    const std::lock_guard lock(m_mutex);
    return m_rules.ui64Version;
}

bool Script::IsEndWithheld() const
{
    const std::lock_guard lock(m_mutex);
    return m_rules.bWithholdEnd;
}

std::uint32_t Script::QueriesBeforeOutput() const
{
    const std::lock_guard lock(m_mutex);
    return m_rules.uiQueriesBeforeOutput;
}

bool Script::IsNativeHidden(AMF_SURFACE_FORMAT eFormat) const
{
    const std::lock_guard lock(m_mutex);
    return m_rules.eHidden == eFormat;
}

void Script::SetX264Settings(const RuntimeX264Settings& settings)
{
    const std::lock_guard lock(m_mutex);
    m_settings = settings;
}

void Script::CountIn(std::uint32_t AmfRuntimeObjects::*pCount)
{
    const std::lock_guard lock(m_mutex);
    ++(m_objects.*pCount);
}

void Script::CountOut(std::uint32_t AmfRuntimeObjects::*pCount, std::uint32_t uiHowMany)
{
    const std::lock_guard lock(m_mutex);
    m_objects.*pCount -= uiHowMany;
}

void Script::OnContextEnded(const AmfRuntimeObjects& left)
{
    constexpr std::uint32_t AmfRuntimeObjects::*c_counts[] = {
        &AmfRuntimeObjects::uiInitializedComponents, &AmfRuntimeObjects::uiSurfaces, &AmfRuntimeObjects::uiBuffers};
    const std::lock_guard lock(m_mutex);
    bool bAny = false;
    for (const auto pCount : c_counts)
    {
        m_rules.breaches.left.*pCount += left.*pCount;
        bAny = bAny || left.*pCount != 0;
    }
    m_rules.breaches.left.uiContexts += bAny ? 1 : 0;
}

void Script::OnBreach(std::uint32_t AmfRuntimeBreaches::*pCount, std::uint32_t uiHowMany)
{
    const std::lock_guard lock(m_mutex);
    m_rules.breaches.*pCount += uiHowMany;
}

AMF_RESULT OutOfOrder(AMF_RESULT eResult)
{
    Script::Get().OnBreach(&AmfRuntimeBreaches::uiCallsOutOfOrder);
    return eResult;
}

}  // namespace amfruntime
