#include "NV_Video_Codec_SDK/NvEncoder/OptionText.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <sstream>
#include <stdexcept>

std::vector<std::string> SplitText(const std::string& strText, char cDelimiter)
{
    std::istringstream stream(strText);
    std::vector<std::string> vPieces;
    for (std::string strPiece; std::getline(stream, strPiece, cDelimiter);)
        vPieces.push_back(strPiece);
    return vPieces;
}

std::string ToLowerAscii(const std::string& strText)
{
    std::string strLower = strText;
    std::transform(strLower.begin(), strLower.end(), strLower.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return strLower;
}

// The standard conversions differ in the text of this failure from library to library; this one is the same everywhere.
std::optional<std::int32_t> ReadInt(const std::string& strText)
{
    const char* pszBegin = strText.c_str();
    char* pszEnd = nullptr;
    errno = 0;
    const long long nNumber = std::strtoll(pszBegin, &pszEnd, 10);
    if (pszEnd == pszBegin) return std::nullopt;
    if (errno == ERANGE || nNumber < std::numeric_limits<std::int32_t>::min() ||
        nNumber > std::numeric_limits<std::int32_t>::max())
    {
        throw std::out_of_range("stoi argument out of range");
    }
    return static_cast<std::int32_t>(nNumber);
}

std::optional<double> ReadDouble(const std::string& strText, char* pcUnit)
{
    const char* pszBegin = strText.c_str();
    char* pszEnd = nullptr;
    errno = 0;
    const double dNumber = std::strtod(pszBegin, &pszEnd);
    if (pszEnd == pszBegin) return std::nullopt;
    if (errno == ERANGE) throw std::out_of_range("stod argument out of range");
    *pcUnit = *pszEnd;
    return dNumber;
}
