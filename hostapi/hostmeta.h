// The host library `hostmeta`: metadata of a picture and of an experiment.
#pragma once

#include <cstdint>

#include "hostapi/hostcore.h"

// The planes (channels) of a picture. Opaque to modules.
struct QM_HOSTMETA SQmPicturePlanes
{
    SQmPicturePlanes();
    ~SQmPicturePlanes();
    SQmPicturePlanes(const SQmPicturePlanes& other);
    SQmPicturePlanes& operator=(const SQmPicturePlanes& other);

    static void Free(SQmPicturePlanes& planes);
    // Allocates uiPlanes planes of uiComponents components each. QM_ERR_FAIL when there is no memory.
    static QmStatus Alloc(SQmPicturePlanes& planes, unsigned int uiPlanes, unsigned int uiComponents);
    // Marks the planes as one RGB plane.
    static QmStatus MakeRGB(SQmPicturePlanes& planes);

    struct SPlane
    {
        std::uint32_t m_uiComponents;
        bool m_bRGB;
        std::uint32_t m_uiColor;  // display colour, 0x00RRGGBB
        CQmStringW m_strName;
    };
    std::uint32_t m_uiCount;
    SPlane* m_pPlanes;
};

struct QM_HOSTMETA SQmPictureMetadata
{
    SQmPictureMetadata();
    ~SQmPictureMetadata();
    SQmPictureMetadata(const SQmPictureMetadata& other);
    SQmPictureMetadata& operator=(const SQmPictureMetadata& other);

    void SetToDefault();

    double m_dTime;  // the frame's time, milliseconds; -1.0 by default, which means not known
    SQmPicturePlanes m_Planes;
    std::int64_t m_dMeta1;
    double m_dMeta2;
    std::uint8_t m_bMeta3;
    CQmStringW m_strMeta4;
};

enum class EQmExperimentType : std::int32_t
{
    None = 0,
    TimeLoop = 1
};

// How a sequence of frames came to be.
struct QM_HOSTMETA SQmExperiment
{
    SQmExperiment();

    // A loop of uiCount frames; the three further numbers are the start, the number of nested loops and their order.
    static QmStatus Init(SQmExperiment& experiment, EQmExperimentType eType, bool bNested, unsigned int uiCount,
                         unsigned int uiStart, unsigned int uiLevels, unsigned int uiOrder);

    EQmExperimentType m_eType;
    std::uint32_t m_uiCount;  // number of frames
    std::uint64_t m_uiFirst;
    double m_dPeriod;    // mean distance of frames, milliseconds
    double m_dDuration;  // last time less first time, milliseconds
    double m_dPeriod2;
    double m_dPeriod3;
};
