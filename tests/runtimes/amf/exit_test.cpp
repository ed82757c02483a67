#include <cstdlib>

#include "client.h"

// A client that leaves without ending its encoder, in the middle of a picture, doesn't hang and isn't crashed.
TEST(AmfRuntimeDeathTest, AnEncoderThatIsLeftEndsWithTheProcess)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto leave = [] {
        static Client* const s_pClient = new Client(64, 48);
        s_pClient->Start();
        Runtime::Get().pScript->HoldEncoders(1);
        const Held<AMFSurface> pSurface = s_pClient->Upload(NaturalPicture(64, 48, 0));
        const bool bSent = s_pClient->Submit(pSurface.Get()) == AMF_OK;
        std::exit(bSent ? 7 : 1);
    };
    EXPECT_EXIT(leave(), testing::ExitedWithCode(7), "");
}
