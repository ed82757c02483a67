#include <functional>

#include "runtime.h"

namespace
{

NVENCSTATUS InitializeWith(const std::function<void(SessionSetup&)>& change)
{
    SessionSetup setup;
    change(setup);
    OpenSession session;
    return session.Initialize(setup);
}

}  // namespace

TEST_F(NvencRuntime, InitialisesOnce)
{
    SessionSetup setup;
    OpenSession session;
    EXPECT_EQ(session.Initialize(setup), NV_ENC_SUCCESS);
    EXPECT_EQ(session.Initialize(setup), NV_ENC_ERR_INVALID_CALL);
}

TEST_F(NvencRuntime, ARefusedInitialisationMayBeTriedAgain)
{
    SessionSetup setup;
    OpenSession session;
    setup.params.encodeWidth = 0;
    EXPECT_EQ(session.Initialize(setup), NV_ENC_ERR_INVALID_PARAM);
    setup.params.encodeWidth = 64;
    EXPECT_EQ(session.Initialize(setup), NV_ENC_SUCCESS);
}

TEST_F(NvencRuntime, WithoutAConfigurationThePresetDecides)
{
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.params.encodeConfig = nullptr; }), NV_ENC_SUCCESS);
    // Its B pictures need input before output; that shows that its configuration is the one.
    SessionSetup setup(64, 48, NV_ENC_PRESET_HQ_GUID);
    setup.params.encodeConfig = nullptr;
    FakeSurface surface(64, 48);
    OpenSession session;
    ASSERT_EQ(session.Initialize(setup), NV_ENC_SUCCESS);
    void* const pMapped = session.Map(session.Register(surface));
    EXPECT_EQ(session.Encode(session.Picture(pMapped, session.CreateBuffer(), 64, 48)), NV_ENC_ERR_NEED_MORE_INPUT);
}

TEST_F(NvencRuntime, InitialisationExaminesVersionWords)
{
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.params.version = 0x70050009; }), NV_ENC_ERR_INVALID_VERSION);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.config.version = 0; }), NV_ENC_ERR_INVALID_VERSION);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.config.rcParams.version = 0; }), NV_ENC_ERR_INVALID_VERSION);
}

TEST_F(NvencRuntime, UnknownCodecsPresetsAndProfilesAreUnsupported)
{
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.params.encodeGUID = NV_ENC_CODEC_HEVC_GUID; }),
              NV_ENC_ERR_UNSUPPORTED_PARAM);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.params.presetGUID = GUID{}; }), NV_ENC_ERR_UNSUPPORTED_PARAM);
    for (const GUID& profile : {NV_ENC_H264_PROFILE_STEREO_GUID, NV_ENC_H264_PROFILE_SVC_TEMPORAL_SCALABILTY,
                                NV_ENC_HEVC_PROFILE_MAIN_GUID, NV_ENC_H264_PROFILE_HIGH_444_GUID})
    {
        EXPECT_EQ(InitializeWith([&](SessionSetup& s) { s.config.profileGUID = profile; }),
                  NV_ENC_ERR_UNSUPPORTED_PARAM);
    }
}

TEST_F(NvencRuntime, SizesAreEvenAndWithinTheLimits)
{
    const auto initialize = [](std::uint32_t uiWidth, std::uint32_t uiHeight) {
        return InitializeWith([&](SessionSetup& s) {
            s.params.encodeWidth = s.params.maxEncodeWidth = uiWidth;
            s.params.encodeHeight = s.params.maxEncodeHeight = uiHeight;
        });
    };
    EXPECT_EQ(initialize(2, 2), NV_ENC_SUCCESS);
    EXPECT_EQ(initialize(1918, 1078), NV_ENC_SUCCESS);
    EXPECT_EQ(initialize(0, 48), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(initialize(64, 0), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(initialize(63, 48), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(initialize(64, 47), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(initialize(4098, 48), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(initialize(64, 0x80000000u), NV_ENC_ERR_INVALID_PARAM);
}

TEST_F(NvencRuntime, TheLargestSizeHoldsTheEncodedOne)
{
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.params.maxEncodeWidth = 62; }), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.params.maxEncodeHeight = 46; }), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.params.maxEncodeWidth = s.params.maxEncodeHeight = 0; }),
              NV_ENC_SUCCESS);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.params.maxEncodeWidth = 4096; }), NV_ENC_SUCCESS);
}

TEST_F(NvencRuntime, RatesAndRatiosAreFractions)
{
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.params.frameRateNum = 0; }), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.params.frameRateDen = 0; }), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.params.darWidth = 0; }), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.params.darWidth = s.params.darHeight = 0; }), NV_ENC_SUCCESS);
}

TEST_F(NvencRuntime, GroupsOfPicturesThatCannotBeAreInvalid)
{
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.config.gopLength = 0; }), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.config.frameIntervalP = -1; }), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) {
                  s.config.frameIntervalP = 3;
                  s.config.gopLength = 2;
              }),
              NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) {
                  s.config.frameIntervalP = 2;
                  s.params.enablePTD = 0;
              }),
              NV_ENC_ERR_UNSUPPORTED_PARAM);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.params.enablePTD = 2; }), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.config.frameIntervalP = 0; }), NV_ENC_SUCCESS);
}

TEST_F(NvencRuntime, QuantisersAreHeldToTheScale)
{
    const auto constant = [](std::uint32_t uiP, std::uint32_t uiB, std::uint32_t uiI) {
        return InitializeWith([&](SessionSetup& s) { s.config.rcParams.constQP = {uiP, uiB, uiI}; });
    };
    EXPECT_EQ(constant(24, 28, 21), NV_ENC_SUCCESS);
    EXPECT_EQ(constant(0, 0, 0), NV_ENC_SUCCESS);
    EXPECT_EQ(constant(51, 51, 51), NV_ENC_SUCCESS);
    EXPECT_EQ(constant(52, 51, 51), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(constant(24, 24, 0xFFFFFFFF), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(constant(40, 40, 21), NV_ENC_SUCCESS);
    EXPECT_EQ(constant(40, 40, 20), NV_ENC_ERR_UNSUPPORTED_PARAM);

    const auto variable = [](const std::function<void(NV_ENC_RC_PARAMS&)>& change) {
        return InitializeWith([&](SessionSetup& s) {
            s.config.rcParams.rateControlMode = NV_ENC_PARAMS_RC_VBR;
            s.config.rcParams.averageBitRate = 1000000;
            change(s.config.rcParams);
        });
    };
    EXPECT_EQ(variable([](NV_ENC_RC_PARAMS& rc) {
                  rc.enableMinQP = rc.enableMaxQP = 1;
                  rc.minQP = {20, 20, 20};
                  rc.maxQP = {40, 40, 40};
              }),
              NV_ENC_SUCCESS);
    EXPECT_EQ(variable([](NV_ENC_RC_PARAMS& rc) {
                  rc.enableMinQP = rc.enableMaxQP = 1;
                  rc.minQP = {41, 41, 41};
                  rc.maxQP = {40, 40, 40};
              }),
              NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(variable([](NV_ENC_RC_PARAMS& rc) { rc.targetQuality = 52; }), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(variable([](NV_ENC_RC_PARAMS& rc) { rc.maxBitRate = 999999; }), NV_ENC_ERR_INVALID_PARAM);
}

TEST_F(NvencRuntime, UnknownModesAreInvalid)
{
    for (const int nMode : {3, 4, 64, -1})
    {
        EXPECT_EQ(InitializeWith([&](SessionSetup& s) {
                      s.config.rcParams.rateControlMode = static_cast<NV_ENC_PARAMS_RC_MODE>(nMode);
                  }),
                  NV_ENC_ERR_INVALID_PARAM);
    }
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.config.frameFieldMode = NV_ENC_PARAMS_FRAME_FIELD_MODE(0); }),
              NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.config.mvPrecision = NV_ENC_MV_PRECISION(4); }),
              NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.H264().sliceMode = 4; }), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.H264().entropyCodingMode = NV_ENC_H264_ENTROPY_CODING_MODE(3); }),
              NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.H264().bdirectMode = NV_ENC_H264_BDIRECT_MODE(-1); }),
              NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.H264().maxNumRefFrames = 17; }), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.H264().chromaFormatIDC = 2; }), NV_ENC_ERR_INVALID_PARAM);
}

TEST_F(NvencRuntime, WhatThisEncoderLacksIsUnsupported)
{
    const std::function<void(SessionSetup&)> changes[] = {
        [](SessionSetup& s) { s.params.enableSubFrameWrite = 1; },
        [](SessionSetup& s) { s.params.enableExternalMEHints = 1; },
        [](SessionSetup& s) { s.params.enableMEOnlyMode = 1; },
        [](SessionSetup& s) { s.params.enableOutputInVidmem = 1; },
        [](SessionSetup& s) { s.config.monoChromeEncoding = 1; },
        [](SessionSetup& s) { s.config.mvPrecision = NV_ENC_MV_PRECISION_FULL_PEL; },
        [](SessionSetup& s) { s.config.rcParams.qpMapMode = NV_ENC_QP_MAP_DELTA; },
        [](SessionSetup& s) { s.config.rcParams.enableNonRefP = 1; },
        [](SessionSetup& s) { s.H264().enableTemporalSVC = 1; },
        [](SessionSetup& s) { s.H264().enableStereoMVC = 1; },
        [](SessionSetup& s) { s.H264().hierarchicalPFrames = 1; },
        [](SessionSetup& s) { s.H264().hierarchicalBFrames = 1; },
        [](SessionSetup& s) { s.H264().outputBufferingPeriodSEI = 1; },
        [](SessionSetup& s) { s.H264().outputRecoveryPointSEI = 1; },
        [](SessionSetup& s) { s.H264().enableIntraRefresh = 1; },
        [](SessionSetup& s) { s.H264().enableLTR = 1; },
        [](SessionSetup& s) { s.H264().separateColourPlaneFlag = 1; },
        [](SessionSetup& s) { s.H264().disableDeblockingFilterIDC = 2; },
        [](SessionSetup& s) { s.H264().fmoMode = NV_ENC_H264_FMO_ENABLE; },
        [](SessionSetup& s) { s.H264().useBFramesAsRef = NV_ENC_BFRAME_REF_MODE_MIDDLE; },
        [](SessionSetup& s) { s.H264().ppsId = 1; },
    };
    int nChange = 0;
    for (const auto& change : changes)
    {
        EXPECT_EQ(InitializeWith(change), NV_ENC_ERR_UNSUPPORTED_PARAM) << nChange;
        ++nChange;
    }
}

TEST_F(NvencRuntime, AProfileIsntAskedForWhatItLacks)
{
    EXPECT_EQ(InitializeWith([](SessionSetup& s) {
                  s.config.profileGUID = NV_ENC_H264_PROFILE_BASELINE_GUID;
                  s.config.frameIntervalP = 2;
              }),
              NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) {
                  s.config.profileGUID = NV_ENC_H264_PROFILE_BASELINE_GUID;
                  s.H264().entropyCodingMode = NV_ENC_H264_ENTROPY_CODING_MODE_CABAC;
              }),
              NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) {
                  s.config.profileGUID = NV_ENC_H264_PROFILE_MAIN_GUID;
                  s.H264().adaptiveTransformMode = NV_ENC_H264_ADAPTIVE_TRANSFORM_ENABLE;
              }),
              NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) {
                  s.config.profileGUID = NV_ENC_H264_PROFILE_HIGH_GUID;
                  s.H264().qpPrimeYZeroTransformBypassFlag = 1;
              }),
              NV_ENC_ERR_INVALID_PARAM);
}

TEST_F(NvencRuntime, ALevelThatIsTooSmallForThePictureIsInvalid)
{
    const auto initialize = [](std::uint32_t uiWidth, std::uint32_t uiHeight, std::uint32_t uiLevel) {
        return InitializeWith([&](SessionSetup& s) {
            s.params.encodeWidth = s.params.maxEncodeWidth = uiWidth;
            s.params.encodeHeight = s.params.maxEncodeHeight = uiHeight;
            s.H264().level = uiLevel;
        });
    };
    // 1620 macroblocks are the most of level 3, 8192 of level 4.
    EXPECT_EQ(initialize(720, 576, 30), NV_ENC_SUCCESS);
    EXPECT_EQ(initialize(736, 576, 30), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(initialize(1920, 1080, 40), NV_ENC_SUCCESS);
    EXPECT_EQ(initialize(64, 48, 14), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(initialize(64, 48, 62), NV_ENC_ERR_INVALID_PARAM);
}

TEST_F(NvencRuntime, EventsAreRefusedWhereTheCapabilitySaysSo)
{
    m_script.SetCapability(NV_ENC_CAPS_ASYNC_ENCODE_SUPPORT, 0);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.params.enableEncodeAsync = 1; }), NV_ENC_ERR_UNSUPPORTED_PARAM);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.params.enableEncodeAsync = 0; }), NV_ENC_SUCCESS);
    m_script.Reset();
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.params.enableEncodeAsync = 1; }), NV_ENC_SUCCESS);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.params.enableEncodeAsync = 2; }), NV_ENC_ERR_INVALID_PARAM);
}

TEST_F(NvencRuntime, SliceOffsetsAreReportedOnlyWithoutEventsAndInAKnownNumber)
{
    EXPECT_EQ(InitializeWith([](SessionSetup& s) { s.params.enableEncodeAsync = s.params.reportSliceOffsets = 1; }),
              NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) {
                  s.params.reportSliceOffsets = 1;
                  s.H264().sliceMode = 1;
                  s.H264().sliceModeData = 1000;
              }),
              NV_ENC_ERR_UNSUPPORTED_PARAM);
    EXPECT_EQ(InitializeWith([](SessionSetup& s) {
                  s.params.reportSliceOffsets = 1;
                  s.H264().sliceMode = 3;
                  s.H264().sliceModeData = 2;
              }),
              NV_ENC_SUCCESS);
}

TEST_F(NvencRuntime, DisplayCodesHaveAMeaning)
{
    const auto initialize = [](std::uint32_t uiMatrix, std::uint32_t uiFormat) {
        return InitializeWith([&](SessionSetup& s) {
            NV_ENC_CONFIG_H264_VUI_PARAMETERS& vui = s.H264().h264VUIParameters;
            vui.videoSignalTypePresentFlag = vui.colourDescriptionPresentFlag = 1;
            vui.videoFormat = uiFormat;
            vui.colourPrimaries = vui.transferCharacteristics = 6;
            vui.colourMatrix = uiMatrix;
        });
    };
    EXPECT_EQ(initialize(6, 5), NV_ENC_SUCCESS);
    EXPECT_EQ(initialize(3, 5), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(initialize(99, 5), NV_ENC_ERR_INVALID_PARAM);
    EXPECT_EQ(initialize(6, 6), NV_ENC_ERR_INVALID_PARAM);
}
