// Fills the gaps of the system before the first test of a program that has the module's classes in itself.
#include <gtest/gtest.h>

#include "windows_bridge/bridge.h"

namespace
{

class FilledGaps : public testing::Environment
{
public:
    void SetUp() override { windows_bridge::FillGaps(); }
};

[[maybe_unused]] testing::Environment* const g_pEnvironment = testing::AddGlobalTestEnvironment(new FilledGaps);

}  // namespace
