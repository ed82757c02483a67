#include "platform/mediafoundation/reading/ffmpeg.h"

#include <mutex>

namespace mediafoundation
{

void PrepareFfmpeg()
{
    static std::once_flag s_once;
    std::call_once(s_once, [] {
        av_log_set_callback([](void*, int, const char*, va_list) {});
        // One plane of a picture of 16384 x 16384 with 16 bits per sample, and the index of 22 million samples.
        av_max_alloc(std::size_t{528} << 20);
    });
}

}  // namespace mediafoundation
