#include "runtimes/nvenc/output_buffers.h"

#include <algorithm>
#include <utility>

namespace nvencruntime
{

NVENCSTATUS OutputBuffers::Destroy(void* pHandle)
{
    const std::shared_ptr<OutputBuffer> pBuffer = m_buffers.Find(pHandle);
    if (!pBuffer)
    {
        return NV_ENC_ERR_INVALID_PARAM;
    }
    switch (pBuffer->eState)
    {
    case OutputBuffer::State::Pending:
        return NV_ENC_ERR_ENCODER_BUSY;
    case OutputBuffer::State::Locked:
        return NV_ENC_ERR_INVALID_CALL;
    case OutputBuffer::State::Idle:
    case OutputBuffer::State::Ready:
        break;
    }
    m_buffers.Remove(pHandle);
    return NV_ENC_SUCCESS;
}

void OutputBuffers::Send(const std::shared_ptr<OutputBuffer>& pBuffer, std::shared_ptr<MappedInput> pInput,
                         void* pCompletionEvent)
{
    m_pending.push_back(pBuffer);
    pBuffer->eState = OutputBuffer::State::Pending;
    pBuffer->ui64Number = ++m_ui64Sent;
    pBuffer->eFailure = NV_ENC_SUCCESS;
    pBuffer->pCompletionEvent = pCompletionEvent;
    pBuffer->pInput = std::move(pInput);
    ++pBuffer->pInput->uiInFlight;
}

std::shared_ptr<OutputBuffer> OutputBuffers::Fill(runtimes::Packet&& packet)
{
    std::shared_ptr<OutputBuffer> pBuffer = TakePending();
    if (pBuffer)
    {
        pBuffer->packet = std::move(packet);
    }
    return pBuffer;
}

std::shared_ptr<OutputBuffer> OutputBuffers::Fail(NVENCSTATUS eStatus)
{
    std::shared_ptr<OutputBuffer> pBuffer = TakePending();
    if (pBuffer)
    {
        pBuffer->packet = {};
        pBuffer->eFailure = eStatus;
    }
    return pBuffer;
}

bool OutputBuffers::IsOlderUnread(const OutputBuffer& buffer) const
{
    return std::ranges::any_of(m_buffers, [&](const auto& entry) {
        const OutputBuffer& other = *entry.second;
        const bool bUnread = other.eState == OutputBuffer::State::Pending || other.eState == OutputBuffer::State::Ready;
        return bUnread && other.ui64Number < buffer.ui64Number;
    });
}

bool OutputBuffers::IsEventPending(const void* pEvent) const
{
    return std::ranges::any_of(m_pending, [&](const auto& pBuffer) { return pBuffer->pCompletionEvent == pEvent; });
}

NVENCSTATUS OutputBuffers::Unlock(void* pHandle)
{
    const std::shared_ptr<OutputBuffer> pBuffer = m_buffers.Find(pHandle);
    if (!pBuffer)
    {
        return NV_ENC_ERR_INVALID_PARAM;
    }
    if (pBuffer->eState != OutputBuffer::State::Locked)
    {
        return NV_ENC_ERR_INVALID_CALL;
    }
    pBuffer->eState = OutputBuffer::State::Idle;
    return NV_ENC_SUCCESS;
}

void OutputBuffers::CountObjects(NvencRuntimeObjects& objects) const
{
    for (const auto& [pHandle, pBuffer] : m_buffers)
    {
        ++objects.uiBitstreamBuffers;
        objects.uiPendingPackets += pBuffer->eState == OutputBuffer::State::Pending ? 1 : 0;
        objects.uiUnreadPackets += pBuffer->eState == OutputBuffer::State::Ready ? 1 : 0;
        objects.uiLockedBuffers += pBuffer->eState == OutputBuffer::State::Locked ? 1 : 0;
    }
}

void OutputBuffers::Clear()
{
    m_pending.clear();
    m_buffers.Clear();
}

std::shared_ptr<OutputBuffer> OutputBuffers::TakePending()
{
    if (m_pending.empty())
    {
        return nullptr;
    }
    std::shared_ptr<OutputBuffer> pBuffer = std::move(m_pending.front());
    m_pending.pop_front();
    pBuffer->eState = OutputBuffer::State::Ready;
    --pBuffer->pInput->uiInFlight;
    pBuffer->pInput.reset();
    return pBuffer;
}

}  // namespace nvencruntime
