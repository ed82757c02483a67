#include "NV_Video_Codec_SDK/NvEncoder/NVENCException.h"

NVENCException::NVENCException(const char* pszFunction, const std::string& strMessage, NVENCSTATUS eStatus)
    : m_errorString(std::string(pszFunction) + " : " + strMessage + "\n"), m_errorCode(eStatus)
{}

namespace
{
// Where the source breaks a line, the preprocessor leaves a blank, after a parenthesis too.
std::string WithoutLineBreaks(std::string strCall)
{
    for (std::size_t i = strCall.find("( "); i != std::string::npos; i = strCall.find("( ", i))
        strCall.erase(i + 1, 1);
    return strCall;
}
}  // namespace

void ThrowUnlessSuccess(NVENCSTATUS eStatus, const char* pszFunction, const char* pszCall)
{
    if (eStatus != NV_ENC_SUCCESS)
    {
        throw NVENCException(pszFunction, WithoutLineBreaks(pszCall) + " returned error " + std::to_string(eStatus),
                             eStatus);
    }
}
