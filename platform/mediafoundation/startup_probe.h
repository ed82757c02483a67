// For tests: how often the platform was started and shut down.
#pragma once

#include "unknwn.h"

namespace mediafoundation
{

struct StartupCounts
{
    unsigned int m_uiStartups = 0;   // successful calls of MFStartup in this process
    unsigned int m_uiShutdowns = 0;  // calls of MFShutdown that matched one
};

WINBASEAPI StartupCounts GetStartupCounts();

}  // namespace mediafoundation
