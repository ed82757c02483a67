// What a source reports about a file before anything is played.
#include <gtest/gtest.h>

#include <cstring>

#include "dvdmedia.h"
#include "media_files.h"
#include "platform/mediafoundation/startup_probe.h"
#include "propvarutil.h"
#include "test_graph.h"
#include "uuids.h"

namespace mftest
{
namespace
{

struct StreamView
{
    BOOL m_fSelected = FALSE;
    ComPtr<IMFStreamDescriptor> m_descriptor;
    ComPtr<IMFMediaTypeHandler> m_handler;
    ComPtr<IMFMediaType> m_type;
    GUID m_majorType = GUID_NULL;
};

StreamView ViewStream(IMFPresentationDescriptor* pPresentation, DWORD dwIndex)
{
    StreamView view;
    EXPECT_EQ(pPresentation->GetStreamDescriptorByIndex(dwIndex, &view.m_fSelected, view.m_descriptor.Put()), S_OK);
    EXPECT_EQ(view.m_descriptor->GetMediaTypeHandler(view.m_handler.Put()), S_OK);
    DWORD dwCount = 0;
    EXPECT_EQ(view.m_handler->GetMediaTypeCount(&dwCount), S_OK);
    EXPECT_EQ(dwCount, 1U);
    EXPECT_EQ(view.m_handler->GetMediaTypeByIndex(0, view.m_type.Put()), S_OK);
    EXPECT_EQ(view.m_handler->GetMajorType(&view.m_majorType), S_OK);
    return view;
}

std::int32_t WordAt(const BYTE* pBlock, std::size_t uiAt)
{
    std::int32_t nWord = 0;
    std::memcpy(&nWord, pBlock + uiAt, sizeof(nWord));
    return nWord;
}

class Descriptors : public ::testing::Test
{
protected:
    ComPtr<IMFPresentationDescriptor> Present(const Recipe& recipe)
    {
        const std::string path = m_directory / "video.mp4";
        MakeVideo(path, recipe);
        return Present(path);
    }
    ComPtr<IMFPresentationDescriptor> Present(const std::string& path)
    {
        EXPECT_EQ(m_graph.OpenSource(path), S_OK);
        ComPtr<IMFPresentationDescriptor> presentation;
        EXPECT_EQ(m_graph.Source().CreatePresentationDescriptor(presentation.Put()), S_OK);
        return presentation;
    }
    static Recipe Small(const std::string& encoder)
    {
        Recipe recipe;
        recipe.m_nFrames = 10;
        recipe.m_encoder = encoder;
        return recipe;
    }
    void ExpectBlock(IMFMediaType* pType, int nWidth, int nHeight, int nProfile)
    {
        AM_MEDIA_TYPE* pRepresentation = nullptr;
        ASSERT_EQ(pType->GetRepresentation(AM_MEDIA_TYPE_REPRESENTATION, reinterpret_cast<void**>(&pRepresentation)),
                  S_OK);
        EXPECT_TRUE(pRepresentation->majortype == MFMediaType_Video);
        EXPECT_TRUE(pRepresentation->subtype == MFVideoFormat_H264);
        EXPECT_TRUE(pRepresentation->formattype == FORMAT_MPEG2_VIDEO);
        EXPECT_GE(pRepresentation->cbFormat, 124U);
        EXPECT_EQ(WordAt(pRepresentation->pbFormat, 76), nWidth);
        EXPECT_EQ(WordAt(pRepresentation->pbFormat, 80), nHeight);
        EXPECT_EQ(WordAt(pRepresentation->pbFormat, 120), nProfile);
        EXPECT_EQ(pType->FreeRepresentation(AM_MEDIA_TYPE_REPRESENTATION, pRepresentation), S_OK);
    }

    TemporaryFolder m_directory;
    TestGraph m_graph;
};

TEST_F(Descriptors, ProfileAndSizeStandWhereReadersLookForThem)
{
    const struct
    {
        const char* m_pszEncoder;
        int m_nProfile;
    } aCases[] = {
        {"-c:v libx264 -profile:v baseline", 66},
        {"-c:v libx264 -profile:v main", 77},
        {"-c:v libx264 -profile:v high", 100},
        {"-c:v libx264 -profile:v high10 -pix_fmt yuv420p10le", 110},
        {"-c:v libx264 -profile:v high422 -pix_fmt yuv422p", 122},
        {"-c:v libx264 -profile:v high444 -pix_fmt yuv444p", 244},
    };
    for (const auto& testCase : aCases)
    {
        const auto presentation = Present(Small(testCase.m_pszEncoder));
        ExpectBlock(ViewStream(presentation.Get(), 0).m_type.Get(), 96, 64, testCase.m_nProfile);
    }
}

TEST_F(Descriptors, SizesAreThoseAfterCropping)
{
    Recipe recipe = Small("-c:v libx264 -profile:v high");
    recipe.m_nWidth = 98;
    recipe.m_nHeight = 50;
    ExpectBlock(ViewStream(Present(recipe).Get(), 0).m_type.Get(), 98, 50, 100);
    recipe = Small("-c:v libx264 -profile:v high444 -pix_fmt yuv444p");
    recipe.m_filter = "format=yuv444p,scale=97:51";
    ExpectBlock(ViewStream(Present(recipe).Get(), 0).m_type.Get(), 97, 51, 244);
}

TEST_F(Descriptors, InterlacedPicturesHaveTheirFullHeight)
{
    Recipe recipe = Small("-c:v libx264 -profile:v high -flags +ilme+ildct -x264-params tff=1");
    recipe.m_nHeight = 72;
    ExpectBlock(ViewStream(Present(recipe).Get(), 0).m_type.Get(), 96, 72, 100);
}

// A reader that looks for a profile finds none, and memory that it may read.
TEST_F(Descriptors, OtherFormatsHaveNoProfile)
{
    const auto presentation = Present(Small("-c:v mpeg4"));
    const StreamView stream = ViewStream(presentation.Get(), 0);
    AM_MEDIA_TYPE* pRepresentation = nullptr;
    ASSERT_EQ(
        stream.m_type->GetRepresentation(AM_MEDIA_TYPE_REPRESENTATION, reinterpret_cast<void**>(&pRepresentation)),
        S_OK);
    EXPECT_TRUE(pRepresentation->subtype == MFVideoFormat_MP4V);
    EXPECT_TRUE(pRepresentation->formattype == FORMAT_VideoInfo2);
    EXPECT_EQ(pRepresentation->cbFormat, 112U);
    EXPECT_EQ(WordAt(pRepresentation->pbFormat, 76), 96);
    EXPECT_EQ(WordAt(pRepresentation->pbFormat, 80), 64);
    EXPECT_EQ(WordAt(pRepresentation->pbFormat, 120), 0);
    EXPECT_EQ(stream.m_type->FreeRepresentation(AM_MEDIA_TYPE_REPRESENTATION, pRepresentation), S_OK);
}

TEST_F(Descriptors, AnotherRepresentationIsRefused)
{
    const auto presentation = Present(Small("-c:v libx264"));
    void* pRepresentation = &m_graph;
    EXPECT_EQ(ViewStream(presentation.Get(), 0).m_type->GetRepresentation(GUID_NULL, &pRepresentation),
              MF_E_UNSUPPORTED_REPRESENTATION);
    EXPECT_EQ(pRepresentation, nullptr);
}

TEST_F(Descriptors, StreamsStandInTheOrderOfTheFile)
{
    Recipe recipe = Small("-c:v libx264 -profile:v high");
    recipe.m_input = "-f lavfi -i sine=d=1";
    recipe.m_output = "-map 1:a -map 0:v -c:a aac";
    const auto presentation = Present(recipe);
    DWORD dwCount = 0;
    ASSERT_EQ(presentation->GetStreamDescriptorCount(&dwCount), S_OK);
    ASSERT_EQ(dwCount, 2U);
    EXPECT_TRUE(ViewStream(presentation.Get(), 0).m_majorType == MFMediaType_Audio);
    EXPECT_TRUE(ViewStream(presentation.Get(), 1).m_majorType == MFMediaType_Video);
    EXPECT_EQ(presentation->GetStreamDescriptorByIndex(2, nullptr, nullptr), E_POINTER);
    BOOL fSelected = FALSE;
    ComPtr<IMFStreamDescriptor> stream;
    EXPECT_EQ(presentation->GetStreamDescriptorByIndex(2, &fSelected, stream.Put()), MF_E_INVALIDINDEX);
}

TEST_F(Descriptors, AllStreamsAreSelectedUntilTheyAreNot)
{
    const auto presentation = Present(Small("-c:v libx264"));
    EXPECT_EQ(ViewStream(presentation.Get(), 0).m_fSelected, TRUE);
    ASSERT_EQ(presentation->DeselectStream(0), S_OK);
    EXPECT_EQ(ViewStream(presentation.Get(), 0).m_fSelected, FALSE);
    // Another descriptor of the same source knows nothing of it; a copy does.
    ComPtr<IMFPresentationDescriptor> other;
    ASSERT_EQ(m_graph.Source().CreatePresentationDescriptor(other.Put()), S_OK);
    EXPECT_EQ(ViewStream(other.Get(), 0).m_fSelected, TRUE);
    ComPtr<IMFPresentationDescriptor> copy;
    ASSERT_EQ(presentation->Clone(copy.Put()), S_OK);
    EXPECT_EQ(ViewStream(copy.Get(), 0).m_fSelected, FALSE);
    ASSERT_EQ(presentation->SelectStream(0), S_OK);
    EXPECT_EQ(ViewStream(presentation.Get(), 0).m_fSelected, TRUE);
    EXPECT_EQ(presentation->SelectStream(1), MF_E_INVALIDINDEX);
}

TEST_F(Descriptors, TheDurationIsReadable)
{
    Recipe recipe = Small("-c:v libx264 -bf 0");
    recipe.m_nFrames = 50;
    const auto presentation = Present(recipe);
    PROPVARIANT value;
    ASSERT_EQ(presentation->GetItem(MF_PD_DURATION, &value), S_OK);
    EXPECT_EQ(value.vt, VT_UI8);
    LONGLONG llDuration = 0;
    EXPECT_EQ(PropVariantToInt64(value, &llDuration), S_OK);
    EXPECT_EQ(llDuration, 2 * 10000000);
    PropVariantClear(&value);
}

TEST_F(Descriptors, TheDurationIsThatOfTheLongestStream)
{
    Recipe recipe = Small("-c:v libx264 -bf 0");
    recipe.m_nFrames = 75;
    recipe.m_input = "-f lavfi -i aevalsrc=0:s=16000:d=1";
    recipe.m_output = "-map 1:a -map 0:v -c:a pcm_s16le -f mov";
    const auto presentation = Present(recipe);
    PROPVARIANT value;
    ASSERT_EQ(presentation->GetItem(MF_PD_DURATION, &value), S_OK);
    LONGLONG llDuration = 0;
    EXPECT_EQ(PropVariantToInt64(value, &llDuration), S_OK);
    EXPECT_EQ(llDuration, 3 * 10000000);
    PropVariantClear(&value);
}

TEST_F(Descriptors, AShutDownSourceSaysNothingMore)
{
    Present(Small("-c:v libx264"));
    ASSERT_EQ(m_graph.Source().Shutdown(), S_OK);
    ComPtr<IMFPresentationDescriptor> presentation;
    EXPECT_EQ(m_graph.Source().CreatePresentationDescriptor(presentation.Put()), MF_E_SHUTDOWN);
    DWORD dwCharacteristics = 0;
    EXPECT_EQ(m_graph.Source().GetCharacteristics(&dwCharacteristics), MF_E_SHUTDOWN);
    ComPtr<IMFMediaEvent> event;
    EXPECT_EQ(m_graph.Source().GetEvent(0, event.Put()), MF_E_SHUTDOWN);
    EXPECT_EQ(m_graph.Source().Shutdown(), MF_E_SHUTDOWN);
}

TEST_F(Descriptors, PathsAreUnicode)
{
    const std::string path = m_directory / "\xc3\xa4\xe4\xb8\xad\xf0\x9f\x8e\xac %41.mp4";
    MakeVideo(path, Small("-c:v libx264"));
    EXPECT_EQ(m_graph.OpenSource(path), S_OK);
}

TEST(Startup, IsCountedAndRequired)
{
    const auto before = mediafoundation::GetStartupCounts();
    ComPtr<IMFSourceResolver> resolver;
    ComPtr<IMFMediaSession> session;
    EXPECT_EQ(MFCreateSourceResolver(resolver.Put()), MF_E_PLATFORM_NOT_INITIALIZED);
    EXPECT_EQ(MFCreateMediaSession(nullptr, session.Put()), MF_E_PLATFORM_NOT_INITIALIZED);
    EXPECT_EQ(MFStartup(0x00020071), MF_E_BAD_STARTUP_VERSION);
    EXPECT_EQ(MFShutdown(), MF_E_PLATFORM_NOT_INITIALIZED);

    EXPECT_EQ(MFStartup(MF_VERSION), S_OK);
    EXPECT_EQ(MFStartup(MF_VERSION, MFSTARTUP_LITE), S_OK);
    EXPECT_EQ(MFShutdown(), S_OK);
    EXPECT_EQ(MFCreateSourceResolver(resolver.Put()), S_OK);
    EXPECT_EQ(MFShutdown(), S_OK);
    EXPECT_EQ(MFCreateSourceResolver(resolver.Put()), MF_E_PLATFORM_NOT_INITIALIZED);

    const auto after = mediafoundation::GetStartupCounts();
    EXPECT_EQ(after.m_uiStartups - before.m_uiStartups, 2U);
    EXPECT_EQ(after.m_uiShutdowns - before.m_uiShutdowns, 2U);
}

}  // namespace
}  // namespace mftest
