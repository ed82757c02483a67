#include "windows_bridge/bridge.h"

#include <mutex>

#include <windows.h>

#include <mfapi.h>

#include "windows_bridge/representation.h"

namespace windows_bridge
{

void FillGaps()
{
    static std::once_flag once;
    std::call_once(once, [] {
        if (FAILED(MFStartup(MF_VERSION, MFSTARTUP_FULL))) return;
        if (HasRepresentationGap()) FillRepresentationGap();
    });
}

}  // namespace windows_bridge
