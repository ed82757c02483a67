// From C++'s failures to the caller's last error.
#pragma once

#include <new>
#include <system_error>

#include "winbase.h"

namespace winbase
{

// What body gives; `failed` with ERROR_NOT_ENOUGH_MEMORY as last error if it ran out of memory, threads or locks. No
// exception gets out to a caller that expects none.
template <typename Result, typename Body>
Result WithoutExceptions(Result failed, Body body)
{
    try
    {
        return body();
    }
    catch (const std::bad_alloc&)
    {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
    catch (const std::system_error&)
    {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
    return failed;
}

}  // namespace winbase
