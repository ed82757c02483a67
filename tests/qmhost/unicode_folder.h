// A temporary folder whose name isn't ASCII, so that every test that uses it is also one of Unicode paths.
#pragma once

#include "support/temporary_folder.h"

class UnicodeFolder : public test_support::TemporaryFolder
{
public:
    UnicodeFolder() : TemporaryFolder(u8"qmhost-\u00E9\u4E2D-") {}
};
