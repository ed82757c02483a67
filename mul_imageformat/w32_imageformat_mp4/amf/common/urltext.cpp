#include "amf/common/urltext.h"

#include <algorithm>
#include <cstdio>

#include <windows.h>

namespace
{

// The blank is among what isn't visible.
constexpr std::string_view ALL_RESERVED = ":? %,;@&=+$<>#\"";
constexpr std::string_view QUERY_PARTS_RESERVED = ":? %,;@+$<>#\"";

std::string Utf8(const std::wstring& strText)
{
    if (strText.empty()) return {};
    const int nWide = static_cast<int>(strText.size());
    const int nBytes = WideCharToMultiByte(CP_UTF8, 0, strText.data(), nWide, nullptr, 0, nullptr, nullptr);
    std::string strUtf8(static_cast<std::size_t>(nBytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, strText.data(), nWide, strUtf8.data(), nBytes, nullptr, nullptr);
    return strUtf8;
}

void AppendHex(std::string& strTarget, char chByte)
{
    char achHex[3];
    std::snprintf(achHex, sizeof achHex, "%02X", static_cast<unsigned>(static_cast<unsigned char>(chByte)));
    strTarget += achHex;
}

// -1 for no digit.
int DigitValue(char chDigit)
{
    if (chDigit >= '0' && chDigit <= '9') return chDigit - '0';
    if (chDigit >= 'A' && chDigit <= 'F') return chDigit - 'A' + 10;
    if (chDigit >= 'a' && chDigit <= 'f') return chDigit - 'a' + 10;
    return -1;
}

}  // namespace

std::string FormUrl(std::wstring_view strText, EReserved eReserved)
{
    std::wstring strSlashed(strText);
    std::replace(strSlashed.begin(), strSlashed.end(), L'\\', L'/');

    const std::string_view strReserved = eReserved == EReserved::All ? ALL_RESERVED : QUERY_PARTS_RESERVED;
    std::string strUrl;
    for (const char chByte : Utf8(strSlashed))
    {
        const auto uiByte = static_cast<unsigned char>(chByte);
        if (uiByte > 32 && uiByte < 127 && strReserved.find(chByte) == std::string_view::npos)
        {
            strUrl += chByte;
            continue;
        }
        strUrl += '%';
        AppendHex(strUrl, chByte);
    }
    return strUrl;
}

std::string HexFromBytes(std::string_view strBytes)
{
    std::string strHex;
    for (const char chByte : strBytes)
    {
        AppendHex(strHex, chByte);
    }
    return strHex;
}

std::optional<std::string> BytesFromHex(std::string_view strHex)
{
    if (strHex.size() % 2 != 0) return std::nullopt;
    std::string strBytes;
    for (std::size_t i = 0; i < strHex.size(); i += 2)
    {
        const int nHigh = DigitValue(strHex[i]);
        const int nLow = DigitValue(strHex[i + 1]);
        if (nHigh < 0 || nLow < 0) return std::nullopt;
        strBytes += static_cast<char>(nHigh * 16 + nLow);
    }
    return strBytes;
}
