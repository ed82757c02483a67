#pragma once

#include <memory>

// Releases the object of an interface pointer, if there is one, and sets the pointer to null.
template <typename T>
void SafeRelease(T** ppInterface)
{
    if (*ppInterface != nullptr) (*ppInterface)->Release();
    *ppInterface = nullptr;
}

// One reference on an object, released at the end of the scope.
struct SReleaseOwned
{
    template <typename T>
    void operator()(T* pInterface) const
    {
        pInterface->Release();
    }
};
template <typename T>
using COwned = std::unique_ptr<T, SReleaseOwned>;
