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

TEST_F(FullDisk, IsReportedByTheWriteThatMeetsIt)
{
    EXPECT_EQ(Write(1), QM_ERR_FAIL);
    EXPECT_EQ(Write(1), QM_ERR_FAIL);  // the file already lacks bytes
    EXPECT_EQ(QM_CloseFile(m_hFile), QM_ERR_FAIL);
}

TEST_F(FullDisk, IsReportedByALargeWrite)
{
    EXPECT_EQ(Write(1000000), QM_ERR_FAIL);
    EXPECT_EQ(QM_CloseFile(m_hFile), QM_ERR_FAIL);
}

TEST_F(FullDisk, IsCountedOnceForEachFile)
{
    const std::uint32_t uiBefore = QM_GetLossCount();
    EXPECT_EQ(Write(100), QM_ERR_FAIL);
    EXPECT_EQ(QM_GetLossCount(), uiBefore + 1);
    EXPECT_EQ(Write(1000000), QM_ERR_FAIL);
    EXPECT_EQ(QM_CloseFile(m_hFile), QM_ERR_FAIL);
    EXPECT_EQ(QM_GetLossCount(), uiBefore + 1);

    ASSERT_EQ(QM_OpenFile(L"/dev/full", QM_FILE_CREATE, QM_SHARE_NONE, -1, &m_hFile), QM_OK);
    EXPECT_EQ(Write(100), QM_ERR_FAIL);
    EXPECT_EQ(QM_CloseFile(m_hFile), QM_ERR_FAIL);
    EXPECT_EQ(QM_GetLossCount(), uiBefore + 2);
}
