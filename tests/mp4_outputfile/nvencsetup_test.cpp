// The first frame of a file that is written through NVENC: device, session, settings, file.
#include "output_fixture.h"

#include <algorithm>
#include <filesystem>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace
{
class NvencSetupTest : public OutputTest
{
protected:
    // What the back end itself answers to its set-up.
    HRESULT Init(OpenNvencWriter& writer) { return writer.OpenAt(WidePath(m_target)); }
    // The first frame fails, and every further one at once; the diagnostics report why, from that line.
    void ExpectFailedSetUp(int nLine, const std::wstring& wszText)
    {
        const OutputPtr pFile = MakeFile(64, 48);
        EXPECT_EQ(WriteAt(*pFile, 0.0), QM_ERR_FAIL);
        EXPECT_THAT(m_diagnostics.TextsOf(nLine), ElementsAre(wszText));
        for (const SDiagnosticsLine& line : m_diagnostics.m_vLines)
            EXPECT_EQ(line.m_strFile, "mul_imageformat/w32_imageformat_mp4/mp4_outputfile");

        const std::size_t uiCalls = m_runtime.m_vCalls.size();
        const std::size_t uiDirect3DCalls = m_d3d.m_vCalls.size();
        EXPECT_EQ(WriteAt(*pFile, 1.0), QM_ERR_FAIL);
        EXPECT_EQ(m_runtime.m_vCalls.size(), uiCalls);
        EXPECT_EQ(m_d3d.m_vCalls.size(), uiDirect3DCalls);
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
        EXPECT_FALSE(std::filesystem::exists(m_target.Path()));
    }
    // Has the runtime throw out of a call what a session would throw there.
    void ThrowFrom(const std::string& strEntry, const char* pszText)
    {
        m_runtime.m_funcEntered = [=](const std::string& strCalled) {
            if (strCalled == strEntry) throw NVENCException("Entry", pszText, NV_ENC_ERR_GENERIC);
        };
    }
};
}  // namespace

// --- the device

TEST_F(NvencSetupTest, TheDeviceIsMadeOnTheFirstAdapterWithAnUnusedSurface)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    ASSERT_GE(m_d3d.m_vCalls.size(), 4U);
    EXPECT_EQ(std::vector(m_d3d.m_vCalls.begin(), m_d3d.m_vCalls.begin() + 4),
              (std::vector<std::string>{"Direct3DCreate9Ex(32)", "CreateDevice(0, 1, null, 64)",
                                        "GetAdapterIdentifier(0, 0, set)",
                                        "CreateOffscreenPlainSurface(64, 48, 21, 0, null)"}));
    ASSERT_EQ(m_d3d.m_vSurfaces.size(), 5U);  // and four for the encoder
    EXPECT_EQ(m_d3d.m_vSurfaces[0]->GetRow(0), Bytes(64 * 4, MemorySurface::s_bUnwritten));
}

TEST_F(NvencSetupTest, ThereIsNoWindowAndNoWaitingForTheScreen)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    ASSERT_EQ(m_d3d.m_vPresent.size(), 1U);
    const D3DPRESENT_PARAMETERS& present = m_d3d.m_vPresent[0];
    EXPECT_EQ(present.BackBufferWidth, 64U);
    EXPECT_EQ(present.BackBufferHeight, 48U);
    EXPECT_EQ(static_cast<int>(present.BackBufferFormat), 21);
    EXPECT_EQ(present.BackBufferCount, 0U);
    EXPECT_EQ(static_cast<int>(present.MultiSampleType), 0);
    EXPECT_EQ(present.MultiSampleQuality, 0U);
    EXPECT_EQ(static_cast<int>(present.SwapEffect), 1);
    EXPECT_EQ(present.hDeviceWindow, nullptr);
    EXPECT_EQ(present.Windowed, 1);
    EXPECT_EQ(present.EnableAutoDepthStencil, 0);
    EXPECT_EQ(static_cast<int>(present.AutoDepthStencilFormat), 0);
    EXPECT_EQ(present.Flags, 0U);
    EXPECT_EQ(present.FullScreen_RefreshRateInHz, 0U);
    EXPECT_EQ(present.PresentationInterval, 0x80000000U);
}

TEST_F(NvencSetupTest, TheDeviceIsThereBeforeTheSessionAndTheSurfacesComeWithTheEncoder)
{
    const OutputPtr pFile = MakeFile(64, 48);
    m_d3d.m_funcCalled = [this](const std::string& strCall) {
        m_vOrder.push_back(strCall.substr(0, strCall.find('(')));
    };
    m_runtime.m_funcEntered = [this](const std::string& strEntry) { m_vOrder.push_back(strEntry); };
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_OK);

    // Everything up to the frame's own surface, without the calls that come once for each slot of the ring.
    m_vOrder.erase(std::find(m_vOrder.begin(), m_vOrder.end(), "LockRect"), m_vOrder.end());
    m_vOrder.erase(std::unique(m_vOrder.begin(), m_vOrder.end()), m_vOrder.end());
    EXPECT_THAT(m_vOrder,
                ElementsAre("Direct3DCreate9Ex", "CreateDevice", "GetAdapterIdentifier", "CreateOffscreenPlainSurface",
                            "NvEncodeAPIGetMaxSupportedVersion", "NvEncodeAPICreateInstance",
                            "nvEncOpenEncodeSessionEx", "nvEncGetEncodeCaps", "nvEncGetEncodePresetConfig",
                            "nvEncGetEncodePresetCount", "nvEncGetEncodePresetGUIDs", "nvEncInitializeEncoder",
                            "nvEncRegisterAsyncEvent", "nvEncCreateBitstreamBuffer", "CreateOffscreenPlainSurface",
                            "nvEncRegisterResource"));
}

TEST_F(NvencSetupTest, AnOddPictureGetsADeviceAndAnEncoderOfTheNextEvenSize)
{
    const OutputPtr pFile = MakeFile(5, 3);
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    EXPECT_EQ(m_d3d.m_vPresent.at(0).BackBufferWidth, 6U);
    EXPECT_EQ(m_d3d.m_vPresent.at(0).BackBufferHeight, 4U);
    EXPECT_THAT(m_d3d.m_vCalls, testing::Contains("CreateOffscreenPlainSurface(6, 4, 21, 0, null)").Times(5));
    EXPECT_EQ(m_runtime.m_vInitialized.at(0).encodeWidth, 6U);
    EXPECT_EQ(m_runtime.m_vInitialized.at(0).encodeHeight, 4U);
}

TEST_F(NvencSetupTest, AHostThatGoesOnAfterARefusalWritesWithTheSizeAsItStands)
{
    SQmImageAttributes attributes = test_support::PictureAttributes(5, 3);
    attributes.m_uiBitsInMemory = 16;
    const OutputPtr pFile = MakeFile();
    ASSERT_EQ(Announce(*pFile, &attributes), QM_ERR_RANGE);
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    EXPECT_EQ(m_d3d.m_vPresent.at(0).BackBufferWidth, 5U);
    EXPECT_EQ(m_d3d.m_vPresent.at(0).BackBufferHeight, 3U);
    EXPECT_EQ(m_runtime.m_vInitialized.at(0).encodeWidth, 5U);
    EXPECT_EQ(m_runtime.m_vInitialized.at(0).encodeHeight, 3U);
}

TEST_F(NvencSetupTest, AHostThatAnnouncesNothingAsksForADeviceWithoutASize)
{
    const OutputPtr pFile = MakeFile();
    m_d3d.m_hrDevice = D3DERR_INVALIDCALL;  // as a device without a window would
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_ERR_FAIL);
    EXPECT_EQ(m_d3d.m_vPresent.at(0).BackBufferWidth, 0U);
    EXPECT_EQ(m_d3d.m_vPresent.at(0).BackBufferHeight, 0U);
}

TEST_F(NvencSetupTest, EveryDirect3DFailureIsTheSetUpsAnswerAndEndsIt)
{
    struct SCase
    {
        HRESULT ScriptedDirect3D::*m_phrResult;
        std::size_t m_uiCalls;  // up to the failing one
    };
    for (const SCase failing : {SCase{&ScriptedDirect3D::m_hrCreate, 1}, SCase{&ScriptedDirect3D::m_hrDevice, 2},
                                SCase{&ScriptedDirect3D::m_hrSurface, 4}})
    {
        // Any result but 0 is a failure, whatever its sign.
        for (const HRESULT hr : {static_cast<HRESULT>(0x8876086A), static_cast<HRESULT>(0x00000002)})
        {
            ScriptedDirect3D d3d;
            d3d.*failing.m_phrResult = hr;
            OpenNvencWriter writer;
            EXPECT_EQ(Init(writer), hr);
            EXPECT_EQ(d3d.m_vCalls.size(), failing.m_uiCalls);
            EXPECT_EQ(writer.m_pEncoder, nullptr);
            EXPECT_FALSE(writer.m_muxedFile.IsOpen());
        }
    }
    EXPECT_THAT(m_runtime.m_vCalls, IsEmpty());
    EXPECT_THAT(m_diagnostics.m_vLines, IsEmpty());
}

TEST_F(NvencSetupTest, ADeviceThatCantBeMadeIsNotAskedForAgain)
{
    m_d3d.m_hrDevice = D3DERR_NOTAVAILABLE;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_ERR_FAIL);
    m_d3d.m_hrDevice = S_OK;
    EXPECT_EQ(WriteAt(*pFile, 1.0), QM_ERR_FAIL);
    EXPECT_THAT(m_d3d.m_vCalls, ElementsAre("Direct3DCreate9Ex(32)", "CreateDevice(0, 1, null, 64)"));
}

TEST_F(NvencSetupTest, TheAdaptersNameIsNotNeeded)
{
    m_d3d.m_hrIdentifier = D3DERR_INVALIDCALL;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_OK);
}

// --- the session

TEST_F(NvencSetupTest, TheSessionIsOpenedOnTheDevice)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    ASSERT_EQ(m_runtime.m_vOpened.size(), 1U);
    EXPECT_EQ(m_runtime.m_vOpened[0].device, static_cast<IDirect3DDevice9*>(&m_d3d.m_device));
    EXPECT_EQ(static_cast<int>(m_runtime.m_vOpened[0].deviceType), 0);
}

TEST_F(NvencSetupTest, WithoutTheRuntimeTheDiagnosticsSaySoAndEveryFrameFails)
{
    m_runtimeFile.Use("none");
    ExpectFailedSetUp(g_nLineOpenSession,
                      L"NvEncoder::LoadNvEncApi : NVENC library file is not found. Please ensure NV driver is "
                      L"installed\n");
}

TEST_F(NvencSetupTest, AnOldRuntimeIsRefused)
{
    m_runtime.m_uiVersion = 0x8F;
    ExpectFailedSetUp(g_nLineOpenSession,
                      L"NvEncoder::LoadNvEncApi : Current Driver Version does not support this NvEncodeAPI version, "
                      L"please upgrade driver\n");
}

TEST_F(NvencSetupTest, ASessionThatCantBeOpenedIsReported)
{
    m_runtime.Fail("nvEncOpenEncodeSessionEx", 1, NV_ENC_ERR_OUT_OF_MEMORY);
    ExpectFailedSetUp(g_nLineOpenSession,
                      L"NvEncoder::NvEncoder : m_nvenc.nvEncOpenEncodeSessionEx(&encodeSessionExParams, &hEncoder) "
                      L"returned error 10\n");
}

TEST_F(NvencSetupTest, AFailedSessionIsAnsweredWithOne)
{
    m_runtimeFile.Use("none");
    OpenNvencWriter writer;
    EXPECT_EQ(Init(writer), 1);
    EXPECT_EQ(writer.m_pEncoder, nullptr);
}

// --- the encoder

TEST_F(NvencSetupTest, AnExceptionFromTheSettingsLeavesTheCall)
{
    for (const char* pszEntry :
         {"nvEncGetEncodeCaps", "nvEncGetEncodePresetConfig", "nvEncGetEncodePresetCount", "nvEncGetEncodePresetGUIDs"})
    {
        ThrowFrom(pszEntry, "settings");
        const OutputPtr pFile = MakeFile(64, 48);
        EXPECT_THROW(WriteAt(*pFile, 0.0), NVENCException) << pszEntry;
        EXPECT_EQ(pFile->GetTimes().size(), 1U);
        m_runtime.m_funcEntered = nullptr;
        EXPECT_EQ(WriteAt(*pFile, 1.0), QM_ERR_FAIL);  // there is a session without an encoder
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
        EXPECT_THAT(m_runtime.m_setSessions, IsEmpty());
        EXPECT_FALSE(std::filesystem::exists(m_target.Path()));
    }
    EXPECT_THAT(m_diagnostics.TextsOf(g_nLineOpenSession), IsEmpty());
    EXPECT_THAT(m_diagnostics.TextsOf(g_nLineCreateEncoder), IsEmpty());
}

TEST_F(NvencSetupTest, AnEncoderThatCantBeMadeIsReportedAndFurtherFramesFailSafely)
{
    m_runtime.Fail("nvEncInitializeEncoder", 1, NV_ENC_ERR_INVALID_PARAM);
    {
        const OutputPtr pFile = MakeFile(64, 48);
        EXPECT_EQ(WriteAt(*pFile, 0.0), QM_ERR_FAIL);
        EXPECT_THAT(m_diagnostics.TextsOf(g_nLineCreateEncoder),
                    ElementsAre(L"NvEncoder::CreateEncoder : m_nvenc.nvEncInitializeEncoder(m_hEncoder, "
                                L"&m_initializeParams) returned error 8\n"));
        for (int i = 1; i < 7; ++i)
            EXPECT_EQ(WriteAt(*pFile, i), QM_ERR_FAIL);
        EXPECT_EQ(m_runtime.Count("nvEncEncodePicture"), 0);
        EXPECT_EQ(m_runtime.Count("nvEncInitializeEncoder"), 1);  // nothing is tried again
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
        EXPECT_THAT(m_diagnostics.TextsOf(g_nLineEndEncode),
                    ElementsAre(L"NvEncoder::EndEncode : Encoder device not initialized\n"));
    }
    EXPECT_FALSE(std::filesystem::exists(m_target.Path()));
}

TEST_F(NvencSetupTest, ARingThatCantBeMadeIsReportedAndFurtherFramesFailSafely)
{
    for (const char* pszEntry : {"nvEncCreateBitstreamBuffer", "nvEncRegisterResource"})
    {
        FakeRuntime runtime;
        runtime.Fail(pszEntry, 2, NV_ENC_ERR_OUT_OF_MEMORY);
        m_diagnostics.m_vLines.clear();
        const OutputPtr pFile = MakeFile(64, 48);
        for (int i = 0; i < 6; ++i)
            EXPECT_EQ(WriteAt(*pFile, i), QM_ERR_FAIL);
        ASSERT_EQ(m_diagnostics.TextsOf(g_nLineCreateEncoder).size(), 1U);
        EXPECT_THAT(m_diagnostics.TextsOf(g_nLineCreateEncoder)[0], HasSubstr(L" returned error 10\n"));
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
        EXPECT_THAT(runtime.m_setSessions, IsEmpty());
        EXPECT_THAT(runtime.m_mapRegistered, IsEmpty());
        EXPECT_THAT(runtime.m_setBuffers, IsEmpty());
        EXPECT_THAT(runtime.m_vComplaints, IsEmpty());
    }
}

TEST_F(NvencSetupTest, AFailedEncoderIsAnsweredWithOneAndStays)
{
    m_runtime.Fail("nvEncInitializeEncoder", 1, NV_ENC_ERR_INVALID_PARAM);
    OpenNvencWriter writer;
    EXPECT_EQ(Init(writer), 1);
    EXPECT_NE(writer.m_pEncoder, nullptr);
    EXPECT_FALSE(writer.m_muxedFile.IsOpen());
}

TEST_F(NvencSetupTest, APercentSignInAFailuresTextIsPartOfTheFormat)
{
    ThrowFrom("nvEncOpenEncodeSessionEx", "100%% busy");
    OpenNvencWriter writerWithoutSession;
    EXPECT_EQ(Init(writerWithoutSession), 1);
    EXPECT_THAT(m_diagnostics.TextsOf(g_nLineOpenSession), ElementsAre(L"Entry : 100% busy\n"));

    ThrowFrom("nvEncInitializeEncoder", "200%% busy");
    OpenNvencWriter writerWithoutEncoder;
    EXPECT_EQ(Init(writerWithoutEncoder), 1);
    EXPECT_THAT(m_diagnostics.TextsOf(g_nLineCreateEncoder), ElementsAre(L"Entry : 200% busy\n"));
}

// --- the file

TEST_F(NvencSetupTest, APathThatCantBeOpenedIsNoFailureAndNothingIsWritten)
{
    const std::filesystem::path folder = m_target.Path();
    std::filesystem::create_directory(folder);
    {
        const OutputPtr pFile = MakeFile((folder / "missing" / "file.mp4").wstring());
        const SQmImageAttributes attributes = test_support::PictureAttributes(64, 48);
        Announce(*pFile, &attributes);
        WriteFrames(*pFile, 6);
        EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    }
    EXPECT_EQ(m_runtime.Count("nvEncLockBitstream"), 6);
    EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST_F(NvencSetupTest, AnObjectWithoutAPathEncodesIntoNothing)
{
    auto* const pFile = new OpenOutputFile(m_pFormat);
    const OutputPtr pOwner(pFile);
    pFile->AddRef();
    const SQmImageAttributes attributes = test_support::PictureAttributes(64, 48);
    Announce(*pFile, &attributes);
    WriteFrames(*pFile, 6);
    EXPECT_EQ(pFile->CloseOutput(), QM_OK);
    EXPECT_EQ(m_runtime.Count("nvEncLockBitstream"), 6);
}

TEST_F(NvencSetupTest, AnExistingFileIsReplaced)
{
    test_support::WriteText(m_target.Path(), std::string(100'000, 'x'));
    {
        const OutputPtr pFile = MakeFile(64, 48);
        WriteFrames(*pFile, 1);
    }
    EXPECT_LT(m_target.Bytes().size(), 2000U);
}
