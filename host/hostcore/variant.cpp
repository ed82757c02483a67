// One value of any of the host's simple types.
#include "hostapi/hostcore.h"

CQmVariant::CQmVariant() : m_eType(EType::Empty), m_nValue(0), m_dValue(0.0) {}

CQmVariant::CQmVariant(const CQmVariant& other) = default;

CQmVariant::CQmVariant(std::int64_t nValue) : m_eType(EType::Integer), m_nValue(nValue), m_dValue(0.0) {}

CQmVariant::CQmVariant(double dValue) : m_eType(EType::Double), m_nValue(0), m_dValue(dValue) {}

CQmVariant::CQmVariant(const CQmStringW& strValue)
    : m_eType(EType::String), m_nValue(0), m_dValue(0.0), m_strValue(strValue)
{}

CQmVariant::~CQmVariant() = default;
CQmVariant& CQmVariant::operator=(const CQmVariant& other) = default;

CQmVariant::EType CQmVariant::GetType() const
{
    return m_eType;
}

std::int64_t CQmVariant::GetInteger() const
{
    return m_nValue;
}

double CQmVariant::GetDouble() const
{
    return m_dValue;
}

const CQmStringW& CQmVariant::GetString() const
{
    return m_strValue;
}
