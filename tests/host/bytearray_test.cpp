#include "hostapi/hostcore.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>

namespace
{

constexpr EQmByteArrayModeOp REPLACE = EQmByteArrayModeOp::Replace;
constexpr EQmByteArrayModeOp APPEND = EQmByteArrayModeOp::Append;
constexpr EQmByteArrayModeAlloc DEFAULT = EQmByteArrayModeAlloc::Default;

std::string TextOf(const CQmByteArray& bytes)
{
    return bytes.GetSize() == 0 ? std::string()
                                : std::string(reinterpret_cast<const char*>(bytes.GetData(0)), bytes.GetSize());
}

QmStatus SetText(CQmByteArray& bytes, const std::string& strText, EQmByteArrayModeOp eOp)
{
    return bytes.SetData(strText.data(), strText.size(), eOp, DEFAULT);
}

}  // namespace

TEST(ByteArray, StartsEmptyWithoutData)
{
    const CQmByteArray bytes;
    EXPECT_EQ(bytes.GetSize(), 0u);
    EXPECT_EQ(bytes.GetData(0), nullptr);
}

TEST(ByteArray, ReplacesAndAppends)
{
    CQmByteArray bytes;
    EXPECT_EQ(SetText(bytes, "abc", REPLACE), QM_OK);
    EXPECT_EQ(SetText(bytes, "de", APPEND), QM_OK);
    EXPECT_EQ(TextOf(bytes), "abcde");
    EXPECT_EQ(SetText(bytes, "xy", REPLACE), QM_OK);
    EXPECT_EQ(TextOf(bytes), "xy");
}

TEST(ByteArray, HasPositionsUpToOnePastTheLastByte)
{
    CQmByteArray bytes;
    SetText(bytes, "abc", REPLACE);
    EXPECT_EQ(*bytes.GetData(2), 'c');
    EXPECT_EQ(bytes.GetData(3), bytes.GetData(0) + 3);
    EXPECT_EQ(bytes.GetData(4), nullptr);
}

TEST(ByteArray, LengthensWithZerosAndShortens)
{
    CQmByteArray bytes;
    SetText(bytes, "abcdef", REPLACE);
    EXPECT_EQ(bytes.SetSize(2), QM_OK);
    EXPECT_EQ(TextOf(bytes), "ab");
    EXPECT_EQ(bytes.SetSize(5), QM_OK);
    EXPECT_EQ(TextOf(bytes), std::string("ab\0\0\0", 5));
}

TEST(ByteArray, AcceptsNoBytesFromNull)
{
    CQmByteArray bytes;
    SetText(bytes, "abc", REPLACE);
    EXPECT_EQ(bytes.SetData(nullptr, 0, APPEND, DEFAULT), QM_OK);
    EXPECT_EQ(TextOf(bytes), "abc");
    EXPECT_EQ(bytes.SetData(nullptr, 0, REPLACE, DEFAULT), QM_OK);
    EXPECT_EQ(bytes.GetSize(), 0u);
    EXPECT_EQ(bytes.GetData(0), nullptr);
}

TEST(ByteArray, RefusesBytesFromNull)
{
    CQmByteArray bytes;
    SetText(bytes, "abc", REPLACE);
    EXPECT_EQ(bytes.SetData(nullptr, 1, APPEND, DEFAULT), QM_ERR_FAIL);
    EXPECT_EQ(TextOf(bytes), "abc");
}

TEST(ByteArray, AppendsItselfWhileItMoves)
{
    CQmByteArray bytes;
    SetText(bytes, "0123456789", REPLACE);
    std::string strExpected = "0123456789";
    for (int i = 0; i < 12; ++i)
    {
        ASSERT_EQ(bytes.SetData(bytes.GetData(0), bytes.GetSize(), APPEND, DEFAULT), QM_OK);
        strExpected += strExpected;
    }
    EXPECT_EQ(TextOf(bytes), strExpected);
}

TEST(ByteArray, ReplacesItselfByItsOwnTail)
{
    CQmByteArray bytes;
    SetText(bytes, "0123456789", REPLACE);
    EXPECT_EQ(bytes.SetData(bytes.GetData(3), 5, REPLACE, DEFAULT), QM_OK);
    EXPECT_EQ(TextOf(bytes), "34567");
}

TEST(ByteArray, CopiesAreIndependent)
{
    CQmByteArray original;
    SetText(original, "abc", REPLACE);
    CQmByteArray copy(original);
    CQmByteArray assigned;
    assigned = original;
    *original.GetData(0) = 'X';
    EXPECT_EQ(TextOf(copy), "abc");
    EXPECT_EQ(TextOf(assigned), "abc");
    CQmByteArray& self = original;
    original = self;
    EXPECT_EQ(TextOf(original), "Xbc");
}

TEST(ByteArray, IsUnchangedWithoutMemory)
{
    CQmByteArray bytes;
    SetText(bytes, "abc", REPLACE);
    EXPECT_EQ(bytes.SetSize(std::numeric_limits<std::size_t>::max() / 2), QM_ERR_FAIL);
    EXPECT_EQ(TextOf(bytes), "abc");
    // The sum of the sizes wraps. No byte may be read or written then.
    EXPECT_EQ(bytes.SetData("x", std::numeric_limits<std::size_t>::max() - 1, APPEND, DEFAULT), QM_ERR_FAIL);
    EXPECT_EQ(TextOf(bytes), "abc");
}
