// What a source says about its video stream, and the raw format that is asked of the decoder.
#pragma once

#include <windows.h>

#include <mfidl.h>
#include <strmif.h>

#include <dvdmedia.h>

// Finds the first selected stream of a major type and gives its descriptor and its handler of media types. Streams
// before it are deselected, streams behind it not looked at. S_FALSE, with null for both, when there is none.
HRESULT FindStream(IMFPresentationDescriptor* pPresentation, REFGUID guidMajorType, IMFStreamDescriptor** ppDescriptor,
                   IMFMediaTypeHandler** ppHandler);

// Gives media type number dwIndex of a stream in its older form. That is never given back: the format block in it is
// read until the file is open, and a file has a handful of them.
HRESULT TakeRepresentation(IMFMediaTypeHandler* pHandler, DWORD dwIndex, AM_MEDIA_TYPE** ppFormat);

// Looks through the media types of a stream for a format block that tells the picture's size, and stops at the first
// one of either kind. The other pointer, or both, stay as they are.
HRESULT FindFormatBlock(IMFMediaTypeHandler* pHandler, const MPEG2VIDEOINFO** ppMpeg2,
                        const VIDEOINFOHEADER2** ppVideoInfo2);

// Sets on pMediaType what the decoder of the source's video stream is to deliver: YUY2 for H.264 of a profile above
// Extended, so of High and higher ones, else NV12. The last media type of the stream decides.
HRESULT ChooseOutputType(IMFMediaSource* pSource, IMFMediaType* pMediaType);
