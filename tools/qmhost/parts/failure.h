// How an operation's failure travels to the one line that the user sees.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "hostapi/qmstatus.h"

namespace qmhost
{

// "general failure" for QM_ERR_FAIL, and so on; "unknown status" for a number that the host doesn't define.
std::string_view StatusMeaning(QmStatus nStatus);

// An operation that returned a status other than 0, or that this program ended with one. Its text is the whole
// line: "GetImageAttributes failed with status -9 (general failure): 'x.mp4' can't be opened as MP4 video". A reason
// that the module reported with its status follows on the next line, indented.
class Failure : public std::runtime_error
{
public:
    Failure(std::string_view operation, QmStatus nStatus, std::string_view detail, std::string_view reason = {});
};

// Throws the Failure unless nStatus is 0.
void Require(QmStatus nStatus, std::string_view operation, std::string_view detail);

}  // namespace qmhost
