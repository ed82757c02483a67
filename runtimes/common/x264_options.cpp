#include "runtimes/common/x264_options.h"

#include <cstdio>
#include <numeric>

namespace runtimes
{

void X264Options::SetReal(const char* pszName, double dValue)
{
    char szValue[32];
    std::snprintf(szValue, sizeof szValue, "%.9g", dValue);
    Set(pszName, szValue);
}

void X264Options::SetRatio(const char* pszName, std::uint64_t ui64Num, std::uint64_t ui64Den)
{
    const std::uint64_t ui64Common = std::gcd(ui64Num, ui64Den);
    Set(pszName, (std::to_string(ui64Num / ui64Common) + "/" + std::to_string(ui64Den / ui64Common)).c_str());
}

void X264Options::SetOneThread()
{
    Set("threads", 1);
    Set("lookahead-threads", 1);
    Set("sliced-threads", 0u);
    Set("sync-lookahead", 0u);
    Set("cpu-independent", 1);
}

}  // namespace runtimes
