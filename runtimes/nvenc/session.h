// One encode session: what a caller opened, set up and sends its pictures through.
#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <set>

#include "abi/nvenc/nvEncodeAPI.h"
#include "platform/com/com_ptr.h"
#include "runtimes/common/encode_worker.h"
#include "runtimes/nvenc/input_resources.h"
#include "runtimes/nvenc/nvenc_script.h"
#include "runtimes/nvenc/output_buffers.h"
#include "runtimes/nvenc/picture_plan.h"

struct IDirect3DDevice9;

namespace nvencruntime
{

// The functions are the entries of the same names, and may be called from any thread. Records are not null; their
// version words are examined here. Pictures are read from their surfaces on the calling thread and encoded on the
// session's own.
class Session
{
public:
    // Holds the device.
    explicit Session(IDirect3DDevice9* pDevice);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    NVENCSTATUS Initialize(const NV_ENC_INITIALIZE_PARAMS& params);
    NVENCSTATUS GetSequenceParams(const NV_ENC_SEQUENCE_PARAM_PAYLOAD& record);

    NVENCSTATUS RegisterAsyncEvent(const NV_ENC_EVENT_PARAMS& record);
    NVENCSTATUS UnregisterAsyncEvent(const NV_ENC_EVENT_PARAMS& record);

    NVENCSTATUS RegisterResource(NV_ENC_REGISTER_RESOURCE& record);
    NVENCSTATUS UnregisterResource(void* pRegistered);
    NVENCSTATUS MapInputResource(NV_ENC_MAP_INPUT_RESOURCE& record);
    NVENCSTATUS UnmapInputResource(void* pMapped);

    NVENCSTATUS CreateBitstreamBuffer(NV_ENC_CREATE_BITSTREAM_BUFFER& record);
    NVENCSTATUS DestroyBitstreamBuffer(void* pBuffer);

    NVENCSTATUS EncodePicture(const NV_ENC_PIC_PARAMS& record);
    NVENCSTATUS LockBitstream(NV_ENC_LOCK_BITSTREAM& record);
    NVENCSTATUS UnlockBitstream(void* pBuffer);

    // Reports to the script what the caller should have given back or read before it destroys the session.
    void ReportWhatIsLeft();

    // Ends everything: waiting calls return NV_ENC_ERR_INVALID_ENCODERDEVICE, pictures that aren't encoded yet are
    // dropped, surfaces, buffers and the device released. Once, after no new call can reach the session.
    void Close();

    void CountObjects(NvencRuntimeObjects& objects) const;

private:
    // A picture that was found to be in order, and where its packet goes.
    struct Submission
    {
        std::shared_ptr<MappedInput> pInput;
        std::shared_ptr<OutputBuffer> pOutput;
    };

    bool IsInitialized() const { return m_pWorker != nullptr; }
    bool IsAsync() const { return m_settings->params.enableEncodeAsync != 0; }

    NVENCSTATUS EncodeOne(const NV_ENC_PIC_PARAMS& record);
    NVENCSTATUS EndStream(const NV_ENC_PIC_PARAMS& record);
    NVENCSTATUS CheckSubmission(const NV_ENC_PIC_PARAMS& record, Submission& submission) const;
    NVENCSTATUS CheckCompletionEvent(const NV_ENC_PIC_PARAMS& record) const;

    void Submit(runtimes::EncodeJob&& job);
    void OnJobDone(runtimes::JobResult&& result);
    void Deliver(std::size_t uiKeep);
    void Fail(NVENCSTATUS eStatus);
    void Signal(void* pEvent) const;

    // Pictures go in one after the other, and a surface is read between the examination of a picture and its
    // submission; taken before m_mutex.
    platform::ComPtr<IDirect3DDevice9> m_pDevice;
    std::mutex m_submitMutex;
    std::optional<PicturePlan> m_plan;
    std::uint32_t m_uiPicturesInStream = 0;
    std::uint32_t m_uiNextFrameIndex = 0;

    mutable std::mutex m_mutex;  // everything below
    std::condition_variable m_changed;
    std::optional<EncodeSettings> m_settings;
    std::unique_ptr<runtimes::EncodeWorker> m_pWorker;  // set once
    std::uint32_t m_uiPacketDelay = 0;                  // pictures that a script holds packets back for
    std::deque<runtimes::Packet> m_heldBack;
    InputResources m_inputs;
    OutputBuffers m_outputs;
    std::set<void*> m_events;
    std::uint64_t m_ui64JobsSent = 0;
    std::uint64_t m_ui64JobsDone = 0;
    NVENCSTATUS m_eFailure = NV_ENC_SUCCESS;
    bool m_bClosed = false;
};

}  // namespace nvencruntime
