// The status that every operation towards the host returns: 0 for success, a negative number for a failure.
#pragma once

#include <cstdint>

using QmStatus = std::int32_t;

inline constexpr QmStatus QM_OK = 0;
inline constexpr QmStatus QM_ERR_NOTIMPL = -2;          // this object doesn't provide the operation
inline constexpr QmStatus QM_ERR_RANGE = -4;            // an index or the form of a picture is refused
inline constexpr QmStatus QM_ERR_FAIL = -9;             // any general failure
inline constexpr QmStatus QM_ERR_FILEOPEN = -1500;      // a file didn't open
inline constexpr QmStatus QM_ERR_NOTSUPPORTED = -1506;  // not supported by this format
