// What a source says about its presentation and its streams.
#pragma once

#include <vector>

#include "mfidl.h"
#include "platform/com/com_ptr.h"
#include "platform/mediafoundation/reading/stream_format.h"

namespace mediafoundation
{

HRESULT MakeMediaType(const StreamFormat& format, platform::ComPtr<IMFMediaType>* ppType);
// A descriptor with one media type; the identifier is the stream's place in the file.
HRESULT MakeStreamDescriptor(DWORD dwIdentifier, const StreamFormat& format,
                             platform::ComPtr<IMFStreamDescriptor>* ppDescriptor);
// All streams selected. nDuration is in 100 ns.
HRESULT MakePresentationDescriptor(const std::vector<platform::ComPtr<IMFStreamDescriptor>>& streams,
                                   LONGLONG nDuration, IMFPresentationDescriptor** ppDescriptor);

}  // namespace mediafoundation
