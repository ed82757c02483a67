// IMFMediaBuffer: a block of the process's own memory.
#include <atomic>
#include <memory>

#include "mfapi.h"
#include "platform/com/com_object.h"
#include "platform/mediafoundation/without_exceptions.h"

namespace mediafoundation
{
namespace
{

class MemoryBuffer final : public platform::ComObject<platform::Implements<IMFMediaBuffer>>
{
public:
    explicit MemoryBuffer(DWORD cbMaxLength)
        : m_cbMaxLength(cbMaxLength), m_bytes(std::make_unique_for_overwrite<BYTE[]>(cbMaxLength))
    {}

    // The memory stays where it is, so there is nothing to lock.
    HRESULT STDMETHODCALLTYPE Lock(BYTE** ppbBuffer, DWORD* pcbMaxLength, DWORD* pcbCurrentLength) override
    {
        if (ppbBuffer == nullptr) return E_INVALIDARG;
        *ppbBuffer = m_bytes.get();
        if (pcbMaxLength != nullptr) *pcbMaxLength = m_cbMaxLength;
        if (pcbCurrentLength != nullptr) *pcbCurrentLength = m_cbCurrentLength;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Unlock() override { return S_OK; }

    HRESULT STDMETHODCALLTYPE GetCurrentLength(DWORD* pcbCurrentLength) override
    {
        if (pcbCurrentLength == nullptr) return E_INVALIDARG;
        *pcbCurrentLength = m_cbCurrentLength;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetCurrentLength(DWORD cbCurrentLength) override
    {
        if (cbCurrentLength > m_cbMaxLength) return E_INVALIDARG;
        m_cbCurrentLength = cbCurrentLength;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetMaxLength(DWORD* pcbMaxLength) override
    {
        if (pcbMaxLength == nullptr) return E_INVALIDARG;
        *pcbMaxLength = m_cbMaxLength;
        return S_OK;
    }

private:
    const DWORD m_cbMaxLength;
    const std::unique_ptr<BYTE[]> m_bytes;
    std::atomic<DWORD> m_cbCurrentLength{0};
};

}  // namespace
}  // namespace mediafoundation

STDAPI MFCreateMemoryBuffer(DWORD cbMaxLength, IMFMediaBuffer** ppBuffer)
{
    if (ppBuffer == nullptr) return E_INVALIDARG;
    return mediafoundation::WithoutExceptions([&] {
        *ppBuffer = new mediafoundation::MemoryBuffer(cbMaxLength);
        return S_OK;
    });
}
