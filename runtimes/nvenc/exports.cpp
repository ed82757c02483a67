// The names that the runtime's file exports: the two of the encoder interface and the one of the script.
#include <cstddef>
#include <cstring>

#include "runtimes/common/runtime_export.h"
#include "runtimes/nvenc/entries.h"
#include "runtimes/nvenc/entry_call.h"
#include "runtimes/nvenc/nvenc_script.h"
#include "runtimes/nvenc/records.h"

namespace nvencruntime
{
namespace
{

// Entries are numbered by their slots, which follow one another from the first on.
void LeaveOutLacking(NV_ENCODE_API_FUNCTION_LIST& list)
{
    for (int nEntry = 0; nEntry <= NVENC_ENTRY_RUN_MOTION_ESTIMATION_ONLY; ++nEntry)
    {
        if (Script::Get().LacksEntry(static_cast<NvencRuntimeEntry>(nEntry)))
        {
            constexpr std::size_t c_uiFirst = offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncOpenEncodeSession);
            std::memset(reinterpret_cast<char*>(&list) + c_uiFirst + sizeof(void*) * static_cast<std::size_t>(nEntry),
                        0, sizeof(void*));
        }
    }
}
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncRunMotionEstimationOnly) ==
              offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncOpenEncodeSession) +
                  sizeof(void*) * NVENC_ENTRY_RUN_MOTION_ESTIMATION_ONLY);

const NvencRuntimeScript c_script = {
    [] { Script::Get().Reset(); },
    [](NvencRuntimeEntry eEntry, std::uint32_t uiFirst, std::uint32_t uiCount, NVENCSTATUS eStatus) {
        Script::Get().FailCalls(eEntry, uiFirst, uiCount, eStatus);
    },
    [](NvencRuntimeEntry eEntry) { Script::Get().LackEntry(eEntry); },
    [](std::uint32_t uiVersion) { Script::Get().ReportVersion(uiVersion); },
    [](NV_ENC_CAPS eCapability, std::int32_t nValue) { Script::Get().SetCapability(eCapability, nValue); },
    [](std::uint32_t uiPictures) { Script::Get().DelayPackets(uiPictures); },
    [](std::int32_t nHold) { Script::Get().HoldEncoders(nHold != 0); },
    [](NvencRuntimeEntry eEntry) { return Script::Get().CountCalls(eEntry); },
    [] { return SessionRegistry::Get().CountObjects(); },
    [](NvencRuntimeX264Settings* pSettings) { Script::Get().GetX264Settings(*pSettings); },
    [](std::int32_t nWatch) { Script::Get().WatchSurfaces(nWatch != 0); },
    [] { return Script::Get().GetBreaches(); },
    [](std::int32_t nUncompressed) { Script::Get().EncodeUncompressed(nUncompressed != 0); },
};

}  // namespace
}  // namespace nvencruntime

RUNTIME_EXPORT NVENCSTATUS NvEncodeAPIGetMaxSupportedVersion(std::uint32_t* version)
{
    using namespace nvencruntime;
    return Answer(NVENC_ENTRY_GET_MAX_SUPPORTED_VERSION, [&] {
        if (!version)
        {
            return NV_ENC_ERR_INVALID_PTR;
        }
        *version = Script::Get().Version();
        return NV_ENC_SUCCESS;
    });
}

RUNTIME_EXPORT NVENCSTATUS NvEncodeAPICreateInstance(NV_ENCODE_API_FUNCTION_LIST* functionList)
{
    using namespace nvencruntime;
    return Answer(NVENC_ENTRY_CREATE_INSTANCE, [&] {
        if (!functionList)
        {
            return NV_ENC_ERR_INVALID_PTR;
        }
        const NVENCSTATUS eStatus = CheckRecord(*functionList, NV_ENCODE_API_FUNCTION_LIST_VER);
        if (eStatus != NV_ENC_SUCCESS)
        {
            return eStatus;
        }
        AddQueryEntries(*functionList);
        AddSessionEntries(*functionList);
        AddPictureEntries(*functionList);
        AddRefusingEntries(*functionList);
        LeaveOutLacking(*functionList);
        return NV_ENC_SUCCESS;
    });
}

RUNTIME_EXPORT const NvencRuntimeScript* NvencRuntimeGetScript()
{
    return &nvencruntime::c_script;
}
