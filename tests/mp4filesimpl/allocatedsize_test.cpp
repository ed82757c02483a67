// What the factory asks the host's allocator for. The program's own allocator takes the place of the host's, which only
// the loader of this system allows.
#include <cstdlib>

#include <gtest/gtest.h>

#include "module_file.h"

namespace
{
std::size_t g_uiAllocated = 0;
}

void* CQmClass::operator new(std::size_t uiSize, const char*, unsigned int) noexcept
{
    g_uiAllocated = uiSize;
    return std::malloc(uiSize);
}

TEST(ClassRecord, ItsSizeIsWhatTheHostsAllocatorIsAskedFor)
{
    const CLoadedFormat format;
    ASSERT_NE(format.Get(), nullptr);
    EXPECT_NE(g_uiAllocated, 0U);
    EXPECT_EQ(format.Class()->GetClassRecord()->m_uiObjectSize, g_uiAllocated);
}
