// COM, as far as this repository's sources use it.
#pragma once

#include "basetyps.h"
#include "combaseapi.h"
#include "unknwn.h"

STDAPI CoInitialize(LPVOID pReserved);
