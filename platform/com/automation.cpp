#include <cstdlib>
#include <cwchar>
#include <new>

#include "oleauto.h"

static_assert(sizeof(VARIANT) == 24 && offsetof(VARIANT, ullVal) == 8);

namespace
{

// What stands before the characters of a BSTR. A multiple of the size of a pointer, so that the characters are aligned.
struct BstrHead
{
    UINT cbText;
    UINT uiPadding;
};

BstrHead* HeadOf(BSTR bstrText)
{
    return reinterpret_cast<BstrHead*>(bstrText) - 1;
}

}  // namespace

BSTR STDAPICALLTYPE SysAllocString(const wchar_t* pwszText)
{
    if (!pwszText)
    {
        return nullptr;
    }
    const std::size_t cbText = std::wcslen(pwszText) * sizeof(wchar_t);
    void* const pMemory = std::malloc(sizeof(BstrHead) + cbText + sizeof(wchar_t));
    if (!pMemory)
    {
        return nullptr;
    }
    auto* const pHead = new (pMemory) BstrHead{static_cast<UINT>(cbText), 0};
    auto* const bstrText = reinterpret_cast<BSTR>(pHead + 1);
    std::memcpy(bstrText, pwszText, cbText + sizeof(wchar_t));
    return bstrText;
}

void STDAPICALLTYPE SysFreeString(BSTR bstrText)
{
    if (bstrText)
    {
        std::free(HeadOf(bstrText));
    }
}

UINT STDAPICALLTYPE SysStringLen(BSTR bstrText)
{
    return bstrText ? HeadOf(bstrText)->cbText / static_cast<UINT>(sizeof(wchar_t)) : 0;
}

void STDAPICALLTYPE VariantInit(VARIANTARG* pvar)
{
    std::memset(pvar, 0, sizeof(*pvar));
}

HRESULT STDAPICALLTYPE VariantClear(VARIANTARG* pvar)
{
    switch (pvar->vt)
    {
    case VT_EMPTY:
    case VT_NULL:
    case VT_I1:
    case VT_I2:
    case VT_I4:
    case VT_I8:
    case VT_UI1:
    case VT_UI2:
    case VT_UI4:
    case VT_UI8:
    case VT_INT:
    case VT_UINT:
    case VT_R4:
    case VT_R8:
    case VT_DATE:
    case VT_BOOL:
    case VT_ERROR:
        break;
    case VT_BSTR:
        SysFreeString(pvar->bstrVal);
        break;
    case VT_UNKNOWN:
        if (pvar->punkVal)
        {
            pvar->punkVal->Release();
        }
        break;
    default:
        return DISP_E_BADVARTYPE;
    }
    pvar->vt = VT_EMPTY;
    return S_OK;
}
