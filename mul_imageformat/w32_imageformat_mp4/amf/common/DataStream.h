// A stream of bytes: a file, or memory.
#pragma once

#include "abi/amf/amf.h"

enum AMF_STREAM_OPEN : amf_int32
{
    AMF_STREAM_READ = 0,        // an existing file
    AMF_STREAM_WRITE = 1,       // a new or emptied file, not for reading
    AMF_STREAM_READ_WRITE = 2,  // a new or emptied file
    AMF_STREAM_APPEND = 3       // a new or existing file; every write goes to its end
};

// What others may not do with the file while it is open.
enum AMF_FILE_SHARE : amf_int32
{
    AMF_FILE_SHARE_EXCLUSIVE = 0,  // read and write
    AMF_FILE_SHARE_READ = 1,       // write
    AMF_FILE_SHARE_WRITE = 2,      // read
    AMF_FILE_SHARE_READ_WRITE = 3  // nothing is forbidden
};

enum AMF_SEEK_ORIGIN : amf_int32
{
    AMF_SEEK_BEGIN = 0,
    AMF_SEEK_CURRENT = 1,
    AMF_SEEK_END = 2
};

// Sizes and positions are in bytes. A stream is used by one thread at a time. What an operation gives through a pointer
// is set when it returns AMF_OK; where the comment says so, the pointer may be null. A failed check of an argument or
// of the stream's state writes a line to the runtime's trace.
struct AMFDataStream : public AMFInterface
{
    static constexpr AMFGuid IID()
    {
        return {0x6F1C2B7A, 0x3D58, 0x4E0B, 0x9A, 0x41, 0x5C, 0xE2, 0x77, 0x90, 0x1D, 0x63};
    }

    virtual AMF_RESULT Open(const wchar_t* pFilePath, AMF_STREAM_OPEN eOpenType, AMF_FILE_SHARE eShareType) = 0;
    virtual AMF_RESULT Close() = 0;
    // At most iSize bytes from the position on, which moves. pRead, how many they were, may be null.
    virtual AMF_RESULT Read(void* pData, amf_size iSize, amf_size* pRead) = 0;
    // pWritten may be null.
    virtual AMF_RESULT Write(const void* pData, amf_size iSize, amf_size* pWritten) = 0;
    // pNewPosition may be null.
    virtual AMF_RESULT Seek(AMF_SEEK_ORIGIN eOrigin, amf_int64 iOffset, amf_int64* pNewPosition) = 0;
    virtual AMF_RESULT GetPosition(amf_int64* pPosition) = 0;
    virtual AMF_RESULT GetSize(amf_int64* pSize) = 0;
    virtual bool IsSeekable() = 0;
};
