// Whole files, read and written without the code under test. Each function throws std::runtime_error when it fails.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "support/bytes.h"

namespace test_support
{

Bytes ReadBytes(const std::filesystem::path& path);
std::string ReadText(const std::filesystem::path& path);

// An existing file is replaced.
void WriteBytes(const std::filesystem::path& path, const Bytes& vBytes);
void WriteText(const std::filesystem::path& path, std::string_view text);

}  // namespace test_support
