#include "platform/mediafoundation/writing/mp4_index.h"

#include <algorithm>
#include <limits>

#include "mferror.h"
#include "platform/mediafoundation/writing/mp4_boxes.h"

namespace mediafoundation
{
namespace
{

constexpr std::uint32_t ONE = 0x00010000;  // as a fixed-point number
constexpr std::uint16_t UNDETERMINED_LANGUAGE = 0x55c4;

struct Run
{
    std::uint32_t m_uiCount = 0;
    std::uint32_t m_uiValue = 0;
};

void Append(std::vector<Run>& runs, std::uint32_t uiValue)
{
    if (runs.empty() || runs.back().m_uiValue != uiValue) runs.push_back({0, uiValue});
    ++runs.back().m_uiCount;
}

// What the boxes of times hold.
struct TimeTables
{
    std::vector<Run> m_distances;    // stts
    std::vector<Run> m_differences;  // ctts: presentation time less decoding time, signed
    bool m_bReordered = false;
    std::uint64_t m_uiDuration = 0;
};

// The decoding times are the presentation times in rising order.
HRESULT MakeTimeTables(const std::vector<IndexedSample>& samples, TimeTables* pTables)
{
    constexpr std::uint64_t LARGEST_DISTANCE = std::numeric_limits<std::uint32_t>::max();
    constexpr std::int64_t LARGEST_DIFFERENCE = std::numeric_limits<std::int32_t>::max();

    std::vector<std::uint64_t> decoding;
    decoding.reserve(samples.size());
    std::uint64_t uiEnd = 0;
    for (const IndexedSample& sample : samples)
    {
        decoding.push_back(sample.m_uiTick);
        uiEnd = std::max(uiEnd, sample.m_uiTick + sample.m_uiDurationTicks);
    }
    std::sort(decoding.begin(), decoding.end());
    pTables->m_uiDuration = uiEnd;
    decoding.push_back(uiEnd);

    for (std::size_t i = 0; i < samples.size(); ++i)
    {
        const std::uint64_t uiDistance = decoding[i + 1] - decoding[i];
        const auto nDifference = static_cast<std::int64_t>(samples[i].m_uiTick - decoding[i]);
        if (uiDistance > LARGEST_DISTANCE || std::abs(nDifference) > LARGEST_DIFFERENCE) return MF_E_INVALID_TIMESTAMP;
        Append(pTables->m_distances, static_cast<std::uint32_t>(uiDistance));
        Append(pTables->m_differences, static_cast<std::uint32_t>(nDifference));
        pTables->m_bReordered = pTables->m_bReordered || nDifference != 0;
    }
    return S_OK;
}

class IndexWriter
{
public:
    IndexWriter(const TrackDescription& track, const std::vector<IndexedSample>& samples, const TimeTables& times)
        : m_track(track),
          m_samples(samples),
          m_times(times),
          m_bLong(times.m_uiDuration > std::numeric_limits<std::uint32_t>::max())
    {}

    const std::vector<std::uint8_t>& Write()
    {
        m_box.Begin("moov");
        WriteMovieHeader();
        m_box.Begin("trak");
        WriteTrackHeader();
        m_box.Begin("mdia");
        WriteMediaHeader();
        WriteHandler();
        m_box.Begin("minf");
        WriteMediaInformation();
        m_box.Begin("stbl");
        WriteSampleDescription();
        WriteRuns("stts", 0, m_times.m_distances);
        if (m_times.m_bReordered) WriteRuns("ctts", 1, m_times.m_differences);
        WriteKeys();
        WriteSizes();
        WritePlaces();
        m_box.End();
        m_box.End();
        m_box.End();
        m_box.End();
        m_box.End();
        return m_box.Content();
    }

private:
    // A time of creation and one of change, not known; what stands between these and the duration; the duration. They
    // have 64 bits if the duration needs them.
    template <typename Between>
    void WriteTimes(Between between)
    {
        m_box.Zeros(m_bLong ? 16 : 8);
        between();
        m_bLong ? m_box.Long(m_times.m_uiDuration) : m_box.Word(static_cast<std::uint32_t>(m_times.m_uiDuration));
    }
    std::uint8_t Version() const { return m_bLong ? 1 : 0; }

    void WriteMatrix()
    {
        for (const std::uint32_t uiValue : {ONE, 0U, 0U, 0U, ONE, 0U, 0U, 0U, 0x40000000U})
        {
            m_box.Word(uiValue);
        }
    }

    void WriteMovieHeader()
    {
        m_box.BeginFull("mvhd", Version(), 0);
        WriteTimes([&] { m_box.Word(m_track.m_uiTicksPerSecond); });
        m_box.Word(ONE);     // rate
        m_box.Half(0x0100);  // volume
        m_box.Zeros(10);
        WriteMatrix();
        m_box.Zeros(24);
        m_box.Word(2);  // the next track's number
        m_box.End();
    }

    void WriteTrackHeader()
    {
        constexpr std::uint32_t ENABLED_IN_MOVIE = 3;
        m_box.BeginFull("tkhd", Version(), ENABLED_IN_MOVIE);
        WriteTimes([&] {
            m_box.Word(1);  // its number
            m_box.Zeros(4);
        });
        m_box.Zeros(16);
        WriteMatrix();
        m_box.Word(m_track.m_uiWidth << 16);
        m_box.Word(m_track.m_uiHeight << 16);
        m_box.End();
    }

    void WriteMediaHeader()
    {
        m_box.BeginFull("mdhd", Version(), 0);
        WriteTimes([&] { m_box.Word(m_track.m_uiTicksPerSecond); });
        m_box.Half(UNDETERMINED_LANGUAGE);
        m_box.Zeros(2);
        m_box.End();
    }

    void WriteHandler()
    {
        m_box.BeginFull("hdlr", 0, 0);
        m_box.Zeros(4);
        m_box.Text("vide");
        m_box.Zeros(12);
        m_box.Text("VideoHandler");
        m_box.Byte(0);
        m_box.End();
    }

    void WriteMediaInformation()
    {
        m_box.BeginFull("vmhd", 0, 1);
        m_box.Zeros(8);
        m_box.End();
        m_box.Begin("dinf");
        m_box.BeginFull("dref", 0, 0);
        m_box.Word(1);
        m_box.BeginFull("url ", 0, 1);  // this file
        m_box.End();
        m_box.End();
        m_box.End();
    }

    void WriteSampleDescription()
    {
        constexpr std::uint32_t DOTS_PER_INCH = 72 * ONE;
        m_box.BeginFull("stsd", 0, 0);
        m_box.Word(1);
        m_box.Begin("avc1");
        m_box.Zeros(6);
        m_box.Half(1);
        m_box.Zeros(16);
        m_box.Half(static_cast<std::uint16_t>(m_track.m_uiWidth));
        m_box.Half(static_cast<std::uint16_t>(m_track.m_uiHeight));
        m_box.Word(DOTS_PER_INCH);
        m_box.Word(DOTS_PER_INCH);
        m_box.Zeros(4);
        m_box.Half(1);    // pictures in a sample
        m_box.Zeros(32);  // the encoder's name
        m_box.Half(24);   // bits of a pixel
        m_box.Half(0xffff);
        m_box.Begin("avcC");
        m_box.Bytes(m_track.m_configuration);
        m_box.End();
        m_box.End();
        m_box.End();
    }

    void WriteRuns(std::string_view type, std::uint8_t uiVersion, const std::vector<Run>& runs)
    {
        m_box.BeginFull(type, uiVersion, 0);
        m_box.Word(static_cast<std::uint32_t>(runs.size()));
        for (const Run& run : runs)
        {
            m_box.Word(run.m_uiCount);
            m_box.Word(run.m_uiValue);
        }
        m_box.End();
    }

    void WriteKeys()
    {
        const auto isKey = [](const IndexedSample& sample) { return sample.m_bKey; };
        if (std::all_of(m_samples.begin(), m_samples.end(), isKey)) return;
        m_box.BeginFull("stss", 0, 0);
        m_box.Word(static_cast<std::uint32_t>(std::count_if(m_samples.begin(), m_samples.end(), isKey)));
        for (std::size_t i = 0; i < m_samples.size(); ++i)
        {
            if (m_samples[i].m_bKey) m_box.Word(static_cast<std::uint32_t>(i + 1));
        }
        m_box.End();
    }

    void WriteSizes()
    {
        m_box.BeginFull("stsz", 0, 0);
        m_box.Word(0);
        m_box.Word(static_cast<std::uint32_t>(m_samples.size()));
        for (const IndexedSample& sample : m_samples)
        {
            m_box.Word(sample.m_uiBytes);
        }
        m_box.End();
    }

    // All samples are one chunk.
    void WritePlaces()
    {
        m_box.BeginFull("stsc", 0, 0);
        m_box.Word(1);
        m_box.Word(1);
        m_box.Word(static_cast<std::uint32_t>(m_samples.size()));
        m_box.Word(1);
        m_box.End();
        m_box.BeginFull("stco", 0, 0);
        m_box.Word(1);
        m_box.Word(m_track.m_uiFirstByte);
        m_box.End();
    }

    const TrackDescription& m_track;
    const std::vector<IndexedSample>& m_samples;
    const TimeTables& m_times;
    const bool m_bLong;
    BoxWriter m_box;
};

}  // namespace

HRESULT MakeIndex(const TrackDescription& track, const std::vector<IndexedSample>& samples,
                  std::vector<std::uint8_t>* pIndex)
{
    TimeTables times;
    const HRESULT hr = MakeTimeTables(samples, &times);
    if (SUCCEEDED(hr)) *pIndex = IndexWriter(track, samples, times).Write();
    return hr;
}

}  // namespace mediafoundation
