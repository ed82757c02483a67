#include "parts/naturalorder.h"

#include <algorithm>
#include <cstddef>

namespace qmhost
{
namespace
{

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

unsigned char Small(char c)
{
    return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
}

// Takes the digits in a row from the front of a text.
std::string_view TakeNumber(std::string_view& text)
{
    const auto uiDigits = static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), IsDigit) - text.begin());
    const std::string_view number = text.substr(0, uiDigits);
    text.remove_prefix(uiDigits);
    return number;
}

std::string_view WithoutZeros(std::string_view number)
{
    return number.substr(std::min(number.find_first_not_of('0'), number.size()));
}

int Sign(std::size_t uiFirst, std::size_t uiSecond)
{
    return uiFirst < uiSecond ? -1 : uiFirst > uiSecond;
}

// Below 0 when the first text comes first, 0 when only leading zeros and capitals differ. nZeros becomes the order by
// the first number that has other leading zeros.
int Compare(std::string_view first, std::string_view second, int& nZeros)
{
    while (!first.empty() && !second.empty())
    {
        if (!IsDigit(first.front()) || !IsDigit(second.front()))
        {
            if (const int nOrder = Sign(Small(first.front()), Small(second.front()))) return nOrder;
            first.remove_prefix(1);
            second.remove_prefix(1);
            continue;
        }
        const std::string_view numberFirst = TakeNumber(first);
        const std::string_view numberSecond = TakeNumber(second);
        const std::string_view valueFirst = WithoutZeros(numberFirst);
        const std::string_view valueSecond = WithoutZeros(numberSecond);
        if (const int nOrder = Sign(valueFirst.size(), valueSecond.size())) return nOrder;
        if (const int nOrder = valueFirst.compare(valueSecond)) return nOrder;
        if (nZeros == 0) nZeros = Sign(numberFirst.size(), numberSecond.size());
    }
    return Sign(first.size(), second.size());
}

}  // namespace

bool NaturallyBefore(std::string_view first, std::string_view second)
{
    const std::size_t uiDotFirst = std::min(first.rfind('.'), first.size());
    const std::size_t uiDotSecond = std::min(second.rfind('.'), second.size());
    int nZeros = 0;
    if (const int nOrder = Compare(first.substr(0, uiDotFirst), second.substr(0, uiDotSecond), nZeros))
        return nOrder < 0;
    if (const int nOrder = Compare(first.substr(uiDotFirst), second.substr(uiDotSecond), nZeros)) return nOrder < 0;
    return nZeros != 0 ? nZeros < 0 : first < second;
}

}  // namespace qmhost
