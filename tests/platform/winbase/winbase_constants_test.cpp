// The numbers, compiled against the platform's headers here and against Windows' in the Windows build: what holds in
// both is true.
#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <memoryapi.h>
#include <mmsystem.h>
#include <oaidl.h>
#include <objbase.h>
#include <propidl.h>
#include <share.h>
#include <shlwapi.h>

#include <gtest/gtest.h>

#include <type_traits>

namespace
{

constexpr HRESULT Hr(unsigned uiBits)
{
    return static_cast<HRESULT>(uiBits);
}

static_assert(sizeof(DWORD) == 4 && sizeof(LONG) == 4 && sizeof(ULONG) == 4 && sizeof(HRESULT) == 4);
static_assert(sizeof(UINT) == 4 && sizeof(BOOL) == 4 && sizeof(WORD) == 2 && sizeof(BYTE) == 1);
static_assert(sizeof(LONGLONG) == 8 && sizeof(ULONGLONG) == 8 && sizeof(LONG64) == 8 && sizeof(SIZE_T) == 8);
static_assert(std::is_signed_v<LONG> && std::is_signed_v<HRESULT> && std::is_signed_v<LONGLONG>);
static_assert(std::is_unsigned_v<DWORD> && std::is_unsigned_v<ULONG> && std::is_unsigned_v<UINT>);
static_assert(std::is_same_v<INT64, std::int64_t> && std::is_same_v<UINT64, std::uint64_t>);
static_assert(std::is_same_v<UINT32, std::uint32_t> && std::is_same_v<UINT, std::uint32_t>);
static_assert(std::is_same_v<WCHAR, wchar_t> && std::is_same_v<HANDLE, void*> && std::is_pointer_v<HMODULE>);
static_assert(sizeof(GUID) == 16 && sizeof(LARGE_INTEGER) == 8 && sizeof(FILETIME) == 8 && sizeof(RECT) == 16);
static_assert(sizeof(PROPVARIANT) == 24 && sizeof(VARIANT) == 24 && sizeof(BITMAPINFOHEADER) == 40);
static_assert(offsetof(PROPVARIANT, hVal) == 8 && offsetof(VARIANT, ulVal) == 8 && sizeof(QITAB) == 16);
static_assert(sizeof(OSVERSIONINFOW) == 20 + 128 * sizeof(wchar_t));
static_assert(TRUE == 1 && FALSE == 0 && MAX_PATH == 260);

static_assert(S_OK == 0 && S_FALSE == 1);
static_assert(E_NOTIMPL == Hr(0x80004001) && E_NOINTERFACE == Hr(0x80004002) && E_POINTER == Hr(0x80004003));
static_assert(E_ABORT == Hr(0x80004004) && E_FAIL == Hr(0x80004005) && E_PENDING == Hr(0x8000000A));
static_assert(E_ACCESSDENIED == Hr(0x80070005) && E_HANDLE == Hr(0x80070006) && E_OUTOFMEMORY == Hr(0x8007000E));
static_assert(E_INVALIDARG == Hr(0x80070057));
static_assert(DISP_E_TYPEMISMATCH == Hr(0x80020005) && DISP_E_BADVARTYPE == Hr(0x80020008));
static_assert(DISP_E_OVERFLOW == Hr(0x8002000A) && STG_E_INVALIDPARAMETER == Hr(0x80030057));
static_assert(CLASS_E_NOAGGREGATION == Hr(0x80040110) && CLASS_E_CLASSNOTAVAILABLE == Hr(0x80040111));
static_assert(REGDB_E_CLASSNOTREG == Hr(0x80040154) && CO_E_NOTINITIALIZED == Hr(0x800401F0));
static_assert(RPC_E_CHANGED_MODE == Hr(0x80010106));
static_assert(SUCCEEDED(S_OK) && SUCCEEDED(S_FALSE) && FAILED(E_FAIL) && !FAILED(S_FALSE) && !SUCCEEDED(E_FAIL));

static_assert(ERROR_SUCCESS == 0 && ERROR_FILE_NOT_FOUND == 2 && ERROR_PATH_NOT_FOUND == 3);
static_assert(ERROR_ACCESS_DENIED == 5 && ERROR_INVALID_HANDLE == 6 && ERROR_NOT_ENOUGH_MEMORY == 8);
static_assert(ERROR_OUTOFMEMORY == 14 && ERROR_NOT_SUPPORTED == 50 && ERROR_INVALID_PARAMETER == 87);
static_assert(ERROR_CALL_NOT_IMPLEMENTED == 120 && ERROR_INSUFFICIENT_BUFFER == 122 && ERROR_MOD_NOT_FOUND == 126);
static_assert(ERROR_PROC_NOT_FOUND == 127 && ERROR_ALREADY_EXISTS == 183 && ERROR_BAD_EXE_FORMAT == 193);
static_assert(ERROR_ENVVAR_NOT_FOUND == 203 && ERROR_NOT_OWNER == 288 && ERROR_TOO_MANY_POSTS == 298);
static_assert(ERROR_ARITHMETIC_OVERFLOW == 534 && ERROR_NOACCESS == 998 && ERROR_INVALID_FLAGS == 1004);
static_assert(ERROR_NO_UNICODE_TRANSLATION == 1113 && ERROR_DLL_INIT_FAILED == 1114 && ERROR_NOT_FOUND == 1168);
static_assert(ERROR_TIMEOUT == 1460 && ERROR_INVALID_ADDRESS == 487);
static_assert(MEM_COMMIT == 0x1000 && MEM_RESERVE == 0x2000 && MEM_RELEASE == 0x8000 && PAGE_READWRITE == 4);
static_assert(_O_RDONLY == 0 && _O_WRONLY == 1 && _O_RDWR == 2 && _O_APPEND == 8 && _O_CREAT == 0x100);
static_assert(_O_TRUNC == 0x200 && _O_EXCL == 0x400 && _O_BINARY == 0x8000);
static_assert(_SH_DENYRW == 0x10 && _SH_DENYWR == 0x20 && _SH_DENYRD == 0x30 && _SH_DENYNO == 0x40);

static_assert(WAIT_OBJECT_0 == 0 && WAIT_ABANDONED == 0x80 && WAIT_ABANDONED_0 == 0x80 && WAIT_TIMEOUT == 258);
static_assert(WAIT_IO_COMPLETION == 0xC0 && WAIT_FAILED == 0xFFFFFFFF && INFINITE == 0xFFFFFFFF);
static_assert(MAXIMUM_WAIT_OBJECTS == 64 && STILL_ACTIVE == 259 && CREATE_SUSPENDED == 4);
static_assert(EVENT_ALL_ACCESS == 0x1F0003 && EVENT_MODIFY_STATE == 2 && SYNCHRONIZE == 0x100000);
static_assert(MUTEX_ALL_ACCESS == 0x1F0001 && SEMAPHORE_ALL_ACCESS == 0x1F0003);
static_assert(THREAD_PRIORITY_IDLE == -15 && THREAD_PRIORITY_LOWEST == -2 && THREAD_PRIORITY_BELOW_NORMAL == -1);
static_assert(THREAD_PRIORITY_NORMAL == 0 && THREAD_PRIORITY_ABOVE_NORMAL == 1 && THREAD_PRIORITY_HIGHEST == 2);
static_assert(THREAD_PRIORITY_TIME_CRITICAL == 15 && THREAD_PRIORITY_ERROR_RETURN == 0x7FFFFFFF);
static_assert(DLL_PROCESS_DETACH == 0 && DLL_PROCESS_ATTACH == 1 && DLL_THREAD_ATTACH == 2 && DLL_THREAD_DETACH == 3);
static_assert(LOAD_WITH_ALTERED_SEARCH_PATH == 8 && LOAD_LIBRARY_AS_DATAFILE == 2 && DONT_RESOLVE_DLL_REFERENCES == 1);
static_assert(LOAD_LIBRARY_SEARCH_SYSTEM32 == 0x800 && LOAD_LIBRARY_SEARCH_DEFAULT_DIRS == 0x1000);
static_assert(LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR == 0x100 && LOAD_LIBRARY_SEARCH_APPLICATION_DIR == 0x200);
static_assert(PF_SSSE3_INSTRUCTIONS_AVAILABLE == 36 && PF_SSE4_1_INSTRUCTIONS_AVAILABLE == 37);
static_assert(PF_SSE4_2_INSTRUCTIONS_AVAILABLE == 38 && PF_AVX_INSTRUCTIONS_AVAILABLE == 39);
static_assert(PF_AVX2_INSTRUCTIONS_AVAILABLE == 40 && PF_AVX512F_INSTRUCTIONS_AVAILABLE == 41);
static_assert(PF_XMMI_INSTRUCTIONS_AVAILABLE == 6 && PF_XMMI64_INSTRUCTIONS_AVAILABLE == 10);
static_assert(PF_SSE3_INSTRUCTIONS_AVAILABLE == 13 && PF_COMPARE_EXCHANGE128 == 14 && PF_XSAVE_ENABLED == 17);
static_assert(PF_COMPARE_EXCHANGE_DOUBLE == 2 && PF_MMX_INSTRUCTIONS_AVAILABLE == 3);
static_assert(PF_RDTSC_INSTRUCTION_AVAILABLE == 8);
static_assert(CP_ACP == 0 && CP_UTF8 == 65001 && MB_ERR_INVALID_CHARS == 8 && WC_ERR_INVALID_CHARS == 0x80);
static_assert(TIMERR_NOERROR == 0 && TIMERR_NOCANDO == 97 && TIMERR_STRUCT == 129 && VER_PLATFORM_WIN32_NT == 2);
static_assert(MAKEFOURCC('N', 'V', '1', '2') == 0x3231564E && BI_RGB == 0 && BI_BITFIELDS == 3);

static_assert(VT_EMPTY == 0 && VT_NULL == 1 && VT_I2 == 2 && VT_I4 == 3 && VT_R4 == 4 && VT_R8 == 5 && VT_DATE == 7);
static_assert(VT_BSTR == 8 && VT_ERROR == 10 && VT_BOOL == 11 && VT_VARIANT == 12 && VT_UNKNOWN == 13 && VT_I1 == 16);
static_assert(VT_UI1 == 17 && VT_UI2 == 18 && VT_UI4 == 19 && VT_I8 == 20 && VT_UI8 == 21 && VT_INT == 22);
static_assert(VT_UINT == 23 && VT_LPSTR == 30 && VT_LPWSTR == 31 && VT_FILETIME == 64 && VT_BLOB == 65);
static_assert(VT_CLSID == 72 && VT_VECTOR == 0x1000 && VT_ARRAY == 0x2000 && VT_BYREF == 0x4000 &&
              VT_TYPEMASK == 0xFFF);
static_assert(VARIANT_TRUE == -1 && VARIANT_FALSE == 0);
static_assert(COINIT_MULTITHREADED == 0 && COINIT_APARTMENTTHREADED == 2 && COINIT_DISABLE_OLE1DDE == 4);
static_assert(COINIT_SPEED_OVER_MEMORY == 8);

std::string Text(REFGUID guid)
{
    char sz[64];
    std::snprintf(sz, sizeof(sz), "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", static_cast<unsigned>(guid.Data1),
                  guid.Data2, guid.Data3, guid.Data4[0], guid.Data4[1], guid.Data4[2], guid.Data4[3], guid.Data4[4],
                  guid.Data4[5], guid.Data4[6], guid.Data4[7]);
    return sz;
}

TEST(WinbaseConstants, GuidsOfTheBaseAreThePublicOnes)
{
    EXPECT_EQ(Text(IID_IUnknown), "00000000-0000-0000-c000-000000000046");
    EXPECT_EQ(Text(IID_IClassFactory), "00000001-0000-0000-c000-000000000046");
    EXPECT_EQ(Text(GUID_NULL), "00000000-0000-0000-0000-000000000000");
}

TEST(WinbaseConstants, GuidsAreComparedWhole)
{
    GUID last = IID_IUnknown;
    last.Data4[7] ^= 1;
    EXPECT_TRUE(IsEqualGUID(IID_IUnknown, IID_IUnknown));
    EXPECT_FALSE(IsEqualGUID(IID_IUnknown, last));
    EXPECT_FALSE(IsEqualIID(IID_IUnknown, IID_IClassFactory));
    EXPECT_TRUE(last != IID_IUnknown);
    EXPECT_TRUE(IID_IUnknown == IID_IUnknown);
}

TEST(WinbaseConstants, Win32ErrorsBecomeHresults)
{
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_SUCCESS), S_OK);
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_INVALID_PARAMETER), E_INVALIDARG);
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND), Hr(0x8007007E));
    EXPECT_EQ(HRESULT_FROM_WIN32(E_FAIL), E_FAIL);
    EXPECT_EQ(MAKE_HRESULT(SEVERITY_ERROR, FACILITY_WIN32, 87), E_INVALIDARG);
    EXPECT_EQ(HRESULT_CODE(E_INVALIDARG), 87);
    EXPECT_EQ(HRESULT_FACILITY(E_INVALIDARG), FACILITY_WIN32);
}

TEST(WinbaseConstants, InvalidHandleIsMinusOneAndTheCurrentThreadMinusTwo)
{
    EXPECT_EQ(reinterpret_cast<LONG_PTR>(INVALID_HANDLE_VALUE), -1);
    EXPECT_EQ(reinterpret_cast<LONG_PTR>(GetCurrentThread()), -2);
}

TEST(WinbaseConstants, WordsOfALargeIntegerAreItsHalves)
{
    LARGE_INTEGER n;
    n.QuadPart = -2;
    EXPECT_EQ(n.u.LowPart, 0xFFFFFFFE);
    EXPECT_EQ(n.u.HighPart, -1);
    EXPECT_EQ(n.LowPart, n.u.LowPart);
    EXPECT_EQ(LOWORD(0x12345678U), 0x5678);
    EXPECT_EQ(HIWORD(0x12345678U), 0x1234);
}

}  // namespace
