// Files in a folder of the test's own.
#pragma once

#include <random>
#include <string>

#include <gtest/gtest.h>

#include "hostapi/hostplatform.h"
#include "support/temporary_folder.h"

using test_support::ReadBytes;
using test_support::WriteBytes;

class FileInFolder : public testing::Test
{
protected:
    // The path of a file in the folder, as the host takes it.
    std::wstring Wide(const std::wstring& strName) const { return m_folder.Path().wstring() + L"/" + strName; }

    const test_support::TemporaryFolder m_folder;
};

// One open file.
class File : public FileInFolder
{
protected:
    ~File() override
    {
        if (m_hFile != nullptr) QM_CloseFile(m_hFile);
    }

    void Open(const std::wstring& strName, int nMode)
    {
        const int nShare = nMode == QM_FILE_READ ? QM_SHARE_READ : QM_SHARE_NONE;
        ASSERT_EQ(QM_OpenFile(Wide(strName).c_str(), nMode, nShare, -1, &m_hFile), QM_OK);
        ASSERT_NE(m_hFile, nullptr);
    }

    QmStatus Close()
    {
        const QmStatus nStatus = QM_CloseFile(m_hFile);
        m_hFile = nullptr;
        return nStatus;
    }

    QmStatus Write(const Bytes& bytes) { return QM_WriteFile(m_hFile, bytes.data(), bytes.size(), nullptr, nullptr); }

    // The next uiBytes, or nothing.
    Bytes Read(std::size_t uiBytes)
    {
        Bytes bytes(uiBytes);
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

    QmFileHandle m_hFile = nullptr;
};

inline Bytes RandomBytes(std::size_t uiSize, unsigned int uiSeed)
{
    std::mt19937 random(uiSeed);
    Bytes bytes(uiSize);
    for (unsigned char& byte : bytes)
        byte = static_cast<unsigned char>(random());
    return bytes;
}

// A handle that isn't null, so that a test sees it become null.
inline QmFileHandle AnyHandle()
{
    static char chAny;
    return reinterpret_cast<QmFileHandle>(&chAny);
}

inline Bytes BytesOf(const std::string& strText)
{
    return Bytes(strText.begin(), strText.end());
}
