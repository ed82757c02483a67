#include "runtimes/nvenc/entries.h"
#include "runtimes/nvenc/entry_call.h"

namespace nvencruntime
{
namespace
{

// An entry of any signature that only returns that status.
template <NvencRuntimeEntry eEntry, typename... Arguments>
NVENCSTATUS Refuse(Arguments...)
{
    return Answer(eEntry, [] { return NV_ENC_ERR_UNIMPLEMENTED; });
}

template <NvencRuntimeEntry eEntry, typename... Arguments>
void FillSlot(NVENCSTATUS (*&slot)(Arguments...))
{
    slot = Refuse<eEntry, Arguments...>;
}

}  // namespace

void AddRefusingEntries(NV_ENCODE_API_FUNCTION_LIST& list)
{
    // Input comes from the caller's surfaces.
    FillSlot<NVENC_ENTRY_CREATE_INPUT_BUFFER>(list.nvEncCreateInputBuffer);
    FillSlot<NVENC_ENTRY_DESTROY_INPUT_BUFFER>(list.nvEncDestroyInputBuffer);
    FillSlot<NVENC_ENTRY_LOCK_INPUT_BUFFER>(list.nvEncLockInputBuffer);
    FillSlot<NVENC_ENTRY_UNLOCK_INPUT_BUFFER>(list.nvEncUnlockInputBuffer);
    // Packets come whole, with the settings that the session began with.
    FillSlot<NVENC_ENTRY_GET_ENCODE_STATS>(list.nvEncGetEncodeStats);
    FillSlot<NVENC_ENTRY_RECONFIGURE_ENCODER>(list.nvEncReconfigureEncoder);
    FillSlot<NVENC_ENTRY_INVALIDATE_REF_FRAMES>(list.nvEncInvalidateRefFrames);
    // Motion alone isn't searched for.
    FillSlot<NVENC_ENTRY_CREATE_MV_BUFFER>(list.nvEncCreateMVBuffer);
    FillSlot<NVENC_ENTRY_DESTROY_MV_BUFFER>(list.nvEncDestroyMVBuffer);
    FillSlot<NVENC_ENTRY_RUN_MOTION_ESTIMATION_ONLY>(list.nvEncRunMotionEstimationOnly);
}

}  // namespace nvencruntime
