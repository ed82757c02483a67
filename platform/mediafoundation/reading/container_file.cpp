#include "platform/mediafoundation/reading/container_file.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "mferror.h"
#include "platform/mediafoundation/reading/claimed_samples.h"

namespace mediafoundation
{
namespace
{

// Containers that hold their own samples. Play lists and the like, which lead to other files, aren't among them.
constexpr const char* CONTAINERS = "mov,matroska,avi,asf,mpegts,mpeg,flv";
constexpr int MAX_TOP_LEVEL_BOXES = 4096;

constexpr std::uint64_t CLAIMS_WITHOUT_PROOF = 1'000'000;
constexpr std::uint64_t CLAIMS_PER_HELD_BYTE = 16;

HRESULT FromFfmpeg(int nError)
{
    switch (nError)
    {
    case AVERROR(ENOMEM):
        return E_OUTOFMEMORY;
    case AVERROR(ENOENT):
        return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    case AVERROR(EACCES):
    case AVERROR(EPERM):
        return E_ACCESSDENIED;
    default:
        return MF_E_UNSUPPORTED_BYTESTREAM_TYPE;
    }
}

// A path that could block the process for ever, such as a pipe without a writer, is refused before it is opened.
HRESULT RequireRegularFile(const std::string& path)
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status))
    {
        return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    }
    return std::filesystem::is_regular_file(status) ? S_OK : MF_E_UNSUPPORTED_BYTESTREAM_TYPE;
}

// A file whose tables claim more samples than it has bytes is refused before an index is made of them. A sparse file
// may have any size, so more than a million claims need bytes that aren't zero: one for 16 of them, since silent sound
// consists of zeros.
HRESULT RequireBelievableTables(const std::string& url)
{
    AVIOContext* pIo = nullptr;
    const int nError = avio_open(&pIo, url.c_str(), AVIO_FLAG_READ);
    if (nError < 0) return FromFfmpeg(nError);
    const std::uint64_t uiClaimed = CountClaimedSamples(pIo);
    const bool bBelievable = uiClaimed <= static_cast<std::uint64_t>(std::max<std::int64_t>(avio_size(pIo), 0)) &&
                             (uiClaimed <= CLAIMS_WITHOUT_PROOF || HoldsBytes(pIo, uiClaimed / CLAIMS_PER_HELD_BYTE));
    avio_closep(&pIo);
    return bBelievable ? S_OK : MF_E_INVALID_FILE_FORMAT;
}

bool FindTopLevelBox(AVIOContext* pIo, std::uint32_t uiWanted)
{
    const std::int64_t nSize = avio_size(pIo);
    std::int64_t nAt = 0;
    for (int i = 0; i < MAX_TOP_LEVEL_BOXES && nAt + 8 <= nSize; ++i)
    {
        if (avio_seek(pIo, nAt, SEEK_SET) < 0) return false;
        std::int64_t nBox = avio_rb32(pIo);
        if (avio_rl32(pIo) == uiWanted) return true;
        if (nBox == 1)
        {
            nBox = static_cast<std::int64_t>(avio_rb64(pIo));
        }
        if (nBox < 8 || nBox > nSize - nAt) return false;
        nAt += nBox;
    }
    return false;
}

bool LacksSize(const AVStream& stream)
{
    return stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO &&
           (stream.codecpar->width <= 0 || stream.codecpar->height <= 0);
}

}  // namespace

HRESULT ContainerFile::Open(const std::string& path, std::unique_ptr<ContainerFile>* ppFile)
{
    PrepareFfmpeg();
    HRESULT hr = RequireRegularFile(path);
    if (FAILED(hr)) return hr;

    std::unique_ptr<ContainerFile> file(new ContainerFile(path));
    if (!file->m_packet) return E_OUTOFMEMORY;
    hr = RequireBelievableTables(file->Url());
    if (SUCCEEDED(hr)) hr = file->OpenContext();
    if (FAILED(hr)) return hr;

    AVFormatContext& context = *file->m_context;
    for (unsigned int i = 0; i < context.nb_streams; ++i)
    {
        file->m_streams.push_back(DescribeStream(*context.streams[i]));
    }
    if (file->m_streams.empty()) return MF_E_UNSUPPORTED_BYTESTREAM_TYPE;
    *ppFile = std::move(file);
    return S_OK;
}

HRESULT ContainerFile::OpenContext()
{
    const std::string strUrl = Url();  // may throw, so it comes before what isn't freed then
    AVDictionary* pOptions = nullptr;
    av_dict_set(&pOptions, "protocol_whitelist", "file", 0);
    av_dict_set(&pOptions, "format_whitelist", CONTAINERS, 0);
    // Every sample of the track is a picture, also those that an edit list would cut away or repeat.
    av_dict_set(&pOptions, "ignore_editlist", "1", 0);
    // A sample's duration is taken as it stands, however long.
    av_dict_set(&pOptions, "max_stts_delta", "4294967295", 0);

    m_context.reset();
    AVFormatContext* pContext = nullptr;
    const int nError = avformat_open_input(&pContext, strUrl.c_str(), nullptr, &pOptions);
    av_dict_free(&pOptions);
    if (nError < 0) return FromFfmpeg(nError);
    m_context.reset(pContext);

    // Looking into the samples costs time, so it is done only where the container's head leaves something open.
    bool bLookInside = !IsMp4();
    for (unsigned int i = 0; i < pContext->nb_streams; ++i)
    {
        bLookInside = bLookInside || LacksSize(*pContext->streams[i]);
    }
    if (bLookInside)
    {
        // Where it doesn't succeed, the streams stay as the head described them.
        (void)avformat_find_stream_info(pContext, nullptr);
    }
    if (IsMp4())
    {
        // Times and marks as the container holds them, not as a guess would have them.
        pContext->flags |= AVFMT_FLAG_NOFILLIN | AVFMT_FLAG_NOPARSE;
    }
    m_bIndexComplete = IsMp4() && !HasFragments();
    // What was looked at is kept and comes first, but in an MP4 file its times were guessed at.
    m_bAtStart = !(IsMp4() && bLookInside);
    return S_OK;
}

bool ContainerFile::IsMp4() const
{
    return std::strncmp(m_context->iformat->name, "mov,", 4) == 0;
}

std::int64_t ContainerFile::Duration() const
{
    constexpr AVRational HUNDRED_NANOSECONDS{1, 10'000'000};
    // The longest stream's, since all samples are played, also those that an edit list leaves out. FFmpeg's length of
    // the whole follows the edit list, and FFmpeg 7 gives it only for containers whose samples were looked at.
    std::int64_t nLongest = 0;
    for (unsigned int i = 0; i < m_context->nb_streams; ++i)
    {
        const AVStream& stream = *m_context->streams[i];
        if (stream.duration == AV_NOPTS_VALUE) continue;
        nLongest = std::max(nLongest, av_rescale_q(stream.duration, stream.time_base, HUNDRED_NANOSECONDS));
    }
    if (nLongest > 0 || m_context->duration == AV_NOPTS_VALUE) return nLongest;
    return std::max<std::int64_t>(0, av_rescale_q(m_context->duration, av_get_time_base_q(), HUNDRED_NANOSECONDS));
}

void ContainerFile::Select(unsigned int uiStream)
{
    m_uiSelected = uiStream;
    m_nal = NalLayout(*m_context->streams[uiStream]->codecpar);
    for (unsigned int i = 0; i < m_context->nb_streams; ++i)
    {
        m_context->streams[i]->discard = i == uiStream ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
}

// Whether a box of the file's top level is a movie fragment. A file with fragments can have samples in its index, and
// yet not all of them.
bool ContainerFile::HasFragments()
{
    AVIOContext* pIo = m_context->pb;
    const std::int64_t nBefore = avio_tell(pIo);
    const bool bFound = FindTopLevelBox(pIo, MKTAG('m', 'o', 'o', 'f'));
    avio_seek(pIo, nBefore, SEEK_SET);
    return bFound;
}

std::unique_ptr<SampleTable> ContainerFile::TableFromIndex()
{
    AVStream& stream = Selected();
    const int nCount = avformat_index_get_entries_count(&stream);
    if (!m_bIndexComplete || nCount <= 0) return nullptr;

    auto table = std::make_unique<SampleTable>();
    table->Reserve(static_cast<std::size_t>(nCount));
    for (int i = 0; i < nCount; ++i)
    {
        const AVIndexEntry* pEntry = avformat_index_get_entry(&stream, i);
        Sample sample;
        sample.m_nDecodingTime = pEntry->timestamp;
        sample.m_nFilePosition = pEntry->pos;
        sample.m_nSize = pEntry->size;
        sample.m_bKey = (pEntry->flags & AVINDEX_KEYFRAME) != 0;
        table->Append(sample);
    }
    const std::int64_t nFirst = table->At(0).m_nDecodingTime;
    const std::int64_t nLast = table->At(table->Count() - 1).m_nDecodingTime;
    const bool bKnowsEnd = stream.duration != AV_NOPTS_VALUE && nLast >= nFirst && stream.duration > nLast - nFirst;
    table->Finish(stream.time_base, bKnowsEnd ? stream.duration - (nLast - nFirst) : 0);
    return table;
}

HRESULT ContainerFile::Rewind()
{
    m_bPacketPending = false;
    if (m_bAtStart) return S_OK;
    if (m_bIndexComplete)
    {
        const bool bDone = av_seek_frame(m_context.get(), static_cast<int>(m_uiSelected), INT64_MIN / 2,
                                         AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_ANY) >= 0;
        m_bAtStart = bDone;
        if (bDone) return S_OK;
    }
    // In other cases a seek to the start may go to a place after the first sample. It also makes the reader lose
    // fragments that it doesn't know yet. So the file is opened again.
    const HRESULT hr = OpenContext();
    if (FAILED(hr)) return hr;
    if (m_uiSelected >= m_context->nb_streams) return MF_E_INVALID_FILE_FORMAT;
    Select(m_uiSelected);
    return S_OK;
}

Sample ContainerFile::Describe(const AVPacket& packet) const
{
    Sample sample;
    sample.m_nDecodingTime = packet.dts;
    sample.m_nPresentationTime = packet.pts;
    sample.m_nFilePosition = packet.pos;
    sample.m_nSize = packet.size;
    sample.m_bKey = (packet.flags & AV_PKT_FLAG_KEY) != 0;
    if (m_nal.HasNalUnits())
    {
        const bool bFresh = m_nal.IsFreshStart(packet.data, static_cast<std::size_t>(packet.size));
        sample.m_freshStart = bFresh ? FreshStart::Yes : FreshStart::No;
    }
    return sample;
}

HRESULT ContainerFile::Read(AVPacket* pPacket)
{
    av_packet_unref(pPacket);
    if (m_bPacketPending)
    {
        m_bPacketPending = false;
        av_packet_move_ref(pPacket, m_packet.get());
        return S_OK;
    }
    for (;;)
    {
        m_bAtStart = false;
        const int nError = av_read_frame(m_context.get(), pPacket);
        if (nError == AVERROR(ENOMEM)) return E_OUTOFMEMORY;
        if (nError < 0)
        {
            // All fragments have been met then.
            m_bIndexComplete = m_bIndexComplete || (IsMp4() && nError == AVERROR_EOF);
            return S_FALSE;
        }
        if (pPacket->stream_index == static_cast<int>(m_uiSelected)) return S_OK;
        av_packet_unref(pPacket);
    }
}

HRESULT ContainerFile::SeekTo(const SampleTable& table, std::uint64_t uiSample)
{
    m_bPacketPending = false;
    if (uiSample == 0) return Rewind();
    if ((m_bIndexComplete || !IsMp4()) && SeekByTime(table, uiSample)) return S_OK;

    // Time and place don't identify the sample. It is found by counting from the first one.
    HRESULT hr = Rewind();
    for (std::uint64_t i = 0; SUCCEEDED(hr) && i <= uiSample; ++i)
    {
        hr = Read(m_packet.get());
        if (hr == S_FALSE) return MF_E_INVALID_STREAM_DATA;
    }
    m_bPacketPending = SUCCEEDED(hr);
    return hr;
}

bool ContainerFile::SeekByTime(const SampleTable& table, std::uint64_t uiSample)
{
    const Sample& wanted = table.At(uiSample);
    if (wanted.m_nFilePosition < 0 || wanted.m_nSize <= 0) return false;
    const bool bMp4 = IsMp4();
    const std::int64_t nTime = bMp4 ? wanted.m_nDecodingTime : wanted.m_nPresentationTime;
    if (nTime == AV_NOPTS_VALUE) return false;

    // Strictly before the sample: of several with its time, the seek could take a later one.
    m_bAtStart = false;
    if (av_seek_frame(m_context.get(), static_cast<int>(m_uiSelected), nTime - 1,
                      AVSEEK_FLAG_BACKWARD | (bMp4 ? AVSEEK_FLAG_ANY : 0)) < 0)
    {
        return false;
    }
    for (std::uint64_t i = 0; i <= uiSample; ++i)
    {
        if (Read(m_packet.get()) != S_OK) return false;
        // The index of an MP4 file has no times of presentation, and other containers may lose those of decoding in a
        // seek. Place and size identify the sample among others of its time.
        const bool bSameTime = (bMp4 ? m_packet->dts : m_packet->pts) == nTime;
        if (bSameTime && m_packet->pos == wanted.m_nFilePosition && m_packet->size == wanted.m_nSize)
        {
            m_bPacketPending = true;
            return true;
        }
        if (bMp4 && m_packet->dts > nTime) return false;
    }
    return false;
}

bool ContainerFile::LooksFresh(const Sample& sample)
{
    if (sample.m_nFilePosition < 0 || sample.m_nSize <= 0) return false;
    const auto read = [&](std::size_t uiOffset, std::uint8_t* pTarget, std::size_t uiSize) {
        AVIOContext* pIo = m_context->pb;
        return avio_seek(pIo, sample.m_nFilePosition + static_cast<std::int64_t>(uiOffset), SEEK_SET) >= 0 &&
               avio_read(pIo, pTarget, static_cast<int>(uiSize)) == static_cast<int>(uiSize);
    };
    return m_nal.IsFreshStart(read, static_cast<std::size_t>(sample.m_nSize));
}

}  // namespace mediafoundation
