// What a source of a program's own makes to describe its streams: types from a video header, and descriptors.
#include <gtest/gtest.h>

#include "dvdmedia.h"
#include "mfapi.h"
#include "mferror.h"
#include "mfidl.h"
#include "platform/com/com_ptr.h"
#include "support/short_memory.h"

namespace
{

using platform::ComPtr;

VIDEOINFOHEADER2 Yuy2Header(LONG lWidth, LONG lHeight)
{
    VIDEOINFOHEADER2 header = {};
    header.AvgTimePerFrame = 400000;
    header.dwPictAspectRatioX = 1;
    header.dwPictAspectRatioY = 1;
    header.bmiHeader.biSize = 40;
    header.bmiHeader.biWidth = lWidth;
    header.bmiHeader.biHeight = lHeight;
    header.bmiHeader.biBitCount = 16;
    header.bmiHeader.biCompression = 0x32595559;
    header.bmiHeader.biSizeImage = 1234;
    return header;
}

ComPtr<IMFMediaType> NewType()
{
    ComPtr<IMFMediaType> type;
    EXPECT_EQ(MFCreateMediaType(type.Put()), S_OK);
    return type;
}

ComPtr<IMFMediaType> TypeOf(const VIDEOINFOHEADER2& header)
{
    const auto type = NewType();
    EXPECT_EQ(MFInitMediaTypeFromVideoInfoHeader2(type.Get(), &header, 112, &MFVideoFormat_YUY2), S_OK);
    return type;
}

UINT32 NumberOf(IMFMediaType* pType, REFGUID key)
{
    UINT32 unValue = 0;
    EXPECT_EQ(pType->GetUINT32(key, &unValue), S_OK);
    return unValue;
}

UINT64 PairOf(IMFMediaType* pType, REFGUID key)
{
    UINT64 ullValue = 0;
    EXPECT_EQ(pType->GetUINT64(key, &ullValue), S_OK);
    return ullValue;
}

constexpr UINT64 Pair(UINT32 unHigh, UINT32 unLow)
{
    return UINT64{unHigh} << 32 | unLow;
}

TEST(VideoHeader, GivesTheTypeOfUncompressedVideo)
{
    const auto type = TypeOf(Yuy2Header(640, 480));
    GUID guid = GUID_NULL;
    EXPECT_EQ(type->GetMajorType(&guid), S_OK);
    EXPECT_TRUE(guid == MFMediaType_Video);
    EXPECT_EQ(type->GetGUID(MF_MT_SUBTYPE, &guid), S_OK);
    EXPECT_TRUE(guid == MFVideoFormat_YUY2);
    BOOL bCompressed = TRUE;
    EXPECT_EQ(type->IsCompressedFormat(&bCompressed), S_OK);
    EXPECT_FALSE(bCompressed);
    EXPECT_EQ(PairOf(type.Get(), MF_MT_FRAME_SIZE), Pair(640, 480));
    EXPECT_EQ(PairOf(type.Get(), MF_MT_FRAME_RATE), Pair(25, 1));
    EXPECT_EQ(NumberOf(type.Get(), MF_MT_INTERLACE_MODE), 2U);
    EXPECT_EQ(NumberOf(type.Get(), MF_MT_DEFAULT_STRIDE), 1280U);
    EXPECT_EQ(NumberOf(type.Get(), MF_MT_SAMPLE_SIZE), 1234U);
    EXPECT_EQ(NumberOf(type.Get(), MF_MT_FIXED_SIZE_SAMPLES), 1U);
    EXPECT_EQ(NumberOf(type.Get(), MF_MT_ALL_SAMPLES_INDEPENDENT), 1U);
}

// A square picture of 640 x 480 pixels has pixels that are 3 wide and 4 high.
TEST(VideoHeader, ThePicturesShapeBecomesThatOfAPixel)
{
    EXPECT_EQ(PairOf(TypeOf(Yuy2Header(640, 480)).Get(), MF_MT_PIXEL_ASPECT_RATIO), Pair(3, 4));
    VIDEOINFOHEADER2 header = Yuy2Header(640, 480);
    header.dwPictAspectRatioX = 640;
    header.dwPictAspectRatioY = 480;
    EXPECT_EQ(PairOf(TypeOf(header).Get(), MF_MT_PIXEL_ASPECT_RATIO), Pair(1, 1));
}

TEST(VideoHeader, RowsAreRoundedUpTo4Bytes)
{
    EXPECT_EQ(NumberOf(TypeOf(Yuy2Header(3, 2)).Get(), MF_MT_DEFAULT_STRIDE), 8U);
    EXPECT_EQ(NumberOf(TypeOf(Yuy2Header(4, 2)).Get(), MF_MT_DEFAULT_STRIDE), 8U);
}

TEST(VideoHeader, AHeightBelow0IsThatManyRows)
{
    EXPECT_EQ(PairOf(TypeOf(Yuy2Header(640, -480)).Get(), MF_MT_FRAME_SIZE), Pair(640, 480));
}

TEST(VideoHeader, TheCompressionNamesTheSubtypeIfNothingElseDoes)
{
    const auto type = NewType();
    const VIDEOINFOHEADER2 header = Yuy2Header(2, 2);
    EXPECT_EQ(MFInitMediaTypeFromVideoInfoHeader2(type.Get(), &header, sizeof(header)), S_OK);
    GUID subtype = GUID_NULL;
    EXPECT_EQ(type->GetGUID(MF_MT_SUBTYPE, &subtype), S_OK);
    EXPECT_TRUE(subtype == MFVideoFormat_YUY2);
}

TEST(VideoHeader, WhatTheHeaderDoesNotGiveIsNotSet)
{
    VIDEOINFOHEADER2 header = Yuy2Header(2, 2);
    header.AvgTimePerFrame = 0;
    header.dwPictAspectRatioX = 0;
    header.bmiHeader.biSizeImage = 0;
    const auto type = TypeOf(header);
    for (const GUID& key : {MF_MT_FRAME_RATE, MF_MT_PIXEL_ASPECT_RATIO, MF_MT_SAMPLE_SIZE, MF_MT_AVG_BITRATE})
    {
        PROPVARIANT value;
        EXPECT_EQ(type->GetItem(key, &value), MF_E_ATTRIBUTENOTFOUND);
    }
}

TEST(VideoHeader, OneThatIsTooShortOrHasNoSizeIsRefused)
{
    const auto type = NewType();
    const VIDEOINFOHEADER2 header = Yuy2Header(2, 2);
    EXPECT_EQ(MFInitMediaTypeFromVideoInfoHeader2(type.Get(), &header, 111, nullptr), E_INVALIDARG);
    EXPECT_EQ(MFInitMediaTypeFromVideoInfoHeader2(nullptr, &header, 112, nullptr), E_POINTER);
    EXPECT_EQ(MFInitMediaTypeFromVideoInfoHeader2(type.Get(), nullptr, 112, nullptr), E_POINTER);
    const VIDEOINFOHEADER2 empty = {};
    EXPECT_EQ(MFInitMediaTypeFromVideoInfoHeader2(type.Get(), &empty, 112, nullptr), MF_E_INVALIDMEDIATYPE);
}

ComPtr<IMFStreamDescriptor> NewStream(DWORD dwIdentifier)
{
    ComPtr<IMFMediaType> type = TypeOf(Yuy2Header(2, 2));
    IMFMediaType* apTypes[] = {type.Get()};
    ComPtr<IMFStreamDescriptor> stream;
    EXPECT_EQ(MFCreateStreamDescriptor(dwIdentifier, 1, apTypes, stream.Put()), S_OK);
    return stream;
}

TEST(NewStreamDescriptor, HasItsTypesAndNoCurrentOne)
{
    const auto first = TypeOf(Yuy2Header(2, 2));
    const auto second = NewType();
    ASSERT_EQ(second->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video), S_OK);
    ASSERT_EQ(second->SetGUID(MF_MT_SUBTYPE, MFVideoFormat_NV12), S_OK);
    IMFMediaType* apTypes[] = {first.Get(), second.Get()};
    ComPtr<IMFStreamDescriptor> stream;
    ASSERT_EQ(MFCreateStreamDescriptor(7, 2, apTypes, stream.Put()), S_OK);
    DWORD dwNumber = 0;
    EXPECT_EQ(stream->GetStreamIdentifier(&dwNumber), S_OK);
    EXPECT_EQ(dwNumber, 7U);

    ComPtr<IMFMediaTypeHandler> handler;
    ASSERT_EQ(stream->GetMediaTypeHandler(handler.Put()), S_OK);
    EXPECT_EQ(handler->GetMediaTypeCount(&dwNumber), S_OK);
    EXPECT_EQ(dwNumber, 2U);
    ComPtr<IMFMediaType> type;
    EXPECT_EQ(handler->GetMediaTypeByIndex(1, type.Put()), S_OK);
    EXPECT_EQ(type.Get(), second.Get());
    EXPECT_EQ(handler->GetMediaTypeByIndex(2, type.Put()), MF_E_NO_MORE_TYPES);
    GUID major = GUID_NULL;
    EXPECT_EQ(handler->GetMajorType(&major), S_OK);
    EXPECT_TRUE(major == MFMediaType_Video);

    EXPECT_EQ(handler->GetCurrentMediaType(type.Put()), MF_E_NOT_INITIALIZED);
    EXPECT_EQ(handler->SetCurrentMediaType(second.Get()), S_OK);
    EXPECT_EQ(handler->GetCurrentMediaType(type.Put()), S_OK);
    EXPECT_EQ(type.Get(), second.Get());
    const auto other = NewType();
    EXPECT_EQ(handler->SetCurrentMediaType(other.Get()), MF_E_INVALIDMEDIATYPE);
}

TEST(NewStreamDescriptor, RefusesNullPointersAndNoTypes)
{
    const auto type = NewType();
    IMFMediaType* apTypes[] = {type.Get(), nullptr};
    ComPtr<IMFStreamDescriptor> stream;
    EXPECT_EQ(MFCreateStreamDescriptor(0, 1, apTypes, nullptr), E_POINTER);
    EXPECT_EQ(MFCreateStreamDescriptor(0, 0, apTypes, stream.Put()), E_INVALIDARG);
    EXPECT_EQ(MFCreateStreamDescriptor(0, 1, nullptr, stream.Put()), E_INVALIDARG);
    EXPECT_EQ(MFCreateStreamDescriptor(0, 2, apTypes, stream.Put()), E_INVALIDARG);
    EXPECT_FALSE(stream);
}

TEST(NewPresentationDescriptor, HasNoStreamSelectedAtFirst)
{
    const auto first = NewStream(0);
    const auto second = NewStream(1);
    IMFStreamDescriptor* apStreams[] = {first.Get(), second.Get()};
    ComPtr<IMFPresentationDescriptor> presentation;
    ASSERT_EQ(MFCreatePresentationDescriptor(2, apStreams, presentation.Put()), S_OK);
    DWORD dwCount = 0;
    EXPECT_EQ(presentation->GetStreamDescriptorCount(&dwCount), S_OK);
    EXPECT_EQ(dwCount, 2U);
    EXPECT_EQ(presentation->SelectStream(1), S_OK);
    BOOL fSelected = TRUE;
    ComPtr<IMFStreamDescriptor> stream;
    EXPECT_EQ(presentation->GetStreamDescriptorByIndex(0, &fSelected, stream.Put()), S_OK);
    EXPECT_FALSE(fSelected);
    EXPECT_EQ(stream.Get(), first.Get());
    EXPECT_EQ(presentation->GetStreamDescriptorByIndex(1, &fSelected, stream.Put()), S_OK);
    EXPECT_TRUE(fSelected);
    EXPECT_EQ(stream.Get(), second.Get());
}

TEST(NewPresentationDescriptor, ACloneHasAttributesAndSelectionOfItsOwn)
{
    const auto stream = NewStream(0);
    IMFStreamDescriptor* apStreams[] = {stream.Get()};
    ComPtr<IMFPresentationDescriptor> presentation;
    ASSERT_EQ(MFCreatePresentationDescriptor(1, apStreams, presentation.Put()), S_OK);
    ASSERT_EQ(presentation->SetUINT64(MF_PD_DURATION, 400), S_OK);
    ASSERT_EQ(presentation->SelectStream(0), S_OK);
    ComPtr<IMFPresentationDescriptor> clone;
    ASSERT_EQ(presentation->Clone(clone.Put()), S_OK);
    EXPECT_EQ(presentation->DeselectStream(0), S_OK);
    EXPECT_EQ(presentation->SetUINT64(MF_PD_DURATION, 500), S_OK);
    BOOL fSelected = FALSE;
    ComPtr<IMFStreamDescriptor> same;
    EXPECT_EQ(clone->GetStreamDescriptorByIndex(0, &fSelected, same.Put()), S_OK);
    EXPECT_TRUE(fSelected);
    EXPECT_EQ(same.Get(), stream.Get());
    UINT64 ullDuration = 0;
    EXPECT_EQ(clone->GetUINT64(MF_PD_DURATION, &ullDuration), S_OK);
    EXPECT_EQ(ullDuration, 400U);
}

TEST(NewPresentationDescriptor, RefusesNullPointers)
{
    ComPtr<IMFPresentationDescriptor> presentation;
    IMFStreamDescriptor* apStreams[] = {nullptr};
    EXPECT_EQ(MFCreatePresentationDescriptor(1, apStreams, nullptr), E_POINTER);
    EXPECT_EQ(MFCreatePresentationDescriptor(1, nullptr, presentation.Put()), E_INVALIDARG);
    EXPECT_EQ(MFCreatePresentationDescriptor(1, apStreams, presentation.Put()), E_INVALIDARG);
}

TEST(NewDescriptors, AreNotMadeWithoutMemory)
{
    const auto type = TypeOf(Yuy2Header(2, 2));
    const auto stream = NewStream(0);
    IMFMediaType* apTypes[] = {type.Get()};
    IMFStreamDescriptor* apStreams[] = {stream.Get()};
    ComPtr<IMFStreamDescriptor> newStream;
    ComPtr<IMFPresentationDescriptor> presentation;
    for (unsigned uiRequest = 1;; ++uiRequest)
    {
        const CShortMemory shortMemory(uiRequest);
        const HRESULT hr = MFCreateStreamDescriptor(0, 1, apTypes, newStream.Put());
        if (shortMemory.GetRefused() == 0) break;
        ASSERT_EQ(hr, E_OUTOFMEMORY) << uiRequest;
        ASSERT_FALSE(newStream);
    }
    for (unsigned uiRequest = 1;; ++uiRequest)
    {
        const CShortMemory shortMemory(uiRequest);
        const HRESULT hr = MFCreatePresentationDescriptor(1, apStreams, presentation.Put());
        if (shortMemory.GetRefused() == 0) break;
        ASSERT_EQ(hr, E_OUTOFMEMORY) << uiRequest;
        ASSERT_FALSE(presentation);
    }
    EXPECT_TRUE(newStream);
    EXPECT_TRUE(presentation);
}

}  // namespace
