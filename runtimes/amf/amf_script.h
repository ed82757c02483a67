// How a test or a benchmark makes the software AMF runtime misbehave, and reads what it did.
//
// The loaded runtime exports "AmfRuntimeGetScript", which gives the functions below. They may be called from any
// thread. What is set holds for the whole process and all objects, until it is changed, Reset is called or the runtime
// is unloaded, so the writer of a script loads it too. A runtime without a script is an honest encoder.
#pragma once

#include <cstdint>

#include "abi/amf/amf.h"
#include "runtimes/common/x264_report.h"

// The calls that a script knows: the two entries of the file, and operations of the objects.
enum AmfRuntimeCall : std::int32_t
{
    AMF_CALL_INIT = 0,
    AMF_CALL_QUERY_VERSION,

    AMF_CALL_FACTORY_CREATE_CONTEXT,
    AMF_CALL_FACTORY_CREATE_CONVERTER,  // CreateComponent
    AMF_CALL_FACTORY_CREATE_ENCODER,    // CreateComponent
    AMF_CALL_FACTORY_GET_DEBUG,
    AMF_CALL_FACTORY_GET_TRACE,

    AMF_CALL_CONTEXT_TERMINATE,
    AMF_CALL_CONTEXT_INIT_DX9,
    AMF_CALL_CONTEXT_GET_DX9_DEVICE,  // null, when it fails
    AMF_CALL_CONTEXT_ALLOC_BUFFER,
    AMF_CALL_CONTEXT_ALLOC_SURFACE,

    AMF_CALL_SURFACE_COPY_REGION,

    AMF_CALL_CONVERTER_SET_PROPERTY,
    AMF_CALL_CONVERTER_GET_PROPERTY,
    AMF_CALL_CONVERTER_INIT,
    AMF_CALL_CONVERTER_REINIT,
    AMF_CALL_CONVERTER_TERMINATE,
    AMF_CALL_CONVERTER_DRAIN,
    AMF_CALL_CONVERTER_FLUSH,
    AMF_CALL_CONVERTER_SUBMIT_INPUT,
    AMF_CALL_CONVERTER_QUERY_OUTPUT,

    AMF_CALL_ENCODER_SET_PROPERTY,
    AMF_CALL_ENCODER_GET_PROPERTY,
    AMF_CALL_ENCODER_INIT,
    AMF_CALL_ENCODER_REINIT,
    AMF_CALL_ENCODER_TERMINATE,
    AMF_CALL_ENCODER_DRAIN,
    AMF_CALL_ENCODER_FLUSH,
    AMF_CALL_ENCODER_SUBMIT_INPUT,
    AMF_CALL_ENCODER_QUERY_OUTPUT,

    AMF_CALL_COUNT
};

// What is alive in the process at this moment.
struct AmfRuntimeObjects
{
    std::uint32_t uiContexts;
    std::uint32_t uiComponents;
    std::uint32_t uiInitializedComponents;
    std::uint32_t uiSurfaces;
    std::uint32_t uiBuffers;
    std::uint32_t uiPendingPictures;  // submitted, and no output came from the component for them
};

// Rules of the interface that callers have broken since the last Reset. The calls themselves returned what they always
// return.
struct AmfRuntimeBreaches
{
    // What was left of a context when it was terminated, or released without that; uiContexts is the number of those
    // that anything was left of. Components count here only as long as they are initialised.
    AmfRuntimeObjects left;
    std::uint32_t uiContextsNotTerminated;    // released without Terminate
    std::uint32_t uiComponentsNotTerminated;  // released while they were initialised
    std::uint32_t uiPicturesLost;             // pending when their component was terminated, initialised or released
    std::uint32_t uiCallsOutOfOrder;          // before Init, after Drain, or a second InitDX9
    std::uint32_t uiPropertiesRefused;        // SetProperty of a component: unknown, of another type, out of range
};

struct AmfRuntimeScript
{
    // Back to the honest runtime; all counts to zero.
    void (*Reset)();

    // Of this kind of call from now on, the uiFirst-th (1 is the next) and the uiCount - 1 after it do nothing, return
    // eResult, and give null through a pointer to a pointer. eResult may be AMF_OK: a success without an object. One
    // such rule per kind of call: a second one replaces the first, uiCount 0 removes it.
    //
    // So an encoder that stays full fails AMF_CALL_ENCODER_SUBMIT_INPUT with AMF_INPUT_FULL, and a converter without
    // output fails AMF_CALL_CONVERTER_QUERY_OUTPUT with AMF_REPEAT.
    void (*FailCalls)(AmfRuntimeCall eCall, std::uint32_t uiFirst, std::uint32_t uiCount, AMF_RESULT eResult);

    // What AMFQueryVersion reports. Nothing else follows from it.
    void (*ReportVersion)(std::uint64_t ui64Version);

    // With a nonzero value the encoder's QueryOutput returns AMF_REPEAT where AMF_EOF would be due.
    void (*WithholdEnd)(std::int32_t nWithhold);

    // Each output of the encoder is preceded by uiQueries calls of QueryOutput that return AMF_REPEAT.
    void (*DeliverSlowly)(std::uint32_t uiQueries);

    // With a nonzero value all encoders stop, after the picture they are at, until it is called with 0. Pictures are
    // accepted until the input is full.
    void (*HoldEncoders)(std::int32_t nHold);

    // Planes of surfaces of that format give null for their native surface; AMF_SURFACE_UNKNOWN for none. Components
    // find none there either.
    void (*HideNativeSurfaces)(AMF_SURFACE_FORMAT eFormat);

    // Calls since the last Reset, the failed ones included.
    std::uint32_t (*CountCalls)(AmfRuntimeCall eCall);

    AmfRuntimeObjects (*CountObjects)();

    // Of the encoder that was initialised last; all empty before the first, and for one without x264.
    void (*GetX264Settings)(RuntimeX264Settings* pSettings);

    AmfRuntimeBreaches (*GetBreaches)();

    // With a nonzero value encoders initialised from now on encode without compression and without x264. Where there is
    // no x264, all do.
    void (*EncodeUncompressed)(std::int32_t nUncompressed);
};

// Exported as "AmfRuntimeGetScript". The table lives as long as the runtime is loaded.
using PAMFRUNTIMEGETSCRIPT = const AmfRuntimeScript* (*)();
