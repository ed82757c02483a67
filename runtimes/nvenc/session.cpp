#include "runtimes/nvenc/session.h"

#include <cstring>

#include <windows.h>

#include <d3d9.h>

#include "runtimes/nvenc/records.h"
#include "runtimes/nvenc/script.h"
#include "runtimes/nvenc/stream_settings.h"
#include "runtimes/nvenc/x264_settings.h"

namespace nvencruntime
{
namespace
{

NVENCSTATUS CheckEvent(const NV_ENC_EVENT_PARAMS& record)
{
    const NVENCSTATUS eStatus = CheckRecord(record, NV_ENC_EVENT_PARAMS_VER);
    if (eStatus != NV_ENC_SUCCESS)
    {
        return eStatus;
    }
    return record.completionEvent ? NV_ENC_SUCCESS : NV_ENC_ERR_INVALID_EVENT;
}

}  // namespace

Session::Session(IDirect3DDevice9* pDevice) : m_pDevice(pDevice), m_inputs(pDevice) {}

Session::~Session()
{
    Close();
}

NVENCSTATUS Session::Initialize(const NV_ENC_INITIALIZE_PARAMS& params)
{
    const std::lock_guard submitLock(m_submitMutex);
    {
        const std::lock_guard lock(m_mutex);
        if (IsInitialized())
        {
            return NV_ENC_ERR_INVALID_CALL;
        }
    }
    EncodeSettings settings{};
    const NVENCSTATUS eStatus = ReadSettings(params, settings);
    if (eStatus != NV_ENC_SUCCESS)
    {
        return eStatus;
    }
    const runtimes::PictureEncoderSettings encoder = {Script::Get().Encoder(), MakeStreamSettings(settings),
                                                      MakeX264Settings(settings)};
    std::unique_ptr<runtimes::EncodeWorker> pWorker;
    try
    {
        pWorker = std::make_unique<runtimes::EncodeWorker>(
            encoder, Script::Get().Gate(), [this](runtimes::JobResult&& result) { OnJobDone(std::move(result)); });
    }
    catch (const runtimes::EncoderError&)
    {
        return NV_ENC_ERR_INVALID_PARAM;
    }

    Script::Get().SetX264Settings(encoder.Report());
    m_plan.emplace(settings);
    const std::lock_guard lock(m_mutex);
    m_settings.emplace(settings);
    m_uiPacketDelay = Script::Get().PacketDelay();
    m_pWorker = std::move(pWorker);
    return NV_ENC_SUCCESS;
}

NVENCSTATUS Session::GetSequenceParams(const NV_ENC_SEQUENCE_PARAM_PAYLOAD& record)
{
    // The record has a word of its own, but the interface's text names that of another record: callers use both.
    if (record.version != NV_ENC_SEQUENCE_PARAM_PAYLOAD_VER && record.version != NV_ENC_INITIALIZE_PARAMS_VER)
    {
        return NV_ENC_ERR_INVALID_VERSION;
    }
    if (!AreReservedFieldsZero(record))
    {
        return NV_ENC_ERR_INVALID_PARAM;
    }
    if (!record.spsppsBuffer || !record.outSPSPPSPayloadSize)
    {
        return NV_ENC_ERR_INVALID_PTR;
    }
    const std::lock_guard lock(m_mutex);
    if (!IsInitialized())
    {
        return NV_ENC_ERR_ENCODER_NOT_INITIALIZED;
    }
    const std::vector<std::uint8_t>& headers = m_pWorker->Headers();
    if (record.inBufferSize < headers.size())
    {
        return NV_ENC_ERR_NOT_ENOUGH_BUFFER;
    }
    std::memcpy(record.spsppsBuffer, headers.data(), headers.size());
    *record.outSPSPPSPayloadSize = static_cast<std::uint32_t>(headers.size());
    return NV_ENC_SUCCESS;
}

NVENCSTATUS Session::RegisterAsyncEvent(const NV_ENC_EVENT_PARAMS& record)
{
    const NVENCSTATUS eStatus = CheckEvent(record);
    if (eStatus != NV_ENC_SUCCESS)
    {
        return eStatus;
    }
    const std::lock_guard lock(m_mutex);
    return m_events.insert(record.completionEvent).second ? NV_ENC_SUCCESS : NV_ENC_ERR_INVALID_EVENT;
}

NVENCSTATUS Session::UnregisterAsyncEvent(const NV_ENC_EVENT_PARAMS& record)
{
    const NVENCSTATUS eStatus = CheckEvent(record);
    if (eStatus != NV_ENC_SUCCESS)
    {
        return eStatus;
    }
    const std::lock_guard lock(m_mutex);
    if (m_events.erase(record.completionEvent) == 0)
    {
        return NV_ENC_ERR_EVENT_NOT_REGISTERD;
    }
    // Its caller closes it next, so it has to go all the same. It isn't signalled any more.
    if (m_outputs.IsEventPending(record.completionEvent))
    {
        Script::Get().OnEventUnregisteredInFlight();
    }
    return NV_ENC_SUCCESS;
}

NVENCSTATUS Session::RegisterResource(NV_ENC_REGISTER_RESOURCE& record)
{
    const std::lock_guard lock(m_mutex);
    return IsInitialized() ? m_inputs.Register(record) : NV_ENC_ERR_ENCODER_NOT_INITIALIZED;
}

NVENCSTATUS Session::UnregisterResource(void* pRegistered)
{
    const std::lock_guard lock(m_mutex);
    return IsInitialized() ? m_inputs.Unregister(pRegistered) : NV_ENC_ERR_ENCODER_NOT_INITIALIZED;
}

NVENCSTATUS Session::MapInputResource(NV_ENC_MAP_INPUT_RESOURCE& record)
{
    const std::lock_guard lock(m_mutex);
    return IsInitialized() ? m_inputs.Map(record) : NV_ENC_ERR_ENCODER_NOT_INITIALIZED;
}

NVENCSTATUS Session::UnmapInputResource(void* pMapped)
{
    const std::lock_guard lock(m_mutex);
    return IsInitialized() ? m_inputs.Unmap(pMapped) : NV_ENC_ERR_ENCODER_NOT_INITIALIZED;
}

NVENCSTATUS Session::CreateBitstreamBuffer(NV_ENC_CREATE_BITSTREAM_BUFFER& record)
{
    const NVENCSTATUS eStatus = CheckRecord(record, NV_ENC_CREATE_BITSTREAM_BUFFER_VER);
    if (eStatus != NV_ENC_SUCCESS)
    {
        return eStatus;
    }
    const std::lock_guard lock(m_mutex);
    if (!IsInitialized())
    {
        return NV_ENC_ERR_ENCODER_NOT_INITIALIZED;
    }
    record.bitstreamBuffer = m_outputs.Create();
    return NV_ENC_SUCCESS;
}

NVENCSTATUS Session::DestroyBitstreamBuffer(void* pBuffer)
{
    const std::lock_guard lock(m_mutex);
    return IsInitialized() ? m_outputs.Destroy(pBuffer) : NV_ENC_ERR_ENCODER_NOT_INITIALIZED;
}

NVENCSTATUS Session::UnlockBitstream(void* pBuffer)
{
    const std::lock_guard lock(m_mutex);
    return IsInitialized() ? m_outputs.Unlock(pBuffer) : NV_ENC_ERR_ENCODER_NOT_INITIALIZED;
}

void Session::Close()
{
    {
        const std::lock_guard lock(m_mutex);
        m_bClosed = true;
        m_changed.notify_all();
    }
    // A picture that is being read is still handed over; none is after that.
    const std::lock_guard submitLock(m_submitMutex);
    if (m_pWorker)
    {
        m_pWorker->Stop();
    }
    const std::lock_guard lock(m_mutex);
    m_outputs.Clear();
    m_inputs.Clear();
    m_events.clear();
    m_pDevice = nullptr;
}

void Session::ReportWhatIsLeft()
{
    NvencRuntimeObjects left{};
    CountObjects(left);
    const std::lock_guard lock(m_mutex);
    m_inputs.CheckContents();
    Script::Get().OnDestroyed(left);
}

void Session::CountObjects(NvencRuntimeObjects& objects) const
{
    const std::lock_guard lock(m_mutex);
    ++objects.uiSessions;
    objects.uiRegisteredResources += m_inputs.CountRegistered();
    objects.uiMappedResources += m_inputs.CountMapped();
    objects.uiRegisteredEvents += static_cast<std::uint32_t>(m_events.size());
    m_outputs.CountObjects(objects);
}

}  // namespace nvencruntime
