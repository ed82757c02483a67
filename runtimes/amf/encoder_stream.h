// The work of an encoder from its Init to its end.
#pragma once

#include <condition_variable>
#include <deque>
#include <map>

#include "runtimes/amf/component.h"
#include "runtimes/amf/encoder_settings.h"
#include "runtimes/amf/open_threads.h"
#include "runtimes/common/encode_worker.h"

namespace amfruntime
{

// How many pictures an encoder holds: a picture takes a place from its submission until its buffer is taken. With that
// a client that takes no buffers finds the input full.
inline constexpr std::uint32_t c_uiEncoderPlaces = 16;

class EncoderStream final : public ComponentStream, private OpenThread
{
public:
    // Throws InitError for settings that the encoder inside refuses.
    EncoderStream(std::shared_ptr<ContextRecord> pRecord, const EncoderSettings& settings, AMF_SURFACE_FORMAT eFormat);
    ~EncoderStream() override;

    AMF_RESULT Drain() override;
    AMF_RESULT SubmitInput(AMFSurface* pSurface) override;
    // After Drain, waits for the picture that the encoder is at.
    AMF_RESULT QueryOutput(AMFData** ppData) override;
    void Close() override;

    const std::vector<std::uint8_t>& Headers() const { return m_pWorker->Headers(); }

private:
    // What a picture's buffer gets of its surface.
    struct PictureData
    {
        PropertyMap properties;
        amf_pts pts = 0;
        amf_pts duration = 0;
    };

    void StopThread() override { m_pWorker->Stop(); }

    AMF_RESULT CheckState() const;
    AMF_RESULT ReadPicture(AMFSurface* pSurface, runtimes::EncodeJob& job) const;
    AMF_RESULT ReadWishes(const PropertyMap& wishes, runtimes::EncodeJob& job) const;
    void OnJobDone(runtimes::JobResult&& result);
    AMF_RESULT GiveNext(AMFData** ppData);

    const std::shared_ptr<ContextRecord> m_pRecord;
    const EncoderSettings m_settings;
    const AMF_SURFACE_FORMAT m_eFormat;

    std::mutex m_submitMutex;  // one picture goes in at a time; taken before m_mutex
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::map<std::uint32_t, PictureData> m_inFlight;  // by number of the picture
    std::deque<runtimes::Packet> m_ready;
    std::uint32_t m_uiNextNumber = 0;
    std::uint32_t m_uiSinceIdr = 0;   // pictures since the last IDR picture, with it
    std::uint32_t m_uiPending = 0;    // places taken
    std::uint32_t m_uiFruitless = 0;  // queries that a script let go without the output that was there
    AMF_RESULT m_eFailure = AMF_OK;
    bool m_bDraining = false;
    bool m_bEnded = false;
    bool m_bClosed = false;

    std::unique_ptr<runtimes::EncodeWorker> m_pWorker;  // set once
};

}  // namespace amfruntime
