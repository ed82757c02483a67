// The Windows Imaging Component, as the readers and writers of image files use it.
#pragma once

#include <windows.h>

#include <objbase.h>
#include <wincodec.h>

namespace qmhost
{

// One reference on a COM object.
template <class TInterface>
class ComReference
{
public:
    ComReference() = default;
    ~ComReference()
    {
        if (m_p) m_p->Release();
    }
    ComReference(const ComReference&) = delete;
    ComReference& operator=(const ComReference&) = delete;

    TInterface* operator->() const { return m_p; }
    TInterface* Get() const { return m_p; }
    // For a call that stores a reference; one that is held is given back before.
    TInterface** Out()
    {
        if (m_p) m_p->Release();
        m_p = nullptr;
        return &m_p;
    }

private:
    TInterface* m_p = nullptr;
};

// Throws std::runtime_error "CALL gave 0x80004005".
void CheckWic(HRESULT hr, const char* pszCall);

// Starts COM on this thread, for as long as the thread lives, and makes a factory.
void MakeWicFactory(ComReference<IWICImagingFactory>& factory);

}  // namespace qmhost
