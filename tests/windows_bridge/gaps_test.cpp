// Which gaps Wine has, and that the bridge fills them. A test of the first kind that fails shows that a newer Wine has
// closed the gap: what the bridge has for it can go then.
#include <gtest/gtest.h>

#include <windows.h>

#include <mfapi.h>
#include <mfidl.h>
#include <strmif.h>

#include <dvdmedia.h>
#include <uuids.h>

#include "windows_bridge/bridge.h"
#include "windows_bridge/representation.h"

namespace
{

bool IsWine()
{
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

// The tests run in this order, and the gaps stay filled after the first that fills them.
class Gaps : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_FULL), S_OK);
        s_bRepresentationGap = windows_bridge::HasRepresentationGap();
        windows_bridge::FillGaps();
    }
    static void TearDownTestSuite() { MFShutdown(); }

    static bool s_bRepresentationGap;  // before any was filled
};

bool Gaps::s_bRepresentationGap = false;

TEST_F(Gaps, WineRepresentsH264WithoutItsProfile)
{
    if (!IsWine()) GTEST_SKIP() << "this is no Wine";
    EXPECT_TRUE(s_bRepresentationGap) << "windows_bridge/representation.cpp isn't needed any more";
}

TEST_F(Gaps, WindowsHasNone)
{
    if (IsWine()) GTEST_SKIP() << "this is Wine";
    EXPECT_FALSE(s_bRepresentationGap);
}

TEST_F(Gaps, AreFilled)
{
    EXPECT_FALSE(windows_bridge::HasRepresentationGap());
}

// Through either interface of the type.
TEST_F(Gaps, TheRepresentationOfH264HasSizeProfileAndLevel)
{
    IMFMediaType* pType = nullptr;
    ASSERT_EQ(MFCreateMediaType(&pType), S_OK);
    const BYTE abSets[] = {0, 0, 0, 1, 0x67, 77, 0, 31, 0x95, 0xA0};
    pType->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    pType->SetGUID(MF_MT_SUBTYPE, MFVideoFormat_H264);
    MFSetAttributeSize(pType, MF_MT_FRAME_SIZE, 640, 360);
    pType->SetBlob(MF_MT_USER_DATA, abSets, sizeof abSets);
    IMFVideoMediaType* pVideoType = nullptr;
    ASSERT_EQ(pType->QueryInterface(IID_IMFVideoMediaType, reinterpret_cast<void**>(&pVideoType)), S_OK);
    for (IMFMediaType* pEither : {pType, static_cast<IMFMediaType*>(pVideoType)})
    {
        void* pRepresentation = nullptr;
        ASSERT_EQ(pEither->GetRepresentation(AM_MEDIA_TYPE_REPRESENTATION, &pRepresentation), S_OK);
        const auto& format = *static_cast<const AM_MEDIA_TYPE*>(pRepresentation);
        EXPECT_TRUE(format.majortype == MFMediaType_Video);
        EXPECT_TRUE(format.subtype == MFVideoFormat_H264);
        ASSERT_TRUE(format.formattype == FORMAT_MPEG2_VIDEO);
        ASSERT_GE(format.cbFormat, sizeof(MPEG2VIDEOINFO));
        const auto& block = *reinterpret_cast<const MPEG2VIDEOINFO*>(format.pbFormat);
        EXPECT_EQ(block.hdr.bmiHeader.biWidth, 640);
        EXPECT_EQ(std::abs(block.hdr.bmiHeader.biHeight), 360);
        if (IsWine())  // Windows takes them from attributes of their own
        {
            EXPECT_EQ(block.dwProfile, 77u);
            EXPECT_EQ(block.dwLevel, 31u);
        }
        EXPECT_EQ(pEither->FreeRepresentation(AM_MEDIA_TYPE_REPRESENTATION, pRepresentation), S_OK);
    }
    pVideoType->Release();
    pType->Release();
}

TEST_F(Gaps, OtherTypesAreRepresentedByTheSystem)
{
    IMFMediaType* pType = nullptr;
    ASSERT_EQ(MFCreateMediaType(&pType), S_OK);
    pType->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    pType->SetGUID(MF_MT_SUBTYPE, MFVideoFormat_YUY2);
    MFSetAttributeSize(pType, MF_MT_FRAME_SIZE, 64, 48);
    void* pRepresentation = nullptr;
    ASSERT_EQ(pType->GetRepresentation(AM_MEDIA_TYPE_REPRESENTATION, &pRepresentation), S_OK);
    EXPECT_TRUE(static_cast<const AM_MEDIA_TYPE*>(pRepresentation)->formattype != FORMAT_MPEG2_VIDEO);
    pType->FreeRepresentation(AM_MEDIA_TYPE_REPRESENTATION, pRepresentation);
    pType->Release();
}

}  // namespace
