// What the tests of the encoder session share: the scripted runtime, loaded by its name, and a session whose surfaces
// are plain numbers.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include "NV_Video_Codec_SDK/NvEncoder/NvEncoder.h"
#include "fake_runtime.h"
#include "fake_runtime_loader.h"

using Packets = std::vector<std::vector<std::uint8_t>>;

// A session as a device variant would make it, with its insides open.
class TestEncoder : public NvEncoder
{
public:
    struct SSettings
    {
        NV_ENC_DEVICE_TYPE m_eDeviceType = NV_ENC_DEVICE_TYPE_DIRECTX;
        void* m_pDevice = nullptr;
        std::uint32_t m_uiWidth = 64;
        std::uint32_t m_uiHeight = 48;
        NV_ENC_BUFFER_FORMAT m_eFormat = NV_ENC_BUFFER_FORMAT_ARGB;
        std::uint32_t m_uiExtraOutputDelay = 3;
        bool m_bMotionEstimationOnly = false;
        bool m_bOutputInVideoMemory = false;
    };

    explicit TestEncoder(const SSettings& settings);
    ~TestEncoder() override;

    using NvEncoder::m_bEncoderInitialized;
    using NvEncoder::m_bMotionEstimationOnly;
    using NvEncoder::m_bOutputInVideoMemory;
    using NvEncoder::m_encodeConfig;
    using NvEncoder::m_hEncoder;
    using NvEncoder::m_iGot;
    using NvEncoder::m_initializeParams;
    using NvEncoder::m_iToSend;
    using NvEncoder::m_nEncoderBuffer;
    using NvEncoder::m_nHeight;
    using NvEncoder::m_nMaxEncodeHeight;
    using NvEncoder::m_nMaxEncodeWidth;
    using NvEncoder::m_nOutputDelay;
    using NvEncoder::m_nWidth;
    using NvEncoder::m_vBitstreamOutputBuffer;
    using NvEncoder::m_vInputFrames;
    using NvEncoder::m_vMappedInputBuffers;
    using NvEncoder::m_vMappedRefBuffers;
    using NvEncoder::m_vpCompletionEvent;
    using NvEncoder::m_vReferenceFrames;
    using NvEncoder::m_vRegisteredResources;
    using NvEncoder::m_vRegisteredResourcesForReference;
    using NvEncoder::RegisterResources;
    using NvEncoder::UnregisterResources;

    // What AllocateInputBuffers registers its surfaces with.
    std::uint32_t m_uiPitch = 256;
    NV_ENC_BUFFER_FORMAT m_eSurfaceFormat;
    std::vector<std::int32_t> m_vAllocated;  // the argument of each AllocateInputBuffers
    int m_nReleased = 0;                     // calls of ReleaseInputBuffers
    std::vector<std::unique_ptr<int>> m_vSurfaces;

protected:
    void AllocateInputBuffers(std::int32_t nInputBuffers) override;
    void ReleaseInputBuffers() override;
};

class NvencTest : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    void UseRuntimeFile(const std::string& strBuild) { m_runtimeFile.Use(strBuild); }
    bool IsRuntimeStillLoaded() { return m_runtimeFile.IsLoadedByOthers(); }

    // A session on which CreateEncoder succeeded, by default with a ring of 4.
    std::unique_ptr<TestEncoder> MakeEncoder(const TestEncoder::SSettings& settings = {});
    // Records as CreateDefaultEncoderParams fills them, for the session's size.
    void FillParams(NvEncoder& encoder, GUID codecGuid = NV_ENC_CODEC_H264_GUID);

    FakeRuntime m_runtime;
    NV_ENC_INITIALIZE_PARAMS m_params = {};
    NV_ENC_CONFIG m_config = {};

private:
    FakeRuntimeLoader m_runtimeFile;
};

// Runs the action and holds the exception against the two. strText: all of it but the newline at the end.
template <typename TAction>
void ExpectFailure(TAction action, const std::string& strText, int nStatus)
{
    try
    {
        action();
        ADD_FAILURE() << "no exception; expected: " << strText;
    }
    catch (const NVENCException& exception)
    {
        EXPECT_EQ(exception.GetErrorString(), strText + "\n");
        EXPECT_EQ(std::string(exception.what()), strText + "\n");
        EXPECT_EQ(static_cast<int>(exception.GetErrorCode()), nStatus);
    }
}
