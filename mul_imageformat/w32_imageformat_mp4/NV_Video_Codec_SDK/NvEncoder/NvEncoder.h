// One session of the NVENC runtime: frames in, packets out, in the order in which the frames came.
#pragma once

#include <cstdint>
#include <vector>

#include <windows.h>

#include "NV_Video_Codec_SDK/NvEncoder/NVENCException.h"
#include "abi/nvenc/nvEncodeAPI.h"

// One input surface as the writer of a picture sees it. Offsets and pitches are in bytes.
struct NvEncInputFrame
{
    void* inputPtr = nullptr;  // the device's surface; owned by the device variant
    std::uint32_t chromaOffsets[2] = {};
    std::uint32_t numChromaPlanes = 0;
    std::uint32_t pitch = 0;
    std::uint32_t chromaPitch = 0;
    NV_ENC_BUFFER_FORMAT bufferFormat = NV_ENC_BUFFER_FORMAT_UNDEFINED;
    std::uint32_t resourceType = 0;  // NV_ENC_INPUT_RESOURCE_TYPE
};

// The session without its surfaces; a device variant derives from it and owns those.
//
// A ring of slots lets the encoder run ahead of the reads: each slot has a surface, a packet buffer and an event, and
// frame n and packet n share slot n modulo ring size. EncodeFrame takes the packet of the frame that was sent one slot
// less than a ring earlier, never the latest. A slot is in flight from the sending of its frame until its packet was
// taken; its surface is free to be written after that. A packet that couldn't be taken keeps its slot in flight, and
// frames are refused until EndEncode takes it: it is not read again before, since a buffer that was unlocked once has
// no packet any more. A frame that the encoder refused isn't in flight: its slot stays
// mapped, and the next frame takes it.
//
// Order of calls: constructor, CreateDefaultEncoderParams, CreateEncoder once, then GetNextInputFrame and EncodeFrame
// for each frame, EndEncode, DestroyEncoder. Every failure is an NVENCException, after which the object stays as it was
// at that moment; nothing is retried. One thread at a time; no lock and no thread of its own. Separate objects share
// nothing but the loaded runtime.
class NvEncoder
{
public:
    NvEncoder(const NvEncoder&) = delete;
    NvEncoder& operator=(const NvEncoder&) = delete;

    // Ends the session if DestroyEncoder didn't, and frees the runtime. Surfaces are the variant's to release first.
    virtual ~NvEncoder();

    // Fills *pInitializeParams and the NV_ENC_CONFIG that its encodeConfig has to point at with the settings of the
    // preset under constant quantisers, 30 frames per second and no key picture but the first.
    void CreateDefaultEncoderParams(NV_ENC_INITIALIZE_PARAMS* pInitializeParams, GUID codecGuid, GUID presetGuid);

    // Initialises the encoder and builds the ring. The records are copied. A null encodeConfig takes the default
    // preset's settings under constant quantisers.
    void CreateEncoder(const NV_ENC_INITIALIZE_PARAMS* pEncoderParams);

    // The surface that the next EncodeFrame will send; valid until DestroyEncoder, to be written until EncodeFrame.
    // Throws NV_ENC_ERR_ENCODER_BUSY while every slot is in flight, as EncodeFrame does.
    const NvEncInputFrame* GetNextInputFrame() const;

    // Sends the surface of GetNextInputFrame. vPacket is emptied and then filled with the packets that are ready, none
    // to several, oldest first. pPicParams: wishes for this picture, or null; sizes, buffers and event are overwritten.
    void EncodeFrame(std::vector<std::vector<std::uint8_t>>& vPacket, const NV_ENC_PIC_PARAMS* pPicParams = nullptr);

    // Sends the end of the stream; vPacket is emptied and then filled with every packet still held, oldest first.
    void EndEncode(std::vector<std::vector<std::uint8_t>>& vPacket);

    // Ends the session and frees everything that belongs to it. Does nothing when called again.
    void DestroyEncoder();

    std::uint32_t GetEncodeWidth() const { return m_nWidth; }
    std::uint32_t GetEncodeHeight() const { return m_nHeight; }

    // For queries that this class doesn't wrap. Entries that a session needs, and those for its presets, can always be
    // called: one that the runtime lacks returns NV_ENC_ERR_UNIMPLEMENTED. The session is null after its end.
    const NV_ENCODE_API_FUNCTION_LIST& GetFunctionTable() const { return m_nvenc; }
    void* GetSession() const { return m_hEncoder; }

    // Bytes of one frame of the session's size and format, without padding.
    std::uint32_t GetFrameSize() const;

    // Geometry of a surface from its format and the luma plane's width in pixels, height in rows and pitch in bytes.
    // Packed formats have no chroma planes; an unknown format throws.
    static std::uint32_t GetWidthInBytes(NV_ENC_BUFFER_FORMAT eFormat, std::uint32_t uiWidth);
    static std::uint32_t GetNumChromaPlanes(NV_ENC_BUFFER_FORMAT eFormat);
    static std::uint32_t GetChromaPitch(NV_ENC_BUFFER_FORMAT eFormat, std::uint32_t uiLumaPitch);
    static std::uint32_t GetChromaHeight(NV_ENC_BUFFER_FORMAT eFormat, std::uint32_t uiLumaHeight);
    static std::uint32_t GetChromaWidthInBytes(NV_ENC_BUFFER_FORMAT eFormat, std::uint32_t uiLumaWidth);
    // Replaces vOffsets by the byte offset of each chroma plane.
    static void GetChromaSubPlaneOffsets(NV_ENC_BUFFER_FORMAT eFormat, std::uint32_t uiPitch, std::uint32_t uiHeight,
                                         std::vector<std::uint32_t>& vOffsets);

protected:
    // Loads the runtime and opens a session on pDevice, which stays the caller's. uiExtraOutputDelay: slots of the ring
    // beyond what the settings need. A throw leaves the runtime loaded, with one reference more for each throw, until
    // the process ends. That is part of the design.
    NvEncoder(NV_ENC_DEVICE_TYPE eDeviceType, void* pDevice, std::uint32_t uiWidth, std::uint32_t uiHeight,
              NV_ENC_BUFFER_FORMAT eBufferFormat, std::uint32_t uiExtraOutputDelay, bool bMotionEstimationOnly,
              bool bOutputInVideoMemory);

    // The variant makes nInputBuffers surfaces and hands them to RegisterResources.
    virtual void AllocateInputBuffers(std::int32_t nInputBuffers) = 0;
    // The variant calls UnregisterResources, then releases its surfaces.
    virtual void ReleaseInputBuffers() = 0;

    // Registers surfaces with the session, one after the other, and lists each as input (or reference) frame.
    void RegisterResources(const std::vector<void*>& vSurfaces, NV_ENC_INPUT_RESOURCE_TYPE eResourceType,
                           std::uint32_t uiWidth, std::uint32_t uiHeight, std::uint32_t uiPitch,
                           NV_ENC_BUFFER_FORMAT eBufferFormat, bool bReferenceFrame);
    // Drains the encoder, then unmaps and unregisters every surface. Throws nothing.
    void UnregisterResources();

private:
    void LoadNvEncApi();
    std::int32_t GetCapabilityValue(GUID codecGuid, NV_ENC_CAPS eCapability);

    void CheckEncoderParams(const NV_ENC_INITIALIZE_PARAMS* pEncoderParams) const;
    void TakeEncoderParams(const NV_ENC_INITIALIZE_PARAMS& params);
    void SizeRing();
    void InitializeBitstreamBuffer();

    bool IsReadyForFrames() const;
    std::int32_t GetNextSlot(const char* pszFunction) const;
    void MapResources(std::int32_t nSlot);
    NVENCSTATUS DoEncode(NV_ENC_INPUT_PTR pInputBuffer, std::int32_t nSlot, const NV_ENC_PIC_PARAMS* pPicParams);
    void* GetCompletionEvent(std::int32_t nSlot) const;
    void WaitForCompletionEvent(std::int32_t nSlot);
    void GetEncodedPacket(std::vector<NV_ENC_OUTPUT_PTR>& vOutputBuffer,
                          std::vector<std::vector<std::uint8_t>>& vPacket, bool bOutputDelay);
    void SendEOS();
    void FlushEncoder();
    void DestroyHWEncoder();

protected:
    bool m_bMotionEstimationOnly;
    bool m_bOutputInVideoMemory;
    void* m_hEncoder = nullptr;
    NV_ENCODE_API_FUNCTION_LIST m_nvenc = {};
    std::vector<NvEncInputFrame> m_vInputFrames;  // one per slot
    std::vector<NV_ENC_REGISTERED_PTR> m_vRegisteredResources;
    std::vector<NvEncInputFrame> m_vReferenceFrames;  // motion estimation only, like the next one
    std::vector<NV_ENC_REGISTERED_PTR> m_vRegisteredResourcesForReference;
    std::vector<NV_ENC_INPUT_PTR> m_vMappedInputBuffers;  // one per slot, null while the slot isn't in flight
    std::vector<NV_ENC_INPUT_PTR> m_vMappedRefBuffers;
    std::vector<void*> m_vpCompletionEvent;  // one per slot
    std::int32_t m_iToSend = 0;              // frames sent; only grows
    std::int32_t m_iGot = 0;                 // packets taken; only grows, never above m_iToSend
    std::int32_t m_nEncoderBuffer = 0;       // ring size
    std::int32_t m_nOutputDelay = 0;         // frames between sending and reading: ring size less one
    std::uint32_t m_nWidth;
    std::uint32_t m_nHeight;
    NV_ENC_BUFFER_FORMAT m_eBufferFormat;
    void* m_pDevice;  // not owned
    NV_ENC_DEVICE_TYPE m_eDeviceType;
    NV_ENC_INITIALIZE_PARAMS m_initializeParams = {};  // its encodeConfig points at m_encodeConfig
    NV_ENC_CONFIG m_encodeConfig = {};
    bool m_bEncoderInitialized = false;
    std::uint32_t m_nExtraOutputDelay;
    std::vector<NV_ENC_OUTPUT_PTR> m_vBitstreamOutputBuffer;  // one per slot
    std::vector<NV_ENC_OUTPUT_PTR> m_vMVDataOutputBuffer;     // motion estimation only
    std::uint32_t m_nMaxEncodeWidth;                          // size of the surfaces to make
    std::uint32_t m_nMaxEncodeHeight;
    HMODULE m_hModule = nullptr;
    std::int32_t m_iAwaited = 0;  // packets whose event has been waited for; m_iGot, or one more after a failure
};
