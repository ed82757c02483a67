// Options of x264 as its command line names them, in the order in which they apply.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace runtimes
{

class X264Options
{
public:
    void Set(const char* pszName, const char* pszValue) { m_options.emplace_back(pszName, pszValue); }
    void Set(const char* pszName, std::uint32_t uiValue) { m_options.emplace_back(pszName, std::to_string(uiValue)); }
    // With as many digits as it takes to read the same number back.
    void SetReal(const char* pszName, double dValue);
    void SetRatio(const char* pszName, std::uint64_t ui64Num, std::uint64_t ui64Den);

    // One thread, which works beside the caller's. Threads inside x264 would hold pictures back or cut them into
    // slices. The result doesn't depend on the machine.
    void SetOneThread();

    std::vector<std::pair<std::string, std::string>> Take() { return std::move(m_options); }

private:
    std::vector<std::pair<std::string, std::string>> m_options;
};

}  // namespace runtimes
