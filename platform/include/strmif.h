// The older description of a stream's format that media types can be turned into.
#pragma once

#include "unknwn.h"

using REFERENCE_TIME = LONGLONG;  // in 100 ns

// pbFormat holds cbFormat bytes of the kind that formattype names. Record and block are allocated with CoTaskMemAlloc.
struct _AMMediaType
{
    GUID majortype;
    GUID subtype;
    BOOL bFixedSizeSamples;
    BOOL bTemporalCompression;
    ULONG lSampleSize;
    GUID formattype;
    IUnknown* pUnk;
    ULONG cbFormat;
    BYTE* pbFormat;
};
using AM_MEDIA_TYPE = _AMMediaType;
