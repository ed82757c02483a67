// The planes of a picture.
#include "hostapi/hostmeta.h"

#include <new>

namespace
{

// More planes than any camera has. Keeps a wrong number from taking all memory.
constexpr unsigned int MAX_PLANES = 65536;

constexpr std::uint32_t COLOR_WHITE = 0x00FFFFFF;

}  // namespace

SQmPicturePlanes::SQmPicturePlanes() : m_uiCount(0), m_pPlanes(nullptr) {}

SQmPicturePlanes::~SQmPicturePlanes()
{
    Free(*this);
}

SQmPicturePlanes::SQmPicturePlanes(const SQmPicturePlanes& other) : SQmPicturePlanes()
{
    *this = other;
}

SQmPicturePlanes& SQmPicturePlanes::operator=(const SQmPicturePlanes& other)
{
    if (this == &other) return *this;
    if (Alloc(*this, other.m_uiCount, 0) == QM_OK)
    {
        for (std::uint32_t i = 0; i < m_uiCount; ++i)
            m_pPlanes[i] = other.m_pPlanes[i];
    }
    return *this;
}

void SQmPicturePlanes::Free(SQmPicturePlanes& planes)
{
    delete[] planes.m_pPlanes;
    planes.m_pPlanes = nullptr;
    planes.m_uiCount = 0;
}

QmStatus SQmPicturePlanes::Alloc(SQmPicturePlanes& planes, unsigned int uiPlanes, unsigned int uiComponents)
{
    Free(planes);
    if (uiPlanes > MAX_PLANES) return QM_ERR_FAIL;
    if (uiPlanes == 0) return QM_OK;
    planes.m_pPlanes = new (std::nothrow) SPlane[uiPlanes]();
    if (planes.m_pPlanes == nullptr) return QM_ERR_FAIL;
    planes.m_uiCount = uiPlanes;
    for (std::uint32_t i = 0; i < uiPlanes; ++i)
    {
        planes.m_pPlanes[i].m_uiComponents = uiComponents;
        planes.m_pPlanes[i].m_uiColor = COLOR_WHITE;
    }
    return QM_OK;
}

QmStatus SQmPicturePlanes::MakeRGB(SQmPicturePlanes& planes)
{
    if (planes.m_uiCount != 1)
    {
        const QmStatus nStatus = Alloc(planes, 1, 3);
        if (nStatus != QM_OK) return nStatus;
    }
    SPlane& plane = planes.m_pPlanes[0];
    plane.m_uiComponents = 3;
    plane.m_bRGB = true;
    plane.m_uiColor = COLOR_WHITE;
    plane.m_strName = L"RGB";
    return QM_OK;
}
