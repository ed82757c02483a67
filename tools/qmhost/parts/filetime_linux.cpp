#include "parts/filetime.h"

#include <system_error>

namespace qmhost
{

std::int64_t LastWriteTime(const std::filesystem::path& path)
{
    std::error_code error;
    const auto time = std::filesystem::last_write_time(path, error);
    return error ? 0 : time.time_since_epoch().count();
}

}  // namespace qmhost
