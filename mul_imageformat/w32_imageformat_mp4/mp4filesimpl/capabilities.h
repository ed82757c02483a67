// The host's numbers for what a format or a file can do. Their meaning is the host's.
#pragma once

#include <cstdint>

#include "hostapi/qmstatus.h"

inline constexpr std::int32_t CAPABILITY_LIST_END = -1;

// 0 if the list, closed by CAPABILITY_LIST_END, holds nCapability, else QM_ERR_NOTSUPPORTED.
inline QmStatus FindCapability(const std::int32_t* pnList, std::int32_t nCapability)
{
    for (; *pnList != CAPABILITY_LIST_END; ++pnList)
    {
        if (*pnList == nCapability) return QM_OK;
    }
    return QM_ERR_NOTSUPPORTED;
}
