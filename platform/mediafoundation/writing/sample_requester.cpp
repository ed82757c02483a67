#include "platform/mediafoundation/writing/sample_requester.h"

namespace mediafoundation
{

using platform::ComPtr;

SampleRequester::SampleRequester(std::function<void(HRESULT)> done) : m_state(std::make_shared<State>())
{
    m_state->m_done = std::move(done);
}

SampleRequester::~SampleRequester()
{
    Close(false);
}

void SampleRequester::Request(ComPtr<IMFMediaStream> stream)
{
    if (!m_thread.joinable())
    {
        m_thread = std::thread([state = m_state] { Run(*state); });
    }
    {
        const std::lock_guard lock(m_state->m_lock);
        m_state->m_stream = std::move(stream);
    }
    m_state->m_changed.notify_one();
}

void SampleRequester::Close(bool bWait)
{
    if (!m_thread.joinable()) return;
    bool bCalling = false;
    {
        const std::lock_guard lock(m_state->m_lock);
        m_state->m_bClosed = true;
        bCalling = m_state->m_bCalling;
    }
    m_state->m_changed.notify_one();
    bWait || !bCalling ? m_thread.join() : m_thread.detach();
}

void SampleRequester::Run(State& state)
{
    std::unique_lock lock(state.m_lock);
    for (;;)
    {
        state.m_changed.wait(lock, [&] { return state.m_bClosed || state.m_stream; });
        if (state.m_bClosed) return;
        ComPtr<IMFMediaStream> stream = std::move(state.m_stream);
        state.m_bCalling = true;
        lock.unlock();
        const HRESULT hr = stream->RequestSample(nullptr);
        stream = nullptr;
        state.m_done(hr);
        lock.lock();
        state.m_bCalling = false;
    }
}

}  // namespace mediafoundation
