#include "platform/mediafoundation/reading/video_reader.h"

#include <algorithm>
#include <thread>

#include "mferror.h"

namespace mediafoundation
{
namespace
{

constexpr int LOOKS_PER_STEP = 16;
constexpr int FLAGS_PER_STEP = 65536;
constexpr int PACKETS_PER_STEP = 32;

// Handing smaller pictures from thread to thread takes longer than decoding them on one.
constexpr std::int64_t LEAST_PIXELS_FOR_THREADS = 160'000;

// Whether every picture that a container marks as key begins afresh. True where pictures are presented as they are
// decoded; formats with reordering have key pictures that are followed by earlier pictures.
bool HasFreshKeys(AVCodecID codec)
{
    const AVCodecDescriptor* pDescriptor = avcodec_descriptor_get(codec);
    return pDescriptor != nullptr &&
           ((pDescriptor->props & AV_CODEC_PROP_INTRA_ONLY) != 0 || (pDescriptor->props & AV_CODEC_PROP_REORDER) == 0);
}

// One thread more than processors: the one that waits for the oldest picture leaves a processor free.
int CountThreads(std::int64_t nPixels)
{
    if (nPixels < LEAST_PIXELS_FOR_THREADS) return 1;
    return static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, 15U)) + 1;
}

}  // namespace

HRESULT VideoReader::Create(std::shared_ptr<ContainerFile> file, unsigned int uiStream, RawFormat format,
                            std::unique_ptr<SampleReader>* ppReader)
{
    const StreamFormat& streamFormat = file->Streams()[uiStream];
    const auto isSide = [](std::uint32_t uiSide) { return uiSide > 0 && uiSide <= MAX_PICTURE_SIDE; };
    if (!isSide(streamFormat.m_uiWidth) || !isSide(streamFormat.m_uiHeight)) return MF_E_INVALIDMEDIATYPE;

    std::unique_ptr<VideoReader> reader(new VideoReader(file, uiStream, format, streamFormat));
    if (!reader->m_frame) return E_OUTOFMEMORY;
    const HRESULT hr = reader->OpenDecoder(*file->Selected().codecpar, streamFormat.m_nReorder);
    if (FAILED(hr)) return hr;
    *ppReader = std::move(reader);
    return S_OK;
}

VideoReader::VideoReader(std::shared_ptr<ContainerFile> file, unsigned int uiStream, RawFormat format,
                         const StreamFormat& streamFormat)
    : SampleReader(std::move(file), uiStream), m_converter(format, streamFormat.m_uiWidth, streamFormat.m_uiHeight)
{}

HRESULT VideoReader::OpenDecoder(const AVCodecParameters& parameters, int nReorder)
{
    const AVCodec* pCodec = avcodec_find_decoder(parameters.codec_id);
    if (pCodec == nullptr) return MF_E_TOPO_CODEC_NOT_FOUND;
    m_decoder.reset(avcodec_alloc_context3(pCodec));
    if (!m_decoder) return E_OUTOFMEMORY;
    if (avcodec_parameters_to_context(m_decoder.get(), &parameters) < 0) return MF_E_INVALIDMEDIATYPE;

    m_decoder->thread_count = CountThreads(std::int64_t{parameters.width} * parameters.height);
    m_decoder->thread_type = FF_THREAD_FRAME;
    // Every sample is a picture, also one that refers to a picture the file doesn't have.
    m_decoder->flags |= AV_CODEC_FLAG_OUTPUT_CORRUPT;
    m_decoder->max_pixels = std::int64_t{MAX_PICTURE_SIDE} * MAX_PICTURE_SIDE;
    // A stream that doesn't say how far it reorders is delayed by the most that it may reorder. Without this the
    // decoder would give some pictures in the wrong order before it knows.
    m_decoder->has_b_frames = std::max(m_decoder->has_b_frames, nReorder);
    if (avcodec_open2(m_decoder.get(), pCodec, nullptr) < 0) return MF_E_TOPO_CODEC_NOT_FOUND;

    m_bReorders = m_decoder->has_b_frames > 0;
    m_bOnlyKeyStarts = !File().Nal().HasNalUnits() && HasFreshKeys(parameters.codec_id);
    return S_OK;
}

void VideoReader::StartAt(std::uint64_t uiNumber)
{
    if (m_bHasCurrent && uiNumber == m_uiNext) return;
    const bool bGoesOn = uiNumber == m_uiNext && !m_bHasCurrent && m_phase == Phase::Decode && m_bDecoding;
    if (bGoesOn) return;
    m_bHasCurrent = false;
    m_uiNext = uiNumber;
    m_phase = uiNumber < Table().Count() ? Phase::FindStart : Phase::Ended;
    m_uiCandidate = uiNumber;
    m_bDecoding = m_bDecoding && m_phase == Phase::FindStart;
}

SampleReader::Progress VideoReader::Step()
{
    if (m_bHasCurrent) return Progress::HasSample;
    switch (m_phase)
    {
    case Phase::FindStart:
        return FindStart();
    case Phase::LearnTimes:
        return LearnTimes();
    case Phase::Decode:
        return DecodeStep();
    case Phase::Ended:
        break;
    }
    return Progress::Ended;
}

SampleReader::Progress VideoReader::FindStart()
{
    int nLooks = 0;
    for (int i = 0; i < FLAGS_PER_STEP && nLooks < LOOKS_PER_STEP; ++i, --m_uiCandidate)
    {
        if (m_uiCandidate > 0)
        {
            if (!Table().At(m_uiCandidate).m_bKey) continue;
            ++nLooks;
            if (!IsStart(m_uiCandidate)) continue;
        }
        m_uiStart = m_uiCandidate;
        m_uiLearned = m_uiStart;
        m_phase = Phase::LearnTimes;
        return Progress::Working;
    }
    return Progress::Working;
}

bool VideoReader::IsStart(std::uint64_t uiSample)
{
    if (!File().Nal().HasNalUnits()) return m_bOnlyKeyStarts;
    Sample& sample = MutableTable().At(uiSample);
    if (sample.m_freshStart == FreshStart::Unknown)
    {
        sample.m_freshStart = File().LooksFresh(sample) ? FreshStart::Yes : FreshStart::No;
    }
    return sample.m_freshStart == FreshStart::Yes;
}

SampleReader::Progress VideoReader::LearnTimes()
{
    const std::uint64_t uiReach = PresentationReach(Table(), m_uiNext);
    const auto isKnown = [this] { return Table().At(m_uiLearned).m_nPresentationTime != AV_NOPTS_VALUE; };
    if (!m_bTrustTimes) return BeginDecoding();
    while (m_uiLearned < uiReach && isKnown())
    {
        ++m_uiLearned;
    }
    if (m_uiLearned == uiReach) return BeginDecoding();

    HRESULT hr = S_OK;
    for (int i = 0; i < PACKETS_PER_STEP && m_uiLearned < uiReach && hr == S_OK; ++i)
    {
        hr = ReadSample(m_uiLearned);
        // A sample without a time, or an end before the last sample: the pictures will be counted.
        if (hr == S_FALSE || (hr == S_OK && m_packet->pts == AV_NOPTS_VALUE)) return BeginDecoding();
        if (hr == S_OK) MutableTable().At(m_uiLearned++).m_nPresentationTime = m_packet->pts;
    }
    av_packet_unref(m_packet.get());
    return FAILED(hr) ? Fail(hr) : Progress::Working;
}

SampleReader::Progress VideoReader::BeginDecoding()
{
    const auto target =
        m_bTrustTimes ? FindPicture(Table(), m_uiStart, m_uiNext, m_bReorders) : std::optional<std::uint64_t>();
    const bool bByTime = target.has_value();
    // What the decoder holds serves if the picture is still to come, and if a flush would only go further back. By
    // count, everything from a start on has to have been counted.
    const bool bGoOn = m_bDecoding && !m_bDraining && bByTime == m_bByTime && m_uiNext >= m_uiOut &&
                       m_uiStart < m_uiFeed && !m_bErrors;
    m_phase = Phase::Decode;
    if (bGoOn && bByTime)
    {
        m_bToTarget = true;
    }
    if (!bGoOn)
    {
        FlushTo(m_uiStart);
        m_bByTime = bByTime;
        m_bToTarget = bByTime;
        m_uiOut = m_uiStart;
        if (MayDecodeAlone()) m_uiDrainAt = m_uiStart + 1;
    }
    if (bByTime)
    {
        m_uiTarget = *target;
        m_nTargetTime = Table().At(m_uiTarget).m_nPresentationTime;
        m_uiOut = m_uiNext;
    }
    return Progress::Working;
}

// Frame threads return their first picture when each of them has a packet, and the packets after the first take
// processor time from it. A picture that is wanted first is decoded without them if the next sample is a fresh start,
// so that a drained decoder can continue there.
bool VideoReader::MayDecodeAlone()
{
    const bool bThreads = (m_decoder->active_thread_type & FF_THREAD_FRAME) != 0;
    const std::uint64_t uiAfter = m_uiStart + 1;
    return bThreads && m_uiNext == m_uiStart && uiAfter < Table().Count() && Table().At(uiAfter).m_bKey &&
           IsStart(uiAfter);
}

void VideoReader::FlushTo(std::uint64_t uiSample)
{
    avcodec_flush_buffers(m_decoder.get());
    m_due.Clear();
    m_uiInDecoder = 0;
    m_uiFeed = uiSample;
    m_uiDrainAt = Table().Count();
    m_bDecoding = true;
    m_bDraining = false;
    m_bErrors = false;
}

// Into m_packet; S_FALSE after the file's last sample. Seeking may mean counting from the first sample on, so it is
// done only if the file isn't at that sample already.
HRESULT VideoReader::ReadSample(std::uint64_t uiSample)
{
    HRESULT hr = m_uiFileNext == uiSample ? S_OK : File().SeekTo(Table(), uiSample);
    if (SUCCEEDED(hr)) hr = File().Read(m_packet.get());
    m_uiFileNext = hr == S_OK ? std::optional(uiSample + 1) : std::nullopt;
    return hr;
}

SampleReader::Progress VideoReader::DecodeStep()
{
    const int nResult = avcodec_receive_frame(m_decoder.get(), m_frame.get());
    if (nResult == 0) return OnPicture();
    if (nResult == AVERROR_EOF) return OnDrained();
    if (nResult == AVERROR(EAGAIN)) return OwesPicture() ? OnLost() : Feed();
    if (nResult == AVERROR(ENOMEM)) return Fail(E_OUTOFMEMORY);
    m_bErrors = true;
    return m_bByTime ? Progress::Working : OnLost();
}

// By count only: after its delay the decoder gives a picture for every sample, so one that is missing shows at once,
// before the next one could be taken for it.
bool VideoReader::OwesPicture() const
{
    if (m_bByTime || m_decoder->codec_id != AV_CODEC_ID_H264) return false;
    const int nThreads = (m_decoder->active_thread_type & FF_THREAD_FRAME) != 0 ? m_decoder->thread_count : 1;
    return m_uiInDecoder > static_cast<std::uint64_t>(nThreads - 1 + m_decoder->has_b_frames);
}

SampleReader::Progress VideoReader::Feed()
{
    if (m_uiFeed < m_uiDrainAt)
    {
        const HRESULT hr = ReadSample(m_uiFeed);
        if (FAILED(hr)) return Fail(hr);
        if (hr == S_OK) return FeedSample();
    }
    // Also at the end of a file that was cut off: what the decoder holds comes out.
    m_bDraining = true;
    const int nResult = avcodec_send_packet(m_decoder.get(), nullptr);
    return nResult < 0 && nResult != AVERROR_EOF ? Fail(MF_E_INVALID_STREAM_DATA) : Progress::Working;
}

SampleReader::Progress VideoReader::FeedSample()
{
    Sample& sample = MutableTable().At(m_uiFeed);
    sample.m_nPresentationTime = m_packet->pts;
    if (!m_bByTime && sample.m_freshStart == FreshStart::Unknown && File().Nal().HasNalUnits())
    {
        sample.m_freshStart = File().Describe(*m_packet).m_freshStart;
    }
    if (m_bByTime && MayLeaveOut(sample))
    {
        ++m_uiFeed;
        av_packet_unref(m_packet.get());
        return Progress::Working;
    }
    // The packet's times go to the decoder as the sample's number, so that each picture says which sample it is of.
    m_packet->pts = static_cast<std::int64_t>(m_uiFeed);
    m_packet->dts = m_packet->pts;
    if (m_bByTime) m_due.Add(sample.m_nPresentationTime, m_uiFeed);
    ++m_uiFeed;
    ++m_uiInDecoder;
    // A packet without bytes would end the stream for the decoder. It has no picture.
    const int nResult = m_packet->size > 0 ? avcodec_send_packet(m_decoder.get(), m_packet.get()) : AVERROR_INVALIDDATA;
    av_packet_unref(m_packet.get());
    if (nResult == AVERROR(ENOMEM)) return Fail(E_OUTOFMEMORY);
    if (nResult >= 0) return Progress::Working;
    m_bErrors = true;
    return m_bByTime ? Progress::Working : OnLost();
}

bool VideoReader::MayLeaveOut(const Sample& sample) const
{
    return m_bToTarget && sample.m_nPresentationTime < m_nTargetTime &&
           File().Nal().IsDisposable(m_packet->data, static_cast<std::size_t>(m_packet->size));
}

SampleReader::Progress VideoReader::OnPicture()
{
    m_uiInDecoder -= m_uiInDecoder > 0 ? 1 : 0;
    const std::int64_t nTag = m_frame->pts;
    const bool bKnown = nTag >= 0 && static_cast<std::uint64_t>(nTag) < Table().Count();
    const std::uint64_t uiSample = bKnown ? static_cast<std::uint64_t>(nTag) : Table().Count();
    return m_bByTime ? OnPictureByTime(uiSample) : OnPictureByCount(uiSample);
}

SampleReader::Progress VideoReader::OnPictureByTime(std::uint64_t uiSample)
{
    if (uiSample == Table().Count()) return OnLost();
    if (m_bToTarget)
    {
        if (Table().At(uiSample).m_nPresentationTime < m_nTargetTime) return Progress::Working;
        m_due.DropBefore(m_nTargetTime);
        m_bToTarget = false;
    }
    if (!m_due.Take(uiSample)) return OnLost();
    return Deliver(uiSample);
}

SampleReader::Progress VideoReader::OnPictureByCount(std::uint64_t uiSample)
{
    const bool bFresh = uiSample < Table().Count() && Table().At(uiSample).m_freshStart == FreshStart::Yes;
    if (bFresh && uiSample != m_uiOut) return OnLost();
    if (m_uiOut < m_uiNext)
    {
        ++m_uiOut;
        return Progress::Working;
    }
    return Deliver(uiSample);
}

SampleReader::Progress VideoReader::OnDrained()
{
    const bool bComplete = m_uiOut == m_uiDrainAt && !m_bToTarget && m_due.IsEmpty();
    if (!bComplete) return OnLost();
    if (m_uiDrainAt < Table().Count())
    {
        FlushTo(m_uiDrainAt);
        return Progress::Working;
    }
    m_phase = Phase::Ended;
    m_bDecoding = false;
    return Progress::Ended;
}

// The picture that is due didn't come. If the decoder has complained, or the file has ended, it is lost. If not, the
// times of presentation may be wrong: then the pictures are counted, from the start again, and from here on always.
SampleReader::Progress VideoReader::OnLost()
{
    m_bDecoding = false;
    const bool bAtTheEnd = m_bDraining && m_uiDrainAt == Table().Count();
    const bool bDistrust = m_bByTime && !m_bErrors && !bAtTheEnd;
    if (!bDistrust) return Fail(MF_E_INVALID_STREAM_DATA);
    m_bTrustTimes = false;
    StartAt(m_uiNext);
    return Progress::Working;
}

SampleReader::Progress VideoReader::Deliver(std::uint64_t uiSample)
{
    // A stream whose samples hold more than one picture each: there is no number for those that are left over.
    if (m_uiNext >= Table().Count()) return OnLost();
    const HRESULT hr = m_converter.Convert(*m_frame);
    if (FAILED(hr))
    {
        m_bDecoding = false;
        return Fail(hr);
    }
    m_current.m_pData = m_converter.Data();
    m_current.m_uiSize = m_converter.Size();
    m_current.m_nTime = PresentationTime(uiSample, m_uiNext);
    m_current.m_nDuration = Table().DurationOf(m_uiNext);
    ++m_uiOut;
    m_bHasCurrent = true;
    return Progress::HasSample;
}

}  // namespace mediafoundation
