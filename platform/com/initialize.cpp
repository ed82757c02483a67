#include "objbase.h"

namespace
{

struct Apartment
{
    unsigned uiCount = 0;
    DWORD dwModel = 0;
};
thread_local Apartment t_apartment;

}  // namespace

HRESULT STDAPICALLTYPE CoInitializeEx(LPVOID pReserved, DWORD dwModel)
{
    if (pReserved)
    {
        return E_INVALIDARG;
    }
    const DWORD dwThreading = dwModel & COINIT_APARTMENTTHREADED;
    if (t_apartment.uiCount > 0 && t_apartment.dwModel != dwThreading)
    {
        return RPC_E_CHANGED_MODE;
    }
    t_apartment.dwModel = dwThreading;
    return t_apartment.uiCount++ == 0 ? S_OK : S_FALSE;
}

HRESULT STDAPICALLTYPE CoInitialize(LPVOID pReserved)
{
    return CoInitializeEx(pReserved, COINIT_APARTMENTTHREADED);
}

void STDAPICALLTYPE CoUninitialize()
{
    if (t_apartment.uiCount > 0)
    {
        --t_apartment.uiCount;
    }
}
