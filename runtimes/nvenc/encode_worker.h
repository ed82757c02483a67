// The thread of a session that encodes, so that its caller can go on with the next picture meanwhile.
#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "runtimes/common/nv12_picture.h"
#include "runtimes/common/x264_encoder.h"
#include "runtimes/nvenc/settings.h"

namespace nvencruntime
{

// A picture to encode or, without one, the end of the stream.
struct EncodeJob
{
    std::unique_ptr<runtimes::Nv12Picture> pPicture;
    runtimes::PictureKind eKind = runtimes::PictureKind::Auto;
    runtimes::PictureInfo info;
    void* pCompletionEvent = nullptr;  // of the end of the stream; handed back
};

struct JobResult
{
    std::vector<runtimes::Packet> packets;
    NVENCSTATUS eStatus = NV_ENC_SUCCESS;  // once not a success, so for every later job
    bool bEndOfStream = false;
    void* pCompletionEvent = nullptr;
};

class EncodeWorker
{
public:
    // Called on the worker's thread after every job, in the order of the jobs.
    using OnDone = std::function<void(JobResult&&)>;

    // Opens the encoder, then starts the thread. Throws runtimes::X264Error for settings that x264 refuses.
    EncodeWorker(const EncodeSettings& settings, OnDone onDone);
    ~EncodeWorker() { Stop(); }

    std::unique_ptr<runtimes::Nv12Picture> TakePicture() { return m_pool.Take(); }
    void Submit(EncodeJob&& job);

    // Ends the thread after the job it is at; later jobs are dropped. Waits for the end, so no lock may be held that
    // onDone takes. One thread at a time.
    void Stop();

    const std::vector<std::uint8_t>& Headers() const { return m_headers; }
    std::uint32_t PictureDelay() const { return m_uiPictureDelay; }

private:
    void Run();
    JobResult Work(EncodeJob& job);
    void Encode(EncodeJob& job, JobResult& result);

    const runtimes::X264Settings m_settings;
    const OnDone m_onDone;
    runtimes::Nv12Pool m_pool;
    std::vector<std::uint8_t> m_headers;
    std::uint32_t m_uiPictureDelay = 0;

    std::unique_ptr<runtimes::X264Encoder> m_pEncoder;  // null after the end of a stream until the next begins
    NVENCSTATUS m_eFailure = NV_ENC_SUCCESS;

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<EncodeJob> m_jobs;
    std::atomic<bool> m_bStop{false};
    std::thread m_thread;
};

}  // namespace nvencruntime
