// A temporary folder whose name isn't ASCII, so that every test that uses it is also one of Unicode paths.
#pragma once

#include "support/temporary_folder.h"

class UnicodeFolder : public test_support::TemporaryFolder
{
public:
    // parent: where it is made, the system's folder for temporary files by default.
    explicit UnicodeFolder(const std::filesystem::path& parent = {})
        : TemporaryFolder(parent / u8"qmhost-\u00E9\u4E2D-")
    {}
};
