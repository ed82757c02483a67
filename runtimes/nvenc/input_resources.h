// The surfaces that a session knows, and which of them are mapped.
#pragma once

#include <memory>
#include <optional>

#include "abi/nvenc/nvEncodeAPI.h"
#include "runtimes/nvenc/handles.h"
#include "runtimes/nvenc/input_surface.h"

namespace nvencruntime
{

// A surface that the encoder may read, from map to unmap. Until then its caller mustn't write to it.
struct MappedInput
{
    // Reports a surface whose contents aren't those that it was mapped with, once for each change. Does nothing unless
    // surfaces were watched when it was mapped.
    void CheckContents();

    std::shared_ptr<InputSurface> pSurface;
    void* pRegistered;
    std::optional<std::uint64_t> checksum;  // of a watched surface
    std::uint32_t uiInFlight = 0;           // pictures sent from it whose packets aren't there yet
};

// Guarded by its session. Returns what the entries of the same names return.
class InputResources
{
public:
    // pDevice: the session's, whose surfaces alone can be registered.
    explicit InputResources(const IDirect3DDevice9* pDevice) : m_pDevice(pDevice) {}

    NVENCSTATUS Register(NV_ENC_REGISTER_RESOURCE& record);
    NVENCSTATUS Unregister(void* pRegistered);
    NVENCSTATUS Map(NV_ENC_MAP_INPUT_RESOURCE& record);
    NVENCSTATUS Unmap(void* pMapped);

    // Null for a handle that isn't mapped.
    std::shared_ptr<MappedInput> FindMapped(void* pMapped) const { return m_mapped.Find(pMapped); }

    std::uint32_t CountRegistered() const { return m_registered.Count(); }
    std::uint32_t CountMapped() const { return m_mapped.Count(); }

    // MappedInput::CheckContents of all.
    void CheckContents();

    // Releases all surfaces, mapped or not.
    void Clear();

private:
    bool IsMapped(void* pRegistered) const;

    const IDirect3DDevice9* const m_pDevice;
    HandleTable<InputSurface> m_registered;
    HandleTable<MappedInput> m_mapped;
};

}  // namespace nvencruntime
