// The declarations of the AMF interface against what a runtime sees: the place of every operation in its table, the ids
// of the interfaces, and the numbers of the enumerations. Sizes and offsets are asserted where the records are
// declared.
#include <string>

#include <gtest/gtest.h>

#include "abi/amf/amf.h"
#include "support/slot_of.h"

using test_support::SlotOf;

namespace
{

// Upper-case hexadecimal, in the order of the memory.
std::string BytesOf(const AMFGuid& guid)
{
    std::string strBytes;
    for (std::size_t i = 0; i < sizeof(guid); ++i)
    {
        const unsigned uiByte = reinterpret_cast<const unsigned char*>(&guid)[i];
        strBytes += "0123456789ABCDEF"[uiByte / 16];
        strBytes += "0123456789ABCDEF"[uiByte % 16];
    }
    return strBytes;
}

// What a GUID's text is in the memory of a little-endian machine: the first three groups have their bytes turned.
std::string BytesOfText(const std::string& strText)
{
    std::string strBytes;
    for (const int nPosition : {6, 4, 2, 0, 11, 9, 16, 14, 19, 21, 24, 26, 28, 30, 32, 34})
    {
        strBytes += strText.substr(static_cast<std::size_t>(nPosition), 2);
    }
    return strBytes;
}

// --- numbers

static_assert(AMF_OK == 0 && AMF_FAIL == 1 && AMF_INVALID_ARG == 4 && AMF_OUT_OF_MEMORY == 6);
static_assert(AMF_INVALID_POINTER == 7 && AMF_NO_INTERFACE == 8 && AMF_NOT_SUPPORTED == 10);
static_assert(AMF_NOT_INITIALIZED == 13 && AMF_FILE_NOT_OPEN == 16 && AMF_EOF == 23 && AMF_REPEAT == 24);
static_assert(AMF_INPUT_FULL == 25 && AMF_DECODER_NO_FREE_SURFACES == 35 && AMF_NEED_MORE_INPUT == 44);
static_assert(AMF_VARIANT_EMPTY == 0 && AMF_VARIANT_INTERFACE == 12 && AMF_VARIANT_FLOAT_VECTOR4D == 17);
static_assert(AMF_MEMORY_HOST == 1 && AMF_MEMORY_DX9 == 2 && AMF_MEMORY_VULKAN == 10 && AMF_DATA_USER == 1000);
static_assert(AMF_SURFACE_NV12 == 1 && AMF_SURFACE_BGRA == 3 && AMF_SURFACE_YUY2 == 9 && AMF_SURFACE_UYVY == 12);
static_assert(AMF_SURFACE_FIRST == 1 && AMF_SURFACE_LAST == 11 && AMF_PLANE_Y == 2 && AMF_PLANE_V == 5);
static_assert(AMF_FRAME_INTERLEAVED_EVEN_FIRST == 0x05000000 && AMF_FRAME_INTERLEAVED_ODD_FIRST == 0x09000000);
static_assert(AMF_FRAME_FIELD_SINGLE_EVEN == 0x06000000 && AMF_FRAME_FIELD_SINGLE_ODD == 0x0A000000);
static_assert(AMF_FRAME_INTERLEAVED_EVEN_FIRST_STEREO_LEFT == 0x35000000);
static_assert(AMF_FRAME_INTERLEAVED_EVEN_FIRST_STEREO_RIGHT == 0x55000000);
static_assert(AMF_FRAME_INTERLEAVED_EVEN_FIRST_STEREO_BOTH == 0x75000000);
static_assert(AMF_FRAME_INTERLEAVED_ODD_FIRST_STEREO_LEFT == 0x39000000);
static_assert(AMF_FRAME_INTERLEAVED_ODD_FIRST_STEREO_RIGHT == 0x59000000);
static_assert(AMF_FRAME_INTERLEAVED_ODD_FIRST_STEREO_BOTH == 0x79000000);
static_assert(sizeof(AMF_SURFACE_FORMAT) == 4 && sizeof(AMF_MEMORY_TYPE) == 4 && sizeof(AMF_VARIANT_TYPE) == 4);

TEST(AmfSlots, AMFInterface)
{
    EXPECT_EQ(SlotOf(&AMFInterface::Acquire), 0U);
    EXPECT_EQ(SlotOf(&AMFInterface::Release), 1U);
    EXPECT_EQ(SlotOf(&AMFInterface::QueryInterface), 2U);
}

TEST(AmfSlots, AMFPropertyStorage)
{
    EXPECT_EQ(SlotOf(&AMFPropertyStorage::SetProperty), 3U);
    EXPECT_EQ(SlotOf(&AMFPropertyStorage::GetProperty), 4U);
    EXPECT_EQ(SlotOf(&AMFPropertyStorage::HasProperty), 5U);
    EXPECT_EQ(SlotOf(&AMFPropertyStorage::GetPropertyCount), 6U);
    EXPECT_EQ(SlotOf(&AMFPropertyStorage::GetPropertyAt), 7U);
    EXPECT_EQ(SlotOf(&AMFPropertyStorage::Clear), 8U);
    EXPECT_EQ(SlotOf(&AMFPropertyStorage::AddTo), 9U);
    EXPECT_EQ(SlotOf(&AMFPropertyStorage::CopyTo), 10U);
    EXPECT_EQ(SlotOf(&AMFPropertyStorage::AddObserver), 11U);
    EXPECT_EQ(SlotOf(&AMFPropertyStorage::RemoveObserver), 12U);
}

TEST(AmfSlots, AMFPropertyStorageObserver)
{
    EXPECT_EQ(SlotOf(&AMFPropertyStorageObserver::OnPropertyChanged), 0U);
}

TEST(AmfSlots, AMFPropertyStorageEx)
{
    EXPECT_EQ(SlotOf(&AMFPropertyStorageEx::GetPropertiesInfoCount), 13U);
    EXPECT_EQ(SlotOf(&AMFPropertyStorageEx::ReservedGetPropertyInfo14), 14U);
    EXPECT_EQ(SlotOf(&AMFPropertyStorageEx::ReservedGetPropertyInfo15), 15U);
    EXPECT_EQ(SlotOf(&AMFPropertyStorageEx::ValidateProperty), 16U);
}

TEST(AmfSlots, AMFData)
{
    EXPECT_EQ(SlotOf(&AMFData::GetMemoryType), 13U);
    EXPECT_EQ(SlotOf(&AMFData::Duplicate), 14U);
    EXPECT_EQ(SlotOf(&AMFData::Convert), 15U);
    EXPECT_EQ(SlotOf(&AMFData::Interop), 16U);
    EXPECT_EQ(SlotOf(&AMFData::GetDataType), 17U);
    EXPECT_EQ(SlotOf(&AMFData::IsReusable), 18U);
    EXPECT_EQ(SlotOf(&AMFData::SetPts), 19U);
    EXPECT_EQ(SlotOf(&AMFData::GetPts), 20U);
    EXPECT_EQ(SlotOf(&AMFData::SetDuration), 21U);
    EXPECT_EQ(SlotOf(&AMFData::GetDuration), 22U);
}

TEST(AmfSlots, AMFBuffer)
{
    EXPECT_EQ(SlotOf(&AMFBuffer::SetSize), 23U);
    EXPECT_EQ(SlotOf(&AMFBuffer::GetSize), 24U);
    EXPECT_EQ(SlotOf(&AMFBuffer::GetNative), 25U);
    EXPECT_EQ(SlotOf(&AMFBuffer::AddBufferObserver), 26U);
    EXPECT_EQ(SlotOf(&AMFBuffer::RemoveBufferObserver), 27U);
}

TEST(AmfSlots, AMFBufferObserver)
{
    EXPECT_EQ(SlotOf(&AMFBufferObserver::OnBufferDataRelease), 0U);
}

TEST(AmfSlots, AMFPlane)
{
    EXPECT_EQ(SlotOf(&AMFPlane::GetType), 3U);
    EXPECT_EQ(SlotOf(&AMFPlane::GetNative), 4U);
    EXPECT_EQ(SlotOf(&AMFPlane::GetPixelSizeInBytes), 5U);
    EXPECT_EQ(SlotOf(&AMFPlane::GetOffsetX), 6U);
    EXPECT_EQ(SlotOf(&AMFPlane::GetOffsetY), 7U);
    EXPECT_EQ(SlotOf(&AMFPlane::GetWidth), 8U);
    EXPECT_EQ(SlotOf(&AMFPlane::GetHeight), 9U);
    EXPECT_EQ(SlotOf(&AMFPlane::GetHPitch), 10U);
    EXPECT_EQ(SlotOf(&AMFPlane::GetVPitch), 11U);
    EXPECT_EQ(SlotOf(&AMFPlane::IsTiled), 12U);
}

TEST(AmfSlots, AMFSurface)
{
    EXPECT_EQ(SlotOf(&AMFSurface::GetFormat), 23U);
    EXPECT_EQ(SlotOf(&AMFSurface::GetPlanesCount), 24U);
    EXPECT_EQ(SlotOf(&AMFSurface::GetPlaneAt), 25U);
    EXPECT_EQ(SlotOf(&AMFSurface::GetPlane), 26U);
    EXPECT_EQ(SlotOf(&AMFSurface::GetFrameType), 27U);
    EXPECT_EQ(SlotOf(&AMFSurface::SetFrameType), 28U);
    EXPECT_EQ(SlotOf(&AMFSurface::SetCrop), 29U);
    EXPECT_EQ(SlotOf(&AMFSurface::CopySurfaceRegion), 30U);
    EXPECT_EQ(SlotOf(&AMFSurface::AddSurfaceObserver), 31U);
    EXPECT_EQ(SlotOf(&AMFSurface::RemoveSurfaceObserver), 32U);
}

TEST(AmfSlots, AMFSurfaceObserver)
{
    EXPECT_EQ(SlotOf(&AMFSurfaceObserver::OnSurfaceDataRelease), 0U);
}

TEST(AmfSlots, AMFAudioBuffer)
{
    EXPECT_EQ(SlotOf(&AMFAudioBuffer::GetSampleCount), 23U);
    EXPECT_EQ(SlotOf(&AMFAudioBuffer::GetSampleRate), 24U);
    EXPECT_EQ(SlotOf(&AMFAudioBuffer::GetChannelCount), 25U);
    EXPECT_EQ(SlotOf(&AMFAudioBuffer::GetSampleFormat), 26U);
    EXPECT_EQ(SlotOf(&AMFAudioBuffer::GetSampleSize), 27U);
    EXPECT_EQ(SlotOf(&AMFAudioBuffer::GetChannelLayout), 28U);
    EXPECT_EQ(SlotOf(&AMFAudioBuffer::GetNative), 29U);
    EXPECT_EQ(SlotOf(&AMFAudioBuffer::GetSize), 30U);
    EXPECT_EQ(SlotOf(&AMFAudioBuffer::AddAudioBufferObserver), 31U);
    EXPECT_EQ(SlotOf(&AMFAudioBuffer::RemoveAudioBufferObserver), 32U);
}

TEST(AmfSlots, AMFContext)
{
    EXPECT_EQ(SlotOf(&AMFContext::Terminate), 13U);
    EXPECT_EQ(SlotOf(&AMFContext::InitDX9), 14U);
    EXPECT_EQ(SlotOf(&AMFContext::GetDX9Device), 15U);
    EXPECT_EQ(SlotOf(&AMFContext::LockDX9), 16U);
    EXPECT_EQ(SlotOf(&AMFContext::UnlockDX9), 17U);
    EXPECT_EQ(SlotOf(&AMFContext::InitDX11), 18U);
    EXPECT_EQ(SlotOf(&AMFContext::GetDX11Device), 19U);
    EXPECT_EQ(SlotOf(&AMFContext::LockDX11), 20U);
    EXPECT_EQ(SlotOf(&AMFContext::UnlockDX11), 21U);
    EXPECT_EQ(SlotOf(&AMFContext::InitOpenCL), 22U);
    EXPECT_EQ(SlotOf(&AMFContext::GetOpenCLContext), 23U);
    EXPECT_EQ(SlotOf(&AMFContext::GetOpenCLCommandQueue), 24U);
    EXPECT_EQ(SlotOf(&AMFContext::GetOpenCLDeviceID), 25U);
    EXPECT_EQ(SlotOf(&AMFContext::GetOpenCLComputeFactory), 26U);
    EXPECT_EQ(SlotOf(&AMFContext::InitOpenCLEx), 27U);
    EXPECT_EQ(SlotOf(&AMFContext::LockOpenCL), 28U);
    EXPECT_EQ(SlotOf(&AMFContext::UnlockOpenCL), 29U);
    EXPECT_EQ(SlotOf(&AMFContext::InitOpenGL), 30U);
    EXPECT_EQ(SlotOf(&AMFContext::GetOpenGLContext), 31U);
    EXPECT_EQ(SlotOf(&AMFContext::GetOpenGLDrawable), 32U);
    EXPECT_EQ(SlotOf(&AMFContext::LockOpenGL), 33U);
    EXPECT_EQ(SlotOf(&AMFContext::UnlockOpenGL), 34U);
    EXPECT_EQ(SlotOf(&AMFContext::InitXV), 35U);
    EXPECT_EQ(SlotOf(&AMFContext::GetXVDevice), 36U);
    EXPECT_EQ(SlotOf(&AMFContext::LockXV), 37U);
    EXPECT_EQ(SlotOf(&AMFContext::UnlockXV), 38U);
    EXPECT_EQ(SlotOf(&AMFContext::InitGralloc), 39U);
    EXPECT_EQ(SlotOf(&AMFContext::GetGrallocDevice), 40U);
    EXPECT_EQ(SlotOf(&AMFContext::LockGralloc), 41U);
    EXPECT_EQ(SlotOf(&AMFContext::UnlockGralloc), 42U);
    EXPECT_EQ(SlotOf(&AMFContext::AllocBuffer), 43U);
    EXPECT_EQ(SlotOf(&AMFContext::AllocSurface), 44U);
    EXPECT_EQ(SlotOf(&AMFContext::AllocAudioBuffer), 45U);
    EXPECT_EQ(SlotOf(&AMFContext::CreateBufferFromHostNative), 46U);
    EXPECT_EQ(SlotOf(&AMFContext::CreateSurfaceFromHostNative), 47U);
    EXPECT_EQ(SlotOf(&AMFContext::CreateSurfaceFromDX9Native), 48U);
    EXPECT_EQ(SlotOf(&AMFContext::CreateSurfaceFromDX11Native), 49U);
    EXPECT_EQ(SlotOf(&AMFContext::CreateSurfaceFromOpenGLNative), 50U);
    EXPECT_EQ(SlotOf(&AMFContext::CreateSurfaceFromGrallocNative), 51U);
    EXPECT_EQ(SlotOf(&AMFContext::CreateSurfaceFromOpenCLNative), 52U);
    EXPECT_EQ(SlotOf(&AMFContext::CreateBufferFromOpenCLNative), 53U);
    EXPECT_EQ(SlotOf(&AMFContext::GetCompute), 54U);
}

TEST(AmfSlots, AMFComponent)
{
    EXPECT_EQ(SlotOf(&AMFComponent::Init), 17U);
    EXPECT_EQ(SlotOf(&AMFComponent::ReInit), 18U);
    EXPECT_EQ(SlotOf(&AMFComponent::Terminate), 19U);
    EXPECT_EQ(SlotOf(&AMFComponent::Drain), 20U);
    EXPECT_EQ(SlotOf(&AMFComponent::Flush), 21U);
    EXPECT_EQ(SlotOf(&AMFComponent::SubmitInput), 22U);
    EXPECT_EQ(SlotOf(&AMFComponent::QueryOutput), 23U);
    EXPECT_EQ(SlotOf(&AMFComponent::GetContext), 24U);
    EXPECT_EQ(SlotOf(&AMFComponent::SetOutputDataAllocatorCB), 25U);
    EXPECT_EQ(SlotOf(&AMFComponent::GetCaps), 26U);
    EXPECT_EQ(SlotOf(&AMFComponent::Optimize), 27U);
}

TEST(AmfSlots, AMFComponentOptimizationCallback)
{
    EXPECT_EQ(SlotOf(&AMFComponentOptimizationCallback::OnComponentOptimizationProgress), 0U);
}

TEST(AmfSlots, AMFDataAllocatorCB)
{
    EXPECT_EQ(SlotOf(&AMFDataAllocatorCB::AllocBuffer), 3U);
    EXPECT_EQ(SlotOf(&AMFDataAllocatorCB::AllocSurface), 4U);
}

TEST(AmfSlots, AMFCaps)
{
    EXPECT_EQ(SlotOf(&AMFCaps::GetAccelerationType), 13U);
    EXPECT_EQ(SlotOf(&AMFCaps::GetInputCaps), 14U);
    EXPECT_EQ(SlotOf(&AMFCaps::GetOutputCaps), 15U);
}

TEST(AmfSlots, AMFIOCaps)
{
    EXPECT_EQ(SlotOf(&AMFIOCaps::GetWidthRange), 3U);
    EXPECT_EQ(SlotOf(&AMFIOCaps::GetHeightRange), 4U);
    EXPECT_EQ(SlotOf(&AMFIOCaps::GetVertAlign), 5U);
    EXPECT_EQ(SlotOf(&AMFIOCaps::GetNumOfFormats), 6U);
    EXPECT_EQ(SlotOf(&AMFIOCaps::GetFormatAt), 7U);
    EXPECT_EQ(SlotOf(&AMFIOCaps::GetNumOfMemoryTypes), 8U);
    EXPECT_EQ(SlotOf(&AMFIOCaps::GetMemoryTypeAt), 9U);
    EXPECT_EQ(SlotOf(&AMFIOCaps::IsInterlacedSupported), 10U);
}

TEST(AmfSlots, AMFFactory)
{
    EXPECT_EQ(SlotOf(&AMFFactory::CreateContext), 0U);
    EXPECT_EQ(SlotOf(&AMFFactory::CreateComponent), 1U);
    EXPECT_EQ(SlotOf(&AMFFactory::SetCacheFolder), 2U);
    EXPECT_EQ(SlotOf(&AMFFactory::GetCacheFolder), 3U);
    EXPECT_EQ(SlotOf(&AMFFactory::GetDebug), 4U);
    EXPECT_EQ(SlotOf(&AMFFactory::GetTrace), 5U);
    EXPECT_EQ(SlotOf(&AMFFactory::GetPrograms), 6U);
}

TEST(AmfSlots, AMFDebug)
{
    EXPECT_EQ(SlotOf(&AMFDebug::EnablePerformanceMonitor), 0U);
    EXPECT_EQ(SlotOf(&AMFDebug::PerformanceMonitorEnabled), 1U);
    EXPECT_EQ(SlotOf(&AMFDebug::AssertsEnable), 2U);
    EXPECT_EQ(SlotOf(&AMFDebug::AssertsEnabled), 3U);
}

TEST(AmfSlots, AMFTrace)
{
    EXPECT_EQ(SlotOf(&AMFTrace::TraceW), 0U);
    EXPECT_EQ(SlotOf(&AMFTrace::Trace), 1U);
    EXPECT_EQ(SlotOf(&AMFTrace::SetGlobalLevel), 2U);
    EXPECT_EQ(SlotOf(&AMFTrace::GetGlobalLevel), 3U);
    EXPECT_EQ(SlotOf(&AMFTrace::EnableWriter), 4U);
    EXPECT_EQ(SlotOf(&AMFTrace::WriterEnabled), 5U);
    EXPECT_EQ(SlotOf(&AMFTrace::TraceEnableAsync), 6U);
    EXPECT_EQ(SlotOf(&AMFTrace::TraceFlush), 7U);
    EXPECT_EQ(SlotOf(&AMFTrace::SetPath), 8U);
    EXPECT_EQ(SlotOf(&AMFTrace::GetPath), 9U);
    EXPECT_EQ(SlotOf(&AMFTrace::SetWriterLevel), 10U);
    EXPECT_EQ(SlotOf(&AMFTrace::GetWriterLevel), 11U);
    EXPECT_EQ(SlotOf(&AMFTrace::SetWriterLevelForScope), 12U);
    EXPECT_EQ(SlotOf(&AMFTrace::GetWriterLevelForScope), 13U);
    EXPECT_EQ(SlotOf(&AMFTrace::GetIndentation), 14U);
    EXPECT_EQ(SlotOf(&AMFTrace::Indent), 15U);
    EXPECT_EQ(SlotOf(&AMFTrace::RegisterWriter), 16U);
    EXPECT_EQ(SlotOf(&AMFTrace::UnregisterWriter), 17U);
    EXPECT_EQ(SlotOf(&AMFTrace::GetResultText), 18U);
    EXPECT_EQ(SlotOf(&AMFTrace::SurfaceGetFormatName), 19U);
    EXPECT_EQ(SlotOf(&AMFTrace::SurfaceGetFormatByName), 20U);
    EXPECT_EQ(SlotOf(&AMFTrace::GetMemoryTypeName), 21U);
    EXPECT_EQ(SlotOf(&AMFTrace::GetMemoryTypeByName), 22U);
    EXPECT_EQ(SlotOf(&AMFTrace::GetSampleFormatName), 23U);
    EXPECT_EQ(SlotOf(&AMFTrace::GetSampleFormatByName), 24U);
}

TEST(AmfSlots, AMFTraceWriter)
{
    EXPECT_EQ(SlotOf(&AMFTraceWriter::Write), 0U);
    EXPECT_EQ(SlotOf(&AMFTraceWriter::Flush), 1U);
}

TEST(AmfIds, BytesInMemoryAreThoseOfTheText)
{
    EXPECT_EQ(BytesOf(AMFInterface::IID()), BytesOfText("9D872F34-90DC-4B93-B6B2-6CA37C8525DB"));
    EXPECT_EQ(BytesOf(AMFPropertyStorage::IID()), BytesOfText("C7CEC05B-CFB9-48AF-ACE3-F68DF8395FE3"));
    EXPECT_EQ(BytesOf(AMFPropertyStorageEx::IID()), BytesOfText("16B8958D-E943-4A33-A35A-885AD828F267"));
    EXPECT_EQ(BytesOf(AMFData::IID()), BytesOfText("A1159BF6-9104-4107-8EAA-C53D5DBAC511"));
    EXPECT_EQ(BytesOf(AMFBuffer::IID()), BytesOfText("B04B7248-B6F0-4321-B691-BAA4740F9FCB"));
    EXPECT_EQ(BytesOf(AMFPlane::IID()), BytesOfText("BEDE1AA6-D8FA-4625-9465-6C82C437712E"));
    EXPECT_EQ(BytesOf(AMFSurface::IID()), BytesOfText("3075DBE3-8718-4CFA-86FB-2114C0A5A451"));
    EXPECT_EQ(BytesOf(AMFAudioBuffer::IID()), BytesOfText("02212FF8-6107-430B-B63C-C7E540E5F8EB"));
    EXPECT_EQ(BytesOf(AMFContext::IID()), BytesOfText("A76A13F0-D80E-4FCC-B508-65D0B52ED9EE"));
    EXPECT_EQ(BytesOf(AMFComponent::IID()), BytesOfText("8B51E5E4-455D-4034-A746-DE1BEDC3C406"));
    EXPECT_EQ(BytesOf(AMFDataAllocatorCB::IID()), BytesOfText("4BF46198-8B7B-49D0-AA72-48D407CE24C5"));
}

TEST(AmfTypes, VersionWordHoldsItsFourNumbers)
{
    EXPECT_EQ(AMF_MAKE_FULL_VERSION(1, 2, 3, 4), 0x0001000200030004U);
    EXPECT_EQ(AMF_FULL_VERSION, 0x0001000400090000U);
}

// Red is the first byte.
TEST(AmfTypes, BytesOfAColourAreRedGreenBlueAlpha)
{
    AMFVariantStruct variant = {};
    variant.colorValue = {1, 2, 3, 4};
    const auto* const pBytes = reinterpret_cast<const unsigned char*>(&variant);
    EXPECT_EQ(std::string(pBytes + 8, pBytes + 12), std::string("\1\2\3\4"));
}

TEST(AmfProperties, NamesAreWideTexts)
{
    EXPECT_STREQ(AMFVideoEncoderVCE_AVC, L"AMFVideoEncoderVCE_AVC");
    EXPECT_STREQ(AMFVideoConverter, L"AMFVideoConverter");
    EXPECT_STREQ(AmfEncoderProperty::Usage, L"Usage");
    EXPECT_STREQ(AmfEncoderProperty::BPicturesPattern, L"BPicturesPattern");
    EXPECT_STREQ(AmfEncoderProperty::QualityPreset, L"QualityPreset");
    EXPECT_STREQ(AmfEncoderProperty::TargetBitrate, L"TargetBitrate");
    EXPECT_STREQ(AmfEncoderProperty::FrameSize, L"FrameSize");
    EXPECT_STREQ(AmfEncoderProperty::FrameRate, L"FrameRate");
    EXPECT_STREQ(AmfConverterProperty::MemoryType, L"MemoryType");
    EXPECT_STREQ(AmfConverterProperty::OutputFormat, L"OutputFormat");
    EXPECT_STREQ(AmfConverterProperty::OutputSize, L"OutputSize");
}

}  // namespace
