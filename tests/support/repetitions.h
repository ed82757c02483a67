// How often tests repeat what they do with random input.
#pragma once

#include <algorithm>
#include <cstdlib>

namespace test_support
{

// In percent, from the environment variable QM_TEST_SHARE. Without it, 100: what is usual. Sanitizer runs take less,
// since every step takes several times as long there and what they look for shows in fewer. scripts/long-tests takes
// more.
inline int TestShare()
{
    const char* const pszShare = std::getenv("QM_TEST_SHARE");
    return std::clamp(pszShare == nullptr ? 100 : std::atoi(pszShare), 1, 100'000);
}

inline int Repetitions(int nUsual)
{
    return static_cast<int>(std::max(1LL, static_cast<long long>(nUsual) * TestShare() / 100));
}

// The same for what isn't to shrink natively, where the share is a quarter: all of it from there on, less below.
inline int FullFromAQuarter(int nUsual)
{
    return std::min(nUsual, Repetitions(4 * nUsual));
}

// The step of a walk over all inputs that isn't to leave any out natively: 1 from a share of a quarter on, nWide below.
inline int StepBelowAQuarter(int nWide)
{
    return TestShare() < 25 ? nWide : 1;
}

// The step of a walk over all inputs: 1 usually, with a smaller share a wider one, but not wider than uiWidest.
inline unsigned int Stride(unsigned int uiWidest)
{
    return std::clamp(100U / static_cast<unsigned int>(TestShare()), 1U, uiWidest);
}

}  // namespace test_support
