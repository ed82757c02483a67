// Files of the system: no buffers, no current position. One source file for each system.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>

enum class EFileAccess
{
    Read,       // an existing file
    Create,     // for reading and writing; an existing file is emptied
    CreateNew,  // for reading and writing; an existing file is refused
};

class CNativeFile
{
public:
    CNativeFile() = default;
    ~CNativeFile() { Close(); }
    CNativeFile(const CNativeFile&) = delete;
    CNativeFile& operator=(const CNativeFile&) = delete;

    // bShareRead: whether others may read the file meanwhile, where the system can forbid it. Opens nothing but files
    // whose bytes can be reached in any order. Throws std::bad_alloc.
    bool Open(const wchar_t* pwszPath, EFileAccess eAccess, bool bShareRead);
    // False when the system reports on closing that it lost bytes.
    bool Close();

    // Fewer bytes than asked for only at the end of the file.
    bool ReadAt(std::uint64_t uiPosition, void* pBuffer, std::size_t uiBytes, std::size_t* puiRead);
    // A gap before uiPosition reads as zeros. After a failure any part of the bytes may have been written.
    bool WriteAt(std::uint64_t uiPosition, const void* pBuffer, std::size_t uiBytes);

    bool GetSize(std::uint64_t* puiSize);
    // In UTC.
    bool GetTimes(std::tm* pCreated, std::tm* pAccessed, std::tm* pWritten);
    // Copies the properties that a copy keeps of its original: the time of last writing and, where they depend on the
    // file alone, the permissions.
    void TakeAttributesOf(CNativeFile& original);

private:
    std::intptr_t m_nHandle = -1;
};

enum class ERenameResult
{
    Done,
    OtherDevice,  // the file has to be copied
    Failed
};

// Renames a file in one atomic step. An existing target is replaced or refused. Throws std::bad_alloc.
ERenameResult RenameNativeFile(const wchar_t* pwszFrom, const wchar_t* pwszTo, bool bReplace);

// Files only, no directories. Throws std::bad_alloc.
bool RemoveNativeFile(const wchar_t* pwszPath);

// Whether there is anything of this name. Throws std::bad_alloc.
bool NativePathExists(const wchar_t* pwszPath);

// The size of a file, which need not be readable. Throws std::bad_alloc.
bool GetNativeFileSize(const wchar_t* pwszPath, std::uint64_t* puiSize);

// Where in a path the name of the file itself begins.
std::size_t FindNativeFileName(const wchar_t* pwszPath);
