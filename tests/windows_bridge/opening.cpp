#include "windows_bridge/opening.h"

#include <mutex>

#include <windows.h>

#include <mfapi.h>
#include <mfidl.h>

#include "support/slot_of.h"
#include "windows_bridge/operation_table.h"

namespace windows_bridge
{

namespace
{

HRESULT(STDMETHODCALLTYPE* g_pfnCreateObjectFromURL)
(IMFSourceResolver*, LPCWSTR, DWORD, IPropertyStore*, MF_OBJECT_TYPE*, IUnknown**);

std::mutex g_Opening;

HRESULT STDMETHODCALLTYPE CreateObjectFromURL(IMFSourceResolver* pResolver, LPCWSTR pszUrl, DWORD dwFlags,
                                              IPropertyStore* pProperties, MF_OBJECT_TYPE* peType, IUnknown** ppObject)
{
    const std::lock_guard lock(g_Opening);
    return g_pfnCreateObjectFromURL(pResolver, pszUrl, dwFlags, pProperties, peType, ppObject);
}

}  // namespace

void FillOpeningGap()
{
    IMFSourceResolver* pResolver = nullptr;
    if (FAILED(MFCreateSourceResolver(&pResolver))) return;
    using test_support::SlotOf;
    ReplaceOperation(pResolver, SlotOf(&IMFSourceResolver::CreateObjectFromURL), &CreateObjectFromURL,
                     &g_pfnCreateObjectFromURL);
    pResolver->Release();
}

}  // namespace windows_bridge
