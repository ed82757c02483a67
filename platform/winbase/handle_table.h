// Handles: numbers that stand for objects. A number is never given twice, so a closed handle stays recognisable.
#pragma once

#include <memory>

#include "platform/winbase/last_error.h"
#include "platform/winbase/waitable.h"

namespace winbase
{

// Throws std::bad_alloc.
HANDLE OpenHandle(std::shared_ptr<Waitable> pObject);

// Null for what is no open handle. The pseudo handle of the calling thread counts as open.
std::shared_ptr<Waitable> FindObject(HANDLE hObject);

// The object of a handle if it is of that kind; else null, with ERROR_INVALID_HANDLE as last error.
template <typename Kind>
std::shared_ptr<Kind> FindObjectAs(HANDLE hObject)
{
    auto pObject = std::dynamic_pointer_cast<Kind>(FindObject(hObject));
    if (!pObject)
    {
        SetLastError(ERROR_INVALID_HANDLE);
    }
    return pObject;
}

}  // namespace winbase
