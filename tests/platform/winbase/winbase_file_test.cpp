// Files by descriptor. What is expected here holds on Windows too.
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string>

#include <fcntl.h>
#include <io.h>
#include <share.h>

#include "support/temporary_folder.h"
#include "winbase_testing.h"

using test_support::ReadText;
using test_support::TemporaryFolder;
using test_support::WriteText;

namespace
{

constexpr int c_nPermission = 0600;

// Closes its descriptor.
class Descriptor
{
public:
    Descriptor(const std::wstring& strPath, int nFlags, int nShare)
        : m_n(_wsopen(strPath.c_str(), nFlags | _O_BINARY, nShare, c_nPermission))
    {}
    ~Descriptor() { Close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    void Close()
    {
        if (m_n < 0) return;
        EXPECT_EQ(_close(m_n), 0);
        m_n = -1;
    }
    bool IsOpen() const { return m_n >= 0; }
    operator int() const { return m_n; }

private:
    int m_n;
};

class WinbaseFile : public testing::Test
{
protected:
    const TemporaryFolder m_folder;
    const std::filesystem::path m_file = m_folder / std::filesystem::path(u8"\u00E4\u65E5.bin");
    const std::wstring m_strPath = m_folder.Path().wstring() + L"/\u00E4\u65E5.bin";
};

TEST_F(WinbaseFile, BytesComeBackFromWhereTheyWereWritten)
{
    const Descriptor file(m_strPath, _O_RDWR | _O_CREAT | _O_TRUNC, _SH_DENYNO);
    ASSERT_TRUE(file.IsOpen());
    EXPECT_EQ(_write(file, "a\nb\r\n\x1A", 6), 6);
    EXPECT_EQ(_telli64(file), 6);
    EXPECT_EQ(_lseeki64(file, 1, SEEK_SET), 1);
    char achRead[8] = {};
    EXPECT_EQ(_read(file, achRead, 8), 5);
    EXPECT_EQ(std::string(achRead, 5), "\nb\r\n\x1A");
    EXPECT_EQ(_read(file, achRead, 8), 0) << "the end";
    EXPECT_EQ(_filelengthi64(file), 6);
}

TEST_F(WinbaseFile, PositionsPastTheEndAreAllowedAndThoseBeforeTheStartAreNot)
{
    const Descriptor file(m_strPath, _O_RDWR | _O_CREAT, _SH_DENYNO);
    EXPECT_EQ(_lseeki64(file, 0x200000000, SEEK_SET), 0x200000000);
    EXPECT_EQ(_lseeki64(file, 5, SEEK_END), 5);
    EXPECT_EQ(_lseeki64(file, 2, SEEK_CUR), 7);
    EXPECT_EQ(_lseeki64(file, -1, SEEK_SET), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(_telli64(file), 7);
}

TEST_F(WinbaseFile, OnlyCreateMakesOneThatIsNotThere)
{
    EXPECT_FALSE(Descriptor(m_strPath, _O_RDWR, _SH_DENYNO).IsOpen());
    EXPECT_EQ(errno, ENOENT);
    EXPECT_TRUE(Descriptor(m_strPath, _O_RDWR | _O_CREAT, _SH_DENYNO).IsOpen());
    EXPECT_TRUE(Descriptor(m_strPath, _O_RDWR, _SH_DENYNO).IsOpen());
    EXPECT_FALSE(Descriptor(m_strPath, _O_RDWR | _O_CREAT | _O_EXCL, _SH_DENYNO).IsOpen());
    EXPECT_EQ(errno, EEXIST);
}

TEST_F(WinbaseFile, TruncateEmptiesAndAppendKeeps)
{
    WriteText(m_file, "old");
    {
        const Descriptor file(m_strPath, _O_RDWR | _O_CREAT | _O_APPEND, _SH_DENYNO);
        EXPECT_EQ(_write(file, "er", 2), 2);
    }
    EXPECT_EQ(ReadText(m_file), "older");
    EXPECT_TRUE(Descriptor(m_strPath, _O_WRONLY | _O_TRUNC, _SH_DENYNO).IsOpen());
    EXPECT_EQ(ReadText(m_file), "");
}

TEST_F(WinbaseFile, AccessIsWhatWasAskedFor)
{
    WriteText(m_file, "old");
    char chRead = 0;
    const Descriptor reader(m_strPath, _O_RDONLY, _SH_DENYNO);
    EXPECT_EQ(_write(reader, "x", 1), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(_read(reader, &chRead, 1), 1);
    const Descriptor writer(m_strPath, _O_WRONLY, _SH_DENYNO);
    EXPECT_EQ(_read(writer, &chRead, 1), -1);
    EXPECT_EQ(errno, EBADF);
}

TEST_F(WinbaseFile, FoldersAreNoFiles)
{
    EXPECT_FALSE(Descriptor(m_folder.Path().wstring(), _O_RDONLY, _SH_DENYNO).IsOpen());
    EXPECT_EQ(errno, EACCES);
    EXPECT_FALSE(Descriptor(m_folder.Path().wstring(), _O_RDWR, _SH_DENYNO).IsOpen());
    EXPECT_EQ(errno, EACCES);
}

// The four ways of sharing against the three ways of access, in both orders.
TEST_F(WinbaseFile, SharingForbidsWhatItSays)
{
    WriteText(m_file, "old");
    const struct
    {
        int nShare;
        int nAccess;
        bool bAllowed;
    } aCases[] = {
        {_SH_DENYRW, _O_RDONLY, false}, {_SH_DENYRW, _O_WRONLY, false}, {_SH_DENYRW, _O_RDWR, false},
        {_SH_DENYWR, _O_RDONLY, true},  {_SH_DENYWR, _O_WRONLY, false}, {_SH_DENYWR, _O_RDWR, false},
        {_SH_DENYRD, _O_RDONLY, false}, {_SH_DENYRD, _O_WRONLY, true},  {_SH_DENYRD, _O_RDWR, false},
        {_SH_DENYNO, _O_RDONLY, true},  {_SH_DENYNO, _O_WRONLY, true},  {_SH_DENYNO, _O_RDWR, true},
    };
    for (const auto& use : aCases)
    {
        SCOPED_TRACE(std::to_string(use.nShare) + ", " + std::to_string(use.nAccess));
        {
            const Descriptor first(m_strPath, _O_RDONLY, use.nShare);
            ASSERT_TRUE(first.IsOpen());
            EXPECT_EQ(Descriptor(m_strPath, use.nAccess, _SH_DENYNO).IsOpen(), use.bAllowed);
        }
        const Descriptor first(m_strPath, use.nAccess, _SH_DENYNO);
        ASSERT_TRUE(first.IsOpen());
        EXPECT_EQ(Descriptor(m_strPath, _O_RDONLY, use.nShare).IsOpen(), use.bAllowed);
    }
}

TEST_F(WinbaseFile, AForbiddenOpenEmptiesNothing)
{
    WriteText(m_file, "old");
    {
        const Descriptor first(m_strPath, _O_RDONLY, _SH_DENYWR);
        EXPECT_FALSE(Descriptor(m_strPath, _O_WRONLY | _O_TRUNC, _SH_DENYNO).IsOpen());
        EXPECT_EQ(errno, EACCES);
    }
    EXPECT_EQ(ReadText(m_file), "old");
}

TEST_F(WinbaseFile, SharingEndsWithTheDescriptor)
{
    Descriptor first(m_strPath, _O_RDWR | _O_CREAT, _SH_DENYRW);
    EXPECT_FALSE(Descriptor(m_strPath, _O_RDONLY, _SH_DENYNO).IsOpen());
    first.Close();
    EXPECT_TRUE(Descriptor(m_strPath, _O_RDONLY, _SH_DENYNO).IsOpen());
}

}  // namespace
