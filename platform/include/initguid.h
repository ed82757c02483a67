// From here to the end of the source, DEFINE_GUID defines what it names, but for the GUIDs of the base headers, which
// the library with the base of the platform has. To be included before the headers with the names. As on Windows, two
// sources of a program may define the same GUID.
#pragma once

#include "unknwn.h"

#define INITGUID
#undef DEFINE_GUID
#define DEFINE_GUID PLATFORM_DEFINE_GUID
