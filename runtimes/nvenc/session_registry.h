// The sessions of the process by the handles that callers hold.
#pragma once

#include <memory>
#include <mutex>

#include "runtimes/nvenc/handles.h"
#include "runtimes/nvenc/session.h"

namespace nvencruntime
{

// Any thread. A session that is found lives at least as long as it is held, though its caller may close it meanwhile.
class SessionRegistry
{
public:
    static SessionRegistry& Get();
    // Closes the sessions that callers have left, where that can be done while the file is unloaded.
    ~SessionRegistry();

    void* Open(IDirect3DDevice9* pDevice);
    // Null for a handle that isn't an open session's.
    std::shared_ptr<Session> Find(void* pHandle) const;
    // Removes the session from the registry; the caller closes it. Null as above.
    std::shared_ptr<Session> Remove(void* pHandle);

    NvencRuntimeObjects CountObjects() const;

private:
    SessionRegistry() = default;

    mutable std::mutex m_mutex;
    HandleTable<Session> m_sessions;
};

}  // namespace nvencruntime
