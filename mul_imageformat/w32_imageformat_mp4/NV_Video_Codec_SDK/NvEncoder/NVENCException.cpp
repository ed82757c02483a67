#include "NV_Video_Codec_SDK/NvEncoder/NVENCException.h"

NVENCException::NVENCException(const char* pszFunction, const std::string& strMessage, NVENCSTATUS eStatus)
    : m_errorString(std::string(pszFunction) + " : " + strMessage + "\n"), m_errorCode(eStatus)
{}

void ThrowUnlessSuccess(NVENCSTATUS eStatus, const char* pszFunction, const char* pszCall)
{
    if (eStatus != NV_ENC_SUCCESS)
    {
        throw NVENCException(pszFunction, std::string(pszCall) + " returned error " + std::to_string(eStatus), eStatus);
    }
}
