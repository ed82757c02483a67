#include <cstdlib>

#include "runtime.h"

// A caller that leaves without ending its session, in the middle of a picture, doesn't hang and isn't crashed.
TEST(NvencRuntimeDeathTest, ASessionThatIsLeftOpenEndsWithTheProcess)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto leave = [] {
        static SmallSession* const s_pSession = new SmallSession;
        Runtime::Get().pScript->HoldEncoders(1);
        const bool bSent = s_pSession->Encode(s_pSession->Picture()) == NV_ENC_SUCCESS;
        std::exit(bSent ? 7 : 1);
    };
    EXPECT_EXIT(leave(), testing::ExitedWithCode(7), "");
}
