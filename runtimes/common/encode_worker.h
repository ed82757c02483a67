// The thread that encodes a stream, so that its caller can prepare the next picture meanwhile.
#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "runtimes/common/hold_gate.h"
#include "runtimes/common/loaded_file.h"
#include "runtimes/common/nv12_picture.h"
#include "runtimes/common/picture_encoder.h"

namespace runtimes
{

// A picture to encode or, without one, the end of the stream.
struct EncodeJob
{
    std::unique_ptr<Nv12Picture> pPicture;
    PictureKind eKind = PictureKind::Auto;
    PictureInfo info;
    void* pTag = nullptr;  // the caller's; handed back with the result
};

enum class EncodeFailure
{
    None,
    OutOfMemory,
    Encoder
};

struct JobResult
{
    std::vector<Packet> packets;
    EncodeFailure eFailure = EncodeFailure::None;  // once there is one, it stays for every later job
    bool bEndOfStream = false;
    void* pTag = nullptr;
};

class EncodeWorker
{
public:
    // Called on the worker's thread after every job, in the order of the jobs.
    using OnDone = std::function<void(JobResult&&)>;

    // Opens the encoder, then starts the thread. Throws EncoderError for settings that it refuses. The thread stops at
    // the gate, which outlives the worker, before every job.
    EncodeWorker(const PictureEncoderSettings& settings, HoldGate& gate, OnDone onDone);
    ~EncodeWorker() { Stop(); }

    std::unique_ptr<Nv12Picture> TakePicture() { return m_pool.Take(); }
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

    const LoadedFile m_file;  // until the thread has ended
    const PictureEncoderSettings m_settings;
    HoldGate& m_gate;
    const OnDone m_onDone;
    Nv12Pool m_pool;
    std::vector<std::uint8_t> m_headers;
    std::uint32_t m_uiPictureDelay = 0;

    std::unique_ptr<PictureEncoder> m_pEncoder;  // null after the end of a stream until the next begins
    EncodeFailure m_eFailure = EncodeFailure::None;

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<EncodeJob> m_jobs;
    std::atomic<bool> m_bStop{false};
    std::thread m_thread;
};

}  // namespace runtimes
