// How the host's time of a frame becomes the entry of that frame in the list of frame times.
#pragma once

#include "common/growingarray.h"

// The frame-time fields of one output file, all in milliseconds. -1.0 stands for a time that isn't there yet.
struct SFrameTimes
{
    double m_dFrameTime = -1.0;       // the current frame's time, as the host set it
    double m_dPrevElapsed = -1.0;     // m_dElapsed of the frame before; set for one back end only, see below
    double m_dFirstFrameTime = -1.0;  // the first frame's time
    double m_dElapsed = -1.0;         // the current frame's time since the first
    double m_dSampleTime = 1.0;       // what the rule made of the current frame
    CGrowingArray<double> m_vecFrameTimes;
};

// Runs for every frame, before it is encoded. Appends one entry to m_vecFrameTimes.
//
// For the Media Foundation back end, m_dPrevElapsed becomes m_dElapsed afterwards, and so m_dSampleTime is each frame's
// distance from the one before, at least 1 ms, which it needs as the sample's duration. The back ends that write the
// file themselves leave m_dPrevElapsed alone on purpose: for them every entry is the time since the first frame, never
// below 0, and goes down when the host's times run backwards.
void ApplyFrameTimeRule(SFrameTimes& times);
