// Bytes in the processor's memory: what an encoder gives, and what clients ask a context for.
#pragma once

#include <vector>

#include "runtimes/amf/context_record.h"
#include "runtimes/amf/data.h"

namespace amfruntime
{

// One thread at a time.
class Buffer final : public Data<AMFBuffer, AMF_DATA_BUFFER, AMF_MEMORY_HOST>
{
public:
    Buffer(std::shared_ptr<ContextRecord> pRecord, std::vector<std::uint8_t> bytes)
        : m_counted(std::move(pRecord), &ContextRecord::uiBuffers, &AmfRuntimeObjects::uiBuffers),
          m_bytes(std::move(bytes))
    {}

    void Fill(std::vector<std::uint8_t> bytes) { m_bytes = std::move(bytes); }

    // Up to what the buffer was made with.
    AMF_RESULT SetSize(amf_size newSize) override;
    amf_size GetSize() override { return m_bytes.size(); }
    void* GetNative() override { return m_bytes.data(); }
    void AddBufferObserver(AMFBufferObserver* pObserver) override { m_observers.push_back(pObserver); }
    void RemoveBufferObserver(AMFBufferObserver* pObserver) override { std::erase(m_observers, pObserver); }

private:
    ~Buffer() override;

    const CountedIn m_counted;
    std::vector<std::uint8_t> m_bytes;
    std::vector<AMFBufferObserver*> m_observers;
};

}  // namespace amfruntime
