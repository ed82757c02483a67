#include "windows_bridge/bridge.h"

#include <mutex>

#include <windows.h>

#include <mfapi.h>

#include "windows_bridge/decoder.h"
#include "windows_bridge/opening.h"
#include "windows_bridge/representation.h"
#include "windows_bridge/starts.h"

namespace windows_bridge
{

bool IsWine()
{
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

void FillGaps()
{
    static std::once_flag once;
    std::call_once(once, [] {
        if (FAILED(MFStartup(MF_VERSION, MFSTARTUP_FULL))) return;
        if (HasRepresentationGap()) FillRepresentationGap();
        if (!IsWine()) return;
        FillDecoderGap();
        FillOpeningGap();
        FillStartGaps();
    });
}

}  // namespace windows_bridge
