#include "runtimes/nvenc/vui_names.h"

#include <cstddef>

namespace nvencruntime
{
namespace
{

// By number. Those without a meaning have none.
constexpr const char* c_videoFormats[] = {"component", "pal", "ntsc", "secam", "mac", "undef"};
constexpr const char* c_colourPrimaries[] = {nullptr,    "bt709",     "undef",     nullptr, "bt470m",
                                             "bt470bg",  "smpte170m", "smpte240m", "film",  "bt2020",
                                             "smpte428", "smpte431",  "smpte432"};
constexpr const char* c_transfers[] = {nullptr,     "bt709",        "undef",     nullptr,        "bt470m",
                                       "bt470bg",   "smpte170m",    "smpte240m", "linear",       "log100",
                                       "log316",    "iec61966-2-4", "bt1361e",   "iec61966-2-1", "bt2020-10",
                                       "bt2020-12", "smpte2084",    "smpte428",  "arib-std-b67"};
constexpr const char* c_colourMatrices[] = {
    "GBR",       "bt709", "undef",    nullptr,   "fcc",       "bt470bg",           "smpte170m",
    "smpte240m", "YCgCo", "bt2020nc", "bt2020c", "smpte2085", "chroma-derived-nc", "chroma-derived-c",
    "ICtCp"};

template <std::size_t N>
const char* FindName(const char* const (&names)[N], std::uint32_t uiCode)
{
    return uiCode < N ? names[uiCode] : nullptr;
}

}  // namespace

const char* VideoFormatName(std::uint32_t uiCode)
{
    return FindName(c_videoFormats, uiCode);
}

const char* ColourPrimariesName(std::uint32_t uiCode)
{
    return FindName(c_colourPrimaries, uiCode);
}

const char* TransferName(std::uint32_t uiCode)
{
    return FindName(c_transfers, uiCode);
}

const char* ColourMatrixName(std::uint32_t uiCode)
{
    return FindName(c_colourMatrices, uiCode);
}

}  // namespace nvencruntime
