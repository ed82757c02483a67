// The decoded pictures of a video stream, by number.
//
// Picture k is the k-th picture that a decoder gives when it decodes the stream from its first sample to its last. To
// get there without decoding everything, decoding begins at the last fresh start at or before sample k in decoding
// order (see NalLayout::IsFreshStart). If that is sample i, exactly i pictures come before it, so the pictures from
// there are numbered from i on, whatever the times say.
//
// The times of presentation, where they can be trusted, make two things cheaper and safer: samples that nothing refers
// to and that come before the picture need not be decoded, and a lost picture is noticed at once. Where they can't be
// trusted, the pictures are counted, and a lost one is noticed when the decoder has returned one too few.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "platform/mediafoundation/reading/picture_converter.h"
#include "platform/mediafoundation/reading/presentation_order.h"
#include "platform/mediafoundation/reading/sample_reader.h"

namespace mediafoundation
{

class VideoReader final : public SampleReader
{
public:
    // MF_E_TOPO_CODEC_NOT_FOUND if there is no decoder for the stream, MF_E_INVALIDMEDIATYPE if its pictures have no
    // size or too large a one.
    static HRESULT Create(std::shared_ptr<ContainerFile> file, unsigned int uiStream, RawFormat format,
                          std::unique_ptr<SampleReader>* ppReader);

    // A start a little ahead of the present place goes on decoding instead of seeking back.
    void StartAt(std::uint64_t uiNumber) override;
    Progress Step() override;

private:
    enum class Phase
    {
        FindStart,   // looking back for a fresh start
        LearnTimes,  // reading, without decoding, for the times of presentation
        Decode,
        Ended
    };

    VideoReader(std::shared_ptr<ContainerFile> file, unsigned int uiStream, RawFormat format,
                const StreamFormat& streamFormat);
    HRESULT OpenDecoder(const AVCodecParameters& parameters, int nReorder);

    Progress FindStart();
    bool IsStart(std::uint64_t uiSample);
    Progress LearnTimes();
    Progress BeginDecoding();
    bool MayDecodeAlone();
    void FlushTo(std::uint64_t uiSample);
    HRESULT ReadSample(std::uint64_t uiSample);

    Progress DecodeStep();
    Progress Feed();
    Progress FeedSample();
    bool MayLeaveOut(const Sample& sample) const;
    Progress OnPicture();
    Progress OnPictureByTime(std::uint64_t uiSample);
    Progress OnPictureByCount(std::uint64_t uiSample);
    Progress OnDrained();
    Progress OnLost();
    Progress Deliver(std::uint64_t uiSample);
    bool OwesPicture() const;

    PictureConverter m_converter;
    CodecContext m_decoder;
    Frame m_frame{av_frame_alloc()};
    bool m_bReorders = false;
    bool m_bOnlyKeyStarts = false;  // a codec whose key pictures are fresh starts
    bool m_bTrustTimes = true;      // until the decoder's order contradicts the times

    Phase m_phase = Phase::Ended;
    std::uint64_t m_uiCandidate = 0;  // FindStart: the sample to look at next
    std::uint64_t m_uiStart = 0;      // the fresh start found
    std::uint64_t m_uiLearned = 0;    // LearnTimes: the sample to read next

    std::optional<std::uint64_t> m_uiFileNext;  // the sample that the file gives next, if that is known

    // The decoder's state
    bool m_bDecoding = false;  // fed since the last flush, and going on makes sense
    bool m_bDraining = false;
    bool m_bErrors = false;    // the decoder reported one since the last flush
    bool m_bByTime = false;    // numbers are checked by time; else counted
    bool m_bToTarget = false;  // by time: the picture m_uiTarget hasn't come yet
    std::uint64_t m_uiTarget = 0;
    std::int64_t m_nTargetTime = 0;
    std::uint64_t m_uiFeed = 0;     // the sample that is fed next
    std::uint64_t m_uiDrainAt = 0;  // the decoder is drained before this sample is fed
    std::uint64_t m_uiOut = 0;      // the number of the picture that comes next
    std::uint64_t m_uiInDecoder = 0;
    DueSamples m_due;
};

}  // namespace mediafoundation
