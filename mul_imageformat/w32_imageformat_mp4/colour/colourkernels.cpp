#include "colour/colourkernels.h"

#include <windows.h>

const SColourKernels& ColourKernels()
{
    // The system must save the wide registers as well, which this call answers for, too.
    static const SColourKernels& s_kernels = IsProcessorFeaturePresent(PF_AVX2_INSTRUCTIONS_AVAILABLE) != FALSE
                                                 ? g_avx2ColourKernels
                                                 : g_scalarColourKernels;
    return s_kernels;
}
