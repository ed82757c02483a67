// Calls RequestSample of a stream, which may return only when there is a sample.
#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "mfidl.h"
#include "platform/com/com_ptr.h"

namespace mediafoundation
{

// One call at a time, on a thread of its own.
class SampleRequester
{
public:
    // done gets each call's result, on that thread.
    explicit SampleRequester(std::function<void(HRESULT)> done);
    ~SampleRequester();
    SampleRequester(const SampleRequester&) = delete;
    SampleRequester& operator=(const SampleRequester&) = delete;

    // Precondition: done was called for the request before. Throws if there is no thread to be had.
    void Request(platform::ComPtr<IMFMediaStream> stream);

    // No call begins any more. With bWait a call under way has ended when it returns. Without, the thread ends after
    // such a call by itself: a source that never returns from it keeps nothing waiting.
    void Close(bool bWait);

private:
    struct State
    {
        std::function<void(HRESULT)> m_done;
        std::mutex m_lock;
        std::condition_variable m_changed;
        platform::ComPtr<IMFMediaStream> m_stream;  // to be called next
        bool m_bCalling = false;
        bool m_bClosed = false;
    };
    static void Run(State& state);

    const std::shared_ptr<State> m_state;  // shared with the thread
    std::thread m_thread;                  // from the first request on
};

}  // namespace mediafoundation
