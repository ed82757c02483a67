#include "runtimes/nvenc/encode_worker.h"

#include <cstdio>

#include "runtimes/nvenc/script.h"
#include "runtimes/nvenc/x264_settings.h"

namespace nvencruntime
{
namespace
{

void Report(const runtimes::X264Settings& settings)
{
    NvencRuntimeX264Settings report{};
    std::snprintf(report.szPreset, sizeof report.szPreset, "%s", settings.preset.c_str());
    std::snprintf(report.szProfile, sizeof report.szProfile, "%s", settings.profile.c_str());
    std::snprintf(report.szOptions, sizeof report.szOptions, "%s", settings.OptionsText().c_str());
    Script::Get().SetX264Settings(report);
}

}  // namespace

EncodeWorker::EncodeWorker(const EncodeSettings& settings, OnDone onDone)
    : m_settings(MakeX264Settings(settings)),
      m_onDone(std::move(onDone)),
      m_pool(m_settings.uiWidth, m_settings.uiHeight),
      m_pEncoder(std::make_unique<runtimes::X264Encoder>(m_settings))
{
    m_headers = m_pEncoder->Headers();
    m_uiPictureDelay = m_pEncoder->PictureDelay();
    Report(m_settings);
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
    Script::Get().WakeHeld();
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
        Script::Get().WaitWhileHeld(m_bStop);
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
    result.pCompletionEvent = job.pCompletionEvent;
    if (m_eFailure == NV_ENC_SUCCESS)
    {
        try
        {
            Encode(job, result);
        }
        catch (const std::bad_alloc&)
        {
            m_eFailure = NV_ENC_ERR_OUT_OF_MEMORY;
        }
        catch (...)
        {
            m_eFailure = NV_ENC_ERR_GENERIC;
        }
    }
    result.eStatus = m_eFailure;
    return result;
}

void EncodeWorker::Encode(EncodeJob& job, JobResult& result)
{
    if (!job.pPicture)
    {
        while (m_pEncoder)
        {
            std::optional<runtimes::Packet> packet = m_pEncoder->Drain();
            if (!packet)
            {
                // Drained, x264 takes no picture any more. The next one begins a stream of its own.
                m_pEncoder.reset();
                break;
            }
            result.packets.push_back(std::move(*packet));
        }
        return;
    }

    if (!m_pEncoder)
    {
        m_pEncoder = std::make_unique<runtimes::X264Encoder>(m_settings);
    }
    if (std::optional<runtimes::Packet> packet = m_pEncoder->Encode(job.pPicture->View(), job.eKind, job.info))
    {
        result.packets.push_back(std::move(*packet));
    }
    m_pool.Return(std::move(job.pPicture));
}

}  // namespace nvencruntime
