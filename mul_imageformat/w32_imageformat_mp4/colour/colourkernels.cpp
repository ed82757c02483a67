#include "colour/colourkernels.h"

#include <windows.h>

const SColourKernels& ColourKernels()
{
    // The answer includes whether the system saves the wide registers.
    static const SColourKernels& s_kernels = IsProcessorFeaturePresent(PF_AVX2_INSTRUCTIONS_AVAILABLE) != FALSE
                                                 ? g_avx2ColourKernels
                                                 : g_scalarColourKernels;
    return s_kernels;
}
