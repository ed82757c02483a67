// Records about a session, its surfaces and its buffers.
#pragma once

#include <cstdint>

#include "abi/nvenc/nvencenums.h"

// Handles that the runtime gives out: a mapped surface or input buffer, an output buffer, a registered surface.
using NV_ENC_INPUT_PTR = void*;
using NV_ENC_OUTPUT_PTR = void*;
using NV_ENC_REGISTERED_PTR = void*;

// Opens a session on a device.
struct NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS
{
    std::uint32_t version;
    NV_ENC_DEVICE_TYPE deviceType;
    void* device;
    void* reserved;
    std::uint32_t apiVersion;  // NVENCAPI_VERSION, no record word
    std::uint32_t reserved1[253];
    void* reserved2[64];
};

// Asks for one capability.
struct NV_ENC_CAPS_PARAM
{
    std::uint32_t version;
    NV_ENC_CAPS capsToQuery;
    std::uint32_t reserved[62];
};

// Makes one of the caller's surfaces known to the session.
struct NV_ENC_REGISTER_RESOURCE
{
    std::uint32_t version;
    NV_ENC_INPUT_RESOURCE_TYPE resourceType;
    std::uint32_t width;  // pixels
    std::uint32_t height;
    std::uint32_t pitch;  // bytes per row, 0 for a Direct3D surface
    std::uint32_t subResourceIndex;
    void* resourceToRegister;
    NV_ENC_REGISTERED_PTR registeredResource;  // the answer
    NV_ENC_BUFFER_FORMAT bufferFormat;
    NV_ENC_BUFFER_USAGE bufferUsage;
    std::uint32_t reserved1[247];
    void* reserved2[62];
};

// An OpenGL texture to register.
struct NV_ENC_INPUT_RESOURCE_OPENGL_TEX
{
    std::uint32_t texture;
    std::uint32_t target;
};

// Hands a registered surface to the encoder until it is unmapped.
struct NV_ENC_MAP_INPUT_RESOURCE
{
    std::uint32_t version;
    std::uint32_t subResourceIndex;
    void* inputResource;  // not read any more
    NV_ENC_REGISTERED_PTR registeredResource;
    NV_ENC_INPUT_PTR mappedResource;       // the answer
    NV_ENC_BUFFER_FORMAT mappedBufferFmt;  // the answer
    std::uint32_t reserved1[251];
    void* reserved2[63];
};

// Makes a buffer that takes one packet.
struct NV_ENC_CREATE_BITSTREAM_BUFFER
{
    std::uint32_t version;
    std::uint32_t size;             // not read any more
    NV_ENC_MEMORY_HEAP memoryHeap;  // not read any more
    std::uint32_t reserved;
    NV_ENC_OUTPUT_PTR bitstreamBuffer;  // the answer
    void* bitstreamBufferPtr;
    std::uint32_t reserved1[58];
    void* reserved2[64];
};

// Makes an input buffer that the runtime owns.
struct NV_ENC_CREATE_INPUT_BUFFER
{
    std::uint32_t version;
    std::uint32_t width;
    std::uint32_t height;
    NV_ENC_MEMORY_HEAP memoryHeap;
    NV_ENC_BUFFER_FORMAT bufferFmt;
    std::uint32_t reserved;
    NV_ENC_INPUT_PTR inputBuffer;
    void* pSysMemBuffer;
    std::uint32_t reserved1[57];
    void* reserved2[63];
};

// Gives the caller the bytes of such a buffer.
struct NV_ENC_LOCK_INPUT_BUFFER
{
    std::uint32_t version;
    std::uint32_t doNotWait : 1;
    std::uint32_t reservedBitFields : 31;
    NV_ENC_INPUT_PTR inputBuffer;
    void* bufferDataPtr;
    std::uint32_t pitch;
    std::uint32_t reserved1[251];
    void* reserved2[64];
};

// Makes a buffer that takes the motion of one picture.
struct NV_ENC_CREATE_MV_BUFFER
{
    std::uint32_t version;
    NV_ENC_OUTPUT_PTR mvBuffer;
    std::uint32_t reserved1[255];
    void* reserved2[63];
};

// An event that the runtime may signal.
struct NV_ENC_EVENT_PARAMS
{
    std::uint32_t version;
    std::uint32_t reserved;
    void* completionEvent;
    std::uint32_t reserved1[253];
    void* reserved2[64];
};
