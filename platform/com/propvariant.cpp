#include <cwchar>

#include "objbase.h"
#include "propidl.h"

static_assert(sizeof(PROPVARIANT) == 24 && offsetof(PROPVARIANT, hVal) == 8);
static_assert(VT_LPWSTR == 31 && VT_BLOB == 65 && VT_CLSID == 72 && (VT_VECTOR | VT_UI1) == 0x1011);

namespace
{

// How a value holds what it says it holds.
enum class Holding
{
    Unknown,  // not a type of this platform
    Inline,   // in the value itself
    Memory,   // one block of task memory
    Counted,  // a count and a block of task memory
    Interface
};

Holding HoldingOf(VARTYPE vt)
{
    switch (vt)
    {
    case VT_EMPTY:
    case VT_NULL:
    case VT_I1:
    case VT_UI1:
    case VT_I2:
    case VT_UI2:
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_I8:
    case VT_UI8:
    case VT_R4:
    case VT_R8:
    case VT_BOOL:
    case VT_ERROR:
    case VT_DATE:
    case VT_FILETIME:
        return Holding::Inline;
    case VT_LPSTR:
    case VT_LPWSTR:
    case VT_CLSID:
        return Holding::Memory;
    case VT_BLOB:
    case VT_VECTOR | VT_UI1:
    case VT_VECTOR | VT_UI4:
    case VT_VECTOR | VT_UI8:
        return Holding::Counted;
    case VT_UNKNOWN:
        return Holding::Interface;
    default:
        return Holding::Unknown;
    }
}

// Every counted form is a 32-bit count and a pointer; BLOB stands for all of them.
static_assert(sizeof(BLOB) == 16 && sizeof(CAUB) == 16 && sizeof(CAUL) == 16 && sizeof(CAUH) == 16);
static_assert(offsetof(BLOB, pBlobData) == 8 && offsetof(CAUH, pElems) == 8);

std::size_t ElementSize(VARTYPE vt)
{
    switch (vt)
    {
    case VT_VECTOR | VT_UI4:
        return sizeof(ULONG);
    case VT_VECTOR | VT_UI8:
        return sizeof(ULARGE_INTEGER);
    default:
        return 1;
    }
}

// Bytes of the block that a value of the forms Memory and Counted owns.
std::size_t OwnedBytes(const PROPVARIANT& var)
{
    switch (var.vt)
    {
    case VT_LPSTR:
        return std::strlen(var.pszVal) + 1;
    case VT_LPWSTR:
        return (std::wcslen(var.pwszVal) + 1) * sizeof(wchar_t);
    case VT_CLSID:
        return sizeof(CLSID);
    default:
        return var.blob.cbSize * ElementSize(var.vt);
    }
}

// *ppCopy stays null for null; false without memory.
bool CopyBlock(const void* pSource, std::size_t uiBytes, void** ppCopy)
{
    *ppCopy = nullptr;
    if (!pSource)
    {
        return true;
    }
    *ppCopy = CoTaskMemAlloc(uiBytes);
    if (!*ppCopy)
    {
        return false;
    }
    std::memcpy(*ppCopy, pSource, uiBytes);
    return true;
}

}  // namespace

HRESULT STDAPICALLTYPE PropVariantClear(PROPVARIANT* pvar)
{
    if (!pvar)
    {
        return S_OK;
    }
    HRESULT hr = S_OK;
    switch (HoldingOf(pvar->vt))
    {
    case Holding::Inline:
        break;
    case Holding::Memory:
        CoTaskMemFree(pvar->pszVal);
        break;
    case Holding::Counted:
        CoTaskMemFree(pvar->blob.pBlobData);
        break;
    case Holding::Interface:
        if (pvar->punkVal)
        {
            pvar->punkVal->Release();
        }
        break;
    case Holding::Unknown:
        hr = STG_E_INVALIDPARAMETER;
        break;
    }
    PropVariantInit(pvar);
    return hr;
}

HRESULT STDAPICALLTYPE PropVariantCopy(PROPVARIANT* pvarDest, const PROPVARIANT* pvarSrc)
{
    PROPVARIANT copy = *pvarSrc;
    bool bCopied = true;
    switch (HoldingOf(pvarSrc->vt))
    {
    case Holding::Inline:
        break;
    case Holding::Memory: {
        void* pBlock = nullptr;
        bCopied = CopyBlock(pvarSrc->pszVal, pvarSrc->pszVal ? OwnedBytes(*pvarSrc) : 0, &pBlock);
        copy.pszVal = static_cast<LPSTR>(pBlock);
        break;
    }
    case Holding::Counted: {
        void* pBlock = nullptr;
        bCopied = CopyBlock(pvarSrc->blob.pBlobData, OwnedBytes(*pvarSrc), &pBlock);
        copy.blob.pBlobData = static_cast<BYTE*>(pBlock);
        break;
    }
    case Holding::Interface:
        if (copy.punkVal)
        {
            copy.punkVal->AddRef();
        }
        break;
    case Holding::Unknown:
        return DISP_E_BADVARTYPE;
    }
    if (!bCopied)
    {
        PropVariantInit(pvarDest);
        return E_OUTOFMEMORY;
    }
    *pvarDest = copy;
    return S_OK;
}
