// The GUIDs of the base headers, defined here and nowhere else: <initguid.h> takes these headers in before it turns
// declarations into definitions.
#define INITGUID
#include "unknwn.h"

static_assert(sizeof(GUID) == 16 && alignof(GUID) == 4);
