// A file of a test's own, gone when the test is over.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "hostapi/hostplatform.h"

class CTempFile
{
public:
    explicit CTempFile(const std::string& strSuffix = ".mp4")
    {
        std::random_device random;
        const std::string strName = "mp4_outputfile_" + std::to_string(random()) + std::to_string(random()) + strSuffix;
        m_path = std::filesystem::temp_directory_path() / strName;
    }
    ~CTempFile()
    {
        std::error_code error;
        std::filesystem::remove(m_path, error);
    }
    CTempFile(const CTempFile&) = delete;
    CTempFile& operator=(const CTempFile&) = delete;

    // A new file by way of the host's library, as the module opens it.
    QmFileHandle Create() const
    {
        QmFileHandle hFile = nullptr;
        EXPECT_EQ(QM_OpenFile(m_path.wstring().c_str(), QM_FILE_CREATE, QM_SHARE_NONE, -1, &hFile), QM_OK);
        return hFile;
    }

    std::vector<std::uint8_t> Bytes() const
    {
        std::ifstream stream(m_path, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

    std::string Path() const { return m_path.string(); }

private:
    std::filesystem::path m_path;
};
