#include "client.h"

#include <thread>

namespace
{

std::int64_t NumberOf(AMFData& data, const wchar_t* pwszName)
{
    AMFVariantStruct value{};
    return data.GetProperty(pwszName, &value) == AMF_OK && value.type == AMF_VARIANT_INT64 ? value.int64Value : -1;
}

}  // namespace

IDirect3DSurface9* NativeOf(AMFSurface* pSurface)
{
    return static_cast<IDirect3DSurface9*>(pSurface->GetPlaneAt(0)->GetNative());
}

void PaintSurface(AMFSurface* pSurface, const BgrPicture& picture)
{
    IDirect3DSurface9* const pNative = NativeOf(pSurface);
    D3DLOCKED_RECT locked{};
    ASSERT_EQ(pNative->LockRect(&locked, nullptr, 0), D3D_OK);
    PaintRows(static_cast<std::uint8_t*>(locked.pBits), locked.Pitch, picture);
    ASSERT_EQ(pNative->UnlockRect(), D3D_OK);
}

Client::Client(amf_int32 nWidth, amf_int32 nHeight) : m_nWidth(nWidth), m_nHeight(nHeight)
{
    AMFFactory& factory = *Runtime::Get().pFactory;
    EXPECT_EQ(factory.CreateContext(m_pContext.Put()), AMF_OK);
    EXPECT_EQ(factory.CreateComponent(m_pContext.Get(), AMFVideoConverter, m_pConverter.Put()), AMF_OK);
    EXPECT_EQ(m_pContext->InitDX9(nullptr), AMF_OK);
    EXPECT_EQ(factory.CreateComponent(m_pContext.Get(), AMFVideoEncoderVCE_AVC, m_pEncoder.Put()), AMF_OK);
    Set(AmfEncoderProperty::Usage, Number(AMF_VIDEO_ENCODER_USAGE_TRANSCONDING));
    Set(AmfEncoderProperty::BPicturesPattern, Number(0));
    Set(AmfEncoderProperty::QualityPreset, Number(AMF_VIDEO_ENCODER_QUALITY_PRESET_SPEED));
    Set(AmfEncoderProperty::TargetBitrate, Number(std::int64_t{nWidth} * nHeight * 20000000 / 2073600));
    Set(AmfEncoderProperty::FrameSize, Size(nWidth, nHeight));
    Set(AmfEncoderProperty::FrameRate, Rate(30, 1));
}

void Client::Set(const wchar_t* pwszName, const AMFVariantStruct& value)
{
    EXPECT_EQ(m_pEncoder->SetProperty(pwszName, value), AMF_OK) << pwszName;
}

void Client::Start()
{
    EXPECT_EQ(m_pEncoder->Init(AMF_SURFACE_NV12, m_nWidth, m_nHeight), AMF_OK);
}

Held<AMFSurface> Client::Upload(const BgrPicture& picture)
{
    using namespace AmfConverterProperty;
    EXPECT_EQ(m_pConverter->SetProperty(MemoryType, Number(AMF_MEMORY_DX9)), AMF_OK);
    EXPECT_EQ(m_pConverter->SetProperty(OutputFormat, Number(AMF_SURFACE_NV12)), AMF_OK);
    EXPECT_EQ(m_pConverter->SetProperty(OutputSize, Size(m_nWidth, m_nHeight)), AMF_OK);
    EXPECT_EQ(m_pConverter->Init(AMF_SURFACE_BGRA, m_nWidth, m_nHeight), AMF_OK);

    Held<AMFSurface> pTarget;
    EXPECT_EQ(m_pContext->AllocSurface(AMF_MEMORY_DX9, AMF_SURFACE_NV12, m_nWidth, m_nHeight, pTarget.Put()), AMF_OK);
    Held<AMFSurface> pSource;
    EXPECT_EQ(m_pContext->AllocSurface(AMF_MEMORY_DX9, AMF_SURFACE_BGRA, m_nWidth, m_nHeight, pSource.Put()), AMF_OK);
    PaintSurface(pSource.Get(), picture);
    EXPECT_EQ(m_pConverter->SubmitInput(pSource.Get()), AMF_OK);
    EXPECT_EQ(m_pConverter->Drain(), AMF_OK);
    Held<AMFData> pData;
    EXPECT_EQ(m_pConverter->QueryOutput(pData.Put()), AMF_OK);
    const Held<AMFSurface> pConverted = pData.As<AMFSurface>();
    EXPECT_EQ(pConverted->CopySurfaceRegion(pTarget.Get(), 0, 0, 0, 0, m_nWidth, m_nHeight), AMF_OK);
    return pTarget;
}

void Client::Send(const BgrPicture& picture, const std::function<void(AMFSurface*)>& prepare)
{
    const Held<AMFSurface> pSurface = Upload(picture);
    EXPECT_EQ(pSurface->SetProperty(L"StartTimeProperty", Number(m_nSent++)), AMF_OK);
    if (prepare)
    {
        prepare(pSurface.Get());
    }
    AMF_RESULT eResult = Submit(pSurface.Get());
    while (eResult == AMF_INPUT_FULL)
    {
        if (!Take())
        {
            std::this_thread::yield();
        }
        eResult = Submit(pSurface.Get());
    }
    EXPECT_EQ(eResult, AMF_OK);
}

bool Client::Take(AMF_RESULT* peResult)
{
    Held<AMFData> pData;
    const AMF_RESULT eResult = m_pEncoder->QueryOutput(pData.Put());
    if (peResult)
    {
        *peResult = eResult;
    }
    EXPECT_EQ(bool(pData), eResult == AMF_OK);
    if (!pData)
    {
        return false;
    }
    const Held<AMFBuffer> pBuffer = pData.As<AMFBuffer>();
    EXPECT_TRUE(pBuffer);
    const auto* const pBytes = static_cast<const std::uint8_t*>(pBuffer->GetNative());
    m_buffers.push_back({{pBytes, pBytes + pBuffer->GetSize()},
                         NumberOf(*pBuffer.Get(), L"StartTimeProperty"),
                         NumberOf(*pBuffer.Get(), AmfEncoderOutput::OutputDataType),
                         pBuffer->GetPts(),
                         pBuffer->GetDuration()});
    return true;
}

void Client::Finish()
{
    EXPECT_EQ(m_pEncoder->Drain(), AMF_OK);
    AMF_RESULT eResult = AMF_OK;
    while (eResult == AMF_OK)
    {
        Take(&eResult);
    }
    EXPECT_EQ(eResult, AMF_EOF);
}

void Client::End()
{
    for (Held<AMFComponent>* ppComponent : {&m_pEncoder, &m_pConverter})
    {
        if (*ppComponent)
        {
            EXPECT_EQ((*ppComponent)->Terminate(), AMF_OK);
            EXPECT_EQ(ppComponent->Release(), 0);
        }
    }
    if (m_pContext)
    {
        EXPECT_EQ(m_pContext->Terminate(), AMF_OK);
        m_pContext.Release();
    }
}

std::vector<std::uint8_t> Client::Stream() const
{
    std::vector<std::uint8_t> stream;
    for (const TakenBuffer& buffer : m_buffers)
    {
        stream.insert(stream.end(), buffer.bytes.begin(), buffer.bytes.end());
    }
    return stream;
}

std::string Units(const TakenBuffer& buffer)
{
    return annexb::Types(annexb::Split(buffer.bytes));
}
