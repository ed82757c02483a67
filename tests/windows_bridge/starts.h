// Gaps of Wine 10 where a session starts at a position, as every read of a frame does that isn't the next one.
//
// - The source forgets the requests for samples that are open when it starts. The session waits for these samples, and
//   the play never begins.
// - The source starts at the picture of the position, also between two key pictures, where it can't be decoded right.
// - After a pause the decoder keeps the pictures before it, and brings them after the start.
#pragma once

namespace windows_bridge
{

// From now on a start at a position stops the session first, so that the decoder is emptied. The source of a file
// starts at its beginning instead, and repeats the requests that were open. The sample grabber is given the samples
// from the position on. A start takes as long as decoding all that comes before it. To be called once, under Wine, with
// Media Foundation started.
void FillStartGaps();

}  // namespace windows_bridge
