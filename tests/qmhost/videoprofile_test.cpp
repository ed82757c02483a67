#include "parts/videoprofile.h"

#include <gtest/gtest.h>

#include "memory_bytes.h"
#include "support/box_builder.h"
#include "unicode_folder.h"

namespace qmhost
{
namespace
{

using namespace test_support;

VideoProfile ProfileOf(const std::string& file)
{
    MemoryBytes source(file);
    return ReadVideoProfile(source);
}

std::string FileWith(const std::string& tracks)
{
    return FileType() + Box("mdat", std::string(100, 'x')) + Movie(tracks);
}

std::string FileOfProfile(int nProfile)
{
    return FileWith(TrackOf("vide", VideoEntry("avc1", AvcConfiguration(nProfile, nProfile))));
}

TEST(VideoProfile, HighAndAboveDeliverPictures)
{
    for (const int nProfile : {89, 100, 110, 122, 244})
    {
        const VideoProfile profile = ProfileOf(FileOfProfile(nProfile));
        EXPECT_EQ(profile.m_strCoding, "avc1");
        EXPECT_EQ(profile.m_nProfile, nProfile);
        EXPECT_EQ(profile.Delivery(), EDelivery::Pictures) << nProfile;
    }
}

TEST(VideoProfile, BaselineMainAndExtendedAreBlank)
{
    for (const int nProfile : {44, 66, 77, 88})
        EXPECT_EQ(ProfileOf(FileOfProfile(nProfile)).Delivery(), EDelivery::Blank) << nProfile;
}

TEST(VideoProfile, OtherCodingsAreBlank)
{
    for (const char* pszCoding : {"hev1", "hvc1", "mp4v", "av01"})
    {
        const VideoProfile profile = ProfileOf(FileWith(TrackOf("vide", VideoEntry(pszCoding, ""))));
        EXPECT_EQ(profile.m_strCoding, pszCoding);
        EXPECT_FALSE(profile.m_nProfile);
        EXPECT_EQ(profile.Delivery(), EDelivery::Blank) << pszCoding;
    }
}

TEST(VideoProfile, ParameterSetDecides)
{
    EXPECT_EQ(ProfileOf(FileWith(TrackOf("vide", VideoEntry("avc1", AvcConfiguration(100, 66))))).m_nProfile, 66);
}

TEST(VideoProfile, FieldsServeWithoutAParameterSet)
{
    EXPECT_EQ(ProfileOf(FileWith(TrackOf("vide", VideoEntry("avc3", AvcConfiguration(77, -1))))).m_nProfile, 77);
}

TEST(VideoProfile, AudioTracksArePassedOver)
{
    const std::string audio = TrackOf("soun", Box("mp4a", std::string(28, '\0')));
    const std::string video = TrackOf("vide", VideoEntry("avc1", AvcConfiguration(100, 100)));
    EXPECT_EQ(ProfileOf(FileWith(audio + video)).m_nProfile, 100);
    EXPECT_EQ(ProfileOf(FileWith(audio)).Delivery(), EDelivery::Unknown);
}

TEST(VideoProfile, FirstVideoTrackDecides)
{
    const std::string baseline = TrackOf("vide", VideoEntry("avc1", AvcConfiguration(66, 66)));
    const std::string high = TrackOf("vide", VideoEntry("avc1", AvcConfiguration(100, 100)));
    EXPECT_EQ(ProfileOf(FileWith(baseline + high)).m_nProfile, 66);
}

TEST(VideoProfile, ConfigurationBehindOtherBoxes)
{
    const std::string boxes = Box("pasp", std::string(8, '\0')) + AvcConfiguration(100, 100);
    EXPECT_EQ(ProfileOf(FileWith(TrackOf("vide", VideoEntry("avc1", boxes)))).m_nProfile, 100);
}

TEST(VideoProfile, SizesOf64Bits)
{
    const std::string video = TrackOf("vide", VideoEntry("avc1", AvcConfiguration(100, 100)));
    EXPECT_EQ(ProfileOf(LongBox("mdat", std::string(50, 'x')) + Movie(video)).m_nProfile, 100);
}

TEST(VideoProfile, LastBoxWithoutASize)
{
    std::string movie = Movie(TrackOf("vide", VideoEntry("avc1", AvcConfiguration(100, 100))));
    movie.replace(0, 4, Word(0));
    EXPECT_EQ(ProfileOf(FileType() + movie).m_nProfile, 100);
}

TEST(VideoProfile, H264WithoutConfigurationIsUnknown)
{
    const VideoProfile profile = ProfileOf(FileWith(TrackOf("vide", VideoEntry("avc1", ""))));
    EXPECT_EQ(profile.m_strCoding, "avc1");
    EXPECT_EQ(profile.Delivery(), EDelivery::Unknown);
}

TEST(VideoProfile, Descriptions)
{
    EXPECT_EQ((VideoProfile{"avc1", 100}).Describe(), "H.264 High (avc1, profile 100)");
    EXPECT_EQ((VideoProfile{"avc1", 66}).Describe(), "H.264 Baseline (avc1, profile 66)");
    EXPECT_EQ((VideoProfile{"avc3", 123}).Describe(), "H.264 (avc3, profile 123)");
    EXPECT_EQ((VideoProfile{"avc1", {}}).Describe(), "H.264 (avc1, profile unknown)");
    EXPECT_EQ((VideoProfile{"hev1", {}}).Describe(), "hev1, not H.264");
    EXPECT_EQ(VideoProfile{}.Describe(), "unknown");
}

TEST(VideoProfile, UnprintableCodingIsShownAsQuestionMarks)
{
    const std::string coding("a\n\0\xFF", 4);
    EXPECT_EQ(ProfileOf(FileWith(TrackOf("vide", VideoEntry(coding, "")))).m_strCoding, "a???");
}

TEST(FileBytes, ReadsAFileAnywhere)
{
    const UnicodeFolder folder;
    WriteText(folder / u8"\u00E9.bin", "0123456789");
    FileBytes bytes(folder / u8"\u00E9.bin");
    char acRead[3] = {};
    EXPECT_EQ(bytes.Size(), 10u);
    ASSERT_TRUE(bytes.ReadAt(7, acRead, 3));
    EXPECT_EQ(std::string(acRead, 3), "789");
    EXPECT_FALSE(bytes.ReadAt(8, acRead, 3));
    EXPECT_FALSE(bytes.ReadAt(11, acRead, 0));
    ASSERT_TRUE(bytes.ReadAt(0, acRead, 3));
    EXPECT_EQ(std::string(acRead, 3), "012");
}

TEST(FileBytes, WhatIsNoFileIsEmpty)
{
    const UnicodeFolder folder;
    EXPECT_EQ(FileBytes(folder.Path()).Size(), 0u);
    EXPECT_EQ(FileBytes(folder / "missing").Size(), 0u);
}

}  // namespace
}  // namespace qmhost
