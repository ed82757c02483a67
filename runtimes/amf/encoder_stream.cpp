#include "runtimes/amf/encoder_stream.h"

#include <chrono>

#include "runtimes/amf/buffer.h"
#include "runtimes/amf/surface.h"

namespace amfruntime
{
namespace
{

// Names that say something of the picture to the encoder. All other properties of a surface are the client's own, and
// are on the picture's buffer too.
bool IsWish(const std::wstring& name)
{
    using namespace AmfEncoderInput;
    for (const wchar_t* pwszWish : {EndOfSequence, EndOfStream, ForcePictureType, InsertAUD, InsertSPS, InsertPPS,
                                    PictureStructure, MarkCurrentWithLTRIndex, ForceLTRReferenceBitfield})
    {
        if (name == pwszWish)
        {
            return true;
        }
    }
    return false;
}

// Through the interface: the surface may be any implementation's.
PropertyMap PropertiesOf(const AMFPropertyStorage& storage)
{
    PropertyMap properties;
    const amf_size uiCount = storage.GetPropertyCount();
    for (amf_size ui = 0; ui < uiCount; ++ui)
    {
        wchar_t wszName[256];
        AMFVariantStruct value{};
        if (storage.GetPropertyAt(ui, wszName, std::size(wszName), &value) == AMF_OK)
        {
            properties.insert_or_assign(wszName, PropertyValue::Adopt(value));
        }
    }
    return properties;
}

AMF_VIDEO_ENCODER_OUTPUT_DATA_TYPE_ENUM OutputType(runtimes::PictureKind eKind)
{
    switch (eKind)
    {
    case runtimes::PictureKind::Idr:
        return AMF_VIDEO_ENCODER_OUTPUT_DATA_TYPE_IDR;
    case runtimes::PictureKind::I:
        return AMF_VIDEO_ENCODER_OUTPUT_DATA_TYPE_I;
    case runtimes::PictureKind::B:
        return AMF_VIDEO_ENCODER_OUTPUT_DATA_TYPE_B;
    default:
        return AMF_VIDEO_ENCODER_OUTPUT_DATA_TYPE_P;
    }
}

// A delimiter says which kinds of slices may follow. The one for I slices alone stands before IDR pictures only: an I
// picture that begins no group has the one for I and P.
void SetDelimiter(runtimes::Packet& packet)
{
    constexpr std::size_t c_uiKinds = 5;  // after the start code and the unit's type
    constexpr std::uint8_t c_uiIAndP = 0x30;
    if (packet.eKind == runtimes::PictureKind::I && packet.bytes.size() > c_uiKinds)
    {
        packet.bytes[c_uiKinds] = c_uiIAndP;
    }
}

}  // namespace

EncoderStream::EncoderStream(std::shared_ptr<ContextRecord> pRecord, const EncoderSettings& settings,
                             AMF_SURFACE_FORMAT eFormat)
    : m_pRecord(std::move(pRecord)), m_settings(settings), m_eFormat(eFormat)
{
    try
    {
        m_pWorker = std::make_unique<runtimes::EncodeWorker>(
            settings.encoder, Script::Get().Gate(),
            [this](runtimes::JobResult&& result) { OnJobDone(std::move(result)); });
    }
    catch (const runtimes::EncoderError&)
    {
        throw InitError(AMF_NOT_SUPPORTED);
    }
    Script::Get().SetX264Settings(settings.encoder.Report());
    Register();
}

EncoderStream::~EncoderStream()
{
    Unregister();
}

AMF_RESULT EncoderStream::CheckState() const
{
    if (m_bClosed)
    {
        return OutOfOrder(AMF_NOT_INITIALIZED);
    }
    if (m_eFailure != AMF_OK)
    {
        return m_eFailure;
    }
    if (m_bDraining)
    {
        return OutOfOrder(AMF_EOF);
    }
    return m_uiPending < c_uiEncoderPlaces ? AMF_OK : AMF_INPUT_FULL;
}

AMF_RESULT EncoderStream::Drain()
{
    const std::lock_guard lock(m_mutex);
    if (m_bClosed)
    {
        return OutOfOrder(AMF_NOT_INITIALIZED);
    }
    if (!m_bDraining)
    {
        m_pWorker->Submit({});
        m_bDraining = true;
    }
    return AMF_OK;
}

AMF_RESULT EncoderStream::SubmitInput(AMFSurface* pSurface)
{
    const std::lock_guard submitLock(m_submitMutex);
    {
        const std::lock_guard lock(m_mutex);
        const AMF_RESULT eResult = CheckState();
        if (eResult != AMF_OK)
        {
            return eResult;
        }
    }

    // Without m_mutex: the worker delivers meanwhile, and another thread takes buffers.
    runtimes::EncodeJob job;
    PictureData data{PropertiesOf(*pSurface), pSurface->GetPts(), pSurface->GetDuration()};
    AMF_RESULT eResult = ReadWishes(data.properties, job);
    eResult = eResult == AMF_OK ? ReadPicture(pSurface, job) : eResult;
    if (eResult != AMF_OK)
    {
        return eResult;
    }
    std::erase_if(data.properties, [](const auto& property) { return IsWish(property.first); });

    const std::lock_guard lock(m_mutex);
    // Another thread may have ended what was there a moment ago.
    eResult = CheckState();
    if (eResult != AMF_OK)
    {
        return eResult;
    }
    const bool bPeriodEnds = m_settings.uiIdrPeriod != 0 && m_uiSinceIdr >= m_settings.uiIdrPeriod;
    if (m_uiNextNumber == 0 || bPeriodEnds)
    {
        job.eKind = runtimes::PictureKind::Idr;
    }
    const bool bIdr = job.eKind == runtimes::PictureKind::Idr;
    job.info.uiFrameIndex = m_uiNextNumber;
    const auto it = m_inFlight.emplace(m_uiNextNumber, std::move(data)).first;
    try
    {
        m_pWorker->Submit(std::move(job));
    }
    catch (...)
    {
        m_inFlight.erase(it);
        throw;
    }
    ++m_uiNextNumber;
    m_uiSinceIdr = bIdr ? 1 : m_uiSinceIdr + 1;
    ++m_uiPending;
    Script::Get().CountIn(&AmfRuntimeObjects::uiPendingPictures);
    return AMF_OK;
}

AMF_RESULT EncoderStream::ReadWishes(const PropertyMap& wishes, runtimes::EncodeJob& job) const
{
    using namespace AmfEncoderInput;
    job.info.bWithHeaders = IsSet(wishes, InsertSPS) || IsSet(wishes, InsertPPS);
    job.eKind = m_settings.bWithB ? runtimes::PictureKind::Auto : runtimes::PictureKind::P;
    switch (FindNumber(wishes, ForcePictureType).value_or(AMF_VIDEO_ENCODER_PICTURE_TYPE_NONE))
    {
    case AMF_VIDEO_ENCODER_PICTURE_TYPE_NONE:
        return AMF_OK;
    case AMF_VIDEO_ENCODER_PICTURE_TYPE_IDR:
        job.eKind = runtimes::PictureKind::Idr;
        return AMF_OK;
    case AMF_VIDEO_ENCODER_PICTURE_TYPE_I:
        job.eKind = runtimes::PictureKind::I;
        return AMF_OK;
    case AMF_VIDEO_ENCODER_PICTURE_TYPE_P:
        job.eKind = runtimes::PictureKind::P;
        return AMF_OK;
    default:
        return AMF_NOT_SUPPORTED;
    }
}

AMF_RESULT EncoderStream::ReadPicture(AMFSurface* pSurface, runtimes::EncodeJob& job) const
{
    if (pSurface->GetFormat() != m_eFormat)
    {
        return AMF_INVALID_FORMAT;
    }
    NativePicture picture;
    const AMF_RESULT eResult = FindNative(pSurface, picture);
    if (eResult != AMF_OK)
    {
        return eResult;
    }
    if (picture.uiWidth != m_settings.encoder.stream.uiWidth || picture.uiHeight != m_settings.encoder.stream.uiHeight)
    {
        return AMF_INVALID_RESOLUTION;
    }
    job.pPicture = m_pWorker->TakePicture();
    const runtimes::Nv12View& view = job.pPicture->View();
    const runtimes::SurfaceLock lock(picture.pSurface, D3DLOCK_READONLY);
    if (!lock)
    {
        return AMF_DIRECTX_FAILED;
    }
    if (m_eFormat == AMF_SURFACE_BGRA)
    {
        runtimes::ConvertBgraToNv12(lock.Bits(), lock.Pitch(), picture.uiWidth, picture.uiHeight, view);
    }
    else
    {
        runtimes::CopyNv12(lock.Bits(), lock.Row(picture.uiRowsToChroma), lock.Pitch(), picture.uiWidth,
                           picture.uiHeight, view);
    }
    return AMF_OK;
}

void EncoderStream::OnJobDone(runtimes::JobResult&& result)
{
    const std::lock_guard lock(m_mutex);
    try
    {
        for (runtimes::Packet& packet : result.packets)
        {
            SetDelimiter(packet);
            m_ready.push_back(std::move(packet));
        }
    }
    catch (...)
    {
        result.eFailure = runtimes::EncodeFailure::OutOfMemory;
    }
    if (result.eFailure != runtimes::EncodeFailure::None)
    {
        m_eFailure = result.eFailure == runtimes::EncodeFailure::OutOfMemory ? AMF_OUT_OF_MEMORY : AMF_FAIL;
    }
    m_bEnded = m_bEnded || result.bEndOfStream;
    m_changed.notify_all();
}

AMF_RESULT EncoderStream::QueryOutput(AMFData** ppData)
{
    std::unique_lock lock(m_mutex);
    const auto isSettled = [&] { return m_bClosed || m_bEnded || !m_ready.empty() || m_eFailure != AMF_OK; };
    // A client that queries once after Drain gets a picture, if one is held back. Encoders that are held would block it
    // without end, and may be held during the wait.
    while (m_bDraining && !isSettled() && !Script::Get().Gate().IsHeld())
    {
        m_changed.wait_until(lock, std::chrono::system_clock::now() + std::chrono::milliseconds(20));
    }
    if (m_bClosed)
    {
        return OutOfOrder(AMF_NOT_INITIALIZED);
    }
    if (!m_ready.empty())
    {
        if (m_uiFruitless < Script::Get().QueriesBeforeOutput())
        {
            ++m_uiFruitless;
            return AMF_REPEAT;
        }
        return GiveNext(ppData);
    }
    if (m_eFailure != AMF_OK)
    {
        return m_eFailure;
    }
    return m_bEnded && !Script::Get().IsEndWithheld() ? AMF_EOF : AMF_REPEAT;
}

AMF_RESULT EncoderStream::GiveNext(AMFData** ppData)
{
    runtimes::Packet& packet = m_ready.front();
    const auto it = m_inFlight.find(packet.info.uiFrameIndex);
    // From here nothing fails but for memory, and a picture whose buffer can't be made is still the next one.
    auto pBuffer = Reference<Buffer>::Attach(new Buffer(m_pRecord, {}));
    PropertyMap properties = it->second.properties;
    properties.insert_or_assign(AmfEncoderOutput::OutputDataType,
                                PropertyValue::Of(std::int64_t{OutputType(packet.eKind)}));
    pBuffer->SetProperties(std::move(properties));
    pBuffer->SetPts(it->second.pts);
    pBuffer->SetDuration(it->second.duration);
    pBuffer->Fill(std::move(packet.bytes));
    m_inFlight.erase(it);
    m_ready.pop_front();
    m_uiFruitless = 0;
    --m_uiPending;
    Script::Get().CountOut(&AmfRuntimeObjects::uiPendingPictures);
    *ppData = pBuffer.Detach();
    return AMF_OK;
}

void EncoderStream::Close()
{
    {
        const std::lock_guard lock(m_mutex);
        m_bClosed = true;
        m_changed.notify_all();
    }
    // Without m_mutex, which the thread takes to deliver.
    m_pWorker->Stop();
    const std::lock_guard lock(m_mutex);
    if (m_uiPending != 0)
    {
        Script::Get().OnBreach(&AmfRuntimeBreaches::uiPicturesLost, m_uiPending);
        Script::Get().CountOut(&AmfRuntimeObjects::uiPendingPictures, m_uiPending);
    }
    m_uiPending = 0;
    m_ready.clear();
    m_inFlight.clear();
}

}  // namespace amfruntime
