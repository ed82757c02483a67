#include "mp4_outputfile/amfwriter.h"

#include "amf/common/amfclock.h"
#include "amf/common/amfsystem.h"
#include "amf/common/amftrace.h"
#include "common/modulestate.h"
#include "common/saferelease.h"
#include "common/waits.h"
#include "mp4_outputfile/amfupload.h"

namespace
{

constexpr std::int64_t g_nFullHdBitRate = 20000000;  // bits per second
constexpr std::int64_t g_nFullHdPixels = 2073600;    // 1920 x 1080

constexpr AMFRate g_frameRate{30, 1};  // whatever the times of the pictures are

// In milliseconds without any output.
constexpr std::uint32_t g_uiFullLimit = 20000;
constexpr std::uint32_t g_uiEndLimit = 600000;

AMFVariantStruct Int64(amf_int64 nValue)
{
    AMFVariantStruct value{};
    value.type = AMF_VARIANT_INT64;
    value.int64Value = nValue;
    return value;
}

AMFVariantStruct Size(std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    AMFVariantStruct value{};
    value.type = AMF_VARIANT_SIZE;
    value.sizeValue = {static_cast<amf_int32>(uiWidth), static_cast<amf_int32>(uiHeight)};
    return value;
}

AMFVariantStruct Rate(AMFRate rate)
{
    AMFVariantStruct value{};
    value.type = AMF_VARIANT_RATE;
    value.rateValue = rate;
    return value;
}

// Of a context or a component.
template <typename T>
void TerminateAndRelease(T** ppObject)
{
    if (*ppObject != nullptr) (*ppObject)->Terminate();
    SafeRelease(ppObject);
}

}  // namespace

std::int64_t CalcAmfBitRate(std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    // Sizes that no encoder takes may leave 64 bits here.
    const std::uint64_t uiScaled = std::uint64_t{uiWidth} * uiHeight * g_nFullHdBitRate;
    return static_cast<std::int64_t>(uiScaled) / g_nFullHdPixels;
}

CAmfWriter::~CAmfWriter()
{
    if (m_pPollingThread != nullptr)
    {
        m_file.Abandon();
        EndStream();
        m_pPollingThread.reset();
    }
    ReleaseComponents();
}

// --- set-up ---

HRESULT CAmfWriter::Open(const SEncoderSettings& settings)
{
    m_pstrFileName = &settings.m_strFileName;
    m_uiWidth = settings.m_uiWidth;
    m_uiHeight = settings.m_uiHeight;
    if (g_nAmfInitResult != AMF_OK) return S_FALSE;

    amf_increase_timer_precision();  // the thread and the waits sleep for 1 ms
    AMFTraceEnableWriter(AMF_TRACE_WRITER_CONSOLE, true);
    AMFTraceEnableWriter(AMF_TRACE_WRITER_DEBUG_OUTPUT, true);
    if (!MakeComponents()) return S_FALSE;
    SetEncoderProperties();
    return S_OK;
}

bool CAmfWriter::MakeComponents()
{
    AMFFactory* const pFactory = g_AMFFactory.GetFactory();
    return pFactory->CreateContext(&m_pAmfContext) == AMF_OK && m_pAmfContext != nullptr &&
           pFactory->CreateComponent(m_pAmfContext, AMFVideoConverter, &m_pAmfConverter) == AMF_OK &&
           m_pAmfConverter != nullptr && m_pAmfContext->InitDX9(nullptr) == AMF_OK &&  // it makes the device itself
           pFactory->CreateComponent(m_pAmfContext, AMFVideoEncoderVCE_AVC, &m_pAmfEncoder) == AMF_OK &&
           m_pAmfEncoder != nullptr;
}

// Usage comes first: it sets all others. None of the results counts; an encoder may not know a property.
void CAmfWriter::SetEncoderProperties()
{
    AMFComponent& encoder = *m_pAmfEncoder;
    encoder.SetProperty(AmfEncoderProperty::Usage, Int64(AMF_VIDEO_ENCODER_USAGE_TRANSCONDING));
    encoder.SetProperty(AmfEncoderProperty::BPicturesPattern, Int64(0));
    encoder.SetProperty(AmfEncoderProperty::QualityPreset, Int64(AMF_VIDEO_ENCODER_QUALITY_PRESET_SPEED));
    encoder.SetProperty(AmfEncoderProperty::TargetBitrate, Int64(CalcAmfBitRate(m_uiWidth, m_uiHeight)));
    encoder.SetProperty(AmfEncoderProperty::FrameSize, Size(m_uiWidth, m_uiHeight));
    encoder.SetProperty(AmfEncoderProperty::FrameRate, Rate(g_frameRate));
}

// --- frames ---

EPictureFate CAmfWriter::WriteFrame(std::uint32_t /*uiIndex*/, const SHostPicture& picture,
                                    const SFrameTimes& /*times*/)
{
    if (m_pPollingThread == nullptr && !StartPolling()) return EPictureFate::Lost;
    if (m_file.IsAbandoned()) return EPictureFate::Lost;
    InitConverter();

    AMFSurface* pSurface = nullptr;
    m_pAmfContext->AllocSurface(AMF_MEMORY_DX9, AMF_SURFACE_NV12, static_cast<amf_int32>(m_uiWidth),
                                static_cast<amf_int32>(m_uiHeight), &pSurface);
    const COwned<AMFSurface> surface(pSurface);
    if (surface == nullptr) return EPictureFate::Lost;
    UploadFrameToAmfSurface(*m_pAmfContext, *m_pAmfConverter, *surface, picture, m_uiWidth, m_uiHeight);
    return Submit(*surface);
}

// False when there is no thread: what the encoder gives could never be taken.
bool CAmfWriter::StartPolling()
{
    // Not looked at: an encoder that can't be initialised refuses the pictures one by one.
    m_pAmfEncoder->Init(AMF_SURFACE_NV12, static_cast<amf_int32>(m_uiWidth), static_cast<amf_int32>(m_uiHeight));
    m_file.Open(*m_pstrFileName, EPacketLayout::Amf, m_uiWidth, m_uiHeight);
    auto pThread = std::make_unique<PollingThread>(*m_pAmfEncoder, m_file);
    if (!pThread->Start())
    {
        m_file.Abandon();
        return false;
    }
    m_pPollingThread = std::move(pThread);
    return true;
}

// For every picture, on purpose: the converter begins each one afresh after the drain of the one before it.
void CAmfWriter::InitConverter()
{
    AMFComponent& converter = *m_pAmfConverter;
    converter.SetProperty(AmfConverterProperty::MemoryType, Int64(AMF_MEMORY_DX9));
    converter.SetProperty(AmfConverterProperty::OutputFormat, Int64(AMF_SURFACE_NV12));
    converter.SetProperty(AmfConverterProperty::OutputSize, Size(m_uiWidth, m_uiHeight));
    converter.Init(AMF_SURFACE_BGRA, static_cast<amf_int32>(m_uiWidth), static_cast<amf_int32>(m_uiHeight));
}

// Only "full" counts of what the encoder answers. A picture that it refuses keeps its time and others follow.
EPictureFate CAmfWriter::Submit(AMFSurface& surface)
{
    const std::uint64_t uiBegin = GetMilliseconds();
    m_pPollingThread->ExpectPicture();
    for (;;)
    {
        surface.SetProperty(AMF_START_TIME_PROPERTY, Int64(amf_high_precision_clock()));
        if (m_pAmfEncoder->SubmitInput(&surface) != AMF_INPUT_FULL) return EPictureFate::Taken;
        if (m_pPollingThread->IsQuietFor(g_uiFullLimit, uiBegin) || m_pPollingThread->GaveTooMuch()) break;
        amf_sleep(1);
    }
    m_uiFullSince = uiBegin;
    return EPictureFate::Lost;
}

// --- end ---

void CAmfWriter::Close(const SFrameTimes& times)
{
    if (m_pPollingThread != nullptr)
    {
        EndStream();
        m_pPollingThread.reset();
        if (m_file.IsOpen()) m_file.Finish(times.m_vecFrameTimes);
    }
    ReleaseComponents();
}

// Returns when the thread has ended. An input that stayed full for a picture isn't waited for again, nor one that no
// thread empties.
void CAmfWriter::EndStream()
{
    const std::uint64_t uiBegin = m_uiFullSince.value_or(GetMilliseconds());
    AMF_RESULT eDrained = m_pAmfEncoder->Drain();
    while (eDrained == AMF_INPUT_FULL && m_pPollingThread->IsRunning() && !m_pPollingThread->GaveTooMuch() &&
           !m_pPollingThread->IsQuietFor(g_uiFullLimit, uiBegin))
    {
        amf_sleep(1);
        eDrained = m_pAmfEncoder->Drain();
    }
    // What an encoder that isn't full any more still holds gets its time from now on.
    m_pPollingThread->ExpectEnd(eDrained == AMF_OK ? g_uiEndLimit : g_uiFullLimit,
                                eDrained == AMF_INPUT_FULL ? uiBegin : GetMilliseconds());
    m_pPollingThread->RequestStop();
    m_pPollingThread->WaitForStop();
}

void CAmfWriter::ReleaseComponents()
{
    TerminateAndRelease(&m_pAmfEncoder);
    TerminateAndRelease(&m_pAmfConverter);
    TerminateAndRelease(&m_pAmfContext);
}
