// The names that the runtime's file exports: the two of the interface and the one of the script.
#include "runtimes/amf/factory.h"
#include "runtimes/amf/script.h"
#include "runtimes/common/runtime_export.h"

namespace amfruntime
{
namespace
{

const AmfRuntimeScript c_script = {
    [] { Script::Get().Reset(); },
    [](AmfRuntimeCall eCall, std::uint32_t uiFirst, std::uint32_t uiCount, AMF_RESULT eResult) {
        Script::Get().FailCalls(eCall, uiFirst, uiCount, eResult);
    },
    [](std::uint64_t ui64Version) { Script::Get().ReportVersion(ui64Version); },
    [](std::int32_t nWithhold) { Script::Get().WithholdEnd(nWithhold != 0); },
    [](std::uint32_t uiQueries) { Script::Get().DeliverSlowly(uiQueries); },
    [](std::int32_t nHold) { Script::Get().Gate().Hold(nHold != 0); },
    [](AMF_SURFACE_FORMAT eFormat) { Script::Get().HideNativeSurfaces(eFormat); },
    [](AmfRuntimeCall eCall) { return Script::Get().CountCalls(eCall); },
    [] { return Script::Get().CountObjects(); },
    [](RuntimeX264Settings* pSettings) { *pSettings = Script::Get().GetX264Settings(); },
    [] { return Script::Get().GetBreaches(); },
    [](std::int32_t nUncompressed) { Script::Get().EncodeUncompressed(nUncompressed != 0); },
};

}  // namespace
}  // namespace amfruntime

// A client of an earlier version finds everything that it knows. One of a later major or minor version is refused.
RUNTIME_EXPORT AMF_RESULT AMFInit(amf_uint64 version, AMFFactory** ppFactory)
{
    using namespace amfruntime;
    return AnswerWith(AMF_CALL_INIT, ppFactory, [&] {
        if (version >> 32 > AMF_FULL_VERSION >> 32)
        {
            return AMF_NOT_SUPPORTED;
        }
        *ppFactory = &Factory::Get();
        return AMF_OK;
    });
}

RUNTIME_EXPORT AMF_RESULT AMFQueryVersion(amf_uint64* pVersion)
{
    using namespace amfruntime;
    return Answer(AMF_CALL_QUERY_VERSION, [&] {
        if (!pVersion)
        {
            return AMF_INVALID_POINTER;
        }
        *pVersion = Script::Get().Version();
        return AMF_OK;
    });
}

RUNTIME_EXPORT const AmfRuntimeScript* AmfRuntimeGetScript()
{
    return &amfruntime::c_script;
}
