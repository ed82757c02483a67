// What the commands that read a file check before they use its frames.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "parts/timesorigin.h"
#include "session.h"

namespace qmhost
{

// The help of the option that RequirePictures obeys.
inline constexpr const char* ALLOW_BLANK_HELP =
    "Go on with a stream whose pictures the module doesn't deliver; they are blank then";

// Throws Failure for a file without frames, and for one whose frames would be blank unless bAllowBlank. Warns on
// standard error when the profile can't be found.
void RequirePictures(const InputFile& file, std::string_view command, bool bAllowBlank);

inline constexpr const char* ALLOW_FOREIGN_TIMES_HELP =
    "Go on when the frame numbers and times aren't those of the video; pictures may be wrong then";

// Whose the file's times are, all of which are in vTimesMs.
TimesOrigin OriginOfTimes(const InputFile& file, std::span<const double> vTimesMs);

// Warns on standard error when the times aren't the video's or when this can't be found out.
void WarnOfForeignTimes(const InputFile& file, const TimesOrigin& origin);

// The same, but throws Failure for times that aren't the video's, unless bAllow.
void RequireTimesOfVideo(const InputFile& file, const TimesOrigin& origin, std::string_view command, bool bAllow);

}  // namespace qmhost
