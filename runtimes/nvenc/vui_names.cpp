#include "runtimes/nvenc/vui_names.h"

#include <cstddef>

#include "runtimes/common/x264_library.h"

namespace nvencruntime
{
namespace
{

// x264's lists end in a null; reserved numbers have an empty name.
template <std::size_t N>
const char* FindName(const char* const (&names)[N], std::uint32_t uiCode)
{
    return uiCode < N && names[uiCode] && *names[uiCode] ? names[uiCode] : nullptr;
}

}  // namespace

const char* VideoFormatName(std::uint32_t uiCode)
{
    return FindName(x264_vidformat_names, uiCode);
}

const char* ColourPrimariesName(std::uint32_t uiCode)
{
    return FindName(x264_colorprim_names, uiCode);
}

const char* TransferName(std::uint32_t uiCode)
{
    return FindName(x264_transfer_names, uiCode);
}

const char* ColourMatrixName(std::uint32_t uiCode)
{
    return FindName(x264_colmatrix_names, uiCode);
}

}  // namespace nvencruntime
