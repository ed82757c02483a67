// From here to the end of the source, DEFINE_GUID defines what it names. One source per library includes this, before
// the headers with the names; GUID_NULL is defined by the library with the base of the platform.
#pragma once

#include "guiddef.h"

#define INITGUID
#undef DEFINE_GUID
#define DEFINE_GUID PLATFORM_DEFINE_GUID
