// The GUIDs of the base headers, defined here and nowhere else.
#include "initguid.h"

#include "unknwn.h"

// initguid.h has taken guiddef.h in before DEFINE_GUID defined anything.
PLATFORM_DEFINE_GUID(GUID_NULL, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);

static_assert(sizeof(GUID) == 16 && alignof(GUID) == 4);
