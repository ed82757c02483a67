// A full disk.
#include <filesystem>

#include <gtest/gtest.h>

#include "hostapi/hostplatform.h"
#include "support/bytes.h"

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
        return QM_WriteFile(m_hFile, Bytes(uiBytes).data(), uiBytes, nullptr, nullptr);
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

TEST_F(FullDisk, IsCountedOnceForEachFile)
{
    const std::uint32_t uiBefore = QM_GetLossCount();
    EXPECT_EQ(Write(100), QM_OK);
    EXPECT_EQ(QM_GetLossCount(), uiBefore);  // still in the buffer
    EXPECT_EQ(Write(1000000), QM_ERR_FAIL);
    EXPECT_EQ(QM_GetLossCount(), uiBefore + 1);
    EXPECT_EQ(Write(1000000), QM_ERR_FAIL);
    EXPECT_EQ(QM_CloseFile(m_hFile), QM_ERR_FAIL);
    EXPECT_EQ(QM_GetLossCount(), uiBefore + 1);

    ASSERT_EQ(QM_OpenFile(L"/dev/full", QM_FILE_CREATE, QM_SHARE_NONE, -1, &m_hFile), QM_OK);
    EXPECT_EQ(Write(100), QM_OK);
    EXPECT_EQ(QM_CloseFile(m_hFile), QM_ERR_FAIL);
    EXPECT_EQ(QM_GetLossCount(), uiBefore + 2);
}

TEST_F(FullDisk, IsReportedByALargeWrite)
{
    EXPECT_EQ(Write(1000000), QM_ERR_FAIL);
    EXPECT_EQ(QM_CloseFile(m_hFile), QM_ERR_FAIL);
}

TEST_F(FullDisk, IsReportedByAReadThatHasToWriteFirst)
{
    EXPECT_EQ(Write(100), QM_OK);
    unsigned char auiByte[200];
    EXPECT_EQ(QM_SeekFile(m_hFile, 0, QM_SEEK_BEGIN), QM_OK);
    EXPECT_EQ(QM_ReadFile(m_hFile, auiByte, sizeof(auiByte), nullptr, nullptr), QM_ERR_FAIL);
    EXPECT_EQ(QM_CloseFile(m_hFile), QM_ERR_FAIL);
}

TEST_F(FullDisk, IsReportedByAWriteAtAnEarlierPlace)
{
    EXPECT_EQ(Write(100), QM_OK);
    EXPECT_EQ(QM_SeekFile(m_hFile, 40, QM_SEEK_BEGIN), QM_OK);
    EXPECT_EQ(Write(4), QM_ERR_FAIL);
    EXPECT_EQ(QM_CloseFile(m_hFile), QM_ERR_FAIL);
}
