#include "winbase_testing.h"

namespace
{

// Against the compiler's own run-time detection.
TEST(WinbaseProcessor, FeaturesAreTheOnesOfTheMachine)
{
    __builtin_cpu_init();
    EXPECT_EQ(IsProcessorFeaturePresent(PF_XMMI64_INSTRUCTIONS_AVAILABLE) != 0, __builtin_cpu_supports("sse2") != 0);
    EXPECT_EQ(IsProcessorFeaturePresent(PF_SSE3_INSTRUCTIONS_AVAILABLE) != 0, __builtin_cpu_supports("sse3") != 0);
    EXPECT_EQ(IsProcessorFeaturePresent(PF_SSSE3_INSTRUCTIONS_AVAILABLE) != 0, __builtin_cpu_supports("ssse3") != 0);
    EXPECT_EQ(IsProcessorFeaturePresent(PF_SSE4_1_INSTRUCTIONS_AVAILABLE) != 0, __builtin_cpu_supports("sse4.1") != 0);
    EXPECT_EQ(IsProcessorFeaturePresent(PF_SSE4_2_INSTRUCTIONS_AVAILABLE) != 0, __builtin_cpu_supports("sse4.2") != 0);
    EXPECT_EQ(IsProcessorFeaturePresent(PF_AVX_INSTRUCTIONS_AVAILABLE) != 0, __builtin_cpu_supports("avx") != 0);
    EXPECT_EQ(IsProcessorFeaturePresent(PF_AVX2_INSTRUCTIONS_AVAILABLE) != 0, __builtin_cpu_supports("avx2") != 0);
}

TEST(WinbaseProcessor, UnknownFeatureIsAbsent)
{
    EXPECT_FALSE(IsProcessorFeaturePresent(63));
    EXPECT_FALSE(IsProcessorFeaturePresent(100000));
}

}  // namespace
