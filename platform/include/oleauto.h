// VARIANT's life.
#pragma once

#include "basetyps.h"
#include "oaidl.h"

// VT_EMPTY, whatever was there before.
STDAPI_(void) VariantInit(VARIANTARG* pvar);
// Releases an interface, frees a text, and leaves VT_EMPTY. A type that it doesn't know gives DISP_E_BADVARTYPE.
STDAPI VariantClear(VARIANTARG* pvar);

// Counted wide text with a nul at its end; null for null text, or without memory. Freeing null does nothing.
STDAPI_(BSTR) SysAllocString(const wchar_t* pwszText);
STDAPI_(void) SysFreeString(BSTR bstrText);
// Characters, without the nul.
STDAPI_(UINT) SysStringLen(BSTR bstrText);
