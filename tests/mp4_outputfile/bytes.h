// Bytes as the tests write them down.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "hostapi/hostcore.h"
#include "mp4_outputfile/growingarray.h"

using Bytes = std::vector<std::uint8_t>;

// All parts one behind the other.
inline Bytes Join(std::initializer_list<Bytes> parts)
{
    Bytes vAll;
    for (const Bytes& part : parts)
    {
        vAll.insert(vAll.end(), part.begin(), part.end());
    }
    return vAll;
}

// A NAL of uiSize bytes that begins with bType and holds no start code.
inline Bytes Nal(std::uint8_t bType, std::size_t uiSize)
{
    Bytes vNal(uiSize, 0xAB);
    vNal[0] = bType;
    return vNal;
}

inline const Bytes g_vStart3 = {0, 0, 1};
inline const Bytes g_vStart4 = {0, 0, 0, 1};

inline std::uint32_t Number32(const std::uint8_t* p)
{
    return static_cast<std::uint32_t>(p[0]) * 16777216U + static_cast<std::uint32_t>(p[1]) * 65536U +
           static_cast<std::uint32_t>(p[2]) * 256U + p[3];
}

inline Bytes Bytes32(std::uint32_t uiValue)
{
    return {static_cast<std::uint8_t>(uiValue / 16777216U), static_cast<std::uint8_t>(uiValue / 65536U % 256U),
            static_cast<std::uint8_t>(uiValue / 256U % 256U), static_cast<std::uint8_t>(uiValue % 256U)};
}

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
