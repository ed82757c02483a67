// A data stream in memory.
#pragma once

#include "amf/common/DataStream.h"
#include "amf/common/amfinterfaceimpl.h"

// Grows by pages of the system's virtual memory. The position is never past the end.
class AMFDataStreamMemoryImpl : public AMFInterfaceImpl<AMFDataStream>
{
public:
    // Does nothing and returns AMF_OK.
    AMF_RESULT Open(const wchar_t* pFilePath, AMF_STREAM_OPEN eOpenType, AMF_FILE_SHARE eShareType) override;
    // Frees the memory; the stream is empty then.
    AMF_RESULT Close() override;
    // AMF_OK at the end too, with no bytes read. AMF_NOT_INITIALIZED as long as nothing was written.
    AMF_RESULT Read(void* pData, amf_size iSize, amf_size* pRead) override;
    // AMF_OUT_OF_MEMORY leaves the stream as it is.
    AMF_RESULT Write(const void* pData, amf_size iSize, amf_size* pWritten) override;
    // From AMF_SEEK_END iOffset counts back. A position outside of the stream becomes its nearer end.
    AMF_RESULT Seek(AMF_SEEK_ORIGIN eOrigin, amf_int64 iOffset, amf_int64* pNewPosition) override;
    AMF_RESULT GetPosition(amf_int64* pPosition) override;
    AMF_RESULT GetSize(amf_int64* pSize) override;
    bool IsSeekable() override;

protected:
    ~AMFDataStreamMemoryImpl() override;

private:
    bool Realloc(amf_size uiSize);

    void* m_pMemory = nullptr;
    amf_size m_uiMemorySize = 0;
    amf_size m_uiAllocatedSize = 0;
    amf_size m_pos = 0;
};
