// What buffers and surfaces have in common.
#pragma once

#include <atomic>

#include "runtimes/amf/property_storage.h"

namespace amfruntime
{

template <typename TInterface, AMF_DATA_TYPE eDataType, AMF_MEMORY_TYPE eMemory>
class Data : public WithProperties<TInterface, AMFData>
{
public:
    AMF_MEMORY_TYPE GetMemoryType() override { return eMemory; }
    AMF_RESULT Duplicate(AMF_MEMORY_TYPE, AMFData** ppData) override
    {
        if (ppData)
        {
            *ppData = nullptr;
        }
        return AMF_NOT_IMPLEMENTED;
    }
    AMF_RESULT Convert(AMF_MEMORY_TYPE type) override { return type == eMemory ? AMF_OK : AMF_NOT_SUPPORTED; }
    AMF_RESULT Interop(AMF_MEMORY_TYPE type) override { return Convert(type); }
    AMF_DATA_TYPE GetDataType() override { return eDataType; }
    amf_bool IsReusable() override { return false; }
    void SetPts(amf_pts pts) override { m_pts = pts; }
    amf_pts GetPts() override { return m_pts; }
    void SetDuration(amf_pts duration) override { m_duration = duration; }
    amf_pts GetDuration() override { return m_duration; }

private:
    std::atomic<amf_pts> m_pts{0};
    std::atomic<amf_pts> m_duration{0};
};

}  // namespace amfruntime
