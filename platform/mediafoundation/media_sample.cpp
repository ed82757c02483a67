// IMFSample.
#include <cstring>
#include <limits>
#include <mutex>
#include <optional>
#include <vector>

#include "mfapi.h"
#include "platform/com/com_object.h"
#include "platform/mediafoundation/with_attributes.h"

namespace mediafoundation
{
namespace
{

using platform::ComPtr;

HRESULT LengthOf(const std::vector<ComPtr<IMFMediaBuffer>>& buffers, DWORD* pcbTotal)
{
    *pcbTotal = 0;
    for (const ComPtr<IMFMediaBuffer>& buffer : buffers)
    {
        DWORD cbLength = 0;
        const HRESULT hr = buffer->GetCurrentLength(&cbLength);
        if (FAILED(hr)) return hr;
        if (cbLength > std::numeric_limits<DWORD>::max() - *pcbTotal) return E_UNEXPECTED;
        *pcbTotal += cbLength;
    }
    return S_OK;
}

HRESULT AppendTo(BYTE* pbTarget, DWORD cbFree, IMFMediaBuffer* pSource, DWORD* pcbCopied)
{
    BYTE* pbSource = nullptr;
    DWORD cbLength = 0;
    HRESULT hr = pSource->Lock(&pbSource, nullptr, &cbLength);
    if (FAILED(hr)) return hr;
    if (cbLength > cbFree)
    {
        hr = MF_E_BUFFERTOOSMALL;
    }
    else if (cbLength > 0)
    {
        std::memcpy(pbTarget, pbSource, cbLength);
    }
    *pcbCopied = cbLength;
    (void)pSource->Unlock();
    return hr;
}

HRESULT CopyAll(const std::vector<ComPtr<IMFMediaBuffer>>& buffers, IMFMediaBuffer* pTarget)
{
    BYTE* pbTarget = nullptr;
    DWORD cbMaxLength = 0;
    HRESULT hr = pTarget->Lock(&pbTarget, &cbMaxLength, nullptr);
    if (FAILED(hr)) return hr;
    DWORD cbUsed = 0;
    for (std::size_t i = 0; i < buffers.size() && SUCCEEDED(hr); ++i)
    {
        DWORD cbCopied = 0;
        hr = AppendTo(pbTarget + cbUsed, cbMaxLength - cbUsed, buffers[i].Get(), &cbCopied);
        if (SUCCEEDED(hr)) cbUsed += cbCopied;
    }
    (void)pTarget->Unlock();
    return FAILED(hr) ? hr : pTarget->SetCurrentLength(cbUsed);
}

class MediaSample final
    : public WithAttributes<platform::ComObject<platform::Implements<IMFSample>, platform::Answers<IMFAttributes>>>
{
public:
    HRESULT STDMETHODCALLTYPE GetSampleFlags(DWORD* pdwSampleFlags) override
    {
        if (pdwSampleFlags == nullptr) return E_INVALIDARG;
        const std::lock_guard lock(m_lock);
        *pdwSampleFlags = m_dwFlags;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetSampleFlags(DWORD dwSampleFlags) override
    {
        const std::lock_guard lock(m_lock);
        m_dwFlags = dwSampleFlags;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetSampleTime(LONGLONG* phnsSampleTime) override
    {
        return Get(m_time, MF_E_NO_SAMPLE_TIMESTAMP, phnsSampleTime);
    }
    HRESULT STDMETHODCALLTYPE SetSampleTime(LONGLONG hnsSampleTime) override { return Set(m_time, hnsSampleTime); }
    HRESULT STDMETHODCALLTYPE GetSampleDuration(LONGLONG* phnsSampleDuration) override
    {
        return Get(m_duration, MF_E_NO_SAMPLE_DURATION, phnsSampleDuration);
    }
    HRESULT STDMETHODCALLTYPE SetSampleDuration(LONGLONG hnsSampleDuration) override
    {
        return Set(m_duration, hnsSampleDuration);
    }

    HRESULT STDMETHODCALLTYPE GetBufferCount(DWORD* pdwBufferCount) override
    {
        if (pdwBufferCount == nullptr) return E_INVALIDARG;
        const std::lock_guard lock(m_lock);
        *pdwBufferCount = static_cast<DWORD>(m_buffers.size());
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetBufferByIndex(DWORD dwIndex, IMFMediaBuffer** ppBuffer) override
    {
        const std::lock_guard lock(m_lock);
        if (ppBuffer == nullptr || dwIndex >= m_buffers.size()) return E_INVALIDARG;
        return m_buffers[dwIndex].CopyTo(ppBuffer);
    }

    HRESULT STDMETHODCALLTYPE ConvertToContiguousBuffer(IMFMediaBuffer** ppBuffer) override
    {
        const std::lock_guard lock(m_lock);
        if (m_buffers.empty()) return E_UNEXPECTED;
        if (m_buffers.size() > 1)
        {
            ComPtr<IMFMediaBuffer> whole;
            DWORD cbTotal = 0;
            HRESULT hr = LengthOf(m_buffers, &cbTotal);
            if (SUCCEEDED(hr)) hr = MFCreateMemoryBuffer(cbTotal, whole.Put());
            if (SUCCEEDED(hr)) hr = CopyAll(m_buffers, whole.Get());
            if (FAILED(hr)) return hr;
            m_buffers.resize(1);
            m_buffers[0] = std::move(whole);
        }
        return ppBuffer == nullptr ? S_OK : m_buffers[0].CopyTo(ppBuffer);
    }

    HRESULT STDMETHODCALLTYPE AddBuffer(IMFMediaBuffer* pBuffer) override
    {
        if (pBuffer == nullptr) return E_INVALIDARG;
        return WithoutExceptions([&] {
            const std::lock_guard lock(m_lock);
            m_buffers.emplace_back(pBuffer);
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE RemoveBufferByIndex(DWORD dwIndex) override
    {
        const std::lock_guard lock(m_lock);
        if (dwIndex >= m_buffers.size()) return E_INVALIDARG;
        m_buffers.erase(m_buffers.begin() + dwIndex);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE RemoveAllBuffers() override
    {
        const std::lock_guard lock(m_lock);
        m_buffers.clear();
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetTotalLength(DWORD* pcbTotalLength) override
    {
        if (pcbTotalLength == nullptr) return E_INVALIDARG;
        const std::lock_guard lock(m_lock);
        return LengthOf(m_buffers, pcbTotalLength);
    }
    HRESULT STDMETHODCALLTYPE CopyToBuffer(IMFMediaBuffer* pBuffer) override
    {
        if (pBuffer == nullptr) return E_INVALIDARG;
        const std::lock_guard lock(m_lock);
        return CopyAll(m_buffers, pBuffer);
    }

private:
    HRESULT Get(const std::optional<LONGLONG>& value, HRESULT hrMissing, LONGLONG* phns)
    {
        if (phns == nullptr) return E_INVALIDARG;
        const std::lock_guard lock(m_lock);
        *phns = value.value_or(0);
        return value.has_value() ? S_OK : hrMissing;
    }
    HRESULT Set(std::optional<LONGLONG>& value, LONGLONG hns)
    {
        const std::lock_guard lock(m_lock);
        value = hns;
        return S_OK;
    }

    std::mutex m_lock;
    std::vector<ComPtr<IMFMediaBuffer>> m_buffers;
    std::optional<LONGLONG> m_time;      // in 100 ns
    std::optional<LONGLONG> m_duration;  // in 100 ns
    DWORD m_dwFlags = 0;
};

}  // namespace
}  // namespace mediafoundation

STDAPI MFCreateSample(IMFSample** ppIMFSample)
{
    if (ppIMFSample == nullptr) return E_INVALIDARG;
    return mediafoundation::WithoutExceptions([&] {
        *ppIMFSample = new mediafoundation::MediaSample();
        return S_OK;
    });
}
