// The bitstream buffers of a session, and the order in which packets go into them.
#pragma once

#include <deque>
#include <memory>

#include "abi/nvenc/nvEncodeAPI.h"
#include "runtimes/common/packet.h"
#include "runtimes/nvenc/handles.h"
#include "runtimes/nvenc/input_resources.h"
#include "runtimes/nvenc/nvenc_script.h"

namespace nvencruntime
{

struct OutputBuffer
{
    enum class State
    {
        Idle,     // may be sent with a picture
        Pending,  // was sent; its packet isn't there
        Ready,    // holds a packet that wasn't read, or the failure in its place
        Locked    // the caller reads
    };

    State eState = State::Idle;
    std::uint64_t ui64Number = 0;  // of the picture it was sent with, in the order of sending
    runtimes::Packet packet;
    NVENCSTATUS eFailure = NV_ENC_SUCCESS;
    void* pCompletionEvent = nullptr;     // of the picture it was sent with
    std::shared_ptr<MappedInput> pInput;  // the same picture's
};

// Packets come in decoding order, and the n-th goes into the buffer that was sent n-th: the buffer of a picture that
// waits for the reference after it receives that reference. Guarded by its session.
class OutputBuffers
{
public:
    void* Create() { return m_buffers.Add(std::make_shared<OutputBuffer>()); }
    NVENCSTATUS Destroy(void* pHandle);
    std::shared_ptr<OutputBuffer> Find(void* pHandle) const { return m_buffers.Find(pHandle); }

    // An idle buffer becomes the last of the pending ones.
    void Send(const std::shared_ptr<OutputBuffer>& pBuffer, std::shared_ptr<MappedInput> pInput,
              void* pCompletionEvent);

    // The first of the pending ones receives its packet. Gives that buffer, null if none is pending.
    std::shared_ptr<OutputBuffer> Fill(runtimes::Packet&& packet);
    // The same with a failure.
    std::shared_ptr<OutputBuffer> Fail(NVENCSTATUS eStatus);

    // Whether a picture that was sent before this buffer's has a packet that wasn't read.
    bool IsOlderUnread(const OutputBuffer& buffer) const;
    // Whether the packet of a picture with that event isn't there.
    bool IsEventPending(const void* pEvent) const;

    NVENCSTATUS Unlock(void* pHandle);

    void CountObjects(NvencRuntimeObjects& objects) const;
    void Clear();

private:
    std::shared_ptr<OutputBuffer> TakePending();

    HandleTable<OutputBuffer> m_buffers;
    std::deque<std::shared_ptr<OutputBuffer>> m_pending;
    std::uint64_t m_ui64Sent = 0;
};

}  // namespace nvencruntime
