// The tagged value in which properties travel.
#pragma once

#include "abi/amf/amftypes.h"

struct AMFInterface;

enum AMF_VARIANT_TYPE : amf_int32
{
    AMF_VARIANT_EMPTY = 0,
    AMF_VARIANT_BOOL = 1,
    AMF_VARIANT_INT64 = 2,  // of all integers and enumerations
    AMF_VARIANT_DOUBLE = 3,
    AMF_VARIANT_RECT = 4,
    AMF_VARIANT_SIZE = 5,
    AMF_VARIANT_POINT = 6,
    AMF_VARIANT_RATE = 7,
    AMF_VARIANT_RATIO = 8,
    AMF_VARIANT_COLOR = 9,
    AMF_VARIANT_STRING = 10,
    AMF_VARIANT_WSTRING = 11,
    AMF_VARIANT_INTERFACE = 12,
    // Of later versions; a runtime of this one need not know them.
    AMF_VARIANT_FLOAT = 13,
    AMF_VARIANT_FLOAT_SIZE = 14,
    AMF_VARIANT_FLOAT_POINT2D = 15,
    AMF_VARIANT_FLOAT_POINT3D = 16,
    AMF_VARIANT_FLOAT_VECTOR4D = 17
};

// The holder owns a text, which comes from CoTaskMemAlloc, and one reference on an interface. A variant that
// GetProperty fills is empty before, and its content is the caller's. SetProperty copies what it is given.
struct AMFVariantStruct
{
    AMF_VARIANT_TYPE type;
    union
    {
        amf_bool boolValue;
        amf_int64 int64Value;
        amf_double doubleValue;
        AMFRect rectValue;
        AMFSize sizeValue;
        AMFPoint pointValue;
        AMFRate rateValue;
        AMFRatio ratioValue;
        AMFColor colorValue;
        char* stringValue;
        wchar_t* wstringValue;
        AMFInterface* pInterface;
        amf_float floatValue;
        AMFFloatSize floatSizeValue;
        AMFFloatPoint2D floatPoint2DValue;
        AMFFloatPoint3D floatPoint3DValue;
        AMFFloatVector4D floatVector4DValue;
    };
};
static_assert(sizeof(AMFVariantStruct) == 24 && alignof(AMFVariantStruct) == 8);
static_assert(offsetof(AMFVariantStruct, type) == 0 && offsetof(AMFVariantStruct, boolValue) == 8);
static_assert(offsetof(AMFVariantStruct, int64Value) == 8 && offsetof(AMFVariantStruct, rectValue) == 8);
static_assert(offsetof(AMFVariantStruct, colorValue) == 8 && offsetof(AMFVariantStruct, pInterface) == 8);
