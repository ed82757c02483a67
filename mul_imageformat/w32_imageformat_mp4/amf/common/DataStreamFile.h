// A data stream on a file.
#pragma once

#include <string>

#include "amf/common/DataStream.h"
#include "amf/common/amfinterfaceimpl.h"

// Read returns AMF_EOF at the end of the file. AMF_FAIL is a failure of the system: a file that can't be opened, a
// read, a seek, or a write that not all bytes of went out for.
class AMFDataStreamFileImpl : public AMFInterfaceImpl<AMFDataStream>
{
public:
    // Closes the file that is open, also if it then fails. AMF_INVALID_ARG for modes that there aren't.
    AMF_RESULT Open(const wchar_t* pFilePath, AMF_STREAM_OPEN eOpenType, AMF_FILE_SHARE eShareType) override;
    // AMF_OK also with no file open.
    AMF_RESULT Close() override;
    AMF_RESULT Read(void* pData, amf_size iSize, amf_size* pRead) override;
    AMF_RESULT Write(const void* pData, amf_size iSize, amf_size* pWritten) override;
    // Positions past the end are allowed.
    AMF_RESULT Seek(AMF_SEEK_ORIGIN eOrigin, amf_int64 iOffset, amf_int64* pNewPosition) override;
    AMF_RESULT GetPosition(amf_int64* pPosition) override;
    AMF_RESULT GetSize(amf_int64* pSize) override;
    bool IsSeekable() override;

protected:
    ~AMFDataStreamFileImpl() override;

private:
    std::int32_t m_iFileDescriptor = -1;  // -1 when closed
    std::wstring m_strPath;
};
