#include "parts/wic.h"

#include <cstdio>
#include <stdexcept>
#include <string>

namespace qmhost
{
namespace
{

// Another apartment, chosen by other code of the thread, serves too.
void NeedCom()
{
    struct Apartment
    {
        HRESULT m_hr = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        ~Apartment()
        {
            if (SUCCEEDED(m_hr)) CoUninitialize();
        }
    };
    thread_local const Apartment apartment;
    if (apartment.m_hr != RPC_E_CHANGED_MODE) CheckWic(apartment.m_hr, "CoInitializeEx");
}

}  // namespace

void CheckWic(HRESULT hr, const char* pszCall)
{
    if (SUCCEEDED(hr)) return;
    char acCode[16];
    std::snprintf(acCode, sizeof acCode, "0x%08lX", static_cast<unsigned long>(hr));
    throw std::runtime_error(std::string(pszCall) + " gave " + acCode);
}

void MakeWicFactory(ComReference<IWICImagingFactory>& factory)
{
    NeedCom();
    CheckWic(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                              reinterpret_cast<void**>(factory.Out())),
             "CoCreateInstance(WICImagingFactory)");
}

}  // namespace qmhost
