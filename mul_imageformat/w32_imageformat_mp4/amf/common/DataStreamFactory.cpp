#include "amf/common/DataStreamFactory.h"

#include <new>
#include <string_view>

#include "amf/common/DataStreamFile.h"
#include "amf/common/DataStreamMemory.h"
#include "amf/common/streamcheck.h"

namespace
{

constexpr std::wstring_view PROTOCOL_END = L"://";

// *ppStream is null without memory. AMF_NOT_SUPPORTED for a protocol that isn't known.
AMF_RESULT MakeStream(std::wstring_view strProtocol, AMFDataStream** ppStream)
{
    if (strProtocol == L"file")
        *ppStream = new (std::nothrow) AMFDataStreamFileImpl;
    else if (strProtocol == L"memory")
        *ppStream = new (std::nothrow) AMFDataStreamMemoryImpl;
    else
        return AMF_NOT_SUPPORTED;
    return *ppStream != nullptr ? AMF_OK : AMF_OUT_OF_MEMORY;
}

}  // namespace

AMF_RESULT OpenDataStream(const wchar_t* pFileUrl, AMF_STREAM_OPEN eOpenType, AMF_FILE_SHARE eShareType,
                          AMFDataStream** ppStream)
{
    if (ppStream == nullptr) return AMF_INVALID_POINTER;
    *ppStream = nullptr;
    AMF_RETURN_UNLESS(FILE_STREAM_SCOPE, pFileUrl != NULL, AMF_INVALID_ARG, L"");

    const std::wstring_view strUrl = pFileUrl;
    const std::size_t uiEnd = strUrl.find(PROTOCOL_END);
    const bool bProtocol = uiEnd != std::wstring_view::npos;
    AMFDataStream* pStream = nullptr;
    AMF_RESULT eResult = MakeStream(bProtocol ? strUrl.substr(0, uiEnd) : L"file", &pStream);
    if (eResult != AMF_OK) return eResult;

    const wchar_t* const pPath = bProtocol ? pFileUrl + uiEnd + PROTOCOL_END.size() : pFileUrl;
    eResult = pStream->Open(pPath, eOpenType, eShareType);
    if (eResult == AMF_OK)
        *ppStream = pStream;
    else
        pStream->Release();
    return eResult;
}
