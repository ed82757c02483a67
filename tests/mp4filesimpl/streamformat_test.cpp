// The raw format that is asked of the decoder, and the block with the size of the picture: from media types that are
// put together by hand.
#include <cstdint>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "mp4filesimpl/streamformat.h"

#include <mfapi.h>
#include <uuids.h>

#include "support/no_attributes.h"

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

// Objects on the stack, which a count doesn't end.
template <typename TInterface>
class CUncounted : public TInterface
{
public:
    STDMETHODIMP QueryInterface(REFIID, void** ppObject) override
    {
        *ppObject = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 1; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
};

// Gives the format that it was made with, and keeps the subtype that it is given.
class CType : public CUncounted<CNoAttributes<IMFMediaType>>
{
public:
    explicit CType(AM_MEDIA_TYPE* pFormat = nullptr) : m_pFormat(pFormat) {}

    STDMETHODIMP GetMajorType(GUID*) override { return E_NOTIMPL; }
    STDMETHODIMP IsCompressedFormat(BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP IsEqual(IMFMediaType*, DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP GetRepresentation(GUID, LPVOID* ppFormat) override
    {
        ++m_nAsked;
        *ppFormat = m_pFormat;
        return m_pFormat != nullptr ? S_OK : E_FAIL;
    }
    STDMETHODIMP FreeRepresentation(GUID, LPVOID) override { return E_NOTIMPL; }
    STDMETHODIMP SetGUID(REFGUID guidKey, REFGUID guidValue) override
    {
        if (guidKey == MF_MT_MAJOR_TYPE) m_guidMajor = guidValue;
        if (guidKey == MF_MT_SUBTYPE) m_guidSubtype = guidValue;
        return S_OK;
    }

    int m_nAsked = 0;
    GUID m_guidMajor = GUID_NULL;
    GUID m_guidSubtype = GUID_NULL;

private:
    AM_MEDIA_TYPE* m_pFormat;
};

// A source with one video stream of these formats.
class CSource : public CUncounted<IMFMediaSource>
{
public:
    explicit CSource(std::initializer_list<CFormat*> formats)
    {
        for (CFormat* pFormat : formats)
            m_handler.m_vTypes.emplace_back(&pFormat->m_format);
    }
    virtual ~CSource() = default;

    IMFMediaTypeHandler* Handler() { return &m_handler; }
    // Whether the format was looked at.
    bool WasAsked(std::size_t uiFormat) const { return m_handler.m_vTypes[uiFormat].m_nAsked != 0; }

    STDMETHODIMP GetEvent(DWORD, IMFMediaEvent**) override { return E_NOTIMPL; }
    STDMETHODIMP BeginGetEvent(IMFAsyncCallback*, IUnknown*) override { return E_NOTIMPL; }
    STDMETHODIMP EndGetEvent(IMFAsyncResult*, IMFMediaEvent**) override { return E_NOTIMPL; }
    STDMETHODIMP QueueEvent(MediaEventType, REFGUID, HRESULT, const PROPVARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetCharacteristics(DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP CreatePresentationDescriptor(IMFPresentationDescriptor** ppPresentation) override
    {
        *ppPresentation = &m_presentation;
        return S_OK;
    }
    STDMETHODIMP Start(IMFPresentationDescriptor*, const GUID*, const PROPVARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP Stop() override { return E_NOTIMPL; }
    STDMETHODIMP Pause() override { return E_NOTIMPL; }
    STDMETHODIMP Shutdown() override { return E_NOTIMPL; }

private:
    class CHandler : public CUncounted<IMFMediaTypeHandler>
    {
    public:
        virtual ~CHandler() = default;
        STDMETHODIMP IsMediaTypeSupported(IMFMediaType*, IMFMediaType**) override { return E_NOTIMPL; }
        STDMETHODIMP GetMediaTypeCount(DWORD* pdwCount) override
        {
            *pdwCount = static_cast<DWORD>(m_vTypes.size());
            return S_OK;
        }
        STDMETHODIMP GetMediaTypeByIndex(DWORD dwIndex, IMFMediaType** ppType) override
        {
            *ppType = &m_vTypes[dwIndex];
            return S_OK;
        }
        STDMETHODIMP SetCurrentMediaType(IMFMediaType*) override { return E_NOTIMPL; }
        STDMETHODIMP GetCurrentMediaType(IMFMediaType**) override { return E_NOTIMPL; }
        STDMETHODIMP GetMajorType(GUID* pguidMajor) override
        {
            *pguidMajor = MFMediaType_Video;
            return S_OK;
        }

        std::vector<CType> m_vTypes;
    };

    class CStream : public CUncounted<CNoAttributes<IMFStreamDescriptor>>
    {
    public:
        explicit CStream(CHandler& handler) : m_handler(handler) {}
        STDMETHODIMP GetStreamIdentifier(DWORD*) override { return E_NOTIMPL; }
        STDMETHODIMP GetMediaTypeHandler(IMFMediaTypeHandler** ppHandler) override
        {
            *ppHandler = &m_handler;
            return S_OK;
        }

    private:
        CHandler& m_handler;
    };

    class CPresentation : public CUncounted<CNoAttributes<IMFPresentationDescriptor>>
    {
    public:
        explicit CPresentation(CStream& stream) : m_stream(stream) {}
        STDMETHODIMP GetStreamDescriptorCount(DWORD* pdwCount) override
        {
            *pdwCount = 1;
            return S_OK;
        }
        STDMETHODIMP GetStreamDescriptorByIndex(DWORD, BOOL* pbSelected, IMFStreamDescriptor** ppStream) override
        {
            *pbSelected = TRUE;
            *ppStream = &m_stream;
            return S_OK;
        }
        STDMETHODIMP SelectStream(DWORD) override { return E_NOTIMPL; }
        STDMETHODIMP DeselectStream(DWORD) override { return E_NOTIMPL; }
        STDMETHODIMP Clone(IMFPresentationDescriptor**) override { return E_NOTIMPL; }

    private:
        CStream& m_stream;
    };

    CHandler m_handler;
    CStream m_stream{m_handler};
    CPresentation m_presentation{m_stream};
};

CFormat H264Of(std::uint32_t uiProfile)
{
    return CFormat(MFVideoFormat_H264, FORMAT_MPEG2_VIDEO, sizeof(MPEG2VIDEOINFO), uiProfile);
}

GUID ChosenOf(CSource& source)
{
    CType chosen;
    EXPECT_EQ(ChooseOutputType(&source, &chosen), S_OK);
    EXPECT_TRUE(chosen.m_guidMajor == MFMediaType_Video || chosen.m_guidMajor == GUID_NULL);
    return chosen.m_guidSubtype;
}

TEST(OutputType, TheLastVideoTypeOfTheStreamDecides)
{
    CFormat high = H264Of(100);
    CFormat baseline = H264Of(66);
    CSource lastIsBaseline{&high, &baseline};
    EXPECT_TRUE(ChosenOf(lastIsBaseline) == MFVideoFormat_NV12);
    CSource lastIsHigh{&baseline, &high};
    EXPECT_TRUE(ChosenOf(lastIsHigh) == MFVideoFormat_YUY2);
}

TEST(OutputType, TypesThatAreNoVideoArePassedOver)
{
    CFormat high = H264Of(100);
    CFormat sound = H264Of(66);
    sound.m_format.majortype = MFMediaType_Audio;
    CSource source{&high, &sound};
    EXPECT_TRUE(ChosenOf(source) == MFVideoFormat_YUY2);
    CSource soundOnly{&sound};
    EXPECT_TRUE(ChosenOf(soundOnly) == GUID_NULL);
}

class FormatBlock : public testing::Test
{
protected:
    HRESULT Find(CSource& source) { return FindFormatBlock(source.Handler(), &m_pMpeg2, &m_pVideoInfo2); }

    const MPEG2VIDEOINFO* m_pMpeg2 = nullptr;
    const VIDEOINFOHEADER2* m_pVideoInfo2 = nullptr;
};

TEST_F(FormatBlock, TheFirstOfEitherKindIsTakenAndNoTypeAfterItIsLookedAt)
{
    CFormat mpeg2 = H264Of(100);
    CFormat info2(MFVideoFormat_HEVC, FORMAT_VideoInfo2, sizeof(VIDEOINFOHEADER2), 0);
    CSource mpeg2First{&mpeg2, &info2};
    EXPECT_EQ(Find(mpeg2First), S_OK);
    EXPECT_EQ(static_cast<const void*>(m_pMpeg2), mpeg2.m_format.pbFormat);
    EXPECT_EQ(m_pVideoInfo2, nullptr);
    EXPECT_FALSE(mpeg2First.WasAsked(1));

    m_pMpeg2 = nullptr;
    CSource info2First{&info2, &mpeg2};
    EXPECT_EQ(Find(info2First), S_OK);
    EXPECT_EQ(m_pMpeg2, nullptr);
    EXPECT_EQ(static_cast<const void*>(m_pVideoInfo2), info2.m_format.pbFormat);
    EXPECT_FALSE(info2First.WasAsked(1));
}

// The height of the picture ends at byte 84.
TEST_F(FormatBlock, OneTooShortForTheSizeOfThePictureAndOneOfAnotherKindAreSkipped)
{
    CFormat shortBlock(MFVideoFormat_H264, FORMAT_MPEG2_VIDEO, 83, 0);
    CFormat noBlock = H264Of(100);
    noBlock.m_format.pbFormat = nullptr;
    CFormat sound = H264Of(100);
    sound.m_format.majortype = MFMediaType_Audio;
    CFormat other(MFVideoFormat_H264, FORMAT_VideoInfo, sizeof(MPEG2VIDEOINFO), 100);
    CFormat justLongEnough(MFVideoFormat_H264, FORMAT_MPEG2_VIDEO, 84, 0);
    CSource source{&shortBlock, &noBlock, &sound, &other, &justLongEnough};
    EXPECT_EQ(Find(source), S_OK);
    EXPECT_EQ(static_cast<const void*>(m_pMpeg2), justLongEnough.m_format.pbFormat);
    EXPECT_EQ(m_pVideoInfo2, nullptr);
}

TEST_F(FormatBlock, WithoutOneBothStayAsTheyAre)
{
    CFormat sound = H264Of(100);
    sound.m_format.majortype = MFMediaType_Audio;
    CSource source{&sound};
    EXPECT_EQ(Find(source), S_OK);
    EXPECT_EQ(m_pMpeg2, nullptr);
    EXPECT_EQ(m_pVideoInfo2, nullptr);
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

// --- the shape of the picture ---

VIDEOINFOHEADER2 BlockOf(LONG lWidth, LONG lHeight)
{
    VIDEOINFOHEADER2 format = {};
    format.bmiHeader.biWidth = lWidth;
    format.bmiHeader.biHeight = lHeight;
    return format;
}

TEST(PictureShape, RowsAreRoundedUpTo4BytesAndANegativeHeightIsPositive)
{
    SQmImageAttributes attributes = {};
    ASSERT_TRUE(FillPictureShape(BlockOf(70, -48), &attributes));
    EXPECT_EQ(attributes.m_uiWidth, 70U);
    EXPECT_EQ(attributes.m_uiHeight, 48U);
    EXPECT_EQ(attributes.m_uiWidthBytes, 212U);
}

// 178956970 * 24 is 2^32 - 16.
TEST(PictureShape, AWidthWhoseBitsDoNotFitIn32IsRefused)
{
    SQmImageAttributes attributes = {};
    attributes.m_uiWidth = 7;
    for (const LONG lWidth : {LONG{178956971}, LONG{0x7FFFFFFF}, LONG{-1}})
        EXPECT_FALSE(FillPictureShape(BlockOf(lWidth, 48), &attributes)) << lWidth;
    EXPECT_EQ(attributes.m_uiWidth, 7U);
    ASSERT_TRUE(FillPictureShape(BlockOf(178956970, 48), &attributes));
    EXPECT_EQ(attributes.m_uiWidthBytes, 536870912U);  // 536870910, rounded up
}

}  // namespace
