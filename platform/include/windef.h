// The basic names of Windows' interfaces where there is no Windows: integer types of fixed width, handles, calling
// conventions (which mean nothing here), and the few plain records that everything else is built from.
//
// DWORD, LONG, ULONG and HRESULT have 32 bits on every system, so none of them is a `long` here. The 64-bit types are
// those of <cstdint>: sources that mix UINT64 with std::uint64_t compile on Windows, and so they do here.
// WCHAR is wchar_t, which has 32 bits here: a length in WCHARs means the same, a length in bytes doesn't.
#pragma once

#include <cstddef>
#include <cstdint>

#define WINAPI
#define CALLBACK
#define APIENTRY
#define STDMETHODCALLTYPE
#define STDAPICALLTYPE

#define EXTERN_C extern "C"
// A function or a constant of a platform library, seen by its users.
#define WINBASEAPI __attribute__((visibility("default")))

#define CONST const
#define VOID void
#define TRUE 1
#define FALSE 0
#define MAX_PATH 260

using BYTE = std::uint8_t;
using UCHAR = unsigned char;
using CHAR = char;
using WCHAR = wchar_t;
using WORD = std::uint16_t;
using USHORT = std::uint16_t;
using SHORT = std::int16_t;
using INT = int;
using UINT = unsigned int;
using BOOL = int;
using BOOLEAN = BYTE;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using HRESULT = std::int32_t;
using FLOAT = float;
using DOUBLE = double;

using INT8 = std::int8_t;
using UINT8 = std::uint8_t;
using INT16 = std::int16_t;
using UINT16 = std::uint16_t;
using INT32 = std::int32_t;
using UINT32 = std::uint32_t;
using LONG32 = std::int32_t;
using ULONG32 = std::uint32_t;
using INT64 = std::int64_t;
using UINT64 = std::uint64_t;
using LONG64 = std::int64_t;
using ULONG64 = std::uint64_t;
using DWORD64 = std::uint64_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using DWORDLONG = std::uint64_t;

using INT_PTR = std::intptr_t;
using UINT_PTR = std::uintptr_t;
using LONG_PTR = std::intptr_t;
using ULONG_PTR = std::uintptr_t;
using DWORD_PTR = std::uintptr_t;
using SIZE_T = std::size_t;
using SSIZE_T = std::ptrdiff_t;
using WPARAM = UINT_PTR;
using LPARAM = LONG_PTR;
using LRESULT = LONG_PTR;

using PVOID = void*;
using LPVOID = void*;
using LPCVOID = const void*;
using PBYTE = BYTE*;
using LPBYTE = BYTE*;
using PWORD = WORD*;
using PDWORD = DWORD*;
using LPDWORD = DWORD*;
using PLONG = LONG*;
using LPLONG = LONG*;
using PULONG = ULONG*;
using PUINT = UINT*;
using PINT = int*;
using LPINT = int*;
using PBOOL = BOOL*;
using LPBOOL = BOOL*;
using PSTR = char*;
using LPSTR = char*;
using PCSTR = const char*;
using LPCSTR = const char*;
using LPCCH = const char*;
using LPCH = char*;
using PWSTR = wchar_t*;
using LPWSTR = wchar_t*;
using PCWSTR = const wchar_t*;
using LPCWSTR = const wchar_t*;
using LPCWCH = const wchar_t*;

// A waitable object. Only the functions that take one know what it refers to.
using HANDLE = void*;
using PHANDLE = HANDLE*;
using LPHANDLE = HANDLE*;

// Handles that this system only passes on; each a type of its own so that one isn't taken for another.
using HMODULE = struct HINSTANCE__*;
using HINSTANCE = struct HINSTANCE__*;
using HWND = struct HWND__*;
using HMONITOR = struct HMONITOR__*;
using HDC = struct HDC__*;
using FARPROC = INT_PTR (*)();

struct POINT
{
    LONG x;
    LONG y;
};
using LPPOINT = POINT*;

struct SIZE
{
    LONG cx;
    LONG cy;
};
using LPSIZE = SIZE*;

struct tagRECT
{
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
};
using RECT = tagRECT;
using PRECT = RECT*;
using LPRECT = RECT*;
using LPCRECT = const RECT*;

// Time in steps of 100 ns since the start of the year 1601, UTC.
struct FILETIME
{
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};
using PFILETIME = FILETIME*;
using LPFILETIME = FILETIME*;

// A name of an adapter or of another local object.
struct LUID
{
    DWORD LowPart;
    LONG HighPart;
};
using PLUID = LUID*;

union LARGE_INTEGER
{
    __extension__ struct
    {
        DWORD LowPart;
        LONG HighPart;
    };
    struct
    {
        DWORD LowPart;
        LONG HighPart;
    } u;
    LONGLONG QuadPart;
};
using PLARGE_INTEGER = LARGE_INTEGER*;

union ULARGE_INTEGER
{
    __extension__ struct
    {
        DWORD LowPart;
        DWORD HighPart;
    };
    struct
    {
        DWORD LowPart;
        DWORD HighPart;
    } u;
    ULONGLONG QuadPart;
};
using PULARGE_INTEGER = ULARGE_INTEGER*;

#define LOWORD(value) (static_cast<WORD>(static_cast<DWORD_PTR>(value) & 0xffff))
#define HIWORD(value) (static_cast<WORD>((static_cast<DWORD_PTR>(value) >> 16) & 0xffff))
#define LOBYTE(value) (static_cast<BYTE>(static_cast<DWORD_PTR>(value) & 0xff))
#define HIBYTE(value) (static_cast<BYTE>((static_cast<DWORD_PTR>(value) >> 8) & 0xff))
#define UNREFERENCED_PARAMETER(parameter) static_cast<void>(parameter)
#define ARRAYSIZE(array) (sizeof(array) / sizeof((array)[0]))
