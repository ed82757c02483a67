#include "parts/inputpath.h"

#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include "parts/text.h"

namespace qmhost
{

void RequireReadableFile(const std::filesystem::path& path)
{
    const std::string strPath = Quoted(Utf8FromPath(path));
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (status.type() == std::filesystem::file_type::not_found) throw std::runtime_error(strPath + " doesn't exist");
    if (std::filesystem::is_directory(status)) throw std::runtime_error(strPath + " is a directory");
    if (!error && !std::filesystem::is_regular_file(status)) throw std::runtime_error(strPath + " is no ordinary file");

    errno = 0;
    if (std::ifstream(path, std::ios::binary)) return;
    if (!error) error.assign(errno != 0 ? errno : EIO, std::generic_category());
    throw std::runtime_error(strPath + " can't be read: " + error.message());
}

}  // namespace qmhost
