// Runs a test twice: for the plain colour kernels and for those for AVX2.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "colour/colourkernels.h"

struct SNamedKernels
{
    const char* m_pszName;
    const SColourKernels* m_pKernels;
};

inline bool MachineHasAvx2()
{
    return __builtin_cpu_supports("avx2") != 0;
}

class ColourKernelTest : public testing::TestWithParam<SNamedKernels>
{
protected:
    void SetUp() override
    {
        if (&Kernels() != &g_scalarColourKernels && !MachineHasAvx2()) GTEST_SKIP() << "no AVX2 on this machine";
    }
    static const SColourKernels& Kernels() { return *GetParam().m_pKernels; }
};

inline auto BothKernels()
{
    return testing::Values(SNamedKernels{"Plain", &g_scalarColourKernels}, SNamedKernels{"Avx2", &g_avx2ColourKernels});
}

inline std::string KernelsName(const testing::TestParamInfo<SNamedKernels>& kernels)
{
    return kernels.param.m_pszName;
}
