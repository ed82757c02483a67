#include "hostapi/hostplatform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "tests/host/tempfolder.h"

#if !defined(_WIN32)
#include <sys/stat.h>
#endif

namespace
{

class File : public testing::Test
{
protected:
    ~File() override
    {
        if (m_hFile != nullptr) QM_CloseFile(m_hFile);
    }

    void Open(const std::wstring& strName, int nMode)
    {
        const int nShare = nMode == QM_FILE_READ ? QM_SHARE_READ : QM_SHARE_NONE;
        ASSERT_EQ(QM_OpenFile((m_folder / strName).c_str(), nMode, nShare, -1, &m_hFile), QM_OK);
        ASSERT_NE(m_hFile, nullptr);
    }

    QmStatus Close()
    {
        const QmStatus nStatus = QM_CloseFile(m_hFile);
        m_hFile = nullptr;
        return nStatus;
    }

    QmStatus Write(const CBytes& bytes) { return QM_WriteFile(m_hFile, bytes.data(), bytes.size(), nullptr, nullptr); }

    // The next uiBytes, or nothing.
    CBytes Read(std::size_t uiBytes)
    {
        CBytes bytes(uiBytes);
        if (QM_ReadFile(m_hFile, bytes.data(), uiBytes, nullptr, nullptr) != QM_OK) bytes.clear();
        return bytes;
    }

    QmStatus Seek(std::int64_t nOffset, int nOrigin = QM_SEEK_BEGIN) { return QM_SeekFile(m_hFile, nOffset, nOrigin); }

    std::uint64_t Size()
    {
        std::uint64_t uiSize = 0xDEAD;
        EXPECT_EQ(QM_GetFileSize(m_hFile, &uiSize), QM_OK);
        return uiSize;
    }

    CTempFolder m_folder;
    QmFileHandle m_hFile = nullptr;
};

// Something that isn't null, to see it become null.
QmFileHandle AnyHandle()
{
    static char chAny;
    return reinterpret_cast<QmFileHandle>(&chAny);
}

CBytes BytesOf(const std::string& strText)
{
    return CBytes(strText.begin(), strText.end());
}

}  // namespace

TEST_F(File, IsWrittenAndReadBack)
{
    Open(L"a.bin", QM_FILE_CREATE);
    EXPECT_EQ(Write(BytesOf("hello")), QM_OK);
    EXPECT_EQ(Write(BytesOf(" world")), QM_OK);
    EXPECT_EQ(Close(), QM_OK);
    EXPECT_EQ(Slurp(m_folder.Path() / "a.bin"), BytesOf("hello world"));

    Open(L"a.bin", QM_FILE_READ);
    EXPECT_EQ(Read(5), BytesOf("hello"));
    EXPECT_EQ(Read(6), BytesOf(" world"));
    EXPECT_EQ(Size(), 11u);
}

TEST_F(File, CreatingEmptiesAnExistingOne)
{
    Spill(m_folder.Path() / "a.bin", BytesOf("something longer"));
    Open(L"a.bin", QM_FILE_CREATE);
    EXPECT_EQ(Size(), 0u);
    EXPECT_EQ(Write(BytesOf("x")), QM_OK);
    EXPECT_EQ(Close(), QM_OK);
    EXPECT_EQ(Slurp(m_folder.Path() / "a.bin"), BytesOf("x"));
}

TEST_F(File, OpenedForReadingCanNotBeWritten)
{
    Spill(m_folder.Path() / "a.bin", BytesOf("abc"));
    Open(L"a.bin", QM_FILE_READ);
    EXPECT_EQ(Write(BytesOf("x")), QM_ERR_FAIL);
    EXPECT_EQ(Read(3), BytesOf("abc"));
    EXPECT_EQ(Close(), QM_OK);
    EXPECT_EQ(Slurp(m_folder.Path() / "a.bin"), BytesOf("abc"));
}

TEST_F(File, WhatCanNotBeOpenedLeavesANullHandle)
{
    Spill(m_folder.Path() / "file", BytesOf("abc"));
    const auto expectRefused = [](const wchar_t* pwszPath, int nMode) {
        QmFileHandle hFile = AnyHandle();
        EXPECT_EQ(QM_OpenFile(pwszPath, nMode, QM_SHARE_READ, -1, &hFile), QM_ERR_FILEOPEN);
        EXPECT_EQ(hFile, nullptr);
    };
    for (const int nMode : {QM_FILE_READ, QM_FILE_CREATE})
    {
        expectRefused(m_folder.Path().wstring().c_str(), nMode);        // a directory
        expectRefused((m_folder / L"no folder/a.bin").c_str(), nMode);  // a missing one on the way
        expectRefused((m_folder / L"file/a.bin").c_str(), nMode);       // a file on the way
        expectRefused(L"", nMode);
        expectRefused(nullptr, nMode);
    }
    expectRefused((m_folder / L"missing.bin").c_str(), QM_FILE_READ);
    expectRefused((m_folder / L"file").c_str(), 2);  // no mode of the host's
    EXPECT_EQ(m_folder.Names(), std::set<std::string>{"file"});
}

TEST_F(File, NullsAreFailures)
{
    unsigned char uiByte = 0;
    std::uint64_t uiSize = 0;
    std::tm time = {};
    EXPECT_EQ(QM_OpenFile((m_folder / L"a.bin").c_str(), QM_FILE_CREATE, QM_SHARE_NONE, -1, nullptr), QM_ERR_FAIL);
    EXPECT_EQ(QM_ReadFile(nullptr, &uiByte, 1, nullptr, nullptr), QM_ERR_FAIL);
    EXPECT_EQ(QM_WriteFile(nullptr, &uiByte, 1, nullptr, nullptr), QM_ERR_FAIL);
    EXPECT_EQ(QM_SeekFile(nullptr, 0, QM_SEEK_BEGIN), QM_ERR_FAIL);
    EXPECT_EQ(QM_GetFileSize(nullptr, &uiSize), QM_ERR_FAIL);
    EXPECT_EQ(QM_GetFileTimes(nullptr, nullptr, nullptr, &time), QM_ERR_FAIL);
    EXPECT_EQ(QM_CloseFile(nullptr), QM_ERR_FAIL);

    Open(L"a.bin", QM_FILE_CREATE);
    EXPECT_EQ(Write(BytesOf("abc")), QM_OK);
    EXPECT_EQ(QM_WriteFile(m_hFile, nullptr, 1, nullptr, nullptr), QM_ERR_FAIL);
    EXPECT_EQ(Seek(0), QM_OK);
    EXPECT_EQ(QM_ReadFile(m_hFile, nullptr, 1, nullptr, nullptr), QM_ERR_FAIL);
    EXPECT_EQ(QM_GetFileSize(m_hFile, nullptr), QM_ERR_FAIL);
    EXPECT_EQ(Read(3), BytesOf("abc"));
}

TEST_F(File, NoBytesAreReadAndWrittenAnywhere)
{
    Open(L"a.bin", QM_FILE_CREATE);
    EXPECT_EQ(QM_WriteFile(m_hFile, nullptr, 0, nullptr, nullptr), QM_OK);
    EXPECT_EQ(Seek(100), QM_OK);
    EXPECT_EQ(QM_WriteFile(m_hFile, nullptr, 0, nullptr, nullptr), QM_OK);
    EXPECT_EQ(QM_ReadFile(m_hFile, nullptr, 0, nullptr, nullptr), QM_OK);
    EXPECT_EQ(Size(), 0u);
    EXPECT_EQ(Close(), QM_OK);
    EXPECT_EQ(Slurp(m_folder.Path() / "a.bin").size(), 0u);
}

TEST_F(File, PathsAreUnicode)
{
    // The same name twice, as wide text for the host and as UTF-8 for the system.
    Open(L"\u00e4\u65e5\U0001F600.bin", QM_FILE_CREATE);
    EXPECT_EQ(Write(BytesOf("abc")), QM_OK);
    EXPECT_EQ(Close(), QM_OK);
    EXPECT_EQ(Slurp(m_folder.Path() / std::filesystem::path(u8"\u00e4\u65e5\U0001F600.bin")), BytesOf("abc"));
    Open(L"\u00e4\u65e5\U0001F600.bin", QM_FILE_READ);
    EXPECT_EQ(Read(3), BytesOf("abc"));
}

TEST_F(File, ReadsNothingPastTheEnd)
{
    Spill(m_folder.Path() / "a.bin", BytesOf("0123456789"));
    Open(L"a.bin", QM_FILE_READ);
    EXPECT_EQ(Read(11), CBytes());
    EXPECT_EQ(Read(10), BytesOf("0123456789"));  // a read that failed moved nothing
    EXPECT_EQ(Read(1), CBytes());
    EXPECT_EQ(Seek(8), QM_OK);
    EXPECT_EQ(Read(3), CBytes());
    EXPECT_EQ(Read(2), BytesOf("89"));
    EXPECT_EQ(Seek(1000000), QM_OK);
    EXPECT_EQ(Read(1), CBytes());
    CBytes large(1000000);
    EXPECT_EQ(Seek(0), QM_OK);
    EXPECT_EQ(QM_ReadFile(m_hFile, large.data(), large.size(), nullptr, nullptr), QM_ERR_FAIL);
    EXPECT_EQ(Read(2), BytesOf("01"));
}

TEST_F(File, SeeksFromTheBeginAndTheEnd)
{
    Spill(m_folder.Path() / "a.bin", BytesOf("0123456789"));
    Open(L"a.bin", QM_FILE_READ);
    EXPECT_EQ(Seek(4), QM_OK);
    EXPECT_EQ(Read(1), BytesOf("4"));
    EXPECT_EQ(Seek(-3, QM_SEEK_END), QM_OK);
    EXPECT_EQ(Read(3), BytesOf("789"));
    EXPECT_EQ(Seek(-10, QM_SEEK_END), QM_OK);
    EXPECT_EQ(Read(1), BytesOf("0"));
    EXPECT_EQ(Seek(0, QM_SEEK_END), QM_OK);
    EXPECT_EQ(Read(1), CBytes());
}

TEST_F(File, SeeksThatLeadNowhereMoveNothing)
{
    Spill(m_folder.Path() / "a.bin", BytesOf("0123456789"));
    Open(L"a.bin", QM_FILE_READ);
    EXPECT_EQ(Seek(5), QM_OK);
    constexpr std::int64_t MIN = std::numeric_limits<std::int64_t>::min();
    constexpr std::int64_t MAX = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(Seek(-1), QM_ERR_FAIL);
    EXPECT_EQ(Seek(MIN), QM_ERR_FAIL);
    EXPECT_EQ(Seek(-11, QM_SEEK_END), QM_ERR_FAIL);
    EXPECT_EQ(Seek(MIN, QM_SEEK_END), QM_ERR_FAIL);
    EXPECT_EQ(Seek(MAX, QM_SEEK_END), QM_ERR_FAIL);
    EXPECT_EQ(Seek(0, 1), QM_ERR_FAIL);  // no origin of the host's
    EXPECT_EQ(Read(1), BytesOf("5"));
    EXPECT_EQ(Seek(MAX), QM_OK);
    EXPECT_EQ(Read(1), CBytes());
}

TEST_F(File, TakesNothingBehindTheLastPosition)
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
    const CBytes bytes = RandomBytes(200000, 1);
    EXPECT_EQ(Write(bytes), QM_OK);
    EXPECT_EQ(Seek(150000), QM_OK);
    EXPECT_EQ(Write(BytesOf("changed")), QM_OK);
    EXPECT_EQ(Seek(149998), QM_OK);
    const CBytes around = Read(11);
    ASSERT_EQ(around.size(), 11u);
    EXPECT_EQ(CBytes(around.begin(), around.begin() + 2), CBytes(bytes.begin() + 149998, bytes.begin() + 150000));
    EXPECT_EQ(CBytes(around.begin() + 2, around.begin() + 9), BytesOf("changed"));
    EXPECT_EQ(CBytes(around.begin() + 9, around.end()), CBytes(bytes.begin() + 150007, bytes.begin() + 150009));
}

TEST_F(File, TheSizeCountsWhatIsStillInTheBuffer)
{
    Open(L"a.bin", QM_FILE_CREATE);
    EXPECT_EQ(Write(BytesOf("0123456789")), QM_OK);
    EXPECT_EQ(Size(), 10u);
    EXPECT_EQ(Seek(2), QM_OK);
    EXPECT_EQ(Write(BytesOf("ab")), QM_OK);
    EXPECT_EQ(Size(), 10u);
    EXPECT_EQ(Seek(5, QM_SEEK_END), QM_OK);  // the end that the writer knows
    EXPECT_EQ(Write(BytesOf("z")), QM_OK);
    EXPECT_EQ(Size(), 16u);
    EXPECT_EQ(Close(), QM_OK);
    EXPECT_EQ(Slurp(m_folder.Path() / "a.bin"), BytesOf(std::string("01ab456789\0\0\0\0\0z", 16)));
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
    constexpr std::int64_t FAR_POSITION = (std::int64_t{1} << 32) + 123456789;  // nothing is stored in the gap before
    Open(L"a.bin", QM_FILE_CREATE);
    EXPECT_EQ(Write(BytesOf("begin")), QM_OK);
    EXPECT_EQ(Seek(FAR_POSITION), QM_OK);
    EXPECT_EQ(Write(BytesOf("far")), QM_OK);
    EXPECT_EQ(Size(), static_cast<std::uint64_t>(FAR_POSITION) + 3);
    EXPECT_EQ(Close(), QM_OK);

    std::uint64_t uiSize = 0;
    EXPECT_EQ(QM_GetFileSizeFromName((m_folder / L"a.bin").c_str(), &uiSize), QM_OK);
    EXPECT_EQ(uiSize, static_cast<std::uint64_t>(FAR_POSITION) + 3);
    EXPECT_EQ(std::filesystem::file_size(m_folder.Path() / "a.bin"), uiSize);

    Open(L"a.bin", QM_FILE_READ);
    EXPECT_EQ(Seek(FAR_POSITION - 2), QM_OK);
    EXPECT_EQ(Read(5), BytesOf(std::string("\0\0far", 5)));
    EXPECT_EQ(Seek(FAR_POSITION % (std::int64_t{1} << 32)), QM_OK);  // where 32 bits would have put it
    EXPECT_EQ(Read(3), CBytes(3));
    EXPECT_EQ(Seek(-3, QM_SEEK_END), QM_OK);
    EXPECT_EQ(Read(3), BytesOf("far"));
    EXPECT_EQ(Seek(0), QM_OK);
    EXPECT_EQ(Read(5), BytesOf("begin"));
}

TEST_F(File, BehavesAsAPlainArrayOfBytes)
{
    constexpr unsigned int SEED = 20240501;
    std::mt19937 random(SEED);
    const auto below = [&random](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    // Sizes and positions on either side of anything that a buffer may be.
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
    CBytes model;
    std::size_t uiPosition = 0;
    for (int nStep = 0; nStep < 6000; ++nStep)
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
            const CBytes bytes = RandomBytes(uiSize, random());
            if (uiPosition + uiSize > 2000000) break;
            ASSERT_EQ(Write(bytes), QM_OK);
            if (uiSize == 0) break;
            model.resize(std::max(model.size(), uiPosition + uiSize));
            std::copy(bytes.begin(), bytes.end(), model.begin() + static_cast<std::ptrdiff_t>(uiPosition));
            uiPosition += uiSize;
            break;
        }
        default: {
            CBytes bytes(uiSize);
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
    EXPECT_EQ(Slurp(m_folder.Path() / "a.bin"), model);
}

TEST_F(File, ManyPatchesOverAStreamAllLand)
{
    // How a muxed file is finished: one seek and four bytes for each unit, then the size near the beginning, then more
    // at the end.
    Open(L"a.bin", QM_FILE_CREATE);
    CBytes model = RandomBytes(300000, 2);
    for (std::size_t i = 0; i < model.size(); i += 1000)
    {
        ASSERT_EQ(QM_WriteFile(m_hFile, model.data() + i, 1000, nullptr, nullptr), QM_OK);
    }
    for (std::size_t i = 48; i + 4 < model.size(); i += 777)
    {
        const CBytes patch = RandomBytes(4, static_cast<unsigned int>(i));
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
    EXPECT_EQ(Slurp(m_folder.Path() / "a.bin"), model);
}

TEST_F(File, SharingFollowsTheSystem)
{
    Open(L"a.bin", QM_FILE_CREATE);
    EXPECT_EQ(Write(BytesOf("abc")), QM_OK);
    QmFileHandle hReader = AnyHandle();
    const QmStatus nStatus = QM_OpenFile((m_folder / L"a.bin").c_str(), QM_FILE_READ, QM_SHARE_READ, -1, &hReader);
#if defined(_WIN32)
    EXPECT_EQ(nStatus, QM_ERR_FILEOPEN);
    EXPECT_EQ(hReader, nullptr);
#else
    EXPECT_EQ(nStatus, QM_OK);
    EXPECT_EQ(QM_CloseFile(hReader), QM_OK);
#endif
}

TEST_F(File, TwoReadersShare)
{
    Spill(m_folder.Path() / "a.bin", BytesOf("abc"));
    Open(L"a.bin", QM_FILE_READ);
    QmFileHandle hOther = nullptr;
    ASSERT_EQ(QM_OpenFile((m_folder / L"a.bin").c_str(), QM_FILE_READ, QM_SHARE_READ, -1, &hOther), QM_OK);
    char achText[3];
    EXPECT_EQ(QM_ReadFile(hOther, achText, 3, nullptr, nullptr), QM_OK);
    EXPECT_EQ(Read(3), BytesOf("abc"));
    EXPECT_EQ(QM_CloseFile(hOther), QM_OK);
}

TEST_F(File, TimesAreInUtc)
{
#if !defined(_WIN32)
    setenv("TZ", "Elsewhere+7:30", 1);
    tzset();
#endif
    struct SCase
    {
        std::int64_t m_nSeconds;  // since 1970
        int m_nYear, m_nMonth, m_nDay, m_nHour, m_nMinute, m_nSecond, m_nWeekday, m_nYearday;
    };
    constexpr SCase CASES[] = {{1000000000, 2001, 9, 9, 1, 46, 40, 0, 251},
                               {1078099199, 2004, 2, 29, 23, 59, 59, 0, 59},
                               {1078099200, 2004, 3, 1, 0, 0, 0, 1, 60}};
    for (const SCase& expected : CASES)
    {
        const auto path = m_folder.Path() / "a.bin";
        Spill(path, BytesOf("abc"));
        const std::chrono::sys_seconds time{std::chrono::seconds(expected.m_nSeconds)};
        std::filesystem::last_write_time(path, std::chrono::file_clock::from_sys(time));
        Open(L"a.bin", QM_FILE_READ);
        std::tm created = {};
        std::tm accessed = {};
        std::tm written = {};
        ASSERT_EQ(QM_GetFileTimes(m_hFile, &created, &accessed, &written), QM_OK);
        EXPECT_EQ(written.tm_year, expected.m_nYear - 1900);
        EXPECT_EQ(written.tm_mon, expected.m_nMonth - 1);
        EXPECT_EQ(written.tm_mday, expected.m_nDay);
        EXPECT_EQ(written.tm_hour, expected.m_nHour);
        EXPECT_EQ(written.tm_min, expected.m_nMinute);
        EXPECT_EQ(written.tm_sec, expected.m_nSecond);
        EXPECT_EQ(written.tm_wday, expected.m_nWeekday);
        EXPECT_EQ(written.tm_yday, expected.m_nYearday);
        EXPECT_GE(created.tm_year, 70);
        EXPECT_GE(accessed.tm_year, 70);

        std::tm alone = {};
        EXPECT_EQ(QM_GetFileTimes(m_hFile, nullptr, nullptr, &alone), QM_OK);
        EXPECT_EQ(alone.tm_sec, expected.m_nSecond);
        EXPECT_EQ(QM_GetFileTimes(m_hFile, nullptr, nullptr, nullptr), QM_OK);
        EXPECT_EQ(Close(), QM_OK);
    }
}

#if !defined(_WIN32)

TEST_F(File, ReadersSeeAFileGrow)
{
    std::ofstream writer(m_folder.Path() / "a.bin", std::ios::binary);
    writer << "0123" << std::flush;
    Open(L"a.bin", QM_FILE_READ);
    EXPECT_EQ(Read(4), BytesOf("0123"));
    EXPECT_EQ(Read(1), CBytes());
    writer << "4567" << std::flush;
    EXPECT_EQ(Size(), 8u);
    EXPECT_EQ(Read(4), BytesOf("4567"));
}

TEST_F(File, WideTextThatIsNotUnicodeOpensNothing)
{
    for (const wchar_t wchBad : {wchar_t{0xD800}, wchar_t{0xDFFF}, wchar_t{0x110000}, static_cast<wchar_t>(-1)})
    {
        QmFileHandle hFile = AnyHandle();
        const std::wstring strPath = (m_folder / L"a") + wchBad;
        EXPECT_EQ(QM_OpenFile(strPath.c_str(), QM_FILE_CREATE, QM_SHARE_NONE, -1, &hFile), QM_ERR_FILEOPEN);
        EXPECT_EQ(hFile, nullptr);
    }
    EXPECT_TRUE(m_folder.Names().empty());
}

TEST_F(File, APipeIsRefusedWithoutWaiting)
{
    ASSERT_EQ(mkfifo((m_folder.Path() / "pipe").c_str(), 0600), 0);
    for (const int nMode : {QM_FILE_READ, QM_FILE_CREATE})
    {
        EXPECT_EQ(QM_OpenFile((m_folder / L"pipe").c_str(), nMode, QM_SHARE_READ, -1, &m_hFile), QM_ERR_FILEOPEN);
        EXPECT_EQ(m_hFile, nullptr);
    }
}

class FullDisk : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
        ASSERT_EQ(QM_OpenFile(L"/dev/full", QM_FILE_CREATE, QM_SHARE_NONE, -1, &m_hFile), QM_OK);
    }

    QmStatus Write(std::size_t uiBytes)
    {
        return QM_WriteFile(m_hFile, CBytes(uiBytes).data(), uiBytes, nullptr, nullptr);
    }

    QmFileHandle m_hFile = nullptr;
};

TEST_F(FullDisk, IsReportedAtTheLatestOnClosing)
{
    EXPECT_EQ(Write(100), QM_OK);  // still in the buffer
    EXPECT_EQ(QM_CloseFile(m_hFile), QM_ERR_FAIL);
}

TEST_F(FullDisk, IsReportedWhenTheBufferIsFull)
{
    QmStatus nStatus = QM_OK;
    for (int i = 0; i < 1000 && nStatus == QM_OK; ++i)
        nStatus = Write(1000);
    EXPECT_EQ(nStatus, QM_ERR_FAIL);
    EXPECT_EQ(Write(1), QM_ERR_FAIL);  // the file already lacks bytes
    EXPECT_EQ(QM_CloseFile(m_hFile), QM_ERR_FAIL);
}

TEST_F(FullDisk, IsReportedByALargeWrite)
{
    EXPECT_EQ(Write(1000000), QM_ERR_FAIL);
    EXPECT_EQ(QM_CloseFile(m_hFile), QM_ERR_FAIL);
}

TEST_F(FullDisk, IsReportedByAReadThatHasToSaveFirst)
{
    EXPECT_EQ(Write(100), QM_OK);
    unsigned char auiByte[200];
    EXPECT_EQ(QM_SeekFile(m_hFile, 0, QM_SEEK_BEGIN), QM_OK);
    EXPECT_EQ(QM_ReadFile(m_hFile, auiByte, sizeof(auiByte), nullptr, nullptr), QM_ERR_FAIL);
    EXPECT_EQ(QM_CloseFile(m_hFile), QM_ERR_FAIL);
}

#endif
