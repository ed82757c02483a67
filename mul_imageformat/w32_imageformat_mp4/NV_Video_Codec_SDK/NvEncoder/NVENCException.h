// The failure of an encoder session: a text for the diagnostics, and the status.
#pragma once

#include <exception>
#include <string>

#include "abi/nvenc/nvencenums.h"

class NVENCException : public std::exception
{
public:
    // pszFunction: the operation that gives up; strMessage: why. The text is "function : message" and a newline.
    NVENCException(const char* pszFunction, const std::string& strMessage, NVENCSTATUS eStatus);

    // The text; valid as long as the exception.
    const char* what() const noexcept override { return m_errorString.c_str(); }

    const std::string& GetErrorString() const noexcept { return m_errorString; }
    NVENCSTATUS GetErrorCode() const noexcept { return m_errorCode; }

private:
    std::string m_errorString;
    NVENCSTATUS m_errorCode;
};

// Throws "call returned error N" on behalf of pszFunction unless eStatus is success. pszCall: the call as it is written
// in the source.
void ThrowUnlessSuccess(NVENCSTATUS eStatus, const char* pszFunction, const char* pszCall);

// Calls an entry of the runtime whose failure ends the operation. The text of the failure holds the call exactly as it
// is written between these parentheses, whatever the line breaks: people search for it, so names that stand in such a
// call are not renamed lightly.
#define NVENC_API_CALL(pszFunction, call) ThrowUnlessSuccess((call), (pszFunction), #call)
