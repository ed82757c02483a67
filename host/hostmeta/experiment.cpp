// How a sequence of frames came to be.
#include "hostapi/hostmeta.h"

SQmExperiment::SQmExperiment()
    : m_eType(EQmExperimentType::None),
      m_uiCount(0),
      m_uiFirst(0),
      m_dPeriod(0.0),
      m_dDuration(0.0),
      m_dPeriod2(0.0),
      m_dPeriod3(0.0)
{}

// A loop that isn't nested needs no numbers of nesting, and this host has no other loops.
QmStatus SQmExperiment::Init(SQmExperiment& experiment, EQmExperimentType eType, bool, unsigned int uiCount,
                             unsigned int uiStart, unsigned int, unsigned int)
{
    experiment = SQmExperiment();
    experiment.m_eType = eType;
    experiment.m_uiCount = uiCount;
    experiment.m_uiFirst = uiStart;
    return QM_OK;
}
