// Multimedia: the timer, and the four-character codes.
#pragma once

#include "timeapi.h"

#ifndef MAKEFOURCC
#define MAKEFOURCC(ch0, ch1, ch2, ch3)                                                                                 \
    (static_cast<DWORD>(static_cast<BYTE>(ch0)) | (static_cast<DWORD>(static_cast<BYTE>(ch1)) << 8) |                  \
     (static_cast<DWORD>(static_cast<BYTE>(ch2)) << 16) | (static_cast<DWORD>(static_cast<BYTE>(ch3)) << 24))
#endif
