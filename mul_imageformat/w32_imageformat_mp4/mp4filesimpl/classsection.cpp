#include "mp4filesimpl/classsection.h"

#include "moduleexport.h"
#include "mp4filesimpl/imageformatmp4.h"

QM_MODULE_SECTION("verHIDX")
constinit const SClassSection g_classSection = {
    u"<variant version=\"1.0\"><CQmImageFormatMP4 runtype=\"RQmRttiClass\">"
    u"<m_parent1 runtype=\"CQmStringW\" value=\"IQmImageFormat\"/>"
    u"<m_parent2 runtype=\"CQmStringW\" value=\"\"/>"
    u"<m_parent3 runtype=\"CQmStringW\" value=\"\"/>"
    u"<m_parent4 runtype=\"CQmStringW\" value=\"\"/>"
    u"<m_parent5 runtype=\"CQmStringW\" value=\"\"/>"
    u"<m_parent6 runtype=\"CQmStringW\" value=\"\"/>"
    u"<m_parent7 runtype=\"CQmStringW\" value=\"\"/>"
    u"<m_parent8 runtype=\"CQmStringW\" value=\"\"/>"
    u"<m_parent9 runtype=\"CQmStringW\" value=\"\"/>"
    u"</CQmImageFormatMP4></variant>",
    u"<variant version=\"1.0\"><CQmImageFormatMP4 runtype=\"CQmListVariant\">"
    u"<m_version value=\"1\" runtype=\"qm_int32\"/><m_RTTIpriority value=\"00.90.00.00\" runtype=\"CQmStringW\"/>"
    u"</CQmImageFormatMP4></variant>",
    {"CQmImageFormatMP4", sizeof(CQmImageFormatMP4), QM_ConstructorForCQmImageFormatMP4, "IQmImageFormat"}};
