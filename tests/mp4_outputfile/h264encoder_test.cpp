// The system's encoder and what the codecs ask of it, on an encoder that records its properties.
#include "mp4_outputfile/h264encoder.h"

#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <codecapi.h>
#include <codecapi.h>
#include <mfapi.h>
#include <mferror.h>

#include "idle_encoder.h"
#include "platform/mediafoundation/write_script.h"
#include "platform/winbase/version_script.h"

namespace
{

using testing::ElementsAre;
using testing::ElementsAreArray;

const char* NameOf(const GUID& guidProperty)
{
    if (guidProperty == CODECAPI_AVEncCommonRateControlMode) return "RateControlMode";
    if (guidProperty == CODECAPI_AVEncCommonQuality) return "Quality";
    if (guidProperty == CODECAPI_AVEncCommonQualityVsSpeed) return "QualityVsSpeed";
    if (guidProperty == CODECAPI_AVEncMPVDefaultBPictureCount) return "BPictureCount";
    if (guidProperty == CODECAPI_AVEncVideoMinQP) return "MinQP";
    if (guidProperty == CODECAPI_AVEncVideoMaxQP) return "MaxQP";
    if (guidProperty == CODECAPI_AVEncNumWorkerThreads) return "WorkerThreads";
    return "another";
}

class CRecordingEncoder : public CIdleEncoder
{
public:
    STDMETHODIMP SetValue(const GUID* pguidProperty, VARIANT* pValue) override
    {
        const std::string strType = pValue->vt == VT_UI4 ? "" : " of another type";
        m_vProperties.push_back(NameOf(*pguidProperty) + (" " + std::to_string(pValue->ulVal)) + strType);
        return m_hrSetValue;
    }

    HRESULT m_hrSetValue = S_OK;
    std::vector<std::string> m_vProperties;
};

class H264Encoder : public testing::Test
{
protected:
    H264Encoder()
    {
        Reset();
        EXPECT_EQ(MFStartup(MF_VERSION, MFSTARTUP_FULL), S_OK);
    }
    ~H264Encoder() override
    {
        MFShutdown();
        Reset();
    }

    static void Reset()
    {
        MediaWriteScript_Reset();
        VersionScript_Reset();
    }

    std::vector<std::string> PropertiesOf(const wchar_t* pwszCode, bool bOldSystem)
    {
        CRecordingEncoder encoder;
        encoder.m_hrSetValue = m_hrSetValue;
        SetEncoderQuality(&encoder, FindEncoderQuality(pwszCode), bOldSystem);
        EXPECT_EQ(encoder.m_nRefCount, 1U);
        return encoder.m_vProperties;
    }

    HRESULT m_hrSetValue = S_OK;
};

TEST_F(H264Encoder, TheProfileIsThatOfTheCodecsRow)
{
    const std::pair<const wchar_t*, std::pair<UINT32, UINT32>> aRows[] = {
        {L"HQ", {77, 100}}, {L"NQ", {77, 100}}, {L"LQ", {77, 100}}, {L"FST", {66, 66}}};
    for (const auto& [pwszCode, profiles] : aRows)
    {
        EXPECT_EQ(FindEncoderQuality(pwszCode).m_uiProfileOld, profiles.first) << pwszCode;
        EXPECT_EQ(FindEncoderQuality(pwszCode).m_uiProfile, profiles.second) << pwszCode;
    }
}

TEST_F(H264Encoder, AnyOtherCodeTakesTheFirstRow)
{
    for (const wchar_t* pwszCode : {L"", L"hq", L"HQ2", L"LQX", L"AMF1"})
        EXPECT_EQ(&FindEncoderQuality(pwszCode), &FindEncoderQuality(L"HQ")) << pwszCode;
}

TEST_F(H264Encoder, PropertiesAreSetInTheirOrder)
{
    const std::pair<const wchar_t*, std::vector<std::string>> aRows[] = {
        {L"HQ",
         {"RateControlMode 3", "Quality 100", "QualityVsSpeed 100", "BPictureCount 2", "MinQP 0", "MaxQP 30",
          "WorkerThreads 16"}},
        {L"NQ",
         {"RateControlMode 3", "Quality 80", "QualityVsSpeed 100", "BPictureCount 2", "MinQP 0", "MaxQP 30",
          "WorkerThreads 16"}},
        {L"LQ", {"RateControlMode 3", "Quality 70", "QualityVsSpeed 50", "MinQP 0", "MaxQP 30", "WorkerThreads 16"}},
        {L"FST", {"RateControlMode 3", "Quality 75", "QualityVsSpeed 0", "MinQP 1", "MaxQP 51", "WorkerThreads 16"}},
    };
    for (const auto& [pwszCode, vProperties] : aRows)
        EXPECT_THAT(PropertiesOf(pwszCode, false), ElementsAreArray(vProperties)) << pwszCode;
}

TEST_F(H264Encoder, OnAnOldSystemPropertiesBeyondTheQualityAreNotTried)
{
    EXPECT_THAT(PropertiesOf(L"HQ", true), ElementsAre("RateControlMode 3", "Quality 100"));
    EXPECT_THAT(PropertiesOf(L"NQ", true), ElementsAre("RateControlMode 3", "Quality 80"));
    EXPECT_THAT(PropertiesOf(L"LQ", true), ElementsAre("RateControlMode 3", "Quality 70"));
    EXPECT_THAT(PropertiesOf(L"FST", true), ElementsAre("RateControlMode 3", "Quality 75"));
}

TEST_F(H264Encoder, ARefusedPropertyDoesNotKeepTheOthersBack)
{
    m_hrSetValue = E_INVALIDARG;
    EXPECT_EQ(PropertiesOf(L"HQ", false).size(), 7U);
}

TEST_F(H264Encoder, AnEncoderWithoutPropertiesIsLeftAsItIs)
{
    CRecordingEncoder encoder;
    encoder.m_bWithProperties = false;
    SetEncoderQuality(&encoder, FindEncoderQuality(L"HQ"), false);
    EXPECT_TRUE(encoder.m_vProperties.empty());
}

TEST_F(H264Encoder, ASystemBelowVersion6Point2IsOld)
{
    const std::pair<std::pair<DWORD, DWORD>, bool> aVersions[] = {{{5, 1}, true},  {{5, 9}, true},  {{6, 0}, true},
                                                                  {{6, 1}, true},  {{6, 2}, false}, {{6, 3}, false},
                                                                  {{7, 0}, false}, {{10, 0}, false}};
    for (const auto& [version, bOld] : aVersions)
    {
        VersionScript_Set(version.first, version.second);
        EXPECT_EQ(IsOldSystem(), bOld) << version.first << "." << version.second;
    }
}

TEST_F(H264Encoder, TheBitRateIsOneAndAHalfBitsAPixel)
{
    EXPECT_EQ(CalcAverageBitRate(1920, 1080), 3110400U);
    EXPECT_EQ(CalcAverageBitRate(321, 239), 115078U);  // 230157 / 2
}

TEST_F(H264Encoder, TheBitRateHasALeastValue)
{
    EXPECT_EQ(CalcAverageBitRate(100, 100), 30000U);  // 15000 by the product
    EXPECT_EQ(CalcAverageBitRate(200, 100), 30000U);
    EXPECT_EQ(CalcAverageBitRate(20001, 1), 30001U);
}

TEST_F(H264Encoder, TheBitRatesProductWrapsAt32BitsBeforeItIsHalved)
{
    EXPECT_EQ(CalcAverageBitRate(50000, 50000), 1602516352U);  // 7500000000 less 2 to the 32nd
    EXPECT_EQ(CalcAverageBitRate(65536, 65536), 30000U);
}

TEST_F(H264Encoder, TheFirstOneOfTheSystemIsTaken)
{
    IMFTransform* pTransform = nullptr;
    EXPECT_EQ(FindH264Encoder(&pTransform), S_OK);
    ASSERT_NE(pTransform, nullptr);
    EXPECT_EQ(pTransform->Release(), 0U);
}

TEST_F(H264Encoder, ASystemWithoutOneIsReported)
{
    MediaWriteScript_FailCall(MediaWriteCall::FindEncoder, 1, S_FALSE);
    IMFTransform* pTransform = nullptr;
    EXPECT_EQ(FindH264Encoder(&pTransform), MF_E_TOPO_CODEC_NOT_FOUND);
    EXPECT_EQ(pTransform, nullptr);
}

TEST_F(H264Encoder, AFailedSearchOrActivationIsReported)
{
    for (const MediaWriteCall eCall : {MediaWriteCall::FindEncoder, MediaWriteCall::ActivateEncoder})
    {
        MediaWriteScript_FailCall(eCall, 1, E_ACCESSDENIED);
        IMFTransform* pTransform = nullptr;
        EXPECT_EQ(FindH264Encoder(&pTransform), E_ACCESSDENIED);
        EXPECT_EQ(pTransform, nullptr);
    }
}

}  // namespace
