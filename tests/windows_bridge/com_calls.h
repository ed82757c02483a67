// What tests of gaps need for calls of COM interfaces.
#pragma once

#include <stdexcept>
#include <string>

#include <windows.h>

namespace windows_bridge
{

// A step that has to work: throws std::runtime_error with its name when it failed.
inline void Check(HRESULT hr, const char* pszStep)
{
    if (FAILED(hr)) throw std::runtime_error(std::string(pszStep) + " failed with " + std::to_string(hr));
}

// Sets the pointer to null.
template <typename T>
void Release(T** ppObject)
{
    if (*ppObject != nullptr) (*ppObject)->Release();
    *ppObject = nullptr;
}

}  // namespace windows_bridge
