// Files by Win32 calls.
#include "host/hostplatform/nativefile.h"

#include <windows.h>

#include <algorithm>
#include <string_view>

static_assert(sizeof(std::intptr_t) == sizeof(HANDLE));

namespace
{

HANDLE ToHandle(std::intptr_t nHandle)
{
    return reinterpret_cast<HANDLE>(nHandle);
}

// The position of one transfer. With it a file that was opened for synchronous use needs no current position.
OVERLAPPED PlaceAt(std::uint64_t uiPosition)
{
    OVERLAPPED place = {};
    place.Offset = static_cast<DWORD>(uiPosition);
    place.OffsetHigh = static_cast<DWORD>(uiPosition >> 32);
    return place;
}

// Sizes of single transfers are 32 bits wide.
DWORD TransferSize(std::size_t uiBytes)
{
    constexpr std::size_t MAX_TRANSFER = std::size_t{1} << 30;
    return static_cast<DWORD>(std::min(uiBytes, MAX_TRANSFER));
}

bool ToTm(const FILETIME& fileTime, std::tm* pTime)
{
    if (pTime == nullptr) return true;
    SYSTEMTIME time = {};
    if (!FileTimeToSystemTime(&fileTime, &time)) return false;

    constexpr int DAYS_BEFORE_MONTH[12] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    const bool bLeapYear = time.wYear % 4 == 0 && (time.wYear % 100 != 0 || time.wYear % 400 == 0);
    *pTime = {};
    pTime->tm_year = time.wYear - 1900;
    pTime->tm_mon = time.wMonth - 1;
    pTime->tm_mday = time.wDay;
    pTime->tm_hour = time.wHour;
    pTime->tm_min = time.wMinute;
    pTime->tm_sec = time.wSecond;
    pTime->tm_wday = time.wDayOfWeek;
    pTime->tm_yday = DAYS_BEFORE_MONTH[time.wMonth - 1] + time.wDay - 1 + (bLeapYear && time.wMonth > 2 ? 1 : 0);
    return true;
}

}  // namespace

bool CNativeFile::Open(const wchar_t* pwszPath, EFileAccess eAccess, bool bShareRead)
{
    Close();
    const DWORD dwAccess = eAccess == EFileAccess::Read ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE;
    DWORD dwDisposition = OPEN_EXISTING;
    if (eAccess == EFileAccess::Create) dwDisposition = CREATE_ALWAYS;
    if (eAccess == EFileAccess::CreateNew) dwDisposition = CREATE_NEW;
    HANDLE hFile = CreateFileW(pwszPath, dwAccess, bShareRead ? FILE_SHARE_READ : 0, nullptr, dwDisposition,
                               FILE_ATTRIBUTE_NORMAL, nullptr);
    if (hFile == INVALID_HANDLE_VALUE) return false;
    if (GetFileType(hFile) != FILE_TYPE_DISK)
    {
        CloseHandle(hFile);
        return false;
    }
    m_nHandle = reinterpret_cast<std::intptr_t>(hFile);
    return true;
}

bool CNativeFile::Close()
{
    if (m_nHandle == -1) return true;
    HANDLE hFile = ToHandle(m_nHandle);
    m_nHandle = -1;
    return CloseHandle(hFile) != FALSE;
}

bool CNativeFile::ReadAt(std::uint64_t uiPosition, void* pBuffer, std::size_t uiBytes, std::size_t* puiRead)
{
    std::size_t uiDone = 0;
    while (uiDone < uiBytes)
    {
        OVERLAPPED place = PlaceAt(uiPosition + uiDone);
        DWORD dwRead = 0;
        const BOOL bRead = ReadFile(ToHandle(m_nHandle), static_cast<char*>(pBuffer) + uiDone,
                                    TransferSize(uiBytes - uiDone), &dwRead, &place);
        if (!bRead && GetLastError() != ERROR_HANDLE_EOF) return false;
        if (!bRead || dwRead == 0) break;
        uiDone += dwRead;
    }
    *puiRead = uiDone;
    return true;
}

bool CNativeFile::WriteAt(std::uint64_t uiPosition, const void* pBuffer, std::size_t uiBytes)
{
    std::size_t uiDone = 0;
    while (uiDone < uiBytes)
    {
        OVERLAPPED place = PlaceAt(uiPosition + uiDone);
        DWORD dwWritten = 0;
        if (!WriteFile(ToHandle(m_nHandle), static_cast<const char*>(pBuffer) + uiDone, TransferSize(uiBytes - uiDone),
                       &dwWritten, &place) ||
            dwWritten == 0)
        {
            return false;
        }
        uiDone += dwWritten;
    }
    return true;
}

bool CNativeFile::GetSize(std::uint64_t* puiSize)
{
    LARGE_INTEGER size = {};
    if (!GetFileSizeEx(ToHandle(m_nHandle), &size)) return false;
    *puiSize = static_cast<std::uint64_t>(size.QuadPart);
    return true;
}

bool CNativeFile::GetTimes(std::tm* pCreated, std::tm* pAccessed, std::tm* pWritten)
{
    FILETIME created = {};
    FILETIME accessed = {};
    FILETIME written = {};
    return GetFileTime(ToHandle(m_nHandle), &created, &accessed, &written) && ToTm(created, pCreated) &&
           ToTm(accessed, pAccessed) && ToTm(written, pWritten);
}

void CNativeFile::TakeAttributesOf(CNativeFile& original)
{
    FILETIME written = {};
    if (!GetFileTime(ToHandle(original.m_nHandle), nullptr, nullptr, &written)) return;
    SetFileTime(ToHandle(m_nHandle), nullptr, nullptr, &written);  // not examined: a copy is for the bytes
}

ERenameResult RenameNativeFile(const wchar_t* pwszFrom, const wchar_t* pwszTo, bool bReplace)
{
    if (MoveFileExW(pwszFrom, pwszTo, bReplace ? MOVEFILE_REPLACE_EXISTING : 0)) return ERenameResult::Done;
    return GetLastError() == ERROR_NOT_SAME_DEVICE ? ERenameResult::OtherDevice : ERenameResult::Failed;
}

bool RemoveNativeFile(const wchar_t* pwszPath)
{
    return DeleteFileW(pwszPath) != FALSE;
}

bool NativePathExists(const wchar_t* pwszPath)
{
    return GetFileAttributesW(pwszPath) != INVALID_FILE_ATTRIBUTES;
}

bool GetNativeFileSize(const wchar_t* pwszPath, std::uint64_t* puiSize)
{
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (!GetFileAttributesExW(pwszPath, GetFileExInfoStandard, &data)) return false;
    if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return false;
    *puiSize = (std::uint64_t{data.nFileSizeHigh} << 32) | data.nFileSizeLow;
    return true;
}

std::size_t FindNativeFileName(const wchar_t* pwszPath)
{
    return std::wstring_view(pwszPath).find_last_of(L"/\\:") + 1;  // 0 when there is none
}
