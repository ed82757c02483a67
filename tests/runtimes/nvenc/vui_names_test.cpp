// The names of code numbers are those that x264's options take.
#include <gtest/gtest.h>

#include <string>

#include "runtimes/common/x264_library.h"
#include "runtimes/nvenc/vui_names.h"

namespace
{

template <std::size_t N>
void ExpectSame(const char* (*find)(std::uint32_t), const char* const (&names)[N])
{
    // The list ends in a null; numbers without a meaning have an empty name.
    for (std::uint32_t ui = 0; ui < N; ++ui)
    {
        const char* const pszName = find(ui);
        EXPECT_EQ(std::string(pszName ? pszName : ""), names[ui] ? names[ui] : "") << ui;
    }
    EXPECT_EQ(find(N), nullptr);
    EXPECT_EQ(find(255), nullptr);
}

TEST(VuiNames, AreThoseOfX264)
{
    ExpectSame(nvencruntime::VideoFormatName, x264_vidformat_names);
    ExpectSame(nvencruntime::ColourPrimariesName, x264_colorprim_names);
    ExpectSame(nvencruntime::TransferName, x264_transfer_names);
    ExpectSame(nvencruntime::ColourMatrixName, x264_colmatrix_names);
}

}  // namespace
