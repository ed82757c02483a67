// Text for URLs, and bytes as hexadecimal text. May throw std::bad_alloc.
#pragma once

#include <optional>
#include <string>
#include <string_view>

// Which characters FormUrl writes as %XX, besides all that aren't visible ASCII.
enum class EReserved
{
    All,        // : ? % , ; @ & = + $ < > # "
    QueryParts  // the same without & and =
};

// The text in UTF-8 with slashes for backslashes, and every reserved byte as a per cent sign and two digits.
std::string FormUrl(std::wstring_view strText, EReserved eReserved);

// Two upper-case digits for each byte.
std::string HexFromBytes(std::string_view strBytes);

// The bytes of such a text. Lower-case digits are read too. Nothing for a text that isn't pairs of digits.
std::optional<std::string> BytesFromHex(std::string_view strHex);
