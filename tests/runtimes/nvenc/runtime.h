// The runtime under test, loaded by name as its callers load it.
#pragma once

#include <memory>
#include <vector>

#include <gtest/gtest.h>
#include <windows.h>

#include "abi/nvenc/nvEncodeAPI.h"
#include "fake_surface.h"
#include "runtimes/nvenc/nvenc_script.h"

// Loaded once and kept, so that what a script says outlives single tests' handles.
struct Runtime
{
    static const Runtime& Get();

    PNVENCODEAPIGETMAXSUPPORTEDVERSION getMaxSupportedVersion;
    PNVENCODEAPICREATEINSTANCE createInstance;
    const NvencRuntimeScript* pScript;
    NV_ENCODE_API_FUNCTION_LIST api;  // made by a runtime that nothing was said to
};

// A record that is cleared and carries its version word.
template <typename Record>
Record MakeRecord(std::uint32_t uiVersion)
{
    Record record{};
    record.version = uiVersion;
    return record;
}

// Settings of a session, from a preset and with the caller's wishes on top, as callers make them.
struct SessionSetup
{
    explicit SessionSetup(std::uint32_t uiWidth = 64, std::uint32_t uiHeight = 48,
                          const GUID& preset = NV_ENC_PRESET_LOW_LATENCY_HQ_GUID);
    SessionSetup(const SessionSetup& other) : params(other.params), config(other.config)
    {
        params.encodeConfig = &config;
    }
    SessionSetup& operator=(const SessionSetup&) = delete;

    NV_ENC_CONFIG_H264& H264() { return config.encodeCodecConfig.h264Config; }

    NV_ENC_INITIALIZE_PARAMS params;
    NV_ENC_CONFIG config;
};

// An open session, destroyed with everything in it at the end.
class OpenSession
{
public:
    explicit OpenSession(IDirect3DDevice9* pDevice = &FakeDevice::Get());
    ~OpenSession();
    OpenSession(const OpenSession&) = delete;
    OpenSession& operator=(const OpenSession&) = delete;

    void* Handle() const { return m_pEncoder; }
    NVENCSTATUS Destroy();
    // Destroys the session, if that hasn't been done.
    void End();

    NVENCSTATUS Initialize(SessionSetup& setup);
    // The registered handle, or null with a failure of the test.
    void* Register(FakeSurface& surface, NV_ENC_BUFFER_FORMAT eFormat = NV_ENC_BUFFER_FORMAT_ARGB);
    void* Map(void* pRegistered);
    void* CreateBuffer();
    NV_ENC_PIC_PARAMS Picture(void* pMapped, void* pBuffer, std::uint32_t uiWidth, std::uint32_t uiHeight) const;
    NVENCSTATUS Encode(NV_ENC_PIC_PARAMS picture) const;
    NVENCSTATUS EndStream(void* pEvent = nullptr) const;
    NVENCSTATUS Lock(void* pBuffer, NV_ENC_LOCK_BITSTREAM* pRecord = nullptr, bool bDoNotWait = false) const;
    NVENCSTATUS Unlock(void* pBuffer) const;

private:
    void* m_pEncoder = nullptr;
};

// A session with one mapped surface and one buffer: the least that encodes.
struct SmallSession : OpenSession
{
    explicit SmallSession(SessionSetup setup = SessionSetup());
    // Before the surface goes.
    ~SmallSession() { End(); }

    FakeSurface surface;
    void* pRegistered;
    void* pMapped;
    void* pBuffer;

    NV_ENC_PIC_PARAMS Picture() const;
};

// Each test begins with a runtime without a script, and ends with no session open and no reference on the device.
class NvencRuntime : public testing::Test
{
protected:
    NvencRuntime();
    ~NvencRuntime() override;

    const Runtime& m_runtime;
    const NvencRuntimeScript& m_script;
    const NV_ENCODE_API_FUNCTION_LIST& m_api;
};
