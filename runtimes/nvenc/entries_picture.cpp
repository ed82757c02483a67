#include "runtimes/nvenc/entries.h"
#include "runtimes/nvenc/entry_call.h"

namespace nvencruntime
{
namespace
{

NVENCSTATUS EncodePicture(void* encoder, NV_ENC_PIC_PARAMS* encodePicParams)
{
    return AnswerWith(NVENC_ENTRY_ENCODE_PICTURE, encoder, encodePicParams,
                      [](Session& session, const NV_ENC_PIC_PARAMS& record) { return session.EncodePicture(record); });
}

NVENCSTATUS LockBitstream(void* encoder, NV_ENC_LOCK_BITSTREAM* lockBitstreamBufferParams)
{
    return AnswerWith(NVENC_ENTRY_LOCK_BITSTREAM, encoder, lockBitstreamBufferParams,
                      [](Session& session, NV_ENC_LOCK_BITSTREAM& record) { return session.LockBitstream(record); });
}

NVENCSTATUS UnlockBitstream(void* encoder, NV_ENC_OUTPUT_PTR bitstreamBuffer)
{
    return AnswerFor(NVENC_ENTRY_UNLOCK_BITSTREAM, encoder, [&](Session& session) {
        return bitstreamBuffer ? session.UnlockBitstream(bitstreamBuffer) : NV_ENC_ERR_INVALID_PTR;
    });
}

}  // namespace

void AddPictureEntries(NV_ENCODE_API_FUNCTION_LIST& list)
{
    list.nvEncEncodePicture = EncodePicture;
    list.nvEncLockBitstream = LockBitstream;
    list.nvEncUnlockBitstream = UnlockBitstream;
}

}  // namespace nvencruntime
