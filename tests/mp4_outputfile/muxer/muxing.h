// Streams of NALs as the tests write them down, and files that take them.
#pragma once

#include <gtest/gtest.h>

#include "hostapi/hostcore.h"
#include "hostapi/hostplatform.h"
#include "support/bytes.h"
#include "support/growing_array.h"
#include "support/temporary_folder.h"

using test_support::TemporaryFile;

// A new file, opened by the host's library as the module opens it.
inline QmFileHandle Create(const TemporaryFile& file)
{
    QmFileHandle hFile = nullptr;
    EXPECT_EQ(QM_OpenFile(file.Path().wstring().c_str(), QM_FILE_CREATE, QM_SHARE_NONE, -1, &hFile), QM_OK);
    return hFile;
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
