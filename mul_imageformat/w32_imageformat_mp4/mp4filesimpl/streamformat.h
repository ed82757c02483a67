// What a source says about its video stream, and the raw format that is asked of the decoder.
#pragma once

#include <windows.h>

#include <mfidl.h>
#include <strmif.h>

#include <dvdmedia.h>

#include "hostapi/iqminputimagefile.h"

// Finds the first selected stream of a major type and gives its descriptor and its handler of media types. Streams
// before it are deselected, streams after it aren't looked at. S_FALSE, with null for both, when there is none.
HRESULT FindStream(IMFPresentationDescriptor* pPresentation, REFGUID guidMajorType, IMFStreamDescriptor** ppDescriptor,
                   IMFMediaTypeHandler** ppHandler);

// Returns media type number dwIndex of a stream as an AM_MEDIA_TYPE. It is never freed, which is part of the design:
// its format block is in use until the file is open, and a file has only a few media types.
HRESULT TakeRepresentation(IMFMediaTypeHandler* pHandler, DWORD dwIndex, AM_MEDIA_TYPE** ppFormat);

// Searches the media types of a stream for a format block with the size of the picture, and stops at the first one of
// either kind. The other pointer, or both, stay as they are.
HRESULT FindFormatBlock(IMFMediaTypeHandler* pHandler, const MPEG2VIDEOINFO** ppMpeg2,
                        const VIDEOINFOHEADER2** ppVideoInfo2);

// Sets the size of the picture in the block and all that follows from it; the number of frames stays as it is. False,
// and nothing is set, for a width that is negative or whose rows can't be described in 32 bits.
bool FillPictureShape(const VIDEOINFOHEADER2& format, SQmImageAttributes* pAttributes);

// The raw format that suits one of the stream's formats: YUY2 for a profile above Extended, so for H.264 of High
// profile and above, else NV12. Profile 0 where the format block is too short for one, as in a VIDEOINFOHEADER2.
const GUID& ChooseRawSubtype(const AM_MEDIA_TYPE& format);

// Sets on pMediaType what the decoder of the source's video stream is to deliver. The last media type of the stream
// decides.
HRESULT ChooseOutputType(IMFMediaSource* pSource, IMFMediaType* pMediaType);
