// Windows' base interfaces, as far as this repository's sources use them, for systems that have none. The functions are
// in the library winbase. There are no min and max macros, and no names without A or W at their end.
#pragma once

#include "guiddef.h"
#include "windef.h"
#include "winerror.h"
#include "winnt.h"

#include "libloaderapi.h"
#include "processthreadsapi.h"
#include "synchapi.h"
#include "winbase.h"
#include "wingdi.h"
