// What the operations of the AMF interface return.
#pragma once

#include "abi/amf/amftypes.h"

// The underlying type is fixed: a runtime may return numbers above those listed here. They are failures too.
enum AMF_RESULT : amf_int32
{
    AMF_OK = 0,
    AMF_FAIL = 1,
    AMF_UNEXPECTED = 2,
    AMF_ACCESS_DENIED = 3,
    AMF_INVALID_ARG = 4,
    AMF_OUT_OF_RANGE = 5,
    AMF_OUT_OF_MEMORY = 6,
    AMF_INVALID_POINTER = 7,
    AMF_NO_INTERFACE = 8,
    AMF_NOT_IMPLEMENTED = 9,
    AMF_NOT_SUPPORTED = 10,
    AMF_NOT_FOUND = 11,
    AMF_ALREADY_INITIALIZED = 12,
    AMF_NOT_INITIALIZED = 13,
    AMF_INVALID_FORMAT = 14,
    AMF_WRONG_STATE = 15,
    AMF_FILE_NOT_OPEN = 16,
    AMF_NO_DEVICE = 17,
    AMF_DIRECTX_FAILED = 18,
    AMF_OPENCL_FAILED = 19,
    AMF_GLX_FAILED = 20,
    AMF_XV_FAILED = 21,
    AMF_ALSA_FAILED = 22,
    AMF_EOF = 23,                 // the end of the data, after Drain
    AMF_REPEAT = 24,              // QueryOutput has nothing ready yet
    AMF_INPUT_FULL = 25,          // the queue of SubmitInput is full
    AMF_RESOLUTION_CHANGED = 26,  // drain, terminate and initialise again
    AMF_RESOLUTION_UPDATED = 27,
    AMF_INVALID_DATA_TYPE = 28,
    AMF_INVALID_RESOLUTION = 29,
    AMF_CODEC_NOT_SUPPORTED = 30,
    AMF_SURFACE_FORMAT_NOT_SUPPORTED = 31,
    AMF_SURFACE_MUST_BE_SHARED = 32,
    AMF_DECODER_NOT_PRESENT = 33,
    AMF_DECODER_SURFACE_ALLOCATION_FAILED = 34,
    AMF_DECODER_NO_FREE_SURFACES = 35,
    AMF_ENCODER_NOT_PRESENT = 36,
    AMF_DEM_ERROR = 37,
    AMF_DEM_PROPERTY_READONLY = 38,
    AMF_DEM_REMOTE_DISPLAY_CREATE_FAILED = 39,
    AMF_DEM_START_ENCODING_FAILED = 40,
    AMF_DEM_QUERY_OUTPUT_FAILED = 41,
    AMF_TAN_CLIPPING_WAS_REQUIRED = 42,
    AMF_TAN_UNSUPPORTED_VERSION = 43,
    AMF_NEED_MORE_INPUT = 44  // SubmitInput gave no output
};
static_assert(sizeof(AMF_RESULT) == 4);
