#include "runtimes/amf/open_threads.h"

#include <mutex>

#include "runtimes/amf/never_destroyed.h"
#include "runtimes/common/loaded_file.h"

namespace amfruntime
{

// All of them, as a list through the objects: it owns no memory.
class OpenThreads
{
public:
    static OpenThreads& Get()
    {
        static NeverDestroyed<OpenThreads> s_threads;
        return s_threads.Get();
    }

    void Add(OpenThread* p)
    {
        const std::lock_guard lock(m_mutex);
        p->m_pNext = m_pFirst;
        if (m_pFirst)
        {
            m_pFirst->m_pPrevious = p;
        }
        m_pFirst = p;
    }

    void Remove(OpenThread* p)
    {
        const std::lock_guard lock(m_mutex);
        (p->m_pPrevious ? p->m_pPrevious->m_pNext : m_pFirst) = p->m_pNext;
        if (p->m_pNext)
        {
            p->m_pNext->m_pPrevious = p->m_pPrevious;
        }
    }

    void StopAll()
    {
        const std::lock_guard lock(m_mutex);
        for (OpenThread* p = m_pFirst; p; p = p->m_pNext)
        {
            p->StopThread();
        }
    }

private:
    std::mutex m_mutex;
    OpenThread* m_pFirst = nullptr;
};

namespace
{

struct AtUnload
{
    ~AtUnload()
    {
        if (runtimes::MayWaitAtUnload())
        {
            OpenThreads::Get().StopAll();
        }
    }
};
const AtUnload s_atUnload;

}  // namespace

void OpenThread::Register()
{
    OpenThreads::Get().Add(this);
}

void OpenThread::Unregister()
{
    OpenThreads::Get().Remove(this);
}

}  // namespace amfruntime
