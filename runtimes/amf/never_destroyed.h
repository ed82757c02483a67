// A static object that is there until the file is unloaded, and is never destroyed.
#pragma once

#include <new>

namespace amfruntime
{

// For state that objects use which callers release late, while the process ends. TObject owns no memory: nothing would
// free it.
template <typename TObject>
class NeverDestroyed
{
public:
    NeverDestroyed() { ::new (m_bytes) TObject; }
    NeverDestroyed(const NeverDestroyed&) = delete;
    NeverDestroyed& operator=(const NeverDestroyed&) = delete;

    TObject& Get() { return *std::launder(reinterpret_cast<TObject*>(m_bytes)); }

private:
    alignas(TObject) unsigned char m_bytes[sizeof(TObject)];
};

}  // namespace amfruntime
