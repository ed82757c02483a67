// A file's bytes in one text that is the same on every system.
#pragma once

#include <string>

#include "support/bytes.h"

namespace test_support
{

// SHA-256, in hexadecimal digits.
std::string Sha256(const Bytes& bytes);

}  // namespace test_support
