#include "mp4_outputfile/sessionwaits.h"

DWORD AwaitFrameTaken(HANDLE hFrameTaken, HANDLE hWriterThread, std::uint32_t uiLimit)
{
    const HANDLE ahAny[] = {hFrameTaken, hWriterThread};
    return WaitForMultipleObjects(2, ahAny, FALSE, uiLimit);
}

DWORD AwaitThreadEnd(HANDLE hWriterThread, std::uint32_t uiLimit)
{
    return WaitForSingleObject(hWriterThread, uiLimit);
}

void RestBeforeRestart(std::uint32_t uiMilliseconds)
{
    Sleep(uiMilliseconds);
}
