// What components take and give: buffers, pictures, sound.
#pragma once

#include "abi/amf/amfenums.h"
#include "abi/amf/amfinterface.h"

struct AMFData : public AMFPropertyStorage
{
    static constexpr AMFGuid IID()
    {
        return {0xA1159BF6, 0x9104, 0x4107, 0x8E, 0xAA, 0xC5, 0x3D, 0x5D, 0xBA, 0xC5, 0x11};
    }

    virtual AMF_MEMORY_TYPE GetMemoryType() = 0;
    virtual AMF_RESULT Duplicate(AMF_MEMORY_TYPE type, AMFData** ppData) = 0;
    // May go through host memory. Interop refuses where that would be needed.
    virtual AMF_RESULT Convert(AMF_MEMORY_TYPE type) = 0;
    virtual AMF_RESULT Interop(AMF_MEMORY_TYPE type) = 0;
    virtual AMF_DATA_TYPE GetDataType() = 0;
    virtual amf_bool IsReusable() = 0;
    virtual void SetPts(amf_pts pts) = 0;
    virtual amf_pts GetPts() = 0;
    virtual void SetDuration(amf_pts duration) = 0;
    virtual amf_pts GetDuration() = 0;
};

struct AMFBuffer;
struct AMFSurface;
struct AMFAudioBuffer;

// Each is called before the object gives up its memory.
struct AMFBufferObserver
{
    virtual void OnBufferDataRelease(AMFBuffer* pBuffer) = 0;
};
struct AMFSurfaceObserver
{
    virtual void OnSurfaceDataRelease(AMFSurface* pSurface) = 0;
};
struct AMFAudioBufferObserver;

struct AMFBuffer : public AMFData
{
    static constexpr AMFGuid IID()
    {
        return {0xB04B7248, 0xB6F0, 0x4321, 0xB6, 0x91, 0xBA, 0xA4, 0x74, 0x0F, 0x9F, 0xCB};
    }

    virtual AMF_RESULT SetSize(amf_size newSize) = 0;
    virtual amf_size GetSize() = 0;
    virtual void* GetNative() = 0;
    virtual void AddBufferObserver(AMFBufferObserver* pObserver) = 0;
    virtual void RemoveBufferObserver(AMFBufferObserver* pObserver) = 0;
};

// Belongs to its surface and is not kept longer. Widths, heights and offsets in pixels, pitches in bytes and rows.
struct AMFPlane : public AMFInterface
{
    static constexpr AMFGuid IID()
    {
        return {0xBEDE1AA6, 0xD8FA, 0x4625, 0x94, 0x65, 0x6C, 0x82, 0xC4, 0x37, 0x71, 0x2E};
    }

    virtual AMF_PLANE_TYPE GetType() = 0;
    virtual void* GetNative() = 0;
    virtual amf_int32 GetPixelSizeInBytes() = 0;
    virtual amf_int32 GetOffsetX() = 0;
    virtual amf_int32 GetOffsetY() = 0;
    virtual amf_int32 GetWidth() = 0;
    virtual amf_int32 GetHeight() = 0;
    virtual amf_int32 GetHPitch() = 0;
    virtual amf_int32 GetVPitch() = 0;
    virtual amf_bool IsTiled() = 0;
};

struct AMFSurface : public AMFData
{
    static constexpr AMFGuid IID()
    {
        return {0x3075DBE3, 0x8718, 0x4CFA, 0x86, 0xFB, 0x21, 0x14, 0xC0, 0xA5, 0xA4, 0x51};
    }

    virtual AMF_SURFACE_FORMAT GetFormat() = 0;
    virtual amf_size GetPlanesCount() = 0;
    virtual AMFPlane* GetPlaneAt(amf_size index) = 0;
    virtual AMFPlane* GetPlane(AMF_PLANE_TYPE type) = 0;
    virtual AMF_FRAME_TYPE GetFrameType() = 0;
    virtual void SetFrameType(AMF_FRAME_TYPE type) = 0;
    virtual AMF_RESULT SetCrop(amf_int32 x, amf_int32 y, amf_int32 width, amf_int32 height) = 0;
    virtual AMF_RESULT CopySurfaceRegion(AMFSurface* pDest, amf_int32 dstX, amf_int32 dstY, amf_int32 srcX,
                                         amf_int32 srcY, amf_int32 width, amf_int32 height) = 0;
    virtual void AddSurfaceObserver(AMFSurfaceObserver* pObserver) = 0;
    virtual void RemoveSurfaceObserver(AMFSurfaceObserver* pObserver) = 0;
};

struct AMFAudioBuffer : public AMFData
{
    static constexpr AMFGuid IID()
    {
        return {0x02212FF8, 0x6107, 0x430B, 0xB6, 0x3C, 0xC7, 0xE5, 0x40, 0xE5, 0xF8, 0xEB};
    }

    virtual amf_int32 GetSampleCount() = 0;
    virtual amf_int32 GetSampleRate() = 0;
    virtual amf_int32 GetChannelCount() = 0;
    virtual AMF_AUDIO_FORMAT GetSampleFormat() = 0;
    virtual amf_int32 GetSampleSize() = 0;
    virtual amf_uint32 GetChannelLayout() = 0;
    virtual void* GetNative() = 0;
    virtual amf_size GetSize() = 0;
    virtual void AddAudioBufferObserver(AMFAudioBufferObserver* pObserver) = 0;
    virtual void RemoveAudioBufferObserver(AMFAudioBufferObserver* pObserver) = 0;
};
