#include "winbase.h"

#if defined(__x86_64__)

#include <cpuid.h>

namespace
{

struct Registers
{
    unsigned eax = 0;
    unsigned ebx = 0;
    unsigned ecx = 0;
    unsigned edx = 0;
};

// All zero for a leaf that the processor hasn't.
Registers Leaf(unsigned uiLeaf)
{
    Registers r;
    if (!__get_cpuid_count(uiLeaf, 0, &r.eax, &r.ebx, &r.ecx, &r.edx))
    {
        return {};
    }
    return r;
}

// The register files that the system keeps over a thread switch. Only valid if it has XSAVE enabled.
unsigned KeptRegisters()
{
    unsigned uiLow = 0;
    unsigned uiHigh = 0;
    __asm__("xgetbv" : "=a"(uiLow), "=d"(uiHigh) : "c"(0));
    return uiLow;
}

struct Features
{
    Registers leaf1 = Leaf(1);
    Registers leaf7 = Leaf(7);
    bool bXsave = (leaf1.ecx & bit_OSXSAVE) != 0;
    unsigned uiKept = bXsave ? KeptRegisters() : 0;
    bool bAvxKept = (uiKept & 0x06) == 0x06;     // SSE and the upper halves of AVX
    bool bAvx512Kept = (uiKept & 0xE6) == 0xE6;  // and masks and both parts of the 512-bit registers
    bool bAvx = bAvxKept && (leaf1.ecx & bit_AVX);
};

bool HasFeature(const Features& f, DWORD dwFeature)
{
    switch (dwFeature)
    {
    case PF_COMPARE_EXCHANGE_DOUBLE:
        return f.leaf1.edx & bit_CMPXCHG8B;
    case PF_MMX_INSTRUCTIONS_AVAILABLE:
        return f.leaf1.edx & bit_MMX;
    case PF_XMMI_INSTRUCTIONS_AVAILABLE:
        return f.leaf1.edx & bit_SSE;
    case PF_RDTSC_INSTRUCTION_AVAILABLE:
        return f.leaf1.edx & (1U << 4);
    case PF_XMMI64_INSTRUCTIONS_AVAILABLE:
        return f.leaf1.edx & bit_SSE2;
    case PF_SSE3_INSTRUCTIONS_AVAILABLE:
        return f.leaf1.ecx & bit_SSE3;
    case PF_COMPARE_EXCHANGE128:
        return f.leaf1.ecx & bit_CMPXCHG16B;
    case PF_XSAVE_ENABLED:
        return f.bXsave;
    case PF_SSSE3_INSTRUCTIONS_AVAILABLE:
        return f.leaf1.ecx & bit_SSSE3;
    case PF_SSE4_1_INSTRUCTIONS_AVAILABLE:
        return f.leaf1.ecx & bit_SSE4_1;
    case PF_SSE4_2_INSTRUCTIONS_AVAILABLE:
        return f.leaf1.ecx & bit_SSE4_2;
    case PF_AVX_INSTRUCTIONS_AVAILABLE:
        return f.bAvx;
    case PF_AVX2_INSTRUCTIONS_AVAILABLE:
        return f.bAvx && (f.leaf7.ebx & bit_AVX2);
    case PF_AVX512F_INSTRUCTIONS_AVAILABLE:
        return f.bAvx && f.bAvx512Kept && (f.leaf7.ebx & bit_AVX512F);
    default:
        return false;
    }
}

}  // namespace

BOOL WINAPI IsProcessorFeaturePresent(DWORD dwFeature)
{
    static const Features s_features;
    return HasFeature(s_features, dwFeature) ? TRUE : FALSE;
}

#else

// The features that can be asked for are all of the other processor family.
BOOL WINAPI IsProcessorFeaturePresent(DWORD /*dwFeature*/)
{
    return FALSE;
}

#endif
