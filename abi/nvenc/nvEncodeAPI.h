// Version 9.0 of the encoder runtime's binary interface, by its published names, as this tree's callers and its
// software runtime need it. A record's fields are named reserved* where the runtime wants zeros: clear a record before
// filling it, and set its version word.
//
// Records and entries only, no code: include this header and nothing more.
#pragma once

#include "abi/nvenc/nvencconfig.h"
#include "abi/nvenc/nvencenums.h"
#include "abi/nvenc/nvencfunctions.h"
#include "abi/nvenc/nvencguids.h"
#include "abi/nvenc/nvenclayout.h"
#include "abi/nvenc/nvencpicture.h"
#include "abi/nvenc/nvencresource.h"
#include "abi/nvenc/nvencversion.h"
