#include "amf/common/amffactoryhelper.h"

namespace
{

constexpr std::int32_t AMF_OK_RESULT = 0;
constexpr std::int32_t AMF_FAIL_RESULT = 1;
constexpr wchar_t AMF_RUNTIME_FILE[] = L"amfrt64.dll";

}  // namespace

AMFFactoryHelper::~AMFFactoryHelper()
{
    Terminate();
}

std::int32_t AMFFactoryHelper::Init()
{
    if (m_hDLLHandle == nullptr) m_hDLLHandle = LoadLibraryW(AMF_RUNTIME_FILE);
    if (m_hDLLHandle == nullptr) return AMF_FAIL_RESULT;
    ++m_iRefCount;
    return AMF_OK_RESULT;
}

std::int32_t AMFFactoryHelper::Terminate()
{
    if (m_hDLLHandle != nullptr && --m_iRefCount == 0)
    {
        FreeLibrary(m_hDLLHandle);
        m_hDLLHandle = nullptr;
    }
    return AMF_OK_RESULT;
}
