#pragma once

// Releases the object of an interface pointer, if there is one, and sets the pointer to null.
template <typename T>
void SafeRelease(T** ppInterface)
{
    if (*ppInterface != nullptr) (*ppInterface)->Release();
    *ppInterface = nullptr;
}
