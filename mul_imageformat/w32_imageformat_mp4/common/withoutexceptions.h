// Turns the exceptions of missing memory into a result.
#pragma once

#include <new>
#include <stdexcept>

// Returns what body returns, or `failed` if memory ran out. Other exceptions pass.
template <typename TResult, typename TBody>
TResult WithoutExceptions(TResult failed, TBody body)
{
    try
    {
        return body();
    }
    catch (const std::bad_alloc&)
    {
        return failed;
    }
    catch (const std::length_error&)  // of a container that can't be that long
    {
        return failed;
    }
}
