// Streams of NALs as the tests write them down, and what the module holds as plain vectors.
#pragma once

#include <cstdint>
#include <vector>

#include "hostapi/hostcore.h"
#include "common/growingarray.h"
#include "tests/support/bytes.h"

// A NAL of uiSize bytes that begins with bType and holds no start code.
inline Bytes Nal(std::uint8_t bType, std::size_t uiSize)
{
    Bytes vNal(uiSize, 0xAB);
    vNal[0] = bType;
    return vNal;
}

// A NAL behind its length.
inline Bytes Prefixed(const Bytes& vNal)
{
    return Join({Bytes32(static_cast<std::uint32_t>(vNal.size())), vNal});
}

inline const Bytes g_vStart3 = {0, 0, 1};
inline const Bytes g_vStart4 = {0, 0, 0, 1};

inline CQmByteArray ToByteArray(const Bytes& vBytes)
{
    CQmByteArray ba;
    ba.SetData(vBytes.data(), vBytes.size(), EQmByteArrayModeOp::Replace, EQmByteArrayModeAlloc::Default);
    return ba;
}

inline Bytes FromByteArray(const CQmByteArray& ba)
{
    const std::uint8_t* p = ba.GetData(0);
    return {p, p + ba.GetSize()};
}

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
