// The host library `hostplatform`: files with 64-bit positions, diagnostics, the time counter.
//
// Paths are wide text on every system; where the system's own paths are bytes they are UTF-8.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>

#include "hostapi/qmexport.h"
#include "hostapi/qmstatus.h"

// An open file. Opaque; null is no file.
using QmFileHandle = struct SQmFile*;

inline constexpr int QM_FILE_READ = 1;     // mode: an existing file, for reading
inline constexpr int QM_FILE_CREATE = 14;  // mode: a new file, or an existing one emptied, for reading and writing
inline constexpr int QM_SHARE_NONE = 0;    // share: no other open of the file meanwhile
inline constexpr int QM_SHARE_READ = 1;    // share: others may read it
inline constexpr int QM_SEEK_BEGIN = 0;    // origin: absolute position
inline constexpr int QM_SEEK_END = 2;      // origin: relative to the end

// One thread at a time may use a handle. A file may be read through a buffer, but a read always sees what the same
// handle wrote. Failures are QM_ERR_FAIL unless stated.
//
// QM_ERR_FILEOPEN when the file can't be opened or is a directory; *phFile is null then. nReserved is -1. Share modes
// are only heeded where the system keeps other programs to them.
QM_HOSTPLATFORM QmStatus QM_OpenFile(const wchar_t* pwszPath, int nMode, int nShare, int nReserved,
                                     QmFileHandle* phFile);
// The handle is gone whatever the status, which is a failure when the system lost bytes, now or before.
QM_HOSTPLATFORM QmStatus QM_CloseFile(QmFileHandle hFile);
// 0 only when all uiBytes were read; the position stays where it was otherwise. pReserved1, pReserved2 are null.
QM_HOSTPLATFORM QmStatus QM_ReadFile(QmFileHandle hFile, void* pBuffer, std::uint64_t uiBytes, void* pReserved1,
                                     void* pReserved2);
// 0 only when the system has all the bytes: every other reader sees them, and they stay if this process ends, however
// it ends. A write that fails may leave a part of them. The file takes no more after it.
QM_HOSTPLATFORM QmStatus QM_WriteFile(QmFileHandle hFile, const void* pBuffer, std::uint64_t uiBytes, void* pReserved1,
                                      void* pReserved2);
// How often a file of this process has lost bytes that were written to it, once for each file. For a program whose
// module drops the status of its writes.
QM_HOSTPLATFORM std::uint32_t QM_GetLossCount();
// A position past the end is allowed, one before the start is not.
QM_HOSTPLATFORM QmStatus QM_SeekFile(QmFileHandle hFile, std::int64_t nOffset, int nOrigin);
// Counts what was written, whether the system has it or not.
QM_HOSTPLATFORM QmStatus QM_GetFileSize(QmFileHandle hFile, std::uint64_t* puiSize);
// Times of creation, last access and last writing, each in UTC and each only if its pointer isn't null.
QM_HOSTPLATFORM QmStatus QM_GetFileTimes(QmFileHandle hFile, std::tm* pCreated, std::tm* pAccessed, std::tm* pWritten);

// Called while a file is copied or moved: bytes done, bytes in all. First with none done, before anything has changed,
// last with all. Giving false stops an operation that isn't over yet; it then fails, and both files are as they were.
using PQmFileProgress = bool (*)(std::uint64_t uiDone, std::uint64_t uiTotal, void* pUser);

// Files only, no directories. uiFlags is 0. Copying and moving give QM_ERR_FILEOPEN when there is no source, when the
// target exists and isn't to be overwritten, or when no target can be made, and never leave part of one. A copy keeps
// the time of last writing. A move from one file system to another is a copy, after which the source goes.
QM_HOSTPLATFORM QmStatus QM_GetFileSizeFromName(const wchar_t* pwszPath, std::uint64_t* puiSize);
QM_HOSTPLATFORM QmStatus QM_CopyFile(const wchar_t* pwszFrom, const wchar_t* pwszTo, bool bOverwrite,
                                     PQmFileProgress pfnProgress, void* pUser, std::uint32_t uiFlags);
QM_HOSTPLATFORM QmStatus QM_MoveFile(const wchar_t* pwszFrom, const wchar_t* pwszTo, bool bOverwrite,
                                     PQmFileProgress pfnProgress, void* pUser, std::uint32_t uiFlags);
QM_HOSTPLATFORM QmStatus QM_RemoveFile(const wchar_t* pwszPath, std::uint32_t uiFlags);

// Milliseconds since some fixed moment; never runs backwards.
QM_HOSTPLATFORM double QM_GetTimeCounter();

// Diagnostics: DiagOutputExW_hlp sets the place of the calling thread's next line, DiagOutputExW writes that line.
//
// The format is printf's, in which %s means wide text on every system and %S narrow text (UTF-8). A conversion that
// isn't one of printf's is written as it stands, so that a stray % in a text does no harm. pszFile is read when the
// line is written.
QM_HOSTPLATFORM void DiagOutputExW_hlp(const char* pszFile, int nLine, int nReserved);
QM_HOSTPLATFORM void DiagOutputExW(const wchar_t* pwszFormat, ...);

// Takes the lines from now on, on the thread that writes them, one call at a time; null takes none. pszFile is "" and
// nLine 0 when no place was set. There is no sink at first. When QM_SetDiagSink returns, no other thread is in the
// sink that it replaced. A sink may replace itself; lines that it writes itself are dropped.
using PQmDiagSink = void (*)(const char* pszFile, int nLine, const wchar_t* pwszText, void* pUser);
QM_HOSTPLATFORM void QM_SetDiagSink(PQmDiagSink pfnSink, void* pUser);
