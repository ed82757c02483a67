#include "mp4_outputfile/frametimerule.h"

void ApplyFrameTimeRule(SFrameTimes& times)
{
    // A host that never sets a time leaves both at -1.0, and every frame is a first one.
    if (times.m_dFirstFrameTime == -1.0) times.m_dFirstFrameTime = times.m_dFrameTime;
    times.m_dElapsed = times.m_dFrameTime - times.m_dFirstFrameTime;
    if (times.m_dElapsed - times.m_dPrevElapsed < 0.0) times.m_dElapsed = times.m_dPrevElapsed;

    if (times.m_dPrevElapsed > 0.0)
    {
        const double dDistance = times.m_dElapsed - times.m_dPrevElapsed;
        times.m_dSampleTime = dDistance <= 1.0 ? 1.0 : dDistance;
    }
    else
    {
        times.m_dSampleTime = times.m_dElapsed > 0.0 ? times.m_dElapsed : 0.0;
    }
    times.m_vecFrameTimes.push_back(times.m_dSampleTime);
}
