// The names that moved to ffmpeg.h and temporary_folder.h.
#pragma once

#include "support/ffmpeg.h"
#include "support/temporary_folder.h"

namespace test_support
{
using TempDir = TemporaryFolder;
}
