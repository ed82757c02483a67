// Streams of NALs as the tests write them down.
#pragma once

#include "hostapi/hostcore.h"
#include "support/bytes.h"
#include "support/growing_array.h"
#include "support/temporary_folder.h"

using test_support::TemporaryFile;

// Its path as the module takes it.
inline CQmStringW WidePath(const TemporaryFile& file)
{
    return CQmStringW(file.Path().wstring().c_str());
}

// A NAL of uiSize bytes that begins with bType and holds no start code.
inline Bytes Nal(std::uint8_t bType, std::size_t uiSize)
{
    Bytes vNal(uiSize, 0xAB);
    vNal[0] = bType;
    return vNal;
}

// A NAL after its length.
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
