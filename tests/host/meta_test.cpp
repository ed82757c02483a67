#include "hostapi/hostmeta.h"

#include <gtest/gtest.h>

TEST(PictureMetadata, DefaultsToAnUnknownTime)
{
    SQmPictureMetadata metadata;
    EXPECT_EQ(metadata.m_dTime, -1.0);
    EXPECT_EQ(metadata.m_Planes.m_uiCount, 0u);
    EXPECT_EQ(metadata.m_dMeta1, 0);
    EXPECT_EQ(metadata.m_dMeta2, 0.0);
    EXPECT_EQ(metadata.m_bMeta3, 0);
    EXPECT_STREQ(metadata.m_strMeta4, L"");
}

TEST(PictureMetadata, SetToDefaultResetsEverything)
{
    SQmPictureMetadata metadata;
    metadata.m_dTime = 12.5;
    ASSERT_EQ(SQmPicturePlanes::Alloc(metadata.m_Planes, 2, 1), QM_OK);
    metadata.m_dMeta1 = 1;
    metadata.m_dMeta2 = 2.0;
    metadata.m_bMeta3 = 3;
    metadata.m_strMeta4 = L"text";
    metadata.SetToDefault();
    EXPECT_EQ(metadata.m_dTime, -1.0);
    EXPECT_EQ(metadata.m_Planes.m_uiCount, 0u);
    EXPECT_EQ(metadata.m_Planes.m_pPlanes, nullptr);
    EXPECT_EQ(metadata.m_dMeta1, 0);
    EXPECT_EQ(metadata.m_dMeta2, 0.0);
    EXPECT_EQ(metadata.m_bMeta3, 0);
    EXPECT_STREQ(metadata.m_strMeta4, L"");
}

TEST(PictureMetadata, CopiesHavePlanesOfTheirOwn)
{
    SQmPictureMetadata metadata;
    metadata.m_dTime = 12.5;
    ASSERT_EQ(SQmPicturePlanes::MakeRGB(metadata.m_Planes), QM_OK);
    const SQmPictureMetadata copy(metadata);
    SQmPictureMetadata assigned;
    assigned = metadata;
    metadata.m_Planes.m_pPlanes[0].m_strName = L"other";
    EXPECT_EQ(copy.m_dTime, 12.5);
    EXPECT_STREQ(copy.m_Planes.m_pPlanes[0].m_strName, L"RGB");
    EXPECT_STREQ(assigned.m_Planes.m_pPlanes[0].m_strName, L"RGB");
}

TEST(PicturePlanes, AllocFreesTheFormerPlanes)
{
    SQmPicturePlanes planes;
    ASSERT_EQ(SQmPicturePlanes::Alloc(planes, 3, 2), QM_OK);
    ASSERT_EQ(planes.m_uiCount, 3u);
    for (std::uint32_t i = 0; i < 3; ++i)
    {
        EXPECT_EQ(planes.m_pPlanes[i].m_uiComponents, 2u);
        EXPECT_FALSE(planes.m_pPlanes[i].m_bRGB);
        EXPECT_STREQ(planes.m_pPlanes[i].m_strName, L"");
    }
    ASSERT_EQ(SQmPicturePlanes::Alloc(planes, 1, 1), QM_OK);
    EXPECT_EQ(planes.m_uiCount, 1u);
    ASSERT_EQ(SQmPicturePlanes::Alloc(planes, 0, 1), QM_OK);
    EXPECT_EQ(planes.m_uiCount, 0u);
    EXPECT_EQ(planes.m_pPlanes, nullptr);
}

TEST(PicturePlanes, FreeTwiceIsHarmless)
{
    SQmPicturePlanes planes;
    ASSERT_EQ(SQmPicturePlanes::Alloc(planes, 1, 1), QM_OK);
    SQmPicturePlanes::Free(planes);
    SQmPicturePlanes::Free(planes);
    EXPECT_EQ(planes.m_uiCount, 0u);
}

TEST(PicturePlanes, RefuseANumberThatNoMemoryHolds)
{
    SQmPicturePlanes planes;
    ASSERT_EQ(SQmPicturePlanes::Alloc(planes, 1, 1), QM_OK);
    EXPECT_EQ(SQmPicturePlanes::Alloc(planes, 0xFFFFFFFF, 1), QM_ERR_FAIL);
    EXPECT_EQ(planes.m_uiCount, 0u);
    EXPECT_EQ(planes.m_pPlanes, nullptr);
}

TEST(PicturePlanes, MakeRGBLeavesOneColourPlane)
{
    for (const unsigned int uiBefore : {0u, 1u, 3u})
    {
        SQmPicturePlanes planes;
        ASSERT_EQ(SQmPicturePlanes::Alloc(planes, uiBefore, 1), QM_OK);
        ASSERT_EQ(SQmPicturePlanes::MakeRGB(planes), QM_OK);
        ASSERT_EQ(planes.m_uiCount, 1u);
        EXPECT_TRUE(planes.m_pPlanes[0].m_bRGB);
        EXPECT_EQ(planes.m_pPlanes[0].m_uiComponents, 3u);
        EXPECT_EQ(planes.m_pPlanes[0].m_uiColor, 0x00FFFFFFu);
        EXPECT_STREQ(planes.m_pPlanes[0].m_strName, L"RGB");
    }
}

TEST(Experiment, InitDescribesALoop)
{
    SQmExperiment experiment;
    EXPECT_EQ(experiment.m_eType, EQmExperimentType::None);
    experiment.m_dPeriod = experiment.m_dPeriod2 = experiment.m_dPeriod3 = experiment.m_dDuration = 5.0;
    ASSERT_EQ(SQmExperiment::Init(experiment, EQmExperimentType::TimeLoop, false, 100, 7, 0, 1), QM_OK);
    EXPECT_EQ(experiment.m_eType, EQmExperimentType::TimeLoop);
    EXPECT_EQ(experiment.m_uiCount, 100u);
    EXPECT_EQ(experiment.m_uiFirst, 7u);
    EXPECT_EQ(experiment.m_dPeriod, 0.0);
    EXPECT_EQ(experiment.m_dDuration, 0.0);
    EXPECT_EQ(experiment.m_dPeriod2, 0.0);
    EXPECT_EQ(experiment.m_dPeriod3, 0.0);
}
