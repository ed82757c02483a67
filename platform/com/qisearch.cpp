#include "shlwapi.h"

namespace
{

HRESULT Give(void* pThat, const QITAB& entry, void** ppv)
{
    auto* const pUnknown = reinterpret_cast<IUnknown*>(static_cast<BYTE*>(pThat) + entry.dwOffset);
    pUnknown->AddRef();
    *ppv = pUnknown;
    return S_OK;
}

}  // namespace

HRESULT STDAPICALLTYPE QISearch(void* pThat, LPCQITAB pTable, REFIID riid, void** ppv)
{
    if (!ppv)
    {
        return E_POINTER;
    }
    for (LPCQITAB pEntry = pTable; pEntry->piid; ++pEntry)
    {
        if (*pEntry->piid == riid)
        {
            return Give(pThat, *pEntry, ppv);
        }
    }
    if (riid == IID_IUnknown && pTable->piid)
    {
        return Give(pThat, *pTable, ppv);
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
}
