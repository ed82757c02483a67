// Texts in the user's language. This host has one language, that of the source texts.
#include "hostapi/hostcore.h"

const wchar_t* QM_GetTranslation(const wchar_t* pwszText, const char*)
{
    return pwszText == nullptr ? L"" : pwszText;
}
