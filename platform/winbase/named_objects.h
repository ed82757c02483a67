// The names of events, mutexes and semaphores: one name space for all three, as long as somebody holds the object.
#pragma once

#include <functional>
#include <memory>

#include "platform/winbase/handle_table.h"

namespace winbase
{

// A new handle to the object of that name, or to a new one from `make`. The last error is ERROR_ALREADY_EXISTS if it
// was there, else ERROR_SUCCESS. Null with ERROR_INVALID_HANDLE if the name belongs to an object of another kind. A
// null or empty name makes an object without one.
template <typename Kind>
HANDLE CreateNamed(LPCWSTR lpName, const std::function<std::shared_ptr<Kind>()>& make);

// A new handle to an object that exists; null with ERROR_FILE_NOT_FOUND, or ERROR_INVALID_HANDLE as above.
template <typename Kind>
HANDLE OpenNamed(LPCWSTR lpName);

// What the templates call. Finds the object or registers a new one; *pbExisted reports which.
std::shared_ptr<Waitable> FindOrRegister(LPCWSTR lpName, const std::function<std::shared_ptr<Waitable>()>& make,
                                         bool* pbExisted);
std::shared_ptr<Waitable> FindRegistered(LPCWSTR lpName);

template <typename Kind>
HANDLE OpenHandleAs(const std::shared_ptr<Waitable>& pObject)
{
    if (!std::dynamic_pointer_cast<Kind>(pObject))
    {
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    return OpenHandle(pObject);
}

template <typename Kind>
HANDLE CreateNamed(LPCWSTR lpName, const std::function<std::shared_ptr<Kind>()>& make)
{
    return WithoutExceptions<HANDLE>(nullptr, [&] {
        bool bExisted = false;
        const HANDLE hObject = OpenHandleAs<Kind>(FindOrRegister(lpName, make, &bExisted));
        if (hObject)
        {
            SetLastError(bExisted ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
        }
        return hObject;
    });
}

template <typename Kind>
HANDLE OpenNamed(LPCWSTR lpName)
{
    return WithoutExceptions<HANDLE>(nullptr, [&]() -> HANDLE {
        const auto pObject = FindRegistered(lpName);
        if (!pObject)
        {
            SetLastError(ERROR_FILE_NOT_FOUND);
            return nullptr;
        }
        return OpenHandleAs<Kind>(pObject);
    });
}

}  // namespace winbase
