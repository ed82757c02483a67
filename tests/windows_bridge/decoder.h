// Gap of Wine 10: its H.264 decoder decodes several pictures at once, and its threads disagree on the size of a picture
// whose width or height isn't a multiple of 16. Now and then that ends the thread of the session with a trap, and the
// program stands still.
#pragma once

namespace windows_bridge
{

// From now on a decoder of such pictures decodes them one after the other. To be called once, under Wine, with COM and
// Media Foundation started.
void FillDecoderGap();

}  // namespace windows_bridge
