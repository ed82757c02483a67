// The path of frames and packets through the ring, and the registration of its surfaces.
#include <algorithm>
#include <limits>

#include "NV_Video_Codec_SDK/NvEncoder/CompletionEvent.h"
#include "NV_Video_Codec_SDK/NvEncoder/NvEncoder.h"

namespace
{
constexpr std::uint32_t g_uiCompletionWaitMs = 20000;
}

// Whether there is a session with a whole ring: after a CreateEncoder that failed on the way there isn't.
bool NvEncoder::IsReadyForFrames() const
{
    const auto isWhole = [this](const auto& vRing) {
        return vRing.size() == static_cast<std::size_t>(m_nEncoderBuffer);
    };
    const bool bInputs = isWhole(m_vInputFrames) && isWhole(m_vRegisteredResources) && isWhole(m_vMappedInputBuffers);
    const bool bReferences =
        !m_bMotionEstimationOnly || (isWhole(m_vRegisteredResourcesForReference) && isWhole(m_vMappedRefBuffers));
    return m_hEncoder && m_bEncoderInitialized && m_nEncoderBuffer > 0 && bInputs && bReferences &&
           isWhole(m_vBitstreamOutputBuffer);
}

// Throws on behalf of pszFunction if the ring has no slot to give. A packet that couldn't be taken keeps its slot in
// flight. When it is due, all other slots are in flight too, so no frame can follow until the stream's end takes it.
std::int32_t NvEncoder::GetNextSlot(const char* pszFunction) const
{
    if (!IsReadyForFrames())
    {
        throw NVENCException(pszFunction, "Encoder device not found", NV_ENC_ERR_NO_ENCODE_DEVICE);
    }
    if (m_iToSend - m_iGot >= m_nEncoderBuffer)
    {
        throw NVENCException(pszFunction, "All encoder buffers are in flight", NV_ENC_ERR_ENCODER_BUSY);
    }
    return m_iToSend % m_nEncoderBuffer;
}

const NvEncInputFrame* NvEncoder::GetNextInputFrame() const
{
    return &m_vInputFrames[GetNextSlot("NvEncoder::GetNextInputFrame")];
}

void NvEncoder::EncodeFrame(std::vector<std::vector<std::uint8_t>>& vPacket, const NV_ENC_PIC_PARAMS* pPicParams)
{
    vPacket.clear();
    const std::int32_t nSlot = GetNextSlot("NvEncoder::EncodeFrame");
    if (m_iToSend == std::numeric_limits<std::int32_t>::max())
    {
        throw NVENCException("NvEncoder::EncodeFrame", "Too many frames", NV_ENC_ERR_GENERIC);
    }

    MapResources(nSlot);
    const NVENCSTATUS eStatus = DoEncode(m_vMappedInputBuffers[nSlot], nSlot, pPicParams);
    // An encoder that needs more input has taken this frame too. Its packet comes later.
    if (eStatus != NV_ENC_SUCCESS && eStatus != NV_ENC_ERR_NEED_MORE_INPUT)
    {
        throw NVENCException("NvEncoder::EncodeFrame", "nvEncEncodePicture API failed", eStatus);
    }
    ++m_iToSend;
    GetEncodedPacket(m_vBitstreamOutputBuffer, vPacket, true);
}

void NvEncoder::MapResources(std::int32_t nSlot)
{
    const auto map = [this](NV_ENC_REGISTERED_PTR pRegistered) {
        NV_ENC_MAP_INPUT_RESOURCE mapInputResource = {};
        mapInputResource.version = NV_ENC_MAP_INPUT_RESOURCE_VER;
        mapInputResource.registeredResource = pRegistered;
        NVENC_API_CALL("NvEncoder::MapResources", m_nvenc.nvEncMapInputResource(m_hEncoder, &mapInputResource));
        return mapInputResource.mappedResource;
    };
    m_vMappedInputBuffers[nSlot] = map(m_vRegisteredResources[nSlot]);
    if (m_bMotionEstimationOnly) m_vMappedRefBuffers[nSlot] = map(m_vRegisteredResourcesForReference[nSlot]);
}

NVENCSTATUS NvEncoder::DoEncode(NV_ENC_INPUT_PTR pInputBuffer, std::int32_t nSlot, const NV_ENC_PIC_PARAMS* pPicParams)
{
    NV_ENC_PIC_PARAMS picParams = {};
    if (pPicParams) picParams = *pPicParams;
    picParams.version = NV_ENC_PIC_PARAMS_VER;
    picParams.pictureStruct = NV_ENC_PIC_STRUCT_FRAME;
    picParams.inputBuffer = pInputBuffer;
    picParams.bufferFmt = m_eBufferFormat;
    picParams.inputWidth = m_nWidth;
    picParams.inputHeight = m_nHeight;
    picParams.outputBitstream = m_vBitstreamOutputBuffer[nSlot];
    picParams.completionEvent = GetCompletionEvent(nSlot);
    return m_nvenc.nvEncEncodePicture(m_hEncoder, &picParams);
}

void* NvEncoder::GetCompletionEvent(std::int32_t nSlot) const
{
    const bool bOnePerSlot = m_vpCompletionEvent.size() == static_cast<std::size_t>(m_nEncoderBuffer);
    return bOnePerSlot ? m_vpCompletionEvent[nSlot] : nullptr;
}

void NvEncoder::EndEncode(std::vector<std::vector<std::uint8_t>>& vPacket)
{
    vPacket.clear();
    // After UnregisterResources there is no ring.
    if (!m_hEncoder || !m_bEncoderInitialized || m_vMappedInputBuffers.empty())
    {
        throw NVENCException("NvEncoder::EndEncode", "Encoder device not initialized",
                             NV_ENC_ERR_ENCODER_NOT_INITIALIZED);
    }
    SendEOS();
    GetEncodedPacket(m_vBitstreamOutputBuffer, vPacket, false);
}

void NvEncoder::SendEOS()
{
    NV_ENC_PIC_PARAMS picParams = {};
    picParams.version = NV_ENC_PIC_PARAMS_VER;
    picParams.encodePicFlags = NV_ENC_PIC_FLAG_EOS;
    picParams.completionEvent = GetCompletionEvent(m_iToSend % m_nEncoderBuffer);
    NVENC_API_CALL("NvEncoder::SendEOS", m_nvenc.nvEncEncodePicture(m_hEncoder, &picParams));
}

// Takes the packets that are due: with bOutputDelay those of frames one ring back, else all.
void NvEncoder::GetEncodedPacket(std::vector<NV_ENC_OUTPUT_PTR>& vOutputBuffer,
                                 std::vector<std::vector<std::uint8_t>>& vPacket, bool bOutputDelay)
{
    constexpr const char* pszFunction = "NvEncoder::GetEncodedPacket";
    const std::int32_t iEnd = bOutputDelay ? m_iToSend - m_nOutputDelay : m_iToSend;
    for (std::size_t i = 0; m_iGot < iEnd; ++m_iGot, ++i)
    {
        const std::int32_t nSlot = m_iGot % m_nEncoderBuffer;
        // The event is reset by the wait that it ends. A packet that couldn't be taken then isn't waited for again.
        if (m_iAwaited == m_iGot)
        {
            WaitForCompletionEvent(nSlot);
            ++m_iAwaited;
        }

        NV_ENC_LOCK_BITSTREAM lockBitstreamData = {};
        lockBitstreamData.version = NV_ENC_LOCK_BITSTREAM_VER;
        lockBitstreamData.outputBitstream = vOutputBuffer[nSlot];
        lockBitstreamData.doNotWait = 0;
        NVENC_API_CALL(pszFunction, m_nvenc.nvEncLockBitstream(m_hEncoder, &lockBitstreamData));

        try
        {
            const auto* pData = static_cast<const std::uint8_t*>(lockBitstreamData.bitstreamBufferPtr);
            if (vPacket.size() < i + 1) vPacket.emplace_back();
            vPacket[i].assign(pData, pData + lockBitstreamData.bitstreamSizeInBytes);
        }
        catch (...)
        {
            // No memory for the packet: a buffer that stays locked could never be read again, nor destroyed.
            m_nvenc.nvEncUnlockBitstream(m_hEncoder, lockBitstreamData.outputBitstream);
            throw;
        }

        NVENC_API_CALL(pszFunction, m_nvenc.nvEncUnlockBitstream(m_hEncoder, lockBitstreamData.outputBitstream));

        if (m_vMappedInputBuffers[nSlot])
        {
            NVENC_API_CALL(pszFunction, m_nvenc.nvEncUnmapInputResource(
                                            m_hEncoder, m_vMappedInputBuffers[m_iGot % m_nEncoderBuffer]));
            m_vMappedInputBuffers[nSlot] = nullptr;
        }
        if (m_bMotionEstimationOnly && m_vMappedRefBuffers[nSlot])
        {
            NVENC_API_CALL(pszFunction,
                           m_nvenc.nvEncUnmapInputResource(m_hEncoder, m_vMappedRefBuffers[m_iGot % m_nEncoderBuffer]));
            m_vMappedRefBuffers[nSlot] = nullptr;
        }
    }
}

// A wait that times out counts as the event: the lock after it blocks until the packet is there.
void NvEncoder::WaitForCompletionEvent(std::int32_t nSlot)
{
    if (!m_initializeParams.enableEncodeAsync) return;
    if (AwaitCompletionEvent(GetCompletionEvent(nSlot), g_uiCompletionWaitMs) == WAIT_FAILED)
    {
        throw NVENCException("NvEncoder::WaitForCompletionEvent", "Failed to encode frame", NV_ENC_ERR_GENERIC);
    }
}

void NvEncoder::RegisterResources(const std::vector<void*>& vSurfaces, NV_ENC_INPUT_RESOURCE_TYPE eResourceType,
                                  std::uint32_t uiWidth, std::uint32_t uiHeight, std::uint32_t uiPitch,
                                  NV_ENC_BUFFER_FORMAT eBufferFormat, bool bReferenceFrame)
{
    auto& vResources = bReferenceFrame ? m_vRegisteredResourcesForReference : m_vRegisteredResources;
    auto& vFrames = bReferenceFrame ? m_vReferenceFrames : m_vInputFrames;
    for (void* pSurface : vSurfaces)
    {
        NV_ENC_REGISTER_RESOURCE registerResource = {};
        registerResource.version = NV_ENC_REGISTER_RESOURCE_VER;
        registerResource.resourceType = eResourceType;
        registerResource.resourceToRegister = pSurface;
        registerResource.width = uiWidth;
        registerResource.height = uiHeight;
        registerResource.pitch = uiPitch;
        registerResource.bufferFormat = eBufferFormat;
        registerResource.bufferUsage = NV_ENC_INPUT_IMAGE;
        // The text speaks of one resource, as the entry does.
        NVENC_API_CALL("NvEncoder::RegisterResource", m_nvenc.nvEncRegisterResource(m_hEncoder, &registerResource));

        NvEncInputFrame frame;
        frame.inputPtr = pSurface;
        frame.numChromaPlanes = GetNumChromaPlanes(eBufferFormat);  // the first to meet an unknown format
        std::vector<std::uint32_t> vOffsets;
        GetChromaSubPlaneOffsets(eBufferFormat, uiPitch, uiHeight, vOffsets);
        std::copy_n(vOffsets.begin(), std::min(vOffsets.size(), std::size(frame.chromaOffsets)), frame.chromaOffsets);
        frame.pitch = uiPitch;
        frame.chromaPitch = GetChromaPitch(eBufferFormat, uiPitch);
        frame.bufferFormat = eBufferFormat;
        frame.resourceType = eResourceType;
        vResources.push_back(registerResource.registeredResource);
        vFrames.push_back(frame);
    }
}

void NvEncoder::UnregisterResources()
{
    FlushEncoder();

    const auto unmapAll = [this](std::vector<NV_ENC_INPUT_PTR>& vMapped) {
        for (NV_ENC_INPUT_PTR pMapped : vMapped)
        {
            if (pMapped) m_nvenc.nvEncUnmapInputResource(m_hEncoder, pMapped);
        }
        vMapped.clear();
    };
    if (m_bMotionEstimationOnly) unmapAll(m_vMappedRefBuffers);
    unmapAll(m_vMappedInputBuffers);

    const auto unregisterAll = [this](std::vector<NV_ENC_REGISTERED_PTR>& vRegistered) {
        for (NV_ENC_REGISTERED_PTR pRegistered : vRegistered)
        {
            if (pRegistered) m_nvenc.nvEncUnregisterResource(m_hEncoder, pRegistered);
        }
        vRegistered.clear();
    };
    unregisterAll(m_vRegisteredResources);
    unregisterAll(m_vRegisteredResourcesForReference);
}

// Usually the caller has ended the stream already, and this second end yields nothing. A failure isn't reported: the
// session ends in any case.
void NvEncoder::FlushEncoder()
{
    if (m_bMotionEstimationOnly || m_bOutputInVideoMemory) return;
    try
    {
        std::vector<std::vector<std::uint8_t>> vPacket;
        EndEncode(vPacket);
    }
    catch (...)
    {}
}
