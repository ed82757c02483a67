#include <cwchar>

#include <objbase.h>

#include "runtime.h"

namespace
{

class CountingObserver : public AMFPropertyStorageObserver
{
public:
    virtual ~CountingObserver() = default;
    void OnPropertyChanged(const wchar_t* name) override { m_names += std::wstring(name) + L";"; }

    std::wstring m_names;
};

}  // namespace

TEST_F(AmfRuntime, AContextKeepsAnyPropertyAndGivesCopies)
{
    const Held<AMFContext> pContext = MakeContext();
    wchar_t wszText[] = L"one";
    AMFVariantStruct value{};
    value.type = AMF_VARIANT_WSTRING;
    value.wstringValue = wszText;
    EXPECT_FALSE(pContext->HasProperty(L"Text"));
    ASSERT_EQ(pContext->SetProperty(L"Text", value), AMF_OK);
    wszText[0] = L'x';
    for (int i = 0; i < 2; ++i)
    {
        AMFVariantStruct read{};
        ASSERT_EQ(pContext->GetProperty(L"Text", &read), AMF_OK);
        EXPECT_EQ(read.type, AMF_VARIANT_WSTRING);
        EXPECT_STREQ(read.wstringValue, L"one");
        read.wstringValue[0] = L'y';
        CoTaskMemFree(read.wstringValue);
    }
    EXPECT_TRUE(pContext->HasProperty(L"Text"));
    EXPECT_EQ(pContext->GetPropertyCount(), 1u);
    AMFVariantStruct none{};
    EXPECT_EQ(pContext->GetProperty(L"text", &none), AMF_NOT_FOUND);
    EXPECT_EQ(pContext->GetProperty(L"Text", nullptr), AMF_INVALID_POINTER);
    EXPECT_EQ(pContext->Clear(), AMF_OK);
    EXPECT_EQ(pContext->GetPropertyCount(), 0u);
    pContext->Terminate();
}

TEST_F(AmfRuntime, AnObjectAmongThePropertiesIsHeld)
{
    const Held<AMFContext> pContext = MakeContext();
    Held<AMFBuffer> pBuffer;
    ASSERT_EQ(pContext->AllocBuffer(AMF_MEMORY_HOST, 10, pBuffer.Put()), AMF_OK);
    AMFVariantStruct value{};
    value.type = AMF_VARIANT_INTERFACE;
    value.pInterface = pBuffer.Get();
    ASSERT_EQ(pContext->SetProperty(L"Object", value), AMF_OK);
    EXPECT_EQ(pBuffer.Release(), 1);
    AMFVariantStruct read{};
    ASSERT_EQ(pContext->GetProperty(L"Object", &read), AMF_OK);
    EXPECT_EQ(read.pInterface->Release(), 1);
    EXPECT_EQ(m_script.CountObjects().uiBuffers, 1u);
    pContext->Clear();
    EXPECT_EQ(m_script.CountObjects().uiBuffers, 0u);
    pContext->Terminate();
}

TEST_F(AmfRuntime, PropertiesAreListedAndCopied)
{
    const Held<AMFContext> pFirst = MakeContext();
    const Held<AMFContext> pSecond = MakeContext();
    pFirst->SetProperty(L"B", Number(2));
    pFirst->SetProperty(L"A", Number(1));
    pSecond->SetProperty(L"A", Number(7));
    wchar_t wszName[8];
    AMFVariantStruct value{};
    ASSERT_EQ(pFirst->GetPropertyAt(1, wszName, 8, &value), AMF_OK);
    EXPECT_STREQ(wszName, L"B");
    EXPECT_EQ(value.int64Value, 2);
    EXPECT_EQ(pFirst->GetPropertyAt(2, wszName, 8, &value), AMF_OUT_OF_RANGE);

    EXPECT_EQ(pFirst->AddTo(pSecond.Get(), false, false), AMF_OK);
    ASSERT_EQ(pSecond->GetProperty(L"A", &value), AMF_OK);
    EXPECT_EQ(value.int64Value, 7);
    EXPECT_EQ(pSecond->GetPropertyCount(), 2u);
    pSecond->SetProperty(L"C", Number(3));
    EXPECT_EQ(pFirst->CopyTo(pSecond.Get(), false), AMF_OK);
    ASSERT_EQ(pSecond->GetProperty(L"A", &value), AMF_OK);
    EXPECT_EQ(value.int64Value, 1);
    EXPECT_FALSE(pSecond->HasProperty(L"C"));
    pFirst->Terminate();
    pSecond->Terminate();
}

TEST_F(AmfRuntime, ObserversHearOfEveryChange)
{
    const Held<AMFContext> pContext = MakeContext();
    CountingObserver observer;
    pContext->AddObserver(&observer);
    pContext->SetProperty(L"A", Number(1));
    pContext->SetProperty(L"B", Number(1));
    pContext->RemoveObserver(&observer);
    pContext->SetProperty(L"C", Number(1));
    EXPECT_EQ(observer.m_names, L"A;B;");
    pContext->Terminate();
}

TEST_F(AmfRuntime, AnEncoderHasTheFirstValuesOfItsUsage)
{
    const Held<AMFContext> pContext = MakeContext();
    const Held<AMFComponent> pEncoder = MakeComponent(pContext.Get(), AMFVideoEncoderVCE_AVC);
    const auto number = [&](const wchar_t* pwszName) {
        AMFVariantStruct value{};
        EXPECT_EQ(pEncoder->GetProperty(pwszName, &value), AMF_OK);
        EXPECT_EQ(value.type, AMF_VARIANT_INT64);
        return value.int64Value;
    };
    EXPECT_EQ(number(L"Usage"), 0);
    EXPECT_EQ(number(L"Profile"), 77);
    EXPECT_EQ(number(L"BPicturesPattern"), 0);
    EXPECT_EQ(number(L"IDRPeriod"), 60);
    EXPECT_EQ(number(L"QPP"), 22);
    AMFVariantStruct rate{};
    EXPECT_EQ(pEncoder->GetProperty(L"FrameRate", &rate), AMF_OK);
    EXPECT_EQ(rate.rateValue.num, 30u);
    EXPECT_EQ(pEncoder->SetProperty(L"IDRPeriod", Number(10)), AMF_OK);
    EXPECT_EQ(number(L"IDRPeriod"), 10);
    EXPECT_EQ(pEncoder->Clear(), AMF_OK);
    EXPECT_EQ(number(L"IDRPeriod"), 60);
    pContext->Terminate();
}

TEST_F(AmfRuntime, AComponentRefusesWhatItDoesNotKnow)
{
    const Held<AMFContext> pContext = MakeContext();
    const Held<AMFComponent> pEncoder = MakeComponent(pContext.Get(), AMFVideoEncoderVCE_AVC);
    EXPECT_EQ(pEncoder->SetProperty(L"TargetBitRate", Number(1000)), AMF_NOT_FOUND);
    EXPECT_EQ(pEncoder->SetProperty(L"StartTimeProperty", Number(1)), AMF_NOT_FOUND);
    EXPECT_EQ(pEncoder->SetProperty(L"TargetBitrate", Flag(true)), AMF_INVALID_ARG);
    EXPECT_EQ(pEncoder->SetProperty(L"TargetBitrate", Number(0)), AMF_OUT_OF_RANGE);
    EXPECT_EQ(pEncoder->SetProperty(L"QPI", Number(52)), AMF_OUT_OF_RANGE);
    EXPECT_EQ(pEncoder->SetProperty(L"ExtraData", Number(52)), AMF_ACCESS_DENIED);
    EXPECT_EQ(pEncoder->SetProperty(nullptr, Number(52)), AMF_INVALID_POINTER);
    EXPECT_EQ(m_script.GetBreaches().uiPropertiesRefused, 7u);
    EXPECT_TRUE(pEncoder->HasProperty(L"TargetBitrate"));
    EXPECT_TRUE(pEncoder->HasProperty(L"PeakBitrate"));
    EXPECT_FALSE(pEncoder->HasProperty(L"ColorBitDepth"));
    AMFVariantStruct value{};
    EXPECT_EQ(pEncoder->GetProperty(L"PeakBitrate", &value), AMF_NOT_FOUND);
    EXPECT_EQ(pEncoder->GetProperty(L"ExtraData", &value), AMF_NOT_FOUND);
    EXPECT_EQ(pEncoder->ValidateProperty(L"QPI", Number(51), &value), AMF_OK);
    EXPECT_EQ(value.int64Value, 51);
    EXPECT_EQ(pEncoder->ValidateProperty(L"QPI", Number(52), &value), AMF_OUT_OF_RANGE);
    EXPECT_EQ(value.type, AMF_VARIANT_EMPTY);
    pContext->Terminate();
}
