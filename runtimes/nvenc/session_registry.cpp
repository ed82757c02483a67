#include "runtimes/nvenc/session_registry.h"

#include "runtimes/common/loaded_file.h"
#include "runtimes/nvenc/script.h"

namespace nvencruntime
{

SessionRegistry& SessionRegistry::Get()
{
    // Sessions that are still open are closed when the runtime is unloaded, and use the script while they close.
    static Script& s_scriptOutlivesSessions = Script::Get();
    static_cast<void>(s_scriptOutlivesSessions);
    static SessionRegistry s_registry;
    return s_registry;
}

SessionRegistry::~SessionRegistry()
{
    if (!runtimes::MayWaitAtUnload())
    {
        // They stay as they are, with the memory that they are in.
        static_cast<void>(new HandleTable<Session>(std::move(m_sessions)));
    }
}

void* SessionRegistry::Open(IDirect3DDevice9* pDevice)
{
    const std::lock_guard lock(m_mutex);
    return m_sessions.Add(std::make_shared<Session>(pDevice));
}

std::shared_ptr<Session> SessionRegistry::Find(void* pHandle) const
{
    const std::lock_guard lock(m_mutex);
    return m_sessions.Find(pHandle);
}

std::shared_ptr<Session> SessionRegistry::Remove(void* pHandle)
{
    const std::lock_guard lock(m_mutex);
    std::shared_ptr<Session> pSession = m_sessions.Find(pHandle);
    m_sessions.Remove(pHandle);
    return pSession;
}

NvencRuntimeObjects SessionRegistry::CountObjects() const
{
    NvencRuntimeObjects objects{};
    const std::lock_guard lock(m_mutex);
    for (const auto& [pHandle, pSession] : m_sessions)
    {
        pSession->CountObjects(objects);
    }
    return objects;
}

}  // namespace nvencruntime
