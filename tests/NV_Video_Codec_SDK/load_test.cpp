// Loading the runtime and opening a session.
#include "nvenc_fixture.h"
#include "support/current_folder.h"

namespace
{
class LoadTest : public NvencTest
{
protected:
    static void Construct() { TestEncoder encoder({}); }
};

constexpr const char* g_pszLoad = "NvEncoder::LoadNvEncApi : ";
}  // namespace

TEST_F(LoadTest, AnAbsentRuntimeIsReported)
{
    UseRuntimeFile("none");
    ExpectFailure(Construct,
                  g_pszLoad + std::string("NVENC library file is not found. Please ensure NV driver is installed"), 1);
}

TEST_F(LoadTest, ARuntimeInTheCurrentFolderOrOnThePathIsNotLoaded)
{
    UseRuntimeFile("none");
    const std::wstring strFolder = FakeRuntimeLoader::FolderOf("full");
    wchar_t wszPath[16384] = {};
    GetEnvironmentVariableW(L"PATH", wszPath, 16384);
    SetEnvironmentVariableW(L"PATH", strFolder.c_str());
    {
        const test_support::CurrentFolder current(strFolder);
        ExpectFailure(Construct,
                      g_pszLoad + std::string("NVENC library file is not found. Please ensure NV driver is installed"),
                      1);
    }
    SetEnvironmentVariableW(L"PATH", wszPath);
}

TEST_F(LoadTest, ARuntimeWithoutTheVersionEntryIsReported)
{
    UseRuntimeFile("noversion");
    ExpectFailure(Construct,
                  g_pszLoad + std::string("Cannot find NvEncodeAPIGetMaxSupportedVersion() entry in NVENC library"), 1);
}

TEST_F(LoadTest, ARuntimeWithoutTheCreateEntryIsReported)
{
    UseRuntimeFile("nocreate");
    ExpectFailure(Construct, g_pszLoad + std::string("Cannot find NvEncodeAPICreateInstance() entry in NVENC library"),
                  1);
}

TEST_F(LoadTest, AFailedVersionQueryIsReported)
{
    m_runtime.Fail("NvEncodeAPIGetMaxSupportedVersion", 1, NV_ENC_ERR_NO_ENCODE_DEVICE);
    ExpectFailure(Construct, g_pszLoad + std::string("NvEncodeAPIGetMaxSupportedVersion(&version) returned error 1"),
                  1);
    EXPECT_THAT(m_runtime.m_vCalls, testing::ElementsAre("NvEncodeAPIGetMaxSupportedVersion"));
}

TEST_F(LoadTest, ADriverThatReports143FailsWithStatus15)
{
    m_runtime.m_uiVersion = 143;
    ExpectFailure(Construct,
                  g_pszLoad + std::string("Current Driver Version does not support this NvEncodeAPI version, please "
                                          "upgrade driver"),
                  15);
    EXPECT_EQ(m_runtime.Count("NvEncodeAPICreateInstance"), 0);
}

TEST_F(LoadTest, ADriverThatReports144Passes)
{
    m_runtime.m_uiVersion = 144;
    TestEncoder encoder({});
    EXPECT_TRUE(encoder.GetSession());
}

TEST_F(LoadTest, ANewerDriverPasses)
{
    for (const std::uint32_t uiVersion : {145u, 0xC1u, 0xFFFFFFFFu})
    {
        m_runtime.m_uiVersion = uiVersion;
        TestEncoder encoder({});
        EXPECT_TRUE(encoder.GetSession()) << uiVersion;
    }
}

TEST_F(LoadTest, AnOlderDriverFailsWhateverItsMinorVersion)
{
    for (const std::uint32_t uiVersion : {0u, 0x8Fu, 0x10u})
    {
        m_runtime.m_uiVersion = uiVersion;
        EXPECT_THROW(Construct(), NVENCException) << uiVersion;
    }
}

TEST_F(LoadTest, AFailedCreateInstanceIsReported)
{
    m_runtime.Fail("NvEncodeAPICreateInstance", 1, NV_ENC_ERR_INVALID_VERSION);
    ExpectFailure(Construct, g_pszLoad + std::string("NvEncodeAPICreateInstance(&m_nvenc) returned error 15"), 15);
}

TEST_F(LoadTest, ATableWithoutItsFirstEntryIsNoRuntime)
{
    m_runtime.Lack("nvEncOpenEncodeSession");
    ExpectFailure(Construct, "NvEncoder::NvEncoder : EncodeAPI not found", 1);
    EXPECT_EQ(m_runtime.Count("nvEncOpenEncodeSessionEx"), 0);
}

TEST_F(LoadTest, AFailedOpenIsReported)
{
    m_runtime.Fail("nvEncOpenEncodeSessionEx", 1, NV_ENC_ERR_UNSUPPORTED_DEVICE);
    ExpectFailure(Construct,
                  "NvEncoder::NvEncoder : m_nvenc.nvEncOpenEncodeSessionEx(&encodeSessionExParams, &hEncoder) returned "
                  "error 2",
                  2);
    EXPECT_EQ(m_runtime.Count("nvEncDestroyEncoder"), 0);
}

TEST_F(LoadTest, AnUnknownStatusIsReportedAsANumber)
{
    m_runtime.Fail("nvEncOpenEncodeSessionEx", 1, static_cast<NVENCSTATUS>(-77));
    ExpectFailure(Construct,
                  "NvEncoder::NvEncoder : m_nvenc.nvEncOpenEncodeSessionEx(&encodeSessionExParams, &hEncoder) returned "
                  "error -77",
                  -77);
}

TEST_F(LoadTest, TheSessionIsOpenedOnTheDeviceWithTheInterfacesVersion)
{
    int nDevice = 0;
    TestEncoder::SSettings settings;
    settings.m_eDeviceType = NV_ENC_DEVICE_TYPE_CUDA;
    settings.m_pDevice = &nDevice;
    TestEncoder encoder(settings);

    ASSERT_EQ(m_runtime.m_vOpened.size(), 1u);
    EXPECT_EQ(m_runtime.m_vOpened[0].device, &nDevice);
    EXPECT_EQ(m_runtime.m_vOpened[0].deviceType, 1);
    EXPECT_EQ(m_runtime.m_vOpened[0].apiVersion, 9u);
    EXPECT_EQ(m_runtime.m_vOpened[0].reserved, nullptr);
    EXPECT_THAT(m_runtime.m_vCalls, testing::ElementsAre("NvEncodeAPIGetMaxSupportedVersion",
                                                         "NvEncodeAPICreateInstance", "nvEncOpenEncodeSessionEx"));
}

TEST_F(LoadTest, ANewSessionHasTheGivenSizeAndNothingElseYet)
{
    TestEncoder encoder({});
    EXPECT_EQ(encoder.GetEncodeWidth(), 64u);
    EXPECT_EQ(encoder.GetEncodeHeight(), 48u);
    EXPECT_EQ(encoder.m_nMaxEncodeWidth, 64u);
    EXPECT_EQ(encoder.m_nMaxEncodeHeight, 48u);
    EXPECT_FALSE(encoder.m_bEncoderInitialized);
    EXPECT_EQ(encoder.m_iToSend, 0);
    EXPECT_EQ(encoder.m_iGot, 0);
}

TEST_F(LoadTest, TheDestructorEndsTheSessionAndFreesTheRuntime)
{
    {
        TestEncoder encoder({});
        EXPECT_EQ(m_runtime.m_setSessions.size(), 1u);
    }
    EXPECT_TRUE(m_runtime.m_setSessions.empty());
    EXPECT_FALSE(IsRuntimeStillLoaded());
}

TEST_F(LoadTest, AThrowingConstructorLeavesTheRuntimeLoaded)
{
    m_runtime.FailAlways("nvEncOpenEncodeSessionEx", NV_ENC_ERR_OUT_OF_MEMORY);
    EXPECT_THROW(Construct(), NVENCException);
    EXPECT_TRUE(IsRuntimeStillLoaded());
}

TEST_F(LoadTest, EachObjectHasASessionOfItsOwn)
{
    TestEncoder first({});
    TestEncoder second({});
    EXPECT_EQ(m_runtime.m_setSessions.size(), 2u);
    EXPECT_NE(first.GetSession(), second.GetSession());
}

TEST_F(LoadTest, TheFunctionTableServesCallsThatTheSessionDoesNotWrap)
{
    TestEncoder encoder({});
    std::uint32_t uiCount = 0;
    EXPECT_EQ(
        encoder.GetFunctionTable().nvEncGetEncodePresetCount(encoder.GetSession(), NV_ENC_CODEC_H264_GUID, &uiCount),
        NV_ENC_SUCCESS);
    EXPECT_EQ(uiCount, 9u);
}

TEST_F(LoadTest, AnEntryThatTheRuntimeLacksAnswersUnimplemented)
{
    m_runtime.Lack("nvEncGetEncodePresetCount");
    m_runtime.Lack("nvEncGetEncodePresetGUIDs");
    TestEncoder encoder({});
    std::uint32_t uiCount = 0;
    EXPECT_EQ(
        encoder.GetFunctionTable().nvEncGetEncodePresetCount(encoder.GetSession(), NV_ENC_CODEC_H264_GUID, &uiCount),
        NV_ENC_ERR_UNIMPLEMENTED);
    GUID aGuids[1];
    EXPECT_EQ(encoder.GetFunctionTable().nvEncGetEncodePresetGUIDs(encoder.GetSession(), NV_ENC_CODEC_H264_GUID, aGuids,
                                                                   1, &uiCount),
              NV_ENC_ERR_UNIMPLEMENTED);
}

TEST_F(LoadTest, AMissingOpenEntryIsAFailureWithAStatus)
{
    m_runtime.Lack("nvEncOpenEncodeSessionEx");
    ExpectFailure(Construct,
                  "NvEncoder::NvEncoder : m_nvenc.nvEncOpenEncodeSessionEx(&encodeSessionExParams, &hEncoder) returned "
                  "error 22",
                  22);
}
