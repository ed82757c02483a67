// Gap of Wine 10: each file that is being opened holds a thread of the system's work queue until another thread of it
// has opened the file's source. When as many are opened at once as the queue has threads, all of them wait forever.
#pragma once

namespace windows_bridge
{

// From now on files are opened one after the other. To be called once, under Wine, with Media Foundation started.
void FillOpeningGap();

}  // namespace windows_bridge
