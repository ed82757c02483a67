// Opening, sharing, names and times of files.
#include "file_fixture.h"

#include <chrono>
#include <cstdlib>
#include <fstream>

#if !defined(_WIN32)
#include <sys/stat.h>
#endif

TEST_F(File, IsWrittenAndReadBack)
{
    Open(L"a.bin", QM_FILE_CREATE);
    EXPECT_EQ(Write(BytesOf("hello")), QM_OK);
    EXPECT_EQ(Write(BytesOf(" world")), QM_OK);
    EXPECT_EQ(Close(), QM_OK);
    EXPECT_EQ(ReadBytes(m_folder / "a.bin"), BytesOf("hello world"));

    Open(L"a.bin", QM_FILE_READ);
    EXPECT_EQ(Read(5), BytesOf("hello"));
    EXPECT_EQ(Read(6), BytesOf(" world"));
    EXPECT_EQ(Size(), 11u);
}

TEST_F(File, CreatingEmptiesAnExistingOne)
{
    WriteBytes(m_folder / "a.bin", BytesOf("something longer"));
    Open(L"a.bin", QM_FILE_CREATE);
    EXPECT_EQ(Size(), 0u);
    EXPECT_EQ(Write(BytesOf("x")), QM_OK);
    EXPECT_EQ(Close(), QM_OK);
    EXPECT_EQ(ReadBytes(m_folder / "a.bin"), BytesOf("x"));
}

TEST_F(File, OpenedForReadingCanNotBeWritten)
{
    WriteBytes(m_folder / "a.bin", BytesOf("abc"));
    Open(L"a.bin", QM_FILE_READ);
    EXPECT_EQ(Write(BytesOf("x")), QM_ERR_FAIL);
    EXPECT_EQ(Read(3), BytesOf("abc"));
    EXPECT_EQ(Close(), QM_OK);
    EXPECT_EQ(ReadBytes(m_folder / "a.bin"), BytesOf("abc"));
}

TEST_F(File, WhatCanNotBeOpenedLeavesANullHandle)
{
    WriteBytes(m_folder / "file", BytesOf("abc"));
    const auto expectRefused = [](const wchar_t* pwszPath, int nMode) {
        QmFileHandle hFile = AnyHandle();
        EXPECT_EQ(QM_OpenFile(pwszPath, nMode, QM_SHARE_READ, -1, &hFile), QM_ERR_FILEOPEN);
        EXPECT_EQ(hFile, nullptr);
    };
    for (const int nMode : {QM_FILE_READ, QM_FILE_CREATE})
    {
        expectRefused(m_folder.Path().wstring().c_str(), nMode);  // a directory
        expectRefused(Wide(L"no folder/a.bin").c_str(), nMode);   // a missing folder in the path
        expectRefused(Wide(L"file/a.bin").c_str(), nMode);        // a file in the path
        expectRefused(L"", nMode);
        expectRefused(nullptr, nMode);
    }
    expectRefused(Wide(L"missing.bin").c_str(), QM_FILE_READ);
    expectRefused(Wide(L"file").c_str(), 2);  // not a mode of the host
    EXPECT_EQ(m_folder.Names(), std::set<std::string>{"file"});
}

TEST_F(File, NullsAreFailures)
{
    unsigned char uiByte = 0;
    std::uint64_t uiSize = 0;
    std::tm time = {};
    EXPECT_EQ(QM_OpenFile(Wide(L"a.bin").c_str(), QM_FILE_CREATE, QM_SHARE_NONE, -1, nullptr), QM_ERR_FAIL);
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

TEST_F(File, ATransferOfNoBytesWorksAtAnyPosition)
{
    Open(L"a.bin", QM_FILE_CREATE);
    EXPECT_EQ(QM_WriteFile(m_hFile, nullptr, 0, nullptr, nullptr), QM_OK);
    EXPECT_EQ(Seek(100), QM_OK);
    EXPECT_EQ(QM_WriteFile(m_hFile, nullptr, 0, nullptr, nullptr), QM_OK);
    EXPECT_EQ(QM_ReadFile(m_hFile, nullptr, 0, nullptr, nullptr), QM_OK);
    EXPECT_EQ(Size(), 0u);
    EXPECT_EQ(Close(), QM_OK);
    EXPECT_EQ(ReadBytes(m_folder / "a.bin").size(), 0u);
}

TEST_F(File, PathsAreUnicode)
{
    // The same name twice, as wide text for the host and as UTF-8 for the system.
    Open(L"\u00e4\u65e5\U0001F600.bin", QM_FILE_CREATE);
    EXPECT_EQ(Write(BytesOf("abc")), QM_OK);
    EXPECT_EQ(Close(), QM_OK);
    EXPECT_EQ(ReadBytes(m_folder / std::filesystem::path(u8"\u00e4\u65e5\U0001F600.bin")), BytesOf("abc"));
    Open(L"\u00e4\u65e5\U0001F600.bin", QM_FILE_READ);
    EXPECT_EQ(Read(3), BytesOf("abc"));
}

TEST_F(File, SharingFollowsTheSystem)
{
    Open(L"a.bin", QM_FILE_CREATE);
    EXPECT_EQ(Write(BytesOf("abc")), QM_OK);
    QmFileHandle hReader = AnyHandle();
    const QmStatus nStatus = QM_OpenFile(Wide(L"a.bin").c_str(), QM_FILE_READ, QM_SHARE_READ, -1, &hReader);
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
    WriteBytes(m_folder / "a.bin", BytesOf("abc"));
    Open(L"a.bin", QM_FILE_READ);
    QmFileHandle hOther = nullptr;
    ASSERT_EQ(QM_OpenFile(Wide(L"a.bin").c_str(), QM_FILE_READ, QM_SHARE_READ, -1, &hOther), QM_OK);
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
        const auto path = m_folder / "a.bin";
        WriteBytes(path, BytesOf("abc"));
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
    std::ofstream writer(m_folder / "a.bin", std::ios::binary);
    writer << "0123" << std::flush;
    Open(L"a.bin", QM_FILE_READ);
    EXPECT_EQ(Read(4), BytesOf("0123"));
    EXPECT_EQ(Read(1), Bytes());
    writer << "4567" << std::flush;
    EXPECT_EQ(Size(), 8u);
    EXPECT_EQ(Read(4), BytesOf("4567"));
}

TEST_F(File, WideTextThatIsNotUnicodeOpensNothing)
{
    for (const wchar_t wchBad : {wchar_t{0xD800}, wchar_t{0xDFFF}, wchar_t{0x110000}, static_cast<wchar_t>(-1)})
    {
        QmFileHandle hFile = AnyHandle();
        const std::wstring strPath = Wide(L"a") + wchBad;
        EXPECT_EQ(QM_OpenFile(strPath.c_str(), QM_FILE_CREATE, QM_SHARE_NONE, -1, &hFile), QM_ERR_FILEOPEN);
        EXPECT_EQ(hFile, nullptr);
    }
    EXPECT_TRUE(m_folder.Names().empty());
}

TEST_F(File, APipeIsRefusedWithoutWaiting)
{
    ASSERT_EQ(mkfifo((m_folder / "pipe").c_str(), 0600), 0);
    for (const int nMode : {QM_FILE_READ, QM_FILE_CREATE})
    {
        EXPECT_EQ(QM_OpenFile(Wide(L"pipe").c_str(), nMode, QM_SHARE_READ, -1, &m_hFile), QM_ERR_FILEOPEN);
        EXPECT_EQ(m_hFile, nullptr);
    }
}

#endif
