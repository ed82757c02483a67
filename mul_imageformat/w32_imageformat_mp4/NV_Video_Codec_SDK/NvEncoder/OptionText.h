// Small pieces of text work that the option set is made of.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// The pieces between delimiters. A delimiter at the end gives no empty last piece; one at the beginning, or a doubled
// one, gives an empty piece; an empty text gives none.
std::vector<std::string> SplitText(const std::string& strText, char cDelimiter);

// A copy in lower case; bytes that aren't ASCII letters stay.
std::string ToLowerAscii(const std::string& strText);

// The decimal number at the beginning of the text, after white space and with a sign; what follows it is ignored. None
// without digits. Throws std::out_of_range for a number that 32 bits can't hold.
std::optional<std::int32_t> ReadInt(const std::string& strText);

// The floating-point number at the beginning of the text, as strtod reads it, and the character after it as *pcUnit, 0
// at the end. None without a number. Throws std::out_of_range for a number that a double can't hold.
std::optional<double> ReadDouble(const std::string& strText, char* pcUnit);
