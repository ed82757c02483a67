// The file that a muxer writes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "hostapi/hostcore.h"
#include "hostapi/hostplatform.h"

// Once a write or a seek has failed, nothing more is written: the bytes after it would lie at another place than the
// one they were logged at. The host learns of a failure nowhere in here; the file's mark of an unfinished file shows
// it.
class CTargetFile
{
public:
    CTargetFile() = default;
    ~CTargetFile() { Close(); }

    CTargetFile(const CTargetFile&) = delete;
    CTargetFile& operator=(const CTargetFile&) = delete;

    // Replaces an existing file. Without a file that can be opened, nothing is written.
    void Open(const CQmStringW& strPath);
    void Close();
    bool IsOpen() const { return m_hFile != nullptr; }

    // True when every byte so far went to the file, and these did.
    bool Write(const void* pBytes, std::size_t uiSize);
    bool Write32(std::uint32_t uiValue);  // most significant byte first
    bool Seek(std::uint64_t uiOffset);
    bool SeekToEnd();

private:
    bool Keep(QmStatus nStatus);

    QmFileHandle m_hFile = nullptr;
    bool m_bFailed = false;
};
