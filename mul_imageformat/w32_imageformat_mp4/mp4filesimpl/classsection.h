// The section verHIDX of the module file: what the host learns of the module's class from the file alone.
#pragma once

#include <cstddef>

#include "hostapi/hostcore.h"

// The places of the three are what the host knows of the section. Texts are UTF-16, nul-terminated, zero after their
// ends.
struct SClassSection
{
    char16_t m_aParents[488];   // the class and its parents; SQmRTTIClass takes them
    char16_t m_aVersion[4096];  // the class's version and priority, for the host
    SQmClassRecord m_record;    // addresses, so it is complete in the loaded module only
};
static_assert(offsetof(SClassSection, m_aVersion) == 0x3D0 && offsetof(SClassSection, m_record) == 0x23D0);
static_assert(sizeof(SQmClassRecord) == 4 * 8);

extern const SClassSection g_classSection;
