#include "NV_Video_Codec_SDK/NvEncoder/CompletionEvent.h"

#include <windows.h>

void* CreateCompletionEvent()
{
    return CreateEventW(nullptr, FALSE, FALSE, nullptr);
}

void CloseCompletionEvent(void* hEvent)
{
    CloseHandle(hEvent);
}

std::uint32_t AwaitCompletionEvent(void* hEvent, std::uint32_t uiMilliseconds)
{
    return WaitForSingleObject(hEvent, uiMilliseconds);
}
