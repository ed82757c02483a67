// The path of a picture through its session: examined, read, encoded, delivered, locked.
#include <algorithm>

#include <windows.h>

#include "runtimes/nvenc/records.h"
#include "runtimes/nvenc/script.h"
#include "runtimes/nvenc/session.h"
#include "runtimes/nvenc/x264_settings.h"

namespace nvencruntime
{
namespace
{

constexpr std::uint32_t c_uiKnownFlags =
    NV_ENC_PIC_FLAG_FORCEINTRA | NV_ENC_PIC_FLAG_FORCEIDR | NV_ENC_PIC_FLAG_OUTPUT_SPSPPS | NV_ENC_PIC_FLAG_EOS;

// Wishes for one picture that this encoder can't fulfil.
bool AsksForMore(const NV_ENC_PIC_PARAMS& record)
{
    const NV_ENC_PIC_PARAMS_H264& h264 = record.codecPicParams.h264PicParams;
    return h264.forceIntraRefreshWithFrameCnt || h264.constrainedFrame || h264.sliceModeDataUpdate ||
           h264.ltrMarkFrame || h264.ltrUseFrames || h264.seiPayloadArrayCnt || h264.forceIntraSliceCount ||
           h264.sliceTypeArrayCnt || record.qpDeltaMap;
}

NVENCSTATUS CheckPictureType(NV_ENC_PIC_TYPE eType)
{
    switch (eType)
    {
    case NV_ENC_PIC_TYPE_P:
    case NV_ENC_PIC_TYPE_I:
    case NV_ENC_PIC_TYPE_IDR:
        return NV_ENC_SUCCESS;
    case NV_ENC_PIC_TYPE_B:
    case NV_ENC_PIC_TYPE_BI:
    case NV_ENC_PIC_TYPE_SKIPPED:
    case NV_ENC_PIC_TYPE_INTRA_REFRESH:
    case NV_ENC_PIC_TYPE_NONREF_P:
        return NV_ENC_ERR_UNSUPPORTED_PARAM;
    case NV_ENC_PIC_TYPE_UNKNOWN:
        break;
    }
    return NV_ENC_ERR_INVALID_PARAM;
}

NVENCSTATUS CheckPicture(const NV_ENC_PIC_PARAMS& record, const EncodeSettings& settings)
{
    if (!record.inputBuffer || !record.outputBitstream)
    {
        return NV_ENC_ERR_INVALID_PTR;
    }
    if (record.inputWidth != settings.params.encodeWidth || record.inputHeight != settings.params.encodeHeight)
    {
        return NV_ENC_ERR_INVALID_PARAM;
    }
    if (record.pictureStruct != NV_ENC_PIC_STRUCT_FRAME)
    {
        return record.pictureStruct == NV_ENC_PIC_STRUCT_FIELD_TOP_BOTTOM ||
                       record.pictureStruct == NV_ENC_PIC_STRUCT_FIELD_BOTTOM_TOP
                   ? NV_ENC_ERR_UNSUPPORTED_PARAM
                   : NV_ENC_ERR_INVALID_PARAM;
    }
    if (AsksForMore(record))
    {
        return NV_ENC_ERR_UNSUPPORTED_PARAM;
    }
    return settings.params.enablePTD ? NV_ENC_SUCCESS : CheckPictureType(record.pictureType);
}

NV_ENC_PIC_TYPE PictureType(runtimes::PictureKind eKind)
{
    switch (eKind)
    {
    case runtimes::PictureKind::Idr:
        return NV_ENC_PIC_TYPE_IDR;
    case runtimes::PictureKind::I:
        return NV_ENC_PIC_TYPE_I;
    case runtimes::PictureKind::P:
        return NV_ENC_PIC_TYPE_P;
    case runtimes::PictureKind::B:
        return NV_ENC_PIC_TYPE_B;
    case runtimes::PictureKind::Auto:
        break;
    }
    return NV_ENC_PIC_TYPE_UNKNOWN;
}

}  // namespace

NVENCSTATUS Session::EncodePicture(const NV_ENC_PIC_PARAMS& record)
{
    const NVENCSTATUS eRecordStatus = CheckRecord(record, NV_ENC_PIC_PARAMS_VER);
    if (eRecordStatus != NV_ENC_SUCCESS)
    {
        return eRecordStatus;
    }
    const std::lock_guard submitLock(m_submitMutex);
    {
        const std::lock_guard lock(m_mutex);
        if (!IsInitialized())
        {
            return NV_ENC_ERR_ENCODER_NOT_INITIALIZED;
        }
        if (m_bClosed)
        {
            return NV_ENC_ERR_INVALID_ENCODERDEVICE;
        }
        if (m_eFailure != NV_ENC_SUCCESS)
        {
            return m_eFailure;
        }
    }
    if (record.encodePicFlags & ~c_uiKnownFlags)
    {
        return NV_ENC_ERR_INVALID_PARAM;
    }
    return record.encodePicFlags & NV_ENC_PIC_FLAG_EOS ? EndStream(record) : EncodeOne(record);
}

NVENCSTATUS Session::EncodeOne(const NV_ENC_PIC_PARAMS& record)
{
    Submission submission;
    {
        const std::lock_guard lock(m_mutex);
        const NVENCSTATUS eStatus = CheckSubmission(record, submission);
        if (eStatus != NV_ENC_SUCCESS)
        {
            return eStatus;
        }
        submission.pInput->CheckContents();
    }

    // Without m_mutex: the worker delivers meanwhile. The surface stays ours through the submission.
    runtimes::EncodeJob job;
    job.pPicture = m_pWorker->TakePicture();
    if (!submission.pInput->pSurface->Read(record.inputWidth, record.inputHeight, job.pPicture->View()))
    {
        return NV_ENC_ERR_MAP_FAILED;
    }

    const std::lock_guard lock(m_mutex);
    // Another thread may have ended what was there a moment ago.
    const NVENCSTATUS eStatus = CheckSubmission(record, submission);
    if (eStatus != NV_ENC_SUCCESS)
    {
        return eStatus;
    }
    job.eKind = m_plan->Next(record.encodePicFlags, record.pictureType);
    job.info.uiFrameIndex = m_uiNextFrameIndex++;
    job.info.ui64TimeStamp = record.inputTimeStamp;
    job.info.ui64Duration = record.inputDuration;
    job.info.bWithHeaders = (record.encodePicFlags & NV_ENC_PIC_FLAG_OUTPUT_SPSPPS) != 0;
    m_outputs.Send(submission.pOutput, submission.pInput, IsAsync() ? record.completionEvent : nullptr);
    Submit(std::move(job));

    const std::uint32_t uiDelay = m_pWorker->PictureDelay() + m_uiPacketDelay;
    return m_uiPicturesInStream++ < uiDelay ? NV_ENC_ERR_NEED_MORE_INPUT : NV_ENC_SUCCESS;
}

NVENCSTATUS Session::EndStream(const NV_ENC_PIC_PARAMS& record)
{
    if (record.inputBuffer || record.outputBitstream)
    {
        return NV_ENC_ERR_INVALID_PARAM;
    }
    const std::lock_guard lock(m_mutex);
    const NVENCSTATUS eStatus = CheckCompletionEvent(record);
    if (eStatus != NV_ENC_SUCCESS)
    {
        return eStatus;
    }
    runtimes::EncodeJob job;
    job.pTag = IsAsync() ? record.completionEvent : nullptr;
    m_plan->Restart();
    m_uiPicturesInStream = 0;
    Submit(std::move(job));
    return NV_ENC_SUCCESS;
}

void Session::Submit(runtimes::EncodeJob&& job)
{
    try
    {
        m_pWorker->Submit(std::move(job));
    }
    catch (...)
    {
        // Its buffer is among the pending ones already, and would take the packet of another picture.
        Fail(NV_ENC_ERR_OUT_OF_MEMORY);
        throw;
    }
    ++m_ui64JobsSent;
}

NVENCSTATUS Session::CheckSubmission(const NV_ENC_PIC_PARAMS& record, Submission& submission) const
{
    const NVENCSTATUS eStatus = CheckPicture(record, *m_settings);
    if (eStatus != NV_ENC_SUCCESS)
    {
        return eStatus;
    }
    if (m_bClosed)
    {
        return NV_ENC_ERR_INVALID_ENCODERDEVICE;
    }
    submission.pInput = m_inputs.FindMapped(record.inputBuffer);
    if (!submission.pInput)
    {
        return NV_ENC_ERR_RESOURCE_NOT_MAPPED;
    }
    const InputSurface& surface = *submission.pInput->pSurface;
    if (record.bufferFmt != surface.Format() || record.inputWidth > surface.Width() ||
        record.inputHeight > surface.Height())
    {
        return NV_ENC_ERR_INVALID_PARAM;
    }
    submission.pOutput = m_outputs.Find(record.outputBitstream);
    if (!submission.pOutput)
    {
        return NV_ENC_ERR_INVALID_PARAM;
    }
    switch (submission.pOutput->eState)
    {
    case OutputBuffer::State::Idle:
        return CheckCompletionEvent(record);
    case OutputBuffer::State::Pending:
        return NV_ENC_ERR_ENCODER_BUSY;
    case OutputBuffer::State::Ready:
    case OutputBuffer::State::Locked:
        break;
    }
    // The packet in it would be lost unread.
    return NV_ENC_ERR_INVALID_CALL;
}

NVENCSTATUS Session::CheckCompletionEvent(const NV_ENC_PIC_PARAMS& record) const
{
    if (!IsAsync())
    {
        return NV_ENC_SUCCESS;
    }
    if (!record.completionEvent)
    {
        return NV_ENC_ERR_INVALID_EVENT;
    }
    return m_events.contains(record.completionEvent) ? NV_ENC_SUCCESS : NV_ENC_ERR_EVENT_NOT_REGISTERD;
}

void Session::OnJobDone(runtimes::JobResult&& result)
{
    const std::lock_guard lock(m_mutex);
    try
    {
        for (runtimes::Packet& packet : result.packets)
        {
            m_heldBack.push_back(std::move(packet));
        }
    }
    catch (...)
    {
        result.eFailure = runtimes::EncodeFailure::OutOfMemory;
    }
    Deliver(result.bEndOfStream ? 0 : m_uiPacketDelay);
    if (result.eFailure != runtimes::EncodeFailure::None)
    {
        Fail(result.eFailure == runtimes::EncodeFailure::OutOfMemory ? NV_ENC_ERR_OUT_OF_MEMORY : NV_ENC_ERR_GENERIC);
    }
    Signal(result.pTag);
    ++m_ui64JobsDone;
    m_changed.notify_all();
}

void Session::Deliver(std::size_t uiKeep)
{
    while (m_heldBack.size() > uiKeep)
    {
        if (const auto pBuffer = m_outputs.Fill(std::move(m_heldBack.front())))
        {
            Signal(pBuffer->pCompletionEvent);
        }
        m_heldBack.pop_front();
    }
}

// No packet comes after this. Wakes every thread that waits for one.
void Session::Fail(NVENCSTATUS eStatus)
{
    m_eFailure = eStatus;
    while (const auto pBuffer = m_outputs.Fail(eStatus))
    {
        Signal(pBuffer->pCompletionEvent);
    }
}

// An event that was unregistered meanwhile may be closed by now.
void Session::Signal(void* pEvent) const
{
    if (pEvent && m_events.contains(pEvent))
    {
        SetEvent(pEvent);
    }
}

NVENCSTATUS Session::LockBitstream(NV_ENC_LOCK_BITSTREAM& record)
{
    const NVENCSTATUS eRecordStatus = CheckRecord(record, NV_ENC_LOCK_BITSTREAM_VER);
    if (eRecordStatus != NV_ENC_SUCCESS)
    {
        return eRecordStatus;
    }
    if (!record.outputBitstream)
    {
        return NV_ENC_ERR_INVALID_PTR;
    }
    std::unique_lock lock(m_mutex);
    if (!IsInitialized())
    {
        return NV_ENC_ERR_ENCODER_NOT_INITIALIZED;
    }
    const std::shared_ptr<OutputBuffer> pBuffer = m_outputs.Find(record.outputBitstream);
    if (!pBuffer)
    {
        return NV_ENC_ERR_INVALID_PARAM;
    }
    const auto isPending = [&] { return pBuffer->eState == OutputBuffer::State::Pending; };
    const auto isAtWork = [&] { return m_ui64JobsDone != m_ui64JobsSent; };
    if (isPending() && record.doNotWait)
    {
        return NV_ENC_ERR_LOCK_BUSY;
    }
    m_changed.wait(lock, [&] { return m_bClosed || !isPending() || !isAtWork(); });
    if (m_bClosed)
    {
        return NV_ENC_ERR_INVALID_ENCODERDEVICE;
    }
    if (isPending())
    {
        // All pictures that were sent are encoded, and the packet waits for one that wasn't. A wait wouldn't end.
        return NV_ENC_ERR_NEED_MORE_INPUT;
    }
    if (pBuffer->eState != OutputBuffer::State::Ready)
    {
        return NV_ENC_ERR_INVALID_CALL;
    }
    if (pBuffer->eFailure != NV_ENC_SUCCESS)
    {
        return pBuffer->eFailure;
    }

    runtimes::Packet& packet = pBuffer->packet;
    if (record.sliceOffsets && m_settings->params.reportSliceOffsets)
    {
        // The caller's array holds as many as the slices that it asked for.
        const std::size_t uiRoom = std::max(m_settings->H264().sliceModeData, 1u);
        std::copy_n(packet.sliceOffsets.begin(), std::min(packet.sliceOffsets.size(), uiRoom), record.sliceOffsets);
    }
    record.frameIdx = packet.info.uiFrameIndex;
    record.numSlices = static_cast<std::uint32_t>(packet.sliceOffsets.size());
    record.bitstreamSizeInBytes = static_cast<std::uint32_t>(packet.bytes.size());
    record.outputTimeStamp = packet.info.ui64TimeStamp;
    record.outputDuration = packet.info.ui64Duration;
    record.bitstreamBufferPtr = packet.bytes.data();
    record.pictureType = PictureType(packet.eKind);
    record.pictureStruct = NV_ENC_PIC_STRUCT_FRAME;
    record.frameAvgQP = ConstantQuantiser(*m_settings, packet.eKind);
    if (m_outputs.IsOlderUnread(*pBuffer))
    {
        Script::Get().OnLockOutOfOrder();
    }
    pBuffer->eState = OutputBuffer::State::Locked;
    return NV_ENC_SUCCESS;
}

}  // namespace nvencruntime
