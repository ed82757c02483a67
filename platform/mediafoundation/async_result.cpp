#include "platform/mediafoundation/async_result.h"

#include <atomic>

#include "platform/com/com_object.h"

namespace mediafoundation
{
namespace
{

using platform::ComPtr;

class AsyncResult final : public platform::ComObject<platform::Implements<IMFAsyncResult>>
{
public:
    explicit AsyncResult(IUnknown* pState) : m_state(pState) {}

    HRESULT STDMETHODCALLTYPE GetState(IUnknown** ppunkState) override
    {
        if (ppunkState == nullptr) return E_POINTER;
        *ppunkState = ComPtr<IUnknown>(m_state).Detach();
        return *ppunkState != nullptr ? S_OK : E_POINTER;
    }
    HRESULT STDMETHODCALLTYPE GetStatus() override { return m_hrStatus; }
    HRESULT STDMETHODCALLTYPE SetStatus(HRESULT hrStatus) override
    {
        m_hrStatus = hrStatus;
        return S_OK;
    }
    // The operation has no object.
    HRESULT STDMETHODCALLTYPE GetObject(IUnknown** ppObject) override
    {
        if (ppObject != nullptr) *ppObject = nullptr;
        return E_POINTER;
    }
    IUnknown* STDMETHODCALLTYPE GetStateNoAddRef() override { return m_state.Get(); }

private:
    const ComPtr<IUnknown> m_state;
    std::atomic<HRESULT> m_hrStatus{S_OK};
};

}  // namespace

ComPtr<IMFAsyncResult> MakeAsyncResult(IUnknown* pState)
{
    return ComPtr<IMFAsyncResult>::Attach(new AsyncResult(pState));
}

}  // namespace mediafoundation
