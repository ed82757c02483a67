// What stands between the module and the gaps of Wine's Media Foundation. It isn't needed on Windows, and does nothing
// there.
#pragma once

namespace windows_bridge
{

// Whether this is Wine and not Windows.
bool IsWine();

// Fills the gaps that this system has, once. Starts Media Foundation for it and leaves that started: what was replaced
// lies in its libraries.
void FillGaps();

}  // namespace windows_bridge
