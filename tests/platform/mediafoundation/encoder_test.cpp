// The H.264 encoder by itself: its types, its settings, and what it gives.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "objbase.h"
#include "platform/mediafoundation/write_script.h"
#include "support/ffmpeg.h"
#include "support/temporary_folder.h"
#include "writing_graph.h"

namespace mftest
{
namespace
{

using test_support::Complaints;

class Encoder : public ::testing::Test
{
protected:
    void SetUp() override
    {
        MediaWriteScript_Reset();
        m_encoder = FindEncoder();
        ASSERT_TRUE(m_encoder);
    }
    void TearDown() override { MediaWriteScript_Reset(); }

    HRESULT Encode(unsigned uiNumber, std::int64_t nTime, std::int64_t nDuration = 40 * MS,
                   const VideoShape& shape = {})
    {
        const HRESULT hr =
            m_encoder->ProcessInput(0, MakeSample(NumberedPicture(uiNumber, shape), nTime, nDuration).Get(), 0);
        Take();
        return hr;
    }
    void Take()
    {
        for (Encoded& one : TakeAll(m_encoder.Get()))
        {
            m_encoded.push_back(std::move(one));
        }
    }
    void Drain()
    {
        ASSERT_EQ(m_encoder->ProcessMessage(MFT_MESSAGE_COMMAND_DRAIN, 0), S_OK);
        Take();
    }
    void EncodeMany(unsigned uiCount, const VideoShape& shape = {})
    {
        for (unsigned i = 0; i < uiCount; ++i)
        {
            ASSERT_EQ(Encode(i, i * 40 * MS, 40 * MS, shape), S_OK) << i;
        }
        Drain();
    }
    std::size_t TotalBytes() const
    {
        return std::accumulate(m_encoded.begin(), m_encoded.end(), std::size_t{0},
                               [](std::size_t uiSum, const Encoded& one) { return uiSum + one.m_bytes.size(); });
    }
    // The bare stream in a file, for other programs.
    std::filesystem::path Save()
    {
        std::string all;
        for (const Encoded& one : m_encoded)
        {
            all.append(one.m_bytes.begin(), one.m_bytes.end());
        }
        const std::filesystem::path path = m_folder / "stream.h264";
        test_support::WriteText(path, all);
        return path;
    }
    std::string Probe(const std::string& strEntry)
    {
        std::string strValue = test_support::RunFfprobe("-v error -show_entries stream=" + strEntry + " -of csv=p=0 " +
                                                        test_support::Quoted(Save()));
        strValue.erase(std::find(strValue.begin(), strValue.end(), '\n'), strValue.end());
        return strValue;
    }
    std::vector<Bytes> Decode(const VideoShape& shape = {})
    {
        return test_support::DecodePlain(Save(), shape.m_unWidth, shape.m_unHeight);
    }
    // The mean square of the differences in brightness.
    double Distance(const std::vector<Bytes>& decoded)
    {
        double dSum = 0;
        for (std::size_t i = 0; i < decoded.size(); ++i)
        {
            const auto picture = NumberedPicture(static_cast<unsigned>(i));
            for (std::size_t k = 0; k < std::size_t{WIDTH} * HEIGHT; ++k)
            {
                const double d = static_cast<double>(decoded[i][k]) - picture[2 * k];
                dSum += d * d;
            }
        }
        return dSum;
    }

    Platform m_platform;
    test_support::TemporaryFolder m_folder;
    ComPtr<IMFTransform> m_encoder;
    std::vector<Encoded> m_encoded;
};

// --- finding it ---

TEST_F(Encoder, IsFoundForItsTypesOnly)
{
    const auto count = [](const GUID& category, UINT32 unFlags, const GUID& input, const GUID& output) {
        const MFT_REGISTER_TYPE_INFO in = {MFMediaType_Video, input};
        const MFT_REGISTER_TYPE_INFO out = {MFMediaType_Video, output};
        IMFActivate** ppFound = nullptr;
        UINT32 unCount = 99;
        EXPECT_EQ(MFTEnumEx(category, unFlags, &in, &out, &ppFound, &unCount), S_OK);
        for (UINT32 i = 0; i < unCount; ++i)
        {
            ppFound[i]->Release();
        }
        EXPECT_EQ(ppFound == nullptr, unCount == 0);
        CoTaskMemFree(ppFound);
        return unCount;
    };
    EXPECT_EQ(count(MFT_CATEGORY_VIDEO_ENCODER, 0x51, MFVideoFormat_YUY2, MFVideoFormat_H264), 1U);
    EXPECT_EQ(count(MFT_CATEGORY_VIDEO_ENCODER, 0, MFVideoFormat_YUY2, MFVideoFormat_H264), 1U);
    EXPECT_EQ(count(MFT_CATEGORY_VIDEO_ENCODER, MFT_ENUM_FLAG_HARDWARE, MFVideoFormat_YUY2, MFVideoFormat_H264), 0U);
    EXPECT_EQ(count(MFT_CATEGORY_VIDEO_ENCODER, 0x51, MFVideoFormat_RGB24, MFVideoFormat_H264), 0U);
    EXPECT_EQ(count(MFT_CATEGORY_VIDEO_ENCODER, 0x51, MFVideoFormat_YUY2, MFVideoFormat_HEVC), 0U);
    EXPECT_EQ(count(MFMediaType_Video, 0x51, MFVideoFormat_YUY2, MFVideoFormat_H264), 0U);
}

TEST_F(Encoder, ATestCanHideIt)
{
    MediaWriteScript_FailCall(MediaWriteCall::FindEncoder, 1, S_FALSE);
    EXPECT_FALSE(FindEncoder());
    EXPECT_TRUE(FindEncoder());
}

TEST_F(Encoder, AnActivationObjectGivesTheSameEncoderUntilItIsShutDown)
{
    IMFActivate** ppFound = nullptr;
    UINT32 unCount = 0;
    ASSERT_EQ(MFTEnumEx(MFT_CATEGORY_VIDEO_ENCODER, 0, nullptr, nullptr, &ppFound, &unCount), S_OK);
    ASSERT_EQ(unCount, 1U);
    const auto activate = ComPtr<IMFActivate>::Attach(ppFound[0]);
    CoTaskMemFree(ppFound);
    ComPtr<IMFTransform> first;
    ComPtr<IMFTransform> second;
    ComPtr<IMFTransform> third;
    ASSERT_EQ(activate->ActivateObject(IID_IMFTransform, first.PutVoid()), S_OK);
    ASSERT_EQ(activate->ActivateObject(IID_IMFTransform, second.PutVoid()), S_OK);
    EXPECT_EQ(first.Get(), second.Get());
    ASSERT_EQ(activate->ShutdownObject(), S_OK);
    ASSERT_EQ(activate->ActivateObject(IID_IMFTransform, third.PutVoid()), S_OK);
    EXPECT_NE(first.Get(), third.Get());
}

// --- types ---

TEST_F(Encoder, TheInputTypeComesAfterTheOutputType)
{
    EXPECT_EQ(m_encoder->SetInputType(0, RawType().Get(), 0), MF_E_TRANSFORM_TYPE_NOT_SET);
    EXPECT_EQ(m_encoder->ProcessInput(0, MakeSample(NumberedPicture(0), 0, MS).Get(), 0), MF_E_TRANSFORM_TYPE_NOT_SET);
    ASSERT_EQ(SetTypes(m_encoder.Get()), S_OK);
    // A new output type takes the input type away.
    ASSERT_EQ(m_encoder->SetOutputType(0, EncodedType().Get(), 0), S_OK);
    ComPtr<IMFMediaType> type;
    EXPECT_EQ(m_encoder->GetInputCurrentType(0, type.Put()), MF_E_TRANSFORM_TYPE_NOT_SET);
    EXPECT_EQ(m_encoder->GetOutputCurrentType(0, type.Put()), S_OK);
}

TEST_F(Encoder, RefusesOutputTypesThatItCannotEncode)
{
    const auto result = [&](const std::function<void(IMFMediaType*)>& change) {
        const ComPtr<IMFMediaType> type = EncodedType();
        change(type.Get());
        return m_encoder->SetOutputType(0, type.Get(), 0);
    };
    EXPECT_EQ(result([](IMFMediaType*) {}), S_OK);
    for (const GUID& key :
         {MF_MT_MAJOR_TYPE, MF_MT_SUBTYPE, MF_MT_FRAME_SIZE, MF_MT_FRAME_RATE, MF_MT_AVG_BITRATE, MF_MT_INTERLACE_MODE})
    {
        EXPECT_EQ(result([&](IMFMediaType* p) { p->DeleteItem(key); }), MF_E_INVALIDMEDIATYPE);
    }
    const auto size = [](UINT32 unWidth, UINT32 unHeight) {
        return [=](IMFMediaType* p) { MFSetAttributeSize(p, MF_MT_FRAME_SIZE, unWidth, unHeight); };
    };
    EXPECT_EQ(result(size(95, 64)), MF_E_INVALIDMEDIATYPE);
    EXPECT_EQ(result(size(96, 63)), MF_E_INVALIDMEDIATYPE);
    EXPECT_EQ(result(size(0, 64)), MF_E_INVALIDMEDIATYPE);
    EXPECT_EQ(result(size(96, 16386)), MF_E_INVALIDMEDIATYPE);
    EXPECT_EQ(result([](IMFMediaType* p) { p->SetUINT32(MF_MT_MPEG2_PROFILE, 122); }), MF_E_INVALIDMEDIATYPE);
    EXPECT_EQ(result([](IMFMediaType* p) { p->SetUINT32(MF_MT_AVG_BITRATE, 0); }), MF_E_INVALIDMEDIATYPE);
    EXPECT_EQ(result([](IMFMediaType* p) { p->SetUINT32(MF_MT_INTERLACE_MODE, 3); }), MF_E_INVALIDMEDIATYPE);
    EXPECT_EQ(result([](IMFMediaType* p) { p->SetGUID(MF_MT_SUBTYPE, MFVideoFormat_HEVC); }), MF_E_INVALIDMEDIATYPE);
    EXPECT_EQ(result([](IMFMediaType* p) { MFSetAttributeRatio(p, MF_MT_FRAME_RATE, 25, 0); }), MF_E_INVALIDMEDIATYPE);
    EXPECT_EQ(m_encoder->SetOutputType(1, EncodedType().Get(), 0), MF_E_INVALIDSTREAMNUMBER);
}

TEST_F(Encoder, RefusesInputTypesThatDoNotFitTheOutputType)
{
    ASSERT_EQ(m_encoder->SetOutputType(0, EncodedType().Get(), 0), S_OK);
    const auto result = [&](const std::function<void(IMFMediaType*)>& change) {
        const ComPtr<IMFMediaType> type = RawType();
        change(type.Get());
        return m_encoder->SetInputType(0, type.Get(), 0);
    };
    EXPECT_EQ(result([](IMFMediaType*) {}), S_OK);
    EXPECT_EQ(result([](IMFMediaType* p) { p->SetGUID(MF_MT_SUBTYPE, MFVideoFormat_NV12); }), MF_E_INVALIDMEDIATYPE);
    EXPECT_EQ(result([](IMFMediaType* p) { MFSetAttributeSize(p, MF_MT_FRAME_SIZE, 98, 64); }), MF_E_INVALIDMEDIATYPE);
    EXPECT_EQ(result([](IMFMediaType* p) { p->DeleteItem(MF_MT_FRAME_SIZE); }), MF_E_INVALIDMEDIATYPE);
    EXPECT_EQ(result([](IMFMediaType* p) { p->SetUINT32(MF_MT_DEFAULT_STRIDE, 192); }), S_OK);
    EXPECT_EQ(result([](IMFMediaType* p) { p->SetUINT32(MF_MT_DEFAULT_STRIDE, 256); }), MF_E_INVALIDMEDIATYPE);
}

TEST_F(Encoder, ATestOfATypeSetsNothing)
{
    EXPECT_EQ(m_encoder->SetOutputType(0, EncodedType().Get(), MFT_SET_TYPE_TEST_ONLY), S_OK);
    ComPtr<IMFMediaType> type;
    EXPECT_EQ(m_encoder->GetOutputCurrentType(0, type.Put()), MF_E_TRANSFORM_TYPE_NOT_SET);
}

TEST_F(Encoder, TypesAndSettingsStayFromTheFirstSampleToADrain)
{
    ASSERT_EQ(SetTypes(m_encoder.Get()), S_OK);
    ASSERT_EQ(Encode(0, 0), S_OK);
    constexpr HRESULT BUSY = MF_E_TRANSFORM_CANNOT_CHANGE_MEDIATYPE_WHILE_PROCESSING;
    EXPECT_EQ(m_encoder->SetOutputType(0, EncodedType().Get(), 0), BUSY);
    EXPECT_EQ(m_encoder->SetInputType(0, RawType().Get(), 0), BUSY);
    EXPECT_EQ(SetProperty(m_encoder.Get(), CODECAPI_AVEncCommonQuality, 50), MF_E_INVALIDREQUEST);
    const auto codec = m_encoder.As<ICodecAPI>();
    EXPECT_EQ(codec->IsModifiable(&CODECAPI_AVEncCommonQuality), S_FALSE);
    Drain();
    EXPECT_EQ(codec->IsModifiable(&CODECAPI_AVEncCommonQuality), S_OK);
    EXPECT_EQ(m_encoder->SetInputType(0, RawType().Get(), 0), S_OK);
    EXPECT_EQ(SetProperty(m_encoder.Get(), CODECAPI_AVEncCommonQuality, 50), S_OK);
}

// --- settings ---

TEST_F(Encoder, EverySettingHasItsRangeAndKeepsItsValue)
{
    struct Range
    {
        const GUID& m_api;
        ULONG m_ulMin;
        ULONG m_ulMax;
    };
    const Range aRanges[] = {{CODECAPI_AVEncCommonRateControlMode, 2, 3},
                             {CODECAPI_AVEncCommonQuality, 0, 100},
                             {CODECAPI_AVEncCommonQualityVsSpeed, 0, 100},
                             {CODECAPI_AVEncMPVDefaultBPictureCount, 0, 2},
                             {CODECAPI_AVEncVideoMinQP, 0, 51},
                             {CODECAPI_AVEncVideoMaxQP, 0, 51},
                             {CODECAPI_AVEncNumWorkerThreads, 0, 16}};
    const auto codec = m_encoder.As<ICodecAPI>();
    ASSERT_TRUE(codec);
    for (const Range& range : aRanges)
    {
        EXPECT_EQ(codec->IsSupported(&range.m_api), S_OK);
        VARIANT min = {};
        VARIANT max = {};
        VARIANT step = {};
        ASSERT_EQ(codec->GetParameterRange(&range.m_api, &min, &max, &step), S_OK);
        EXPECT_EQ(min.ulVal, range.m_ulMin);
        EXPECT_EQ(max.ulVal, range.m_ulMax);
        EXPECT_EQ(step.ulVal, 1U);
        for (ULONG ulValue = range.m_ulMin; ulValue <= range.m_ulMax; ++ulValue)
        {
            ASSERT_EQ(SetProperty(m_encoder.Get(), range.m_api, ulValue), S_OK);
            VARIANT value = {};
            ASSERT_EQ(codec->GetValue(&range.m_api, &value), S_OK);
            EXPECT_EQ(value.vt, VT_UI4);
            EXPECT_EQ(value.ulVal, ulValue);
        }
        EXPECT_EQ(SetProperty(m_encoder.Get(), range.m_api, range.m_ulMax + 1), E_INVALIDARG);
        VARIANT wrong = {};
        wrong.vt = VT_I4;
        EXPECT_EQ(codec->SetValue(&range.m_api, &wrong), E_INVALIDARG);
        VARIANT initial = {};
        VARIANT value = {};
        ASSERT_EQ(codec->SetAllDefaults(), S_OK);
        ASSERT_EQ(codec->GetDefaultValue(&range.m_api, &initial), S_OK);
        ASSERT_EQ(codec->GetValue(&range.m_api, &value), S_OK);
        EXPECT_EQ(value.ulVal, initial.ulVal);
    }
    EXPECT_EQ(codec->IsSupported(&MF_MT_SUBTYPE), E_NOTIMPL);
    EXPECT_EQ(SetProperty(m_encoder.Get(), MF_MT_SUBTYPE, 1), E_NOTIMPL);
}

TEST_F(Encoder, BytesGrowAndDifferencesFallWithTheQuality)
{
    std::size_t uiBytesBefore = 0;
    double dDistanceBefore = 0;
    for (const UINT32 unQuality : {0U, 25U, 50U, 70U, 80U, 100U})
    {
        m_encoder = FindEncoder();
        m_encoded.clear();
        ASSERT_EQ(SetProperty(m_encoder.Get(), CODECAPI_AVEncCommonRateControlMode, 3), S_OK);
        ASSERT_EQ(SetProperty(m_encoder.Get(), CODECAPI_AVEncCommonQuality, unQuality), S_OK);
        ASSERT_EQ(SetTypes(m_encoder.Get()), S_OK);
        EncodeMany(12);
        const double dDistance = Distance(Decode());
        if (uiBytesBefore > 0)
        {
            EXPECT_GT(TotalBytes(), uiBytesBefore) << unQuality;
            EXPECT_LT(dDistance, dDistanceBefore) << unQuality;
        }
        uiBytesBefore = TotalBytes();
        dDistanceBefore = dDistance;
    }
    // The best quality isn't lossless: that would be another profile.
    EXPECT_EQ(Probe("profile"), "High");
    EXPECT_GT(dDistanceBefore, 0.0);
}

TEST_F(Encoder, EveryProfileIsTheOneAskedForAtEverySpeed)
{
    for (const UINT32 unSpeed : {0U, 50U, 100U})
    {
        for (const auto& [unProfile, pszName] : {std::pair{66U, "Constrained Baseline"}, {77U, "Main"}, {100U, "High"}})
        {
            m_encoder = FindEncoder();
            m_encoded.clear();
            VideoShape shape;
            shape.m_unProfile = unProfile;
            ASSERT_EQ(SetProperty(m_encoder.Get(), CODECAPI_AVEncCommonQualityVsSpeed, unSpeed), S_OK);
            ASSERT_EQ(SetProperty(m_encoder.Get(), CODECAPI_AVEncMPVDefaultBPictureCount, 2), S_OK);
            ASSERT_EQ(SetTypes(m_encoder.Get(), shape), S_OK);
            EncodeMany(5);
            EXPECT_EQ(Probe("profile"), pszName) << unSpeed;
        }
    }
}

// Quantisers stand in the slices, where no program prints them; their effect is seen in the bytes.
TEST_F(Encoder, TheRangeOfQuantisersBoundsTheQuality)
{
    const auto bytes = [&](UINT32 unQuality, UINT32 unMinQp, UINT32 unMaxQp) {
        m_encoder = FindEncoder();
        m_encoded.clear();
        EXPECT_EQ(SetProperty(m_encoder.Get(), CODECAPI_AVEncCommonRateControlMode, 3), S_OK);
        EXPECT_EQ(SetProperty(m_encoder.Get(), CODECAPI_AVEncCommonQuality, unQuality), S_OK);
        EXPECT_EQ(SetProperty(m_encoder.Get(), CODECAPI_AVEncVideoMinQP, unMinQp), S_OK);
        EXPECT_EQ(SetProperty(m_encoder.Get(), CODECAPI_AVEncVideoMaxQP, unMaxQp), S_OK);
        EXPECT_EQ(SetTypes(m_encoder.Get()), S_OK);
        EncodeMany(6);
        return TotalBytes();
    };
    EXPECT_GT(bytes(10, 0, 20), 2 * bytes(10, 0, 51));
    EXPECT_LT(2 * bytes(100, 40, 51), bytes(100, 0, 51));
    EXPECT_GT(bytes(10, 51, 20), 0U);  // the larger one counts
}

TEST_F(Encoder, BPicturesComeOutInDecodingOrderWithTheirOwnTimes)
{
    ASSERT_EQ(SetProperty(m_encoder.Get(), CODECAPI_AVEncCommonRateControlMode, 3), S_OK);
    ASSERT_EQ(SetProperty(m_encoder.Get(), CODECAPI_AVEncMPVDefaultBPictureCount, 2), S_OK);
    ASSERT_EQ(SetTypes(m_encoder.Get()), S_OK);
    std::vector<std::int64_t> times;
    std::int64_t nTime = 0;
    for (unsigned i = 0; i < 30; ++i)
    {
        const std::int64_t nDuration = (7 + i * i % 90) * MS;
        ASSERT_EQ(Encode(i, nTime, nDuration), S_OK);
        times.push_back(nTime);
        nTime += nDuration;
    }
    Drain();
    ASSERT_EQ(m_encoded.size(), 30U);
    std::vector<std::int64_t> given;
    for (const Encoded& one : m_encoded)
    {
        given.push_back(one.m_nTime);
        const auto i = static_cast<unsigned>(std::find(times.begin(), times.end(), one.m_nTime) - times.begin());
        EXPECT_EQ(one.m_nDuration, (7 + i * i % 90) * MS);
    }
    EXPECT_FALSE(std::is_sorted(given.begin(), given.end()));
    EXPECT_NE(Probe("has_b_frames"), "0");
    std::sort(given.begin(), given.end());
    EXPECT_EQ(given, times);
    const auto decoded = Decode();
    ASSERT_EQ(decoded.size(), 30U);
    for (unsigned i = 0; i < 30; ++i)
    {
        EXPECT_EQ(NumberIn(decoded[i].data()), i);
    }
}

TEST_F(Encoder, WithoutBPicturesTheOrderIsTheSame)
{
    ASSERT_EQ(SetTypes(m_encoder.Get()), S_OK);
    EncodeMany(10);
    EXPECT_EQ(Probe("has_b_frames"), "0");
    EXPECT_TRUE(std::is_sorted(m_encoded.begin(), m_encoded.end(),
                               [](const Encoded& left, const Encoded& right) { return left.m_nTime < right.m_nTime; }));
}

TEST_F(Encoder, EveryNumberOfThreadsGivesEveryPicture)
{
    for (const UINT32 unThreads : {0U, 1U, 2U, 16U})
    {
        m_encoder = FindEncoder();
        m_encoded.clear();
        ASSERT_EQ(SetProperty(m_encoder.Get(), CODECAPI_AVEncNumWorkerThreads, unThreads), S_OK);
        ASSERT_EQ(SetTypes(m_encoder.Get()), S_OK);
        EncodeMany(20);
        EXPECT_EQ(m_encoded.size(), 20U) << unThreads;
    }
}

// --- samples ---

TEST_F(Encoder, TimesMayBeEqualAndFallBack)
{
    ASSERT_EQ(SetTypes(m_encoder.Get()), S_OK);
    const std::int64_t anTimes[] = {0, 0, 400000, 400000, 100};
    for (unsigned i = 0; i < 5; ++i)
    {
        ASSERT_EQ(Encode(i, anTimes[i], i), S_OK);
    }
    Drain();
    ASSERT_EQ(m_encoded.size(), 5U);
    for (unsigned i = 0; i < 5; ++i)
    {
        EXPECT_EQ(m_encoded[i].m_nTime, anTimes[i]);
        EXPECT_EQ(m_encoded[i].m_nDuration, static_cast<std::int64_t>(i));
    }
}

TEST_F(Encoder, TheFirstSampleBeginsWithTheParameterSets)
{
    ASSERT_EQ(SetTypes(m_encoder.Get()), S_OK);
    EncodeMany(3);
    ASSERT_FALSE(m_encoded.empty());
    EXPECT_TRUE(m_encoded[0].m_bKey);
    EXPECT_FALSE(m_encoded[1].m_bKey);
    const std::vector<std::uint8_t>& bytes = m_encoded[0].m_bytes;
    ASSERT_GT(bytes.size(), 5U);
    EXPECT_EQ((std::vector<std::uint8_t>(bytes.begin(), bytes.begin() + 5)),
              (std::vector<std::uint8_t>{0, 0, 0, 1, 0x67}));
}

TEST_F(Encoder, EncodesAgainAfterADrain)
{
    ASSERT_EQ(SetTypes(m_encoder.Get()), S_OK);
    EncodeMany(4);
    EncodeMany(3);
    ASSERT_EQ(m_encoded.size(), 7U);
    EXPECT_TRUE(m_encoded[4].m_bKey);
}

TEST_F(Encoder, ADrainOfNothingGivesNothing)
{
    ASSERT_EQ(SetTypes(m_encoder.Get()), S_OK);
    Drain();
    Drain();
    EXPECT_TRUE(m_encoded.empty());
}

TEST_F(Encoder, AFlushDropsWhatIsInside)
{
    ASSERT_EQ(SetProperty(m_encoder.Get(), CODECAPI_AVEncNumWorkerThreads, 4), S_OK);
    ASSERT_EQ(SetTypes(m_encoder.Get()), S_OK);
    ASSERT_EQ(Encode(0, 0), S_OK);
    ASSERT_EQ(Encode(1, 1), S_OK);
    ASSERT_EQ(m_encoder->ProcessMessage(MFT_MESSAGE_COMMAND_FLUSH, 0), S_OK);
    m_encoded.clear();
    Drain();
    EXPECT_TRUE(m_encoded.empty());
}

TEST_F(Encoder, TakesNoInputWhileOutputIsLeft)
{
    ASSERT_EQ(SetTypes(m_encoder.Get()), S_OK);
    ASSERT_EQ(m_encoder->ProcessInput(0, MakeSample(NumberedPicture(0), 0, MS).Get(), 0), S_OK);
    ASSERT_EQ(m_encoder->ProcessMessage(MFT_MESSAGE_COMMAND_DRAIN, 0), S_OK);
    DWORD dwFlags = 0;
    ASSERT_EQ(m_encoder->GetOutputStatus(&dwFlags), S_OK);
    EXPECT_EQ(dwFlags, static_cast<DWORD>(MFT_OUTPUT_STATUS_SAMPLE_READY));
    EXPECT_EQ(m_encoder->ProcessInput(0, MakeSample(NumberedPicture(1), 0, MS).Get(), 0), MF_E_NOTACCEPTING);
    Take();
    EXPECT_EQ(m_encoder->ProcessInput(0, MakeSample(NumberedPicture(1), 0, MS).Get(), 0), S_OK);
}

TEST_F(Encoder, RefusesSamplesThatAreTooShortOrHaveNoTime)
{
    ASSERT_EQ(SetTypes(m_encoder.Get()), S_OK);
    auto bytes = NumberedPicture(0);
    bytes.pop_back();
    EXPECT_EQ(m_encoder->ProcessInput(0, MakeSample(bytes, 0, MS).Get(), 0), E_INVALIDARG);
    ComPtr<IMFSample> sample;
    ASSERT_EQ(MFCreateSample(sample.Put()), S_OK);
    EXPECT_EQ(m_encoder->ProcessInput(0, sample.Get(), 0), MF_E_NO_SAMPLE_TIMESTAMP);
    EXPECT_EQ(m_encoder->ProcessInput(0, nullptr, 0), E_POINTER);
    EXPECT_EQ(Encode(0, 0), S_OK);  // and goes on
}

}  // namespace
}  // namespace mftest
