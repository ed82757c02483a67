// From C++'s failures to status codes.
#pragma once

#include <new>
#include <system_error>

#include "winerror.h"

namespace mediafoundation
{

// What body gives, or the status of the exception that ended it. No exception gets out to a caller that expects none.
template <typename Body>
HRESULT WithoutExceptions(Body body)
{
    try
    {
        return body();
    }
    catch (const std::bad_alloc&)
    {
        return E_OUTOFMEMORY;
    }
    catch (const std::system_error&)
    {
        return E_OUTOFMEMORY;
    }
    catch (...)
    {
        return E_UNEXPECTED;
    }
}

}  // namespace mediafoundation
