// One open file in a folder of the test's own.
#pragma once

#include <string>

#include <gtest/gtest.h>

#include "hostapi/hostplatform.h"
#include "tests/host/temp_folder.h"

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

// A handle that isn't null, so that a test sees it become null.
inline QmFileHandle AnyHandle()
{
    static char chAny;
    return reinterpret_cast<QmFileHandle>(&chAny);
}

inline CBytes BytesOf(const std::string& strText)
{
    return CBytes(strText.begin(), strText.end());
}
