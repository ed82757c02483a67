// Status codes: Win32 error numbers, HRESULTs and the arithmetic between them.
#pragma once

#include "windef.h"

// Win32 error numbers, as GetLastError gives them.
#define NO_ERROR 0
#define ERROR_SUCCESS 0
#define ERROR_FILE_NOT_FOUND 2
#define ERROR_PATH_NOT_FOUND 3
#define ERROR_TOO_MANY_OPEN_FILES 4
#define ERROR_ACCESS_DENIED 5
#define ERROR_INVALID_HANDLE 6
#define ERROR_NOT_ENOUGH_MEMORY 8
#define ERROR_OUTOFMEMORY 14
#define ERROR_WRITE_PROTECT 19
#define ERROR_GEN_FAILURE 31
#define ERROR_NOT_SUPPORTED 50
#define ERROR_FILE_EXISTS 80
#define ERROR_INVALID_PARAMETER 87
#define ERROR_DISK_FULL 112
#define ERROR_CALL_NOT_IMPLEMENTED 120
#define ERROR_INSUFFICIENT_BUFFER 122
#define ERROR_MOD_NOT_FOUND 126
#define ERROR_PROC_NOT_FOUND 127
#define ERROR_ALREADY_EXISTS 183
#define ERROR_FILE_TOO_LARGE 223
#define ERROR_BAD_EXE_FORMAT 193
#define ERROR_ENVVAR_NOT_FOUND 203
#define ERROR_NOT_OWNER 288
#define ERROR_TOO_MANY_POSTS 298
#define ERROR_INVALID_ADDRESS 487
#define ERROR_ARITHMETIC_OVERFLOW 534
#define ERROR_NOACCESS 998
#define ERROR_INVALID_FLAGS 1004
#define ERROR_NO_UNICODE_TRANSLATION 1113
#define ERROR_DLL_INIT_FAILED 1114
#define ERROR_NOT_FOUND 1168
#define ERROR_TIMEOUT 1460

// HRESULT: top bit severity, eleven bits facility, sixteen bits code.
#define SEVERITY_SUCCESS 0
#define SEVERITY_ERROR 1
#define FACILITY_NULL 0
#define FACILITY_ITF 4
#define FACILITY_WIN32 7

#define SUCCEEDED(hr) (static_cast<HRESULT>(hr) >= 0)
#define FAILED(hr) (static_cast<HRESULT>(hr) < 0)
#define HRESULT_CODE(hr) ((hr)&0xffff)
#define HRESULT_FACILITY(hr) (((hr) >> 16) & 0x1fff)
#define HRESULT_SEVERITY(hr) (((hr) >> 31) & 1)
#define MAKE_HRESULT(severity, facility, code)                                                                         \
    (static_cast<HRESULT>((static_cast<std::uint32_t>(severity) << 31) |                                               \
                          (static_cast<std::uint32_t>(facility) << 16) | static_cast<std::uint32_t>(code)))
// A Win32 error number as an HRESULT; 0 and what is an HRESULT already stay as they are.
constexpr HRESULT HRESULT_FROM_WIN32(std::uint32_t error)
{
    return static_cast<std::int32_t>(error) <= 0 ? static_cast<HRESULT>(error)
                                                 : static_cast<HRESULT>((error & 0xffffU) | 0x80070000U);
}

#define _HRESULT_TYPEDEF_(value) (static_cast<HRESULT>(value))
#define S_OK _HRESULT_TYPEDEF_(0x00000000U)
#define S_FALSE _HRESULT_TYPEDEF_(0x00000001U)
#define NOERROR 0
#define E_NOTIMPL _HRESULT_TYPEDEF_(0x80004001U)
#define E_NOINTERFACE _HRESULT_TYPEDEF_(0x80004002U)
#define E_POINTER _HRESULT_TYPEDEF_(0x80004003U)
#define E_ABORT _HRESULT_TYPEDEF_(0x80004004U)
#define E_FAIL _HRESULT_TYPEDEF_(0x80004005U)
#define E_PENDING _HRESULT_TYPEDEF_(0x8000000AU)
#define E_UNEXPECTED _HRESULT_TYPEDEF_(0x8000FFFFU)
#define DISP_E_TYPEMISMATCH _HRESULT_TYPEDEF_(0x80020005U)
#define DISP_E_BADVARTYPE _HRESULT_TYPEDEF_(0x80020008U)
#define DISP_E_OVERFLOW _HRESULT_TYPEDEF_(0x8002000AU)
#define STG_E_INVALIDPARAMETER _HRESULT_TYPEDEF_(0x80030057U)
#define CLASS_E_NOAGGREGATION _HRESULT_TYPEDEF_(0x80040110U)
#define CLASS_E_CLASSNOTAVAILABLE _HRESULT_TYPEDEF_(0x80040111U)
#define REGDB_E_CLASSNOTREG _HRESULT_TYPEDEF_(0x80040154U)
#define CO_E_NOTINITIALIZED _HRESULT_TYPEDEF_(0x800401F0U)
#define RPC_E_CHANGED_MODE _HRESULT_TYPEDEF_(0x80010106U)
#define E_ACCESSDENIED _HRESULT_TYPEDEF_(0x80070005U)
#define E_HANDLE _HRESULT_TYPEDEF_(0x80070006U)
#define E_OUTOFMEMORY _HRESULT_TYPEDEF_(0x8007000EU)
#define E_INVALIDARG _HRESULT_TYPEDEF_(0x80070057U)
