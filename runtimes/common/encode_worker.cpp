#include "runtimes/common/encode_worker.h"

namespace runtimes
{

EncodeWorker::EncodeWorker(const PictureEncoderSettings& settings, HoldGate& gate, OnDone onDone)
    : m_settings(settings),
      m_gate(gate),
      m_onDone(std::move(onDone)),
      m_pool(m_settings.stream.uiWidth, m_settings.stream.uiHeight),
      m_pEncoder(MakePictureEncoder(m_settings))
{
    m_headers = m_pEncoder->Headers();
    m_uiPictureDelay = m_pEncoder->PictureDelay();
    m_thread = std::thread(&EncodeWorker::Run, this);
}

void EncodeWorker::Submit(EncodeJob&& job)
{
    const std::lock_guard lock(m_mutex);
    m_jobs.push_back(std::move(job));
    m_wake.notify_one();
}

void EncodeWorker::Stop()
{
    {
        const std::lock_guard lock(m_mutex);
        m_bStop = true;
        m_wake.notify_one();
    }
    m_gate.Wake();
    if (m_thread.joinable())
    {
        m_thread.join();
    }
}

void EncodeWorker::Run()
{
    for (;;)
    {
        EncodeJob job;
        {
            std::unique_lock lock(m_mutex);
            m_wake.wait(lock, [&] { return m_bStop || !m_jobs.empty(); });
            if (m_bStop)
            {
                return;
            }
            job = std::move(m_jobs.front());
            m_jobs.pop_front();
        }
        m_gate.Wait(m_bStop);
        if (m_bStop)
        {
            return;
        }
        m_onDone(Work(job));
    }
}

JobResult EncodeWorker::Work(EncodeJob& job)
{
    JobResult result;
    result.bEndOfStream = !job.pPicture;
    result.pTag = job.pTag;
    if (m_eFailure == EncodeFailure::None)
    {
        try
        {
            Encode(job, result);
        }
        catch (const std::bad_alloc&)
        {
            m_eFailure = EncodeFailure::OutOfMemory;
        }
        catch (...)
        {
            m_eFailure = EncodeFailure::Encoder;
        }
    }
    result.eFailure = m_eFailure;
    return result;
}

void EncodeWorker::Encode(EncodeJob& job, JobResult& result)
{
    if (!job.pPicture)
    {
        while (m_pEncoder)
        {
            std::optional<Packet> packet = m_pEncoder->Drain();
            if (!packet)
            {
                // Drained, it takes no picture any more. The next one begins a stream of its own.
                m_pEncoder.reset();
                break;
            }
            result.packets.push_back(std::move(*packet));
        }
        return;
    }

    if (!m_pEncoder)
    {
        m_pEncoder = MakePictureEncoder(m_settings);
    }
    if (std::optional<Packet> packet = m_pEncoder->Encode(job.pPicture->View(), job.eKind, job.info))
    {
        result.packets.push_back(std::move(*packet));
    }
    m_pool.Return(std::move(job.pPicture));
}

}  // namespace runtimes
