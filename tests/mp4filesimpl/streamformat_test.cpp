// The raw format that is asked of the decoder, from format blocks that are put together by hand.
#include <cstdint>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "mp4filesimpl/streamformat.h"

#include <mfapi.h>
#include <uuids.h>

namespace
{

constexpr std::size_t PROFILE_AT = 120;  // of the 32-bit word in a format block

// A format block of exactly uiBytes, so that the address sanitizer sees a read past its end. The profile is stored as
// far as the block reaches.
class CFormat
{
public:
    CFormat(REFGUID guidSubtype, REFGUID guidBlock, std::size_t uiBytes, std::uint32_t uiProfile) : m_vBlock(uiBytes)
    {
        for (std::size_t i = 0; i < 4 && PROFILE_AT + i < uiBytes; ++i)
            m_vBlock[PROFILE_AT + i] = static_cast<BYTE>(uiProfile >> (8 * i));
        m_format.majortype = MFMediaType_Video;
        m_format.subtype = guidSubtype;
        m_format.formattype = guidBlock;
        m_format.cbFormat = static_cast<ULONG>(uiBytes);
        m_format.pbFormat = m_vBlock.data();
    }

    bool IsYuy2() const
    {
        const GUID& guidRaw = ChooseRawSubtype(m_format);
        EXPECT_TRUE(guidRaw == MFVideoFormat_YUY2 || guidRaw == MFVideoFormat_NV12);
        return guidRaw == MFVideoFormat_YUY2;
    }

    AM_MEDIA_TYPE m_format = {};

private:
    std::vector<BYTE> m_vBlock;
};

bool IsYuy2(std::uint32_t uiProfile)
{
    return CFormat(MFVideoFormat_H264, FORMAT_MPEG2_VIDEO, sizeof(MPEG2VIDEOINFO), uiProfile).IsYuy2();
}

TEST(RawFormat, ProfilesAboveExtendedAreYuy2)
{
    for (const std::uint32_t uiProfile : {89U, 100U, 110U, 122U, 244U, 0x80000000U, 0xFFFFFFFFU})
        EXPECT_TRUE(IsYuy2(uiProfile)) << uiProfile;
}

TEST(RawFormat, BaselineMainExtendedAndNoProfileAreNv12)
{
    for (const std::uint32_t uiProfile : {0U, 44U, 66U, 77U, 88U})
        EXPECT_FALSE(IsYuy2(uiProfile)) << uiProfile;
}

TEST(RawFormat, Mpeg4Part2IsNv12WhateverItsBlockHolds)
{
    for (const GUID& guidSubtype : {MFVideoFormat_MP4S, MFVideoFormat_M4S2, MFVideoFormat_MP4V})
    {
        EXPECT_FALSE(CFormat(guidSubtype, FORMAT_MPEG2_VIDEO, sizeof(MPEG2VIDEOINFO), 100).IsYuy2());
        EXPECT_FALSE(CFormat(guidSubtype, FORMAT_VideoInfo2, sizeof(VIDEOINFOHEADER2), 0).IsYuy2());
    }
}

TEST(RawFormat, OtherSubtypesFollowTheProfileToo)
{
    EXPECT_TRUE(CFormat(MFVideoFormat_MPEG2, FORMAT_MPEG2_VIDEO, sizeof(MPEG2VIDEOINFO), 100).IsYuy2());
    EXPECT_FALSE(CFormat(MFVideoFormat_MPEG2, FORMAT_MPEG2_VIDEO, sizeof(MPEG2VIDEOINFO), 4).IsYuy2());
}

TEST(RawFormat, ABlockThatEndsBeforeOrInsideTheProfileCountsAsProfile0)
{
    for (const std::size_t uiBytes : {std::size_t{0}, sizeof(VIDEOINFOHEADER2), PROFILE_AT, PROFILE_AT + 3})
        EXPECT_FALSE(CFormat(MFVideoFormat_HEVC, FORMAT_VideoInfo2, uiBytes, 0xFFFFFFFF).IsYuy2()) << uiBytes;
    EXPECT_TRUE(CFormat(MFVideoFormat_HEVC, FORMAT_VideoInfo2, PROFILE_AT + 4, 0xFFFFFFFF).IsYuy2());
}

TEST(RawFormat, NoBlockCountsAsProfile0)
{
    CFormat format(MFVideoFormat_H264, FORMAT_MPEG2_VIDEO, sizeof(MPEG2VIDEOINFO), 100);
    format.m_format.pbFormat = nullptr;
    EXPECT_FALSE(format.IsYuy2());
}

}  // namespace
