#include "runtimes/common/loaded_file.h"

namespace runtimes
{

bool MayWaitAtUnload()
{
    return true;
}

LoadedFile::LoadedFile() = default;

LoadedFile::~LoadedFile() = default;

}  // namespace runtimes
