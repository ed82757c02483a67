// What the commands that give out pictures share.
#pragma once

#include <string>
#include <string_view>

#include "session.h"

namespace qmhost
{

// The help of the option that RequirePictures obeys.
inline constexpr const char* ALLOW_BLANK_HELP =
    "Go on with a stream whose pictures the module doesn't deliver; they are blank then";

// Throws Failure for a file without frames, and for one whose frames would be blank unless bAllowBlank. Warns on
// standard error when the file doesn't tell.
void RequirePictures(const InputFile& file, std::string_view command, bool bAllowBlank);

}  // namespace qmhost
