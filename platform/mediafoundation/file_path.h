// Paths of files, from wide text.
#pragma once

#include <string>

#include "windef.h"

namespace mediafoundation
{

// UTF-8, whatever the locale. False if the text isn't Unicode: no file has such a name.
bool Utf8Path(LPCWSTR pwszPath, std::string* pPath);

}  // namespace mediafoundation
