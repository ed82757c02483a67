// The position at which a file is read and written through its buffer.
#include "file_fixture.h"
#include "support/repetitions.h"

#include <algorithm>
#include <cstring>
#include <limits>

TEST_F(File, ReadsNothingPastTheEnd)
{
    WriteBytes(m_folder / "a.bin", BytesOf("0123456789"));
    Open(L"a.bin", QM_FILE_READ);
    EXPECT_EQ(Read(11), Bytes());
    EXPECT_EQ(Read(10), BytesOf("0123456789"));  // a failed read doesn't move the position
    EXPECT_EQ(Read(1), Bytes());
    EXPECT_EQ(Seek(8), QM_OK);
    EXPECT_EQ(Read(3), Bytes());
    EXPECT_EQ(Read(2), BytesOf("89"));
    EXPECT_EQ(Seek(1000000), QM_OK);
    EXPECT_EQ(Read(1), Bytes());
    Bytes large(1000000);
    EXPECT_EQ(Seek(0), QM_OK);
    EXPECT_EQ(QM_ReadFile(m_hFile, large.data(), large.size(), nullptr, nullptr), QM_ERR_FAIL);
    EXPECT_EQ(Read(2), BytesOf("01"));
}

TEST_F(File, SeeksFromTheBeginAndTheEnd)
{
    WriteBytes(m_folder / "a.bin", BytesOf("0123456789"));
    Open(L"a.bin", QM_FILE_READ);
    EXPECT_EQ(Seek(4), QM_OK);
    EXPECT_EQ(Read(1), BytesOf("4"));
    EXPECT_EQ(Seek(-3, QM_SEEK_END), QM_OK);
    EXPECT_EQ(Read(3), BytesOf("789"));
    EXPECT_EQ(Seek(-10, QM_SEEK_END), QM_OK);
    EXPECT_EQ(Read(1), BytesOf("0"));
    EXPECT_EQ(Seek(0, QM_SEEK_END), QM_OK);
    EXPECT_EQ(Read(1), Bytes());
}

TEST_F(File, ASeekOutsideTheRangeFailsAndMovesNothing)
{
    WriteBytes(m_folder / "a.bin", BytesOf("0123456789"));
    Open(L"a.bin", QM_FILE_READ);
    EXPECT_EQ(Seek(5), QM_OK);
    constexpr std::int64_t MIN = std::numeric_limits<std::int64_t>::min();
    constexpr std::int64_t MAX = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(Seek(-1), QM_ERR_FAIL);
    EXPECT_EQ(Seek(MIN), QM_ERR_FAIL);
    EXPECT_EQ(Seek(-11, QM_SEEK_END), QM_ERR_FAIL);
    EXPECT_EQ(Seek(MIN, QM_SEEK_END), QM_ERR_FAIL);
    EXPECT_EQ(Seek(MAX, QM_SEEK_END), QM_ERR_FAIL);
    EXPECT_EQ(Seek(0, 1), QM_ERR_FAIL);  // not an origin of the host
    EXPECT_EQ(Read(1), BytesOf("5"));
    EXPECT_EQ(Seek(MAX), QM_OK);
    EXPECT_EQ(Read(1), Bytes());
}

TEST_F(File, WritesNothingAfterTheLastPosition)
{
    Open(L"a.bin", QM_FILE_CREATE);
    EXPECT_EQ(Seek(std::numeric_limits<std::int64_t>::max() - 2), QM_OK);
    EXPECT_EQ(Write(BytesOf("0123456789")), QM_ERR_FAIL);
    EXPECT_EQ(Size(), 0u);
    EXPECT_EQ(Close(), QM_OK);
}

TEST_F(File, AReadSeesWhatWasWritten)
{
    Open(L"a.bin", QM_FILE_CREATE);
    const Bytes bytes = RandomBytes(200000, 1);
    EXPECT_EQ(Write(bytes), QM_OK);
    EXPECT_EQ(Seek(150000), QM_OK);
    EXPECT_EQ(Write(BytesOf("changed")), QM_OK);
    EXPECT_EQ(Seek(149998), QM_OK);
    const Bytes around = Read(11);
    ASSERT_EQ(around.size(), 11u);
    EXPECT_EQ(Bytes(around.begin(), around.begin() + 2), Bytes(bytes.begin() + 149998, bytes.begin() + 150000));
    EXPECT_EQ(Bytes(around.begin() + 2, around.begin() + 9), BytesOf("changed"));
    EXPECT_EQ(Bytes(around.begin() + 9, around.end()), Bytes(bytes.begin() + 150007, bytes.begin() + 150009));
}

TEST_F(File, TheSizeCountsEveryByteWritten)
{
    Open(L"a.bin", QM_FILE_CREATE);
    EXPECT_EQ(Write(BytesOf("0123456789")), QM_OK);
    EXPECT_EQ(Size(), 10u);
    EXPECT_EQ(Seek(2), QM_OK);
    EXPECT_EQ(Write(BytesOf("ab")), QM_OK);
    EXPECT_EQ(Size(), 10u);
    EXPECT_EQ(Seek(5, QM_SEEK_END), QM_OK);
    EXPECT_EQ(Write(BytesOf("z")), QM_OK);
    EXPECT_EQ(Size(), 16u);
    EXPECT_EQ(Close(), QM_OK);
    EXPECT_EQ(ReadBytes(m_folder / "a.bin"), BytesOf(std::string("01ab456789\0\0\0\0\0z", 16)));
}

TEST_F(File, GapsReadAsZeros)
{
    Open(L"a.bin", QM_FILE_CREATE);
    EXPECT_EQ(Seek(100000), QM_OK);
    EXPECT_EQ(Write(BytesOf("end")), QM_OK);
    EXPECT_EQ(Seek(99990), QM_OK);
    EXPECT_EQ(Read(13), BytesOf(std::string("\0\0\0\0\0\0\0\0\0\0end", 13)));
}

TEST_F(File, PositionsGoBeyondFourGigabytes)
{
    constexpr std::int64_t FAR_POSITION =
        (std::int64_t{1} << 32) + 123456789;  // after a gap, which takes no disk space
    Open(L"a.bin", QM_FILE_CREATE);
    EXPECT_EQ(Write(BytesOf("begin")), QM_OK);
    EXPECT_EQ(Seek(FAR_POSITION), QM_OK);
    EXPECT_EQ(Write(BytesOf("far")), QM_OK);
    EXPECT_EQ(Size(), static_cast<std::uint64_t>(FAR_POSITION) + 3);
    EXPECT_EQ(Close(), QM_OK);

    std::uint64_t uiSize = 0;
    EXPECT_EQ(QM_GetFileSizeFromName(Wide(L"a.bin").c_str(), &uiSize), QM_OK);
    EXPECT_EQ(uiSize, static_cast<std::uint64_t>(FAR_POSITION) + 3);
    EXPECT_EQ(std::filesystem::file_size(m_folder / "a.bin"), uiSize);

    Open(L"a.bin", QM_FILE_READ);
    EXPECT_EQ(Seek(FAR_POSITION - 2), QM_OK);
    EXPECT_EQ(Read(5), BytesOf(std::string("\0\0far", 5)));
    EXPECT_EQ(Seek(FAR_POSITION % (std::int64_t{1} << 32)), QM_OK);  // the position that 32 bits would give
    EXPECT_EQ(Read(3), Bytes(3));
    EXPECT_EQ(Seek(-3, QM_SEEK_END), QM_OK);
    EXPECT_EQ(Read(3), BytesOf("far"));
    EXPECT_EQ(Seek(0), QM_OK);
    EXPECT_EQ(Read(5), BytesOf("begin"));
}

TEST_F(File, BehavesLikeAnArrayOfBytes)
{
    constexpr unsigned int SEED = 20240501;
    std::mt19937 random(SEED);
    const auto below = [&random](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    // Sizes and positions below and above the size of any buffer.
    const auto anySize = [&] {
        constexpr std::size_t NEAR[] = {4095, 4096, 4097, 65535, 65536, 65537, 131072};
        switch (below(8))
        {
        case 0:
            return NEAR[below(std::size(NEAR))];
        case 1:
            return below(200000);
        default:
            return below(40);
        }
    };

    Open(L"a.bin", QM_FILE_CREATE);
    Bytes model;
    std::size_t uiPosition = 0;
    for (int nStep = 0; nStep < test_support::FullFromAQuarter(6000); ++nStep)
    {
        SCOPED_TRACE(testing::Message() << "seed " << SEED << ", step " << nStep);
        const std::size_t uiSize = anySize();
        switch (below(8))
        {
        case 0:
            uiPosition = below(model.size() + 1);
            ASSERT_EQ(Seek(static_cast<std::int64_t>(uiPosition)), QM_OK);
            break;
        case 1:
            uiPosition = std::min<std::size_t>(uiPosition + below(5000), 2000000);
            ASSERT_EQ(Seek(static_cast<std::int64_t>(uiPosition)), QM_OK);
            break;
        case 2:
            uiPosition -= std::min(uiPosition, below(5000));
            ASSERT_EQ(Seek(static_cast<std::int64_t>(uiPosition)), QM_OK);
            break;
        case 3: {
            const std::size_t uiFromEnd = below(std::min<std::size_t>(model.size(), 70000) + 1);
            uiPosition = model.size() - uiFromEnd;
            ASSERT_EQ(Seek(-static_cast<std::int64_t>(uiFromEnd), QM_SEEK_END), QM_OK);
            break;
        }
        case 4:
        case 5: {
            const Bytes bytes = RandomBytes(uiSize, random());
            if (uiPosition + uiSize > 2000000) break;
            ASSERT_EQ(Write(bytes), QM_OK);
            if (uiSize == 0) break;
            model.resize(std::max(model.size(), uiPosition + uiSize));
            std::copy(bytes.begin(), bytes.end(), model.begin() + static_cast<std::ptrdiff_t>(uiPosition));
            uiPosition += uiSize;
            break;
        }
        default: {
            Bytes bytes(uiSize);
            const QmStatus nStatus = QM_ReadFile(m_hFile, bytes.data(), uiSize, nullptr, nullptr);
            if (uiSize != 0 && uiPosition + uiSize > model.size())
            {
                ASSERT_EQ(nStatus, QM_ERR_FAIL);
                break;
            }
            ASSERT_EQ(nStatus, QM_OK);
            ASSERT_TRUE(
                std::equal(bytes.begin(), bytes.end(), model.begin() + static_cast<std::ptrdiff_t>(uiPosition)));
            uiPosition += uiSize;
        }
        }
        ASSERT_EQ(Size(), model.size());
    }
    EXPECT_EQ(Close(), QM_OK);
    EXPECT_EQ(ReadBytes(m_folder / "a.bin"), model);
}

TEST_F(File, ManyPatchesOfAStreamAreAllWritten)
{
    // As a muxed file is finished: a seek and four bytes for each unit, then the size near the beginning, then more
    // bytes at the end.
    Open(L"a.bin", QM_FILE_CREATE);
    Bytes model = RandomBytes(300000, 2);
    for (std::size_t i = 0; i < model.size(); i += 1000)
    {
        ASSERT_EQ(QM_WriteFile(m_hFile, model.data() + i, 1000, nullptr, nullptr), QM_OK);
    }
    for (std::size_t i = 48; i + 4 < model.size(); i += 777)
    {
        const Bytes patch = RandomBytes(4, static_cast<unsigned int>(i));
        ASSERT_EQ(Seek(static_cast<std::int64_t>(i)), QM_OK);
        ASSERT_EQ(Write(patch), QM_OK);
        std::copy(patch.begin(), patch.end(), model.begin() + static_cast<std::ptrdiff_t>(i));
    }
    ASSERT_EQ(Seek(40), QM_OK);
    ASSERT_EQ(Write(BytesOf("size")), QM_OK);
    std::memcpy(model.data() + 40, "size", 4);
    ASSERT_EQ(Seek(0, QM_SEEK_END), QM_OK);
    ASSERT_EQ(Write(BytesOf("tail")), QM_OK);
    for (const char ch : std::string("tail"))
        model.push_back(static_cast<unsigned char>(ch));
    EXPECT_EQ(Close(), QM_OK);
    EXPECT_EQ(ReadBytes(m_folder / "a.bin"), model);
}

#if !defined(_WIN32)  // where a file that is written can't be opened by others

// A writer that ends without closing its file leaves what it has written.
TEST_F(File, EveryWriteIsWithTheSystemWhenItReturns)
{
    Open(L"a.bin", QM_FILE_CREATE);
    Bytes model;
    for (const std::size_t uiSize : {32, 4, 4, 1, 100, 65535, 65536, 65537, 3, 200000})
    {
        const Bytes bytes = RandomBytes(uiSize, static_cast<unsigned int>(uiSize));
        EXPECT_EQ(Write(bytes), QM_OK);
        model.insert(model.end(), bytes.begin(), bytes.end());
        EXPECT_EQ(ReadBytes(m_folder / "a.bin"), model);
    }
    for (const std::size_t uiPlace : {std::size_t{48}, std::size_t{70000}, std::size_t{40}, model.size() - 2})
    {
        EXPECT_EQ(Seek(static_cast<std::int64_t>(uiPlace)), QM_OK);
        EXPECT_EQ(Write(BytesOf("size")), QM_OK);
        model.resize(std::max(model.size(), uiPlace + 4));
        std::memcpy(model.data() + uiPlace, "size", 4);
        EXPECT_EQ(ReadBytes(m_folder / "a.bin"), model);
    }
}

#endif
