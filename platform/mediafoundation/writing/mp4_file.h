// An MP4 file with one H.264 track, written to a byte stream as its samples come.
//
// The tables of times hold what the samples say: an entry of stts is the distance of two pictures in presentation
// order, so that the running sums are the pictures' times. Where the decoding order is another one, ctts gives the
// difference, which may be negative (version 1), so no time is moved and no edit list is needed. libavformat's writer
// refuses equal decoding times, and needs the largest difference before the first sample; both are unknown here until
// the end.
#pragma once

#include <cstdint>
#include <vector>

#include "mfobjects.h"
#include "platform/com/com_ptr.h"
#include "platform/mediafoundation/writing/avc_stream.h"

namespace mediafoundation
{

// Ticks of the file's times per second. Whole milliseconds and tenths of them are whole numbers of ticks.
constexpr std::uint32_t TICKS_PER_SECOND = 30000;

struct FileSample
{
    const std::uint8_t* m_pBytes = nullptr;  // with start codes
    std::size_t m_uiBytes = 0;
    std::int64_t m_nTime = 0;  // both in 100 ns
    std::int64_t m_nDuration = 0;
    bool m_bKey = false;
};

// One caller at a time. After a failed write nothing more is written: the size that the file gives for its media data
// stays 0, the mark of an unfinished file.
class Mp4File
{
public:
    Mp4File(platform::ComPtr<IMFByteStream> target, std::uint32_t uiWidth, std::uint32_t uiHeight)
        : m_target(std::move(target)), m_uiWidth(uiWidth), m_uiHeight(uiHeight)
    {}

    // Samples come in decoding order. Nothing is written before the first one. MF_E_INVALID_STREAM_DATA for one without
    // a picture, MF_E_INVALID_TIMESTAMP for a duration that is negative or longer than an entry of the tables can be,
    // some 39 hours; both leave the file as it is.
    HRESULT Add(const FileSample& sample);

    // Appends the index. Once. MF_E_SINK_NO_SAMPLES_PROCESSED without a sample, MF_E_SINK_HEADERS_NOT_FOUND if the
    // samples had no parameter sets, MF_E_INVALID_TIMESTAMP if times lie too far apart.
    HRESULT Finish();

private:
    struct Entry
    {
        std::int64_t m_nTime = 0;
        std::int64_t m_nDuration = 0;
        std::uint32_t m_uiBytes = 0;
        bool m_bKey = false;
    };

    HRESULT Begin();
    HRESULT Write(const std::vector<std::uint8_t>& bytes);
    HRESULT WriteAt(std::uint64_t uiPosition, const std::vector<std::uint8_t>& bytes);

    const platform::ComPtr<IMFByteStream> m_target;
    const std::uint32_t m_uiWidth;
    const std::uint32_t m_uiHeight;
    AvcStream m_stream;
    std::vector<Entry> m_samples;
    std::vector<std::uint8_t> m_buffer;
    std::uint64_t m_uiEnd = 0;    // bytes written
    std::uint64_t m_uiMedia = 0;  // where the first sample begins
    HRESULT m_hrWrite = S_OK;     // the first failure of a write
};

}  // namespace mediafoundation
