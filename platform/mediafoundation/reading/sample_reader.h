// Samples of one stream of a file, in order, from any picture on.
#pragma once

#include <cstdint>
#include <memory>

#include "mfobjects.h"
#include "platform/mediafoundation/reading/container_file.h"
#include "platform/mediafoundation/reading/sample_table.h"

namespace mediafoundation
{

// What is delivered. The bytes stay until the next Step or StartAt.
struct MediaSample
{
    const std::uint8_t* m_pData = nullptr;
    std::size_t m_uiSize = 0;
    std::int64_t m_nTime = 0;      // of presentation, from the first picture, in 100 ns
    std::int64_t m_nDuration = 0;  // on the decoding time line, in 100 ns
};

// All work is cut into steps that end soon, so that the thread that drives a reader can listen to its callers between
// them. One thread at a time.
class SampleReader
{
public:
    enum class Progress
    {
        Working,    // there is more to do before there is a sample
        HasSample,  // Current() is to be delivered; until MarkDelivered every Step says so again
        Ended,
        Failed  // a sample is lost or can't be converted; Status() says why. StartAt may begin elsewhere
    };

    virtual ~SampleReader() = default;

    // Learns the stream's samples: S_FALSE while there is more to do, S_OK once Table() is there.
    HRESULT Prepare();
    bool IsPrepared() const { return m_preparation == Preparation::Done; }
    const SampleTable& Table() const { return *m_table; }

    // The next sample to deliver is that of this number; Table().Count() is the end.
    virtual void StartAt(std::uint64_t uiNumber) = 0;
    virtual Progress Step() = 0;

    std::uint64_t Next() const { return m_uiNext; }
    const MediaSample& Current() const { return m_current; }
    virtual void MarkDelivered();
    HRESULT Status() const { return m_hrStatus; }

protected:
    SampleReader(std::shared_ptr<ContainerFile> file, unsigned int uiStream);

    ContainerFile& File() const { return *m_file; }
    SampleTable& MutableTable() { return *m_table; }
    std::int64_t PresentationTime(std::uint64_t uiSample, std::uint64_t uiNumber) const;
    Progress Fail(HRESULT hr);

    Packet m_packet{av_packet_alloc()};
    MediaSample m_current;
    std::uint64_t m_uiNext = 0;
    bool m_bHasCurrent = false;

private:
    enum class Preparation
    {
        NotBegun,
        Scanning,
        Done
    };
    HRESULT Begin();
    HRESULT Scan();
    HRESULT FindFirstPresentation();

    std::shared_ptr<ContainerFile> m_file;
    std::unique_ptr<SampleTable> m_table;
    Preparation m_preparation = Preparation::NotBegun;
    std::int64_t m_nFirstPresentation = AV_NOPTS_VALUE;
    std::int64_t m_nLastDuration = 0;
    HRESULT m_hrStatus = S_OK;
};

// The most samples by which decoding runs ahead of presentation in the formats read here.
inline constexpr std::uint64_t MAX_REORDER = 16;

}  // namespace mediafoundation
