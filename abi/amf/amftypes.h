// The scalar types and small records of the AMF interface.
#pragma once

#include <cstddef>
#include <cstdint>

// The interface asks for __stdcall or __cdecl on Windows. On the 64-bit systems this is built for there is one
// convention only, so no decoration is needed. This makes a narrower build fail.
static_assert(sizeof(void*) == 8);

using amf_int8 = std::int8_t;
using amf_int16 = std::int16_t;
using amf_int32 = std::int32_t;
using amf_int64 = std::int64_t;
using amf_uint8 = std::uint8_t;
using amf_uint16 = std::uint16_t;
using amf_uint32 = std::uint32_t;
using amf_uint64 = std::uint64_t;
using amf_size = std::size_t;
using amf_handle = void*;
using amf_double = double;
using amf_float = float;
using amf_bool = bool;
using amf_int = std::int32_t;
using amf_uint = std::uint32_t;
using amf_long = std::int32_t;  // 32 bits on every system, as `long` on Windows
using amf_ulong = std::uint32_t;
using amf_flags = std::uint32_t;
using amf_pts = std::int64_t;  // time in units of 100 ns

inline constexpr amf_pts AMF_SECOND = 10000000;

struct AMFRect
{
    amf_int32 left;
    amf_int32 top;
    amf_int32 right;
    amf_int32 bottom;
};
static_assert(sizeof(AMFRect) == 16 && alignof(AMFRect) == 4 && offsetof(AMFRect, top) == 4);
static_assert(offsetof(AMFRect, right) == 8 && offsetof(AMFRect, bottom) == 12);

struct AMFSize
{
    amf_int32 width;
    amf_int32 height;
};
static_assert(sizeof(AMFSize) == 8 && alignof(AMFSize) == 4 && offsetof(AMFSize, height) == 4);

struct AMFPoint
{
    amf_int32 x;
    amf_int32 y;
};
static_assert(sizeof(AMFPoint) == 8 && alignof(AMFPoint) == 4 && offsetof(AMFPoint, y) == 4);

struct AMFRate
{
    amf_uint32 num;
    amf_uint32 den;
};
static_assert(sizeof(AMFRate) == 8 && alignof(AMFRate) == 4 && offsetof(AMFRate, den) == 4);

struct AMFRatio
{
    amf_uint32 num;
    amf_uint32 den;
};
static_assert(sizeof(AMFRatio) == 8 && alignof(AMFRatio) == 4 && offsetof(AMFRatio, den) == 4);

struct AMFColor
{
    amf_uint8 r;
    amf_uint8 g;
    amf_uint8 b;
    amf_uint8 a;
};
static_assert(sizeof(AMFColor) == 4 && alignof(AMFColor) == 1 && offsetof(AMFColor, g) == 1);
static_assert(offsetof(AMFColor, b) == 2 && offsetof(AMFColor, a) == 3);

struct AMFFloatPoint2D
{
    amf_float x;
    amf_float y;
};
static_assert(sizeof(AMFFloatPoint2D) == 8 && alignof(AMFFloatPoint2D) == 4);

struct AMFFloatSize
{
    amf_float width;
    amf_float height;
};
static_assert(sizeof(AMFFloatSize) == 8 && alignof(AMFFloatSize) == 4);

struct AMFFloatPoint3D
{
    amf_float x;
    amf_float y;
    amf_float z;
};
static_assert(sizeof(AMFFloatPoint3D) == 12 && alignof(AMFFloatPoint3D) == 4);

struct AMFFloatVector4D
{
    amf_float x;
    amf_float y;
    amf_float z;
    amf_float w;
};
static_assert(sizeof(AMFFloatVector4D) == 16 && alignof(AMFFloatVector4D) == 4);

// Names an interface. In memory it is a Windows GUID.
struct AMFGuid
{
    amf_uint32 data1;
    amf_uint16 data2;
    amf_uint16 data3;
    amf_uint8 data41;
    amf_uint8 data42;
    amf_uint8 data43;
    amf_uint8 data44;
    amf_uint8 data45;
    amf_uint8 data46;
    amf_uint8 data47;
    amf_uint8 data48;

    bool operator==(const AMFGuid&) const = default;
};
static_assert(sizeof(AMFGuid) == 16 && alignof(AMFGuid) == 4 && offsetof(AMFGuid, data2) == 4);
static_assert(offsetof(AMFGuid, data3) == 6 && offsetof(AMFGuid, data41) == 8 && offsetof(AMFGuid, data48) == 15);

// What an AMFBuffer of brightness metadata holds. Colour coordinates in units of 1/50000, luminances of the mastering
// display in units of 1/10000.
struct AMFHDRMetadata
{
    amf_uint16 redPrimary[2];
    amf_uint16 greenPrimary[2];
    amf_uint16 bluePrimary[2];
    amf_uint16 whitePoint[2];
    amf_uint32 maxMasteringLuminance;
    amf_uint32 minMasteringLuminance;
    amf_uint16 maxContentLightLevel;
    amf_uint16 maxFrameAverageLightLevel;
};
static_assert(sizeof(AMFHDRMetadata) == 28 && offsetof(AMFHDRMetadata, maxMasteringLuminance) == 16);
static_assert(offsetof(AMFHDRMetadata, maxContentLightLevel) == 24);
