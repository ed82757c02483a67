// How a test or a benchmark makes the software encoder runtime misbehave, and reads what it did.
//
// The loaded runtime exports "NvencRuntimeGetScript", which gives the functions below. They may be called from any
// thread. What is set holds for the whole process and all sessions, until it is changed, Reset is called or the runtime
// is unloaded, so the writer of a script loads it too. A runtime without a script is an honest encoder.
#pragma once

#include <cstdint>

#include "abi/nvenc/nvEncodeAPI.h"
#include "runtimes/common/x264_report.h"

// The entries of the runtime by their place in the function table, and the two that its file exports.
enum NvencRuntimeEntry : std::int32_t
{
    NVENC_ENTRY_OPEN_ENCODE_SESSION = 0,
    NVENC_ENTRY_GET_ENCODE_GUID_COUNT = 1,
    NVENC_ENTRY_GET_ENCODE_PROFILE_GUID_COUNT = 2,
    NVENC_ENTRY_GET_ENCODE_PROFILE_GUIDS = 3,
    NVENC_ENTRY_GET_ENCODE_GUIDS = 4,
    NVENC_ENTRY_GET_INPUT_FORMAT_COUNT = 5,
    NVENC_ENTRY_GET_INPUT_FORMATS = 6,
    NVENC_ENTRY_GET_ENCODE_CAPS = 7,
    NVENC_ENTRY_GET_ENCODE_PRESET_COUNT = 8,
    NVENC_ENTRY_GET_ENCODE_PRESET_GUIDS = 9,
    NVENC_ENTRY_GET_ENCODE_PRESET_CONFIG = 10,
    NVENC_ENTRY_INITIALIZE_ENCODER = 11,
    NVENC_ENTRY_CREATE_INPUT_BUFFER = 12,
    NVENC_ENTRY_DESTROY_INPUT_BUFFER = 13,
    NVENC_ENTRY_CREATE_BITSTREAM_BUFFER = 14,
    NVENC_ENTRY_DESTROY_BITSTREAM_BUFFER = 15,
    NVENC_ENTRY_ENCODE_PICTURE = 16,
    NVENC_ENTRY_LOCK_BITSTREAM = 17,
    NVENC_ENTRY_UNLOCK_BITSTREAM = 18,
    NVENC_ENTRY_LOCK_INPUT_BUFFER = 19,
    NVENC_ENTRY_UNLOCK_INPUT_BUFFER = 20,
    NVENC_ENTRY_GET_ENCODE_STATS = 21,
    NVENC_ENTRY_GET_SEQUENCE_PARAMS = 22,
    NVENC_ENTRY_REGISTER_ASYNC_EVENT = 23,
    NVENC_ENTRY_UNREGISTER_ASYNC_EVENT = 24,
    NVENC_ENTRY_MAP_INPUT_RESOURCE = 25,
    NVENC_ENTRY_UNMAP_INPUT_RESOURCE = 26,
    NVENC_ENTRY_DESTROY_ENCODER = 27,
    NVENC_ENTRY_INVALIDATE_REF_FRAMES = 28,
    NVENC_ENTRY_OPEN_ENCODE_SESSION_EX = 29,
    NVENC_ENTRY_REGISTER_RESOURCE = 30,
    NVENC_ENTRY_UNREGISTER_RESOURCE = 31,
    NVENC_ENTRY_RECONFIGURE_ENCODER = 32,
    NVENC_ENTRY_CREATE_MV_BUFFER = 34,
    NVENC_ENTRY_DESTROY_MV_BUFFER = 35,
    NVENC_ENTRY_RUN_MOTION_ESTIMATION_ONLY = 36,

    NVENC_ENTRY_GET_MAX_SUPPORTED_VERSION = 37,
    NVENC_ENTRY_CREATE_INSTANCE = 38,

    NVENC_ENTRY_COUNT = 39
};

// What the sessions of the process hold at this moment.
struct NvencRuntimeObjects
{
    std::uint32_t uiSessions;
    std::uint32_t uiRegisteredResources;
    std::uint32_t uiMappedResources;
    std::uint32_t uiBitstreamBuffers;
    std::uint32_t uiRegisteredEvents;
    std::uint32_t uiPendingPackets;  // pictures that were sent and whose packets aren't there
    std::uint32_t uiUnreadPackets;   // that are there and haven't been locked
    std::uint32_t uiLockedBuffers;
};

// Rules of the interface that callers have broken since the last Reset. The calls themselves returned what they always
// return.
struct NvencRuntimeBreaches
{
    // What sessions held when they were destroyed; uiSessions is the number of those that held anything.
    NvencRuntimeObjects left;
    std::uint32_t uiSurfacesWritten;  // while they were mapped; see WatchSurfaces
    std::uint32_t uiLocksOutOfOrder;  // of packets with an older one unread
    std::uint32_t uiEventsUnregisteredInFlight;
};

using NvencRuntimeX264Settings = RuntimeX264Settings;

struct NvencRuntimeScript
{
    // Back to the honest encoder; all counts to zero.
    void (*Reset)();

    // Of the calls of an entry from now on, the uiFirst-th (1 is the next) and the uiCount - 1 after it do nothing and
    // return eStatus. One such rule per entry: a second call replaces the first, uiCount 0 removes it.
    void (*FailCalls)(NvencRuntimeEntry eEntry, std::uint32_t uiFirst, std::uint32_t uiCount, NVENCSTATUS eStatus);

    // Function tables made from now on hold null for an entry of the table.
    void (*LackEntry)(NvencRuntimeEntry eEntry);

    // What NvEncodeAPIGetMaxSupportedVersion reports: minor version in the low four bits, major above. Nothing else
    // follows from it.
    void (*ReportVersion)(std::uint32_t uiVersion);

    // What nvEncGetEncodeCaps reports. NV_ENC_CAPS_ASYNC_ENCODE_SUPPORT 0 also makes the runtime refuse events, as a
    // driver without them does.
    void (*SetCapability)(NV_ENC_CAPS eCapability, std::int32_t nValue);

    // Sessions initialised from now on hold every packet back until uiPictures more pictures came in, or the end of
    // the stream. The calls that find too few return NV_ENC_ERR_NEED_MORE_INPUT.
    void (*DelayPackets)(std::uint32_t uiPictures);

    // With a nonzero value all encoders stop, after the picture they are at, until it is called with 0. Pictures are
    // accepted all the time.
    void (*HoldEncoders)(std::int32_t nHold);

    // Calls of an entry since the last Reset, the failed ones included.
    std::uint32_t (*CountCalls)(NvencRuntimeEntry eEntry);

    NvencRuntimeObjects (*CountObjects)();

    // Of the session that was initialised last; all empty before the first, and for one without x264.
    void (*GetX264Settings)(NvencRuntimeX264Settings* pSettings);

    // With a nonzero value the contents of surfaces that are mapped from now on are compared with those at their
    // mapping: when a picture is sent from them, when they are unmapped, and when their session is destroyed. Each of
    // these, and the mapping, locks the surface once more.
    void (*WatchSurfaces)(std::int32_t nWatch);

    NvencRuntimeBreaches (*GetBreaches)();

    // With a nonzero value sessions initialised from now on encode without compression and without x264. Where there is
    // no x264, all do.
    void (*EncodeUncompressed)(std::int32_t nUncompressed);
};

// Exported as "NvencRuntimeGetScript". The table lives as long as the runtime is loaded.
using PNVENCRUNTIMEGETSCRIPT = const NvencRuntimeScript* (*)();
