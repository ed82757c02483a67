// The surfaces that a session knows, and which of them are mapped.
#pragma once

#include <memory>

#include "abi/nvenc/nvEncodeAPI.h"
#include "runtimes/nvenc/handles.h"
#include "runtimes/nvenc/input_surface.h"

namespace nvencruntime
{

// A surface in the encoder's hands, from map to unmap.
struct MappedInput
{
    std::shared_ptr<InputSurface> pSurface;
    void* pRegistered;
    std::uint32_t uiInFlight = 0;  // pictures sent from it whose packets aren't there yet
};

// Guarded by its session. Statuses as the entries of the same names answer them.
class InputResources
{
public:
    NVENCSTATUS Register(NV_ENC_REGISTER_RESOURCE& record);
    NVENCSTATUS Unregister(void* pRegistered);
    NVENCSTATUS Map(NV_ENC_MAP_INPUT_RESOURCE& record);
    NVENCSTATUS Unmap(void* pMapped);

    // Null for a handle that isn't mapped.
    std::shared_ptr<MappedInput> FindMapped(void* pMapped) const { return m_mapped.Find(pMapped); }

    std::uint32_t CountRegistered() const { return m_registered.Count(); }
    std::uint32_t CountMapped() const { return m_mapped.Count(); }

    // Gives all surfaces back, mapped or not.
    void Clear();

private:
    bool IsMapped(void* pRegistered) const;

    HandleTable<InputSurface> m_registered;
    HandleTable<MappedInput> m_mapped;
};

}  // namespace nvencruntime
