// The settings that NVENC gets for a file, and their text in the diagnostics.
#include "output_fixture.h"

using testing::ElementsAre;
using testing::HasSubstr;

using NvencSettingsTest = OutputTest;

namespace
{
constexpr GUID g_guidLowLatencyHq = {0xC5F733B9, 0xEA97, 0x4CF9, {0xBE, 0xC2, 0xBF, 0x78, 0xA7, 0x4F, 0xD1, 0x05}};
constexpr GUID g_guidH264 = {0x6BC82762, 0x4E63, 0x4CA4, {0xAA, 0x85, 0x1E, 0x50, 0xF3, 0x21, 0xF6, 0xBF}};
}  // namespace

TEST_F(NvencSettingsTest, TheSettingsAreConstantQualityOfTheLowLatencyPreset)
{
    m_runtime.m_presetConfig.rcParams.constQP = {1, 2, 3};
    m_runtime.m_presetConfig.rcParams.averageBitRate = 123456;
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_OK);

    EXPECT_THAT(m_runtime.m_vPresetsAsked, ElementsAre(g_guidLowLatencyHq));
    EXPECT_THAT(m_runtime.m_vCodecsAsked, testing::AllOf(testing::SizeIs(4), testing::Each(g_guidH264)));
    ASSERT_EQ(m_runtime.m_vInitialized.size(), 1U);
    const NV_ENC_INITIALIZE_PARAMS& params = m_runtime.m_vInitialized[0];
    EXPECT_EQ(params.encodeGUID, g_guidH264);
    EXPECT_EQ(params.presetGUID, g_guidLowLatencyHq);
    EXPECT_EQ(params.encodeWidth, 64U);
    EXPECT_EQ(params.encodeHeight, 48U);
    EXPECT_EQ(params.frameRateNum, 30U);
    EXPECT_EQ(params.frameRateDen, 1U);
    const NV_ENC_RC_PARAMS& rc = m_runtime.m_vConfigs.at(0).rcParams;
    EXPECT_EQ(static_cast<int>(rc.rateControlMode), 0);
    EXPECT_EQ(rc.constQP.qpInterP, 24U);
    EXPECT_EQ(rc.constQP.qpInterB, 28U);
    EXPECT_EQ(rc.constQP.qpIntra, 21U);
    EXPECT_EQ(rc.averageBitRate, 123456U);  // all else is the preset's
    EXPECT_EQ(m_runtime.m_vConfigs[0].frameIntervalP, 1);
    EXPECT_EQ(m_runtime.m_vConfigs[0].gopLength, 0xFFFFFFFFU);
}

TEST_F(NvencSettingsTest, TheRingHasThreeSlotsMoreThanTheEncoderNeeds)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    ASSERT_EQ(m_runtime.m_vRegistered.size(), 4U);
    for (std::size_t i = 0; i < 4; ++i)
    {
        EXPECT_EQ(m_runtime.m_vRegistered[i].resourceToRegister,
                  static_cast<IDirect3DSurface9*>(m_d3d.m_vSurfaces.at(i + 1).get()));
        EXPECT_EQ(static_cast<int>(m_runtime.m_vRegistered[i].bufferFormat), 0x1000000);
        EXPECT_EQ(m_runtime.m_vRegistered[i].width, 64U);
        EXPECT_EQ(m_runtime.m_vRegistered[i].height, 48U);
    }
}

TEST_F(NvencSettingsTest, ThePresetsAreAskedForWithRoomForAHundred)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    EXPECT_EQ(m_runtime.Count("nvEncGetEncodePresetCount"), 1);
    EXPECT_THAT(m_runtime.m_vPresetListSizes, ElementsAre(100U));
}

TEST_F(NvencSettingsTest, WhatTheRuntimeSaysOfItsPresetsDoesNotMatter)
{
    for (const char* pszEntry :
         {"nvEncGetEncodePresetConfig", "nvEncGetEncodePresetCount", "nvEncGetEncodePresetGUIDs", "nvEncGetEncodeCaps"})
        m_runtime.FailAlways(pszEntry, NV_ENC_ERR_UNSUPPORTED_PARAM);
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    EXPECT_EQ(m_runtime.m_vConfigs.at(0).rcParams.constQP.qpInterP, 24U);
}

TEST_F(NvencSettingsTest, ARuntimeWithoutPresetListsWillDo)
{
    m_runtime.Lack("nvEncGetEncodePresetCount");
    m_runtime.Lack("nvEncGetEncodePresetGUIDs");
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_OK);
}

// --- the settings in the diagnostics

TEST_F(NvencSettingsTest, TheSettingsAreReportedInOneTextBeforeTheEncoderIsMade)
{
    m_runtime.Fail("nvEncInitializeEncoder", 1, NV_ENC_ERR_INVALID_PARAM);
    const OutputPtr pFile = MakeFile(64, 48);
    WriteAt(*pFile, 0.0);
    EXPECT_THAT(m_diagnostics.LineNumbers(), ElementsAre(g_nLineParameters, g_nLineCreateEncoder));
    EXPECT_EQ(m_diagnostics.m_vLines[0].m_strFile, "mul_imageformat/w32_imageformat_mp4/mp4_outputfile");
    const std::wstring& wszText = m_diagnostics.m_vLines[0].m_wszText;
    EXPECT_EQ(wszText.find(L"NV_ENC_INITIALIZE_PARAMS:\n"), 0U);
    EXPECT_THAT(wszText, HasSubstr(L"\npresetGUID: ll_hq\n"));
    EXPECT_THAT(wszText, HasSubstr(L"\nencodeWidth: 64\n"));
    EXPECT_THAT(wszText, HasSubstr(L"\n    rateControlMode: 0x0\n    constQP: 24, 28, 21\n"));
}

TEST_F(NvencSettingsTest, TheTextOfTheSettingsEndsAtATargetQualityOfZero)
{
    const std::wstring wszLast = L"    targetQuality: ";
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    ASSERT_EQ(m_diagnostics.TextsOf(g_nLineParameters).size(), 1U);
    const std::wstring wszText = m_diagnostics.TextsOf(g_nLineParameters)[0];
    ASSERT_GE(wszText.size(), wszLast.size());
    EXPECT_EQ(wszText.substr(wszText.size() - wszLast.size()), wszLast);
}

TEST_F(NvencSettingsTest, AnyOtherTargetQualityIsACharacterAndTheTextGoesOn)
{
    m_runtime.m_presetConfig.rcParams.targetQuality = 'Q';
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(WriteAt(*pFile, 0.0), QM_OK);
    ASSERT_EQ(m_diagnostics.TextsOf(g_nLineParameters).size(), 1U);
    EXPECT_THAT(m_diagnostics.TextsOf(g_nLineParameters)[0],
                HasSubstr(L"    targetQuality: Q\n    lookaheadDepth: 0\n"));
}
