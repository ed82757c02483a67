// Between the wide text of the interfaces and the UTF-8 of the system.
#pragma once

#include <string>
#include <string_view>

namespace winbase
{

// Malformed characters become U+FFFD. *pbMalformed, unless null, reports whether there were any.
std::wstring WideFromUtf8(std::string_view text, bool* pbMalformed = nullptr);
std::string Utf8FromWide(std::wstring_view text, bool* pbMalformed = nullptr);

}  // namespace winbase
