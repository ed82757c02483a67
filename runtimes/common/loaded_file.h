// The file that this code was loaded from, and the threads that run in it when it is unloaded or the process ends.
#pragma once

namespace runtimes
{

// Whether the destructors of static objects may wait for threads. On Linux they may. On Windows they run under a lock
// that the end of a thread takes too, or when the process has ended all other threads, wherever those were.
bool MayWaitAtUnload();

// Keeps the file loaded where its unloading can't wait for threads; elsewhere it does nothing. A thread's owner has one
// that outlives the thread.
class LoadedFile
{
public:
    LoadedFile();
    ~LoadedFile();
    LoadedFile(const LoadedFile&) = delete;
    LoadedFile& operator=(const LoadedFile&) = delete;

private:
    [[maybe_unused]] void* m_pFile = nullptr;  // only where something keeps it
};

}  // namespace runtimes
