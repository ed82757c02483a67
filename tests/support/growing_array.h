// The module's growing array to and from a vector.
#pragma once

#include <vector>

#include "common/growingarray.h"

template <class T>
CGrowingArray<T> ToGrowingArray(const std::vector<T>& v)
{
    CGrowingArray<T> array;
    for (const T& value : v)
    {
        array.push_back(value);
    }
    return array;
}

template <class T>
std::vector<T> ToVector(const CGrowingArray<T>& array)
{
    std::vector<T> v;
    for (std::size_t ui = 0; ui < array.size(); ++ui)
    {
        v.push_back(array[ui]);
    }
    return v;
}
