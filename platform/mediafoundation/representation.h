// Media types as AM_MEDIA_TYPE records.
#pragma once

#include "mfobjects.h"
#include "strmif.h"

namespace mediafoundation
{

// A record for a media type: an MPEG2VIDEOINFO for H.264 and MPEG-2 video, a VIDEOINFOHEADER2 for other video, no
// format block for what isn't video. Both blocks have the size of an MPEG2VIDEOINFO and are zero after their own end.
// So a reader of the profile finds none, and doesn't read past a shorter block.
HRESULT MakeRepresentation(IMFMediaType* pType, AM_MEDIA_TYPE** ppRepresentation);
void FreeRepresentation(AM_MEDIA_TYPE* pRepresentation);

}  // namespace mediafoundation
