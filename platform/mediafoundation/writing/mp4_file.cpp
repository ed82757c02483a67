#include "platform/mediafoundation/writing/mp4_file.h"

#include <algorithm>
#include <limits>

#include "mferror.h"
#include "platform/mediafoundation/writing/mp4_boxes.h"
#include "platform/mediafoundation/writing/mp4_index.h"

namespace mediafoundation
{
namespace
{

constexpr std::uint64_t LARGEST_WORD = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint64_t BOX_HEADER = 8;

// Cut, not rounded, so that a time in whole milliseconds never becomes the next one.
constexpr std::uint64_t TicksOf(std::uint64_t uiHundredNanoseconds)
{
    constexpr std::uint64_t PER_SECOND = 10000000;
    return uiHundredNanoseconds / PER_SECOND * TICKS_PER_SECOND +
           uiHundredNanoseconds % PER_SECOND * TICKS_PER_SECOND / PER_SECOND;
}

}  // namespace

HRESULT Mp4File::Add(const FileSample& sample)
{
    if (FAILED(m_hrWrite)) return m_hrWrite;
    if (sample.m_nDuration < 0 || TicksOf(static_cast<std::uint64_t>(sample.m_nDuration)) > LARGEST_WORD)
    {
        return MF_E_INVALID_TIMESTAMP;
    }
    m_buffer.clear();
    if (!m_stream.Convert(sample.m_pBytes, sample.m_uiBytes, &m_buffer)) return MF_E_INVALID_STREAM_DATA;
    if (m_buffer.size() > LARGEST_WORD || m_samples.size() >= LARGEST_WORD) return MF_E_INVALID_STREAM_DATA;

    m_samples.push_back(
        {sample.m_nTime, sample.m_nDuration, static_cast<std::uint32_t>(m_buffer.size()), sample.m_bKey});
    HRESULT hr = m_uiEnd == 0 ? Begin() : S_OK;
    if (SUCCEEDED(hr)) hr = Write(m_buffer);
    return hr;
}

// The empty box before the media data gives its bytes up to a 64-bit size where one is needed.
HRESULT Mp4File::Begin()
{
    BoxWriter box;
    box.Begin("ftyp");
    box.Text("isom");
    box.Word(0x200);
    box.Text("isomiso4avc1mp41");
    box.End();
    box.Begin("free");
    box.End();
    box.Word(0);
    box.Text("mdat");
    m_uiMedia = box.Content().size();
    return Write(box.Content());
}

HRESULT Mp4File::Write(const std::vector<std::uint8_t>& bytes)
{
    const HRESULT hr = WriteAt(m_uiEnd, bytes);
    if (SUCCEEDED(hr)) m_uiEnd += bytes.size();
    return hr;
}

HRESULT Mp4File::WriteAt(std::uint64_t uiPosition, const std::vector<std::uint8_t>& bytes)
{
    ULONG cbWritten = 0;
    const auto cbAll = static_cast<ULONG>(bytes.size());
    HRESULT hr = bytes.size() > LARGEST_WORD ? E_FAIL : m_target->SetCurrentPosition(uiPosition);
    if (SUCCEEDED(hr)) hr = m_target->Write(bytes.data(), cbAll, &cbWritten);
    if (SUCCEEDED(hr) && cbWritten != cbAll) hr = HRESULT_FROM_WIN32(ERROR_DISK_FULL);
    if (FAILED(hr) && SUCCEEDED(m_hrWrite)) m_hrWrite = hr;
    return hr;
}

HRESULT Mp4File::Finish()
{
    if (FAILED(m_hrWrite)) return m_hrWrite;
    if (m_samples.empty()) return MF_E_SINK_NO_SAMPLES_PROCESSED;
    if (!m_stream.HasParameterSets()) return MF_E_SINK_HEADERS_NOT_FOUND;

    const std::uint64_t uiMediaEnd = m_uiEnd;
    const auto itFirst =
        std::min_element(m_samples.begin(), m_samples.end(),
                         [](const Entry& left, const Entry& right) { return left.m_nTime < right.m_nTime; });
    const auto uiFirst = static_cast<std::uint64_t>(itFirst->m_nTime);
    std::vector<IndexedSample> samples;
    samples.reserve(m_samples.size());
    for (const Entry& entry : m_samples)
    {
        const std::uint64_t uiTime = static_cast<std::uint64_t>(entry.m_nTime) - uiFirst;
        const std::uint64_t uiTick = TicksOf(uiTime);
        // The end of a picture is cut as its time is.
        const std::uint64_t uiEndTick = TicksOf(uiTime + static_cast<std::uint64_t>(entry.m_nDuration));
        samples.push_back({uiTick, static_cast<std::uint32_t>(uiEndTick - uiTick), entry.m_uiBytes, entry.m_bKey});
    }
    const TrackDescription track = {m_uiWidth, m_uiHeight, TICKS_PER_SECOND, static_cast<std::uint32_t>(m_uiMedia),
                                    m_stream.Configuration()};
    std::vector<std::uint8_t> index;
    HRESULT hr = MakeIndex(track, samples, &index);
    if (SUCCEEDED(hr)) hr = Write(index);
    if (FAILED(hr)) return hr;

    // Last, since it is what makes the file a finished one.
    const std::uint64_t uiSize = uiMediaEnd - m_uiMedia + BOX_HEADER;
    BoxWriter box;
    if (uiSize <= LARGEST_WORD)
    {
        box.Word(static_cast<std::uint32_t>(uiSize));
        return WriteAt(m_uiMedia - BOX_HEADER, box.Content());
    }
    box.Word(1);
    box.Text("mdat");
    box.Long(uiSize + BOX_HEADER);
    return WriteAt(m_uiMedia - 2 * BOX_HEADER, box.Content());
}

}  // namespace mediafoundation
