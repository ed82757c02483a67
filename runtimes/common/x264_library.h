// x264's header, which has no include of its own for the integers it names.
#pragma once

#include <cstdint>

extern "C"
{
#include <x264.h>
}
