// Queues of events that keep a record. A program that links this gets them in the place of the system's.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <windows.h>

#include <mfobjects.h>

// What was queued in all queues of a test, in this order: "source" for the queue that was made first, "stream" for the
// others, and the event as text. "source shutdown" for the end of a queue.
class CEventRecord
{
public:
    // Called with the text of an event that is about to be queued, on the queueing thread. A failure refuses it.
    using Hook = std::function<HRESULT(const std::string& text)>;

    static void Clear();
    static std::vector<std::string> Take();
    static void SetHook(Hook hook);
    // Queues that were made since Clear.
    static unsigned GetQueueCount();
};
