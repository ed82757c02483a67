#include "hostapi/hostplatform.h"

#include <gtest/gtest.h>

#include <chrono>
#include <utility>

#include "file_fixture.h"

#if !defined(_WIN32)
#include <sys/stat.h>
#endif

namespace
{

using CNames = std::set<std::string>;

class FileByName : public FileInFolder
{
protected:
    std::filesystem::path Path(const std::string& strName) const { return m_folder / strName; }

    QmStatus Copy(const std::wstring& strFrom, const std::wstring& strTo, bool bOverwrite)
    {
        m_vReports.clear();
        return QM_CopyFile(Wide(strFrom).c_str(), Wide(strTo).c_str(), bOverwrite, OnProgress, this, 0);
    }

    QmStatus Move(const std::wstring& strFrom, const std::wstring& strTo, bool bOverwrite)
    {
        m_vReports.clear();
        return QM_MoveFile(Wide(strFrom).c_str(), Wide(strTo).c_str(), bOverwrite, OnProgress, this, 0);
    }

    static bool OnProgress(std::uint64_t uiDone, std::uint64_t uiTotal, void* pUser)
    {
        auto* pThis = static_cast<FileByName*>(pUser);
        pThis->m_vReports.emplace_back(uiDone, uiTotal);
        return pThis->m_vReports.size() != pThis->m_uiStopAt;
    }

    void ExpectProgressTo(std::uint64_t uiTotal) const
    {
        ASSERT_FALSE(m_vReports.empty());
        EXPECT_EQ(m_vReports.front().first, 0u);
        EXPECT_EQ(m_vReports.back().first, uiTotal);
        for (std::size_t i = 0; i < m_vReports.size(); ++i)
        {
            EXPECT_EQ(m_vReports[i].second, uiTotal);
            EXPECT_GE(m_vReports[i].first, m_vReports[i == 0 ? 0 : i - 1].first);
        }
    }

    static inline const Bytes m_large = RandomBytes(2500000, 3);
    static inline const Bytes m_small = RandomBytes(10, 4);
    std::vector<std::pair<std::uint64_t, std::uint64_t>> m_vReports;
    std::size_t m_uiStopAt = 0;  // the number of the report that stops the operation
};

}  // namespace

TEST_F(FileByName, ReportsTheSizeOfFilesOnly)
{
    WriteBytes(Path("a"), m_large);
    std::uint64_t uiSize = 0;
    EXPECT_EQ(QM_GetFileSizeFromName(Wide(L"a").c_str(), &uiSize), QM_OK);
    EXPECT_EQ(uiSize, m_large.size());
    EXPECT_EQ(QM_GetFileSizeFromName(Wide(L"a").c_str(), nullptr), QM_ERR_FAIL);
    EXPECT_EQ(QM_GetFileSizeFromName(Wide(L"missing").c_str(), &uiSize), QM_ERR_FILEOPEN);
    EXPECT_EQ(QM_GetFileSizeFromName(m_folder.Path().wstring().c_str(), &uiSize), QM_ERR_FILEOPEN);
    EXPECT_EQ(QM_GetFileSizeFromName(L"", &uiSize), QM_ERR_FILEOPEN);
    EXPECT_EQ(QM_GetFileSizeFromName(nullptr, &uiSize), QM_ERR_FILEOPEN);
}

TEST_F(FileByName, ReportsTheSizeOfAFileThatIsBeingWritten)
{
    QmFileHandle hFile = nullptr;
    ASSERT_EQ(QM_OpenFile(Wide(L"a").c_str(), QM_FILE_CREATE, QM_SHARE_NONE, -1, &hFile), QM_OK);
    std::uint64_t uiSize = 1;
    EXPECT_EQ(QM_GetFileSizeFromName(Wide(L"a").c_str(), &uiSize), QM_OK);
    EXPECT_EQ(uiSize, 0u);
    EXPECT_EQ(QM_CloseFile(hFile), QM_OK);
}

TEST_F(FileByName, CopiesWithProgress)
{
    WriteBytes(Path("a"), m_large);
    EXPECT_EQ(Copy(L"a", L"b", false), QM_OK);
    EXPECT_EQ(ReadBytes(Path("a")), m_large);
    EXPECT_EQ(ReadBytes(Path("b")), m_large);
    EXPECT_GT(m_vReports.size(), 2u);
    ExpectProgressTo(m_large.size());
    EXPECT_EQ(m_folder.Names(), (CNames{"a", "b"}));
}

TEST_F(FileByName, CopiesWithoutAProgressFunction)
{
    WriteBytes(Path("a"), m_small);
    EXPECT_EQ(QM_CopyFile(Wide(L"a").c_str(), Wide(L"b").c_str(), false, nullptr, nullptr, 0), QM_OK);
    EXPECT_EQ(ReadBytes(Path("b")), m_small);
}

TEST_F(FileByName, CopiesAnEmptyFile)
{
    WriteBytes(Path("a"), {});
    EXPECT_EQ(Copy(L"a", L"b", false), QM_OK);
    EXPECT_TRUE(std::filesystem::exists(Path("b")));
    EXPECT_EQ(std::filesystem::file_size(Path("b")), 0u);
    ExpectProgressTo(0);
}

TEST_F(FileByName, CopiesFilesOfExactlyOneStep)
{
    for (const std::size_t uiSize : {std::size_t{1} << 20, std::size_t{1} << 21})
    {
        const Bytes bytes = RandomBytes(uiSize, 5);
        WriteBytes(Path("a"), bytes);
        EXPECT_EQ(Copy(L"a", L"b", true), QM_OK);
        EXPECT_EQ(ReadBytes(Path("b")), bytes);
        ExpectProgressTo(uiSize);
    }
}

TEST_F(FileByName, ACopyHasItsOriginalsTime)
{
    WriteBytes(Path("a"), m_small);
    const auto time = std::chrono::file_clock::from_sys(std::chrono::sys_seconds(std::chrono::seconds(1000000000)));
    std::filesystem::last_write_time(Path("a"), time);
    EXPECT_EQ(Copy(L"a", L"b", false), QM_OK);
    EXPECT_EQ(std::filesystem::last_write_time(Path("b")), time);
}

TEST_F(FileByName, CopyReplacesOnlyWhenAsked)
{
    WriteBytes(Path("a"), m_large);
    WriteBytes(Path("b"), m_small);
    EXPECT_EQ(Copy(L"a", L"b", false), QM_ERR_FILEOPEN);
    EXPECT_TRUE(m_vReports.empty());
    EXPECT_EQ(ReadBytes(Path("b")), m_small);
    EXPECT_EQ(Copy(L"a", L"b", true), QM_OK);
    EXPECT_EQ(ReadBytes(Path("b")), m_large);
    EXPECT_EQ(m_folder.Names(), (CNames{"a", "b"}));
}

TEST_F(FileByName, AStoppedCopyLeavesNoTarget)
{
    WriteBytes(Path("a"), m_large);
    for (m_uiStopAt = 1; m_uiStopAt <= 4; ++m_uiStopAt)  // before the first byte to after the last
    {
        EXPECT_EQ(Copy(L"a", L"b", false), QM_ERR_FAIL);
        EXPECT_EQ(m_vReports.size(), m_uiStopAt);
        EXPECT_EQ(m_folder.Names(), CNames{"a"});
    }
    EXPECT_EQ(m_vReports.back().first, m_large.size());
}

TEST_F(FileByName, AStoppedCopyLeavesAnExistingTargetAsItWas)
{
    WriteBytes(Path("a"), m_large);
    WriteBytes(Path("b"), m_small);
    m_uiStopAt = 3;
    EXPECT_EQ(Copy(L"a", L"b", true), QM_ERR_FAIL);
    EXPECT_EQ(ReadBytes(Path("b")), m_small);
    EXPECT_EQ(m_folder.Names(), (CNames{"a", "b"}));
}

TEST_F(FileByName, ACopyOntoItselfKeepsTheFile)
{
    WriteBytes(Path("a"), m_large);
    EXPECT_EQ(Copy(L"a", L"a", true), QM_OK);
    EXPECT_EQ(ReadBytes(Path("a")), m_large);
    EXPECT_EQ(Copy(L"a", L"a", false), QM_ERR_FILEOPEN);
    EXPECT_EQ(ReadBytes(Path("a")), m_large);
    EXPECT_EQ(m_folder.Names(), CNames{"a"});
}

TEST_F(FileByName, CopyRefusesWhatItCanNotOpen)
{
    WriteBytes(Path("a"), m_small);
    EXPECT_EQ(Copy(L"missing", L"b", true), QM_ERR_FILEOPEN);
    EXPECT_EQ(Copy(L".", L"b", true), QM_ERR_FILEOPEN);
    EXPECT_EQ(Copy(L"a", L"no folder/b", true), QM_ERR_FILEOPEN);
    EXPECT_EQ(QM_CopyFile(nullptr, L"b", true, nullptr, nullptr, 0), QM_ERR_FILEOPEN);
    EXPECT_EQ(QM_CopyFile(Wide(L"a").c_str(), L"", true, nullptr, nullptr, 0), QM_ERR_FILEOPEN);
    EXPECT_EQ(m_folder.Names(), CNames{"a"});
}

TEST_F(FileByName, CopyLeavesNothingWhereAFolderIsInTheWay)
{
    WriteBytes(Path("a"), m_small);
    std::filesystem::create_directory(Path("b"));
    EXPECT_EQ(Copy(L"a", L"b", true), QM_ERR_FAIL);
    EXPECT_TRUE(std::filesystem::is_directory(Path("b")));
    EXPECT_EQ(m_folder.Names(), (CNames{"a", "b"}));
}

TEST_F(FileByName, CopiesToANameOfTheGreatestLength)
{
    WriteBytes(Path("a"), m_small);
    EXPECT_EQ(Copy(L"a", std::wstring(200, L'n') + L".mp4", false), QM_OK);
    EXPECT_EQ(ReadBytes(Path(std::string(200, 'n') + ".mp4")), m_small);
#if !defined(_WIN32)
    EXPECT_EQ(Copy(L"a", std::wstring(255, L'n'), false), QM_OK);
    EXPECT_EQ(ReadBytes(Path(std::string(255, 'n'))), m_small);
#endif
}

TEST_F(FileByName, CopiesBesideTheLeftoversOfFailedCopies)
{
    WriteBytes(Path("a"), m_small);
    WriteBytes(Path("~copy0.part"), m_large);
    EXPECT_EQ(Copy(L"a", L"b", false), QM_OK);
    EXPECT_EQ(ReadBytes(Path("b")), m_small);
    EXPECT_EQ(ReadBytes(Path("~copy0.part")), m_large);
}

TEST_F(FileByName, Moves)
{
    WriteBytes(Path("a"), m_large);
    EXPECT_EQ(Move(L"a", L"b", false), QM_OK);
    EXPECT_EQ(ReadBytes(Path("b")), m_large);
    ExpectProgressTo(m_large.size());
    EXPECT_EQ(m_folder.Names(), CNames{"b"});
}

TEST_F(FileByName, MoveReplacesOnlyWhenAsked)
{
    WriteBytes(Path("a"), m_large);
    WriteBytes(Path("b"), m_small);
    EXPECT_EQ(Move(L"a", L"b", false), QM_ERR_FILEOPEN);
    EXPECT_EQ(ReadBytes(Path("a")), m_large);
    EXPECT_EQ(ReadBytes(Path("b")), m_small);
    EXPECT_EQ(Move(L"a", L"b", true), QM_OK);
    EXPECT_EQ(ReadBytes(Path("b")), m_large);
    EXPECT_EQ(m_folder.Names(), CNames{"b"});
}

TEST_F(FileByName, AMoveThatIsStoppedAtOnceMovesNothing)
{
    WriteBytes(Path("a"), m_small);
    m_uiStopAt = 1;
    EXPECT_EQ(Move(L"a", L"b", false), QM_ERR_FAIL);
    EXPECT_EQ(m_folder.Names(), CNames{"a"});
}

TEST_F(FileByName, MoveRefusesWhatIsNoFile)
{
    std::filesystem::create_directory(Path("folder"));
    EXPECT_EQ(Move(L"missing", L"b", true), QM_ERR_FILEOPEN);
    EXPECT_EQ(Move(L"folder", L"b", true), QM_ERR_FILEOPEN);
    EXPECT_EQ(QM_MoveFile(nullptr, L"b", true, nullptr, nullptr, 0), QM_ERR_FILEOPEN);
    EXPECT_EQ(QM_MoveFile(L"a", nullptr, true, nullptr, nullptr, 0), QM_ERR_FILEOPEN);
    EXPECT_EQ(m_folder.Names(), CNames{"folder"});
}

TEST_F(FileByName, Removes)
{
    WriteBytes(Path("a"), m_small);
    std::filesystem::create_directory(Path("folder"));
    EXPECT_EQ(QM_RemoveFile(Wide(L"a").c_str(), 0), QM_OK);
    EXPECT_EQ(QM_RemoveFile(Wide(L"a").c_str(), 0), QM_ERR_FAIL);
    EXPECT_EQ(QM_RemoveFile(Wide(L"folder").c_str(), 0), QM_ERR_FAIL);
    EXPECT_EQ(QM_RemoveFile(L"", 0), QM_ERR_FAIL);
    EXPECT_EQ(QM_RemoveFile(nullptr, 0), QM_ERR_FAIL);
    EXPECT_EQ(m_folder.Names(), CNames{"folder"});
}

#if !defined(_WIN32)

namespace
{

class OtherDevice : public FileByName
{
protected:
    void SetUp() override
    {
        struct stat here = {};
        struct stat there = {};
        if (stat(m_folder.Path().c_str(), &here) != 0 || stat("/dev/shm", &there) != 0 || here.st_dev == there.st_dev)
        {
            GTEST_SKIP() << "no second file system";
        }
        m_strOther = L"/dev/shm/" + m_folder.Path().filename().wstring();
    }
    ~OtherDevice() override
    {
        if (!m_strOther.empty()) std::filesystem::remove(std::filesystem::path(m_strOther));
    }

    QmStatus MoveAway(bool bOverwrite)
    {
        m_vReports.clear();
        return QM_MoveFile(Wide(L"a").c_str(), m_strOther.c_str(), bOverwrite, OnProgress, this, 0);
    }

    std::wstring m_strOther;
};

}  // namespace

TEST_F(OtherDevice, MovesByCopying)
{
    WriteBytes(Path("a"), m_large);
    EXPECT_EQ(MoveAway(false), QM_OK);
    EXPECT_EQ(ReadBytes(m_strOther), m_large);
    EXPECT_TRUE(m_folder.Names().empty());
    ExpectProgressTo(m_large.size());

    WriteBytes(Path("a"), m_small);
    EXPECT_EQ(MoveAway(false), QM_ERR_FILEOPEN);
    EXPECT_EQ(MoveAway(true), QM_OK);
    EXPECT_EQ(ReadBytes(m_strOther), m_small);
}

TEST_F(OtherDevice, AStoppedMoveLeavesTheSourceOnly)
{
    WriteBytes(Path("a"), m_large);
    m_uiStopAt = 4;
    EXPECT_EQ(MoveAway(false), QM_ERR_FAIL);
    EXPECT_EQ(ReadBytes(Path("a")), m_large);
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(m_strOther)));
}

#endif
