// Version 9.0 of the encoder runtime's binary interface, by its published names, as this tree's callers and its
// software runtime need it. A record's fields are named reserved* where the runtime wants zeros: clear a record before
// filling it, and set its version word.
//
// Records and entries only, no code: include this header and nothing more.
#pragma once

#include "nvencconfig.h"
#include "nvencenums.h"
#include "nvencfunctions.h"
#include "nvencguids.h"
#include "nvenclayout.h"
#include "nvencpicture.h"
#include "nvencresource.h"
#include "nvencversion.h"
