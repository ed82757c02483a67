#pragma once

// Releases what an interface pointer holds, if anything, and clears it.
template <typename T>
void SafeRelease(T** ppInterface)
{
    if (*ppInterface != nullptr) (*ppInterface)->Release();
    *ppInterface = nullptr;
}
