#include <cstdio>
#include <cstdlib>

#include "platform/winbase/last_error.h"
#include "platform/winbase/text.h"

using namespace winbase;

void WINAPI OutputDebugStringA(LPCSTR lpText)
{
    static const bool s_bListening = std::getenv("WINBASE_DEBUG_OUTPUT") != nullptr;
    if (s_bListening && lpText)
    {
        std::fputs(lpText, stderr);
    }
}

void WINAPI OutputDebugStringW(LPCWSTR lpText)
{
    WithoutExceptions(0, [&] {
        OutputDebugStringA(lpText ? Utf8FromWide(lpText).c_str() : nullptr);
        return 0;
    });
}
