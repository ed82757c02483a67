// A file with streams: what it holds, and the samples of one stream of it, from any of them on.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/mediafoundation/reading/ffmpeg.h"
#include "platform/mediafoundation/reading/nal_units.h"
#include "platform/mediafoundation/reading/sample_table.h"
#include "platform/mediafoundation/reading/stream_format.h"

namespace mediafoundation
{

// One thread at a time.
class ContainerFile
{
public:
    // path is UTF-8. Gives the file's container opened, or a failing status: a path that is no regular file, and
    // contents that are no known container or have no stream. Nothing but the file itself is ever opened, whatever it
    // refers to.
    static HRESULT Open(const std::string& path, std::unique_ptr<ContainerFile>* ppFile);

    const std::vector<StreamFormat>& Streams() const { return m_streams; }
    std::int64_t Duration() const;  // in 100 ns, 0 if unknown

    // Chooses the stream whose samples are read from here on.
    void Select(unsigned int uiStream);
    AVStream& Selected() const { return *m_context->streams[m_uiSelected]; }
    const NalLayout& Nal() const { return m_nal; }

    // The stream's table of samples, as the container's index has it: all of them, without their times of
    // presentation. This costs nothing. Null if the index isn't complete (a fragmented file, another container). Then
    // the samples have to be read once.
    std::unique_ptr<SampleTable> TableFromIndex();
    // Sets reading back to the first sample.
    HRESULT Rewind();
    // The sample that the packet holds, as a table keeps it.
    Sample Describe(const AVPacket& packet) const;

    // Reads the next sample of the stream in decoding order into a packet, and drops what was in it. S_FALSE after the
    // last one. A sample that can't be read is the end as well: samples after it could not be numbered.
    HRESULT Read(AVPacket* pPacket);
    // Makes the next Read give the table's sample of that number, exactly: containers seek by time, and times can be
    // equal, so it looks for the sample's place in the file.
    HRESULT SeekTo(const SampleTable& table, std::uint64_t uiSample);
    // Whether decoding may begin at that sample, from the sample's own first bytes.
    bool LooksFresh(const Sample& sample);

private:
    explicit ContainerFile(std::string path) : m_path(std::move(path)) {}

    std::string Url() const { return "file:" + m_path; }
    HRESULT OpenContext();
    bool SeekByTime(const SampleTable& table, std::uint64_t uiSample);
    bool HasFragments();
    bool IsMp4() const;

    std::string m_path;
    FormatContext m_context;
    std::vector<StreamFormat> m_streams;
    unsigned int m_uiSelected = 0;
    NalLayout m_nal;
    bool m_bIndexComplete = false;  // MP4: the reader knows every sample, so that it can seek
    Packet m_packet{av_packet_alloc()};
    bool m_bAtStart = false;        // the next packet is the file's first
    bool m_bPacketPending = false;  // m_packet holds the sample that SeekTo found
};

}  // namespace mediafoundation
