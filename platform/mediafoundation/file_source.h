// The media source of a file, as the session sees it.
#pragma once

#include <memory>

#include "mfidl.h"
#include "platform/mediafoundation/reading/container_file.h"

// The platform's own way from its session to its source, by the side of the public interface.
DEFINE_GUID(IID_IFileSource, 0x6d0a1c52, 0x6b0e, 0x4f3c, 0x9a, 0x54, 0x2e, 0x51, 0x0c, 0x7a, 0xd4, 0x91);
struct IFileSource : public IUnknown
{
    // Lends out the opened file, so that it isn't opened twice, for as long as a copy of the pointer lives; to one
    // borrower at a time (MF_E_MEDIA_SOURCE_WRONGSTATE). MF_E_SHUTDOWN after the source's shut-down.
    virtual HRESULT BorrowFile(std::shared_ptr<mediafoundation::ContainerFile>* pFile) = 0;
    virtual bool IsShutdown() = 0;
};
PLATFORM_INTERFACE_IID(IFileSource);

namespace mediafoundation
{

HRESULT MakeFileSource(std::unique_ptr<ContainerFile> file, IMFMediaSource** ppSource);

}  // namespace mediafoundation
