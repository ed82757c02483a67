#include "runtimes/nvenc/input_resources.h"

#include <algorithm>

#include "runtimes/nvenc/capabilities.h"
#include "runtimes/nvenc/records.h"
#include "runtimes/nvenc/script.h"

namespace nvencruntime
{

void MappedInput::CheckContents()
{
    if (!checksum)
    {
        return;
    }
    const std::optional<std::uint64_t> now = pSurface->Checksum();
    if (now && *now != *checksum)
    {
        Script::Get().OnSurfaceWritten();
        checksum = now;
    }
}

NVENCSTATUS InputResources::Register(NV_ENC_REGISTER_RESOURCE& record)
{
    const NVENCSTATUS eStatus = CheckRecord(record, NV_ENC_REGISTER_RESOURCE_VER);
    if (eStatus != NV_ENC_SUCCESS)
    {
        return eStatus;
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
    auto pInput =
        bKnown ? nullptr : InputSurface::Open(m_pDevice, pSurface, record.bufferFormat, record.width, record.height);
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
    const NVENCSTATUS eStatus = CheckRecord(record, NV_ENC_MAP_INPUT_RESOURCE_VER);
    if (eStatus != NV_ENC_SUCCESS)
    {
        return eStatus;
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
    auto pInput = std::make_shared<MappedInput>();
    pInput->pSurface = pSurface;
    pInput->pRegistered = record.registeredResource;
    if (Script::Get().AreSurfacesWatched())
    {
        pInput->checksum = pSurface->Checksum();
    }
    record.mappedResource = m_mapped.Add(std::move(pInput));
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
    pInput->CheckContents();
    m_mapped.Remove(pMapped);
    return NV_ENC_SUCCESS;
}

void InputResources::CheckContents()
{
    for (const auto& [pHandle, pInput] : m_mapped)
    {
        pInput->CheckContents();
    }
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
