// What x264 is set to, by the names of its command line. They are texts, so they can be made where x264 isn't.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "runtimes/common/x264_report.h"

namespace runtimes
{

// Everything that decides the encoded pictures but for their size. Names as x264_param_parse takes them; options apply
// on top of the preset in their order, and the profile (empty for none) limits the whole.
struct X264Settings
{
    std::string preset;
    std::string profile;
    std::vector<std::pair<std::string, std::string>> options;

    // "name=value:name=value"
    std::string OptionsText() const;

    RuntimeX264Settings Report() const;
};

// The options of such settings, in the order in which they apply.
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
