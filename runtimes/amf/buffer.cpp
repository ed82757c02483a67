#include "runtimes/amf/buffer.h"

namespace amfruntime
{

Buffer::~Buffer()
{
    for (AMFBufferObserver* pObserver : m_observers)
    {
        pObserver->OnBufferDataRelease(this);
    }
}

AMF_RESULT Buffer::SetSize(amf_size newSize)
{
    if (newSize > m_bytes.capacity())
    {
        return AMF_OUT_OF_RANGE;
    }
    // No new memory: pointers to the bytes stay good.
    m_bytes.resize(newSize);
    return AMF_OK;
}

}  // namespace amfruntime
