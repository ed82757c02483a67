#include "platform/mediafoundation/file_path.h"

#include <filesystem>

namespace mediafoundation
{

bool Utf8Path(LPCWSTR pwszPath, std::string* pPath)
{
    try
    {
        // UTF-8 from char32_t, always; from wchar_t it would be the locale's encoding.
        const std::u32string text(pwszPath, pwszPath + std::char_traits<wchar_t>::length(pwszPath));
        *pPath = std::filesystem::path(text).string();
        return true;
    }
    catch (const std::system_error&)
    {
        return false;
    }
}

}  // namespace mediafoundation
