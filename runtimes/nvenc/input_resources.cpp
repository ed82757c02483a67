#include "runtimes/nvenc/input_resources.h"

#include <algorithm>

#include "runtimes/nvenc/capabilities.h"

namespace nvencruntime
{

NVENCSTATUS InputResources::Register(NV_ENC_REGISTER_RESOURCE& record)
{
    if (record.version != NV_ENC_REGISTER_RESOURCE_VER)
    {
        return NV_ENC_ERR_INVALID_VERSION;
    }
    if (!record.resourceToRegister)
    {
        return NV_ENC_ERR_INVALID_PTR;
    }
    if (record.resourceType != NV_ENC_INPUT_RESOURCE_TYPE_DIRECTX || record.bufferUsage != NV_ENC_INPUT_IMAGE ||
        !IsInputFormat(record.bufferFormat))
    {
        return NV_ENC_ERR_UNSUPPORTED_PARAM;
    }
    if (record.width == 0 || record.height == 0)
    {
        return NV_ENC_ERR_INVALID_PARAM;
    }

    auto* const pSurface = static_cast<IDirect3DSurface9*>(record.resourceToRegister);
    const bool bKnown =
        std::ranges::any_of(m_registered, [&](const auto& entry) { return entry.second->Surface() == pSurface; });
    auto pInput = bKnown ? nullptr : InputSurface::Open(pSurface, record.bufferFormat, record.width, record.height);
    if (!pInput)
    {
        return NV_ENC_ERR_RESOURCE_REGISTER_FAILED;
    }
    record.registeredResource = m_registered.Add(std::move(pInput));
    return NV_ENC_SUCCESS;
}

NVENCSTATUS InputResources::Unregister(void* pRegistered)
{
    if (!m_registered.Find(pRegistered))
    {
        return NV_ENC_ERR_RESOURCE_NOT_REGISTERED;
    }
    if (IsMapped(pRegistered))
    {
        return NV_ENC_ERR_INVALID_CALL;
    }
    m_registered.Remove(pRegistered);
    return NV_ENC_SUCCESS;
}

NVENCSTATUS InputResources::Map(NV_ENC_MAP_INPUT_RESOURCE& record)
{
    if (record.version != NV_ENC_MAP_INPUT_RESOURCE_VER)
    {
        return NV_ENC_ERR_INVALID_VERSION;
    }
    if (!record.registeredResource)
    {
        return NV_ENC_ERR_INVALID_PTR;
    }
    const std::shared_ptr<InputSurface> pSurface = m_registered.Find(record.registeredResource);
    if (!pSurface)
    {
        return NV_ENC_ERR_RESOURCE_NOT_REGISTERED;
    }
    if (IsMapped(record.registeredResource))
    {
        return NV_ENC_ERR_MAP_FAILED;
    }
    record.mappedResource =
        m_mapped.Add(std::make_shared<MappedInput>(MappedInput{pSurface, record.registeredResource}));
    record.mappedBufferFmt = pSurface->Format();
    return NV_ENC_SUCCESS;
}

NVENCSTATUS InputResources::Unmap(void* pMapped)
{
    const std::shared_ptr<MappedInput> pInput = m_mapped.Find(pMapped);
    if (!pInput)
    {
        return NV_ENC_ERR_RESOURCE_NOT_MAPPED;
    }
    if (pInput->uiInFlight != 0)
    {
        return NV_ENC_ERR_ENCODER_BUSY;
    }
    m_mapped.Remove(pMapped);
    return NV_ENC_SUCCESS;
}

void InputResources::Clear()
{
    m_mapped.Clear();
    m_registered.Clear();
}

bool InputResources::IsMapped(void* pRegistered) const
{
    return std::ranges::any_of(m_mapped, [&](const auto& entry) { return entry.second->pRegistered == pRegistered; });
}

}  // namespace nvencruntime
