#include <windows.h>

#include <d3d9.h>

#include "platform/com/com_ptr.h"
#include "runtimes/nvenc/entries.h"
#include "runtimes/nvenc/entry_call.h"
#include "runtimes/nvenc/records.h"

namespace nvencruntime
{
namespace
{

// The first way to open a session, superseded before this version of the interface.
NVENCSTATUS OpenEncodeSession(void*, std::uint32_t, void**)
{
    return Answer(NVENC_ENTRY_OPEN_ENCODE_SESSION, [] { return NV_ENC_ERR_INVALID_CALL; });
}

NVENCSTATUS OpenEncodeSessionEx(NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS* openSessionExParams, void** encoder)
{
    return Answer(NVENC_ENTRY_OPEN_ENCODE_SESSION_EX, [&] {
        if (!openSessionExParams || !encoder)
        {
            return NV_ENC_ERR_INVALID_PTR;
        }
        *encoder = nullptr;
        if (openSessionExParams->apiVersion != NVENCAPI_VERSION)
        {
            return NV_ENC_ERR_INVALID_VERSION;
        }
        const NVENCSTATUS eStatus = CheckRecord(*openSessionExParams, NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS_VER);
        if (eStatus != NV_ENC_SUCCESS)
        {
            return eStatus;
        }
        if (openSessionExParams->deviceType != NV_ENC_DEVICE_TYPE_DIRECTX)
        {
            return NV_ENC_ERR_UNSUPPORTED_DEVICE;
        }
        if (!openSessionExParams->device)
        {
            return NV_ENC_ERR_INVALID_PTR;
        }
        // Devices of other versions of Direct3D have this type too.
        platform::ComPtr<IDirect3DDevice9> pDevice;
        if (FAILED(static_cast<IUnknown*>(openSessionExParams->device)->QueryInterface(IID_PPV_ARGS(pDevice.Put()))))
        {
            return NV_ENC_ERR_UNSUPPORTED_DEVICE;
        }
        *encoder = SessionRegistry::Get().Open(pDevice.Get());
        return NV_ENC_SUCCESS;
    });
}

NVENCSTATUS InitializeEncoder(void* encoder, NV_ENC_INITIALIZE_PARAMS* createEncodeParams)
{
    return AnswerWith(
        NVENC_ENTRY_INITIALIZE_ENCODER, encoder, createEncodeParams,
        [](Session& session, const NV_ENC_INITIALIZE_PARAMS& params) { return session.Initialize(params); });
}

NVENCSTATUS DestroyEncoder(void* encoder)
{
    return AnswerFor(NVENC_ENTRY_DESTROY_ENCODER, encoder, [&](Session&) {
        const std::shared_ptr<Session> pSession = SessionRegistry::Get().Remove(encoder);
        if (!pSession)
        {
            // Another thread has destroyed it.
            return NV_ENC_ERR_INVALID_ENCODERDEVICE;
        }
        pSession->ReportWhatIsLeft();
        pSession->Close();
        return NV_ENC_SUCCESS;
    });
}

NVENCSTATUS GetSequenceParams(void* encoder, NV_ENC_SEQUENCE_PARAM_PAYLOAD* sequenceParamPayload)
{
    return AnswerWith(NVENC_ENTRY_GET_SEQUENCE_PARAMS, encoder, sequenceParamPayload,
                      [](Session& session, const NV_ENC_SEQUENCE_PARAM_PAYLOAD& record) {
                          return session.GetSequenceParams(record);
                      });
}

NVENCSTATUS RegisterAsyncEvent(void* encoder, NV_ENC_EVENT_PARAMS* eventParams)
{
    return AnswerWith(
        NVENC_ENTRY_REGISTER_ASYNC_EVENT, encoder, eventParams,
        [](Session& session, const NV_ENC_EVENT_PARAMS& record) { return session.RegisterAsyncEvent(record); });
}

NVENCSTATUS UnregisterAsyncEvent(void* encoder, NV_ENC_EVENT_PARAMS* eventParams)
{
    return AnswerWith(
        NVENC_ENTRY_UNREGISTER_ASYNC_EVENT, encoder, eventParams,
        [](Session& session, const NV_ENC_EVENT_PARAMS& record) { return session.UnregisterAsyncEvent(record); });
}

NVENCSTATUS RegisterResource(void* encoder, NV_ENC_REGISTER_RESOURCE* registerResParams)
{
    return AnswerWith(
        NVENC_ENTRY_REGISTER_RESOURCE, encoder, registerResParams,
        [](Session& session, NV_ENC_REGISTER_RESOURCE& record) { return session.RegisterResource(record); });
}

NVENCSTATUS UnregisterResource(void* encoder, NV_ENC_REGISTERED_PTR registeredResource)
{
    return AnswerFor(NVENC_ENTRY_UNREGISTER_RESOURCE, encoder, [&](Session& session) {
        return registeredResource ? session.UnregisterResource(registeredResource) : NV_ENC_ERR_INVALID_PTR;
    });
}

NVENCSTATUS MapInputResource(void* encoder, NV_ENC_MAP_INPUT_RESOURCE* mapInputResParams)
{
    return AnswerWith(
        NVENC_ENTRY_MAP_INPUT_RESOURCE, encoder, mapInputResParams,
        [](Session& session, NV_ENC_MAP_INPUT_RESOURCE& record) { return session.MapInputResource(record); });
}

NVENCSTATUS UnmapInputResource(void* encoder, NV_ENC_INPUT_PTR mappedInputBuffer)
{
    return AnswerFor(NVENC_ENTRY_UNMAP_INPUT_RESOURCE, encoder, [&](Session& session) {
        return mappedInputBuffer ? session.UnmapInputResource(mappedInputBuffer) : NV_ENC_ERR_INVALID_PTR;
    });
}

NVENCSTATUS CreateBitstreamBuffer(void* encoder, NV_ENC_CREATE_BITSTREAM_BUFFER* createBitstreamBufferParams)
{
    return AnswerWith(
        NVENC_ENTRY_CREATE_BITSTREAM_BUFFER, encoder, createBitstreamBufferParams,
        [](Session& session, NV_ENC_CREATE_BITSTREAM_BUFFER& record) { return session.CreateBitstreamBuffer(record); });
}

NVENCSTATUS DestroyBitstreamBuffer(void* encoder, NV_ENC_OUTPUT_PTR bitstreamBuffer)
{
    return AnswerFor(NVENC_ENTRY_DESTROY_BITSTREAM_BUFFER, encoder, [&](Session& session) {
        return bitstreamBuffer ? session.DestroyBitstreamBuffer(bitstreamBuffer) : NV_ENC_ERR_INVALID_PTR;
    });
}

}  // namespace

void AddSessionEntries(NV_ENCODE_API_FUNCTION_LIST& list)
{
    list.nvEncOpenEncodeSession = OpenEncodeSession;
    list.nvEncOpenEncodeSessionEx = OpenEncodeSessionEx;
    list.nvEncInitializeEncoder = InitializeEncoder;
    list.nvEncDestroyEncoder = DestroyEncoder;
    list.nvEncGetSequenceParams = GetSequenceParams;
    list.nvEncRegisterAsyncEvent = RegisterAsyncEvent;
    list.nvEncUnregisterAsyncEvent = UnregisterAsyncEvent;
    list.nvEncRegisterResource = RegisterResource;
    list.nvEncUnregisterResource = UnregisterResource;
    list.nvEncMapInputResource = MapInputResource;
    list.nvEncUnmapInputResource = UnmapInputResource;
    list.nvEncCreateBitstreamBuffer = CreateBitstreamBuffer;
    list.nvEncDestroyBitstreamBuffer = DestroyBitstreamBuffer;
}

}  // namespace nvencruntime
