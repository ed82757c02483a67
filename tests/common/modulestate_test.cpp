// The count of format objects, which keeps the runtimes started.
#include <gtest/gtest.h>

#include "common/modulestate.h"
#include "mp4filesimpl/imageformatmp4.h"

namespace
{

TEST(ModuleState, LivingFormatObjectsAreCounted)
{
    EXPECT_EQ(g_nFormatObjects, 0);
    IQmInterface* pFirst = QM_ConstructorForCQmImageFormatMP4(__FILE__, __LINE__);
    IQmInterface* pSecond = QM_ConstructorForCQmImageFormatMP4(__FILE__, __LINE__);
    EXPECT_EQ(g_nFormatObjects, 2);
    delete pFirst;
    EXPECT_EQ(g_nFormatObjects, 1);
    delete pSecond;
    EXPECT_EQ(g_nFormatObjects, 0);
}

TEST(ModuleState, AnObjectThatWasNeverCountedLeavesTheCountAtZero)
{
    g_nFormatObjects = 0;
    StopModuleRuntime();
    EXPECT_EQ(g_nFormatObjects, 0);
}

TEST(ModuleState, ANegativeCountIsUnchanged)
{
    g_nFormatObjects = -2;
    StopModuleRuntime();
    EXPECT_EQ(g_nFormatObjects, -2);
    g_nFormatObjects = 0;
}

}  // namespace
