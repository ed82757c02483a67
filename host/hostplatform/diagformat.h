// Text from a printf-like format.
#pragma once

#include <cstdarg>
#include <string>

// As hostapi/hostplatform.h describes formats. Throws std::bad_alloc.
std::wstring FormatDiagText(const wchar_t* pwszFormat, std::va_list args);
